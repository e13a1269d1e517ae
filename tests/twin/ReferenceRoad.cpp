#include "twin/ReferenceRoad.h"

#include "support/DirectFilters.h"
#include "support/Records.h"
#include "support/ReferenceNumbers.h"
#include "twin/ReferenceTables.h"

#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <limits>
#include <new>

// The functions that the library must hand to DivideWork. The twin takes their addresses and never calls them.
namespace Vornik
{

void* CalcMinMaxLog_tile_threaded(void* pRecord);
void* Filter_Fast_Interpolate_tile_threaded(void* pRecord);

} // namespace Vornik

namespace SelvaneTwin
{

namespace
{

using namespace SelvaneTest;

const double kLn10 = 2.302585092994046;
const double kInv65535 = 1.5259021896696422e-05;

/// One pixel of the compact picture.
struct sPixel
{
    float y;
    int h;
    float m;
    float v;
};

/// The renderer's seventeen parameters, as far as the road reads them.
struct sParameters
{
    float globalContrast;
    float adaptation;
    float spatialSize;
    float rangeSize;
    bool wrap;
    float whiteClip;
    float blackClip;
    int requestType;
    float black;
    float white;
};

/// Everything that a call holds.
struct sState
{
    sTmImageDesc image;
    int space;
    int threads;
    sParameters parameters;
    sRoad road;
    std::vector<float> xyz; ///< three floats a pixel
    std::vector<sPixel> pixels;
    std::vector<float> logLuminance;
    std::vector<float> base;
    std::vector<float> detail;
    float minY, maxY, logMinY, logMaxY;
    float baseMin, baseMax, detailMin, detailMax;
    double baseAverage, detailAverage;
    std::vector<float> globalTable;
    std::vector<float> detailTable;
    float exposure = 0.0f; ///< stays 0 when phase 2 ends early
    float white = 1.0f;
    float black = 0.0f;
    float requestedBlack = 0.0f;
    float requestedWhite = 0.0f;
    std::vector<unsigned char> block;  ///< the output bitmap; its padding is zero
    std::vector<unsigned char> filled; ///< 1 for each byte of the block that a pixel fills
    std::int64_t largestGrid;

