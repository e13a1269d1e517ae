#ifndef SELVANE_HOST_PICTURE_ERRORS_H
#define SELVANE_HOST_PICTURE_ERRORS_H

// What the command reports: one line a failure, and warnings that do not stop it.

#include <stdexcept>
#include <string>

namespace SelvaneHost
{

/// A failure in words that a person can act on, without the name of the program and on one line. Ends the run with
/// status 1.
class cHostError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// A command line that cannot be carried out. Ends the run with status 2.
class cUsageError : public cHostError
{
public:
    using cHostError::cHostError;
};

/// The text with line breaks and other control characters as blanks, so that file names and messages of other libraries
/// stay on one line.
std::string OneLine(const std::string& pText);

/// Writes "selvane: TEXT" as one line to the standard error stream.
void Report(const std::string& pText);

/// The same with "selvane: warning: TEXT".
void Warn(const std::string& pText);

/// The system's words for an error number, such as "No such file or directory".
std::string SystemWords(int pErrorNumber);

} // namespace SelvaneHost

#endif
