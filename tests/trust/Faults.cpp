#include "Faults.h"

#if SELVANE_WATCHED_HEAP

#include "bitmap/cException.h"

#include <cstdlib>
#include <cstring>
#include <new>

namespace SelvaneTest
{

namespace
{

eEnd EndOf(const std::function<void()>& pCall)
{
    try {
        pCall();
    } catch (const std::bad_alloc&) {
        return eBadAlloc;
    } catch (const Vornik::cOutOfMemoryException&) {
        return eOutOfMemory;
    } catch (const Vornik::cException&) {
        return eOtherObject;
    } catch (const Vornik::cException*) {
        return ePointer;
    }
    return eReturned;
}

} // namespace

// Valgrind preloads its own heap; elsewhere a heap that is not ours is a broken test program.
void cWatchedHeapTest::SetUp()
{
    if (IsHeapWatched()) return;
    const char* const preloaded = std::getenv("LD_PRELOAD");
    if (preloaded != nullptr && std::strstr(preloaded, "vgpreload") != nullptr)
        GTEST_SKIP() << "this tool brings a heap of its own";
    FAIL() << "the heap is not under watch";
}

sOutcome RunWatched(const std::function<void()>& pCall, sFault pFault)
{
    sOutcome outcome;
    outcome.fUse = WatchHeap([&] { outcome.fEnd = EndOf(pCall); }, pFault);
    return outcome;
}

bool IsFromMalloc(const sRequest& pRequest)
{
    return pRequest.fKind == eMalloc || pRequest.fKind == eCalloc;
}

std::string TextOf(const sBlock& pBlock)
{
    const auto* text = static_cast<const char*>(pBlock.fAddress);
    return std::string(text, strnlen(text, pBlock.fSize));
}

void ExpectFiveTexts(const sHeapUse& pUse, size_t pFirst, const std::string& pType, const std::string& pDescription)
{
    ASSERT_EQ(pUse.fLost.size(), pFirst + 5);
    const auto text = [&](size_t pNumber) { return TextOf(pUse.fLost[pFirst + pNumber]); };
    EXPECT_EQ(text(0), pType);
    EXPECT_EQ(text(1), pDescription);
    EXPECT_NE(text(2).find(".cpp"), std::string::npos);
    EXPECT_EQ(text(3).size(), 24u);
    EXPECT_NE(text(4).find("Vornik::"), std::string::npos);
    for (size_t i = 0; i < 5; i++) {
        EXPECT_EQ(pUse.fLost[pFirst + i].fKind, eMalloc);
        EXPECT_EQ(pUse.fLost[pFirst + i].fSize, text(i).size() + 1);
    }
}

void ExpectCleanBook(const sHeapUse& pUse)
{
    EXPECT_EQ(pUse.fInTiles, 0);
    EXPECT_EQ(pUse.fWrongDoors, 0);
}

void ExpectCleanFaults(const std::function<void()>& pCall)
{
    const sOutcome whole = RunWatched(pCall);
    ASSERT_EQ(whole.fEnd, eReturned);
    ASSERT_TRUE(whole.fUse.fLost.empty());
    ExpectCleanBook(whole.fUse);
    const int requests = static_cast<int>(whole.fUse.fRequests.size());
    ASSERT_GT(requests, 0);
    for (int request = 0; request <= requests; request++) {
        SCOPED_TRACE(request);
        const sOutcome once = RunWatched(pCall, {eFaultOnce, request});
        ExpectCleanBook(once.fUse);
        if (request == requests) {
            EXPECT_EQ(once.fEnd, eReturned);
            EXPECT_TRUE(once.fUse.fLost.empty());
            break;
        }
        if (IsFromMalloc(whole.fUse.fRequests[static_cast<size_t>(request)])) {
            EXPECT_EQ(once.fEnd, eOutOfMemory);
            ExpectFiveTexts(once.fUse, 0);
        } else {
            EXPECT_EQ(once.fEnd, eBadAlloc);
            EXPECT_TRUE(once.fUse.fLost.empty());
        }
        FreeLost(once.fUse);
        const sOutcome empty = RunWatched(pCall, {eFaultFromThenOn, request});
        EXPECT_EQ(empty.fEnd, eBadAlloc); // not even the words of another failure could be had
        EXPECT_TRUE(empty.fUse.fLost.empty());
        ExpectCleanBook(empty.fUse);
        FreeLost(empty.fUse);
    }
}

} // namespace SelvaneTest

#endif
