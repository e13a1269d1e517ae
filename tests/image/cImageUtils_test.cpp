// What the operations refuse: class, words, order of the checks, place; and that a refused call changes nothing.

#include "image/cImageUtils.h"

#include "image/Pictures.h"
#include "support/Capture.h"

#include <climits>
#include <functional>
#include <malloc.h>
#include <string>

using namespace Vornik;
using namespace SelvaneTest;

namespace
{

/// The text without blanks and without the namespace: compilers differ in both.
std::string Plain(const std::string& pText)
{
    std::string plain = WithoutBlanks(pText);
    const std::string space = "Vornik::";
    for (size_t at = plain.find(space); at != std::string::npos; at = plain.find(space))
        plain.erase(at, space.size());
    return plain;
}

void ExpectRefusal(const std::function<void()>& pCall, const std::string& pClass, const std::string& pWords,
                   const std::string& pSignature)
{
    const sFailure failure = FailureOf(pCall);
    EXPECT_EQ(failure.fType, pClass) << pSignature;
    EXPECT_EQ(failure.fMessage, pWords) << pSignature;
    EXPECT_EQ(failure.fFile, "cImageUtils.cpp") << pSignature;
    EXPECT_GT(failure.fLine, 0);
    const std::string found = Plain(failure.fFuncSig);
    const std::string wanted = Plain("cImageUtils::" + pSignature);
    EXPECT_TRUE(found.size() >= wanted.size() &&
                found.compare(found.size() - wanted.size(), wanted.size(), wanted) == 0)
        << failure.fFuncSig << " is not " << pSignature;
}

constexpr const char* kNull = "cArgumentNullException";
constexpr const char* kArgument = "cArgumentException";
constexpr const char* kInvalid = "cInvalidOperationException";

/// A picture of one kind in three sizes: 6 x 4, another width and height, another height only.
template <class tBitmap>
struct sThree
{
    std::unique_ptr<tBitmap> fGood = MakePicture<tBitmap>(6, 4);
    std::unique_ptr<tBitmap> fWide = MakePicture<tBitmap>(7, 5);
    std::unique_ptr<tBitmap> fHigh = MakePicture<tBitmap>(6, 5);

    void ExpectUntouched() const
    {
        for (const tBitmap* picture : {fGood.get(), fWide.get(), fHigh.get()})
            EXPECT_EQ(BlockOf(*picture), std::vector<unsigned char>(BlockBytes(*picture), kUntouched));
    }
};

class cImageUtilsRefusals : public ::testing::Test
{
protected:
    sThree<cBitmapBGR8> f8;
    sThree<cBitmapBGR16> f16;
    sThree<cBitmapXYZ32> fFloat;
    sThree<cBitmapY8> fGrey;
    cTransferGamma fCurve{1.0f};
    cTransferLUT_I8F32 fDecode8{&fCurve};
    std::unique_ptr<cTransferLUT_I16F32> fDecode16 = std::make_unique<cTransferLUT_I16F32>(&fCurve);
    std::unique_ptr<cTransferLUT_F32I8> fEncode8 = std::make_unique<cTransferLUT_F32I8>(&fCurve);
    std::unique_ptr<cTransferLUT_F32I16> fEncode16 = std::make_unique<cTransferLUT_F32I16>(&fCurve);
    cMatrix33 fMatrix = {1, 0, 0, 0, 1, 0, 0, 0, 1};

    /// Source null, target null, widths, heights: each with everything behind it wrong as well.
    template <class tFrom, class tTo, class tOperation>
    void ExpectFourChecks(sThree<tFrom>& pFrom, sThree<tTo>& pTo, const tOperation& pOperation,
                          const char* const (&pWords)[4], const char* pSignature)
    {
        tFrom* const noSource = nullptr;
        tTo* const noTarget = nullptr;
        ExpectRefusal([&] { pOperation(noSource, noTarget); }, kNull, pWords[0], pSignature);
        ExpectRefusal([&] { pOperation(pFrom.fWide.get(), noTarget); }, kNull, pWords[1], pSignature);
        ExpectRefusal([&] { pOperation(pFrom.fGood.get(), pTo.fWide.get()); }, kArgument, pWords[2], pSignature);
        ExpectRefusal([&] { pOperation(pFrom.fWide.get(), pTo.fGood.get()); }, kArgument, pWords[2], pSignature);
        ExpectRefusal([&] { pOperation(pFrom.fGood.get(), pTo.fHigh.get()); }, kArgument, pWords[3], pSignature);
        ExpectRefusal([&] { pOperation(pFrom.fHigh.get(), pTo.fGood.get()); }, kArgument, pWords[3], pSignature);
    }

