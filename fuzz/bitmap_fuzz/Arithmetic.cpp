// Arithmetic on float pictures, fills, single channels and measures.

#include "bitmap_fuzz/Steps.h"
#include "image/cImageUtils.h"

namespace SelvaneFuzz
{

namespace
{

using namespace Vornik;

/// pSecond may be pFirst itself.
using tCalculation = void (*)(cBytes& pBytes, sPictures& pPictures, cBitmapXYZ32& pFirst, cBitmapXYZ32& pSecond);

constexpr tCalculation kCalculations[] = {
    [](cBytes&, sPictures&, cBitmapXYZ32& x, cBitmapXYZ32& y) { cImageUtils::Sub(&x, &y); },
    [](cBytes& b, sPictures&, cBitmapXYZ32& x, cBitmapXYZ32&) { cImageUtils::Mul(&x, b.Float()); },
    [](cBytes& b, sPictures&, cBitmapXYZ32& x, cBitmapXYZ32& y) { cImageUtils::Mul(&y, &x, b.Float()); },
    [](cBytes&, sPictures& p, cBitmapXYZ32& x, cBitmapXYZ32& y) { cImageUtils::Mul(&x, &y, &p.fXyz32[1]); },
    [](cBytes& b, sPictures&, cBitmapXYZ32& x, cBitmapXYZ32&) {
        const int channel = b.AnyInt();
        cImageUtils::ClampLow(&x, channel, b.Float());
    },
    [](cBytes& b, sPictures&, cBitmapXYZ32& x, cBitmapXYZ32&) { cImageUtils::TransformInPlace(&x, Matrix(b)); },
    [](cBytes& b, sPictures&, cBitmapXYZ32& x, cBitmapXYZ32& y) { cImageUtils::ColorTransform(&x, &y, Matrix(b)); },
    [](cBytes& b, sPictures&, cBitmapXYZ32& x, cBitmapXYZ32&) { x.Transform(Matrix(b)); },
    [](cBytes& b, sPictures&, cBitmapXYZ32& x, cBitmapXYZ32&) { cImageUtils::Normalize(&x, b.Flag()); },
    [](cBytes& b, sPictures&, cBitmapXYZ32& x, cBitmapXYZ32&) { cImageUtils::Fill(&x, b.Float()); },
};

void FillIntegers(cBytes& pBytes, sPictures& pPictures)
{
    const auto value = pBytes.Raw<unsigned short>();
    cImageUtils::Fill(&pPictures.fBgr8[0], pBytes.Byte());
    cImageUtils::Fill(&pPictures.fBgr8[1], pBytes.Byte(), 1, 2);
    cImageUtils::Fill(&pPictures.fBgr16[0], value);
    cImageUtils::Fill(&pPictures.fBgr16[1], value, 1, 2);
    Check(cImageUtils::MaxDiff(&pPictures.fBgr16[0], &pPictures.fBgr16[0]) == 0);
}

/// A channel as a plane of floats without padding: out, back, and out again.
void UseChannel(cBytes& pBytes, sPictures& pPictures)
{
    cBitmapXYZ32& floats = pPictures.fXyz32[0];
    const cBlock plane(sizeof(float) * static_cast<size_t>(floats.fWidth) * static_cast<size_t>(floats.fHeight));
    const int channel = pBytes.AnyInt();
    cImageUtils::ExtractChannel(&floats, plane.As<float>(), channel);
    Check(std::memcmp(plane.Data(), floats.fData + channel, sizeof(float)) == 0);
    const std::vector<unsigned char> before(plane.Data(), plane.Data() + plane.Size());
    cImageUtils::ReplaceChannel(plane.As<float>(), &floats, channel);
    cImageUtils::ExtractChannel(&floats, plane.As<float>(), channel);
    Check(std::memcmp(plane.Data(), before.data(), before.size()) == 0);
}

} // namespace

void Calculate(cBytes& pBytes, sPictures& pPictures)
{
    cBitmapXYZ32& second = pBytes.Of(pPictures.fXyz32);
    pBytes.Of(kCalculations)(pBytes, pPictures, pPictures.fXyz32[0], second);
}

void FillOrUseChannel(cBytes& pBytes, sPictures& pPictures)
{
    if (pBytes.Flag())
        UseChannel(pBytes, pPictures);
    else
        FillIntegers(pBytes, pPictures);
}

void Measure(cBytes& pBytes, sPictures& pPictures)
{
    const int channel = pBytes.AnyInt();
    float results[3] = {0, 0, 0};
    cImageUtils::Mean(&pPictures.fXyz32[0], results[0], results[1], results[2]);
    Check(cImageUtils::Diff(&pPictures.fBgr8[0], &pPictures.fBgr8[0]) == 0.0);
    const int most = cImageUtils::MaxDiff(&pPictures.fBgr8[0], &pPictures.fBgr8[1]);
    Check(most >= 0 && most <= 255);
    Check(cImageUtils::Diff(&pPictures.fBgr16[0], &pPictures.fBgr16[1]) >= 0.0);
    cImageUtils::Diff(&pPictures.fXyz32[0], &pPictures.fXyz32[1]);
    cImageUtils::GetMinMax(&pPictures.fXyz32[0], channel, results[0], results[1]);
}

} // namespace SelvaneFuzz
