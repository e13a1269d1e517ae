#include "render/Equalize.h"

#include "bitmap/cBitmap.h"
#include "color/cColorSpace.h"
#include "curve/cHermiteSpline.h"
#include "equalizer/cColorEqRenderer.h"
#include "picture/Samples.h"
#include "render/HueControls.h"
#include "write/Space.h"

#include <cstring>
#include <memory>
#include <vector>

namespace SelvaneLib
{

namespace
{

constexpr double kCopyWeight = 1.0; // nanoseconds a pixel, about
constexpr double kEqualizeWeight = 40.0;
constexpr int kRecordBytes = 10; // of a pixel, in the equalizer

/// A curve of ours as the engine calls it.
class cCurveTransfer : public Vornik::cTransfer
{
public:
    using tDirection = double (*)(const sCurve&, double);
    cCurveTransfer(const sCurve& pCurve, tDirection pDirection) : fCurve(pCurve), fDirection(pDirection) {}
    cTransfer* Clone() const override { return new cCurveTransfer(*this); }
    float Function(float pValue) override
    {
        return static_cast<float>(fDirection(fCurve, static_cast<double>(pValue)));
    }

private:
    sCurve fCurve;
    tDirection fDirection;
};

/// Any primaries with any curve.
class cAnySpace : public Vornik::cColorSpace
{
public:
    cAnySpace(const sChromaticities& pChromaticities, const sCurve& pCurve)
        : cColorSpace(
              {pChromaticities.fXY[0], pChromaticities.fXY[1]}, {pChromaticities.fXY[2], pChromaticities.fXY[3]},
              {pChromaticities.fXY[4], pChromaticities.fXY[5]}, {pChromaticities.fXY[6], pChromaticities.fXY[7]}),
          fChromaticities(pChromaticities), fCurve(pCurve)
    {
        fToLinear = new cCurveTransfer(pCurve, Decode);
        fFromLinear = new cCurveTransfer(pCurve, Encode);
    }
    cColorSpace* Clone() const override { return new cAnySpace(fChromaticities, fCurve); }
    char const* GetName() const override { return "RGB"; }

private:
    sChromaticities fChromaticities;
    sCurve fCurve;
};

/// The engine's own space where it has one with this curve.
Vornik::cColorSpace* SpaceOf(int pPrimaries, bool pOwnCurve, const sChromaticities& pChromaticities,
                             const sCurve& pCurve)
{
    Vornik::cColorSpace* const engine =
        pOwnCurve ? Vornik::cColorSpace::FromID(static_cast<Vornik::eColorSpaceID>(pPrimaries)) : nullptr;
    return engine != nullptr ? engine : new cAnySpace(pChromaticities, pCurve);
}

Vornik::cColorSpace* SpaceOf(const selvane_picture& pPicture)
{
    sChromaticities chromaticities{};
    if (pPicture.primaries == SELVANE_CUSTOM)
        std::copy_n(pPicture.chromaticities, 8, chromaticities.fXY);
    else
        chromaticities = ChromaticitiesOf(pPicture.primaries);
    const bool ownCurve = pPicture.transfer == SELVANE_TRANSFER_DEFAULT;
    return SpaceOf(pPicture.primaries, ownCurve, chromaticities, CurveOfSamples(pPicture));
}

Vornik::cColorSpace* SpaceOf(const selvane_target& pTarget)
{
    return SpaceOf(pTarget.space, true, ChromaticitiesOf(pTarget.space), CurveOf(pTarget.space));
}

/// A picture of blue, green, red without gaps, as the equalizer takes it. Unlike the engine's bitmaps it prints
/// nothing.
class cPacked : public Vornik::cBitmapLDR
{
public:
    cPacked(const sLayout& pLayout, Vornik::cColorSpace* pSpace)
        : fSampleBytes(static_cast<size_t>(pLayout.fSampleBytes))
    {
        fColorSpace = pSpace; // owned
        fWidth = pLayout.fWidth;
        fHeight = pLayout.fHeight;
        fStride = 3 * fWidth * pLayout.fSampleBytes;
        fBytes.resize(static_cast<size_t>(fStride) * static_cast<size_t>(fHeight));
    }
    void ToXYZ32(Vornik::cBitmapXYZ32* /*pToXYZ32*/) override {}
    void ToBGR32Linear(Vornik::cBitmapXYZ32* /*pTo*/) override {}
    int GetBitsPerChannel() const override { return 8 * static_cast<int>(fSampleBytes); }
    void* GetBitmapArray() override { return fBytes.data(); }

