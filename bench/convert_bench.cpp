// What do conversions between the kinds of pictures cost, against a copy of the bytes that they read and write?

#include "Measure.h"
#include "Scene.h"

#include "bitmap/cBitmapBGR16.h"
#include "bitmap/cBitmapBGR8.h"
#include "bitmap/cBitmapU16T.h"
#include "bitmap/cBitmapXYZ32.h"
#include "bitmap/cBitmapXYZ32T.h"
#include "bitmap/cBitmapY8.h"
#include "color/cColorSpace.h"
#include "equalizer/cColorEqRenderer.h"
#include "image/cImageUtils.h"
#include "yhmv/cYHMVColorSpace.h"

#include <cstring>
#include <memory>
#include <string>

namespace SelvaneBench
{

namespace
{

using namespace Vornik;

/// A picture of each kind. The floats are the scene between 0 and 1; a target holds what the last case left.
struct sPictures
{
    cBitmapBGR8 fFrom8;
    cBitmapBGR16 fFrom16;
    cBitmapXYZ32 fFromFloat;
    cBitmapBGR8 fTo8;
    cBitmapBGR16 fTo16;
    cBitmapXYZ32 fToFloat;
    cBitmapU16T fYHMV;
    cBitmapU16T fHMV;
    std::unique_ptr<cBitmapY8> fGrey;
    std::unique_ptr<cYHMVColorSpace> fSpace = std::make_unique<cYHMVColorSpace>();
    cTransferLUT_F32I16 fEncode;
    std::vector<float> fContrast = std::vector<float>(65537);
    std::vector<unsigned char> fBytes;

