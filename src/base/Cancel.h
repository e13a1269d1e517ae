#ifndef SELVANE_BASE_CANCEL_H
#define SELVANE_BASE_CANCEL_H

// The two byte flags of a cancellable operation, internal: another thread of the caller may write pCancel at any time,
// and several tiles may set pCancelled at once. Relaxed is enough; nothing else is passed on by these flags.

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

/// True when *pCancel is set; *pCancelled is set then.
inline bool StopIfRequested(const bool* pCancel, bool* pCancelled)
{
    if (!IsRequested(pCancel)) return false;
    Acknowledge(pCancelled);
    return true;
}

} // namespace Vornik

#endif
