// How does the library stand beside a tone mapper of another make? Both take 16-bit samples to 8-bit samples.
//
// The other one is written here in Halide, a language for fused picture pipelines, from the published idea (J. Chen,
// S. Paris and F. Durand, "Real-time edge-aware image processing with the bilateral grid", 2007): decode, logarithm of
// the luminance, a bilateral grid of cells as large as the library's, smoothed by 1 4 6 4 1, sliced, and the base
// compressed. It stands for what a fused pipeline costs, and does less than the library: the logarithms are quick ones,
// the range of the grid is fixed, no histogram gives black and white, no curve acts on hue, contrast or detail, and no
// bit is promised.

#include "Call.h"
#include "Measure.h"
#include "Scene.h"

#include <Halide.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>

namespace SelvaneBench
{

namespace
{

using namespace Halide;

constexpr int kLanes = 16;
constexpr int kSums = 4;          // of a cell, side by side: an addition need not wait for the one before
constexpr float kDarkest = -6.0f; // log10 of the luminance at the lowest cell
constexpr float kDecadesPerCell = 0.32f;
constexpr int kCells = 20; // in value: six decades and the last interval's end
constexpr float kCompression = 0.53f;
constexpr float kLn10 = 2.302585f;

Expr Power(const Expr& pBase, float pExponent)
{
    return fast_exp(fast_log(max(pBase, 1e-8f)) * pExponent);
}

Expr Smoothed(const Func& pFrom, const std::vector<Expr>& pAt, size_t pAxis)
{
    constexpr float kWeights[] = {1, 4, 6, 4, 1};
    Expr sum = 0.0f;
    for (int i = -2; i <= 2; i++) {
        std::vector<Expr> at = pAt;
        at[pAxis] += i;
        sum += pFrom(at) * kWeights[i + 2];
    }
    return sum;
}

/// A tone mapper for pictures of one size and one number of workers.
class cHalideToneMapper
{
public:
    cHalideToneMapper(const sSize& pSize, bool pParallel)
        : fSamples(Scene(16, pSize)), fOutput(Buffer<uint8_t>::make_interleaved(pSize.fWidth, pSize.fHeight, 3)),
          fCell(std::max(kSums, std::max(pSize.fWidth, pSize.fHeight) / 40 / kSums * kSums))
    {
        fInput.set(Buffer<uint16_t>::make_interleaved(reinterpret_cast<uint16_t*>(fSamples.data()), pSize.fWidth,
                                                      pSize.fHeight, 3));
        Define();
        Schedule(pParallel);
        fMapped.compile_jit();
    }

    void Run() { fMapped.realize(fOutput); }

private:
    /// The algorithm. Both passes over the picture decode it for themselves.
    void Define()
    {
        Func padded = BoundaryConditions::repeat_edge(fInput);
        fLogOfGrid(x, y) = LogLuminance([&](int channel) { return Linear(padded(x, y, channel)); });
        fLinear(x, y, c) = Linear(fInput(x, y, c));
        fLog(x, y) = LogLuminance([&](int channel) { return Expr(fLinear(x, y, channel)); });
        DefineGrid();
        DefineSlice();
        Expr mapped = fLinear(x, y, c) * fast_exp(fBase(x, y) * ((kCompression - 1.0f) * kLn10));
        fMapped(x, y, c) = cast<uint8_t>(clamp(Power(mapped, 1.0f / 2.2f) * 255.0f, 0.0f, 255.0f));
    }

    static Expr Linear(const Expr& pSample) { return Power(cast<float>(pSample) * (1.0f / 65535.0f), 2.2f); }

    template <class tLinear>
    static Expr LogLuminance(tLinear pLinear)
    {
        Expr luminance = 0.2225f * pLinear(0) + 0.7169f * pLinear(1) + 0.0606f * pLinear(2);
        return fast_log(max(luminance, 1e-6f)) * (1.0f / kLn10);
    }

    /// A cell sums value (c = 0) and weight (c = 1) of the samples that it is nearest to.
    void DefineGrid()
    {
        fInCell = RDom(0, kSums, 0, fCell / kSums, 0, fCell);
        Expr column = x * fCell + fInCell.y * kSums + fInCell.x - fCell / 2;
        Expr row = y * fCell + fInCell.z - fCell / 2;
        fCellOf(x, y) =
            cast<uint8_t>(clamp((fLogOfGrid(x, y) - kDarkest) * (1.0f / kDecadesPerCell) + 0.5f, 0.0f, kCells - 1.0f));
        Expr cell = clamp(cast<int>(fCellOf(column, row)), 0, kCells - 1);
        Expr value = fLogOfGrid(column, row) - kDarkest;
        fSums(x, y, z, c, w) = 0.0f;
        fSums(x, y, cell, c, fInCell.x) += mux(c, {value, 1.0f});
        fScattered(x, y, z, c) = 0.0f;
        for (int i = 0; i < kSums; i++)
            fScattered(x, y, z, c) += fSums(x, y, z, c, i);
        Func bounded = BoundaryConditions::constant_exterior(
            fScattered, 0.0f, {{Expr(), Expr()}, {Expr(), Expr()}, {0, kCells}, {Expr(), Expr()}});
        fSmoothZ(x, y, z, c) = Smoothed(bounded, {x, y, z, c}, 2);
        fSmoothX(x, y, z, c) = Smoothed(fSmoothZ, {x, y, z, c}, 0);
        fSmoothY(x, y, z, c) = Smoothed(fSmoothX, {x, y, z, c}, 1);
        fGrid(x, y, z) = fSmoothY(x, y, z, 0) / max(fSmoothY(x, y, z, 1), 1e-6f);
    }

