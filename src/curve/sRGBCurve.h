#ifndef SELVANE_CURVE_SRGBCURVE_H
#define SELVANE_CURVE_SRGBCURVE_H

// The numbers of the sRGB curves, IEC 61966-2-1, internal. The reciprocals are factors: a division would give other
// bits.

namespace Vornik
{

constexpr float kLinearKnee = 0x1.9a5c38p-9f;             // 0.0031308, in linear light
constexpr float kEncodedKnee = 0x1.4b5dccp-5f;            // 0.04045, in encoded values
constexpr float kSlope = 0x1.9d70a4p+3f;                  // 12.92
constexpr float kInverseSlope = 0x1.3d0722p-4f;           // 1 / 12.92
constexpr double kScale = 0x1.0e147ae147ae1p+0;           // 1.055
constexpr double kInverseScale = 0x1.e54edcd0aeb6p-1;     // 1 / 1.055
constexpr double kOffset = 0x1.c28f5c28f5c29p-5;          // 0.055
constexpr double kExponent = 0x1.3333333333333p+1;        // 2.4
constexpr double kInverseExponent = 0x1.aaaaaaaaaaaabp-2; // 1 / 2.4

} // namespace Vornik

#endif
