#include "command/Streams.h"

#include "picture/Errors.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <unistd.h>

namespace SelvaneHost
{

// A closed standard output becomes one that cannot be written, so that a result which is sent there is not lost without
// a word.
void OpenStandardStreams()
{
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (::fcntl(stream, F_GETFD) != -1) continue;
        const int opened = ::open("/dev/null", stream == STDERR_FILENO ? O_WRONLY : O_RDONLY);
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
