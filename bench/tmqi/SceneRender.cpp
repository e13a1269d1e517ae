#include "SceneRender.h"

#include "suggest/LookSettings.h"

#include <algorithm>
#include <cmath>

using namespace SelvaneLib;

namespace SelvaneTmqi
{

namespace
{

// Linear sRGB to XYZ of D50 (IEC 61966-2-1, adapted by the Bradford matrix).
constexpr float kToXYZ[3][3] = {
    {0.4360747f, 0.3850649f, 0.1430804f}, {0.2225045f, 0.7168786f, 0.0606169f}, {0.0139322f, 0.0971045f, 0.7141733f}};

std::vector<float> XYZOf(const sPicture& pPicture)
{
    std::vector<float> xyz;
    xyz.reserve(pPicture.fRGB.size());
    for (size_t i = 0; i < pPicture.fRGB.size(); i += 3) {
        const float* rgb = &pPicture.fRGB[i];
        for (const auto& row : kToXYZ)
            xyz.push_back(row[0] * rgb[0] + row[1] * rgb[1] + row[2] * rgb[2]);
    }
    return xyz;
}

bool IsFlat(const sPicture& pPicture)
{
    for (size_t i = 0; i < pPicture.fRGB.size(); i += 3)
        if (LuminanceOf(&pPicture.fRGB[i]) != LuminanceOf(pPicture.fRGB.data())) return false;
    return true;
}

sLevels LevelsOf(const sPicture& pPicture)
{
    const std::vector<float> xyz = XYZOf(pPicture);
    cLevelCount count;
    count.AddXYZ(xyz.data(), xyz.size() / 3);
    return count.Levels();
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

void MeanOfArea(const sPicture& pPicture, const sSpan& pAcross, const sSpan& pDown, float* pRGB)
{
    double sum[3] = {};
    double area = 0.0;
    for (size_t y = 0; y < pDown.fShares.size(); y++)
        for (size_t x = 0; x < pAcross.fShares.size(); x++) {
            const double share = pDown.fShares[y] * pAcross.fShares[x];
            const size_t row = static_cast<size_t>(pDown.fFirst) + y, column = static_cast<size_t>(pAcross.fFirst) + x;
            const float* rgb = &pPicture.fRGB[3 * (row * static_cast<size_t>(pPicture.fWidth) + column)];
            for (size_t c = 0; c < 3; c++)
                sum[c] += share * static_cast<double>(rgb[c]);
            area += share;
        }
    for (size_t c = 0; c < 3; c++)
        pRGB[c] = static_cast<float>(sum[c] / area);
}

} // namespace

double LuminanceOf(const float* pRGB)
{
    return 0.2126 * static_cast<double>(pRGB[0]) + 0.7152 * static_cast<double>(pRGB[1]) +
           0.0722 * static_cast<double>(pRGB[2]);
}

sPicture Reduced(const sPicture& pPicture, int pMost)
{
    const double scale = std::min(1.0, static_cast<double>(pMost) / std::max(pPicture.fWidth, pPicture.fHeight));
    sPicture small{std::max(1, static_cast<int>(std::lround(pPicture.fWidth * scale))),
                   std::max(1, static_cast<int>(std::lround(pPicture.fHeight * scale))),
                   {}};
    small.fRGB.resize(3 * static_cast<size_t>(small.fWidth) * static_cast<size_t>(small.fHeight));
    const std::vector<sSpan> across = Spans(pPicture.fWidth, small.fWidth),
                             down = Spans(pPicture.fHeight, small.fHeight);
    float* to = small.fRGB.data();
    for (const sSpan& row : down)
        for (const sSpan& column : across) {
            MeanOfArea(pPicture, column, row, to);
            to += 3;
        }
    return small;
}

void SetPicture(Selvane::cToneMapper& pMapper, const sPicture& pPicture)
{
    pMapper.SetPicture(Selvane::Picture(pPicture.fRGB, pPicture.fWidth, pPicture.fHeight));
}

tRGB8 Render(Selvane::cToneMapper& pMapper, const selvane_settings& pSettings)
{
    pMapper.SetSettings(pSettings);
    return pMapper.Render<uint8_t>().fPixels;
}

cSeen::cSeen(const sPicture& pPicture, int pMost) : fPicture(Reduced(pPicture, pMost)), fXYZ(XYZOf(fPicture))
{
    fScene.fXYZ = fXYZ.data();
    fScene.fWidth = fPicture.fWidth;
    fScene.fHeight = fPicture.fHeight;
    fScene.fLevels = LevelsOf(pPicture);
    fScene.fIsFlat = IsFlat(pPicture);
    SetPicture(fMapper, fPicture);
}

tRGB8 cSeen::Render(const sLook& pLook)
{
    return SelvaneTmqi::Render(fMapper, SettingsOf(pLook));
}

sSuggestion cSeen::Suggest()
{
    return SelvaneLib::Suggest(fScene, [&](const sLook& pLook, unsigned char* pRGB8) {
        const tRGB8 preview = Render(pLook);
        std::copy(preview.begin(), preview.end(), pRGB8);
        return true;
    });
}

} // namespace SelvaneTmqi
