// `selvane equalize`: drives the library's colour equalizer directly, as any host that links against the classes can.

#include "bitmap/cBitmapBGR16.h"
#include "bitmap/cBitmapBGR8.h"
#include "bitmap/cException.h"
#include "command/CommandSteps.h"
#include "command/Commands.h"
#include "command/HueCurve.h"
#include "command/ProgressLines.h"
#include "curve/cHermiteSpline.h"
#include "equalizer/cColorEqRenderer.h"

#include <memory>

namespace SelvaneHost
{

namespace
{

constexpr double kNeutral = 0.5;

struct sHueCurves
{
    Vornik::cHermiteSpline fHueShift;
    Vornik::cHermiteSpline fSaturation;
    Vornik::cHermiteSpline fLightness;
};

/// The curve through the points; flat and neutral without any.
void SetCurve(Vornik::cHermiteSpline& pCurve, const std::vector<sHuePoint>& pPoints)
{
    const std::vector<Vornik::sControlPoint> points =
        CircularControlPoints(pPoints.empty() ? std::vector<sHuePoint>{{0.0, kNeutral}} : pPoints);
    pCurve.SetControlPoints(Vornik::eSplineManualTangents, static_cast<int>(points.size()), points.data());
}

std::vector<sHuePoint> Points(const std::string& pText, const char* pOption)
{
    return pText.empty() ? std::vector<sHuePoint>{} : ParseHuePoints(pText, pOption);
}

/// Copies rows between red, green, blue order and the bitmaps' blue, green, red. The order of the three is turned
/// round, so one function serves both ways.
template <typename tSample>
void TurnRow(const tSample* pFrom, tSample* pTo, int pWidth)
{
    for (int i = 0; i < 3 * pWidth; i += 3) {
        pTo[i] = pFrom[i + 2];
        pTo[i + 1] = pFrom[i + 1];
        pTo[i + 2] = pFrom[i];
    }
}

unsigned char* RowOf(Vornik::cBitmapLDR& pBitmap, int pRow)
{
    return static_cast<unsigned char*>(pBitmap.GetBitmapArray()) +
           static_cast<size_t>(pRow) * static_cast<size_t>(pBitmap.GetStride());
}

void TurnRow(const unsigned char* pFrom, unsigned char* pTo, const sPicture& pPicture)
{
    if (pPicture.fForm == eSamples8)
        TurnRow(pFrom, pTo, pPicture.fWidth);
    else
        TurnRow(reinterpret_cast<const uint16_t*>(pFrom), reinterpret_cast<uint16_t*>(pTo), pPicture.fWidth);
}

std::unique_ptr<Vornik::cBitmapLDR> NewBitmap(const sPicture& pPicture, Vornik::eColorSpaceID pSpace)
{
    if (pPicture.fForm == eSamples8)
        return std::make_unique<Vornik::cBitmapBGR8>(pPicture.fWidth, pPicture.fHeight, pSpace);
    return std::make_unique<Vornik::cBitmapBGR16>(pPicture.fWidth, pPicture.fHeight, pSpace);
}

void Fill(Vornik::cBitmapLDR& pBitmap, const sPicture& pPicture)
{
    for (int y = 0; y < pPicture.fHeight; y++)
        TurnRow(pPicture.fPixels.data() + RowBytes(pPicture) * static_cast<size_t>(y), RowOf(pBitmap, y), pPicture);
}

void Take(Vornik::cBitmapLDR& pBitmap, sPicture& pPicture)
{
    for (int y = 0; y < pPicture.fHeight; y++)
        TurnRow(RowOf(pBitmap, y), pPicture.fPixels.data() + RowBytes(pPicture) * static_cast<size_t>(y), pPicture);
}

void Equalize(const sPicture& pInput, sPicture& pOutput, Vornik::eColorSpaceID pSpace, const sHueCurves& pCurves,
              bool pVerbose)
{
    const cProgressLines lines(!pVerbose); // the bitmaps write a line when they are released
    try {
        const std::unique_ptr<Vornik::cBitmapLDR> from = NewBitmap(pInput, pSpace);
        const std::unique_ptr<Vornik::cBitmapLDR> to = NewBitmap(pOutput, pSpace);
        const auto renderer = std::make_unique<Vornik::cColorEqRenderer>();
        Fill(*from, pInput);
        renderer->SetInput(from.get());
        renderer->SetOutput(to.get());
        renderer->SetHueCurves(&pCurves.fHueShift, &pCurves.fSaturation, &pCurves.fLightness);
        renderer->Render();
        Take(*to, pOutput);
    } catch (const Vornik::cOutOfMemoryException&) {
        throw std::bad_alloc();
    } catch (const Vornik::cException& failure) {
        throw cHostError(std::string("cannot be equalized: ") + failure.what());
    } catch (const Vornik::cException* failure) {
        throw cHostError(std::string("cannot be equalized: ") + failure->what());
    }
}

} // namespace

void RunEqualize(const sEqualizeOptions& pOptions)
{
    const eFileKind kind = KindFor(pOptions.fOutput);
    CheckDepth(pOptions.fDepth, pOptions.fOutput);
    sHueCurves curves;
    SetCurve(curves.fHueShift, Points(pOptions.fHueShift, "--hue-shift"));
    SetCurve(curves.fSaturation, Points(pOptions.fSaturation, "--saturation"));
    SetCurve(curves.fLightness, Points(pOptions.fLightness, "--lightness"));
    CheckOutput(pOptions.fInput, pOptions.fOutput, pOptions.fForce);

    const sPicture input = Read(pOptions.fInput);
    const Vornik::eColorSpaceID space = SpaceOf(input, pOptions.fInput, pOptions.fColorSpace);
    const sPicture output = About(pOptions.fInput, [&] {
        if (input.fForm == eExponentPlanes)
            throw cHostError("holds high-dynamic-range values; tone-map it first, then equalize the result");
        sPicture picture = Blank(input, DepthFor(pOptions.fDepth, kind, input.fForm));
        Equalize(input, picture, space, curves, pOptions.fVerbose);
        return picture;
    });
    About(pOptions.fOutput, [&] { WritePicture(output, space, pOptions.fOutput); });
}

} // namespace SelvaneHost
