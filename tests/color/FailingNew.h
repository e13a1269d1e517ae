#ifndef SELVANE_TESTS_COLOR_FAILINGNEW_H
#define SELVANE_TESTS_COLOR_FAILINGNEW_H

// An operator new that fails on command. This program's own takes the place of the runtime's, in the library as well.

#include <cstddef>

namespace SelvaneTest
{

/// Watches operator new and delete for as long as it lives; one at a time, on one thread.
class cNewScope
{
public:
    /// The pFailing-th allocation from now on throws std::bad_alloc; 0: none does.
    explicit cNewScope(int pFailing = 0);
    ~cNewScope();
    cNewScope(const cNewScope&) = delete;
    cNewScope& operator=(const cNewScope&) = delete;

    int Asked() const;                ///< allocations asked for so far, the failed one included
    int Live() const;                 ///< allocations made and not yet released
    size_t SizeOf(int pNumber) const; ///< bytes asked for by the pNumber-th of the first 16, from 1
};

} // namespace SelvaneTest

#endif
