#ifndef SELVANE_BASE_CANCEL_H
#define SELVANE_BASE_CANCEL_H

// The two byte flags of a cancellable operation, internal. Another thread of the caller may write pCancel at any time.
// Several tiles may set pCancelled at once. Relaxed memory order is enough: the flags guard no other memory.

namespace Vornik
{

inline bool IsRequested(const bool* pCancel)
{
    return __atomic_load_n(pCancel, __ATOMIC_RELAXED);
}

inline void Acknowledge(bool* pCancelled)
{
    __atomic_store_n(pCancelled, true, __ATOMIC_RELAXED);
}

/// Returns whether *pCancel is set. If it is, sets *pCancelled.
inline bool StopIfRequested(const bool* pCancel, bool* pCancelled)
{
    if (!IsRequested(pCancel)) return false;
    Acknowledge(pCancelled);
    return true;
}

} // namespace Vornik

#endif
