#include "picture/Picture.h"

#include "api/Failure.h"
#include "base/BigPages.h"
#include "base/Versions.h"
#include "color/MatrixProduct.h"
#include "picture/DarkSpecks.h"
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
constexpr int kWindow = 4096;        // most pixels of a row of the window that finds dark specks
constexpr double kCountWeight = 0.3; // of kReadWeight: counting odd samples

/// Whether the engine can divide a colour by its luminance. If it cannot, the quotients are infinite, and the pixel
/// comes out white, however dark it is.
SELVANE_INLINE bool HasColor(float pX, float pY, float pZ)
{
    return pY >= 0x1p-126f && pY * 0x1p100f >= pX && pY * 0x1p100f >= pZ;
}

/// Samples of a row of the window, with one pixel more at both ends.
size_t WindowRow(int pWidth)
{
    return 3 * (static_cast<size_t>(std::min(kWindow, pWidth)) + 2);
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

/// What the rows of a picture are read from, and how.
struct sSource
{
    const selvane_picture& fPicture;
    const sLayout& fLayout;
    cSampleReader fReader;
    Vornik::cMatrix33 fMatrix;

    const unsigned char* Row(int pY) const { return RowOf(fPicture, fLayout, pY); }
};

/// What a thread needs, and what it finds.
struct sReadSlot
{
    cLuminanceHistogram fHistogram;
    std::vector<float> fWindow; ///< four rows of WindowRow samples
    int64_t fFilled = 0;
};

/// pCount pixels of a row, from red, green, blue to XYZ and into the histogram. Alpha has been copied.
void StorePixels(const sSource& pSource, const float* pLinear, int pX, int pY, int pCount, cPicture& pTo,
                 cLuminanceHistogram& pHistogram)
{
    float* xyz = pTo.Row(pY) + ptrdiff_t{3} * pX;
    Transform(pLinear, pCount, pSource.fMatrix, xyz);
    const int64_t first = int64_t{pY} * pTo.Width() + pX;
    for (int n = 0; n < pCount; n++)
        if (!pTo.HasAlpha() || pTo.IsVisible(first + n)) pHistogram.Add(xyz[ptrdiff_t{3} * n + 1]);
}

/// Rows as they are.
void ReadPlainRows(const sSource& pSource, int pBegin, int pEnd, cPicture& pTo, sReadSlot& pSlot)
{
    float linear[3 * kStrip];
    for (int y = pBegin; y < pEnd; y++) {
        for (int x = 0; x < pTo.Width(); x += kStrip) {
            const int count = std::min(kStrip, pTo.Width() - x);
            pSource.fReader.Read(pSource.Row(y), x, count, linear);
            StorePixels(pSource, linear, x, y, count, pTo, pSlot.fHistogram);
        }
    }
}

/// pCount pixels of a row and one more at both ends, kNoSample where there is no pixel that counts.
void ReadWithNeighbours(const sSource& pSource, int pX, int pY, int pCount, float* pLinear)
{
    const sLayout& layout = pSource.fLayout;
    std::fill_n(pLinear, ptrdiff_t{3} * (pCount + 2), kNoSample);
    if (pY < 0 || pY >= layout.fHeight) return;
    const int begin = std::max(pX - 1, 0), end = std::min(pX + pCount + 1, layout.fWidth);
    float* linear = pLinear + ptrdiff_t{3} * (begin - (pX - 1));
    pSource.fReader.Read(pSource.Row(pY), begin, end - begin, linear);
    if (layout.fChannels != 4) return;
    const unsigned char* pixel = pSource.Row(pY) + begin * layout.fPixel;
    for (int x = begin; x < end; x++, pixel += layout.fPixel, linear += 3)
        if (!IsVisible(pixel, layout)) std::fill_n(linear, 3, kNoSample);
}

/// Rows with their dark specks filled, in parts of kWindow columns: each row is read once, for itself and for the two
/// beside it.
void ReadFilledRows(const sSource& pSource, int pBegin, int pEnd, cPicture& pTo, sReadSlot& pSlot)
{
    float* rows[4] = {};
    for (size_t row = 0; row < 4; row++)
        rows[row] = pSlot.fWindow.data() + row * WindowRow(pTo.Width());
    for (int x = 0; x < pTo.Width(); x += kWindow) {
        const int count = std::min(kWindow, pTo.Width() - x);
        ReadWithNeighbours(pSource, x, pBegin - 1, count, rows[0]);
        ReadWithNeighbours(pSource, x, pBegin, count, rows[1]);
        for (int y = pBegin; y < pEnd; y++) {
            ReadWithNeighbours(pSource, x, y + 1, count, rows[2]);
            const float* filled = FillDarkSpecks(rows[0], rows[1], rows[2], count, rows[3], pSlot.fFilled);
            StorePixels(pSource, filled + 3, x, y, count, pTo, pSlot.fHistogram);
            std::rotate(rows, rows + 1, rows + 3);
        }
    }
}

/// @param pFill whether dark specks are filled
cLuminanceHistogram ReadRows(const sSource& pSource, bool pFill, cPicture& pTo, cRun& pRun)
{
    std::vector<sReadSlot> slots(static_cast<size_t>(pRun.Threads()));
    if (pFill)
        for (sReadSlot& slot : slots)
            slot.fWindow.resize(4 * WindowRow(pTo.Width()));
    const sLayout& layout = pSource.fLayout;
    pRun.DivideOrThrow(0, layout.fHeight, layout.fWidth, [&](int pSlot, int pBegin, int pEnd) {
        for (int y = pBegin; y < pEnd; y++)
            CopyAlpha(pSource.Row(y), layout, y, pTo);
        const auto read = pFill ? ReadFilledRows : ReadPlainRows;
        read(pSource, pBegin, pEnd, pTo, slots[static_cast<size_t>(pSlot)]);
    });
    cLuminanceHistogram all;
    for (const sReadSlot& slot : slots) {
        all.Add(slot.fHistogram);
        pTo.fStatistics.fFilled += slot.fFilled;
    }
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
    const sSource source{pPicture, pLayout, cSampleReader(pPicture, pLayout, odd.fLargest),
                         ToXYZ(pPicture.primaries, pPicture.chromaticities)};
    const bool mend = !picture->fOfIntegers && pPicture.keep_hot_samples == 0;
    cLuminanceHistogram histogram = ReadRows(source, mend, *picture, pRun);
    sStatistics& statistics = picture->fStatistics;
    if (mend) statistics.fHot = TameHotPixels(*picture, histogram, pRun);
    statistics.fNaN = odd.fNaN;
    statistics.fNegative = odd.fNegative;
    statistics.fInfinite = odd.fInfinite;
    histogram.Measure(statistics);
    picture->fHasInvisible = statistics.fVisible < picture->Pixels();
    if (picture->fHasInvisible) GreyInvisiblePixels(*picture, pRun);
    return picture;
}

} // namespace SelvaneLib
