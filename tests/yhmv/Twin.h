#ifndef SELVANE_TESTS_YHMV_TWIN_H
#define SELVANE_TESTS_YHMV_TWIN_H

// The conversions written down one pixel at a time, slow and plain, for comparison bit by bit; and the values to try.

#include "color/cColorSpace.h"
#include "color/cMatrix.h"
#include "support/Records.h"

#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <random>
#include <vector>

namespace SelvaneTest
{

using Vornik::cMatrix33;

inline uint32_t Bits(float pValue)
{
    return std::bit_cast<uint32_t>(pValue);
}

inline float FromBits(uint32_t pBits)
{
    return std::bit_cast<float>(pBits);
}

constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

// ---- values ----

/// Values at which rules change.
inline const std::vector<float>& Extremes()
{
    static const std::vector<float> values = [] {
        std::vector<float> v = {0.0f,
                                FromBits(1),
                                FromBits(0x00800000),
                                1e-30f,
                                1e-6f,
                                0.25f,
                                0.5f,
                                1.0f,
                                std::nextafter(1.0f, 0.0f),
                                std::nextafter(1.0f, 2.0f),
                                2.0f,
                                65535.0f,
                                1e10f,
                                1e30f,
                                3.4e38f,
                                kInfinity};
        const size_t count = v.size();
        for (size_t i = 0; i < count; ++i)
            v.push_back(-v[i]);
        v.push_back(kNaN);
        return v;
    }();
    return values;
}

class cRandom
{
public:
    explicit cRandom(unsigned pSeed) : fEngine(pSeed) {}
    uint32_t Word() { return static_cast<uint32_t>(fEngine()); }
    int Below(int pCount) { return static_cast<int>(Word() % static_cast<uint32_t>(pCount)); }
    float Unit() { return static_cast<float>(Word() >> 8) * 0x1p-24f; }
    float Between(float pLow, float pHigh) { return pLow + (pHigh - pLow) * Unit(); }
    float Extreme() { return Extremes()[Word() % Extremes().size()]; }
    float AnyBits() { return FromBits(Word()); }

private:
    std::mt19937 fEngine;
};

// ---- hue ----

/// Comparisons that ignore a NaN operand, a signalling one too.
inline float TwinMin(float pA, float pB)
{
    return std::isnan(pA) ? pB : std::isnan(pB) ? pA : std::fmin(pA, pB);
}

inline float TwinMax(float pA, float pB)
{
    return std::isnan(pA) ? pB : std::isnan(pB) ? pA : std::fmax(pA, pB);
}

inline float TwinDegrees(float R, float G, float B, float pMin, float pMax)
{
    const float d = pMax - pMin;
    if (R == pMax && G >= B) return (G - B) * 60.0f / d;
    if (R == pMax && G < B) return (G - B) * 60.0f / d + 360.0f;
    if (G == pMax) return (B - R) * 60.0f / d + 120.0f;
    return (R - G) * 60.0f / d + 240.0f;
}

/// Truncation to 32 bits unsigned, saturating, NaN to 0, and of that the low 16 bits.
inline uint16_t TwinLow16(float pValue)
{
    if (!(pValue > 0.0f)) return 0;
    const uint32_t whole = pValue >= 4294967296.0f ? 0xFFFFFFFFu : static_cast<uint32_t>(pValue);
    return static_cast<uint16_t>(whole & 0xFFFFu);
}

struct sTwinRecord
{
    float Y = 0;
    uint16_t H = 0;
    float M = 0;
    float V = 0;
};

inline sTwinRecord TwinColor(float R, float G, float B)
{
    const float min = TwinMin(R, TwinMin(G, B));
    const float max = TwinMax(R, TwinMax(G, B));
    sTwinRecord record;
    record.H = min == max ? uint16_t{0} : TwinLow16(TwinDegrees(R, G, B, min, max) * FromBits(0x43360AAB));
    record.M = min == max ? max : min;
    record.V = max;
    if (!(max > 0.0f)) {
        record.M = 0.0f;
        record.V = FromBits(0x00800000);
    }
    return record;
}

inline sTwinRecord TwinXYZ(float X, float Y, float Z)
{
    if (Y <= 0.0f) return {0.000001f, 0, 1.0f, 1.0f};
    static const cMatrix33 m = [] {
        Vornik::cColorSpace_ProPhotoRGB space;
        return space.GetFromPCSTransform();
    }();
    const float i = 1.0f / Y;
    const float x = X * i;
    const float z = Z * i;
    sTwinRecord record = TwinColor(m.m01 + std::fma(m.m00, x, z * m.m02), m.m11 + std::fma(m.m10, x, z * m.m12),
                                   m.m21 + std::fma(m.m20, x, z * m.m22));
    record.Y = Y;
    return record;
}

// ---- the table ----

inline void TwinHMVToRGB(float H, float M, float V, float* pRGB)
{
    const float t = H * 6.0f;
    const float i = std::floor(t);
    const float f = t - i;
    const double whole =
        std::isnan(i) ? 0.0 : std::fmax(-2147483648.0, std::fmin(2147483647.0, static_cast<double>(i)));
    const int j = static_cast<int>(static_cast<int64_t>(whole) % 6);
    const float down = std::fma(f, M - V, V);
    const float up = std::fma(-f, M - V, M);
    const float rows[6][3] = {{V, up, M}, {down, V, M}, {M, V, up}, {M, down, V}, {up, M, V}, {V, M, down}};
    std::memcpy(pRGB, rows[j < 0 ? 5 : j], sizeof rows[0]);
}

// ---- decoders ----

inline uint16_t TwinIndex(float c)
{
    if (c < 0.0f) return 0;
    if (c <= 1.0f) return static_cast<uint16_t>(static_cast<uint32_t>(c * 65535.0f));
    return 65535;
}

/// A row decoder's tables and numbers; what a worker does not take stays unused.
struct sTwinDecoder
{
    const float (*fTable)[3] = nullptr;
    const unsigned short* fEncodeLUT = nullptr;
    const float* fContrastLUT = nullptr; ///< null: the clamp of the HMV decoder
    const float* fHLLUT = nullptr;       ///< null: no hue-lightness term
    bool fHasRange = false;              ///< black and range in place of the lightness term
    float fScale = 1.0f;
    float fInvRange = 1.0f;
    float fBlack = 0.0f;
    cMatrix33 fMatrix = {1, 0, 0, 0, 1, 0, 0, 0, 1};
};

inline float TwinIntensity(const sTwinDecoder& p, const sTwinRecord& r, bool pHasLuminance)
{
    if (p.fHasRange) return p.fInvRange == 1.0f ? r.Y * p.fScale : std::fmax((r.Y - p.fBlack) * p.fInvRange, 0.0f);
    const float q = (1.0f - r.M / r.V) + (1.0f - r.M / r.V);
    const float lightness = std::fma(p.fHLLUT[r.H] - 0.5f, q, 1.0f);
    return pHasLuminance ? lightness * (r.Y * p.fScale) : lightness;
}

/// The three samples in the order R, G, B.
inline void TwinDecode(const sTwinDecoder& p, const sTwinRecord& r, bool pHasLuminance, uint16_t* pRGB)
{
    const float L = TwinIntensity(p, r, pHasLuminance);
    const float lv = L * r.V;
    const float d = std::fma(-L, r.M, lv);
    float a[3];
    for (int k = 0; k < 3; ++k) {
        const float product = d * p.fTable[r.H][k];
        const float c = std::fma(L, r.M, product);
        a[k] = p.fContrastLUT != nullptr ? p.fContrastLUT[TwinIndex(c)] : std::fmax(std::fmin(c, 1.0f), 0.0f);
    }
    const float m[9] = {p.fMatrix.m00, p.fMatrix.m01, p.fMatrix.m02, p.fMatrix.m10, p.fMatrix.m11,
                        p.fMatrix.m12, p.fMatrix.m20, p.fMatrix.m21, p.fMatrix.m22};
    for (int k = 0; k < 3; ++k) {
        const float second = m[3 * k + 1] * a[1];
        const float two = std::fma(m[3 * k], a[0], second);
        pRGB[k] = p.fEncodeLUT[TwinIndex(std::fma(m[3 * k + 2], a[2], two))];
    }
}

// ---- records by byte ----

inline sTwinRecord ReadYHMV(const unsigned char* pAt)
{
    return {GetField(pAt, YHMVPixel::kLuminance), GetField(pAt, YHMVPixel::kHue), GetField(pAt, YHMVPixel::kSmallest),
            GetField(pAt, YHMVPixel::kLargest)};
}

inline sTwinRecord ReadHMV(const unsigned char* pAt)
{
    return {0.0f, GetField(pAt, HMVPixel::kHue), GetField(pAt, HMVPixel::kSmallest), GetField(pAt, HMVPixel::kLargest)};
}

inline void WriteYHMV(unsigned char* pAt, const sTwinRecord& pRecord)
{
    SetField(pAt, YHMVPixel::kLuminance, pRecord.Y);
    SetField(pAt, YHMVPixel::kHue, pRecord.H);
    SetField(pAt, YHMVPixel::kSmallest, pRecord.M);
    SetField(pAt, YHMVPixel::kLargest, pRecord.V);
}

inline void WriteHMV(unsigned char* pAt, const sTwinRecord& pRecord)
{
    SetField(pAt, HMVPixel::kHue, pRecord.H);
    SetField(pAt, HMVPixel::kSmallest, pRecord.M);
    SetField(pAt, HMVPixel::kLargest, pRecord.V);
}

} // namespace SelvaneTest

#endif