    void CopyFrom(const unsigned char* pRow, const sLayout& pLayout, int pY)
    {
        unsigned char* to = RowOf(pY);
        for (int x = 0; x < fWidth; x++, pRow += pLayout.fPixel)
            for (int color = 2; color >= 0; color--, to += fSampleBytes)
                std::memcpy(to, pRow + pLayout.OffsetOf(color), fSampleBytes);
    }

    void CopyTo(unsigned char* pRow, const sLayout& pLayout, int pY)
    {
        const unsigned char* from = RowOf(pY);
        for (int x = 0; x < fWidth; x++, pRow += pLayout.fPixel)
            for (int color = 2; color >= 0; color--, from += fSampleBytes)
                std::memcpy(pRow + pLayout.OffsetOf(color), from, fSampleBytes);
    }

private:
    unsigned char* RowOf(int pY) { return fBytes.data() + static_cast<size_t>(pY) * static_cast<size_t>(fStride); }

    std::vector<unsigned char> fBytes;
    const size_t fSampleBytes;
};

/// An alpha sample in 16 bits.
unsigned Alpha16(const unsigned char* pAt, int pSampleBytes)
{
    if (pSampleBytes == 1) return 257U * *pAt;
    uint16_t sample = 0;
    std::memcpy(&sample, pAt, sizeof sample);
    return sample;
}

/// Alpha in the target's form, rounded to the nearest; the largest value without alpha.
void CopyAlpha(const unsigned char* pFrom, const sLayout& pLayout, unsigned char* pTo, const sLayout& pToLayout)
{
    for (int x = 0; x < pLayout.fWidth; x++, pFrom += pLayout.fPixel, pTo += pToLayout.fPixel) {
        const unsigned alpha =
            pLayout.fChannels == 4 ? Alpha16(pFrom + pLayout.OffsetOfAlpha(), pLayout.fSampleBytes) : 65535U;
        const auto narrow = static_cast<unsigned char>((alpha + 128U) / 257U);
        const auto wide = static_cast<uint16_t>(alpha);
        if (pToLayout.fSampleBytes == 1)
            pTo[pToLayout.OffsetOfAlpha()] = narrow;
        else
            std::memcpy(pTo + pToLayout.OffsetOfAlpha(), &wide, sizeof wide);
    }
}

void SetCurve(Vornik::cHermiteSpline& pSpline, const selvane_curve& pCurve)
{
    const std::vector<Vornik::sControlPoint> points = ControlPoints(pCurve);
    pSpline.SetControlPoints(Vornik::eSplineManualTangents, static_cast<int>(points.size()), points.data());
}

void RenderHues(cPacked& pFrom, const selvane_settings& pSettings, cPacked& pTo)
{
    Vornik::cHermiteSpline hue, saturation, lightness;
    SetCurve(hue, pSettings.hue);
    SetCurve(saturation, pSettings.hue_saturation);
    SetCurve(lightness, pSettings.hue_lightness);
    const auto renderer = std::make_unique<Vornik::cColorEqRenderer>();
    renderer->SetInput(&pFrom);
    renderer->SetOutput(&pTo);
    renderer->SetHueCurves(&hue, &saturation, &lightness);
    renderer->Render();
}

} // namespace

int64_t EqualizeBytes(const sLayout& pFrom, const sLayout& pTo)
{
    return int64_t{pFrom.fWidth} * pFrom.fHeight * (3 * (pFrom.fSampleBytes + pTo.fSampleBytes) + kRecordBytes);
}

void Equalize(const selvane_picture& pPicture, const sLayout& pFrom, const selvane_settings& pSettings,
              const selvane_target& pTarget, const sLayout& pTo, cRun& pRun)
{
    cPacked from(pFrom, SpaceOf(pPicture));
    cPacked to(pTo, SpaceOf(pTarget));
    const auto* const input = static_cast<const unsigned char*>(pPicture.pixels);
    auto* const output = static_cast<unsigned char*>(pTarget.pixels);
    pRun.Begin(SELVANE_STAGE_READ, kCopyWeight);
    for (int y = 0; y < pFrom.fHeight; y++)
        from.CopyFrom(input + pFrom.OffsetOfRow(y), pFrom, y);
    pRun.Begin(SELVANE_STAGE_WRITE, kEqualizeWeight);
    RenderHues(from, pSettings, to);
    pRun.Advance(1.0);
    pRun.ThrowIfCancelled();
    for (int y = 0; y < pTo.fHeight; y++) {
        to.CopyTo(output + pTo.OffsetOfRow(y), pTo, y);
        if (pTo.fChannels == 4) CopyAlpha(input + pFrom.OffsetOfRow(y), pFrom, output + pTo.OffsetOfRow(y), pTo);
    }
}

} // namespace SelvaneLib
