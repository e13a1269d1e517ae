#ifndef SELVANE_TESTS_RENDER_PAGE_WATCH_H
#define SELVANE_TESTS_RENDER_PAGE_WATCH_H

#include <csignal>
#include <cstddef>
#include <functional>
#include <sys/mman.h>
#include <utility>

namespace SelvaneTest
{

/// Two pages in a row, the second of which reports its first touch, right before the access goes on: a moment inside a
/// loop that a test could not meet otherwise. One at a time, for the thread that makes it.
class cPageWatch
{
public:
    explicit cPageWatch(std::function<void()> pOnTouch) : fOnTouch(std::move(pOnTouch))
    {
        fPages =
            static_cast<char*>(::mmap(nullptr, 2 * kPage, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
        gWatch = this;
        struct sigaction action
        {
        };
        action.sa_sigaction = OnFault;
        action.sa_flags = SA_SIGINFO;
        ::sigaction(SIGSEGV, &action, &fBefore);
    }

    ~cPageWatch()
    {
        ::sigaction(SIGSEGV, &fBefore, nullptr);
        gWatch = nullptr;
        ::munmap(fPages, 2 * kPage);
    }

    cPageWatch(const cPageWatch&) = delete;
    cPageWatch& operator=(const cPageWatch&) = delete;

    /// Where the second page begins.
    char* Border() { return fPages + kPage; }
    /// To be called when both pages are filled.
    void Arm() { ::mprotect(Border(), kPage, PROT_NONE); }

private:
    static constexpr size_t kPage = 4096;
    static inline cPageWatch* gWatch = nullptr;

    static void OnFault(int pSignal, siginfo_t* pFacts, void* /*pContext*/)
    {
        const auto* at = static_cast<const char*>(pFacts->si_addr);
        if (gWatch == nullptr || at < gWatch->Border() || at >= gWatch->Border() + kPage) {
            ::signal(pSignal, SIG_DFL); // a fault of somebody else
            return;
        }
        ::mprotect(gWatch->Border(), kPage, PROT_READ | PROT_WRITE);
        gWatch->fOnTouch();
    }

    std::function<void()> fOnTouch;
    char* fPages;
    struct sigaction fBefore
    {
    };
};

} // namespace SelvaneTest

#endif