    size_t Count() const { return size_t(image.width) * size_t(image.height); }
    void Met(eRule pRule) { road.fMet[size_t(pRule)]++; }
};

/// A failure inside the call that the entry turns into the result -1.
struct sThrown
{
    std::string line;
};

/// The grid is larger than the caller waits for.
struct sTooLarge
{
};

std::string Printed(const char* pFormat, ...)
{
    char text[16384];
    va_list arguments;
    va_start(arguments, pFormat);
    std::vsnprintf(text, sizeof text, pFormat, arguments);
    va_end(arguments);
    return text;
}

std::string ErrorLine(const char* pMessage, const char* pType, const char* pDescription, const char* pFunction,
                      const char* pFile)
{
    return Printed("Unexpected error with cpp_tm_selvane: Message=%s  Type=%s  Description=%s  Function=\1%s\1  File=%s"
                   "  Line=\1  Timestamp=\1\n",
                   pMessage, pType, pDescription, pFunction, pFile);
}

// ---- The host's pixels to linear floats ----------------------------------------------------------------------------

int RedOffset(const sTmImageDesc& pImage)
{
    return pImage.bgrOrder != 0 ? pImage.samplesPerPixel - 1 : 0;
}

int GreenOffset(const sTmImageDesc& pImage)
{
    return int(std::floor((pImage.samplesPerPixel - 1) / 2.0));
}

int BlueOffset(const sTmImageDesc& pImage)
{
    return pImage.bgrOrder != 0 ? 0 : pImage.samplesPerPixel - 1;
}

unsigned SampleAt(const unsigned char* pInput, std::int64_t pIndex, int pBits)
{
    if (pBits == 8) return pInput[pIndex];
    std::uint16_t sample = 0;
    std::memcpy(&sample, pInput + 2 * pIndex, 2);
    return sample;
}

void ReadSamples(sState& pState, const unsigned char* pInput)
{
    const sTmImageDesc& image = pState.image;
    const std::vector<float>& table = DecodeTable(pState.space, image.inputDepth);
    std::int64_t position = 0;
    for (int y = 0; y < image.height; y++) {
        for (int x = 0; x < image.width; x++) {
            for (const int offset : {RedOffset(image), GreenOffset(image), BlueOffset(image)})
                pState.xyz.push_back(table[SampleAt(pInput, position + offset, image.inputDepth)]);
            position += image.samplesPerPixel;
        }
        position += std::int64_t(image.inputRowSamples) - 3 * std::int64_t(image.width);
    }
}

void ReadExponentPlanes(sState& pState, const unsigned char* pInput)
{
    const size_t width = size_t(pState.image.width);
    const std::vector<float> table = ExponentTable();
    for (size_t y = 0; y < size_t(pState.image.height); y++) {
        const unsigned char* row = pInput + y * 4 * width;
        for (size_t x = 0; x < width; x++) {
            const unsigned exponent = row[3 * width + x];
            if (exponent == 0) pState.Met(eRuleExponentZero);
            for (size_t channel = 0; channel < 3; channel++)
                pState.xyz.push_back(exponent == 0 ? 0.0f : float(row[channel * width + x]) * table[exponent]);
        }
    }
}

/// The sum of a row starts with the second term; the first and the third are fused onto it.
float TimesRow(const float* pRow, float c0, float c1, float c2)
{
    return std::fma(pRow[2], c2, std::fma(pRow[0], c0, pRow[1] * c1));
}

void ToXYZ(sState& pState)
{
    const sMatrix m = LinearToPCS(pState.space);
    for (size_t i = 0; i < pState.Count(); i++) {
        float* c = pState.xyz.data() + 3 * i;
        const float c0 = c[0], c1 = c[1], c2 = c[2];
        c[0] = TimesRow(m.m, c0, c1, c2);
        c[1] = TimesRow(m.m + 3, c0, c1, c2);
        c[2] = TimesRow(m.m + 6, c0, c1, c2);
    }
}

// ---- The sliders ---------------------------------------------------------------------------------------------------

float FusedOnce(double pFactor, float pSlider, double pConstant)
{
    return Rounded(std::fma(pFactor, double(pSlider), pConstant));
}

sParameters Translated(sState& pState, const sTmSliders& pSliders, int pRequestType)
{
    sParameters p{};
    const float a = pSliders.compression;
    p.globalContrast = a < 0.0f ? FusedOnce(0.4, a, 40.0) : FusedOnce(0.26, a, 47.0);
    const float r = pSliders.radius;
    p.spatialSize = r < 0.0f ? FusedOnce(-9.0, r, 100.0) : FusedOnce(-7.0, r, 100.0);
    const float s = pSliders.smoothness;
    p.rangeSize = s <= 0.0f ? FusedOnce(-10.0, s, 60.0) : FusedOnce(-6.0, s, 60.0);
    p.adaptation = Rounded(0.04 * double(pSliders.adaptation));
    p.whiteClip = Rounded(0.05 * double(pSliders.whiteClip));
    p.blackClip = pSliders.blackClip;
    p.wrap = pSliders.wrapSwitch == 1.0f;
    p.requestType = pRequestType;
    if (pSliders.whitePoint > 0.0f && pSliders.blackPoint <= pSliders.whitePoint && pRequestType == 1) {
        p.black = pSliders.blackPoint;
        p.white = pSliders.whitePoint;
        pState.Met(eRulePointsAccepted);
    } else if (pRequestType == 1) {
        pState.Met(eRulePointsRefused);
    }
    return p;
}

// ---- Preparation ---------------------------------------------------------------------------------------------------

float HueDegrees(sState& pState, float r, float g, float b, float pMax, float pMin)
{
    const float d = pMax - pMin;
    if (r == pMax && g >= b) {
        pState.Met(eRuleHueRedUp);
        return (g - b) * 60.0f / d;
    }
    if (r == pMax && g < b) {
        pState.Met(eRuleHueRedDown);
        return (g - b) * 60.0f / d + 360.0f;
    }
    if (g == pMax) {
        pState.Met(eRuleHueGreen);
        return (b - r) * 60.0f / d + 120.0f;
    }
    pState.Met(eRuleHueBlue);
    return (r - g) * 60.0f / d + 240.0f;
}

sPixel Packed(sState& pState, const sMatrix& pFromPCS, float pX, float pY, float pZ)
{
    if (pY <= 0.0f) {
        pState.Met(eRuleDarkNeutral);
        return {0.000001f, 0, 1.0f, 1.0f};
    }
    const float* m = pFromPCS.m;
    const float i = 1.0f / pY;
    const float x = pX * i;
    const float z = pZ * i;
    const float r = m[1] + std::fma(m[0], x, z * m[2]);
    const float g = m[4] + std::fma(m[3], x, z * m[5]);
    const float b = m[7] + std::fma(m[6], x, z * m[8]);
    const float max = Larger(Larger(r, g), b);
    const float min = Smaller(Smaller(r, g), b);
    if (r != r || g != g || b != b) pState.Met(eRuleNaNPrimary);
    int h = 0;
    if (min != max)
        h = int(TruncatedUnsigned(HueDegrees(pState, r, g, b, max, min) * FromBits(0x43360AAB)) & 0xFFFFu);
    else
        pState.Met(eRuleGrey);
    if (!(max > 0.0f)) {
        pState.Met(eRuleMarker);
        return {pY, h, 0.0f, FromBits(0x00800000)};
    }
    if (min < 0.0f) pState.Met(eRuleNegativeM);
    return {pY, h, min, max};
}

void Pack(sState& pState)
{
    const sMatrix m = PCSToLinear(eSpaceProPhoto);
    for (size_t i = 0; i < pState.Count(); i++) {
        const float* c = pState.xyz.data() + 3 * i;
        pState.pixels.push_back(Packed(pState, m, c[0], c[1], c[2]));
    }
}

sExpectedDivide MinMaxLogCall(const sState& pState, float pFloor)
{
    using namespace MinMaxRecord;
    sExpectedDivide call{0,
                         pState.image.height,
                         pState.threads,
                         &Vornik::CalcMinMaxLog_tile_threaded,
                         std::vector<unsigned char>(kBytes),
                         OffsetsOf(kPicture, kLogLuminance, kCancel, kCancelled, kSlotMin, kSlotMax)};
    SetField(call.fRecord.data(), kWidth, pState.image.width);
    SetField(call.fRecord.data(), kFloor, pFloor);
    return call;
}

/// Logarithms and extremes, the picture as one tile of one slot: minima and maxima do not depend on the cutting.
void TakeLogarithms(sState& pState)
{
    const float floor = FromBits(0x00200000);
    float smallest = 1e30f;
    float largest = -1e30f;
    for (size_t i = 0; i < pState.Count(); i++) {
        const float source = pState.xyz[3 * i + 1];
        const float y = source > floor ? source : floor;
        if (y == floor) pState.Met(eRuleLuminanceFloored);
        if (y < FromBits(0x00800000)) pState.Met(eRuleLuminanceSubnormal);
        if (y < smallest) smallest = y;
        if (y > largest) largest = y;
        pState.logLuminance.push_back(::log10f(y));
    }
    pState.road.fDivides.push_back(MinMaxLogCall(pState, floor));
    pState.minY = 1e30f;
    pState.maxY = -1e30f;
    if (pState.threads >= 1) {
        if (smallest < pState.minY) pState.minY = smallest;
        if (largest > pState.maxY) pState.maxY = largest;
    } else {
        pState.Met(eRuleNoWorkers);
    }
    pState.logMaxY = ::log10f(pState.maxY);
    pState.logMinY = ::log10f(pState.minY);
}

/// The compact picture is cut into blocks of 0xA00000 bytes, and a row must fit into one.
void CheckTiles(const sState& pState)
{
    const std::int64_t stride = ((std::int64_t(pState.image.width) + 3) & ~std::int64_t(3)) * YHMVPixel::kBytes;
    if (stride > 0xA00000)
        throw sThrown{
            ErrorLine("Scanline width exceeds max tile size.", "cInvalidOperationException", "Invalid Operation Error",
                      "Vornik::cMemUtils::TiledBitmapAlloc(int, int, int, int\1&, int\1&, int\1&)", "cMemUtils.cpp")};
}

void Prepare(sState& pState)
{
    CheckTiles(pState);
    Pack(pState);
    TakeLogarithms(pState);
}

// ---- Phase 1 -------------------------------------------------------------------------------------------------------

sFast FilterArguments(sState& pState)
{
    const float size = pState.parameters.spatialSize;
    float t = 0.0f;
    if (size >= 100.0f) {
        pState.Met(eRuleWideSpace);
        t = std::fma(size - 100.0f, 0.75f, 25.0f);
    } else {
        pState.Met(eRuleNarrowSpace);
        t = std::fma(size - 10.0f, FromBits(0x3E2AAAAB), 10.0f);
    }
    const int width = pState.image.width;
    const int height = pState.image.height;
    const float m = float(width > height ? width : height);
    const float space = t * (m * 0.001f);
    const float range = std::fma(pState.parameters.rangeSize, 0.002f, 0.2f);
    return {width, height, space, range, pState.logMinY, pState.logMaxY, 0.0f, pState.parameters.wrap};
}

sExpectedDivide SliceCall(const sState& pState, const sFast& pArguments)
{
    using namespace SliceRecord;
    sExpectedDivide call{0,
                         pArguments.fHeight,
                         pState.threads,
                         &Vornik::Filter_Fast_Interpolate_tile_threaded,
                         std::vector<unsigned char>(kBytes),
                         OffsetsOf(kGrid, kInput, kOutput)};
    const sGridShape shape = DirectShape(pArguments);
    unsigned char* const record = call.fRecord.data();
    SetField(record, kWidth, pArguments.fWidth);
    SetField(record, kSpaceSampling, pArguments.fSpace);
    SetField(record, kRangeSampling, pArguments.fRange);
    SetField(record, kRangeMin, pArguments.fMin);
    SetField(record, kMargin, 3);
    SetField(record, kCellsX, std::int32_t(shape.fX));
    SetField(record, kCellsY, std::int32_t(shape.fY));
    return call;
}

/// Whether the filter would take longer than the caller waits.
bool IsTooLarge(const sState& pState, const sFast& pArguments)
{
    const std::int64_t wrapped = pArguments.fWrap ? std::int64_t(6.0f * pArguments.fSpace) : 0;
    return DirectShape(pArguments).Cells() > pState.largestGrid ||
           (wrapped + pArguments.fWidth) * pArguments.fHeight > pState.largestGrid;
}

void SplitLayers(sState& pState)
{
    const sFast arguments = FilterArguments(pState);
    if (DirectRefusal(arguments)) throw std::bad_array_new_length();
    if (IsTooLarge(pState, arguments)) throw sTooLarge{};
    const sDirectFast direct = DirectFast(pState.logLuminance, arguments);
    pState.base = direct.fResult;
    pState.road.fDivides.push_back(SliceCall(pState, arguments));
    pState.road.fFilterOwnPlane = direct.fOwnPlane;
    if (arguments.fWrap) pState.Met(eRuleWrap);
    if (direct.fOwnPlane) pState.Met(eRuleOwnPlane);
    pState.road.fMet[eRuleWrapBorrowed] += direct.fBorrowedSamples;
    pState.road.fMet[eRuleWrapSkipped] += direct.fSkippedSamples;
    pState.road.fMet[eRuleEmptyCell] += direct.fEmptyCells;
}

void MeasureLayers(sState& pState)
{
    pState.baseAverage = 0.0;
    pState.detailAverage = 0.0;
    pState.baseMax = pState.detailMax = -1e30f;
    pState.baseMin = pState.detailMin = 1e30f;
    for (size_t i = 0; i < pState.Count(); i++) {
        const float b = pState.base[i];
        const float d = pState.logLuminance[i] - b;
        pState.detail.push_back(d);
        if (b > pState.baseMax) pState.baseMax = b;
        if (b < pState.baseMin) pState.baseMin = b;
        if (d > pState.detailMax) pState.detailMax = d;
        if (d < pState.detailMin) pState.detailMin = d;
        pState.baseAverage += double(b);
        pState.detailAverage += double(std::fabs(d));
    }
    pState.baseAverage /= double(pState.Count());
    pState.detailAverage /= double(pState.Count());
}

void LogLayers(sState& pState)
{
    pState.road.fErrorText += Printed(
        "+++  ToneMappingPhase1 %d x %d  - min/ave/max  Detail: %1.2f  %1.2f  %1.2f  -  Base: %1.2f  %1.2f  %1.2f (vs "
        "orig: %1.2f) ->  DR: %1.2f (orig: %1.2f)\n",
        pState.image.width, pState.image.height, double(pState.detailMin), pState.detailAverage,
        double(pState.detailMax), double(pState.baseMin), pState.baseAverage, double(pState.baseMax),
        double(pState.logMaxY), double(pState.baseMax - pState.baseMin), double(pState.logMaxY - pState.logMinY));
}

void Phase1(sState& pState)
{
    SplitLayers(pState);
    MeasureLayers(pState);
    LogLayers(pState);
}

// ---- Phase 2 -------------------------------------------------------------------------------------------------------

float CompressionExponent(sState& pState)
{
    const float c = Rounded(double(pState.parameters.globalContrast) * 0.01);
    if (c > 0.0f) return 1.0f - c;
    if (c <= 0.0f) pState.Met(eRuleNegativeContrast);
    return Rounded(std::fma(-3.0, double(c), 1.0));
}

float Abscissa(int pIndex)
{
    return Rounded(double(float(pIndex)) * kInv65535);
}

/// The exponent of an entry of the bent tables: pow(t, e) K L LN10 for t above 0, and without the power otherwise.
/// pK is null for the detail table, which has no factor K.
double BentExponent(sState& pState, double pT, double pE, const double* pK, double pL)
{
    if (pT != pT) pState.Met(eRuleNaNT);
    if (pT == 0.0) pState.Met(eRuleZeroT);
    if (pT > 0.0) {
        if (pK != nullptr) return std::pow(pT, pE) * *pK * pL * kLn10;
        return std::pow(pT, pE) * pL * kLn10;
    }
    if (pK != nullptr) return pL * *pK * kLn10;
    return pL * kLn10;
}

void BuildPlainTables(sState& pState, double pK, float pRangeB, float pRangeD)
{
    for (int i = 0; i < 65536; i++) {
        const float x = Abscissa(i);
        const float l = std::fma(pRangeB, x, pState.baseMin);
        const float d = std::fma(pRangeD, x, pState.detailMin);
        pState.globalTable.push_back(Rounded(std::exp(double(l) * pK * kLn10)));
        pState.detailTable.push_back(Rounded(std::exp(double(d) * kLn10)));
    }
}

void BuildBentTables(sState& pState, double pK, float pRangeB, float pRangeD)
{
    const double a = double(pState.parameters.adaptation);
    const double e1 = -(0.05 * (a + 1.0));
    const double e2 = std::fma(-a, 0.02, -0.01);
    const double r1 = 1.0 / pState.baseAverage;
    const double r2 = 1.0 / pState.detailAverage;
    for (int i = 0; i < 65536; i++) {
        const float x = Abscissa(i);
        const float l = std::fma(pRangeB, x, pState.baseMin);
        const float d = std::fma(pRangeD, x, pState.detailMin);
        const double t1 = std::fabs(r1 * double(l));
        const double t2 = std::fabs(r2 * double(d));
        pState.globalTable.push_back(Rounded(std::exp(BentExponent(pState, t1, e1, &pK, double(l)))));
        pState.detailTable.push_back(Rounded(std::exp(BentExponent(pState, t2, e2, nullptr, double(d)))));
    }
}

float LargestEntry(sState& pState, const std::vector<float>& pTable)
{
    float largest = 0.0f;
    for (const float entry : pTable)
        if (entry > largest) largest = entry;
    if (std::isinf(largest)) pState.Met(eRuleInfiniteEntry);
    return largest;
}

float ExposureOf(float pPower, float pW, float pA, double pM)
{
    const float product = Rounded(double(pPower) * double(pW)); // exact in double, so this is the float product
    const float sum = Rounded(std::fma(1.0 - double(pW), double(pA), double(product)));
    return Rounded(double(sum) * pM);
}

void Expose(sState& pState, float pk, float pMaxG, float pMaxD)
{
    const double k = double(pk);
    const float a = Rounded(std::exp(k * 1.5249237972318799) * 0.217637640824031);
    const float p = Rounded(std::pow(double(pState.maxY), -k));
    const float q = pk < 1.0f ? pk : 1.0f;
    if (q < 0.5f)
        pState.Met(eRuleLowQ);
    else
        pState.Met(eRuleHighQ);
    const float w =
        Rounded(std::pow(std::cos(std::fma(double(q), 3.141592653589793, -1.5707963267948966)), q < 0.5f ? 4.0 : 0.5));
    float d = Rounded(2.0 * (1.0 - k));
    if (d > 1.0f) d = 1.0f;
    if (d < 0.0f) d = 0.0f;
    const double m = std::fma(double(d), -0.21541590210324923, 1.0);
    pState.exposure = ExposureOf(p, w, a, m);
    pState.road.fErrorText +=
        Printed("GlobalContrast Log10: %1.2f -> GlobalOutMax: %1.2f (vs orig: %1.2f  exposure: %1.2f)  - DetailOutMax: "
                " %1.2f (vs "
                "DetailAverage: %1.2f)\n",
                k, double(pMaxG), std::exp(double(pState.logMaxY) * kLn10), 1.0 / double(pState.exposure),
                double(pMaxD), std::exp(pState.detailAverage * kLn10));
}

/// Running extremes and sum of the new luminance.
struct sExtremes
{
    float min;
    float max = 0.0f;
    double sum = 0.0;
};

int LookUpIndex(float pValue)
{
    const int index = Truncated(pValue);
    return index < 0 ? 0 : index > 65535 ? 65535 : index;
}

sExtremes ReplaceLuminance(sState& pState, float pRangeB, float pRangeD, float pSeed)
{
    sExtremes extremes{pSeed};
    if (pSeed != pSeed) pState.Met(eRuleNaNSeed);
    const float sB = 65535.0f / pRangeB;
    const float sD = 65535.0f / pRangeD;
    for (size_t i = 0; i < pState.Count(); i++) {
        const int iB = LookUpIndex((pState.base[i] - pState.baseMin) * sB);
        const int iD = LookUpIndex((pState.detail[i] - pState.detailMin) * sD);
        const float y = pState.detailTable[size_t(iD)] * pState.globalTable[size_t(iB)];
        if (y != y) pState.Met(eRuleNaNY);
        if (y > extremes.max) {
            extremes.max = y;
            pState.Met(eRuleNewMaximum);
        } else {
            if (y < extremes.min) extremes.min = y;
            pState.Met(eRuleNoNewMaximum);
        }
        pState.pixels[i].y = y;
        extremes.sum += double(y);
    }
    return extremes;
}

struct sHistogram
{
    std::vector<std::uint32_t> counters;
    float binWidth;
    float pixels; ///< width x height
};

sHistogram Count(sState& pState, const sExtremes& pExtremes)
{
    float s = 1.0f;
    if (pExtremes.max > pExtremes.min)
        s = 65535.0f / (pExtremes.max - pExtremes.min);
    else
        pState.Met(eRuleSeedKept);
    pState.road.fErrorText += Printed(
        "Tone Mapped Y Min/Max: [%1.2f  %1.2f] (vs orig [%1.2f  %1.2f]) ave: %1.2f  -> scaling: %1.2f (vs exposure: "
        "%1.2f)\n",
        double(pExtremes.min), double(pExtremes.max), double(pState.minY), double(pState.maxY),
        pExtremes.sum / double(pState.Count()), 1.0 / double(pExtremes.max - pExtremes.min), double(pState.exposure));
    sHistogram histogram{std::vector<std::uint32_t>(65536), 1.0f / s,
                         float(pState.image.width) * float(pState.image.height)};
    for (const sPixel& pixel : pState.pixels) {
        int bin = Truncated((pixel.y - pExtremes.min) * s);
        if (bin >= 65535) pState.Met(eRuleBinHigh);
        if (bin > 65535) bin = 65535;
        if (bin < 0) bin = 0;
        histogram.counters[size_t(bin)]++;
    }
    return histogram;
}

/// pStrict: stops when the sum is above the limit, otherwise when it is at least the limit.
int RisingScan(const sHistogram& pHistogram, float pLimit, bool pStrict)
{
    float sum = 0.0f;
    int n = 1;
    for (;;) {
        sum += float(pHistogram.counters[size_t(n - 1)]);
        if (pStrict ? sum > pLimit : sum >= pLimit) return n;
        if (n == 65535) return n;
        n++;
    }
}

int FallingScan(const sHistogram& pHistogram, float pLimit)
{
    if (pHistogram.pixels <= pLimit) return 65535;
    float sum = pHistogram.pixels;
    int n = 65534;
    for (;;) {
        sum -= float(pHistogram.counters[size_t(n + 1)]);
        if (sum <= pLimit || n == 0) return n;
        n--;
    }
}

void LogPercentiles(sState& pState, const sHistogram& pHistogram, float pMin)
{
    const float n = pHistogram.pixels;
    const double nd = double(n);
    const float width = pHistogram.binWidth;
    const float limit1 = Rounded(nd * 0.01);
    const float limit50 = n * 0.5f;
    const int perc1 = limit1 < 0.0f ? 0 : RisingScan(pHistogram, limit1, true);
    const int median = limit50 <= 0.0f ? 0 : RisingScan(pHistogram, limit50, false);
    const int high1 = FallingScan(pHistogram, Rounded(nd * 0.99));
    const int high2 = FallingScan(pHistogram, Rounded(nd * 0.9999));
    const int high3 = FallingScan(pHistogram, Rounded(nd * 0.99995));
    const auto value = [&](int pN) { return double(pMin + width * float(pN)); };
    pState.road.fErrorText += Printed(
        "Linear Perc1 at: %d (%1.2f) -  Median: %d (%1.2f)  - perc99andhigher:  %d  %d  %d  (%1.2f  %1.2f  %1.2f) "
        "-  max: %d  (%1.2f)\n",
        perc1 >> 8, value(perc1), median >> 8, double(width * float(median)), high1 >> 8, high2 >> 8, high3 >> 8,
        value(high1), value(high2), value(high3), 255, value(65535));
}

void FindPoints(sState& pState, const sHistogram& pHistogram, float pMin)
{
    const double nd = double(float(pState.image.width)) * double(float(pState.image.height));
    const float blackLimit = Rounded(double(pState.parameters.blackClip) * 0.01 * nd);
    const float whiteLimit = Rounded(std::fma(-double(pState.parameters.whiteClip), 0.01, 1.0) * nd);
    const int nBlack = blackLimit <= 0.0f ? 0 : RisingScan(pHistogram, blackLimit, false);
    pState.Met(blackLimit <= 0.0f ? eRuleBlackUnclipped : eRuleBlackClipped);
    pState.black = std::fma(pHistogram.binWidth, float(nBlack), pMin);
    const int nWhite = FallingScan(pHistogram, whiteLimit);
    pState.Met(nWhite == 65535 ? eRuleWhiteUnclipped : eRuleWhiteClipped);
    pState.white = std::fma(pHistogram.binWidth, float(nWhite), pMin);
    pState.requestedBlack = pState.black;
    pState.requestedWhite = pState.white;
}

void UseRequestedPoints(sState& pState)
{
    pState.Met(eRuleRequestedPoints);
    pState.white = pState.requestedWhite;
    pState.black = pState.requestedBlack;
    pState.road.fErrorText +=
        Printed("requestType 1 - using  Black: %1.2f   White: %1.2f ->  Scaling:  %1.2f\n", double(pState.black),
                double(pState.white), 1.0 / double(Rounded(double(pState.white - pState.black))));
}

void Phase2(sState& pState)
{
    const float k = CompressionExponent(pState);
    const float rangeB = pState.baseMax - pState.baseMin;
    const float rangeD = pState.detailMax - pState.detailMin;
    if (pState.parameters.adaptation > 0.0f) {
        pState.Met(eRuleAdaptation);
        BuildBentTables(pState, double(k), rangeB, rangeD);
    } else {
        pState.Met(eRulePlainTables);
        BuildPlainTables(pState, double(k), rangeB, rangeD);
    }
    const float maxG = LargestEntry(pState, pState.globalTable);
    const float maxD = LargestEntry(pState, pState.detailTable);
    if (rangeB <= 0.0f || rangeD <= 0.0f) {
        pState.Met(eRuleEmptyRange);
        return;
    }
    Expose(pState, k, maxG, maxD);
    const sExtremes extremes = ReplaceLuminance(pState, rangeB, rangeD, maxD * maxG);
    if (pState.parameters.requestType == 1 && pState.requestedWhite > 0.0f) {
        UseRequestedPoints(pState);
        return;
    }
    pState.Met(eRuleHistogram);
    const sHistogram histogram = Count(pState, extremes);
    LogPercentiles(pState, histogram, extremes.min);
    FindPoints(pState, histogram, extremes.min);
}

// ---- Final rendering -----------------------------------------------------------------------------------------------

float ContrastKey(sState& pState)
{
    const float contrast = 20.0f;
    const float global = pState.parameters.globalContrast;
    const float key = Rounded((double(contrast) + 100.0) * 0.005);
    if (global < 0.0f) {
        pState.Met(eRuleKeyStays);
        return key;
    }
    pState.Met(eRuleKeyFollows);
    const float raised = Rounded(std::fma(double(global), 0.0034999999999999996, double(key)));
    if (raised < 1.0f) return raised;
    pState.Met(eRuleKeyAtEnd);
    return 1.0f;
}

/// Everything that a pixel of the output is made with.
struct sDecoder
{
    sMatrix matrix;
    std::vector<float> contrast;
    float scale;
    float invRange;
};

sDecoder MakeDecoder(sState& pState)
{
    sDecoder decoder{};
    decoder.matrix = Product(PCSToLinear(pState.space), LinearToPCS(eSpaceProPhoto));
    decoder.contrast = ContrastTable(ContrastKey(pState));
    decoder.scale = Rounded(std::exp2(0.0) * double(pState.exposure));
    decoder.invRange = pState.white > pState.black ? 1.0f / (pState.white - pState.black) : 1.0f;
    if (decoder.invRange == 1.0f) {
        pState.Met(eRuleExposurePath);
        if (pState.black != 0.0f && pState.white > pState.black) pState.Met(eRuleExposurePathByRange);
    } else {
        pState.Met(eRuleRangePath);
    }
    return decoder;
}

float Intensity(sState& pState, const sDecoder& pDecoder, float pY)
{
    if (pDecoder.invRange == 1.0f) return pY * pDecoder.scale;
    const float l = (pY - pState.black) * pDecoder.invRange;
    if (l > 0.0f) return l;
    pState.Met(eRuleBelowBlack);
    return 0.0f;
}

void StoreSample(sState& pState, size_t pSample, std::uint16_t pValue)
{
    if (pState.image.outputDepth == 8) {
        pState.block[pSample] = static_cast<unsigned char>(pValue >> 8);
        pState.filled[pSample] = 1;
        return;
    }
    std::memcpy(pState.block.data() + 2 * pSample, &pValue, 2);
    pState.filled[2 * pSample] = pState.filled[2 * pSample + 1] = 1;
}

void DecodePixel(sState& pState, const sDecoder& pDecoder, const sPixel& pPixel, size_t pFirstSample)
{
    const std::array<float, 3>& e = HueTable()[size_t(pPixel.h)];
    const float l = Intensity(pState, pDecoder, pPixel.y);
    const float lv = l * pPixel.v;
    const float d = std::fma(-l, pPixel.m, lv);
    float a[3];
    for (size_t k = 0; k < 3; k++) {
        const float c = std::fma(l, pPixel.m, d * e[k]);
        if (!(c <= 1.0f)) pState.Met(eRuleIndexHigh);
        a[k] = pDecoder.contrast[size_t(UnitIndex(c))];
    }
    const std::vector<std::uint16_t>& encode = EncodeTable(pState.space);
    for (size_t k = 0; k < 3; k++) {
        const float o = TimesRow(pDecoder.matrix.m + 3 * k, a[0], a[1], a[2]);
        StoreSample(pState, pFirstSample + 2 - k, encode[size_t(UnitIndex(o))]);
    }
}

int BlockStride(const sTmImageDesc& pImage)
{
    return ((pImage.width + 3) & ~3) * 3 * (pImage.outputDepth / 8);
}

void RenderFinal(sState& pState)
{
    const sTmImageDesc& image = pState.image;
    const size_t sampleSize = size_t(image.outputDepth / 8);
    const size_t stride = size_t(BlockStride(image));
    const size_t rows = (size_t(image.height) + 3) / 4 * 4;
    pState.block.assign(rows * stride, 0);
    pState.filled.assign(rows * stride, 0);
    const sDecoder decoder = MakeDecoder(pState);
    for (size_t y = 0; y < size_t(image.height); y++)
        for (size_t x = 0; x < size_t(image.width); x++)
            DecodePixel(pState, decoder, pState.pixels[y * size_t(image.width) + x], y * stride / sampleSize + 3 * x);
}

// ---- The output bitmap to the host's buffer ------------------------------------------------------------------------

/// Copies one byte, if it is one of the block's.
void CopyByte(sState& pState, std::int64_t pFrom, unsigned char* pOutput, std::int64_t pTo)
{
    if (pFrom < 0 || pFrom >= std::int64_t(pState.block.size())) {
        pState.Met(eRuleCopyBeyondBlock);
        return;
    }
    if (!pState.filled[size_t(pFrom)]) pState.Met(eRuleCopyPadding);
    pOutput[pTo] = pState.block[size_t(pFrom)];
}

void CopyRows(sState& pState, unsigned char* pOutput)
{
    const sTmImageDesc& image = pState.image;
    const std::int64_t pixelBytes = std::int64_t(image.outputDepth) * image.samplesPerPixel / 8;
    const std::int64_t rowBytes = std::int64_t(image.outputDepth) * image.outputRowSamples / 8;
    const std::int64_t stride = BlockStride(image);
    if (stride > pixelBytes * image.width) {
        pState.Met(eRuleCopyRows);
        for (std::int64_t y = 0; y < image.height; y++)
            for (std::int64_t n = 0; n < rowBytes; n++)
                CopyByte(pState, y * stride + n, pOutput, y * rowBytes + n);
        return;
    }
    pState.Met(eRuleCopyBlock);
    for (std::int64_t n = 0; n < image.height * rowBytes; n++)
        CopyByte(pState, n, pOutput, n);
}

void CopySample(sState& pState, std::int64_t pFrom, unsigned char* pOutput, std::int64_t pTo)
{
    const std::int64_t size = pState.image.outputDepth / 8;
    for (std::int64_t n = 0; n < size; n++)
        CopyByte(pState, pFrom * size + n, pOutput, pTo * size + n);
}

void CopySwapped(sState& pState, unsigned char* pOutput)
{
    const sTmImageDesc& image = pState.image;
    const std::int64_t s = image.samplesPerPixel;
    const std::int64_t green = GreenOffset(image);
    pState.Met(eRuleCopySwapped);
    for (std::int64_t y = 0; y < image.height; y++) {
        const std::int64_t from = y * BlockStride(image) / (image.outputDepth / 8);
        const std::int64_t to = y * image.outputRowSamples;
        for (std::int64_t i = 0; i < image.width; i++) {
            const std::int64_t n = i * s;
            CopySample(pState, from + n + s - 1, pOutput, to + n);
            CopySample(pState, from + n + green, pOutput, to + n + green);
            CopySample(pState, from + n, pOutput, to + n + s - 1);
        }
    }
}

// ---- The entry -----------------------------------------------------------------------------------------------------

/// Which picture blocks fit the 32-bit arithmetic of their strides; the widest has 12 bytes a pixel.
bool BlockFits(const sTmImageDesc& pImage)
{
    const std::int64_t width = (std::int64_t(pImage.width) + 3) & ~std::int64_t(3);
    const std::int64_t height = (std::int64_t(pImage.height) + 3) & ~std::int64_t(3);
    return width * 12 <= std::numeric_limits<std::int32_t>::max() && height <= std::numeric_limits<std::int32_t>::max();
}

void BuildInput(sState& pState, const unsigned char* pInput)
{
    for (const bool wide : {true, false})
        if ((wide ? pState.image.width : pState.image.height) < 1)
            throw sThrown{ErrorLine(wide ? "Argument pWidth must be greater than zero."
                                         : "Argument pHeight must be greater than zero.",
                                    "cArgumentException", "Invalid Argument Error",
                                    "Vornik::cBitmapXYZ32::cBitmapXYZ32(int, int)", "cBitmapXYZ32.cpp")};
    if (!BlockFits(pState.image)) throw std::bad_alloc();
    if (pState.image.inputDepth == 32) {
        pState.Met(eRuleInput32);
        ReadExponentPlanes(pState, pInput);
    } else {
        pState.Met(pState.image.inputDepth == 8 ? eRuleInput8 : eRuleInput16);
        ReadSamples(pState, pInput);
    }
    ToXYZ(pState);
}

void Render(sState& pState)
{
    pState.requestedBlack = pState.parameters.black;
    pState.requestedWhite = pState.parameters.white;
    Prepare(pState);
    Phase1(pState);
    Phase2(pState);
    RenderFinal(pState);
    pState.road.fBlack = pState.black;
    pState.road.fWhite = pState.white;
}

void HandBack(sState& pState, sTmSliders* pSliders, unsigned char* pOutput)
{
    if (pState.parameters.requestType != 1) {
        pSliders->blackPoint = pState.requestedBlack;
        pSliders->whitePoint = pState.requestedWhite;
    }
    if (pState.parameters.requestType == 9)
        pState.Met(eRuleNoCopy);
    else if (pState.image.bgrOrder != 0)
        CopyRows(pState, pOutput);
    else
        CopySwapped(pState, pOutput);
}

/// The part of the call whose failures become results. The 8-bit bitmap prints a line when it is released.
void Guarded(sState& pState, sTmSliders* pSliders, const unsigned char* pInput, unsigned char* pOutput)
{
    BuildInput(pState, pInput);
    if (pState.image.outputDepth != 8 && pState.image.outputDepth != 16) {
        pState.Met(eRulePointer);
        pState.road.fThrownPointer = "Output image is not set.";
        return;
    }
    const std::string freeing = pState.image.outputDepth == 8 ? "Freeing via FreeBitmapData\n" : "";
    pState.Met(pState.image.outputDepth == 8 ? eRuleOutput8 : eRuleOutput16);
    try {
        Render(pState);
        HandBack(pState, pSliders, pOutput);
    } catch (...) {
        pState.road.fErrorText += freeing;
        throw;
    }
    pState.road.fErrorText += freeing;
    pState.road.fResult = 1;
}

} // namespace

sRoad Road(const sTmImageDesc* pImage, const sTmRunSettings* pRun, std::int32_t pColorSpace, sTmSliders* pSliders,
           const unsigned char* pInput, unsigned char* pOutput, std::int64_t pLargestGrid)
{
    sState state{};
    state.image = *pImage;
    state.space = pColorSpace;
    state.threads = pRun->processorCount;
    state.largestGrid = pLargestGrid;
    state.parameters = Translated(state, *pSliders, pRun->requestType);
    if (pImage->inputDepth != 8 && pImage->inputDepth != 16 && pImage->inputDepth != 32) {
        state.Met(eRuleBadDepth);
        state.road.fResult = -2;
        return state.road;
    }
    try {
        Guarded(state, pSliders, pInput, pOutput);
    } catch (const std::bad_alloc&) {
        state.Met(eRuleOutOfMemory);
        state.road.fResult = -4;
    } catch (const sThrown& thrown) {
        state.Met(eRuleThrown);
        state.road.fErrorText += thrown.line;
        state.road.fResult = -1;
    } catch (const sTooLarge&) {
        state.road.fTooLarge = true;
    }
    return state.road;
}

} // namespace SelvaneTwin
