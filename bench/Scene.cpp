#include "Scene.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>

namespace SelvaneBench
{

namespace
{

constexpr float kDecades = 5.0f;

/// A sample of the scene, 16 bits. pChannel is 0 red, 1 green or 2 blue.
unsigned Sample(int pX, int pY, const sSize& pSize, int pChannel)
{
    const unsigned noise = static_cast<unsigned>(pX * 7919 + pY * 104729 + pChannel * 1299709) % 601;
    const bool window = pX > pSize.fWidth / 2 && pY < pSize.fHeight / 2;
    const int64_t light = window ? 58000 : 500 + 20000LL * pX / pSize.fWidth;
    const int64_t drift[] = {4000LL * pY / pSize.fHeight, 0,
                             3000LL - 3000LL * (pX + pY) / (pSize.fWidth + pSize.fHeight)};
    return static_cast<unsigned>(light + drift[pChannel]) + noise;
}

/// Sample pAt of a row, counted as the depth stores them. A plane of exponents holds those of blue.
unsigned RowSample(int pDepth, int pAt, int pY, const sSize& pSize)
{
    if (pDepth != kPlanes) return Sample(pAt / 3, pY, pSize, pAt % 3);
    return Sample(pAt % pSize.fWidth, pY, pSize, std::min(pAt / pSize.fWidth, 2));
}

unsigned char ByteOf(unsigned pSample, bool pExponent)
{
    return static_cast<unsigned char>(pExponent ? 120 + (pSample >> 13) : pSample >> 8);
}

} // namespace

std::vector<unsigned char> Scene(int pDepth, const sSize& pSize)
{
    const int samples = (pDepth == kPlanes ? 4 : 3) * pSize.fWidth; // of a row
    const size_t bytes = pDepth == 16 ? 2 : 1;                      // of a sample
    std::vector<unsigned char> scene(static_cast<size_t>(samples) * static_cast<size_t>(pSize.fHeight) * bytes);
    unsigned char* to = scene.data();
    for (int y = 0; y < pSize.fHeight; y++)
        for (int i = 0; i < samples; i++) {
            const unsigned sample = RowSample(pDepth, i, y, pSize);
            if (pDepth == 16) *to++ = static_cast<unsigned char>(sample & 255);
            *to++ = ByteOf(sample, pDepth == kPlanes && i >= 3 * pSize.fWidth);
        }
    return scene;
}

void FillXYZ(Vornik::cBitmapXYZ32& pPicture)
{
    const sSize size{"", pPicture.fWidth, pPicture.fHeight};
    const auto sample = [&](int x, int y, int channel) {
        return static_cast<float>(Sample(x, y, size, channel)) / 65535.0f;
    };
    for (int y = 0; y < size.fHeight; y++)
        for (int x = 0; x < size.fWidth; x++) {
            float* pixel = pPicture.fData + static_cast<ptrdiff_t>(y) * (pPicture.fStride / 4) + ptrdiff_t{3} * x;
            const float green = sample(x, y, 1);
            pixel[1] = std::pow(10.0f, (green - 0.5f) * kDecades);
            pixel[0] = pixel[1] * (0.9f + 2.0f * (sample(x, y, 0) - green));
            pixel[2] = pixel[1] * (0.7f + 4.0f * (sample(x, y, 2) - green));
        }
}

} // namespace SelvaneBench
