#ifndef SELVANE_BENCH_SCENE_H
#define SELVANE_BENCH_SCENE_H

// The picture of the benchmarks: slow gradients over some decades with hard edges, colours that drift over the picture,
// and fine noise. Noise alone would put every pixel into a cell of its own and make the filter look slower than it is
// on photographs; grey alone would make every look-up of a hue a lucky one. It is made outside the timed part.

#include "bitmap/cBitmapXYZ32.h"

#include <cstddef>
#include <vector>

namespace SelvaneBench
{

struct sSize
{
    const char* fName;
    int fWidth;
    int fHeight;

    double Pixels() const { return static_cast<double>(fWidth) * fHeight; }
    bool operator==(const sSize&) const = default;
};

constexpr sSize k64x64{"64x64", 64, 64};
constexpr sSize k1MP{"1MP", 1224, 816};
constexpr sSize k6MP{"6MP", 3000, 2000};
constexpr sSize k24MP{"24MP", 6000, 4000};

constexpr int kPlanes = 32; // input depth: byte planes with shared exponents

/// Samples of the scene, red first: interleaved of 8 or 16 bits, or planes with shared exponents.
std::vector<unsigned char> Scene(int pDepth, const sSize& pSize);

/// The scene as XYZ, over five decades.
void FillXYZ(Vornik::cBitmapXYZ32& pPicture);

} // namespace SelvaneBench

#endif
