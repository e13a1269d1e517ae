#ifndef SELVANE_HOST_PICTURE_ERRORS_H
#define SELVANE_HOST_PICTURE_ERRORS_H

#include <stdexcept>
#include <string>

namespace SelvaneHost
{

/// A failure. Its text is for people: one line, without the name of the program. The command then ends with status 1.
class cHostError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// A request that makes no sense, such as an unknown file extension. The command then ends with status 2.
class cUsageError : public cHostError
{
public:
    using cHostError::cHostError;
};

/// Puts a text on one line: each run of control characters becomes one blank. File names and the messages of other
/// libraries may hold line breaks.
std::string OneLine(const std::string& pText);

/// Returns the system's text for an error number, such as "No such file or directory".
std::string SystemWords(int pErrorNumber);

} // namespace SelvaneHost

#endif
