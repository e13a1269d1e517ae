#ifndef SELVANE_HOST_WRITE_APART_H
#define SELVANE_HOST_WRITE_APART_H

#include <filesystem>
#include <string>
#include <vector>

namespace SelvaneHost
{

/// The file that a name leads to by links, which need not exist. The name itself if that cannot be told: then the
/// writing fails, and says why.
std::filesystem::path TargetOf(const std::string& pPath);

/// Refuses to write a file over one that the run reads, or over another one that it writes. Links are followed, and
/// hard links are one file. "-" among pRead is standard input, elsewhere standard output. An empty name is no file.
/// @throws cUsageError
void CheckApart(const std::string& pWritten, const std::vector<std::string>& pRead,
                const std::vector<std::string>& pAlsoWritten = {});

} // namespace SelvaneHost

#endif
