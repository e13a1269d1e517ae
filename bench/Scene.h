#ifndef SELVANE_BENCH_SCENE_H
#define SELVANE_BENCH_SCENE_H

// The picture of the benchmarks: slow gradients over some decades with hard edges and fine noise. Noise alone would put
// every pixel into a cell of its own and make the filter look slower than it is on photographs.

#include <cstddef>
#include <vector>

namespace SelvaneBench
{

/// A sample of the scene, 16 bits.
inline unsigned Sample(int pX, int pY, int pWidth, int pHeight)
{
    const unsigned noise = static_cast<unsigned>(pX * 7919 + pY * 104729) % 601;
    const bool window = pX > pWidth / 2 && pY < pHeight / 2;
    return window ? 60000 + noise : 500 + static_cast<unsigned>(20000LL * pX / pWidth) + noise;
}

/// Interleaved samples of 8 or 16 bits, or planes with shared exponents (32).
inline std::vector<unsigned char> Scene(int pDepth, int pWidth, int pHeight)
{
    std::vector<unsigned char> bytes;
    bytes.reserve(static_cast<size_t>(pWidth) * static_cast<size_t>(pHeight) * 6);
    for (int y = 0; y < pHeight; y++)
        for (int i = 0; i < (pDepth == 32 ? 4 : 3) * pWidth; i++) {
            const unsigned sample =
                pDepth == 32 ? Sample(i % pWidth, y, pWidth, pHeight) : Sample(i / 3, y, pWidth, pHeight);
            if (pDepth == 16) bytes.push_back(static_cast<unsigned char>(sample & 255));
            const bool exponent = pDepth == 32 && i >= 3 * pWidth;
            bytes.push_back(static_cast<unsigned char>(exponent ? 120 + (sample >> 13) : sample >> 8));
        }
    return bytes;
}

} // namespace SelvaneBench

#endif
