#include "command/ProgressLines.h"

#include <array>
#include <cstdio>
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

namespace SelvaneHost
{

namespace
{

constexpr off_t kMostSearched = off_t{64} * 1024; // bytes; a run prints some hundred

std::string Content(int pDescriptor)
{
    std::string text;
    std::array<char, 4096> piece{};
    for (off_t at = 0; at < kMostSearched;) {
        const ssize_t count = ::pread(pDescriptor, piece.data(), piece.size(), at);
        if (count <= 0) break;
        text.append(piece.data(), static_cast<size_t>(count));
        at += count;
    }
    return text;
}

} // namespace

cProgressLines::cProgressLines(bool pKeep)
{
    if (!pKeep) return;
    std::fflush(stderr);
    fKept = ::memfd_create("selvane", MFD_CLOEXEC);
    fTrue = ::fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    if (fKept >= 0 && fTrue >= 0) ::dup2(fKept, STDERR_FILENO);
}

cProgressLines::~cProgressLines()
{
    std::fflush(stderr);
    if (fKept >= 0 && fTrue >= 0) ::dup2(fTrue, STDERR_FILENO);
    if (fTrue >= 0) ::close(fTrue);
    if (fKept >= 0) ::close(fKept);
}

std::string cProgressLines::FailureWords() const
{
    if (fKept < 0) return {};
    const std::string text = Content(fKept);
    const std::string opening = "Message=";
    const size_t start = text.rfind(opening);
    if (start == std::string::npos) return {};
    const size_t end = text.find("  Type=", start);
    return text.substr(start + opening.size(), end == std::string::npos ? end : end - start - opening.size());
}

} // namespace SelvaneHost
