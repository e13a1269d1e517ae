#include "SceneRender.h"

#include "bitmap/cBitmapBGR8.h"
#include "bitmap/cBitmapXYZ32.h"
#include "color/cColorSpace.h"
#include "curve/cHermiteSpline.h"
#include "entry/SliderScales.h"
#include "render/cTmRenderer.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>

using namespace Vornik;
using namespace SelvaneLib;

namespace SelvaneTmqi
{

namespace
{

constexpr int kRequestRender = 1;
constexpr int kRequestMeasure = 9;
constexpr int kRequestBoth = 0;

void SetLook(cTmRenderer& pRenderer, const sLook& pLook, int pRequest, float pBlack, float pWhite)
{
    pRenderer.SetToneMappingParams(GlobalContrast(pLook.compression), Share(0.04, pLook.adaptation), true,
                                   pLook.contrast, true, 0.0f, SpatialSize(pLook.radius), RangeSize(pLook.smoothness),
                                   0.0f, false, false, false, Share(0.05, pLook.white_clip), pLook.black_clip, pRequest,
                                   pBlack, pWhite);
}

void SetSaturation(cTmRenderer& pRenderer, float pSaturation)
{
    const float level = 0.5f + 0.005f * pSaturation;
    const cHermiteSpline neutral(0.0f, 0.5f, 1.0f, 0.5f), saturation(0.0f, level, 1.0f, level);
    pRenderer.SetHueCurves(&neutral, &saturation, &neutral);
}

void FillInput(cBitmapXYZ32& pInput, const sPicture& pPicture)
{
    const size_t row = 3 * static_cast<size_t>(pPicture.fWidth);
    for (int y = 0; y < pPicture.fHeight; y++)
        std::memcpy(pInput.fData + static_cast<ptrdiff_t>(y) * (pInput.fStride / 4),
                    pPicture.fXYZ.data() + static_cast<size_t>(y) * row, row * sizeof(float));
}

tRGB8 RedFirst(const cBitmapBGR8& pPicture)
{
    tRGB8 rgb;
    for (int y = 0; y < pPicture.fHeight; y++) {
        const unsigned char* row = pPicture.fData + static_cast<ptrdiff_t>(y) * pPicture.fStride;
        for (ptrdiff_t x = 0; x < pPicture.fWidth; x++)
            rgb.insert(rgb.end(), {row[3 * x + 2], row[3 * x + 1], row[3 * x]});
    }
    return rgb;
}

/// The pixels of a row or column that a reduced pixel covers, and by how much.
struct sSpan
{
    int fFirst;
    std::vector<double> fShares;
};

std::vector<sSpan> Spans(int pFrom, int pTo)
{
    std::vector<sSpan> spans;
    const double step = static_cast<double>(pFrom) / pTo;
    for (int i = 0; i < pTo; i++) {
        const double begin = i * step, end = std::min((i + 1) * step, static_cast<double>(pFrom));
        sSpan span{static_cast<int>(begin), {}};
        for (int n = span.fFirst; n < end; n++)
            span.fShares.push_back(std::min(end, n + 1.0) - std::max(begin, static_cast<double>(n)));
        spans.push_back(span);
    }
    return spans;
}

void MeanOfArea(const sPicture& pPicture, const sSpan& pAcross, const sSpan& pDown, float* pXYZ)
{
    double sum[3] = {};
    double area = 0.0;
    for (size_t y = 0; y < pDown.fShares.size(); y++)
        for (size_t x = 0; x < pAcross.fShares.size(); x++) {
            const double share = pDown.fShares[y] * pAcross.fShares[x];
            const size_t row = static_cast<size_t>(pDown.fFirst) + y, column = static_cast<size_t>(pAcross.fFirst) + x;
            const float* xyz = &pPicture.fXYZ[3 * (row * static_cast<size_t>(pPicture.fWidth) + column)];
            for (size_t c = 0; c < 3; c++)
                sum[c] += share * static_cast<double>(xyz[c]);
            area += share;
        }
    for (size_t c = 0; c < 3; c++)
        pXYZ[c] = static_cast<float>(sum[c] / area);
}

} // namespace

sPicture FromSRGB(int pWidth, int pHeight, const std::vector<float>& pRGB)
{
    const cMatrix33 m = cColorSpace_sRGB().GetToPCSTransform();
    sPicture picture{pWidth, pHeight, std::vector<float>(pRGB.size())};
    for (size_t i = 0; i < pRGB.size(); i += 3) {
        const float r = pRGB[i], g = pRGB[i + 1], b = pRGB[i + 2];
        picture.fXYZ[i] = m.m00 * r + m.m01 * g + m.m02 * b;
        picture.fXYZ[i + 1] = m.m10 * r + m.m11 * g + m.m12 * b;
        picture.fXYZ[i + 2] = m.m20 * r + m.m21 * g + m.m22 * b;
    }
    return picture;
}

sPicture Reduced(const sPicture& pPicture, int pMost)
{
    const double scale = std::min(1.0, static_cast<double>(pMost) / std::max(pPicture.fWidth, pPicture.fHeight));
    sPicture small{std::max(1, static_cast<int>(std::lround(pPicture.fWidth * scale))),
                   std::max(1, static_cast<int>(std::lround(pPicture.fHeight * scale))),
                   {}};
    small.fXYZ.resize(3 * static_cast<size_t>(small.fWidth) * static_cast<size_t>(small.fHeight));
    const std::vector<sSpan> across = Spans(pPicture.fWidth, small.fWidth),
                             down = Spans(pPicture.fHeight, small.fHeight);
    float* to = small.fXYZ.data();
    for (const sSpan& row : down)
        for (const sSpan& column : across) {
            MeanOfArea(pPicture, column, row, to);
            to += 3;
        }
    return small;
}

sLevels LevelsOf(const sPicture& pPicture)
{
    cLevelCount count;
    count.AddXYZ(pPicture.fXYZ.data(), pPicture.fXYZ.size() / 3);
    return count.Levels();
}

sScene SceneOf(const sPicture& pFull, const sPicture& pReduced)
{
    return {pReduced.fXYZ.data(), nullptr, pReduced.fWidth, pReduced.fHeight, LevelsOf(pFull)};
}

tRGB8 Render(const sPicture& pPicture, const sLook& pLook)
{
    cBitmapXYZ32 input(pPicture.fWidth, pPicture.fHeight);
    FillInput(input, pPicture);
    cBitmapBGR8 output(pPicture.fWidth, pPicture.fHeight, eColorSpace_sRGB);
    const auto renderer = std::make_unique<cTmRenderer>();
    renderer->fLogEnabled = 0;
    renderer->SetInput(&input);
    renderer->SetOutput(&output);
    if (pLook.saturation != 0.0f) SetSaturation(*renderer, pLook.saturation);
    SetLook(*renderer, pLook, pLook.exposure == 0.0f ? kRequestBoth : kRequestMeasure, 0.0f, 0.0f);
    renderer->Render();
    if (pLook.exposure == 0.0f) return RedFirst(output);
    float black = 0.0f, white = 0.0f;
    renderer->GetRequestedStats(&black, &white);
    SetLook(*renderer, pLook, kRequestRender, black, black + (white - black) / std::exp2(pLook.exposure));
    renderer->Render();
    return RedFirst(output);
}

sSuggestion SuggestFor(const sPicture& pPicture, int pMost)
{
    const sPicture reduced = Reduced(pPicture, pMost);
    return Suggest(SceneOf(pPicture, reduced), [&](const sLook& pLook, unsigned char* pRGB8) {
        const tRGB8 preview = Render(reduced, pLook);
        std::copy(preview.begin(), preview.end(), pRGB8);
        return true;
    });
}

} // namespace SelvaneTmqi
