#ifndef SELVANE_BENCH_SCENE_H
#define SELVANE_BENCH_SCENE_H

// The picture of the benchmarks: slow gradients over some decades with hard edges, colours that drift over the picture,
// and fine noise. Noise alone would put every pixel into a cell of its own and make the filter look slower than it is on
// photographs; grey alone would make every look-up of a hue a lucky one.

#include "bitmap/cBitmapXYZ32.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace SelvaneBench
{

/// A sample of the scene, 16 bits. pChannel is 0 red, 1 green or 2 blue.
inline unsigned Sample(int pX, int pY, int pWidth, int pHeight, int pChannel)
{
    const unsigned noise = static_cast<unsigned>(pX * 7919 + pY * 104729 + pChannel * 1299709) % 601;
    const bool window = pX > pWidth / 2 && pY < pHeight / 2;
    const int64_t across = 20000LL * pX / pWidth;
    const int64_t drift[] = {4000LL * pY / pHeight, 0, 3000LL - 3000LL * (pX + pY) / (pWidth + pHeight)};
    const int64_t light = window ? 58000 : 500 + across;
    return static_cast<unsigned>(light + drift[pChannel]) + noise;
}

/// Interleaved samples of 8 or 16 bits, or planes with shared exponents (32).
inline std::vector<unsigned char> Scene(int pDepth, int pWidth, int pHeight)
{
    std::vector<unsigned char> bytes;
    bytes.reserve(static_cast<size_t>(pWidth) * static_cast<size_t>(pHeight) * 6);
    for (int y = 0; y < pHeight; y++)
        for (int i = 0; i < (pDepth == 32 ? 4 : 3) * pWidth; i++) {
            const int channel = pDepth == 32 ? std::min(i / pWidth, 2) : i % 3;
            const unsigned sample = Sample(pDepth == 32 ? i % pWidth : i / 3, y, pWidth, pHeight, channel);
            if (pDepth == 16) bytes.push_back(static_cast<unsigned char>(sample & 255));
            const bool exponent = pDepth == 32 && i >= 3 * pWidth;
            bytes.push_back(static_cast<unsigned char>(exponent ? 120 + (sample >> 13) : sample >> 8));
        }
    return bytes;
}

/// The scene as XYZ, over pDecades decades.
inline void FillXYZ(Vornik::cBitmapXYZ32& pPicture, float pDecades = 5.0f)
{
    for (int y = 0; y < pPicture.fHeight; y++)
        for (int x = 0; x < pPicture.fWidth; x++) {
            const auto sample = [&](int channel) {
                return static_cast<float>(Sample(x, y, pPicture.fWidth, pPicture.fHeight, channel)) / 65535.0f;
            };
            float* pixel = pPicture.fData + static_cast<size_t>(y) * static_cast<size_t>(pPicture.fStride / 4) + 3 * x;
            pixel[1] = std::pow(10.0f, (sample(1) - 0.5f) * pDecades);
            pixel[0] = pixel[1] * (0.9f + 2.0f * (sample(0) - sample(1)));
            pixel[2] = pixel[1] * (0.7f + 4.0f * (sample(2) - sample(1)));
        }
}

} // namespace SelvaneBench

#endif
