#include "write/Space.h"

#include "base/Numeric.h"
#include "color/EncodeTable.h"
#include "color/cColorSpace.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <iterator>
#include <memory>

namespace SelvaneLib
{

namespace
{

/// ITU-R BT.709, Adobe RGB (1998), ISO 22028-2 (ROMM), SMPTE EG 432-1 with D65, ITU-R BT.2020, SMPTE ST 2065-1,
/// ACES S-2014-004. In the order of selvane_primaries.
constexpr sChromaticities kSpaces[] = {
    {{0.64f, 0.33f, 0.30f, 0.60f, 0.15f, 0.06f, 0.3127f, 0.3290f}},
    {{0.64f, 0.33f, 0.21f, 0.71f, 0.15f, 0.06f, 0.3127f, 0.3290f}},
    {{0.7347f, 0.2653f, 0.1596f, 0.8404f, 0.0366f, 0.0001f, 0.34567f, 0.3585f}},
    {{0.680f, 0.320f, 0.265f, 0.690f, 0.150f, 0.060f, 0.3127f, 0.3290f}},
    {{0.708f, 0.292f, 0.170f, 0.797f, 0.131f, 0.046f, 0.3127f, 0.3290f}},
    {{0.7347f, 0.2653f, 0.0f, 1.0f, 0.0001f, -0.0770f, 0.32168f, 0.33767f}},
    {{0.713f, 0.293f, 0.165f, 0.830f, 0.128f, 0.044f, 0.32168f, 0.33767f}},
};

constexpr double kAlpha = 1.09929682680944; // ITU-R BT.2020-2, table 4, to full precision
constexpr double kBeta = 0.018053968510807;

/// The engine's own space; null if it has none of this number.
std::unique_ptr<Vornik::cColorSpace> EngineSpace(int pSpace)
{
    return std::unique_ptr<Vornik::cColorSpace>(
        Vornik::cColorSpace::FromID(static_cast<Vornik::eColorSpaceID>(pSpace)));
}

/// The space whose transfer object has this curve.
int SpaceOfTransfer(int pSpace)
{
    return pSpace == SELVANE_DISPLAY_P3 ? SELVANE_SRGB : pSpace;
}

const float* XYOf(int pPrimaries, const float* pCustom)
{
    return pPrimaries == SELVANE_CUSTOM ? pCustom : ChromaticitiesOf(pPrimaries).fXY;
}

} // namespace

double Decode(const sCurve& pCurve, double pEncoded)
{
    switch (pCurve.fKind) {
    case eCurve::Power:
        return std::pow(pEncoded, pCurve.fGamma);
    case eCurve::Srgb:
        return pEncoded <= 0.04045 ? pEncoded / 12.92 : std::pow((pEncoded + 0.055) / 1.055, 2.4);
    case eCurve::Rec2020:
        return pEncoded < kBeta * 4.5 ? pEncoded / 4.5 : std::pow((pEncoded + (kAlpha - 1.0)) / kAlpha, 1.0 / 0.45);
    case eCurve::Linear:
        break;
    }
    return pEncoded;
}

double Encode(const sCurve& pCurve, double pLinear)
{
    switch (pCurve.fKind) {
    case eCurve::Power:
        return std::pow(pLinear, 1.0 / pCurve.fGamma);
    case eCurve::Srgb:
        return pLinear <= 0.0031308 ? pLinear * 12.92 : 1.055 * std::pow(pLinear, 1.0 / 2.4) - 0.055;
    case eCurve::Rec2020:
        return pLinear < kBeta ? pLinear * 4.5 : kAlpha * std::pow(pLinear, 0.45) - (kAlpha - 1.0);
    case eCurve::Linear:
        break;
    }
    return pLinear;
}

const sChromaticities& ChromaticitiesOf(int pPrimaries)
{
    return kSpaces[pPrimaries];
}

sCurve CurveOf(int pPrimaries)
{
    switch (pPrimaries) {
    case SELVANE_SRGB:
    case SELVANE_DISPLAY_P3:
        return {eCurve::Srgb, 0.0};
    case SELVANE_ADOBE_RGB:
        return {eCurve::Power, 2.2};
    case SELVANE_PROPHOTO:
        return {eCurve::Power, 1.8};
    case SELVANE_REC2020:
        return {eCurve::Rec2020, 0.0};
    default:
        return {eCurve::Linear, 0.0};
    }
}

Vornik::cMatrix33 ToXYZ(int pPrimaries, const float* pCustom)
{
    const auto engine = EngineSpace(pPrimaries);
    if (engine != nullptr) return engine->GetToPCSTransform();
    const float* xy = XYOf(pPrimaries, pCustom);
    return Vornik::cColorSpace::RGBToPCSTransform(xy[0], xy[1], xy[2], xy[3], xy[4], xy[5], xy[6], xy[7]);
}

Vornik::cMatrix33 FromXYZ(int pPrimaries, const float* pCustom)
{
    const auto engine = EngineSpace(pPrimaries);
    if (engine != nullptr) return engine->GetFromPCSTransform();
    const float* xy = XYOf(pPrimaries, pCustom);
    return Vornik::cColorSpace::PCSToRGBTransform(xy[0], xy[1], xy[2], xy[3], xy[4], xy[5], xy[6], xy[7]);
}

bool IsSpace(int pPrimaries)
{
    return (pPrimaries >= SELVANE_SRGB && pPrimaries <= SELVANE_ACES_AP1) || pPrimaries == SELVANE_CUSTOM;
}

bool IsUsable(const Vornik::cMatrix33& m)
{
    const float entries[] = {m.m00, m.m01, m.m02, m.m10, m.m11, m.m12, m.m20, m.m21, m.m22};
    if (!std::all_of(std::begin(entries), std::end(entries), [](float e) { return std::fabs(e) < 1e4f; })) return false;
    const float determinant = m.m00 * (m.m11 * m.m22 - m.m12 * m.m21) - m.m01 * (m.m10 * m.m22 - m.m12 * m.m20) +
                              m.m02 * (m.m10 * m.m21 - m.m11 * m.m20);
    return std::fabs(determinant) > 1e-4f;
}

std::vector<uint16_t> SampleTable(int pSpace, bool pLinear)
{
    std::vector<uint16_t> table(Vornik::kTableSize);
    const auto engine = pLinear ? nullptr : EngineSpace(SpaceOfTransfer(pSpace));
    if (engine != nullptr) {
        Vornik::FillEncodeLUT(table.data(), *engine->GetFromLinearTransfer());
        return table;
    }
    const sCurve curve = pLinear ? sCurve{eCurve::Linear, 0.0} : CurveOf(pSpace);
    for (size_t i = 0; i < table.size(); i++) // the small term keeps i / 65535 * 65535 from falling below i
        table[i] = static_cast<uint16_t>(Encode(curve, static_cast<double>(i) / 65535.0) * 65535.0 + 0x1p-20);
    return table;
}

std::vector<float> FloatTable(int pSpace, bool pLinear)
{
    std::vector<float> table(Vornik::kTableSize);
    const sCurve curve = pLinear ? sCurve{eCurve::Linear, 0.0} : CurveOf(pSpace);
    for (size_t i = 0; i < table.size(); i++)
        table[i] = static_cast<float>(Encode(curve, static_cast<double>(i) / 65535.0));
    return table;
}

} // namespace SelvaneLib
