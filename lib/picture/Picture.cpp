#include "picture/Picture.h"

#include "api/Failure.h"
#include "base/BigPages.h"
#include "base/Versions.h"
#include "color/MatrixProduct.h"
#include "picture/Half.h"
#include "picture/Samples.h"
#include "picture/Statistics.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace SelvaneLib
{

namespace
{

constexpr int kStrip = 128;          // pixels
constexpr double kCountWeight = 0.3; // of kReadWeight: counting odd samples

/// Whether the engine can divide a colour by its luminance. If it cannot, the quotients are infinite, and the pixel
/// comes out white, however dark it is.
SELVANE_INLINE bool HasColor(float pX, float pY, float pZ)
{
    return pY >= 0x1p-126f && pY * 0x1p100f >= pX && pY * 0x1p100f >= pZ;
}

/// pCount colours of red, green, blue times the matrix. Without a colour they are black.
SELVANE_CLONES void Transform(const float* pLinear, int pCount, Vornik::cMatrix33 m, float* pXYZ)
{
    for (ptrdiff_t n = 0; n < pCount; n++) {
        const float red = pLinear[3 * n], green = pLinear[3 * n + 1], blue = pLinear[3 * n + 2];
        const float x = Vornik::FusedRow(m.m00, m.m01, m.m02, red, green, blue);
        const float y = Vornik::FusedRow(m.m10, m.m11, m.m12, red, green, blue);
        const float z = Vornik::FusedRow(m.m20, m.m21, m.m22, red, green, blue);
        const bool color = HasColor(x, y, z);
        pXYZ[3 * n] = color ? x : 0.0f;
        pXYZ[3 * n + 1] = color ? y : 0.0f;
        pXYZ[3 * n + 2] = color ? z : 0.0f;
    }
}

const unsigned char* RowOf(const selvane_picture& pPicture, const sLayout& pLayout, int pRow)
{
    return static_cast<const unsigned char*>(pPicture.pixels) + pLayout.OffsetOfRow(pRow);
}

sOddSamples CountAllOddSamples(const selvane_picture& pPicture, const sLayout& pLayout, cRun& pRun)
{
    std::vector<sOddSamples> slots(static_cast<size_t>(pRun.Threads()));
    pRun.DivideOrThrow(0, pLayout.fHeight, pLayout.fWidth, [&](int pSlot, int pBegin, int pEnd) {
        for (int y = pBegin; y < pEnd; y++)
            slots[static_cast<size_t>(pSlot)].Add(CountOddSamples(RowOf(pPicture, pLayout, y), pLayout));
    });
    sOddSamples all;
    for (const sOddSamples& slot : slots)
        all.Add(slot);
    return all;
}

void CopyAlpha(const unsigned char* pRow, const sLayout& pLayout, int pY, cPicture& pTo)
{
    if (!pTo.HasAlpha()) return;
    unsigned char* to = pTo.fAlpha.data() + int64_t{pY} * pLayout.fWidth * pTo.fAlphaBytes;
    const unsigned char* from = pRow + pLayout.OffsetOfAlpha();
    for (int x = 0; x < pLayout.fWidth; x++, from += pLayout.fPixel, to += pTo.fAlphaBytes)
        std::memcpy(to, from, static_cast<size_t>(pTo.fAlphaBytes));
}

/// One row: XYZ, alpha and the histogram of what counts.
void ReadRow(const cSampleReader& pReader, const unsigned char* pRow, const sLayout& pLayout,
             const Vornik::cMatrix33& pMatrix, int pY, cPicture& pTo, cLuminanceHistogram& pHistogram)
{
    float linear[3 * kStrip];
    float* xyz = pTo.Row(pY);
    CopyAlpha(pRow, pLayout, pY, pTo);
    for (int x = 0; x < pLayout.fWidth; x += kStrip, xyz += ptrdiff_t{3} * kStrip) {
        const int count = std::min(kStrip, pLayout.fWidth - x);
        pReader.Read(pRow, x, count, linear);
        Transform(linear, count, pMatrix, xyz);
        for (int n = 0; n < count; n++)
            if (!pTo.HasAlpha() || pTo.IsVisible(int64_t{pY} * pLayout.fWidth + x + n)) pHistogram.Add(xyz[3 * n + 1]);
    }
}

cLuminanceHistogram ReadRows(const selvane_picture& pPicture, const sLayout& pLayout, float pInstead, cPicture& pTo,
                             cRun& pRun)
{
    const cSampleReader reader(pPicture, pLayout, pInstead);
    const Vornik::cMatrix33 matrix = ToXYZ(pPicture.primaries, pPicture.chromaticities);
    std::vector<cLuminanceHistogram> slots(static_cast<size_t>(pRun.Threads()));
    pRun.DivideOrThrow(0, pLayout.fHeight, pLayout.fWidth, [&](int pSlot, int pBegin, int pEnd) {
        for (int y = pBegin; y < pEnd; y++)
            ReadRow(reader, RowOf(pPicture, pLayout, y), pLayout, matrix, y, pTo, slots[static_cast<size_t>(pSlot)]);
    });
    cLuminanceHistogram all;
    for (const cLuminanceHistogram& slot : slots)
        all.Add(slot);
    return all;
}

void CheckTransfer(const selvane_picture& pPicture)
{
    Require(pPicture.transfer >= SELVANE_TRANSFER_DEFAULT && pPicture.transfer <= SELVANE_TRANSFER_ENGINE,
            "transfer is unknown");
    if (pPicture.transfer == SELVANE_TRANSFER_POWER)
        Require(pPicture.gamma > 0.0f && pPicture.gamma <= 10.0f, "gamma is not above 0 and at most 10");
    if (pPicture.transfer == SELVANE_TRANSFER_ENGINE)
        Require(IsOfIntegers(pPicture.format) && pPicture.primaries <= SELVANE_PROPHOTO,
                "the engine's transfer needs integers and one of the first three primaries");
    if (pPicture.format == SELVANE_RGBE || pPicture.format == SELVANE_RGBE_PLANES)
        Require(pPicture.transfer <= SELVANE_TRANSFER_LINEAR, "exponents are linear");
}

} // namespace

cPicture::cPicture(int pWidth, int pHeight) : fXYZ(pWidth, pHeight) {}

float cPicture::AlphaAt(int64_t pPixel) const
{
    if (fAlpha.empty()) return 1.0f;
    const unsigned char* at = AlphaSample(pPixel);
    uint16_t code = 0;
    float value = 0.0f;
    switch (fAlphaFormat) {
    case SELVANE_U8:
        return static_cast<float>(*at) / 255.0f;
    case SELVANE_U16:
        std::memcpy(&code, at, sizeof code);
        return static_cast<float>(code) / 65535.0f;
    case SELVANE_F16:
        std::memcpy(&code, at, sizeof code);
        return FromHalf(code);
    default:
        std::memcpy(&value, at, sizeof value);
        return value;
    }
}

int64_t PictureBytes(int pWidth, int pHeight, int pAlphaBytes)
{
    return int64_t{pWidth} * pHeight * (12 + pAlphaBytes) + 65536;
}

void CheckPicture(const selvane_picture& pPicture)
{
    Require(IsSpace(pPicture.primaries), "primaries are unknown");
    CheckTransfer(pPicture);
    Require(pPicture.keep_hot_samples == 0 || pPicture.keep_hot_samples == 1, "keep_hot_samples is neither 0 nor 1");
    Require(pPicture.reserved == 0, "reserved is not 0");
    Require(IsUsable(ToXYZ(pPicture.primaries, pPicture.chromaticities)), "chromaticities make no colour space");
}

std::unique_ptr<cPicture> ReadPicture(const selvane_picture& pPicture, const sLayout& pLayout, cRun& pRun)
{
    auto picture = std::make_unique<cPicture>(pLayout.fWidth, pLayout.fHeight);
    const bool alpha = pPicture.channels == 4;
    picture->fOfIntegers = IsOfIntegers(pLayout.fFormat);
    if (alpha) {
        picture->fAlphaFormat = pLayout.fFormat;
        picture->fAlphaBytes = pLayout.fSampleBytes;
        picture->fAlpha.resize(static_cast<size_t>(picture->Pixels() * pLayout.fSampleBytes));
    }
    pRun.Begin(SELVANE_STAGE_READ, kCountWeight);
    const sOddSamples odd = picture->fOfIntegers ? sOddSamples{} : CountAllOddSamples(pPicture, pLayout, pRun);
    pRun.Begin(SELVANE_STAGE_READ, kReadWeight - kCountWeight);
    cLuminanceHistogram histogram = ReadRows(pPicture, pLayout, odd.fLargest, *picture, pRun);
    sStatistics& statistics = picture->fStatistics;
    if (!picture->fOfIntegers && pPicture.keep_hot_samples == 0)
        statistics.fHot = TameHotPixels(*picture, histogram, pRun);
    statistics.fNaN = odd.fNaN;
    statistics.fNegative = odd.fNegative;
    statistics.fInfinite = odd.fInfinite;
    histogram.Measure(statistics);
    picture->fHasInvisible = statistics.fVisible < picture->Pixels();
    if (picture->fHasInvisible) GreyInvisiblePixels(*picture, pRun);
    return picture;
}

} // namespace SelvaneLib
