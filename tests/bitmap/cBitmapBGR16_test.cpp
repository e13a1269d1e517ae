#include "bitmap/cBitmapBGR16.h"

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

const char* const kFile = "cBitmapBGR16.cpp";

class cBitmapBGR16Test : public testing::Test
{
protected:
    cBitmapBGR16Test() : fBitmap(5, 6, eColorSpace_sRGB) { FillBlock(fBitmap, 0xEE); }

    void ExpectUntouched()
    {
        EXPECT_EQ(BytesOf(fBitmap), std::vector<unsigned char>(384, 0xEE));
        EXPECT_EQ(fBitmap.fWidth, 5);
        EXPECT_EQ(fBitmap.fHeight, 6);
        EXPECT_EQ(fBitmap.fStride, 48);
    }

    cBitmapBGR16 fBitmap;
};

TEST_F(cBitmapBGR16Test, OnePixelTakesAPaddedBlock)
{
    cBitmapBGR16 one(1, 1, eColorSpace_ProPhotoRGB);
    EXPECT_EQ(one.fStride, 24);
    EXPECT_EQ(one.GetStride(), 24);
    EXPECT_EQ(one.fWidth, 1);
    EXPECT_EQ(one.fHeight, 1);
    std::memset(one.fData, 1, 96);
    EXPECT_EQ(one.GetBitsPerChannel(), 16);
    EXPECT_EQ(one.GetBitmapArray(), one.fData);
    EXPECT_EQ(one.GetImageData(), one.fData);
    EXPECT_STREQ(one.fColorSpace->GetName(), "ProPhoto RGB");
}

TEST_F(cBitmapBGR16Test, ADestructionIsSilent)
{
    EXPECT_EQ(CaptureStderr([] { delete static_cast<cBitmap*>(new cBitmapBGR16(1, 1, eColorSpace_sRGB)); }), "");
}

TEST_F(cBitmapBGR16Test, FreeingNullThrowsInSilence)
{
    const std::string said = CaptureStderr([] {
        EXPECT_FAILURE(cBitmapBGR16::FreeBitmapData(nullptr), cArgumentNullException,
                       "Argument 'pBGR16' cannot be null.", kFile, "static void Vornik::cBitmapBGR16::FreeBitmapData(");
    });
    EXPECT_EQ(said, "");
}

TEST_F(cBitmapBGR16Test, AllocBitmapDataChecksAndReportsExhaustedMemory)
{
    const char* const signature = "Vornik::cBitmapBGR16::AllocBitmapData(int, int, int&)";
    int stride = 77;
    EXPECT_FAILURE(cBitmapBGR16::AllocBitmapData(0, 0, stride), cArgumentException,
                   "Argument pWidth must be greater than zero.", kFile, signature);
    EXPECT_FAILURE(cBitmapBGR16::AllocBitmapData(1, 0, stride), cArgumentException,
                   "Argument pHeight must be greater than zero.", kFile, signature);
    EXPECT_EQ(stride, 77);
    EXPECT_FAILURE(cBitmapBGR16::AllocBitmapData(0x2AAAAAAC, 1, stride), cOutOfMemoryException,
                   "Out of memory while allocating bitmap array.", kFile, signature);
    EXPECT_EQ(stride, 8); // wrapped
    unsigned short* const block = cBitmapBGR16::AllocBitmapData(5, 5, stride);
    EXPECT_EQ(stride, 48);
    std::memset(block, 1, 384);
    cBitmapBGR16::FreeBitmapData(block);
}

TEST_F(cBitmapBGR16Test, ConstructorsCheckForThemselves)
{
    const char* const byNumber = "Vornik::cBitmapBGR16::cBitmapBGR16(int,int,Vornik::eColorSpaceID)";
    const char* const byObject = "Vornik::cBitmapBGR16::cBitmapBGR16(int,int,Vornik::cColorSpace*)";
    cColorSpace* const none = nullptr;
    EXPECT_FAILURE(cBitmapBGR16(0, 0, kNoSpace), cArgumentException, "Argument pWidth must be greater than zero.",
                   kFile, byNumber);
    EXPECT_FAILURE(cBitmapBGR16(1, -1, kNoSpace), cArgumentException, "Argument pHeight must be greater than zero.",
                   kFile, byNumber);
    EXPECT_FAILURE(cBitmapBGR16(INT_MAX, 1, kNoSpace), cOutOfMemoryException,
                   "Out of memory while allocating bitmap array.", kFile,
                   "cBitmapBGR16::AllocBitmapData(int,int,int&)");
    EXPECT_FAILURE(cBitmapBGR16(0, 0, none), cArgumentException, "Argument pWidth must be greater than zero.", kFile,
                   byObject);
    EXPECT_FAILURE(cBitmapBGR16(1, 0, none), cArgumentException, "Argument pHeight must be greater than zero.", kFile,
                   byObject);
    EXPECT_FAILURE(cBitmapBGR16(INT_MAX, 1, none), cArgumentNullException,
                   "Argument pReferentColorSpace cannot be null.", kFile, byObject);
}

