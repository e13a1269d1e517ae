#ifndef SELVANE_TESTS_LIB_SETTINGS_FAILURES_H
#define SELVANE_TESTS_LIB_SETTINGS_FAILURES_H

#include "api/Failure.h"

#include <string>

namespace SelvaneTest
{

/// Runs a call and returns its failure as "STATUS TEXT", for example "1 exposure is not a number (NaN)"; "" without
/// one.
template <typename tCall>
std::string FailureOf(tCall pCall)
{
    try {
        pCall();
    } catch (const SelvaneLib::cFailure& failure) {
        return std::to_string(failure.Status()) + " " + failure.what();
    }
    return "";
}

} // namespace SelvaneTest

#endif