    /// The base: between the eight cells around a sample.
    void DefineSlice()
    {
        Expr at = clamp((fLog(x, y) - kDarkest) / kDecadesPerCell, 0.0f, kCells - 1.001f);
        Expr zi = cast<int>(at), zf = at - zi;
        Expr xi = x / fCell, xf = cast<float>(x % fCell) / fCell;
        Expr yi = y / fCell, yf = cast<float>(y % fCell) / fCell;
        const auto across = [&](const Expr& pY, const Expr& pZ) {
            return lerp(fGrid(xi, pY, pZ), fGrid(xi + 1, pY, pZ), xf);
        };
        const auto plane = [&](const Expr& pZ) { return lerp(across(yi, pZ), across(yi + 1, pZ), yf); };
        fBase(x, y) = lerp(plane(zi), plane(zi + 1), zf) + kDarkest;
    }

    /// The grid takes strips as high as a cell, the last stage lines; each decodes what it needs in vectors.
    void Schedule(bool pParallel)
    {
        fSums.compute_root().reorder_storage(c, w, z, x, y).reorder(c, w, z, x, y).unroll(c);
        fSums.update().reorder(c, fInCell.x, fInCell.y, fInCell.z, x, y).unroll(c).unroll(fInCell.x);
        fLogOfGrid.compute_at(fSums, y).vectorize(x, kLanes);
        fCellOf.compute_at(fSums, y).vectorize(x, kLanes);
        fScattered.compute_root();
        fGrid.compute_root().vectorize(x, 8);
        fSmoothZ.compute_root().reorder(c, z, x, y).vectorize(x, 8);
        fSmoothX.compute_root().reorder(c, z, x, y).vectorize(x, 8);
        fSmoothY.compute_root().reorder(c, z, x, y).vectorize(x, 8);
        fMapped.reorder(c, x, y).bound(c, 0, 3).vectorize(x, kLanes).unroll(c);
        fLinear.compute_at(fMapped, x).vectorize(x).unroll(c);
        fBase.compute_at(fMapped, x).vectorize(x);
        fInput.dim(0).set_stride(3);
        fInput.dim(2).set_stride(1);
        fMapped.output_buffer().dim(0).set_stride(3);
        fMapped.output_buffer().dim(2).set_stride(1);
        if (pParallel) {
            fMapped.parallel(y, 32);
            fSums.update().parallel(y);
        }
    }

    std::vector<unsigned char> fSamples;
    ImageParam fInput{UInt(16), 3};
    Buffer<uint8_t> fOutput;
    int fCell; // pixels
    Var x, y, z, c, w;
    RDom fInCell;
    Func fLinear{"linear"}, fLogOfGrid{"logOfGrid"}, fCellOf{"cellOf"}, fLog{"log"}, fSums{"sums"},
        fScattered{"scattered"}, fSmoothZ{"smoothZ"}, fSmoothX{"smoothX"}, fSmoothY{"smoothY"}, fGrid{"grid"},
        fBase{"base"}, fMapped{"mapped"};
};

struct sKey
{
    sSize fSize;
    bool fParallel;
    bool operator==(const sKey&) const = default;
};

/// Compiling takes seconds, so the latest mapper is kept.
cHalideToneMapper& MapperOf(const sKey& pKey)
{
    static cLatest<sKey, cHalideToneMapper> latest;
    return latest.Get(pKey, [&] { return std::make_unique<cHalideToneMapper>(pKey.fSize, pKey.fParallel); });
}

void AddPair(const sSize& pSize, int pWorkers)
{
    const double bytes = kForms[0].HostBytes();
    Add(std::string("halide/") + pSize.fName + "/" + Workers(pWorkers), [=](benchmark::State& pState) {
        cHalideToneMapper& mapper = MapperOf({pSize, pWorkers == 2});
        Measure(pState, {pSize.Pixels(), bytes}, [&] { mapper.Run(); });
    });
    Add(std::string("library/") + pSize.fName + "/" + Workers(pWorkers), [=](benchmark::State& pState) {
        cCall& call = CallOf(kForms[0], pSize);
        const auto fresh = static_cast<size_t>(pSize.Pixels() * kFreshBytes);
        Measure(pState, {pSize.Pixels(), bytes, fresh}, [&] { call.Run(pWorkers); });
    });
}

} // namespace

void AddCases()
{
    setenv("HL_NUM_THREADS", "2", 1);
    for (const sSize& size : {k64x64, k1MP, k6MP, k24MP})
        for (const int workers : {1, 2})
            AddPair(size, workers);
}

} // namespace SelvaneBench
