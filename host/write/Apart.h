#ifndef SELVANE_HOST_WRITE_APART_H
#define SELVANE_HOST_WRITE_APART_H

#include <string>
#include <vector>

namespace SelvaneHost
{

/// Refuses to write a file over one that the run reads, or over another one that it writes. Links are followed, and
/// hard links are one file. "-" among pRead is standard input, elsewhere standard output. An empty name is no file.
/// @throws cUsageError
void CheckApart(const std::string& pWritten, const std::vector<std::string>& pRead,
                const std::vector<std::string>& pAlsoWritten = {});

} // namespace SelvaneHost

#endif
