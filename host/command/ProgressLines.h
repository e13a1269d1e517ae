#ifndef SELVANE_HOST_COMMAND_PROGRESS_LINES_H
#define SELVANE_HOST_COMMAND_PROGRESS_LINES_H

#include <string>

namespace SelvaneHost
{

/// Keeps what is written to file descriptor 2 from the terminal for as long as the object lives. The library writes its
/// progress there whenever it runs, and a failure in one line, whose words the command passes on.
///
/// Affects the whole process: nothing else should have something to say meanwhile. When the system has no descriptors
/// left the lines go where they always went.
class cProgressLines
{
public:
    /// @param pKeep false: the lines pass
    explicit cProgressLines(bool pKeep);
    ~cProgressLines();
    cProgressLines(const cProgressLines&) = delete;
    cProgressLines& operator=(const cProgressLines&) = delete;

    /// The words of the library's failure line, or an empty text.
    std::string FailureWords() const;

private:
    int fKept = -1; // memory file that takes the lines
    int fTrue = -1; // the stream's own target
};

/// Opens /dev/null for those of the three standard streams that are closed, so that no file of ours gets their numbers.
void OpenStandardStreams();

} // namespace SelvaneHost

#endif
