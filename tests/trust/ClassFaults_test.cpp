// Every allocation of a constructor, a From... operation or another operation that makes something fails once: the
// failure has the class that belongs to it, and nothing is lost but the texts of a thrown exception.

#include "Faults.h"
#include "TileHost.h"

#include "bitmap/cBitmapBGR16.h"
#include "bitmap/cBitmapBGR8.h"
#include "bitmap/cBitmapU16T.h"
#include "bitmap/cBitmapXYZ32.h"
#include "bitmap/cBitmapXYZ32T.h"
#include "bitmap/cBitmapY32.h"
#include "bitmap/cBitmapY8.h"
#include "color/cColorSpace.h"
#include "curve/cHermiteSpline.h"
#include "curve/cTransfer.h"
#include "equalizer/cColorEqRenderer.h"
#include "filter/cBilateral.h"
#include "image/cImageUtils.h"
#include "render/cTmRenderer.h"
#include "yhmv/cYHMVColorSpace.h"

#include <gtest/gtest.h>

#if SELVANE_WATCHED_HEAP

#include <algorithm>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

using namespace Vornik;
using namespace SelvaneTest;

namespace
{

constexpr int kWidth = 6;
constexpr int kHeight = 5;

constexpr eColorSpaceID kSpaces[] = {eColorSpace_sRGB, eColorSpace_AdobeRGB98, eColorSpace_ProPhotoRGB};

/// What the operations work on, made outside any watch.
struct sSources
{
    cBitmapBGR8 fBGR8{kWidth, kHeight, eColorSpace_sRGB};
    cBitmapBGR16 fBGR16{kWidth, kHeight, eColorSpace_AdobeRGB98};
    cBitmapXYZ32 fXYZ{kWidth, kHeight};
    cBitmapY8 fGrey{kWidth, kHeight};
    std::vector<unsigned char> fPixels = std::vector<unsigned char>(6 * kWidth * kHeight, 40);
    std::vector<float> fPlane = std::vector<float>(kWidth * kHeight);
    std::vector<float> fResult = std::vector<float>(kWidth * kHeight);
    unsigned short fTable[5] = {0, 9000, 20000, 41000, 65535};
    cColorSpace_sRGB fSpace;
    cColorSpace_AdobeRGB98 fAdobe;
    cTransferGamma fTransfer{2.2f};
    cTransfer_Table fTableTransfer{fTable, 5};
    cHermiteSpline fCurve{0.0f, 0.1f, 0.5f, 0.9f, 1.0f, 0.2f};

