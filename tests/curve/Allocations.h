#ifndef SELVANE_TESTS_CURVE_ALLOCATIONS_H
#define SELVANE_TESTS_CURVE_ALLOCATIONS_H

// operator new of this test program: it counts blocks, and fails at will.

namespace SelvaneTest
{

/// Lets one allocation of this thread fail for as long as the object lives, and counts the blocks taken and given back.
class cAllocationScope
{
public:
    /// pFailing: which allocation fails, counted from 0; below 0: none.
    explicit cAllocationScope(int pFailing = -1);
    ~cAllocationScope();
    cAllocationScope(const cAllocationScope&) = delete;
    cAllocationScope& operator=(const cAllocationScope&) = delete;

    /// Blocks taken and not yet given back since the start.
    long Held() const;
    /// Allocations tried since the start, the failed one included.
    int Tried() const;
};

/// Whether operator new is this program's: a memory checker may have put its own in the place.
bool AllocationsAreCounted();

} // namespace SelvaneTest

/// First in a test that uses cAllocationScope.
#define SKIP_UNLESS_ALLOCATIONS_ARE_COUNTED()                                                                          \
    if (!::SelvaneTest::AllocationsAreCounted()) GTEST_SKIP() << "operator new is not this program's"

#endif
