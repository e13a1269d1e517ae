#include "bitmap/cBitmapY32.h"

#include "support/Capture.h"

#include "Fixtures.h"

#include <gtest/gtest.h>

#include <climits>

using namespace Vornik;
using namespace SelvaneTest;

namespace
{

const char* const kFile = "cBitmapY32.cpp";

TEST(cBitmapY32, OnePixelTakesAPaddedBlock)
{
    cBitmapY32 one(1, 1);
    EXPECT_EQ(one.fStride, 16);
    EXPECT_EQ(one.fWidth, 1);
    EXPECT_EQ(one.fHeight, 1);
    std::memset(one.fData, 1, 64);
}

TEST(cBitmapY32, AllocAndFreeCheckAndReportExhaustedMemory)
{
    const char* const signature = "static float* Vornik::cBitmapY32::AllocBitmapData(int, int, int&)";
    int stride = 77;
    EXPECT_FAILURE(cBitmapY32::AllocBitmapData(0, 0, stride), cArgumentException,
                   "Argument pWidth must be greater than zero.", kFile, signature);
    EXPECT_FAILURE(cBitmapY32::AllocBitmapData(1, 0, stride), cArgumentException,
                   "Argument pHeight must be greater than zero.", kFile, signature);
    EXPECT_EQ(stride, 77);
    EXPECT_FAILURE(cBitmapY32::AllocBitmapData(0x40000004, 1, stride), cOutOfMemoryException,
                   "Cannot alloc bitmap array.", kFile, signature);
    EXPECT_EQ(stride, 16); // wrapped
    EXPECT_FAILURE(cBitmapY32::FreeBitmapData(nullptr), cArgumentNullException, "Argument 'pY32' cannot be null.",
                   kFile, "static void Vornik::cBitmapY32::FreeBitmapData(float*)");
    float* const block = cBitmapY32::AllocBitmapData(5, 5, stride);
    EXPECT_EQ(stride, 32);
    std::memset(block, 1, 8 * 32);
    EXPECT_EQ(CaptureStderr([&] { cBitmapY32::FreeBitmapData(block); }), "");
}

TEST(cBitmapY32, TheConstructorChecksForItself)
{
    const char* const signature = "Vornik::cBitmapY32::cBitmapY32(int, int)";
    EXPECT_FAILURE(cBitmapY32(0, 0), cArgumentException, "Argument pWidth must be greater than zero.", kFile,
                   signature);
    EXPECT_FAILURE(cBitmapY32(1, 0), cArgumentException, "Argument pHeight must be greater than zero.", kFile,
                   signature);
    EXPECT_FAILURE(cBitmapY32(INT_MAX, 1), cOutOfMemoryException, "Cannot alloc bitmap array.", kFile,
                   "cBitmapY32::AllocBitmapData(int,int,int&)");
}

} // namespace