TEST_F(cBitmapBGR16Test, ARefusedNumberLeavesNoColourSpace)
{
    cBitmapBGR16 bitmap(2, 1, kNoSpace);
    EXPECT_EQ(bitmap.GetColorSpace(), nullptr);
    unsigned char pixels[12] = {};
    const std::unique_ptr<cBitmapBGR16> copy(
        cBitmapBGR16::FromBGR16Data(2, 1, 12, pixels, static_cast<eColorSpaceID>(-1)));
    EXPECT_EQ(copy->fColorSpace, nullptr);
}

TEST_F(cBitmapBGR16Test, ConstructorByObjectKeepsAClone)
{
    cCountedSpace space;
    {
        cBitmapBGR16 first(1, 1, &space);
        cBitmapBGR16 second(1, 1, &space);
        EXPECT_EQ(cCountedSpace::sAlive, 3);
        EXPECT_NE(first.fColorSpace, second.fColorSpace);
        EXPECT_NE(first.fColorSpace, &space);
    }
    EXPECT_EQ(cCountedSpace::sAlive, 1);
}

TEST_F(cBitmapBGR16Test, FromBGR16DataChecksForItself)
{
    const char* const signature = "cBitmapBGR16::FromBGR16Data(int,int,int,unsignedchar*,Vornik::eColorSpaceID)";
    unsigned char pixels[64] = {};
    EXPECT_FAILURE(cBitmapBGR16::FromBGR16Data(0, 0, 0, nullptr, kNoSpace), cArgumentException,
                   "Argument pFromWidth must be greater than zero.", kFile, signature);
    EXPECT_FAILURE(cBitmapBGR16::FromBGR16Data(2, 0, 0, nullptr, kNoSpace), cArgumentException,
                   "Argument pFromWidth must be greater than zero.", kFile, signature);
    EXPECT_FAILURE(cBitmapBGR16::FromBGR16Data(2, 2, 5, nullptr, kNoSpace), cArgumentException,
                   "Argument pFromStride must be greater than or equal to 2*3*pFromWidth.", kFile, signature);
    EXPECT_FAILURE(cBitmapBGR16::FromBGR16Data(2, 2, 6, nullptr, kNoSpace), cArgumentNullException,
                   "Argument pFromBGR16 cannot be null.", kFile, signature);
    EXPECT_FAILURE(cBitmapBGR16::FromBGR16Data(0x55555558, 1, 64, pixels, kNoSpace), cArgumentException,
                   "Argument pFromStride must be greater than or equal to 2*3*pFromWidth.", kFile, signature);
}

TEST_F(cBitmapBGR16Test, FromBGR16DataLeavesAStrideInBetweenToTheCopy)
{
    unsigned char pixels[64] = {};
    for (const int stride : {6, 11}) {
        EXPECT_FAILURE(cBitmapBGR16::FromBGR16Data(2, 2, stride, pixels, eColorSpace_sRGB), cArgumentException,
                       "Argument pFromStride must be greater than or equal to 3*this->fWidth.", kFile,
                       "void Vornik::cBitmapBGR16::CopyFromBGR16(int, int, int, unsigned char*)");
    }
}

TEST_F(cBitmapBGR16Test, FromBGR16DataOwnsACopy)
{
    auto pixels = std::make_unique<cGuarded>(2 * 24);
    pixels->FillRandom(1);
    const std::vector<unsigned char> expected(pixels->Bytes(), pixels->Bytes() + 48);
    const std::unique_ptr<cBitmapBGR16> bitmap(
        cBitmapBGR16::FromBGR16Data(3, 2, 24, pixels->Bytes(), eColorSpace_AdobeRGB98));
    pixels.reset();
    EXPECT_EQ(bitmap->fWidth, 3);
    EXPECT_EQ(bitmap->fHeight, 2);
    EXPECT_STREQ(bitmap->fColorSpace->GetName(), "Adobe RGB (1998)");
    EXPECT_EQ(std::memcmp(bitmap->fData, expected.data(), 48), 0);
}

