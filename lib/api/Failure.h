#ifndef SELVANE_LIB_API_FAILURE_H
#define SELVANE_LIB_API_FAILURE_H

// How the parts of the library report a failure. The C functions turn it into a status and the text of the handle.

#include "selvane.h"

#include <stdexcept>
#include <string>

namespace SelvaneLib
{

/// A failure with its status and an English sentence without a full stop.
class cFailure : public std::runtime_error
{
public:
    cFailure(selvane_status pStatus, const std::string& pText) : std::runtime_error(pText), fStatus(pStatus) {}
    selvane_status Status() const { return fStatus; }

private:
    selvane_status fStatus;
};

/// Throws a failure of an argument unless pTrue.
inline void Require(bool pTrue, const char* pText)
{
    if (!pTrue) throw cFailure(SELVANE_ERROR_ARGUMENT, pText);
}

} // namespace SelvaneLib

#endif
