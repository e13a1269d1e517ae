#ifndef SELVANE_TESTS_SUPPORT_ALLOCATIONS_H
#define SELVANE_TESTS_SUPPORT_ALLOCATIONS_H

// operator new of a test program that lists support/Allocations.cpp among its sources: it counts blocks, notes what is
// deleted, and fails at will. Everything counts the calling thread alone. Freed blocks are overwritten, so that who
// reads one later notices.

#include <cstddef>
#include <functional>
#include <vector>

namespace SelvaneTest
{

/// Lets one allocation fail for as long as the object lives, and counts the blocks taken and given back.
class cAllocationScope
{
public:
    /// pFailing: which allocation fails, counted from 0; below 0: none.
    explicit cAllocationScope(long pFailing = -1);
    ~cAllocationScope();
    cAllocationScope(const cAllocationScope&) = delete;
    cAllocationScope& operator=(const cAllocationScope&) = delete;

    /// Blocks taken and not yet given back since the start.
    long Held() const;
    /// Allocations tried since the start, the failed one included.
    long Tried() const;
    /// Bytes asked for by one of the first 16 allocations, counted from 0.
    size_t SizeOf(long pNumber) const;

private:
    long fHeldBefore;
    long fTriedBefore;
};

/// Runs the call again and again, with its first, second, third ... allocation failing, until it runs through without a
/// failure. Expects std::bad_alloc each time, and no block left behind. Returns the number of failures.
long FailEachAllocation(const std::function<void()>& pCall);

/// The addresses that the call gives to operator delete, in order.
std::vector<void*> DeletedBy(const std::function<void()>& pCall);

/// Whether operator new is this program's: a memory checker may have put its own in the place.
bool AllocationsAreCounted();

} // namespace SelvaneTest

/// First in a test that uses cAllocationScope.
#define SKIP_UNLESS_ALLOCATIONS_ARE_COUNTED()                                                                          \
    if (!::SelvaneTest::AllocationsAreCounted()) GTEST_SKIP() << "operator new is not this program's"

#endif
