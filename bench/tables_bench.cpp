// What do curves and tables cost, an entry? Every call of the entry builds some of them, however small the picture.

#include "Measure.h"

#include "color/cColorSpace.h"
#include "curve/cHermiteSpline.h"
#include "curve/cTransfer.h"
#include "equalizer/cColorEqRenderer.h"
#include "render/cTmRenderer.h"
#include "yhmv/cYHMVColorSpace.h"

#include <memory>
#include <string>

namespace SelvaneBench
{

namespace
{

using namespace Vornik;

constexpr double kEntries = 65536;

void AddTable(const std::string& pName, double pEntries, double pBytes, const std::function<void()>& pFill)
{
    Add("table/" + pName, [=](benchmark::State& pState) { Measure(pState, {pEntries, pBytes}, pFill); });
}

void AddCurve(const std::string& pName, eSplineInterpolationMode pMode)
{
    const auto curve = std::make_shared<cHermiteSpline>(0.0f, 0.2f, 0.3f, 0.4f, 0.7f, 0.5f, 1.0f, 0.9f);
    curve->SetInterpolationMode(pMode);
    AddTable(pName + "/floats", kEntries, 4, [=] {
        curve->InvalidateLUTs();
        benchmark::DoNotOptimize(curve->GetLUT16f());
    });
    AddTable(pName + "/samples", kEntries, 2, [=] {
        curve->fLUT16iValid = false;
        benchmark::DoNotOptimize(curve->GetLUT16i());
    });
}

template <class tTable, class tTransfer>
void AddTransfer(const std::string& pName, tTransfer pTransfer, double pEntries, double pBytes)
{
    const auto transfer = std::make_shared<tTransfer>(pTransfer);
    const auto table = std::make_shared<tTable>(transfer.get());
    AddTable(pName, pEntries, pBytes, [=] { table->BuildCache(transfer.get()); });
}

void AddHues()
{
    const auto space = std::make_shared<cYHMVColorSpace>();
    const auto shift = std::make_shared<cHermiteSpline>(0.0f, 0.4f, 1.0f, 0.6f);
    AddTable("hues/neutral", kEntries, 12, [=] { space->ComputeHMVToRGBLUT(); });
    AddTable("hues/curves", kEntries, 12 + 4 + 2,
             [=] { space->UpdateHMVToRGBLUT(shift->GetLUT16f(), shift->GetLUT16i()); });
}

template <class tObject>
void AddObject(const std::string& pName)
{
    AddTable("object/" + pName, 1, sizeof(tObject), [] { benchmark::DoNotOptimize(std::make_unique<tObject>()); });
}

} // namespace

void AddCases()
{
    AddCurve("curve", eSplineCatmullRom);
    AddCurve("curveLinear", eSplineLinear);
    AddTransfer<cTransferLUT_I8F32>("decode8/gamma", cTransferGamma(1.0f / 2.2f), 256, 4);
    AddTransfer<cTransferLUT_I16F32>("decode16/gamma", cTransferGamma(1.0f / 2.2f), kEntries, 4);
    AddTransfer<cTransferLUT_I16F32>("decode16/sRGB", cTransfer_sRGBToLinear(), kEntries, 4);
    AddTransfer<cTransferLUT_F32I8>("encode8/sRGB", cTransferLinearTo_sRGB(), kEntries, 1);
    AddTransfer<cTransferLUT_F32I16>("encode16/sRGB", cTransferLinearTo_sRGB(), kEntries, 2);
    AddTransfer<cTransferLUT_F32I16>("encode16/gamma", cTransferGamma(2.2f), kEntries, 2);
    AddHues();
    AddObject<cTmRenderer>("renderer");
    AddObject<cColorEqRenderer>("equalizer");
    AddObject<cColorSpace_sRGB>("sRGB");
}

} // namespace SelvaneBench
