#include "bitmap/cBitmapY8.h"

#include "bitmap/cBitmapBGR16.h"
#include "bitmap/cBitmapBGR8.h"
#include "support/Capture.h"

#include "Fixtures.h"

#include <gtest/gtest.h>

#include <climits>
#include <memory>

using namespace Vornik;
using namespace SelvaneTest;

namespace
{

const char* const kFile = "cBitmapY8.cpp";

using cGrey = std::unique_ptr<cBitmapY8>;

int Grey8(int pBlue, int pGreen, int pRed)
{
    unsigned char pixel[3] = {static_cast<unsigned char>(pBlue), static_cast<unsigned char>(pGreen),
                              static_cast<unsigned char>(pRed)};
    return cGrey(cBitmapY8::FromBGR8(pixel, 1, 1, 3))->fData[0];
}

int Grey16(int pBlue, int pGreen, int pRed)
{
    unsigned short pixel[3] = {static_cast<unsigned short>(pBlue), static_cast<unsigned short>(pGreen),
                               static_cast<unsigned short>(pRed)};
    return cGrey(cBitmapY8::FromBGR16(pixel, 1, 1, 6))->fData[0];
}

/// The grey of three samples, in 64 bits.
int SlowGrey(uint64_t pBlue, uint64_t pGreen, uint64_t pRed, int pShift)
{
    return static_cast<int>(((7471 * pBlue + 38469 * pGreen + 19595 * pRed) >> pShift) & 0xFF);
}

TEST(cBitmapY8, OnePixelTakesAPaddedBlock)
{
    cBitmapY8 one(1, 1);
    EXPECT_EQ(one.fStride, 4);
    EXPECT_EQ(one.fWidth, 1);
    EXPECT_EQ(one.fHeight, 1);
    std::memset(one.fData, 1, 16);
}

TEST(cBitmapY8, AllocAndFreeCheckAndReportExhaustedMemory)
{
    const char* const signature = "static unsigned char* Vornik::cBitmapY8::AllocBitmapData(int, int, int&)";
    int stride = 77;
    EXPECT_FAILURE(cBitmapY8::AllocBitmapData(0, 0, stride), cArgumentException,
                   "Argument pWidth must be greater than zero.", kFile, signature);
    EXPECT_FAILURE(cBitmapY8::AllocBitmapData(1, 0, stride), cArgumentException,
                   "Argument pHeight must be greater than zero.", kFile, signature);
    EXPECT_EQ(stride, 77);
    EXPECT_FAILURE(cBitmapY8::AllocBitmapData(INT_MAX, 1, stride), cOutOfMemoryException,
                   "Out of memory while allocating bitmap array.", kFile, signature);
    EXPECT_EQ(stride, INT_MIN);
    EXPECT_FAILURE(cBitmapY8::FreeBitmapData(nullptr), cArgumentNullException, "Argument 'pY8' cannot be null.", kFile,
                   "static void Vornik::cBitmapY8::FreeBitmapData(unsigned char*)");
    unsigned char* const block = cBitmapY8::AllocBitmapData(5, 5, stride);
    EXPECT_EQ(stride, 8);
    std::memset(block, 1, 64);
    EXPECT_EQ(CaptureStderr([&] { cBitmapY8::FreeBitmapData(block); }), "");
}

TEST(cBitmapY8, TheConstructorChecksForItself)
{
    const char* const signature = "Vornik::cBitmapY8::cBitmapY8(int, int)";
    EXPECT_FAILURE(cBitmapY8(0, 0), cArgumentException, "Argument pWidth must be greater than zero.", kFile, signature);
    EXPECT_FAILURE(cBitmapY8(1, 0), cArgumentException, "Argument pHeight must be greater than zero.", kFile,
                   signature);
    EXPECT_FAILURE(cBitmapY8(1, INT_MAX), cOutOfMemoryException, "Out of memory while allocating bitmap array.", kFile,
                   "cBitmapY8::AllocBitmapData(int,int,int&)");
}

TEST(cBitmapY8, FromBGR8ChecksInOrder)
{
    const char* const signature =
        "static Vornik::cBitmapY8* Vornik::cBitmapY8::FromBGR8(unsigned char*, int, int, int)";
    unsigned char pixels[64] = {};
    EXPECT_FAILURE(cBitmapY8::FromBGR8(nullptr, 0, 0, 0), cArgumentNullException, "Argument pSrcBGR8 cannot be null.",
                   kFile, signature);
    EXPECT_FAILURE(cBitmapY8::FromBGR8(pixels, 0, 0, 0), cArgumentException,
                   "Argument pSrcWidth must be greater than zero.", kFile, signature);
    EXPECT_FAILURE(cBitmapY8::FromBGR8(pixels, 2, 0, 0), cArgumentException,
                   "Argument pSrcHeight must be greater than zero.", kFile, signature);
    EXPECT_FAILURE(cBitmapY8::FromBGR8(pixels, 2, 1, 5), cArgumentException,
                   "Argument pSrcStride must be greater than or equal to 3*pSrcWidth.", kFile, signature);
    EXPECT_FAILURE(cBitmapY8::FromBGR8(pixels, 0x55555558, 1, 64), cArgumentException,
                   "Argument pSrcStride must be greater than or equal to 3*pSrcWidth.", kFile, signature);
}

TEST(cBitmapY8, FromBGR16ChecksInOrder)
{
    const char* const signature = "static Vornik::cBitmapY8* Vornik::cBitmapY8::FromBGR16(";
    unsigned short pixels[64] = {};
    EXPECT_FAILURE(cBitmapY8::FromBGR16(nullptr, 0, 0, 0), cArgumentNullException, "Argument pSrcBGR16 cannot be null.",
                   kFile, signature);
    EXPECT_FAILURE(cBitmapY8::FromBGR16(pixels, 0, 0, 0), cArgumentException,
                   "Argument pSrcWidth must be greater than zero.", kFile, signature);
    EXPECT_FAILURE(cBitmapY8::FromBGR16(pixels, 2, 0, 0), cArgumentException,
                   "Argument pSrcHeight must be greater than zero.", kFile, signature);
    EXPECT_FAILURE(cBitmapY8::FromBGR16(pixels, 2, 1, 5), cArgumentException,
                   "Argument pSrcStride must be greater than or equal to 3*pSrcWidth.", kFile, signature);
}

TEST(cBitmapY8, WhiteIs254In8And255In16Bits)
{
    EXPECT_EQ(Grey8(255, 255, 255), 254);
    EXPECT_EQ(Grey8(0, 0, 255), 76);
    EXPECT_EQ(Grey8(0, 255, 0), 149);
    EXPECT_EQ(Grey8(255, 0, 0), 29);
    EXPECT_EQ(Grey8(0, 0, 0), 0);
    EXPECT_EQ(Grey16(65535, 65535, 65535), 255); // 65535 * 65535 has 255 in its top byte
    EXPECT_EQ(Grey16(0, 0, 65535), 76);
    EXPECT_EQ(Grey16(0, 65535, 0), 150);
    EXPECT_EQ(Grey16(65535, 0, 0), 29);
}

TEST(cBitmapY8, FromBGR8IsTheScalarRuleForAnyWidthAndStride)
{
    for (int width = 1; width <= 70; ++width)
        for (const int extra : {0, 1, 5}) {
            const int stride = 3 * width + extra;
            cGuarded source(static_cast<size_t>(2 * stride + 3 * width));
            source.FillRandom(static_cast<unsigned>(stride));
            const cGrey grey(cBitmapY8::FromBGR8(source.Bytes(), width, 3, stride));
            ASSERT_EQ(grey->fWidth, width);
            ASSERT_EQ(grey->fHeight, 3);
            for (int y = 0; y < 3; ++y)
                for (int x = 0; x < width; ++x) {
                    const unsigned char* const p = source.Bytes() + y * stride + 3 * x;
                    ASSERT_EQ(grey->fData[y * grey->fStride + x], SlowGrey(p[0], p[1], p[2], 16)) << x << ' ' << y;
                }
        }
}

TEST(cBitmapY8, FromBGR16IsTheScalarRuleForAnyWidthAndStride)
{
    for (int width = 1; width <= 70; ++width)
        for (const int stride : {3 * width, 6 * width - 1, 6 * width, 6 * width + 1, 6 * width + 4}) {
            if (stride < 3 * width) continue;
            const int step = stride / 2; // samples; an odd stride is rounded down
            cGuarded source(static_cast<size_t>(2 * (2 * step + 3 * width)));
            source.FillRandom(static_cast<unsigned>(stride));
            const cGrey grey(cBitmapY8::FromBGR16(source.As<unsigned short>(), width, 3, stride));
            for (int y = 0; y < 3; ++y)
                for (int x = 0; x < width; ++x) {
                    const unsigned short* const p = source.As<unsigned short>() + y * step + 3 * x;
                    ASSERT_EQ(grey->fData[y * grey->fStride + x], SlowGrey(p[0], p[1], p[2], 24)) << x << ' ' << y;
                }
        }
}

TEST(cBitmapY8, FromBitmapLDRFollowsTheDepth)
{
    cBitmapBGR8 shallow(5, 3, eColorSpace_sRGB);
    RandomBlock(shallow, 1);
    const cGrey first(cBitmapY8::FromBitmapLDR(&shallow));
    cBitmapBGR16 deep(5, 3, eColorSpace_sRGB);
    RandomBlock(deep, 2);
    const cGrey second(cBitmapY8::FromBitmapLDR(&deep));
    ASSERT_EQ(first->fWidth, 5);
    ASSERT_EQ(second->fHeight, 3);
    for (int y = 0; y < 3; ++y)
        for (int x = 0; x < 5; ++x) {
            const unsigned char* const p = shallow.fData + y * shallow.fStride + 3 * x;
            const unsigned short* const q = deep.fData + y * (deep.fStride / 2) + 3 * x;
            EXPECT_EQ(first->fData[8 * y + x], SlowGrey(p[0], p[1], p[2], 16));
            EXPECT_EQ(second->fData[8 * y + x], SlowGrey(q[0], q[1], q[2], 24));
        }
}

TEST(cBitmapY8, FromBitmapLDROfAnotherDepthIsNull)
{
    unsigned char pixels[64] = {};
    for (const int bits : {0, 10, 12, 32, -8}) {
        cOddLDR odd(bits, pixels);
        EXPECT_EQ(cBitmapY8::FromBitmapLDR(&odd), nullptr) << bits;
    }
}

TEST(cBitmapY8, FromBitmapLDRChecksItsArgumentAndItsPixels)
{
    EXPECT_FAILURE(cBitmapY8::FromBitmapLDR(nullptr), cArgumentNullException, "Argument pSrcLDR cannot be null.", kFile,
                   "static Vornik::cBitmapY8* Vornik::cBitmapY8::FromBitmapLDR(Vornik::cBitmapLDR*)");
    cOddLDR shallow(8), deep(16);
    EXPECT_FAILURE(cBitmapY8::FromBitmapLDR(&shallow), cArgumentNullException, "Argument pSrcBGR8 cannot be null.",
                   kFile, "cBitmapY8::FromBGR8(");
    EXPECT_FAILURE(cBitmapY8::FromBitmapLDR(&deep), cArgumentNullException, "Argument pSrcBGR16 cannot be null.", kFile,
                   "cBitmapY8::FromBGR16(");
}

TEST(cBitmapY8, CopyToBGR8ChecksInOrder)
{
    const char* const signature = "void Vornik::cBitmapY8::CopyToBGR8(unsigned char*, int, int, int)";
    cBitmapY8 bitmap(5, 6);
    std::vector<unsigned char> target(256, 0x11);
    EXPECT_FAILURE(bitmap.CopyToBGR8(nullptr, 4, 7, 0), cArgumentNullException, "Argument pDstBGR8 cannot be null.",
                   kFile, signature);
    EXPECT_FAILURE(bitmap.CopyToBGR8(target.data(), 4, 7, 0), cArgumentException,
                   "Argument pDstWidth must be equal to this->fWidth.", kFile, signature);
    EXPECT_FAILURE(bitmap.CopyToBGR8(target.data(), 5, 7, 0), cArgumentException,
                   "Argument pDstHeight must be equal to this->fHeight.", kFile, signature);
    EXPECT_FAILURE(bitmap.CopyToBGR8(target.data(), 5, 6, 14), cArgumentException,
                   "Argument pDstStride must be greater than or equal to 3*pDstWidth.", kFile, signature);
    EXPECT_EQ(target, std::vector<unsigned char>(256, 0x11));
}

TEST(cBitmapY8, CopyToBGR8WritesThreeEqualSamplesAndNoPadding)
{
    for (int width = 1; width <= 70; ++width) {
        cBitmapY8 bitmap(width, 3);
        RandomBlock(bitmap, static_cast<unsigned>(width));
        const int stride = 3 * width + width % 3;
        cGuarded target(static_cast<size_t>(2 * stride + 3 * width));
        std::memset(target.Bytes(), 0x11, target.Size());
        bitmap.CopyToBGR8(target.Bytes(), width, 3, stride);
        std::vector<unsigned char> expected(target.Size(), 0x11);
        for (int y = 0; y < 3; ++y)
            for (int i = 0; i < 3 * width; ++i)
                expected[static_cast<size_t>(y * stride + i)] = bitmap.fData[y * bitmap.fStride + i / 3];
        ASSERT_EQ(std::vector<unsigned char>(target.Bytes(), target.Bytes() + target.Size()), expected) << width;
    }
}

TEST(cBitmapY8, HalveDropsTheOddColumnAndRow)
{
    cBitmapY8 bitmap(5, 7);
    FillBlock(bitmap, 0xFF);
    for (int y = 0; y < 6; ++y)
        for (int x = 0; x < 4; ++x)
            bitmap.fData[8 * y + x] = 10;
    const cGrey half(bitmap.Halve());
    EXPECT_EQ(half->fWidth, 2);
    EXPECT_EQ(half->fHeight, 3);
    for (int y = 0; y < 3; ++y)
        for (int x = 0; x < 2; ++x)
            EXPECT_EQ(half->fData[4 * y + x], 10);
}

TEST(cBitmapY8, HalveTruncates)
{
    cBitmapY8 bitmap(2, 2);
    FillBlock(bitmap, 0);
    bitmap.fData[bitmap.fStride + 1] = 3;
    EXPECT_EQ(cGrey(bitmap.Halve())->fData[0], 0);
    FillBlock(bitmap, 255);
    EXPECT_EQ(cGrey(bitmap.Halve())->fData[0], 255);
}

TEST(cBitmapY8, HalveIsTheScalarRuleForAnySize)
{
    for (int width = 2; width <= 140; ++width) {
        cBitmapY8 bitmap(width, 5);
        RandomBlock(bitmap, static_cast<unsigned>(width));
        const cGrey half(bitmap.Halve());
        for (int y = 0; y < 2; ++y)
            for (int x = 0; x < width / 2; ++x) {
                const unsigned char* const p = bitmap.fData + 2 * y * bitmap.fStride + 2 * x;
                const unsigned char* const q = p + bitmap.fStride;
                ASSERT_EQ(half->fData[y * half->fStride + x], (p[0] + p[1] + q[0] + q[1]) / 4) << width;
            }
    }
}

TEST(cBitmapY8, APixelWideOrHighCannotBeHalved)
{
    const char* const signature = "Vornik::cBitmapY8::cBitmapY8(int, int)";
    EXPECT_FAILURE(cBitmapY8(1, 1).Halve(), cArgumentException, "Argument pWidth must be greater than zero.", kFile,
                   signature);
    EXPECT_FAILURE(cBitmapY8(1, 8).Halve(), cArgumentException, "Argument pWidth must be greater than zero.", kFile,
                   signature);
    EXPECT_FAILURE(cBitmapY8(8, 1).Halve(), cArgumentException, "Argument pHeight must be greater than zero.", kFile,
                   signature);
}

} // namespace
