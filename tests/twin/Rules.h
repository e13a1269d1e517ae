#ifndef SELVANE_TESTS_TWIN_RULES_H
#define SELVANE_TESTS_TWIN_RULES_H

namespace SelvaneTwin
{

/// The rules of Rules.inc. The comparison counts how often each is met, so that none stays untested.
enum eRule
{
#define RULE(pRule, pName) pRule,
#include "twin/Rules.inc"
#undef RULE
    eRuleCount,
};

/// The rule's name in a report.
inline const char* NameOf(eRule pRule)
{
    static const char* const names[] = {
#define RULE(pRule, pName) pName,
#include "twin/Rules.inc"
#undef RULE
    };
    return names[pRule];
}

} // namespace SelvaneTwin

#endif
