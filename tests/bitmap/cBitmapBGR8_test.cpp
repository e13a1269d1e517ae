#include "bitmap/cBitmapBGR8.h"

#include "bitmap/cBitmapXYZ32.h"
#include "support/Capture.h"

#include "Convert.h"
#include "Fixtures.h"

#include <gtest/gtest.h>

#include <climits>
#include <memory>

using namespace Vornik;
using namespace SelvaneTest;

namespace
{

const char* const kFile = "cBitmapBGR8.cpp";
const char* const kTrace = "Freeing via FreeBitmapData\n";

class cBitmapBGR8Test : public testing::Test
{
protected:
    cBitmapBGR8Test() : fBitmap(5, 6, eColorSpace_sRGB) { FillBlock(fBitmap, 0xEE); }

    void ExpectUntouched()
    {
        EXPECT_EQ(BytesOf(fBitmap), std::vector<unsigned char>(192, 0xEE));
        EXPECT_EQ(fBitmap.fWidth, 5);
        EXPECT_EQ(fBitmap.fHeight, 6);
        EXPECT_EQ(fBitmap.fStride, 24);
    }

    cBitmapBGR8 fBitmap;
};

TEST_F(cBitmapBGR8Test, OnePixelTakesAPaddedBlock)
{
    cBitmapBGR8 one(1, 1, eColorSpace_sRGB);
    EXPECT_EQ(one.fStride, 12);
    EXPECT_EQ(one.fWidth, 1);
    EXPECT_EQ(one.fHeight, 1);
    std::memset(one.fData, 1, 48);
    EXPECT_EQ(one.GetBitsPerChannel(), 8);
    EXPECT_EQ(one.GetBitmapArray(), one.fData);
    EXPECT_EQ(one.GetBGR8(), one.fData);
    EXPECT_STREQ(one.fColorSpace->GetName(), "sRGB IEC61966-2.1");
}

TEST_F(cBitmapBGR8Test, EveryFreeLeavesALineAndADestructionOne)
{
    EXPECT_EQ(CaptureStderr([] { cBitmapBGR8 bitmap(1, 1, eColorSpace_sRGB); }), kTrace);
    EXPECT_EQ(CaptureStderr([] {
                  cBitmapBGR8* const bitmap = new cBitmapBGR8(1, 1, eColorSpace_sRGB);
                  delete static_cast<cBitmap*>(bitmap);
              }),
              kTrace);
    int stride = 0;
    unsigned char* const block = cBitmapBGR8::AllocBitmapData(3, 3, stride);
    EXPECT_EQ(CaptureStderr([&] { cBitmapBGR8::FreeBitmapData(block); }), kTrace);
}

TEST_F(cBitmapBGR8Test, FreeingNullLeavesTheLineAndThrows)
{
    const std::string said = CaptureStderr([] {
        EXPECT_FAILURE(cBitmapBGR8::FreeBitmapData(nullptr), cArgumentNullException, "Argument 'pBGR8' cannot be null.",
                       kFile, "static void Vornik::cBitmapBGR8::FreeBitmapData(unsigned char*)");
    });
    EXPECT_EQ(said, kTrace);
}

TEST_F(cBitmapBGR8Test, ABitmapWithoutBlockEndsInSilence)
{
    EXPECT_EQ(CaptureStderr([] {
                  cBitmapBGR8 bitmap(1, 1, eColorSpace_sRGB);
                  unsigned char* const block = bitmap.fData;
                  bitmap.fData = nullptr;
                  std::free(block);
              }),
              "");
}

TEST_F(cBitmapBGR8Test, AllocBitmapDataChecksAndReportsExhaustedMemory)
{
    const char* const signature = "static unsigned char* Vornik::cBitmapBGR8::AllocBitmapData(int, int, int&)";
    int stride = 77;
    EXPECT_FAILURE(cBitmapBGR8::AllocBitmapData(0, 0, stride), cArgumentException,
                   "Argument pWidth must be greater than zero.", kFile, signature);
    EXPECT_FAILURE(cBitmapBGR8::AllocBitmapData(1, 0, stride), cArgumentException,
                   "Argument pHeight must be greater than zero.", kFile, signature);
    EXPECT_EQ(stride, 77);
    EXPECT_FAILURE(cBitmapBGR8::AllocBitmapData(0x55555558, 1, stride), cOutOfMemoryException,
                   "Out of memory while allocating bitmap array.", kFile, signature);
    EXPECT_EQ(stride, 8); // wrapped
    unsigned char* const block = cBitmapBGR8::AllocBitmapData(5, 5, stride);
    EXPECT_EQ(stride, 24);
    std::memset(block, 1, 192);
    std::free(block);
}

TEST_F(cBitmapBGR8Test, ConstructorByNumberChecksForItself)
{
    const char* const signature = "Vornik::cBitmapBGR8::cBitmapBGR8(int,int,Vornik::eColorSpaceID)";
    EXPECT_FAILURE(cBitmapBGR8(0, 0, kNoSpace), cArgumentException, "Argument pWidth must be greater than zero.", kFile,
                   signature);
    EXPECT_FAILURE(cBitmapBGR8(1, -1, kNoSpace), cArgumentException, "Argument pHeight must be greater than zero.",
                   kFile, signature);
    EXPECT_FAILURE(cBitmapBGR8(INT_MAX, 1, kNoSpace), cOutOfMemoryException,
                   "Out of memory while allocating bitmap array.", kFile, "cBitmapBGR8::AllocBitmapData(int,int,int&)");
}

TEST_F(cBitmapBGR8Test, ConstructorByObjectChecksForItself)
{
    const char* const signature = "Vornik::cBitmapBGR8::cBitmapBGR8(int,int,Vornik::cColorSpace*)";
    cColorSpace* const none = nullptr;
    EXPECT_FAILURE(cBitmapBGR8(0, 0, none), cArgumentException, "Argument pWidth must be greater than zero.", kFile,
                   signature);
    EXPECT_FAILURE(cBitmapBGR8(1, 0, none), cArgumentException, "Argument pHeight must be greater than zero.", kFile,
                   signature);
    EXPECT_FAILURE(cBitmapBGR8(INT_MAX, 1, none), cArgumentNullException,
                   "Argument pReferentColorSpace cannot be null.", kFile, signature);
}

TEST_F(cBitmapBGR8Test, ConstructorFromPixelsChecksForItself)
{
    const char* const signature = "cBitmapBGR8::cBitmapBGR8(int,int,int,unsignedchar*,Vornik::eColorSpaceID)";
    unsigned char pixels[64] = {};
    EXPECT_FAILURE(cBitmapBGR8(0, 0, 0, nullptr, kNoSpace), cArgumentException,
                   "Argument pFromWidth must be greater than zero.", kFile, signature);
    EXPECT_FAILURE(cBitmapBGR8(2, 0, 0, nullptr, kNoSpace), cArgumentException,
                   "Argument pFromWidth must be greater than zero.", kFile, signature);
    EXPECT_FAILURE(cBitmapBGR8(2, 2, 5, nullptr, kNoSpace), cArgumentException,
                   "Argument pFromStride must be greater than or equal to 3*pFromWidth.", kFile, signature);
    EXPECT_FAILURE(cBitmapBGR8(2, 2, 6, nullptr, kNoSpace), cArgumentNullException,
                   "Argument pFromBGR8 cannot be null.", kFile, signature);
    // 3 * pFromWidth is formed wide enough: wrapped it would be 8.
    EXPECT_FAILURE(cBitmapBGR8(0x55555558, 1, 64, pixels, kNoSpace), cArgumentException,
                   "Argument pFromStride must be greater than or equal to 3*pFromWidth.", kFile, signature);
}

TEST_F(cBitmapBGR8Test, ARefusedConstructorFreesNothing)
{
    EXPECT_EQ(CaptureStderr([] { EXPECT_THROW(cBitmapBGR8(0, 1, eColorSpace_sRGB), cArgumentException); }), "");
    EXPECT_EQ(CaptureStderr([] { EXPECT_THROW(cBitmapBGR8(INT_MAX, 1, eColorSpace_sRGB), cOutOfMemoryException); }),
              "");
}

TEST_F(cBitmapBGR8Test, ARefusedNumberLeavesNoColourSpace)
{
    unsigned char pixels[6] = {1, 2, 3, 4, 5, 6};
    cBitmapBGR8 first(2, 1, kNoSpace);
    cBitmapBGR8 second(2, 1, 6, pixels, static_cast<eColorSpaceID>(-1));
    EXPECT_EQ(first.fColorSpace, nullptr);
    EXPECT_EQ(first.GetColorSpace(), nullptr);
    EXPECT_EQ(second.GetColorSpace(), nullptr);
    EXPECT_EQ(second.fData[5], 6);
}

TEST_F(cBitmapBGR8Test, ConstructorByObjectKeepsAClone)
{
    cCountedSpace space;
    {
        cBitmapBGR8 first(1, 1, &space);
        cBitmapBGR8 second(1, 1, &space);
        EXPECT_EQ(cCountedSpace::sAlive, 3);
        EXPECT_NE(first.fColorSpace, second.fColorSpace);
        EXPECT_NE(first.fColorSpace, &space);
    }
    EXPECT_EQ(cCountedSpace::sAlive, 1);
    EXPECT_STREQ(space.GetName(), "counted");
}

TEST_F(cBitmapBGR8Test, AFailedCloneFreesTheBlock)
{
    cCountedSpace space;
    cCountedSpace::sRefuseClone = true;
    const std::string said = CaptureStderr([&] { EXPECT_THROW(cBitmapBGR8(1, 1, &space), std::runtime_error); });
    cCountedSpace::sRefuseClone = false;
    EXPECT_EQ(said, kTrace);
}

TEST_F(cBitmapBGR8Test, ConstructorFromPixelsOwnsACopy)
{
    auto pixels = std::make_unique<std::vector<unsigned char>>();
    for (int i = 0; i < 2 * 17; ++i)
        pixels->push_back(static_cast<unsigned char>(i));
    cBitmapBGR8 bitmap(5, 2, 17, pixels->data(), eColorSpace_AdobeRGB98);
    pixels.reset();
    EXPECT_EQ(bitmap.fWidth, 5);
    EXPECT_EQ(bitmap.fHeight, 2);
    EXPECT_EQ(bitmap.fStride, 24);
    EXPECT_STREQ(bitmap.fColorSpace->GetName(), "Adobe RGB (1998)");
    for (int y = 0; y < 2; ++y)
        for (int i = 0; i < 15; ++i)
            EXPECT_EQ(bitmap.fData[y * 24 + i], y * 17 + i);
}

TEST_F(cBitmapBGR8Test, CopyFromBGR8ChecksInOrder)
{
    const char* const signature = "void Vornik::cBitmapBGR8::CopyFromBGR8(int, int, int, unsigned char*)";
    unsigned char pixels[256] = {};
    EXPECT_FAILURE(fBitmap.CopyFromBGR8(4, 7, 0, nullptr), cArgumentException,
                   "Argument pFromWidth must be equal to this->fWidth.", kFile, signature);
    EXPECT_FAILURE(fBitmap.CopyFromBGR8(5, 7, 0, nullptr), cArgumentException,
                   "Argument pFromWidth must be equal to this->fHeight.", kFile, signature);
    EXPECT_FAILURE(fBitmap.CopyFromBGR8(5, 6, 14, pixels), cArgumentException,
                   "Argument pFromStride must be greater than or equal to 3*this->fWidth.", kFile, signature);
    EXPECT_FAILURE(fBitmap.CopyFromBGR8(5, 6, 15, nullptr), cArgumentNullException,
                   "Argument pFromBGR8 cannot be null.", kFile, signature);
    ExpectUntouched();
}

TEST_F(cBitmapBGR8Test, CopyFromBGR8WithTheSameStrideTakesTheSourcesPadding)
{
    cGuarded source(6 * 24);
    source.FillRandom(1);
    fBitmap.CopyFromBGR8(5, 6, 24, source.Bytes());
    std::vector<unsigned char> expected(192, 0xEE); // the two padding rows stay
    std::memcpy(expected.data(), source.Bytes(), 6 * 24);
    EXPECT_EQ(BytesOf(fBitmap), expected);
}

TEST_F(cBitmapBGR8Test, CopyFromBGR8WithAnotherStrideTakesTheUsedBytes)
{
    for (const int stride : {15, 16, 23, 25, 100}) {
        FillBlock(fBitmap, 0xEE);
        cGuarded source(static_cast<size_t>(5 * stride + 15));
        source.FillRandom(static_cast<unsigned>(stride));
        fBitmap.CopyFromBGR8(5, 6, stride, source.Bytes());
        std::vector<unsigned char> expected(192, 0xEE);
        for (int y = 0; y < 6; ++y)
            std::memcpy(&expected[static_cast<size_t>(24 * y)], source.Bytes() + y * stride, 15);
        EXPECT_EQ(BytesOf(fBitmap), expected) << stride;
    }
}

TEST_F(cBitmapBGR8Test, CopyToBGR8ChecksInOrder)
{
    const char* const signature = "void Vornik::cBitmapBGR8::CopyToBGR8(unsigned char*, int, int, int)";
    std::vector<unsigned char> target(256, 0x11);
    EXPECT_FAILURE(fBitmap.CopyToBGR8(nullptr, 4, 7, 0), cArgumentNullException, "Argument pDstBGR8 cannot be null.",
                   kFile, signature);
    EXPECT_FAILURE(fBitmap.CopyToBGR8(target.data(), 4, 7, 0), cArgumentException,
                   "Argument pDstWidth must be equal to this->fWidth.", kFile, signature);
    EXPECT_FAILURE(fBitmap.CopyToBGR8(target.data(), 5, 7, 0), cArgumentException,
                   "Argument pDstHeight must be equal to this->fHeight.", kFile, signature);
    EXPECT_FAILURE(fBitmap.CopyToBGR8(target.data(), 5, 6, 14), cArgumentException,
                   "Argument pDstStride must be greater than or equal to 3*pDstWidth.", kFile, signature);
    EXPECT_EQ(target, std::vector<unsigned char>(256, 0x11));
}

TEST_F(cBitmapBGR8Test, CopyToBGR8LeavesThePaddingOfTheTarget)
{
    RandomBlock(fBitmap, 2);
    for (const int stride : {15, 16, 24, 31}) {
        cGuarded target(static_cast<size_t>(5 * stride + 15));
        std::memset(target.Bytes(), 0x11, target.Size());
        fBitmap.CopyToBGR8(target.Bytes(), 5, 6, stride);
        std::vector<unsigned char> expected(target.Size(), 0x11);
        for (int y = 0; y < 6; ++y)
            std::memcpy(&expected[static_cast<size_t>(stride * y)], fBitmap.fData + 24 * y, 15);
        EXPECT_EQ(std::vector<unsigned char>(target.Bytes(), target.Bytes() + target.Size()), expected) << stride;
    }
}

TEST_F(cBitmapBGR8Test, ToXYZ32ChecksInOrder)
{
    const char* const signature = "virtual void Vornik::cBitmapBGR8::ToXYZ32(Vornik::cBitmapXYZ32*)";
    cBitmapBGR8 bare(5, 6, kNoSpace);
    cBitmapXYZ32 both(4, 7), high(5, 7), right(5, 6);
    FillBlock(right, 0x11);
    EXPECT_FAILURE(bare.ToXYZ32(nullptr), cArgumentNullException, "Argument pToXYZ32 cannot be null.", kFile,
                   signature);
    EXPECT_FAILURE(bare.ToXYZ32(&both), cArgumentException, "Argument pToXYZ32->fWidth must be equal to this->fWidth.",
                   kFile, signature);
    EXPECT_FAILURE(bare.ToXYZ32(&high), cArgumentException,
                   "Argument pToXYZ32->fHeight must be equal to this->fHeight.", kFile, signature);
    EXPECT_FAILURE(bare.ToXYZ32(&right), cInvalidOperationException, "Color space is not set.", kFile, signature);
    EXPECT_EQ(BytesOf(right), std::vector<unsigned char>(8 * 96, 0x11));
}

TEST_F(cBitmapBGR8Test, ToXYZ32WithTableChecksInOrder)
{
    const char* const signature = "cBitmapBGR8::ToXYZ32(Vornik::cBitmapXYZ32*,Vornik::cTransferLUT_I8F32*,";
    cBitmapXYZ32 both(4, 7), high(5, 7), right(5, 6);
    EXPECT_FAILURE(fBitmap.ToXYZ32(nullptr, nullptr, kSomeMatrix), cArgumentNullException,
                   "Argument pToXYZ32 cannot be null.", kFile, signature);
    EXPECT_FAILURE(fBitmap.ToXYZ32(&both, nullptr, kSomeMatrix), cArgumentException,
                   "Argument pToXYZ32->fWidth must be equal to this->fWidth.", kFile, signature);
    EXPECT_FAILURE(fBitmap.ToXYZ32(&high, nullptr, kSomeMatrix), cArgumentException,
                   "Argument pToXYZ32->fHeight must be equal to this->fHeight.", kFile, signature);
    EXPECT_FAILURE(fBitmap.ToXYZ32(&right, nullptr, kSomeMatrix), cArgumentNullException,
                   "Argument pCustomTransferLUT cannot be null.", kFile, signature);
}

TEST_F(cBitmapBGR8Test, FromXYZ32ChecksInOrder)
{
    const char* const signature = "void Vornik::cBitmapBGR8::FromXYZ32(Vornik::cBitmapXYZ32*)";
    cBitmapBGR8 bare(5, 6, kNoSpace);
    FillBlock(bare, 0xEE);
    cBitmapXYZ32 both(4, 7), high(5, 7), right(5, 6);
    EXPECT_FAILURE(bare.FromXYZ32(nullptr), cArgumentNullException, "Argument pFromXYZ32 cannot be null.", kFile,
                   signature);
    EXPECT_FAILURE(bare.FromXYZ32(&both), cArgumentException,
                   "Argument pFromXYZ32->fWidth must be equal to this->fWidth.", kFile, signature);
    EXPECT_FAILURE(bare.FromXYZ32(&high), cArgumentException,
                   "Argument pFromXYZ32->fHeight must be equal to this->fHeight.", kFile, signature);
    EXPECT_FAILURE(bare.FromXYZ32(&right), cInvalidOperationException, "Color space is not set.", kFile, signature);
    EXPECT_EQ(BytesOf(bare), std::vector<unsigned char>(192, 0xEE));
}

TEST_F(cBitmapBGR8Test, FromXYZ32WithTableChecksInOrder)
{
    const char* const signature = "cBitmapBGR8::FromXYZ32(Vornik::cBitmapXYZ32*,Vornik::cTransferLUT_F32I8*,";
    cBitmapXYZ32 both(4, 7), high(5, 7), right(5, 6);
    EXPECT_FAILURE(fBitmap.FromXYZ32(nullptr, nullptr, kSomeMatrix), cArgumentNullException,
                   "Argument pFromXYZ32 cannot be null.", kFile, signature);
    EXPECT_FAILURE(fBitmap.FromXYZ32(&both, nullptr, kSomeMatrix), cArgumentException,
                   "Argument pFromXYZ32->fWidth must be equal to this->fWidth.", kFile, signature);
    EXPECT_FAILURE(fBitmap.FromXYZ32(&high, nullptr, kSomeMatrix), cArgumentException,
                   "Argument pFromXYZ32->fHeight must be equal to this->fHeight.", kFile, signature);
    EXPECT_FAILURE(fBitmap.FromXYZ32(&right, nullptr, kSomeMatrix), cArgumentNullException,
                   "Argument pCustomTransferLUT cannot be null.", kFile, signature);
    ExpectUntouched();
}

TEST_F(cBitmapBGR8Test, ToXYZ32GoesThroughTheColourSpace)
{
    for (const eColorSpaceID id : {eColorSpace_sRGB, eColorSpace_AdobeRGB98, eColorSpace_ProPhotoRGB}) {
        cBitmapBGR8 bitmap(19, 5, id);
        RandomBlock(bitmap, 3);
        cBitmapXYZ32 xyz(19, 5);
        bitmap.ToXYZ32(&xyz);
        cColorSpace& space = *bitmap.fColorSpace;
        ExpectToXYZ(bitmap, xyz, *space.GetToLinearTransfer(), space.GetToPCSTransform());
    }
}

TEST_F(cBitmapBGR8Test, FromXYZ32GoesThroughTheColourSpace)
{
    for (const eColorSpaceID id : {eColorSpace_sRGB, eColorSpace_AdobeRGB98, eColorSpace_ProPhotoRGB}) {
        cBitmapBGR8 bitmap(19, 5, id);
        cBitmapXYZ32 xyz(19, 5);
        FillColours(xyz, 4);
        bitmap.FromXYZ32(&xyz);
        cColorSpace& space = *bitmap.fColorSpace;
        ExpectFromXYZ(bitmap, xyz, *space.GetFromLinearTransfer(), space.GetFromPCSTransform());
    }
}

TEST_F(cBitmapBGR8Test, FormsWithATableIgnoreTheColourSpace)
{
    cBitmapBGR8 bare(5, 6, kNoSpace);
    RandomBlock(bare, 5);
    cBitmapXYZ32 xyz(5, 6);
    cTransferGamma gamma(0.7f);
    cTransferLUT_I8F32 toFloat(&gamma);
    bare.ToXYZ32(&xyz, &toFloat, kSomeMatrix);
    ExpectToXYZ(bare, xyz, gamma, kSomeMatrix);
    FillColours(xyz, 6);
    cTransferLUT_F32I8 toByte(&gamma);
    bare.FromXYZ32(&xyz, &toByte, kSomeMatrix);
    ExpectFromXYZ(bare, xyz, gamma, kSomeMatrix);
}

TEST_F(cBitmapBGR8Test, ToBGR32LinearKeepsTheOrderOfSamples)
{
    RandomBlock(fBitmap, 7);
    cBitmapXYZ32 linear(5, 6);
    fBitmap.ToBGR32Linear(&linear);
    for (int y = 0; y < 6; ++y)
        for (int x = 0; x < 5; ++x) {
            const sTriple expected = SlowLinear(fBitmap, *fBitmap.fColorSpace->GetToLinearTransfer(), x, y);
            for (int c = 0; c < 3; ++c)
                ASSERT_EQ(Bits(PixelOf(linear, x, y)[c]), Bits(expected.f[c]));
        }
}

TEST_F(cBitmapBGR8Test, ToBGR32LinearWithoutAColourSpaceThrowsAfterItsChecks)
{
    cBitmapBGR8 bare(5, 6, kNoSpace);
    cBitmapXYZ32 both(4, 7), right(5, 6);
    EXPECT_EQ(FailureOf([&] { bare.ToBGR32Linear(nullptr); }).fMessage, "Argument pDstBGR32 cannot be null.");
    EXPECT_EQ(FailureOf([&] { bare.ToBGR32Linear(&both); }).fMessage,
              "Argument pDstBGR32->fWidth must be equal to pSrcBGR8->fWidth.");
    const sFailure failure = FailureOf([&] { bare.ToBGR32Linear(&right); });
    EXPECT_EQ(failure.fType, "cInvalidOperationException");
    EXPECT_EQ(failure.fMessage, "Color space is not set.");
}

} // namespace
