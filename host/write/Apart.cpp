#include "write/Apart.h"

#include "picture/Errors.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

namespace SelvaneHost
{

namespace
{

namespace fs = std::filesystem;

bool AreOneFile(const std::string& pFirst, const std::string& pSecond)
{
    std::error_code ignored; // a file that does not exist is not another one
    return fs::equivalent(pFirst, pSecond, ignored);
}

/// Also where neither file exists yet.
bool AreOneName(const std::string& pFirst, const std::string& pSecond)
{
    return TargetOf(pFirst) == TargetOf(pSecond);
}

} // namespace

fs::path TargetOf(const std::string& pPath)
{
    std::error_code failed;
    const fs::path target = fs::weakly_canonical(pPath, failed);
    return failed ? fs::path(pPath) : target;
}

void CheckApart(const std::string& pWritten, const std::vector<std::string>& pRead,
                const std::vector<std::string>& pAlsoWritten)
{
    const auto isRead = [&](const std::string& pOther) {
        return AreOneFile(pOther == "-" ? "/dev/stdin" : pOther, pWritten);
    };
    const auto isWritten = [&](const std::string& pOther) {
        return !pOther.empty() && (AreOneName(pOther, pWritten) || AreOneFile(pOther, pWritten));
    };
    if (std::ranges::any_of(pRead, isRead))
        throw cUsageError(pWritten + ": is read in this run; write to a file of another name");
    if (std::ranges::any_of(pAlsoWritten, isWritten))
        throw cUsageError(pWritten + ": would be written twice; give each output a file of its own");
}

} // namespace SelvaneHost
