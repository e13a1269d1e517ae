#include "color/cColorSpace.h"

#include "curve/cTransfer.h"
#include "support/Allocations.h"
#include "support/Capture.h"

#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <memory>
#include <new>
#include <stdexcept>
#include <string>
#include <vector>

using namespace Vornik;
using namespace SelvaneTest;

namespace
{

/// A transfer that writes down its end and fails to clone on demand.
class cProbe : public cTransfer
{
public:
    cProbe(char pName, std::string* pDiary, bool pClones) : fName(pName), fDiary(pDiary), fClones(pClones) {}
    ~cProbe() override { *fDiary += fName; }
    cTransfer* Clone() const override
    {
        if (!fClones) throw std::runtime_error("no clone today");
        return new cProbe(static_cast<char>(fName - 'A' + 'a'), fDiary, fClones); // clones are lower case
    }
    float Function(float pValue) override { return pValue; }

    char fName;
    std::string* fDiary;
    bool fClones;
};

/// A space whose own constructor looks at the base and may fail before it has set any transfer.
class cLateSpace : public cColorSpace
{
public:
    cLateSpace(bool* pNull, bool pFails) : cColorSpace({0.64f, 0.33f}, {0.3f, 0.6f}, {0.15f, 0.06f}, {0.31f, 0.33f})
    {
        *pNull = fToLinear == nullptr && fFromLinear == nullptr;
        if (pFails) throw std::runtime_error("late");
    }
    explicit cLateSpace(bool* pNull) { *pNull = fToLinear == nullptr && fFromLinear == nullptr; }
    cColorSpace* Clone() const override { return nullptr; }
    char const* GetName() const override { return "late"; }
};

struct alignas(cLateSpace) sDirtyMemory
{
    sDirtyMemory() { std::memset(fBytes, 0xa5, sizeof fBytes); }
    unsigned char fBytes[sizeof(cLateSpace)];
};

TEST(cColorSpaceFailure, TransfersReadAsNullUntilTheyAreSet)
{
    for (const bool fourVectors : {true, false}) {
        sDirtyMemory memory;
        bool null = false;
        auto* space =
            fourVectors ? new (memory.fBytes) cLateSpace(&null, false) : new (memory.fBytes) cLateSpace(&null);
        EXPECT_TRUE(null);
        space->~cLateSpace();
    }
}

TEST(cColorSpaceFailure, AFailingDescendantLeavesTheDestructorSafe)
{
    sDirtyMemory memory;
    bool null = false;
    EXPECT_THROW(new (memory.fBytes) cLateSpace(&null, true), std::runtime_error);
    EXPECT_TRUE(null);
}

TEST(cColorSpaceFailure, TheDestructorDeletesToLinearThenFromLinear)
{
    SKIP_UNLESS_ALLOCATIONS_ARE_COUNTED();
    std::string diary;
    auto* space = new cColorSpace_GenericRGB;
    space->fToLinear = new cProbe('T', &diary, true);
    space->fFromLinear = new cProbe('F', &diary, true);
    delete static_cast<cColorSpace*>(space);
    EXPECT_EQ(diary, "TF");

    diary.clear();
    space = new cColorSpace_GenericRGB;
    space->fFromLinear = new cProbe('F', &diary, true);
    delete space;
    EXPECT_EQ(diary, "F");
}

/// A transfer that looks, while it is deleted, whether its space still holds the one before it.
class cLastLook : public cTransfer
{
public:
    cLastLook(const cColorSpace& pSpace, bool& pSawNone) : fSpace(pSpace), fSawNone(pSawNone) {}
    ~cLastLook() override { fSawNone = fSpace.fToLinear == nullptr; }
    cTransfer* Clone() const override { return nullptr; }
    float Function(float pValue) override { return pValue; }

private:
    const cColorSpace& fSpace;
    bool& fSawNone;
};

TEST(cColorSpaceFailure, TheDestructorForgetsTheFirstTransferBeforeTheSecondGoes)
{
    std::string diary;
    bool sawNone = false;
    auto space = std::make_unique<cColorSpace_GenericRGB>();
    space->fToLinear = new cProbe('T', &diary, true);
    space->fFromLinear = new cLastLook(*space, sawNone);
    space.reset();
    EXPECT_TRUE(sawNone);
}

/// Runs the call with its 1st, 2nd, ... allocation failing; each must throw std::bad_alloc and lose nothing. Returns
/// how many there are.
int FailEachAllocation(const std::function<cColorSpace*()>& pMake)
{
    for (int failing = 1;; failing++) {
        bool thrown = false;
        long live = 0, asked = 0;
        cColorSpace* space = nullptr;
        {
            const cAllocationScope scope(failing - 1);
            try {
                space = pMake();
            } catch (const std::bad_alloc&) {
                thrown = true;
            }
            delete space;
            live = scope.Held();
            asked = scope.Tried();
        }
        EXPECT_EQ(live, 0) << "allocation " << failing;
        if (asked < failing) return static_cast<int>(asked);
        EXPECT_TRUE(thrown) << "allocation " << failing;
        EXPECT_EQ(asked, failing) << "nothing is allocated after a failure";
    }
}

TEST(cColorSpaceFailure, FixedSpacesWithoutMemoryLoseNothing)
{
    SKIP_UNLESS_ALLOCATIONS_ARE_COUNTED();
    for (const eColorSpaceID id : {eColorSpace_sRGB, eColorSpace_AdobeRGB98, eColorSpace_ProPhotoRGB}) {
        EXPECT_EQ(FailEachAllocation([&] { return cColorSpace::FromID(id); }), 3); // the space and two transfers
        const std::unique_ptr<cColorSpace> source(cColorSpace::FromID(id));
        EXPECT_EQ(FailEachAllocation([&] { return source->Clone(); }), 3);
    }
}

TEST(cColorSpaceFailure, AnUnknownNumberAllocatesNothing)
{
    SKIP_UNLESS_ALLOCATIONS_ARE_COUNTED();
    const cAllocationScope scope;
    EXPECT_EQ(cColorSpace::FromID(eColorSpaceID(3)), nullptr);
    EXPECT_EQ(scope.Tried(), 0);
}

constexpr cMatrix33 kToPCS = {0.44f, 0.38f, 0.14f, 0.22f, 0.72f, 0.06f, 0.014f, 0.097f, 0.714f};
unsigned short gTable[] = {0, 20000, 65535};

cColorSpace* FromGamma()
{
    return new cColorSpace_GenericRGB({0.64f, 0.33f}, {0.3f, 0.6f}, {0.15f, 0.06f}, {0.31f, 0.33f}, 2.2f);
}

cColorSpace* FromTables(unsigned short* pTo, int pToCount, unsigned short* pFrom, int pFromCount)
{
    return new cColorSpace_GenericRGB(kToPCS, {0.95f, 1.0f, 1.09f}, pTo, pToCount, pFrom, pFromCount);
}

TEST(cColorSpaceFailure, GenericSpacesWithoutMemoryLoseNothing)
{
    SKIP_UNLESS_ALLOCATIONS_ARE_COUNTED();
    EXPECT_EQ(FailEachAllocation(FromGamma), 3);
    EXPECT_EQ(FailEachAllocation([] { return FromTables(gTable, 3, gTable, 2); }),
              5); // each table object and its numbers
}

TEST(cColorSpaceFailure, TheFirstTransferIsBuiltFirst)
{
    SKIP_UNLESS_ALLOCATIONS_ARE_COUNTED();
    const cAllocationScope scope;
    delete FromTables(gTable, 3, gTable, 2);
    EXPECT_EQ(scope.SizeOf(2), 4 * sizeof(float)); // one guard entry more than samples
    EXPECT_EQ(scope.SizeOf(4), 3 * sizeof(float));
}

TEST(cColorSpaceFailure, RefusedTablesPassOnTheirWords)
{
    SKIP_UNLESS_ALLOCATIONS_ARE_COUNTED();
    struct sCase
    {
        unsigned short* fTo;
        int fToCount;
        unsigned short* fFrom;
        int fFromCount;
        const char* fType;
        const char* fWords;
    };
    const char* null = "Argument pTable cannot be null.";
    const char* few = "Argument pTableSize must be greater than 1.";
    const sCase cases[] = {
        {nullptr, 3, gTable, 3, "cArgumentNullException", null},
        {gTable, 1, gTable, 3, "cArgumentException", few},
        {gTable, 3, nullptr, 3, "cArgumentNullException", null},
        {gTable, 3, gTable, 1, "cArgumentException", few},
        {gTable, 3, gTable, 0, "cArgumentException", few},
        {gTable, 3, gTable, -1, "cArgumentException", few},
        {nullptr, 3, gTable, 1, "cArgumentNullException", null}, // the first refusal counts
        {gTable, 1, nullptr, 3, "cArgumentException", few},
        {nullptr, 0, nullptr, 0, "cArgumentNullException", null},
    };
    for (const sCase& c : cases) {
        const sFailure failure = FailureOf([&] { delete FromTables(c.fTo, c.fToCount, c.fFrom, c.fFromCount); });
        EXPECT_EQ(failure.fType, c.fType);
        EXPECT_EQ(failure.fMessage, c.fWords);
        EXPECT_EQ(failure.fFile, "cTransfer.cpp");
        EXPECT_NE(failure.fFuncSig.find("cTransfer_Table::cTransfer_Table"), std::string::npos) << failure.fFuncSig;

        const cAllocationScope scope;
        try {
            delete FromTables(c.fTo, c.fToCount, c.fFrom, c.fFromCount);
        } catch (const cException&) {
        }
        EXPECT_EQ(scope.Held(), 0);
    }
}

/// A generic space with two probes.
std::unique_ptr<cColorSpace_GenericRGB> Probed(std::string* pDiary, bool pToClones, bool pFromClones)
{
    auto space = std::make_unique<cColorSpace_GenericRGB>();
    space->fRPrimary = {0.64f, 0.33f};
    space->fToLinear = new cProbe('T', pDiary, pToClones);
    space->fFromLinear = new cProbe('F', pDiary, pFromClones);
    return space;
}

TEST(cColorSpaceFailure, CloneSwallowsAFailureOfTheSecondTransfer)
{
    std::string diary;
    const auto space = Probed(&diary, true, false);
    std::unique_ptr<cColorSpace> clone;
    EXPECT_NO_THROW(clone.reset(space->Clone()));
    EXPECT_EQ(diary, "t"); // the clone of the first transfer is gone, the source's transfers are not
    ASSERT_NE(clone, nullptr);
    EXPECT_EQ(clone->fToLinear, nullptr);
    EXPECT_EQ(clone->fFromLinear, nullptr);
    EXPECT_EQ(clone->fRPrimary.x, 0.64f);

    const std::unique_ptr<cColorSpace> second(clone->Clone()); // what came without transfers may be cloned again
    EXPECT_EQ(second->fToLinear, nullptr);
}

TEST(cColorSpaceFailure, ClonePassesOnAFailureOfTheFirstTransfer)
{
    SKIP_UNLESS_ALLOCATIONS_ARE_COUNTED();
    std::string diary;
    const auto space = Probed(&diary, false, true);
    bool thrown = false;
    {
        const cAllocationScope scope;
        try {
            space->Clone();
        } catch (const std::runtime_error&) {
            thrown = true;
        }
        EXPECT_EQ(scope.Held(), 0);
    }
    EXPECT_TRUE(thrown);
    EXPECT_EQ(diary, "");
}

TEST(cColorSpaceFailure, CloneOfAGenericSpaceWithoutMemory)
{
    SKIP_UNLESS_ALLOCATIONS_ARE_COUNTED();
    const std::unique_ptr<cColorSpace> space(FromGamma());
    for (int failing = 1; failing <= 3; failing++) { // the clone, its first and its second transfer
        const cAllocationScope scope(failing - 1);
        bool thrown = false;
        cColorSpace* clone = nullptr;
        try {
            clone = space->Clone();
        } catch (const std::bad_alloc&) {
            thrown = true;
        }
        EXPECT_EQ(scope.Tried(), failing);
        EXPECT_EQ(thrown, failing < 3);
        EXPECT_EQ(scope.Held(), failing < 3 ? 0 : 1); // the clone alone
        if (clone != nullptr) {
            EXPECT_EQ(clone->fToLinear, nullptr);
            EXPECT_EQ(clone->fFromLinear, nullptr);
        }
        delete clone;
        EXPECT_EQ(scope.Held(), 0);
    }
}

} // namespace
