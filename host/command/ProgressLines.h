#ifndef SELVANE_HOST_COMMAND_PROGRESS_LINES_H
#define SELVANE_HOST_COMMAND_PROGRESS_LINES_H

#include <string>

namespace SelvaneHost
{

/// Redirects file descriptor 2 to memory while the object exists. The library prints its progress there, and one line
/// for a failure. The command prints the text of that line itself.
///
/// The redirection affects the whole process, so no other code should print to descriptor 2 meanwhile. If the system
/// has no descriptors left, the lines go to the terminal as usual.
class cProgressLines
{
public:
    /// @param pKeep false: nothing is redirected
    explicit cProgressLines(bool pKeep);
    ~cProgressLines();
    cProgressLines(const cProgressLines&) = delete;
    cProgressLines& operator=(const cProgressLines&) = delete;

    /// Returns the text of the library's failure line. Empty if there is none.
    std::string FailureWords() const;

private:
    int fKept = -1; // file in memory with the redirected lines
    int fTrue = -1; // the original target of descriptor 2
};

} // namespace SelvaneHost

#endif
