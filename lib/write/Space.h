#ifndef SELVANE_LIB_WRITE_SPACE_H
#define SELVANE_LIB_WRITE_SPACE_H

// The colour spaces of pictures and targets: primaries, and the curves between linear light and samples.

#include "color/cMatrix.h"
#include "selvane.h"

#include <cstdint>
#include <vector>

namespace SelvaneLib
{

/// CIE x and y of red, green, blue and white.
struct sChromaticities
{
    float fXY[8];
};

/// A curve between linear light and encoded values, both 0 to 1 and beyond.
enum class eCurve
{
    Linear,
    Power,  ///< encoded = linear ^ (1 / gamma)
    Srgb,   ///< IEC 61966-2-1
    Rec2020 ///< ITU-R BT.2020, with alpha 1.09929682680944 and beta 0.018053968510807
};

struct sCurve
{
    eCurve fKind;
    double fGamma; ///< of Power
};

double Decode(const sCurve& pCurve, double pEncoded);
double Encode(const sCurve& pCurve, double pLinear);

/// Primaries by number, SELVANE_SRGB to SELVANE_ACES_AP1.
const sChromaticities& ChromaticitiesOf(int pPrimaries);

/// The curve that belongs to a space. ACES and custom ones are linear.
sCurve CurveOf(int pPrimaries);

/// Linear RGB to XYZ relative to D50, by the Bradford adaptation. For the first three spaces the engine's own.
/// @param pCustom x and y of red, green, blue, white; read for SELVANE_CUSTOM only
Vornik::cMatrix33 ToXYZ(int pPrimaries, const float* pCustom = nullptr);
/// The inverse.
Vornik::cMatrix33 FromXYZ(int pPrimaries, const float* pCustom);

/// Whether the number is one of selvane_primaries.
bool IsSpace(int pPrimaries);

/// Whether a matrix to XYZ has nine finite numbers and can be undone. Chromaticities may give any.
bool IsUsable(const Vornik::cMatrix33& m);

/// The encoded sample of each linear 16-bit value, 65536 entries. For the first three spaces the engine's own table;
/// for the others the curve's value times 65535, truncated as there.
std::vector<uint16_t> SampleTable(int pSpace, bool pLinear);

/// The same as floats, 0 to 1: the exact curve.
std::vector<float> FloatTable(int pSpace, bool pLinear);

} // namespace SelvaneLib

#endif