TEST_F(cBitmapBGR16Test, CopyFromBGR16ChecksInOrder)
{
    const char* const signature = "void Vornik::cBitmapBGR16::CopyFromBGR16(int, int, int, unsigned char*)";
    unsigned char pixels[256] = {};
    EXPECT_FAILURE(fBitmap.CopyFromBGR16(4, 7, 0, nullptr), cArgumentException,
                   "Argument pFromWidth must be equal to this->fWidth.", kFile, signature);
    EXPECT_FAILURE(fBitmap.CopyFromBGR16(5, 7, 0, nullptr), cArgumentException,
                   "Argument pFromWidth must be equal to this->fHeight.", kFile, signature);
    EXPECT_FAILURE(fBitmap.CopyFromBGR16(5, 6, 29, pixels), cArgumentException,
                   "Argument pFromStride must be greater than or equal to 3*this->fWidth.", kFile, signature);
    EXPECT_FAILURE(fBitmap.CopyFromBGR16(5, 6, 30, nullptr), cArgumentNullException,
                   "Argument pFromBGR16 cannot be null.", kFile, signature);
    ExpectUntouched();
}

TEST_F(cBitmapBGR16Test, CopyFromBGR16WithTheSameStrideIsExact)
{
    cGuarded source(6 * 48);
    source.FillRandom(2);
    fBitmap.CopyFromBGR16(5, 6, 48, source.Bytes());
    std::vector<unsigned char> expected(384, 0xEE);
    std::memcpy(expected.data(), source.Bytes(), 6 * 48);
    EXPECT_EQ(BytesOf(fBitmap), expected);
}

/// The block that a copy of rows at twice their distance leaves, a row being kept when it lies whole inside.
std::vector<unsigned char> DoubledRows(const cBitmapBGR16& pBitmap, const unsigned char* pSource, int pStride)
{
    std::vector<unsigned char> block(BlockSize(pBitmap), 0xEE);
    const size_t rowBytes = 6 * static_cast<size_t>(pBitmap.fWidth);
    for (int y = 0; y < pBitmap.fHeight; ++y) {
        const size_t start = 2 * static_cast<size_t>(y) * static_cast<size_t>(pBitmap.fStride);
        if (start + rowBytes <= block.size()) std::memcpy(&block[start], pSource + y * pStride, rowBytes);
    }
    return block;
}

TEST_F(cBitmapBGR16Test, CopyFromBGR16WithAnotherStrideDoublesTheRowsInsideTheBlock)
{
    for (int width = 1; width <= 6; ++width)
        for (int height = 1; height <= 13; ++height)
            for (const int extra : {0, 1, 7, 50}) {
                cBitmapBGR16 bitmap(width, height, kNoSpace);
                const int stride = 6 * width + extra;
                if (stride == bitmap.fStride) continue;
                FillBlock(bitmap, 0xEE);
                cGuarded source(static_cast<size_t>((height - 1) * stride + 6 * width));
                source.FillRandom(static_cast<unsigned>(width * 100 + height));
                bitmap.CopyFromBGR16(width, height, stride, source.Bytes());
                ASSERT_EQ(BytesOf(bitmap), DoubledRows(bitmap, source.Bytes(), stride)) << width << ' ' << height;
            }
}

TEST_F(cBitmapBGR16Test, CopyFromBGR16KeepsARowThatLandsInThePadding)
{
    // Height 5 is padded to 8: rows 0, 1, 2, 3 land in rows 0, 2, 4, 6, and row 4 is dropped.
    cBitmapBGR16 bitmap(1, 5, kNoSpace);
    FillBlock(bitmap, 0);
    unsigned char source[5 * 6];
    for (int i = 0; i < 30; ++i)
        source[i] = static_cast<unsigned char>(1 + i / 6);
    bitmap.CopyFromBGR16(1, 5, 6, source);
    const auto* const bytes = reinterpret_cast<const unsigned char*>(bitmap.fData);
    const int expected[8] = {1, 0, 2, 0, 3, 0, 4, 0};
    for (int row = 0; row < 8; ++row)
        EXPECT_EQ(bytes[24 * row], expected[row]) << row;
}

