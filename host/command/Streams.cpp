#include "command/Streams.h"

#include "picture/Errors.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <unistd.h>

namespace SelvaneHost
{

void OpenStandardStreams()
{
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (::fcntl(stream, F_GETFD) != -1) continue;
        const int opened = ::open("/dev/null", stream == STDIN_FILENO ? O_RDONLY : O_WRONLY);
        if (opened >= 0 && opened != stream) {
            ::dup2(opened, stream);
            ::close(opened);
        }
    }
}

void FlushStandardOutput()
{
    if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0)
        throw cHostError("standard output cannot be written: " + SystemWords(errno));
}

} // namespace SelvaneHost