    sSources()
    {
        cImageUtils::Fill(&fBGR8, 10, 90, 200);
        cImageUtils::Fill(&fBGR16, 1000, 9000, 60000);
        cImageUtils::Fill(&fXYZ, 0.2f, 0.5f, 0.7f);
        std::fill_n(fGrey.fData, fGrey.fStride * fGrey.fHeight, static_cast<unsigned char>(7));
        for (size_t i = 0; i < fPlane.size(); i++)
            fPlane[i] = static_cast<float>(i * i % 17) / 17.0f;
    }
};

sSources& Sources()
{
    static sSources sources;
    return sources;
}

/// Makes an object in memory of its own and destroys it.
template <class tObject, class... tArguments>
void Make(tArguments... pArguments)
{
    const std::unique_ptr<tObject> object(new tObject(pArguments...));
}

/// Destroys what an operation made.
template <class tObject>
void Drop(tObject* pObject)
{
    const std::unique_ptr<tObject> object(pObject);
}

struct sOperation
{
    std::string fName;
    std::function<void()> fCall;
};

void PrintTo(const sOperation& pOperation, std::ostream* pStream)
{
    *pStream << pOperation.fName;
}

std::string NameOf(const testing::TestParamInfo<sOperation>& pInfo)
{
    return pInfo.param.fName;
}

class ClassFaults : public cWatchedHeapTest, public testing::WithParamInterface<sOperation>
{
};

TEST_P(ClassFaults, EveryAllocationMayFail)
{
    Sources();
    ExpectCleanFaults(GetParam().fCall);
}

template <class tBitmap>
void AllocAndFree()
{
    int stride = 0;
    tBitmap::FreeBitmapData(tBitmap::AllocBitmapData(kWidth, kHeight, stride));
}

std::vector<sOperation> Bitmaps()
{
    return {
        {"cBitmapBGR8_ID", [] { Make<cBitmapBGR8>(kWidth, kHeight, eColorSpace_ProPhotoRGB); }},
        {"cBitmapBGR8_Space", [] { Make<cBitmapBGR8>(kWidth, kHeight, &Sources().fAdobe); }},
        {"cBitmapBGR8_Pixels",
         [] { Make<cBitmapBGR8>(kWidth, kHeight, 3 * kWidth, Sources().fPixels.data(), eColorSpace_sRGB); }},
        {"cBitmapBGR16_ID", [] { Make<cBitmapBGR16>(kWidth, kHeight, eColorSpace_AdobeRGB98); }},
        {"cBitmapBGR16_Space", [] { Make<cBitmapBGR16>(kWidth, kHeight, &Sources().fSpace); }},
        {"cBitmapBGR16_FromBGR16Data",
         [] {
             Drop(cBitmapBGR16::FromBGR16Data(kWidth, kHeight, 6 * kWidth, Sources().fPixels.data(), eColorSpace_sRGB));
         }},
        {"cBitmapXYZ32", [] { Make<cBitmapXYZ32>(kWidth, kHeight); }},
        {"cBitmapXYZ32_Copy", [] { Make<cBitmapXYZ32>(&Sources().fXYZ); }},
        {"cBitmapXYZ32T", [] { Make<cBitmapXYZ32T>(kWidth, kHeight); }},
        {"cBitmapXYZ32T_Copy", [] { Make<cBitmapXYZ32T>(&Sources().fXYZ); }},
        {"cBitmapY32", [] { Make<cBitmapY32>(kWidth, kHeight); }},
        {"cBitmapY8", [] { Make<cBitmapY8>(kWidth, kHeight); }},
        {"cBitmapY8_FromBGR8",
         [] { Drop(cBitmapY8::FromBGR8(Sources().fPixels.data(), kWidth, kHeight, 3 * kWidth)); }},
        {"cBitmapY8_FromBGR16",
         [] { Drop(cBitmapY8::FromBGR16(Sources().fBGR16.fData, kWidth, kHeight, Sources().fBGR16.fStride)); }},
        {"cBitmapY8_FromBitmapLDR8", [] { Drop(cBitmapY8::FromBitmapLDR(&Sources().fBGR8)); }},
        {"cBitmapY8_FromBitmapLDR16", [] { Drop(cBitmapY8::FromBitmapLDR(&Sources().fBGR16)); }},
        {"cBitmapY8_Halve", [] { Drop(Sources().fGrey.Halve()); }},
        {"cBitmapU16T", [] { Make<cBitmapU16T>(kWidth, kHeight, 7); }},
        {"AllocBitmapData_BGR8", [] { AllocAndFree<cBitmapBGR8>(); }},
        {"AllocBitmapData_BGR16", [] { AllocAndFree<cBitmapBGR16>(); }},
        {"AllocBitmapData_XYZ32", [] { AllocAndFree<cBitmapXYZ32>(); }},
        {"AllocBitmapData_Y32", [] { AllocAndFree<cBitmapY32>(); }},
        {"AllocBitmapData_Y8", [] { AllocAndFree<cBitmapY8>(); }},
        {"cBitmapBGR8_ToXYZ32", [] { Sources().fBGR8.ToXYZ32(&Sources().fXYZ); }},
        {"cBitmapBGR8_FromXYZ32", [] { Sources().fBGR8.FromXYZ32(&Sources().fXYZ); }},
        {"cBitmapBGR8_ToBGR32Linear", [] { Sources().fBGR8.ToBGR32Linear(&Sources().fXYZ); }},
        {"cBitmapBGR16_ToXYZ32", [] { Sources().fBGR16.ToXYZ32(&Sources().fXYZ); }},
        {"cBitmapBGR16_FromXYZ32", [] { Sources().fBGR16.FromXYZ32(&Sources().fXYZ); }},
        {"cBitmapBGR16_ToBGR32Linear", [] { Sources().fBGR16.ToBGR32Linear(&Sources().fXYZ); }},
    };
}

INSTANTIATE_TEST_SUITE_P(Bitmaps, ClassFaults, testing::ValuesIn(Bitmaps()), NameOf);

std::vector<sOperation> ColorSpaces()
{
    return {
        {"cColorSpace_sRGB", [] { Make<cColorSpace_sRGB>(); }},
        {"cColorSpace_AdobeRGB98", [] { Make<cColorSpace_AdobeRGB98>(); }},
        {"cColorSpace_ProPhotoRGB", [] { Make<cColorSpace_ProPhotoRGB>(); }},
        {"cColorSpace_GenericRGB", [] { Make<cColorSpace_GenericRGB>(); }},
        {"cColorSpace_GenericRGB_Gamma",
         [] {
             const cColorSpace& space = Sources().fSpace;
             Make<cColorSpace_GenericRGB>(space.fRPrimary, space.fGPrimary, space.fBPrimary, space.fWhitePoint, 1.8f);
         }},
        {"cColorSpace_GenericRGB_Tables",
         [] {
             sSources& sources = Sources();
             Make<cColorSpace_GenericRGB>(sources.fSpace.fToPCS, cVector3(0.95f, 1.0f, 1.09f), sources.fTable, 5,
                                          sources.fTable, 4);
         }},
        {"FromID",
         [] {
             for (const eColorSpaceID id : kSpaces)
                 Drop(cColorSpace::FromID(id));
         }},
        {"cColorSpace_sRGB_Clone", [] { Drop(Sources().fSpace.Clone()); }},
        {"cColorSpace_AdobeRGB98_Clone", [] { Drop(cColorSpace_AdobeRGB98().Clone()); }},
        {"cColorSpace_ProPhotoRGB_Clone", [] { Drop(cColorSpace_ProPhotoRGB().Clone()); }},
    };
}

INSTANTIATE_TEST_SUITE_P(ColorSpaces, ClassFaults, testing::ValuesIn(ColorSpaces()), NameOf);

std::vector<sOperation> Transfers()
{
    return {
        {"cTransferGamma", [] { Make<cTransferGamma>(1.8f); }},
        {"cTransferGamma_Clone", [] { Drop(Sources().fTransfer.Clone()); }},
        {"cTransferLinearTo_sRGB_Clone", [] { Drop(cTransferLinearTo_sRGB().Clone()); }},
        {"cTransfer_sRGBToLinear_Clone", [] { Drop(cTransfer_sRGBToLinear().Clone()); }},
        {"cTransfer_Table", [] { Make<cTransfer_Table>(Sources().fTable, 5); }},
        {"cTransfer_Table_Clone", [] { Drop(Sources().fTableTransfer.Clone()); }},
        {"cTransferLUT_I8F32", [] { Make<cTransferLUT_I8F32>(&Sources().fTransfer); }},
        {"cTransferLUT_I16F32", [] { Make<cTransferLUT_I16F32>(&Sources().fTransfer); }},
        {"cTransferLUT_F32I8", [] { Make<cTransferLUT_F32I8>(&Sources().fTransfer); }},
        {"cTransferLUT_F32I16", [] { Make<cTransferLUT_F32I16>(&Sources().fTransfer); }},
    };
}

INSTANTIATE_TEST_SUITE_P(Transfers, ClassFaults, testing::ValuesIn(Transfers()), NameOf);

/// A curve of its own for each call, so that the loss of what it held would show.
template <class tEdit>
std::function<void()> OnKeyFrames(tEdit pEdit)
{
    return [pEdit] {
        cInterpolatedHermiteSpline curve(0.0f, 0.0f, 0.4f, 0.7f, 1.0f, 1.0f);
        pEdit(curve);
    };
}

template <class tEdit>
std::function<void()> OnCurve(tEdit pEdit)
{
    return [pEdit] {
        cHermiteSpline curve(0.0f, 0.0f, 0.4f, 0.7f, 1.0f, 1.0f);
        pEdit(curve);
    };
}

/// Two key frames of two points, as floats.
const float kFrames[24] = {0.0f, 0.0f, 1.0f, 1.0f, 0.5f, 0.5f, 1.0f, 1.0f, 0.5f, 0.5f, 1.0f, 1.0f,
                           0.0f, 0.2f, 1.0f, 1.0f, 0.5f, 0.1f, 1.0f, 0.8f, 0.5f, 0.1f, 1.0f, 1.0f};

std::vector<sOperation> Splines()
{
    using cSpline = cHermiteSpline;
    using cFrames = cInterpolatedHermiteSpline;
    return {
        {"cHermiteSpline", [] { Make<cSpline>(); }},
        {"cHermiteSpline_2", [] { Make<cSpline>(0.0f, 0.0f, 1.0f, 1.0f); }},
        {"cHermiteSpline_3", [] { Make<cSpline>(0.0f, 0.0f, 0.5f, 0.6f, 1.0f, 1.0f); }},
        {"cHermiteSpline_4", [] { Make<cSpline>(0.0f, 0.0f, 0.5f, 0.6f, 0.8f, 0.7f, 1.0f, 1.0f); }},
        {"cHermiteSpline_Copy", [] { const auto copy = std::make_unique<cSpline>(Sources().fCurve); }},
        {"cHermiteSpline_AddPoint", OnCurve([](cSpline& c) { c.AddPoint(0.6f, 0.2f); })},
        {"cHermiteSpline_AddPointManual", OnCurve([](cSpline& c) {
             c.SetInterpolationMode(eSplineManualTangents);
             c.AddPoint(cVector2(0.6f, 0.2f));
         })},
        {"cHermiteSpline_SetControlPoints",
         OnCurve([](cSpline& c) { c.SetControlPoints(eSplineLinear, 3, Sources().fCurve.fPoints); })},
        {"cHermiteSpline_SetOwnControlPoints",
         OnCurve([](cSpline& c) { c.SetControlPoints(eSplineLinear, 2, c.fPoints); })},
        {"cHermiteSpline_Tables", OnCurve([](cSpline& c) {
             c.GetLUT8i();
             c.GetLUT8f();
             c.GetLUT16i();
         })},
        {"cInterpolatedHermiteSpline", [] { Make<cFrames>(); }},
        {"cInterpolatedHermiteSpline_2", [] { Make<cFrames>(0.0f, 0.0f, 1.0f, 1.0f); }},
        {"cInterpolatedHermiteSpline_3", [] { Make<cFrames>(0.0f, 0.0f, 0.5f, 0.6f, 1.0f, 1.0f); }},
        {"cInterpolatedHermiteSpline_4", [] { Make<cFrames>(0.0f, 0.0f, 0.5f, 0.6f, 0.8f, 0.7f, 1.0f, 1.0f); }},
        {"cInterpolatedHermiteSpline_AddPoint", OnKeyFrames([](cFrames& c) { c.AddPoint(0.6f, 0.2f); })},
        {"cInterpolatedHermiteSpline_RemovePointAt", OnKeyFrames([](cFrames& c) { c.RemovePointAt(1); })},
        {"cInterpolatedHermiteSpline_SetControlPoints",
         OnKeyFrames([](cFrames& c) { c.SetControlPoints(eSplineLinear, 3, Sources().fCurve.fPoints); })},
        {"cInterpolatedHermiteSpline_SetKeyFrameCount", OnKeyFrames([](cFrames& c) { c.SetKeyFrameCount(9); })},
        {"cInterpolatedHermiteSpline_SetKeyFrames",
         OnKeyFrames([](cFrames& c) { c.SetKeyFrames(eSplineManualTangents, 2, 2, kFrames); })},
        {"cInterpolatedHermiteSpline_SetOwnKeyFrames",
         OnKeyFrames([](cFrames& c) { c.SetKeyFrames(eSplineCatmullRom, 3, 2, c.GetKeyFrames()); })},
        {"cContrastCurve", [] { Make<cContrastCurve>(); }},
    };
}

INSTANTIATE_TEST_SUITE_P(Splines, ClassFaults, testing::ValuesIn(Splines()), NameOf);

template <class tRenderer>
void SetOtherCurves()
{
    const auto renderer = std::make_unique<tRenderer>();
    renderer->SetHueCurves(&Sources().fCurve, &Sources().fCurve, &Sources().fCurve);
}

std::vector<sOperation> Renderers()
{
    return {
        {"cTmRenderer", [] { Make<cTmRenderer>(); }},
        {"cTmRenderer_SetHueCurves", [] { SetOtherCurves<cTmRenderer>(); }},
        {"cColorEqRenderer", [] { Make<cColorEqRenderer>(); }},
        {"cColorEqRenderer_SetHueCurves", [] { SetOtherCurves<cColorEqRenderer>(); }},
        {"cYHMVColorSpace", [] { Make<cYHMVColorSpace>(); }},
        {"cYHMVColorSpace_RGBToHMV",
         [] {
             bool cancel = false;
             cBitmapU16T records(kWidth, kHeight, 5);
             cYHMVColorSpace::RGBToHMV(&cancel, &cancel, &Sources().fBGR8, &records);
             cYHMVColorSpace::RGBToHMV(&cancel, &cancel, &Sources().fBGR16, &records);
         }},
    };
}

INSTANTIATE_TEST_SUITE_P(Renderers, ClassFaults, testing::ValuesIn(Renderers()), NameOf);

void FilterFast(bool pWrapX)
{
    sSources& sources = Sources();
    bool cancel = false;
    cBilateral::Filter_Fast(&cancel, &cancel, 2, sources.fPlane.data(), sources.fResult.data(), kWidth, kHeight, 2.0f,
                            0.3f, 0.0f, 1.0f, 0.5f, pWrapX);
}

std::vector<sOperation> Filters()
{
    return {
        {"Filter_Fast", [] { FilterFast(false); }},
        {"Filter_FastWrapped", [] { FilterFast(true); }},
        {"Filter_Ref",
         [] {
             sSources& sources = Sources();
             bool cancel = false;
             cBilateral::Filter_Ref(&cancel, &cancel, 2, sources.fPlane.data(), sources.fResult.data(), kWidth, kHeight,
                                    1.0f, 0.3f, 0.0f, 1.0f);
         }},
        {"FastGaussianBlur",
         [] {
             cBilateral::FastGaussianBlur(2, Sources().fPlane.data(), Sources().fResult.data(), kWidth, kHeight, 1.5f);
         }},
    };
}

INSTANTIATE_TEST_SUITE_P(Filters, ClassFaults, testing::ValuesIn(Filters()), NameOf);

std::vector<sOperation> Conversions()
{
    return {
        {"BGR8ToBGR32", [] { Drop(cImageUtils::BGR8ToBGR32(&Sources().fBGR8)); }},
        {"BGR32ToBGR8", [] { Drop(cImageUtils::BGR32ToBGR8(&Sources().fXYZ, eColorSpace_sRGB)); }},
        {"BGR16ToBGR32", [] { Drop(cImageUtils::BGR16ToBGR32(&Sources().fBGR16)); }},
        {"BGR32ToBGR16", [] { Drop(cImageUtils::BGR32ToBGR16(&Sources().fXYZ, eColorSpace_AdobeRGB98)); }},
        {"BGR8ToBGR32Linear", [] { Drop(cImageUtils::BGR8ToBGR32Linear(&Sources().fBGR8)); }},
        {"BGR32LinearToBGR8", [] { Drop(cImageUtils::BGR32LinearToBGR8(&Sources().fXYZ, eColorSpace_ProPhotoRGB)); }},
        {"BGR16ToBGR32Linear", [] { Drop(cImageUtils::BGR16ToBGR32Linear(&Sources().fBGR16)); }},
        {"BGR32LinearToBGR16", [] { Drop(cImageUtils::BGR32LinearToBGR16(&Sources().fXYZ, eColorSpace_sRGB)); }},
    };
}

INSTANTIATE_TEST_SUITE_P(Conversions, ClassFaults, testing::ValuesIn(Conversions()), NameOf);

} // namespace

#endif
