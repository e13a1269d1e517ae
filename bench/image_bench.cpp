// What do the operations on whole pictures cost, against a copy of the bytes that they read and write?

#include "Measure.h"
#include "Scene.h"

#include "bitmap/cBitmapBGR16.h"
#include "bitmap/cBitmapBGR8.h"
#include "bitmap/cBitmapXYZ32.h"
#include "bitmap/cBitmapY8.h"
#include "image/cImageUtils.h"

#include <memory>
#include <string>
#include <vector>

namespace SelvaneBench
{

namespace
{

using namespace Vornik;
using cOperations = cImageUtils;

struct sPictures
{
    cBitmapXYZ32 fFloat;
    cBitmapXYZ32 fOther;
    cBitmapXYZ32 fTarget;
    cBitmapBGR8 f8;
    cBitmapBGR8 fOther8;
    cBitmapBGR16 f16;
    cBitmapBGR16 fOther16;
    std::unique_ptr<cBitmapY8> fGrey;
    cBitmapY8 fOtherGrey;
    std::vector<float> fPlane;
    int fWidth;
    int fHeight;

    explicit sPictures(const sSize& pSize)
        : fFloat(pSize.fWidth, pSize.fHeight), fOther(pSize.fWidth, pSize.fHeight),
          fTarget(pSize.fWidth, pSize.fHeight), f8(pSize.fWidth, pSize.fHeight, eColorSpace_sRGB),
          fOther8(pSize.fWidth, pSize.fHeight, eColorSpace_sRGB), f16(pSize.fWidth, pSize.fHeight, eColorSpace_sRGB),
          fOther16(pSize.fWidth, pSize.fHeight, eColorSpace_sRGB), fOtherGrey(pSize.fWidth, pSize.fHeight),
          fPlane(static_cast<size_t>(pSize.Pixels())), fWidth(pSize.fWidth), fHeight(pSize.fHeight)
    {
        FillXYZ(fFloat);
        FillXYZ(fOther);
        FillXYZ(fTarget);
        cOperations::BGR32ToBGR8(&fFloat, &f8);
        cOperations::BGR32ToBGR16(&fFloat, &f16);
        fGrey.reset(cBitmapY8::FromBitmapLDR(&f8));
        cOperations::Copy(&f8, &fOther8, 0, 0, 0, 0, fWidth, fHeight);
        cOperations::Fill(&fOther16, 1, 2, 3);
        cOperations::ExtractChannel(&fFloat, fPlane.data(), 1);
    }
};

sPictures& PicturesOf(const sSize& pSize)
{
    static cLatest<sSize, sPictures> latest;
    return latest.Get(pSize, [&] { return std::make_unique<sPictures>(pSize); });
}

struct sOperation
{
    const char* fName;
    double fBytes; ///< that it reads and writes for a pixel
    void (*fRun)(sPictures&);
};

constexpr cMatrix33 kTurn{0, 1, 0, 0, 0, 1, 1, 0, 0}; // exchanges the channels: in place, values stay what they are

template <class tResult>
void Keep(tResult pResult)
{
    benchmark::DoNotOptimize(pResult);
}

constexpr sOperation kOperations[] = {
    {"copy8", 6, [](sPictures& p) { cOperations::Copy(&p.f8, &p.fOther8, 0, 0, 0, 0, p.fWidth, p.fHeight); }},
    {"copyGrey", 2,
     [](sPictures& p) { cOperations::Copy(p.fGrey.get(), &p.fOtherGrey, 0, 0, 0, 0, p.fWidth, p.fHeight); }},
    {"fill8", 3, [](sPictures& p) { cOperations::Fill(&p.fOther8, 1, 2, 3); }},
    {"fill16", 6, [](sPictures& p) { cOperations::Fill(&p.fOther16, 1, 2, 3); }},
    {"fillFloat", 12, [](sPictures& p) { cOperations::Fill(&p.fTarget, 0.1f, 0.2f, 0.3f); }},
    {"sub", 36, [](sPictures& p) { cOperations::Sub(&p.fTarget, &p.fOther); }},
    {"mulInPlace", 24, [](sPictures& p) { cOperations::Mul(&p.fTarget, -1.0f); }},
    {"mul", 24, [](sPictures& p) { cOperations::Mul(&p.fFloat, &p.fTarget, 0.5f); }},
    {"mulPictures", 36, [](sPictures& p) { cOperations::Mul(&p.fFloat, &p.fOther, &p.fTarget); }},
    {"clampLow", 24, [](sPictures& p) { cOperations::ClampLow(&p.fTarget, 1, 0.01f); }},
    {"transformInPlace", 24, [](sPictures& p) { cOperations::TransformInPlace(&p.fOther, kTurn); }},
    {"colorTransform", 24, [](sPictures& p) { cOperations::ColorTransform(&p.fFloat, &p.fTarget, kTurn); }},
    {"extractChannel", 16, [](sPictures& p) { cOperations::ExtractChannel(&p.fFloat, p.fPlane.data(), 1); }},
    {"replaceChannel", 28, [](sPictures& p) { cOperations::ReplaceChannel(p.fPlane.data(), &p.fTarget, 1); }},
    {"getMinMax", 12,
     [](sPictures& p) {
         float least = 0;
         float most = 0;
         cOperations::GetMinMax(&p.fFloat, 1, least, most);
         Keep(least + most);
     }},
    {"normalize", 36, [](sPictures& p) { cOperations::Normalize(&p.fTarget, false); }},
    {"normalizeEach", 36, [](sPictures& p) { cOperations::Normalize(&p.fTarget, true); }},
    {"mean", 12,
     [](sPictures& p) {
         float mean[3];
         cOperations::Mean(&p.fFloat, mean[0], mean[1], mean[2]);
         Keep(mean[0]);
     }},
    {"diffFloat", 24, [](sPictures& p) { Keep(cOperations::Diff(&p.fFloat, &p.fOther)); }},
    {"diff8", 6, [](sPictures& p) { Keep(cOperations::Diff(&p.f8, &p.fOther8)); }},
    {"diff16", 12, [](sPictures& p) { Keep(cOperations::Diff(&p.f16, &p.fOther16)); }},
    {"maxDiff8", 6, [](sPictures& p) { Keep(cOperations::MaxDiff(&p.f8, &p.fOther8)); }},
    {"maxDiff16", 12, [](sPictures& p) { Keep(cOperations::MaxDiff(&p.f16, &p.fOther16)); }},
};

} // namespace

void AddCases()
{
    for (const sSize& size : {k64x64, k6MP, k24MP})
        for (const sOperation& operation : kOperations)
            Add(std::string("image/") + size.fName + "/" + operation.fName, [=](benchmark::State& pState) {
                sPictures& pictures = PicturesOf(size);
                Measure(pState, {size.Pixels(), operation.fBytes}, [&] { operation.fRun(pictures); });
            });
}

} // namespace SelvaneBench