    void TearDown() override
    {
        f8.ExpectUntouched();
        f16.ExpectUntouched();
        fFloat.ExpectUntouched();
        fGrey.ExpectUntouched();
    }
};

// ---- Conversions ----------------------------------------------------------------------------------------------------

constexpr const char* kFrom8[4] = {"Argument pSrcBGR8 cannot be null.", "Argument pDstBGR32 cannot be null.",
                                   "Argument pDstBGR32->fWidth must be equal to pSrcBGR8->fWidth.",
                                   "Argument pDstBGR32->fHeight must be equal to pSrcBGR8->fHeight."};
constexpr const char* kFrom16[4] = {"Argument pSrcBGR16 cannot be null.", "Argument pDstBGR32 cannot be null.",
                                    "Argument pDstBGR32->fWidth must be equal to pSrcBGR16->fWidth.",
                                    "Argument pDstBGR32->fHeight must be equal to pSrcBGR16->fHeight."};
constexpr const char* kTo8[4] = {"Argument pSrcBGR32 cannot be null.", "Argument pDstBGR8 cannot be null.",
                                 "Argument pSrcBGR32->fWidth must be equal to pDstBGR8->fWidth.",
                                 "Argument pSrcBGR32->fHeight must be equal to pDstBGR8->fHeight."};
constexpr const char* kTo16[4] = {"Argument pSrcBGR32 cannot be null.", "Argument pDstBGR16 cannot be null.",
                                  "Argument pSrcBGR32->fWidth must be equal to pDstBGR16->fWidth.",
                                  "Argument pSrcBGR32->fHeight must be equal to pDstBGR16->fHeight."};

TEST_F(cImageUtilsRefusals, Scalings)
{
    ExpectFourChecks(
        f8, fFloat, [](auto* s, auto* t) { cImageUtils::BGR8ToBGR32(s, t); }, kFrom8,
        "BGR8ToBGR32(const cBitmapBGR8*, cBitmapXYZ32*)");
    ExpectFourChecks(
        f16, fFloat, [](auto* s, auto* t) { cImageUtils::BGR16ToBGR32(s, t); }, kFrom16,
        "BGR16ToBGR32(const cBitmapBGR16*, cBitmapXYZ32*)");
    ExpectFourChecks(
        fFloat, f8, [](auto* s, auto* t) { cImageUtils::BGR32ToBGR8(s, t); }, kTo8,
        "BGR32ToBGR8(const cBitmapXYZ32*, cBitmapBGR8*)");
    ExpectFourChecks(
        fFloat, f16, [](auto* s, auto* t) { cImageUtils::BGR32ToBGR16(s, t); }, kTo16,
        "BGR32ToBGR16(const cBitmapXYZ32*, cBitmapBGR16*)");
}

TEST_F(cImageUtilsRefusals, Transfers)
{
    // The colour spaces of the integer pictures are missing as well: that is looked at last.
    for (auto* picture : {f8.fGood.get(), f8.fWide.get(), f8.fHigh.get()}) {
        delete picture->fColorSpace;
        picture->fColorSpace = nullptr;
    }
    for (auto* picture : {f16.fGood.get(), f16.fWide.get(), f16.fHigh.get()}) {
        delete picture->fColorSpace;
        picture->fColorSpace = nullptr;
    }
    ExpectFourChecks(
        f8, fFloat, [](auto* s, auto* t) { cImageUtils::BGR8ToBGR32Linear(s, t); }, kFrom8,
        "BGR8ToBGR32Linear(const cBitmapBGR8*, cBitmapXYZ32*)");
    ExpectFourChecks(
        f16, fFloat, [](auto* s, auto* t) { cImageUtils::BGR16ToBGR32Linear(s, t); }, kFrom16,
        "BGR16ToBGR32Linear(const cBitmapBGR16*, cBitmapXYZ32*)");
    ExpectFourChecks(
        fFloat, f8, [](auto* s, auto* t) { cImageUtils::BGR32LinearToBGR8(s, t); }, kTo8,
        "BGR32LinearToBGR8(const cBitmapXYZ32*, cBitmapBGR8*)");
    ExpectFourChecks(
        fFloat, f16, [](auto* s, auto* t) { cImageUtils::BGR32LinearToBGR16(s, t); }, kTo16,
        "BGR32LinearToBGR16(const cBitmapXYZ32*, cBitmapBGR16*)");

    const char* const words = "Color space is not set.";
    ExpectRefusal([&] { cImageUtils::BGR8ToBGR32Linear(f8.fGood.get(), fFloat.fGood.get()); }, kInvalid, words,
                  "BGR8ToBGR32Linear(const cBitmapBGR8*, cBitmapXYZ32*)");
    ExpectRefusal([&] { cImageUtils::BGR16ToBGR32Linear(f16.fGood.get(), fFloat.fGood.get()); }, kInvalid, words,
                  "BGR16ToBGR32Linear(const cBitmapBGR16*, cBitmapXYZ32*)");
    ExpectRefusal([&] { cImageUtils::BGR32LinearToBGR8(fFloat.fGood.get(), f8.fGood.get()); }, kInvalid, words,
                  "BGR32LinearToBGR8(const cBitmapXYZ32*, cBitmapBGR8*)");
    ExpectRefusal([&] { cImageUtils::BGR32LinearToBGR16(fFloat.fGood.get(), f16.fGood.get()); }, kInvalid, words,
                  "BGR32LinearToBGR16(const cBitmapXYZ32*, cBitmapBGR16*)");
}

TEST_F(cImageUtilsRefusals, FormsThatMakeTheirTarget)
{
    const auto none = static_cast<eColorSpaceID>(9);
    const cBitmapBGR8* const no8 = nullptr;
    const cBitmapBGR16* const no16 = nullptr;
    const cBitmapXYZ32* const noFloat = nullptr;
    ExpectRefusal([&] { cImageUtils::BGR8ToBGR32(no8); }, kNull, kFrom8[0], "BGR8ToBGR32(const cBitmapBGR8*)");
    ExpectRefusal([&] { cImageUtils::BGR16ToBGR32(no16); }, kNull, kFrom16[0], "BGR16ToBGR32(const cBitmapBGR16*)");
    ExpectRefusal([&] { cImageUtils::BGR8ToBGR32Linear(no8); }, kNull, kFrom8[0],
                  "BGR8ToBGR32Linear(const cBitmapBGR8*)");
    ExpectRefusal([&] { cImageUtils::BGR16ToBGR32Linear(no16); }, kNull, kFrom16[0],
                  "BGR16ToBGR32Linear(const cBitmapBGR16*)");
    ExpectRefusal([&] { cImageUtils::BGR32ToBGR8(noFloat, none); }, kNull, kTo8[0],
                  "BGR32ToBGR8(const cBitmapXYZ32*, eColorSpaceID)");
    ExpectRefusal([&] { cImageUtils::BGR32ToBGR16(noFloat, none); }, kNull, kTo16[0],
                  "BGR32ToBGR16(const cBitmapXYZ32*, eColorSpaceID)");
    ExpectRefusal([&] { cImageUtils::BGR32LinearToBGR8(noFloat, none); }, kNull, kTo8[0],
                  "BGR32LinearToBGR8(const cBitmapXYZ32*, eColorSpaceID)");
    ExpectRefusal([&] { cImageUtils::BGR32LinearToBGR16(noFloat, none); }, kNull, kTo16[0],
                  "BGR32LinearToBGR16(const cBitmapXYZ32*, eColorSpaceID)");
}

/// Bytes that are allocated and not freed.
size_t BytesInUse()
{
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

/// Runs a call that fails after it has made a target of pBytes, and sees that the target is gone.
template <class tCall>
void ExpectTargetDeleted(size_t pBytes, const tCall& pCall, const char* pSignature)
{
    const size_t before = BytesInUse();
    ExpectRefusal(pCall, kInvalid, "Color space is not set.", pSignature);
    EXPECT_LT(BytesInUse(), before + pBytes / 2);
}

TEST(cImageUtilsMaking, AFailureDeletesTheTarget)
{
    constexpr int kSide = 1000;
    const auto none = static_cast<eColorSpaceID>(9);
    const cBitmapBGR8 narrow(kSide, kSide, none);
    const cBitmapBGR16 wide(kSide, kSide, none);
    const auto floats = MakePicture<cBitmapXYZ32>(kSide, kSide);
    ExpectTargetDeleted(
        12'000'000, [&] { cImageUtils::BGR8ToBGR32Linear(&narrow); },
        "BGR8ToBGR32Linear(const cBitmapBGR8*, cBitmapXYZ32*)");
    ExpectTargetDeleted(
        12'000'000, [&] { cImageUtils::BGR16ToBGR32Linear(&wide); },
        "BGR16ToBGR32Linear(const cBitmapBGR16*, cBitmapXYZ32*)");
    ExpectTargetDeleted(
        3'000'000, [&] { cImageUtils::BGR32LinearToBGR8(floats.get(), none); },
        "BGR32LinearToBGR8(const cBitmapXYZ32*, cBitmapBGR8*)");
    ExpectTargetDeleted(
        6'000'000, [&] { cImageUtils::BGR32LinearToBGR16(floats.get(), none); },
        "BGR32LinearToBGR16(const cBitmapXYZ32*, cBitmapBGR16*)");
}

TEST_F(cImageUtilsRefusals, Float3)
{
    const char* const to8 = "BGR8ToFloat3(cBitmapBGR8*, cBitmapXYZ32*, cTransferLUT_I8F32*, cMatrix33)";
    const auto call8 = [&](cBitmapBGR8* s, cBitmapXYZ32* t) { cImageUtils::BGR8ToFloat3(s, t, nullptr, fMatrix); };
    ExpectFourChecks(f8, fFloat, call8,
                     {"Argument pFromBGR8 cannot be null.", "Argument pToXYZ32 cannot be null.",
                      "Argument pFromBGR8->fWidth must be equal to pToXYZ32->fWidth.",
                      "Argument pFromBGR8->fHeight must be equal to pToXYZ32->fHeight."},
                     to8);
    ExpectRefusal([&] { call8(f8.fGood.get(), fFloat.fGood.get()); }, kNull, "Argument pTransferLUT cannot be null.",
                  to8);

    const char* const to16 = "BGR16ToFloat3(cBitmapBGR16*, cBitmapXYZ32*, cTransferLUT_I16F32*, cMatrix33)";
    const auto call16 = [&](cBitmapBGR16* s, cBitmapXYZ32* t) { cImageUtils::BGR16ToFloat3(s, t, nullptr, fMatrix); };
    ExpectFourChecks(f16, fFloat, call16,
                     {"Argument pFromBGR16 cannot be null.", "Argument pToXYZ32 cannot be null.",
                      "Argument pFromBGR16->fWidth must be equal to pToXYZ32->fWidth.",
                      "Argument pFromBGR16->fHeight must be equal to pToXYZ32->fHeight."},
                     to16);
    ExpectRefusal([&] { call16(f16.fGood.get(), fFloat.fGood.get()); }, kNull, "Argument pTransferLUT cannot be null.",
                  to16);

    const char* const from8 = "Float3ToBGR8(cBitmapXYZ32*, cBitmapBGR8*, cTransferLUT_F32I8*, cMatrix33)";
    const auto back8 = [&](cBitmapXYZ32* s, cBitmapBGR8* t) { cImageUtils::Float3ToBGR8(s, t, nullptr, fMatrix); };
    ExpectFourChecks(fFloat, f8, back8,
                     {"Argument pFromXYZ32 cannot be null.", "Argument pToBGR8 cannot be null.",
                      "Argument pFromXYZ32->fWidth must be equal to pToBGR8->fWidth.",
                      "Argument pFromXYZ32->fHeight must be equal to pToBGR8->fHeight."},
                     from8);
    ExpectRefusal([&] { back8(fFloat.fGood.get(), f8.fGood.get()); }, kNull, "Argument pTransfer cannot be null.",
                  from8);

    const char* const from16 = "Float3ToBGR16(cBitmapXYZ32*, cBitmapBGR16*, cTransferLUT_F32I16*, cMatrix33)";
    const auto back16 = [&](cBitmapXYZ32* s, cBitmapBGR16* t) { cImageUtils::Float3ToBGR16(s, t, nullptr, fMatrix); };
    ExpectFourChecks(fFloat, f16, back16,
                     {"Argument pFromXYZ32 cannot be null.", "Argument pToBGR16 cannot be null.",
                      "Argument pFromXYZ32->fWidth must be equal to pToBGR16->fWidth.",
                      "Argument pFromXYZ32->fHeight must be equal to pToBGR16->fHeight."},
                     from16);
    ExpectRefusal([&] { back16(fFloat.fGood.get(), f16.fGood.get()); }, kNull, "Argument pTransfer cannot be null.",
                  from16);
}

TEST_F(cImageUtilsRefusals, Depths)
{
    ExpectFourChecks(
        f16, f8, [](cBitmapBGR16* s, cBitmapBGR8* t) { cImageUtils::Convert(s, t); },
        {"Argument pFromBGR16 cannot be null.", "Argument pToBGR8 cannot be null.",
         "Argument pFromBGR16->fWidth must be equal to pToBGR8->fWidth.",
         "Argument pFromBGR16->fHeight must be equal to pToBGR8->fHeight."},
        "Convert(cBitmapBGR16*, cBitmapBGR8*)");
    ExpectFourChecks(
        f8, f16, [](cBitmapBGR8* s, cBitmapBGR16* t) { cImageUtils::Convert(s, t); },
        {"Argument pFromBGR8 cannot be null.", "Argument pToBGR16 cannot be null.",
         "Argument pFromBGR8->fWidth must be equal to pToBGR16->fWidth.",
         "Argument pFromBGR8->fHeight must be equal to pToBGR16->fHeight."},
        "Convert(cBitmapBGR8*, cBitmapBGR16*)");
}

// ---- Copies ---------------------------------------------------------------------------------------------------------

/// All rectangle checks of one form of Copy on 6 x 4 pixels.
template <class tBitmap>
void ExpectCopyChecks(const tBitmap* pSource, tBitmap* pTarget, const std::string& pKind, const std::string& pSignature)
{
    const std::string width = "Argument pWidth must be greater than zero.";
    const std::string sourceFirst = "Top/Left corner of source rectangle is out of range.";
    const std::string sourceLast = "Bottom/Right corner of source rectangle is out of range.";
    const std::string targetFirst = "Top/Left corner of destination rectangle is out of range.";
    const std::string targetLast = "Bottom/Right corner of destination rectangle is out of range.";
    const tBitmap* const noSource = nullptr;
    tBitmap* const noTarget = nullptr;
    ExpectRefusal([&] { cImageUtils::Copy(noSource, noTarget, -1, -1, -1, -1, 0, 0); }, kNull,
                  "Argument pSrc" + pKind + " cannot be null.", pSignature);
    ExpectRefusal([&] { cImageUtils::Copy(pSource, noTarget, -1, -1, -1, -1, 0, 0); }, kNull,
                  "Argument pDst" + pKind + " cannot be null.", pSignature);

    struct sCase
    {
        int fSrcX, fSrcY, fDstX, fDstY, fWidth, fHeight;
        const char* fClass;
        std::string fWords;
    };
    const sCase cases[] = {
        {-1, -1, -1, -1, 0, 0, kNull, width},
        {-1, -1, -1, -1, INT_MIN, 1, kNull, width},
        {-1, -1, -1, -1, 1, 0, kNull, width},
        {-1, -1, -1, -1, 1, -5, kNull, width},
        {-1, 0, -1, -1, 7, 1, kArgument, sourceFirst},
        {0, -1, -1, -1, 7, 1, kArgument, sourceFirst},
        {6, 0, -1, -1, 1, 1, kArgument, sourceFirst},
        {0, 4, -1, -1, 1, 1, kArgument, sourceFirst},
        {INT_MIN, 0, 0, 0, INT_MAX, 1, kArgument, sourceFirst},
        {INT_MAX, 0, 0, 0, INT_MAX, 1, kArgument, sourceFirst},
        {0, INT_MAX, 0, 0, 1, INT_MAX, kArgument, sourceFirst},
        {0, 0, -1, -1, 7, 1, kArgument, sourceLast},
        {1, 0, -1, -1, 6, 1, kArgument, sourceLast},
        {0, 1, -1, -1, 6, 4, kArgument, sourceLast},
        {5, 3, -1, -1, 1, 2, kArgument, sourceLast},
        {1, 0, 0, 0, INT_MAX, 1, kArgument, sourceLast},
        {0, 1, 0, 0, 1, INT_MAX, kArgument, sourceLast},
        {0, 0, -1, 0, 6, 4, kArgument, targetFirst},
        {0, 0, 0, -1, 6, 4, kArgument, targetFirst},
        {0, 0, 6, 0, 6, 4, kArgument, targetFirst},
        {0, 0, 0, 4, 6, 4, kArgument, targetFirst},
        {0, 0, INT_MAX, 0, 6, 4, kArgument, targetFirst},
        {0, 0, 1, 0, 6, 4, kArgument, targetLast},
        {0, 0, 0, 1, 6, 4, kArgument, targetLast},
    };
    for (const sCase& c : cases)
        ExpectRefusal(
            [&] { cImageUtils::Copy(pSource, pTarget, c.fSrcX, c.fSrcY, c.fDstX, c.fDstY, c.fWidth, c.fHeight); },
            c.fClass, c.fWords, pSignature);
}

TEST_F(cImageUtilsRefusals, Copies)
{
    ExpectCopyChecks(f8.fGood.get(), f8.fGood.get(), "BGR",
                     "Copy(const cBitmapBGR8*, cBitmapBGR8*, int, int, int, int, int, int)");
    ExpectCopyChecks(f16.fGood.get(), f16.fGood.get(), "BGR",
                     "Copy(const cBitmapBGR16*, cBitmapBGR16*, int, int, int, int, int, int)");
    ExpectCopyChecks(fGrey.fGood.get(), fGrey.fGood.get(), "Y8",
                     "Copy(const cBitmapY8*, cBitmapY8*, int, int, int, int, int, int)");
}

TEST_F(cImageUtilsRefusals, EachRectangleIsHeldAgainstItsOwnPicture)
{
    const auto expectRefusals = [](auto* pGood, auto* pWide, const char* pSignature) {
        ExpectRefusal([&] { cImageUtils::Copy(pGood, pWide, 6, 0, 6, 0, 1, 1); }, kArgument,
                      "Top/Left corner of source rectangle is out of range.", pSignature);
        ExpectRefusal([&] { cImageUtils::Copy(pWide, pGood, 6, 0, 6, 0, 1, 1); }, kArgument,
                      "Top/Left corner of destination rectangle is out of range.", pSignature);
        ExpectRefusal([&] { cImageUtils::Copy(pGood, pWide, 0, 0, 0, 0, 7, 5); }, kArgument,
                      "Bottom/Right corner of source rectangle is out of range.", pSignature);
        ExpectRefusal([&] { cImageUtils::Copy(pWide, pGood, 0, 0, 0, 0, 7, 5); }, kArgument,
                      "Bottom/Right corner of destination rectangle is out of range.", pSignature);
    };
    expectRefusals(f8.fGood.get(), f8.fWide.get(),
                   "Copy(const cBitmapBGR8*, cBitmapBGR8*, int, int, int, int, int, int)");
    expectRefusals(f16.fGood.get(), f16.fWide.get(),
                   "Copy(const cBitmapBGR16*, cBitmapBGR16*, int, int, int, int, int, int)");
    cBitmapY8 good(6, 5);
    cBitmapY8 wide(7, 5);
    expectRefusals(&good, &wide, "Copy(const cBitmapY8*, cBitmapY8*, int, int, int, int, int, int)");
}

TEST_F(cImageUtilsRefusals, CopiesByDepth)
{
    const char* const signature = "Copy(const cBitmapLDR*, cBitmapLDR*, int, int, int, int, int, int)";
    const cBitmapLDR* const noSource = nullptr;
    cBitmapLDR* const noTarget = nullptr;
    const cBitmapLDR* const narrow = f8.fGood.get();
    cBitmapLDR* const wide = f16.fGood.get();
    ExpectRefusal([&] { cImageUtils::Copy(noSource, noTarget, -1, -1, -1, -1, 0, 0); }, kNull,
                  "Argument pSrcBGR cannot be null.", signature);
    ExpectRefusal([&] { cImageUtils::Copy(narrow, noTarget, -1, -1, -1, -1, 0, 0); }, kNull,
                  "Argument pDstBGR cannot be null.", signature);
    ExpectRefusal([&] { cImageUtils::Copy(narrow, wide, -1, -1, -1, -1, 0, 0); }, kArgument,
                  "Argument pSrcBGR and pDstBGR must have the same bit depth.", signature);
    ExpectRefusal([&] { cImageUtils::Copy(wide, static_cast<cBitmapLDR*>(f8.fGood.get()), -1, -1, -1, -1, 0, 0); },
                  kArgument, "Argument pSrcBGR and pDstBGR must have the same bit depth.", signature);
    // The rest is the called form's.
    cBitmapLDR* const alsoNarrow = f8.fGood.get();
    ExpectRefusal([&] { cImageUtils::Copy(narrow, alsoNarrow, 0, 0, 0, 0, 0, 0); }, kNull,
                  "Argument pWidth must be greater than zero.",
                  "Copy(const cBitmapBGR8*, cBitmapBGR8*, int, int, int, int, int, int)");
    ExpectRefusal([&] { cImageUtils::Copy(wide, wide, 0, 0, 0, 0, 0, 0); }, kNull,
                  "Argument pWidth must be greater than zero.",
                  "Copy(const cBitmapBGR16*, cBitmapBGR16*, int, int, int, int, int, int)");
}

// ---- Fills and arithmetic -------------------------------------------------------------------------------------------

TEST_F(cImageUtilsRefusals, Fills)
{
    cBitmapBGR8* const no8 = nullptr;
    cBitmapBGR16* const no16 = nullptr;
    cBitmapXYZ32* const noFloat = nullptr;
    const auto byte = static_cast<unsigned char>(1);
    const auto word = static_cast<unsigned short>(1);
    const char* const integers = "Argument pBGR cannot be null.";
    const char* const floats = "Argument pXYZ32 cannot be null.";
    const char* const signature8 = "Fill(cBitmapBGR8*, unsigned char, unsigned char, unsigned char)";
    const char* const signature16 = "Fill(cBitmapBGR16*, short unsigned int, short unsigned int, short unsigned int)";
    const char* const signatureFloat = "Fill(cBitmapXYZ32*, float, float, float)";
    (void)signature16; // g++ and clang name the type differently
    ExpectRefusal([&] { cImageUtils::Fill(no8, byte, byte, byte); }, kNull, integers, signature8);
    ExpectRefusal([&] { cImageUtils::Fill(no8, byte); }, kNull, integers, signature8);
    ExpectRefusal([&] { cImageUtils::Fill(noFloat, 1, 1, 1); }, kNull, floats, signatureFloat);
    ExpectRefusal([&] { cImageUtils::Fill(noFloat, 1); }, kNull, floats, signatureFloat);
    for (const sFailure& failure : {FailureOf([&] { cImageUtils::Fill(no16, word, word, word); }),
                                    FailureOf([&] { cImageUtils::Fill(no16, word); })}) {
        EXPECT_EQ(failure.fType, kNull);
        EXPECT_EQ(failure.fMessage, integers);
        EXPECT_NE(failure.fFuncSig.find("cBitmapBGR16"), std::string::npos);
        EXPECT_EQ(std::count(failure.fFuncSig.begin(), failure.fFuncSig.end(), ','), 3);
    }
}

TEST_F(cImageUtilsRefusals, Subtraction)
{
    ExpectFourChecks(
        fFloat, fFloat, [](cBitmapXYZ32* s, cBitmapXYZ32* t) { cImageUtils::Sub(s, t); },
        {"Argument pSrc1 cannot be null.", "Argument pSrc2 cannot be null.",
         "Argument pSrc1->fWidth must be equal to pSrc2->fWidth.",
         "Argument pSrc1->fHeight must be equal to pSrc2->fHeight."},
        "Sub(cBitmapXYZ32*, const cBitmapXYZ32*)");
}

TEST_F(cImageUtilsRefusals, Multiplications)
{
    cBitmapXYZ32* const none = nullptr;
    for (const float factor : {1.0f, 2.0f})
        ExpectRefusal([&] { cImageUtils::Mul(none, factor); }, kNull, "Argument pXYZ32 cannot be null.",
                      "Mul(cBitmapXYZ32*, float)");
    ExpectFourChecks(
        fFloat, fFloat, [](cBitmapXYZ32* s, cBitmapXYZ32* t) { cImageUtils::Mul(s, t, 1.0f); },
        {"Argument pSrc cannot be null.", "Argument pDst cannot be null.",
         "Argument pSrc->fWidth must be equal to pDst->fWidth.",
         "Argument pSrc->fHeight must be equal to pDst->fHeight."},
        "Mul(const cBitmapXYZ32*, cBitmapXYZ32*, float)");

    cBitmapXYZ32* const good = fFloat.fGood.get();
    cBitmapXYZ32* const wide = fFloat.fWide.get();
    cBitmapXYZ32* const high = fFloat.fHigh.get();
    const char* const signature = "Mul(const cBitmapXYZ32*, const cBitmapXYZ32*, cBitmapXYZ32*)";
    const struct
    {
        cBitmapXYZ32 *fSrc1, *fSrc2, *fDst;
        const char* fClass;
        const char* fWords;
    } cases[] = {
        {none, none, none, kNull, "Argument pSrc1 cannot be null."},
        {wide, none, none, kNull, "Argument pSrc2 cannot be null."},
        {wide, good, none, kNull, "Argument pDst cannot be null."},
        {wide, wide, good, kArgument, "Argument pSrc1->fWidth must be equal to pDst->fWidth."},
        {high, wide, good, kArgument, "Argument pSrc1->fHeight must be equal to pDst->fHeight."},
        {good, wide, good, kArgument, "Argument pSrc2->fWidth must be equal to pDst->fWidth."},
        {good, high, good, kArgument, "Argument pSrc2->fHeight must be equal to pDst->fHeight."},
    };
    for (const auto& c : cases)
        ExpectRefusal([&] { cImageUtils::Mul(c.fSrc1, c.fSrc2, c.fDst); }, c.fClass, c.fWords, signature);
}

TEST_F(cImageUtilsRefusals, Matrices)
{
    cBitmapXYZ32* const none = nullptr;
    ExpectRefusal([&] { cImageUtils::TransformInPlace(none, fMatrix); }, kNull, "Argument pXYZ32 cannot be null.",
                  "TransformInPlace(cBitmapXYZ32*, cMatrix33)");
    ExpectRefusal([&] { cImageUtils::ColorTransform(none, fMatrix); }, kNull, "Argument pXYZ32 cannot be null.",
                  "ColorTransform(cBitmapXYZ32*, cMatrix33)");
    ExpectFourChecks(
        fFloat, fFloat, [&](cBitmapXYZ32* s, cBitmapXYZ32* t) { cImageUtils::ColorTransform(s, t, fMatrix); },
        {"Argument pSrcXYZ32 cannot be null.", "Argument pDstXYZ32 cannot be null.",
         "Argument pSrcXYZ32->fWidth must be equal to pDstXYZ32->fWidth.",
         "Argument pSrcXYZ32->fHeight must be equal to pDstXYZ32->fHeight."},
        "ColorTransform(const cBitmapXYZ32*, cBitmapXYZ32*, cMatrix33)");
}

// ---- Channels and statistics ----------------------------------------------------------------------------------------

/// The channel's checks stand last, the one for negative numbers first.
void ExpectChannelChecks(const std::function<void(int)>& pCall, const char* pSignature)
{
    for (const int channel : {-1, INT_MIN})
        ExpectRefusal([&] { pCall(channel); }, kInvalid, "pChannel cannot be less than zero.", pSignature);
    for (const int channel : {3, INT_MAX})
        ExpectRefusal([&] { pCall(channel); }, kInvalid, "pChannel cannot be greater than two.", pSignature);
}

TEST_F(cImageUtilsRefusals, Channels)
{
    cBitmapXYZ32* const none = nullptr;
    cBitmapXYZ32* const good = fFloat.fGood.get();
    float plane[24] = {};
    const char* const extract = "ExtractChannel(const cBitmapXYZ32*, float*, int)";
    ExpectRefusal([&] { cImageUtils::ExtractChannel(none, nullptr, -1); }, kNull, "Argument pSrcXYZ32 cannot be null.",
                  extract);
    ExpectRefusal([&] { cImageUtils::ExtractChannel(good, nullptr, -1); }, kNull, "Argument pDest cannot be null.",
                  extract);
    ExpectChannelChecks([&](int c) { cImageUtils::ExtractChannel(good, plane, c); }, extract);
    for (const float value : plane)
        EXPECT_EQ(value, 0.0f);

    const char* const replace = "ReplaceChannel(const float*, cBitmapXYZ32*, int)";
    ExpectRefusal([&] { cImageUtils::ReplaceChannel(nullptr, none, -1); }, kNull, "Argument pDstXYZ32 cannot be null.",
                  replace);
    ExpectRefusal([&] { cImageUtils::ReplaceChannel(nullptr, good, -1); }, kNull, "Argument pSrc cannot be null.",
                  replace);
    ExpectChannelChecks([&](int c) { cImageUtils::ReplaceChannel(plane, good, c); }, replace);

    const char* const clamp = "ClampLow(cBitmapXYZ32*, int, float)";
    ExpectRefusal([&] { cImageUtils::ClampLow(none, -1, 0.0f); }, kNull, "Argument pSrcXYZ32 cannot be null.", clamp);
    ExpectChannelChecks([&](int c) { cImageUtils::ClampLow(good, c, 0.0f); }, clamp);
}

TEST_F(cImageUtilsRefusals, Statistics)
{
    cBitmapXYZ32* const none = nullptr;
    cBitmapXYZ32* const good = fFloat.fGood.get();
    const char* const words = "Argument pSrcXYZ32 cannot be null.";
    float least = 7.0f;
    float most = 8.0f;
    const char* const both = "GetMinMax(const cBitmapXYZ32*, int, float&, float&)";
    ExpectRefusal([&] { cImageUtils::GetMinMax(none, -1, least, most); }, kNull, words, both);
    ExpectChannelChecks([&](int c) { cImageUtils::GetMinMax(good, c, least, most); }, both);
    EXPECT_EQ(least, 7.0f);
    EXPECT_EQ(most, 8.0f);
    ExpectRefusal([&] { cImageUtils::GetMax(none, -1); }, kNull, words, "GetMax(const cBitmapXYZ32*, int)");
    ExpectChannelChecks([&](int c) { cImageUtils::GetMax(good, c); }, "GetMax(const cBitmapXYZ32*, int)");
    ExpectRefusal([&] { cImageUtils::GetMin(none, -1); }, kNull, words, "GetMin(const cBitmapXYZ32*, int)");
    ExpectChannelChecks([&](int c) { cImageUtils::GetMin(good, c); }, "GetMin(const cBitmapXYZ32*, int)");

    for (const bool perChannel : {false, true})
        ExpectRefusal([&] { cImageUtils::Normalize(none, perChannel); }, kNull, "Argument pXYZ32 cannot be null.",
                      "Normalize(cBitmapXYZ32*, bool)");
    float mean[3] = {7, 8, 9};
    ExpectRefusal([&] { cImageUtils::Mean(none, mean[0], mean[1], mean[2]); }, kNull, "Argument pSrc cannot be null.",
                  "Mean(const cBitmapXYZ32*, float&, float&, float&)");
    EXPECT_EQ(mean[0] + mean[1] + mean[2], 24.0f);
}

constexpr const char* kCompared[4] = {"Argument pSrc1 cannot be null.", "Argument pSrc2 cannot be null.",
                                      "Argument pSrc1->fWidth must be equal to pSrc2->fWidth.",
                                      "Argument pSrc1->fHeight must be equal to pSrc2->fHeight."};

TEST_F(cImageUtilsRefusals, Differences)
{
    double sums[3] = {7, 8, 9};
    const auto five = [&](auto* a, auto* b) { cImageUtils::Diff(a, b, sums[0], sums[1], sums[2]); };
    const auto two = [](auto* a, auto* b) { cImageUtils::Diff(a, b); };
    const auto largest = [](auto* a, auto* b) { cImageUtils::MaxDiff(a, b); };
    ExpectFourChecks(fFloat, fFloat, five, kCompared,
                     "Diff(const cBitmapXYZ32*, const cBitmapXYZ32*, double&, double&, double&)");
    ExpectFourChecks(f8, f8, five, kCompared,
                     "Diff(const cBitmapBGR8*, const cBitmapBGR8*, double&, double&, double&)");
    ExpectFourChecks(f16, f16, five, kCompared,
                     "Diff(const cBitmapBGR16*, const cBitmapBGR16*, double&, double&, double&)");
    ExpectFourChecks(fFloat, fFloat, two, kCompared, "Diff(const cBitmapXYZ32*, const cBitmapXYZ32*)");
    ExpectFourChecks(f8, f8, two, kCompared, "Diff(const cBitmapBGR8*, const cBitmapBGR8*)");
    ExpectFourChecks(f16, f16, two, kCompared, "Diff(const cBitmapBGR16*, const cBitmapBGR16*)");
    ExpectFourChecks(f8, f8, largest, kCompared, "MaxDiff(const cBitmapBGR8*, const cBitmapBGR8*)");
    ExpectFourChecks(f16, f16, largest, kCompared, "MaxDiff(const cBitmapBGR16*, const cBitmapBGR16*)");
    EXPECT_EQ(sums[0], 7.0);
    EXPECT_EQ(sums[1], 8.0);
    EXPECT_EQ(sums[2], 9.0);
}

} // namespace
