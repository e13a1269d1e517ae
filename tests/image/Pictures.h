#ifndef SELVANE_TESTS_IMAGE_PICTURES_H
#define SELVANE_TESTS_IMAGE_PICTURES_H

// Pictures for the tests of the picture operations: made with rows longer than they need, so that every padding byte
// shows who wrote it, and read sample by sample.

#include "bitmap/cBitmapBGR16.h"
#include "bitmap/cBitmapBGR8.h"
#include "bitmap/cBitmapXYZ32.h"
#include "bitmap/cBitmapY8.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <memory>
#include <random>
#include <type_traits>
#include <vector>

namespace SelvaneTest
{

constexpr unsigned char kUntouched = 0xA5;
constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();

template <class tBitmap>
using tSampleOf = std::remove_pointer_t<decltype(tBitmap::fData)>;

template <class tBitmap>
constexpr int kChannels = std::is_same_v<tBitmap, Vornik::cBitmapY8> ? 1 : 3;

/// Bytes of the block that the picture's fields stand for.
inline size_t BlockBytes(const Vornik::cBitmap& pBitmap)
{
    return static_cast<size_t>((pBitmap.fHeight + 3) / 4 * 4) * static_cast<size_t>(pBitmap.fStride);
}

/// A picture of that size whose rows have room for pSpare pixels more and whose whole block reads kUntouched.
template <class tBitmap>
std::unique_ptr<tBitmap> MakePicture(int pWidth, int pHeight, int pSpare = 0)
{
    std::unique_ptr<tBitmap> picture;
    if constexpr (std::is_base_of_v<Vornik::cBitmapLDR, tBitmap>)
        picture = std::make_unique<tBitmap>(pWidth + pSpare, pHeight, Vornik::eColorSpace_sRGB);
    else
        picture = std::make_unique<tBitmap>(pWidth + pSpare, pHeight);
    picture->fWidth = pWidth;
    std::memset(picture->fData, kUntouched, BlockBytes(*picture));
    return picture;
}

/// Sample pChannel of pixel (pX, pY), by the rule that rows are fStride bytes apart.
template <class tBitmap>
tSampleOf<tBitmap>& At(tBitmap& pBitmap, int pX, int pY, int pChannel = 0)
{
    unsigned char* const row =
        reinterpret_cast<unsigned char*>(pBitmap.fData) + static_cast<ptrdiff_t>(pY) * pBitmap.fStride;
    return reinterpret_cast<tSampleOf<tBitmap>*>(row)[kChannels<tBitmap> * pX + pChannel];
}

/// pVisit(x, y, channel) for all used samples in the order of pixels.
template <class tBitmap, class tVisit>
void ForEachSample(const tBitmap& pBitmap, const tVisit& pVisit)
{
    for (int y = 0; y < pBitmap.fHeight; ++y)
        for (int x = 0; x < pBitmap.fWidth; ++x)
            for (int c = 0; c < kChannels<tBitmap>; ++c)
                pVisit(x, y, c);
}

/// pValue() for every used sample in the order of pixels.
template <class tBitmap, class tValue>
void SetSamples(tBitmap& pBitmap, const tValue& pValue)
{
    ForEachSample(pBitmap,
                  [&](int x, int y, int c) { At(pBitmap, x, y, c) = static_cast<tSampleOf<tBitmap>>(pValue()); });
}

/// Random samples: integers over their whole range, floats of all magnitudes around 0 to 1 and beyond.
template <class tBitmap>
void SetRandom(tBitmap& pBitmap, unsigned pSeed)
{
    std::mt19937 random(pSeed);
    if constexpr (std::is_floating_point_v<tSampleOf<tBitmap>>) {
        std::uniform_real_distribution<float> mantissa(-0.5f, 1.5f);
        std::uniform_int_distribution<int> exponent(-6, 3);
        SetSamples(pBitmap, [&] { return std::ldexp(mantissa(random), exponent(random)); });
    } else {
        SetSamples(pBitmap, [&] { return random(); });
    }
}

template <class tBitmap>
std::vector<unsigned char> BlockOf(const tBitmap& pBitmap)
{
    const auto* const bytes = reinterpret_cast<const unsigned char*>(pBitmap.fData);
    return std::vector<unsigned char>(bytes, bytes + BlockBytes(pBitmap));
}

/// Every byte of the block that belongs to no used pixel still reads kUntouched.
template <class tBitmap>
void ExpectPaddingUntouched(const tBitmap& pBitmap)
{
    const std::vector<unsigned char> block = BlockOf(pBitmap);
    const size_t stride = static_cast<size_t>(pBitmap.fStride);
    const size_t used = sizeof(tSampleOf<tBitmap>) * kChannels<tBitmap> * static_cast<size_t>(pBitmap.fWidth);
    for (size_t i = 0; i < block.size(); ++i) {
        const bool padding = i % stride >= used || i / stride >= static_cast<size_t>(pBitmap.fHeight);
        ASSERT_TRUE(!padding || block[i] == kUntouched) << "byte " << i % stride << " of row " << i / stride;
    }
}

/// The same bits, or both not a number: the sign and payload of a NaN born in arithmetic are the processor's.
inline bool Same(float pFirst, float pSecond)
{
    return std::bit_cast<uint32_t>(pFirst) == std::bit_cast<uint32_t>(pSecond) ||
           (std::isnan(pFirst) && std::isnan(pSecond));
}

inline bool Same(double pFirst, double pSecond)
{
    return std::bit_cast<uint64_t>(pFirst) == std::bit_cast<uint64_t>(pSecond) ||
           (std::isnan(pFirst) && std::isnan(pSecond));
}

/// Floats at which conversions and comparisons change: the ends of the unit interval and their neighbours, exact
/// multiples of the steps of a sample, zeros, infinities, NaNs.
inline std::vector<float> CriticalFloats()
{
    std::vector<float> values = {0.0f,   -0.0f,   0.5f,   1.0f,      1.0000001f, 0.99999994f,    -1.0f,
                                 2.0f,   1e30f,   -1e30f, kInfinity, -kInfinity, kNaN,           -kNaN,
                                 1e-45f, -1e-45f, 1e-38f, 0.25f,     0.75f,      0x1.fffffep127f};
    for (int i = 1; i < 256; ++i) {
        const float step = static_cast<float>(i) / 255.0f;
        values.insert(values.end(), {step, std::nextafter(step, 0.0f), std::nextafter(step, 2.0f)});
    }
    for (int i = 1; i < 65536; i += 97) {
        const float step = static_cast<float>(i) / 65535.0f;
        values.insert(values.end(), {step, std::nextafter(step, 0.0f), std::nextafter(step, 2.0f)});
    }
    return values;
}

} // namespace SelvaneTest

#endif
