#ifndef SELVANE_LIB_POOL_POOL_H
#define SELVANE_LIB_POOL_POOL_H

// The library's own threads. All handles share them. They start when a call first needs them and end with the last
// handle.

namespace SelvaneLib
{

/// A task of a call, numbered from 0. It throws nothing.
using tTask = void (*)(void* pContext, int pIndex);

/// Lives as long as a handle. With the last one, the threads end.
class cPoolUser
{
public:
    cPoolUser();
    ~cPoolUser();
    cPoolUser(const cPoolUser&) = delete;
    cPoolUser& operator=(const cPoolUser&) = delete;
};

/// Runs pTask for the numbers 0 to pCount - 1 and returns when all have ended. Number 0 runs on the calling thread. If
/// the pool is busy or has too few threads, some numbers never run, so a task has to take work until none is left. Any
/// number of threads may call at the same time.
void RunOnPool(tTask pTask, void* pContext, int pCount);

} // namespace SelvaneLib

#endif
