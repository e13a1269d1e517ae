#ifndef SELVANE_TESTS_TRUST_FAULTS_H
#define SELVANE_TESTS_TRUST_FAULTS_H

// What the fault tests share: a call under watch, how it ended, and what it lost.

#include "EntryCall.h"
#include "Heap.h"

#include <gtest/gtest.h>

#if SELVANE_WATCHED_HEAP

#include <functional>
#include <string>

namespace SelvaneTest
{

/// A test that needs the heap under watch, with the log lines of the library out of sight.
class cWatchedHeapTest : public testing::Test
{
protected:
    void SetUp() override;

private:
    cQuietErrors fQuiet;
};

enum eEnd
{
    eReturned,
    eBadAlloc,    // std::bad_alloc
    eOutOfMemory, // cOutOfMemoryException
    eOtherObject, // another exception of the family
    ePointer      // a pointer to one of the family, which is left alone
};

struct sOutcome
{
    eEnd fEnd = eReturned;
    sHeapUse fUse;
};

/// Runs the call under watch. Its exception is caught, and gone, before the watch ends.
sOutcome RunWatched(const std::function<void()>& pCall, sFault pFault = {});

/// Whether the block was asked for as pixels, tiles, counters or texts are, and not by operator new.
bool IsFromMalloc(const sRequest& pRequest);

std::string TextOf(const sBlock& pBlock);

/// The losses from pFirst on are the five texts of an exception of that class, in their order, and nothing else.
void ExpectFiveTexts(const sHeapUse& pUse, size_t pFirst, const std::string& pType = "cOutOfMemoryException",
                     const std::string& pDescription = "Out of Memory");

/// No tile asked for memory, and every block went back through the door it came from.
void ExpectCleanBook(const sHeapUse& pUse);

/// Refuses one request after another until the call succeeds. The call makes what it works on and destroys it again. A
/// refused operator new ends in std::bad_alloc and loses nothing; refused pixels end in cOutOfMemoryException and lose
/// its five texts; with no memory at all from some request on nothing is lost.
void ExpectCleanFaults(const std::function<void()>& pCall);

} // namespace SelvaneTest

#endif

#endif
