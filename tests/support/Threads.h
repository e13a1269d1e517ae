#ifndef SELVANE_TESTS_SUPPORT_THREADS_H
#define SELVANE_TESTS_SUPPORT_THREADS_H

// How many threads the process has, for tests of who leaves one behind.

#include <chrono>
#include <filesystem>
#include <iterator>
#include <thread>

namespace SelvaneTest
{

inline int Threads()
{
    const std::filesystem::directory_iterator tasks("/proc/self/task");
    return static_cast<int>(std::distance(begin(tasks), end(tasks)));
}

/// The number to compare with later. A sanitizer has a thread of its own from the first one on.
inline int ThreadsBefore()
{
    std::thread([] {}).join();
    return Threads();
}

/// Whether no thread is left beyond that number. A joined thread may be listed for a moment longer.
inline bool EndsWithThreads(int pBefore)
{
    for (int wait = 0; wait < 5000 && Threads() > pBefore; wait++)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    return Threads() <= pBefore;
}

} // namespace SelvaneTest

#endif
