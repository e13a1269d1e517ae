#ifndef SELVANE_HOST_JOB_REPORT_H
#define SELVANE_HOST_JOB_REPORT_H

// The lines that the programs print on the standard error stream: one line per failure or warning.

#include <string>

namespace SelvaneHost
{

/// Prints "selvane: TEXT". Line breaks in the text become blanks.
void Report(const std::string& pText);

/// Prints "selvane: warning: TEXT". The run goes on.
void Warn(const std::string& pText);

} // namespace SelvaneHost

#endif
