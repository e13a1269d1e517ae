#include "command/Equalize.h"

#include "bitmap/cBitmapBGR16.h"
#include "bitmap/cBitmapBGR8.h"
#include "bitmap/cException.h"
#include "command/HueCurve.h"
#include "command/ProgressLines.h"
#include "curve/cHermiteSpline.h"
#include "equalizer/cColorEqRenderer.h"
#include "write/PictureWriter.h"

#include <memory>

namespace SelvaneHost
{

namespace
{

constexpr double kNeutral = 0.5; // a curve of this value changes nothing

struct sHueCurves
{
    Vornik::cHermiteSpline fHueShift;
    Vornik::cHermiteSpline fSaturation;
    Vornik::cHermiteSpline fLightness;
};

/// Sets the curve from the list of an option. An empty list gives a flat, neutral curve.
void SetCurve(Vornik::cHermiteSpline& pCurve, const std::string& pList, const char* pOption)
{
    const std::vector<Vornik::sControlPoint> points =
        CircularControlPoints(pList.empty() ? std::vector<sHuePoint>{{0.0, kNeutral}} : ParseHuePoints(pList, pOption));
    pCurve.SetControlPoints(Vornik::eSplineManualTangents, static_cast<int>(points.size()), points.data());
}

/// Copies a row and swaps red and blue. Pictures begin a pixel with red, bitmaps with blue.
template <typename tSample>
void CopySwapped(const tSample* pFrom, tSample* pTo, int pWidth)
{
    for (int i = 0; i < 3 * pWidth; i += 3) {
        pTo[i] = pFrom[i + 2];
        pTo[i + 1] = pFrom[i + 1];
        pTo[i + 2] = pFrom[i];
    }
}

void CopySwapped(const unsigned char* pFrom, unsigned char* pTo, const sPicture& pPicture)
{
    if (pPicture.fForm == eSamples8)
        CopySwapped(pFrom, pTo, pPicture.fWidth);
    else
        CopySwapped(reinterpret_cast<const uint16_t*>(pFrom), reinterpret_cast<uint16_t*>(pTo), pPicture.fWidth);
}

unsigned char* RowOf(Vornik::cBitmapLDR& pBitmap, int pRow)
{
    return static_cast<unsigned char*>(pBitmap.GetBitmapArray()) +
           static_cast<size_t>(pRow) * static_cast<size_t>(pBitmap.GetStride());
}

/// Returns an empty bitmap with the size and the depth of the picture.
std::unique_ptr<Vornik::cBitmapLDR> NewBitmap(const sPicture& pPicture, Vornik::eColorSpaceID pSpace)
{
    if (pPicture.fForm == eSamples8)
        return std::make_unique<Vornik::cBitmapBGR8>(pPicture.fWidth, pPicture.fHeight, pSpace);
    return std::make_unique<Vornik::cBitmapBGR16>(pPicture.fWidth, pPicture.fHeight, pSpace);
}

void CopyToBitmap(const sPicture& pFrom, Vornik::cBitmapLDR& pTo)
{
    for (int y = 0; y < pFrom.fHeight; y++)
        CopySwapped(Row(pFrom, y), RowOf(pTo, y), pFrom);
}

void CopyFromBitmap(Vornik::cBitmapLDR& pFrom, sPicture& pTo)
{
    for (int y = 0; y < pTo.fHeight; y++)
        CopySwapped(RowOf(pFrom, y), Row(pTo, y), pTo);
}

void Equalize(const sPicture& pInput, sPicture& pOutput, Vornik::eColorSpaceID pSpace, const sHueCurves& pCurves,
              bool pVerbose)
{
    const cProgressLines lines(!pVerbose); // bitmaps print a line when they are released
    try {
        const std::unique_ptr<Vornik::cBitmapLDR> from = NewBitmap(pInput, pSpace);
        const std::unique_ptr<Vornik::cBitmapLDR> to = NewBitmap(pOutput, pSpace);
        const auto renderer = std::make_unique<Vornik::cColorEqRenderer>();
        CopyToBitmap(pInput, *from);
        renderer->SetInput(from.get());
        renderer->SetOutput(to.get());
        renderer->SetHueCurves(&pCurves.fHueShift, &pCurves.fSaturation, &pCurves.fLightness);
        renderer->Render();
        CopyFromBitmap(*to, pOutput);
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
    const std::string& path = pOptions.fOutput.fPath;
    const eFileKind kind = KindFor(path);
    CheckDepth(pOptions.fOutput, kind);
    sHueCurves curves;
    SetCurve(curves.fHueShift, pOptions.fHueShift, "--hue-shift");
    SetCurve(curves.fSaturation, pOptions.fSaturation, "--saturation");
    SetCurve(curves.fLightness, pOptions.fLightness, "--lightness");
    CheckOutput(pOptions.fInput, pOptions.fOutput);

    const sPicture input = Read(pOptions.fInput);
    const Vornik::eColorSpaceID space = SpaceOf(input, pOptions.fInput, pOptions.fColorSpace);
    const sPicture output = About(pOptions.fInput, [&] {
        if (input.fForm == eExponentPlanes)
            throw cHostError("holds high-dynamic-range values; tone-map it first, then equalize the result");
        sPicture picture = Blank(input, DepthFor(pOptions.fOutput, kind, input.fForm));
        Equalize(input, picture, space, curves, pOptions.fVerbose);
        return picture;
    });
    About(path, [&] { WritePicture(output, space, kind, path); });
}

} // namespace SelvaneHost