    explicit sPictures(const sSize& pSize)
        : fFrom8(pSize.fWidth, pSize.fHeight, eColorSpace_sRGB), fFrom16(pSize.fWidth, pSize.fHeight, eColorSpace_sRGB),
          fFromFloat(pSize.fWidth, pSize.fHeight), fTo8(pSize.fWidth, pSize.fHeight, eColorSpace_sRGB),
          fTo16(pSize.fWidth, pSize.fHeight, eColorSpace_sRGB), fToFloat(pSize.fWidth, pSize.fHeight),
          fYHMV(pSize.fWidth, pSize.fHeight, 7), fHMV(pSize.fWidth, pSize.fHeight, 5),
          fEncode(fTo8.GetColorSpace()->GetFromLinearTransfer()), fBytes(static_cast<size_t>(pSize.Pixels()) * 6)
    {
        fFrom16.CopyFromLittleEndianRGB16(pSize.fWidth, pSize.fHeight, 6 * pSize.fWidth,
                                          reinterpret_cast<unsigned short*>(Scene(16, pSize).data()));
        cImageUtils::Convert(&fFrom16, &fFrom8);
        cImageUtils::BGR16ToBGR32(&fFrom16, &fFromFloat);
        cYHMVColorSpace::XYZToYHMV(nullptr, nullptr, &fFromFloat, &fYHMV);
        cYHMVColorSpace::RGBToHMV(nullptr, nullptr, &fFrom8, &fHMV);
        fGrey.reset(cBitmapY8::FromBitmapLDR(&fFrom8));
        for (size_t i = 0; i < fContrast.size(); i++)
            fContrast[i] = static_cast<float>(i) / 65535.0f;
    }
};

sPictures& PicturesOf(const sSize& pSize)
{
    static cLatest<sSize, sPictures> latest;
    return latest.Get(pSize, [&] { return std::make_unique<sPictures>(pSize); });
}

struct sConversion
{
    const char* fName;
    double fBytes; ///< that it reads and writes for a pixel
    void (*fRun)(sPictures&);
};

// Calls that return a new picture include its making and its deletion.
constexpr sConversion kConversions[] = {
    {"BGR8ToBGR32", 15, [](sPictures& p) { cImageUtils::BGR8ToBGR32(&p.fFrom8, &p.fToFloat); }},
    {"BGR32ToBGR8", 15, [](sPictures& p) { cImageUtils::BGR32ToBGR8(&p.fFromFloat, &p.fTo8); }},
    {"BGR16ToBGR32", 18, [](sPictures& p) { cImageUtils::BGR16ToBGR32(&p.fFrom16, &p.fToFloat); }},
    {"BGR32ToBGR16", 18, [](sPictures& p) { cImageUtils::BGR32ToBGR16(&p.fFromFloat, &p.fTo16); }},
    {"BGR8ToBGR32Linear", 15, [](sPictures& p) { cImageUtils::BGR8ToBGR32Linear(&p.fFrom8, &p.fToFloat); }},
    {"BGR32LinearToBGR8", 15, [](sPictures& p) { cImageUtils::BGR32LinearToBGR8(&p.fFromFloat, &p.fTo8); }},
    {"BGR16ToBGR32Linear", 18, [](sPictures& p) { cImageUtils::BGR16ToBGR32Linear(&p.fFrom16, &p.fToFloat); }},
    {"BGR32LinearToBGR16", 18, [](sPictures& p) { cImageUtils::BGR32LinearToBGR16(&p.fFromFloat, &p.fTo16); }},
    {"8ToXYZ32", 15, [](sPictures& p) { p.fFrom8.ToXYZ32(&p.fToFloat); }},
    {"16ToXYZ32", 18, [](sPictures& p) { p.fFrom16.ToXYZ32(&p.fToFloat); }},
    {"8FromXYZ32", 15, [](sPictures& p) { p.fTo8.FromXYZ32(&p.fFromFloat); }},
    {"16FromXYZ32", 18, [](sPictures& p) { p.fTo16.FromXYZ32(&p.fFromFloat); }},
    {"16To8", 9, [](sPictures& p) { cImageUtils::Convert(&p.fFrom16, &p.fTo8); }},
    {"8To16", 9, [](sPictures& p) { cImageUtils::Convert(&p.fFrom8, &p.fTo16); }},
    {"XYZToYHMV", 26, [](sPictures& p) { cYHMVColorSpace::XYZToYHMV(nullptr, nullptr, &p.fFromFloat, &p.fYHMV); }},
    {"8ToHMV", 13, [](sPictures& p) { cYHMVColorSpace::RGBToHMV(nullptr, nullptr, &p.fFrom8, &p.fHMV); }},
    {"16ToHMV", 16, [](sPictures& p) { cYHMVColorSpace::RGBToHMV(nullptr, nullptr, &p.fFrom16, &p.fHMV); }},
    {"YHMVTo8", 17,
     [](sPictures& p) {
         p.fSpace->YHMVToRGB(&p.fYHMV, &p.fTo8, p.fEncode.fLUT, 1.0f, 0.0f, 0.9f, p.fTo8.fColorSpace->fFromPCS,
                             p.fContrast.data(), nullptr);
     }},
    {"HMVTo8", 13,
     [](sPictures& p) {
         p.fSpace->HMVToRGB(&p.fHMV, &p.fTo8, p.fEncode.fLUT, p.fTo8.fColorSpace->fFromPCS, p.fContrast.data());
     }},
    {"XYZ32TiledCopy", 24, [](sPictures& p) { const cBitmapXYZ32T tiled(&p.fFromFloat); }},
    {"XYZ32Copy", 24, [](sPictures& p) { const cBitmapXYZ32 copy(&p.fFromFloat); }},
    {"BGRFloatToBGR8Data", 15,
     [](sPictures& p) {
         p.fFromFloat.BGRFloatToBGR8Data(p.fTo8.fWidth, p.fTo8.fHeight, 3 * p.fTo8.fWidth, p.fBytes.data());
     }},
    {"CopyToBGR8", 6,
     [](sPictures& p) { p.fFrom8.CopyToBGR8(p.fBytes.data(), p.fTo8.fWidth, p.fTo8.fHeight, 3 * p.fTo8.fWidth); }},
    {"CopyFromRGB16", 12,
     [](sPictures& p) {
         p.fTo16.CopyFromLittleEndianRGB16(p.fTo16.fWidth, p.fTo16.fHeight, 6 * p.fTo16.fWidth,
                                           reinterpret_cast<unsigned short*>(p.fBytes.data()));
     }},
    {"8ToGrey", 4, [](sPictures& p) { p.fGrey.reset(cBitmapY8::FromBitmapLDR(&p.fFrom8)); }},
    {"16ToGrey", 7, [](sPictures& p) { p.fGrey.reset(cBitmapY8::FromBitmapLDR(&p.fFrom16)); }},
    {"greyHalved", 1.25, [](sPictures& p) { delete p.fGrey->Halve(); }},
    {"greyTo8", 4,
     [](sPictures& p) { p.fGrey->CopyToBGR8(p.fBytes.data(), p.fTo8.fWidth, p.fTo8.fHeight, 3 * p.fTo8.fWidth); }},
};

} // namespace

void AddCases()
{
    for (const sSize& size : {k64x64, k6MP, k24MP})
        for (const sConversion& conversion : kConversions)
            Add(std::string("convert/") + size.fName + "/" + conversion.fName, [=](benchmark::State& pState) {
                sPictures& pictures = PicturesOf(size);
                Measure(pState, {size.Pixels(), conversion.fBytes}, [&] { conversion.fRun(pictures); });
            });
}

} // namespace SelvaneBench
