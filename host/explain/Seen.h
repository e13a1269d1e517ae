#ifndef SELVANE_HOST_EXPLAIN_SEEN_H
#define SELVANE_HOST_EXPLAIN_SEEN_H

#include <selvane.h>

#include <optional>
#include <string>
#include <vector>

namespace SelvaneHost
{

/// What a handle knows of its latest render.
struct sSeen
{
    selvane_report fReport{};
    selvane_settings fAsked{};                  ///< as they were set
    std::optional<selvane_settings> fSuggested; ///< empty if the settings stand as they are
    selvane_settings fUsed{};                   ///< complete, with automatic 0
    std::string fText;                          ///< fUsed as TOML
    std::vector<std::string> fReasons;          ///< of the suggestion; empty if it was not asked
};

/// Asks a handle that has rendered.
/// @throws cHostError
sSeen SeenBy(selvane* pHandle);

} // namespace SelvaneHost

#endif
