#ifndef SELVANE_TESTS_RENDER_LINE_WATCH_H
#define SELVANE_TESTS_RENDER_LINE_WATCH_H

#include <cstdio>
#include <functional>
#include <string>
#include <sys/types.h>
#include <utility>

namespace SelvaneTest
{

/// Stands in for the standard error stream as long as it lives, and hears each line at the moment that it is printed:
/// between two steps of the renderer.
class cLineWatch
{
public:
    explicit cLineWatch(std::function<void(const std::string&)> pHear) : fHear(std::move(pHear)), fBefore(stderr)
    {
        fStream = ::fopencookie(this, "w", {nullptr, &cLineWatch::Write, nullptr, nullptr});
        std::setvbuf(fStream, nullptr, _IOLBF, BUFSIZ);
        stderr = fStream;
    }

    ~cLineWatch()
    {
        stderr = fBefore;
        std::fclose(fStream);
    }

    cLineWatch(const cLineWatch&) = delete;
    cLineWatch& operator=(const cLineWatch&) = delete;

    int fLines = 0;

private:
    static ssize_t Write(void* pSelf, const char* pText, size_t pSize)
    {
        auto* self = static_cast<cLineWatch*>(pSelf);
        self->fLines++;
        self->fHear(std::string(pText, pSize));
        return static_cast<ssize_t>(pSize);
    }

    std::function<void(const std::string&)> fHear;
    FILE* fBefore;
    FILE* fStream;
};

} // namespace SelvaneTest

#endif
