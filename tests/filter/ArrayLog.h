#ifndef SELVANE_TESTS_FILTER_ARRAY_LOG_H
#define SELVANE_TESTS_FILTER_ARRAY_LOG_H

// Sees the arrays that the library takes with operator new[] and gives back, and lets one of them fail.

#include <cstddef>
#include <vector>

namespace SelvaneTest
{

struct sArray
{
    void* fBlock;
    size_t fBytes;
    int fReleased; ///< how many arrays had been given back before this one; -1: not given back

    const float* Floats() const { return static_cast<const float*>(fBlock); }
};

/// Logs for as long as the object lives; one at a time.
class cArrayLog
{
public:
    /// The array number pFailing, from 0, throws std::bad_alloc; -1: none.
    explicit cArrayLog(int pFailing = -1);
    ~cArrayLog();
    cArrayLog(const cArrayLog&) = delete;
    cArrayLog& operator=(const cArrayLog&) = delete;

    /// The arrays in the order in which they were taken.
    std::vector<sArray> Arrays() const;
    /// Number of arrays that were taken and not given back.
    int Held() const;
};

} // namespace SelvaneTest

#endif
