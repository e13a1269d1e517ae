#ifndef SELVANE_BENCH_KEPT_H
#define SELVANE_BENCH_KEPT_H

// Renderers that a host keeps and renders with again and again. All their memory is warm.

#include "Measure.h"
#include "Scene.h"

#include "bitmap/cBitmapBGR8.h"
#include "bitmap/cBitmapXYZ32.h"
#include "color/cColorSpace.h"
#include "curve/cHermiteSpline.h"
#include "equalizer/cColorEqRenderer.h"
#include "render/cTmRenderer.h"

#include <memory>

namespace SelvaneBench
{

/// The parameters that the entry takes for its sliders in their middle position.
inline void SetMiddleParams(Vornik::cTmRenderer& pRenderer)
{
    pRenderer.fLogEnabled = 0;
    pRenderer.SetToneMappingParams(47.0f, 0.0f, true, 20.0f, true, 0.0f, 100.0f, 60.0f, 0.0f, false, false, false, 0.5f,
                                   0.0f, 0, 0.0f, 0.0f);
}

/// A renderer with its pictures, rendered once.
struct sKept
{
    Vornik::cBitmapXYZ32 fInput;
    Vornik::cBitmapBGR8 fOutput;
    std::unique_ptr<Vornik::cTmRenderer> fRenderer = std::make_unique<Vornik::cTmRenderer>();

    explicit sKept(const sSize& pSize)
        : fInput(pSize.fWidth, pSize.fHeight), fOutput(pSize.fWidth, pSize.fHeight, Vornik::eColorSpace_sRGB)
    {
        FillXYZ(fInput);
        fRenderer->SetInput(&fInput);
        fRenderer->SetOutput(&fOutput);
        SetMiddleParams(*fRenderer);
        fRenderer->Render();
    }
};

/// The renderer of that size. One is kept.
inline sKept& KeptOf(const sSize& pSize)
{
    static cLatest<sSize, sKept> latest;
    return latest.Get(pSize, [&] { return std::make_unique<sKept>(pSize); });
}

/// Two curves that take turns, so that each render has a new one.
class cNewCurve
{
public:
    const Vornik::cHermiteSpline& Next() { return fCurves[fTurn ^= 1]; }

private:
    Vornik::cHermiteSpline fCurves[2] = {{0.0f, 0.4f, 1.0f, 0.6f}, {0.0f, 0.6f, 1.0f, 0.4f}};
    size_t fTurn = 0;
};

} // namespace SelvaneBench

#endif