TEST_F(cBitmapBGR16Test, CopyFromLittleEndianRGB16ChecksInOrder)
{
    const char* const signature = "void Vornik::cBitmapBGR16::CopyFromLittleEndianRGB16(int, int, int,";
    unsigned short pixels[128] = {};
    EXPECT_FAILURE(fBitmap.CopyFromLittleEndianRGB16(4, 7, 0, nullptr), cArgumentException,
                   "Argument pFromWidth must be equal to this->fWidth.", kFile, signature);
    EXPECT_FAILURE(fBitmap.CopyFromLittleEndianRGB16(5, 7, 0, nullptr), cArgumentException,
                   "Argument pFromWidth must be equal to this->fHeight.", kFile, signature);
    EXPECT_FAILURE(fBitmap.CopyFromLittleEndianRGB16(5, 6, 29, pixels), cArgumentException,
                   "Argument pFromStride must be greater than or equal to 2*3*this->fWidth.", kFile, signature);
    EXPECT_FAILURE(fBitmap.CopyFromLittleEndianRGB16(5, 6, 30, nullptr), cArgumentNullException,
                   "Argument pFromLERGB16 cannot be null.", kFile, signature);
    ExpectUntouched();
}

TEST_F(cBitmapBGR16Test, CopyFromLittleEndianRGB16ExchangesBytesAndRedWithBlue)
{
    for (const int stride : {30, 31, 32, 48, 49, 70}) { // an odd stride is rounded down
        FillBlock(fBitmap, 0xEE);
        const int step = stride / 2 * 2;
        cGuarded source(static_cast<size_t>(5 * step + 30));
        source.FillRandom(static_cast<unsigned>(stride));
        fBitmap.CopyFromLittleEndianRGB16(5, 6, stride, source.As<unsigned short>());
        std::vector<unsigned char> expected(384, 0xEE);
        for (int y = 0; y < 6; ++y)
            for (int x = 0; x < 5; ++x)
                for (int s = 0; s < 3; ++s) {
                    const unsigned char* const from = source.Bytes() + y * step + 6 * x + 2 * (2 - s);
                    unsigned char* const to = &expected[static_cast<size_t>(48 * y + 6 * x + 2 * s)];
                    to[0] = from[1];
                    to[1] = from[0];
                }
        EXPECT_EQ(BytesOf(fBitmap), expected) << stride;
    }
}

