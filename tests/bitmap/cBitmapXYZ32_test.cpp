#include "bitmap/cBitmapXYZ32.h"

#include "support/Capture.h"

#include "Convert.h"
#include "Fixtures.h"

#include <gtest/gtest.h>

#include <climits>
#include <limits>
#include <memory>

using namespace Vornik;
using namespace SelvaneTest;

namespace
{

const char* const kFile = "cBitmapXYZ32.cpp";

TEST(cBitmapXYZ32, OnePixelTakesAPaddedBlock)
{
    cBitmapXYZ32 one(1, 1);
    EXPECT_EQ(one.fStride, 48);
    EXPECT_EQ(one.fWidth, 1);
    EXPECT_EQ(one.fHeight, 1);
    std::memset(one.fData, 1, 192);
    EXPECT_EQ(one.GetImageData(), one.fData);
}

TEST(cBitmapXYZ32, AllocAndFreeCheckAndReportExhaustedMemory)
{
    const char* const signature = "static float* Vornik::cBitmapXYZ32::AllocBitmapData(int, int, int&)";
    int stride = 77;
    EXPECT_FAILURE(cBitmapXYZ32::AllocBitmapData(0, 0, stride), cArgumentException,
                   "Argument pWidth must be greater than zero.", kFile, signature);
    EXPECT_FAILURE(cBitmapXYZ32::AllocBitmapData(1, 0, stride), cArgumentException,
                   "Argument pHeight must be greater than zero.", kFile, signature);
    EXPECT_EQ(stride, 77);
    EXPECT_FAILURE(cBitmapXYZ32::AllocBitmapData(0x40000000, 1, stride), cOutOfMemoryException,
                   "Cannot alloc bitmap array.", kFile, signature);
    EXPECT_EQ(stride, 0);
    EXPECT_FAILURE(cBitmapXYZ32::FreeBitmapData(nullptr), cArgumentNullException, "Argument 'pXYZ32' cannot be null.",
                   kFile, "static void Vornik::cBitmapXYZ32::FreeBitmapData(float*)");
    float* const block = cBitmapXYZ32::AllocBitmapData(5, 5, stride);
    EXPECT_EQ(stride, 96);
    std::memset(block, 1, 8 * 96);
    EXPECT_EQ(CaptureStderr([&] { cBitmapXYZ32::FreeBitmapData(block); }), "");
}

TEST(cBitmapXYZ32, ConstructorsCheckForThemselves)
{
    const char* const bySize = "Vornik::cBitmapXYZ32::cBitmapXYZ32(int, int)";
    const cBitmapXYZ32* const none = nullptr;
    EXPECT_FAILURE(cBitmapXYZ32(0, 0), cArgumentException, "Argument pWidth must be greater than zero.", kFile, bySize);
    EXPECT_FAILURE(cBitmapXYZ32(1, -3), cArgumentException, "Argument pHeight must be greater than zero.", kFile,
                   bySize);
    EXPECT_FAILURE(cBitmapXYZ32(1, INT_MAX), cOutOfMemoryException, "Cannot alloc bitmap array.", kFile,
                   "cBitmapXYZ32::AllocBitmapData(int,int,int&)");
    EXPECT_FAILURE(cBitmapXYZ32{none}, cArgumentNullException, "Argument pFrom cannot be null.", kFile,
                   "Vornik::cBitmapXYZ32::cBitmapXYZ32(const Vornik::cBitmapXYZ32*)");
}

TEST(cBitmapXYZ32, TheCopyingConstructorCopiesDeep)
{
    auto source = std::make_unique<cBitmapXYZ32>(5, 6);
    RandomBlock(*source, 1);
    const std::vector<unsigned char> bytes = BytesOf(*source);
    const cBitmapXYZ32 copy(source.get());
    EXPECT_NE(copy.fData, source->fData);
    source.reset();
    EXPECT_EQ(copy.fWidth, 5);
    EXPECT_EQ(copy.fHeight, 6);
    EXPECT_EQ(copy.fStride, 96);
    EXPECT_EQ(std::memcmp(copy.fData, bytes.data(), 6 * 96), 0);
}

TEST(cBitmapXYZ32, TheCopyingConstructorReportsWhatTheCopyRefuses)
{
    cBitmapXYZ32 source(5, 6);
    float* const block = source.fData;
    source.fData = nullptr;
    EXPECT_FAILURE(cBitmapXYZ32{&source}, cArgumentNullException, "Argument pFromXYZ32 cannot be null.", kFile,
                   "cBitmapXYZ32::CopyFromXYZ32(int,int,int,constfloat*)");
    source.fData = block;
}

TEST(cBitmapXYZ32, CopyFromXYZ32ChecksInOrder)
{
    const char* const signature = "void Vornik::cBitmapXYZ32::CopyFromXYZ32(int, int, int, const float*)";
    cBitmapXYZ32 bitmap(5, 6);
    FillBlock(bitmap, 0xEE);
    const float pixels[128] = {};
    EXPECT_FAILURE(bitmap.CopyFromXYZ32(4, 7, 0, nullptr), cArgumentException,
                   "Argument pFromWidth must be equal to this->fWidth.", kFile, signature);
    EXPECT_FAILURE(bitmap.CopyFromXYZ32(5, 7, 0, nullptr), cArgumentException,
                   "Argument pFromWidth must be equal to this->fHeight.", kFile, signature);
    EXPECT_FAILURE(bitmap.CopyFromXYZ32(5, 6, 59, pixels), cArgumentException,
                   "Argument pFromStride must be greater than or equal to 12*this->fWidth.", kFile, signature);
    EXPECT_FAILURE(bitmap.CopyFromXYZ32(5, 6, 60, nullptr), cArgumentNullException,
                   "Argument pFromXYZ32 cannot be null.", kFile, signature);
    EXPECT_EQ(BytesOf(bitmap), std::vector<unsigned char>(8 * 96, 0xEE));
}

TEST(cBitmapXYZ32, CopyFromXYZ32WithTheSameStrideTakesTheSourcesPadding)
{
    cBitmapXYZ32 bitmap(5, 6);
    FillBlock(bitmap, 0xEE);
    cGuarded source(6 * 96);
    source.FillRandom(2);
    bitmap.CopyFromXYZ32(5, 6, 96, source.As<float>());
    std::vector<unsigned char> expected(8 * 96, 0xEE);
    std::memcpy(expected.data(), source.Bytes(), 6 * 96);
    EXPECT_EQ(BytesOf(bitmap), expected);
}

TEST(cBitmapXYZ32, CopyFromXYZ32RoundsAnotherStrideDownToFloats)
{
    cBitmapXYZ32 bitmap(5, 6);
    for (const int stride : {60, 61, 63, 64, 97, 98, 200}) {
        FillBlock(bitmap, 0xEE);
        const int step = stride / 4 * 4;
        cGuarded source(static_cast<size_t>(5 * step + 60));
        source.FillRandom(static_cast<unsigned>(stride));
        bitmap.CopyFromXYZ32(5, 6, stride, source.As<float>());
        std::vector<unsigned char> expected(8 * 96, 0xEE);
        for (int y = 0; y < 6; ++y)
            std::memcpy(&expected[static_cast<size_t>(96 * y)], source.Bytes() + y * step, 60);
        EXPECT_EQ(BytesOf(bitmap), expected) << stride;
    }
}

TEST(cBitmapXYZ32, TransformMultipliesEveryPixel)
{
    cBitmapXYZ32 bitmap(7, 3);
    FillColours(bitmap, 3);
    const cBitmapXYZ32 source(&bitmap);
    bitmap.Transform(kSomeMatrix);
    for (int y = 0; y < 3; ++y)
        for (int x = 0; x < 7; ++x) {
            const float* const from = source.fData + y * (source.fStride / 4) + 3 * x;
            const sTriple expected = Times(kSomeMatrix, from[0], from[1], from[2]);
            for (int c = 0; c < 3; ++c)
                ASSERT_EQ(Bits(PixelOf(bitmap, x, y)[c]), Bits(expected.f[c]));
        }
}

TEST(cBitmapXYZ32, BGRFloatToBGR8DataChecksInOrder)
{
    const char* const signature = "void Vornik::cBitmapXYZ32::BGRFloatToBGR8Data(int, int, int, unsigned char*) const";
    const cBitmapXYZ32 bitmap(5, 6);
    std::vector<unsigned char> target(256, 0x11);
    EXPECT_FAILURE(bitmap.BGRFloatToBGR8Data(4, 7, 15, nullptr), cArgumentException,
                   "Argument pToWidth must be equal to  this->fWidth.", kFile, signature);
    EXPECT_FAILURE(bitmap.BGRFloatToBGR8Data(5, 7, 15, target.data()), cArgumentException,
                   "Argument pToHeight must be equal to  this->fHeight.", kFile, signature);
    EXPECT_FAILURE(bitmap.BGRFloatToBGR8Data(5, 6, 15, nullptr), cArgumentNullException,
                   "Argument pToBGR8 cannot be null.", kFile, signature);
    EXPECT_EQ(target, std::vector<unsigned char>(256, 0x11));
}

TEST(cBitmapXYZ32, BGRFloatToBGR8DataTruncatesAndLimits)
{
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const float infinity = std::numeric_limits<float>::infinity();
    const struct
    {
        float fValue;
        int fByte;
    } cases[] = {{1.0f, 255},         {0.5f, 127},      {-0.0f, 0},    {0.0f, 0},    {0x1.000002p0f, 255},
                 {nan, 255},          {-nan, 255},      {0.999f, 254}, {-1e30f, 0},  {-infinity, 0},
                 {infinity, 255},     {1e-40f, 0},      {-1e-40f, 0},  {1e30f, 255}, {0x1.fffffep-1f, 254},
                 {0x1.010102p-8f, 1}, {0x1.0101p-8f, 0}};
    const int count = static_cast<int>(std::size(cases));
    for (int width = 1; width <= 70; ++width) { // each value in each lane of a vector loop
        cBitmapXYZ32 bitmap(width, 2);
        for (int y = 0; y < 2; ++y)
            for (int i = 0; i < 3 * width; ++i)
                PixelOf(bitmap, 0, y)[i] = cases[(i + width + 5 * y) % count].fValue;
        cGuarded target(static_cast<size_t>(6 * width + 1));
        target.Bytes()[3 * width] = 0x11;
        bitmap.BGRFloatToBGR8Data(width, 2, 3 * width + 1, target.Bytes());
        for (int y = 0; y < 2; ++y)
            for (int i = 0; i < 3 * width; ++i)
                ASSERT_EQ(target.Bytes()[y * (3 * width + 1) + i], cases[(i + width + 5 * y) % count].fByte)
                    << cases[(i + width + 5 * y) % count].fValue;
        ASSERT_EQ(target.Bytes()[3 * width], 0x11);
    }
}

TEST(cBitmapXYZ32, BGRFloatToBGR8DataIsTheScalarRuleOnRandomValues)
{
    cBitmapXYZ32 bitmap(1001, 3);
    FillColours(bitmap, 5);
    std::vector<unsigned char> target(3 * 3003);
    bitmap.BGRFloatToBGR8Data(1001, 3, 3003, target.data());
    for (int y = 0; y < 3; ++y)
        for (int i = 0; i < 3003; ++i) {
            const float value = PixelOf(bitmap, 0, y)[i];
            int expected = 255;
            if (value < 0.0f)
                expected = 0;
            else if (value <= 1.0f)
                expected = static_cast<int>(value * 255.0f);
            ASSERT_EQ(target[static_cast<size_t>(3003 * y + i)], expected) << value;
        }
}

TEST(cBitmapXYZ32, BGRFloatToBGR8DataTakesAnyStride)
{
    cBitmapXYZ32 bitmap(2, 2);
    for (int i = 0; i < 6; ++i) {
        PixelOf(bitmap, 0, 0)[i] = 1.0f;
        PixelOf(bitmap, 0, 1)[i] = 0.0f;
    }
    unsigned char bottomUp[12];
    bitmap.BGRFloatToBGR8Data(2, 2, -6, bottomUp + 6);
    for (int i = 0; i < 12; ++i)
        EXPECT_EQ(bottomUp[i], i < 6 ? 0 : 255);
}

} // namespace
