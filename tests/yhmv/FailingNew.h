#ifndef SELVANE_TESTS_YHMV_FAILINGNEW_H
#define SELVANE_TESTS_YHMV_FAILINGNEW_H

// The operator new of a test program: counts, fails once on demand, and writes down what is deleted.

#include <functional>
#include <vector>

namespace SelvaneTest
{

/// Blocks from operator new that are not deleted yet.
long LiveBlocks();

/// Calls of operator new so far.
long NewCalls();

/// Runs the call again and again, with its first, second, third ... call of operator new failing, until it runs through
/// without a failure. Expects std::bad_alloc each time, and, when pNothingKept, no block left behind. Returns the
/// number of failures.
int FailEachNew(const std::function<void()>& pCall, bool pNothingKept = true);

/// Fails only the call of operator new with this number, counted from now; 0 is the next one.
void FailNew(long pNumber);

/// The addresses that the call gives to operator delete, in order.
std::vector<void*> DeletedBy(const std::function<void()>& pCall);

} // namespace SelvaneTest

#endif