TEST_F(cBitmapBGR16Test, ToXYZ32ChecksInOrder)
{
    const char* const signature = "virtual void Vornik::cBitmapBGR16::ToXYZ32(Vornik::cBitmapXYZ32*)";
    cBitmapBGR16 bare(5, 6, kNoSpace);
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

TEST_F(cBitmapBGR16Test, FromXYZ32ChecksInOrder)
{
    const char* const signature = "void Vornik::cBitmapBGR16::FromXYZ32(Vornik::cBitmapXYZ32*)";
    cBitmapBGR16 bare(5, 6, kNoSpace);
    FillBlock(bare, 0xEE);
    cBitmapXYZ32 both(4, 7), high(5, 7), right(5, 6);
    EXPECT_FAILURE(bare.FromXYZ32(nullptr), cArgumentNullException, "Argument pFromXYZ32 cannot be null.", kFile,
                   signature);
    EXPECT_FAILURE(bare.FromXYZ32(&both), cArgumentException,
                   "Argument pFromXYZ32->fWidth must be equal to this->fWidth.", kFile, signature);
    EXPECT_FAILURE(bare.FromXYZ32(&high), cArgumentException,
                   "Argument pFromXYZ32->fHeight must be equal to this->fHeight.", kFile, signature);
    EXPECT_FAILURE(bare.FromXYZ32(&right), cInvalidOperationException, "Color space is not set.", kFile, signature);
    EXPECT_EQ(BytesOf(bare), std::vector<unsigned char>(384, 0xEE));
}

TEST_F(cBitmapBGR16Test, FromXYZ32WithTableChecksInOrder)
{
    const char* const signature = "cBitmapBGR16::FromXYZ32(Vornik::cBitmapXYZ32*,Vornik::cTransferLUT_F32I16*,";
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

TEST_F(cBitmapBGR16Test, ToXYZ32GoesThroughTheColourSpace)
{
    for (const eColorSpaceID id : {eColorSpace_sRGB, eColorSpace_AdobeRGB98, eColorSpace_ProPhotoRGB}) {
        cBitmapBGR16 bitmap(19, 5, id);
        RandomBlock(bitmap, 3);
        cBitmapXYZ32 xyz(19, 5);
        bitmap.ToXYZ32(&xyz);
        cColorSpace& space = *bitmap.fColorSpace;
        ExpectToXYZ(bitmap, xyz, *space.GetToLinearTransfer(), space.GetToPCSTransform());
    }
}

TEST_F(cBitmapBGR16Test, FromXYZ32GoesThroughTheColourSpace)
{
    for (const eColorSpaceID id : {eColorSpace_sRGB, eColorSpace_AdobeRGB98, eColorSpace_ProPhotoRGB}) {
        cBitmapBGR16 bitmap(19, 5, id);
        cBitmapXYZ32 xyz(19, 5);
        FillColours(xyz, 4);
        bitmap.FromXYZ32(&xyz);
        cColorSpace& space = *bitmap.fColorSpace;
        ExpectFromXYZ(bitmap, xyz, *space.GetFromLinearTransfer(), space.GetFromPCSTransform());
    }
}

TEST_F(cBitmapBGR16Test, TheFormWithATableIgnoresTheColourSpace)
{
    cBitmapBGR16 bare(5, 6, kNoSpace);
    cBitmapXYZ32 xyz(5, 6);
    FillColours(xyz, 6);
    cTransferGamma gamma(0.7f);
    cTransferLUT_F32I16 table(&gamma);
    bare.FromXYZ32(&xyz, &table, kSomeMatrix);
    ExpectFromXYZ(bare, xyz, gamma, kSomeMatrix);
}

TEST_F(cBitmapBGR16Test, ToBGR32LinearKeepsTheOrderOfSamples)
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

TEST_F(cBitmapBGR16Test, ToBGR32LinearWithoutAColourSpaceThrowsAfterItsChecks)
{
    cBitmapBGR16 bare(5, 6, kNoSpace);
    cBitmapXYZ32 both(4, 7), right(5, 6);
    EXPECT_EQ(FailureOf([&] { bare.ToBGR32Linear(nullptr); }).fMessage, "Argument pDstBGR32 cannot be null.");
    EXPECT_EQ(FailureOf([&] { bare.ToBGR32Linear(&both); }).fMessage,
              "Argument pDstBGR32->fWidth must be equal to pSrcBGR16->fWidth.");
    const sFailure failure = FailureOf([&] { bare.ToBGR32Linear(&right); });
    EXPECT_EQ(failure.fType, "cInvalidOperationException");
    EXPECT_EQ(failure.fMessage, "Color space is not set.");
}

TEST_F(cBitmapBGR16Test, DepthChangesCheckInOrder)
{
    const char* const to = "void Vornik::cBitmapBGR16::ToBGR8(Vornik::cBitmapBGR8*)";
    const char* const from = "void Vornik::cBitmapBGR16::FromBGR8(Vornik::cBitmapBGR8*)";
    cBitmapBGR8 both(4, 7, kNoSpace), high(5, 7, kNoSpace);
    EXPECT_FAILURE(fBitmap.ToBGR8(nullptr), cArgumentNullException, "Argument pToBGR8 cannot be null.", kFile, to);
    EXPECT_FAILURE(fBitmap.ToBGR8(&both), cArgumentException, "Argument pToBGR8->fWidth must be equal to this->fWidth.",
                   kFile, to);
    EXPECT_FAILURE(fBitmap.ToBGR8(&high), cArgumentException,
                   "Argument pToBGR8->fHeight must be equal to this->fHeight.", kFile, to);
    EXPECT_FAILURE(fBitmap.FromBGR8(nullptr), cArgumentNullException, "Argument pFromBGR8 cannot be null.", kFile,
                   from);
    EXPECT_FAILURE(fBitmap.FromBGR8(&both), cArgumentException,
                   "Argument pFromBGR8->fWidth must be equal to this->fWidth.", kFile, from);
    EXPECT_FAILURE(fBitmap.FromBGR8(&high), cArgumentException,
                   "Argument pFromBGR8->fHeight must be equal to this->fHeight.", kFile, from);
    ExpectUntouched();
}

TEST_F(cBitmapBGR16Test, DepthChangesDivideAndMultiplyBy257)
{
    cBitmapBGR16 deep(5, 6, kNoSpace);
    cBitmapBGR8 shallow(5, 6, kNoSpace);
    RandomBlock(deep, 8);
    deep.fData[0] = 65535;
    deep.fData[1] = 257;
    deep.fData[2] = 256;
    deep.ToBGR8(&shallow);
    EXPECT_EQ(shallow.fData[0], 255);
    EXPECT_EQ(shallow.fData[1], 1);
    EXPECT_EQ(shallow.fData[2], 0);
    for (int y = 0; y < 6; ++y)
        for (int i = 0; i < 15; ++i)
            ASSERT_EQ(SampleOf(shallow, 0, y, i), SampleOf(deep, 0, y, i) / 257);
    RandomBlock(shallow, 9);
    deep.FromBGR8(&shallow);
    for (int y = 0; y < 6; ++y)
        for (int i = 0; i < 15; ++i)
            ASSERT_EQ(SampleOf(deep, 0, y, i), SampleOf(shallow, 0, y, i) * 257);
}

} // namespace
