#ifndef SELVANE_HOST_COLOR_LIGHT_H
#define SELVANE_HOST_COLOR_LIGHT_H

// From samples to linear light.

#include "picture/Picture.h"

#include <array>
#include <functional>

namespace SelvaneHost
{

/// Luminance of diffuse white in pictures of PQ and HLG, in cd/m2: the light that becomes 1. Source: ITU-R BT.2408.
constexpr double kReferenceWhite = 203.0;

/// Returns the light of a PQ signal of 0 to 1, with kReferenceWhite as 1. Source: SMPTE ST 2084, EOTF.
double PqLight(double pSignal);

/// Returns the scene light of an HLG signal of 0 to 1, with the light of the signal 0.75, its diffuse white, as 1.
/// Source: ITU-R BT.2100, inverse OETF of HLG; ITU-R BT.2408 for the signal of white.
double HlgLight(double pSignal);

/// From an encoded sample to light. 1 is the largest integer.
using tLightCurve = std::function<double(double)>;

/// Replaces the samples by linear floats. Alpha becomes a float of 0 to 1. Exponent planes are linear and stay.
/// @param pCurves of red, green and blue
void MakeLinear(sPicture& pPicture, const std::array<tLightCurve, 3>& pCurves);

/// The same with one curve.
void MakeLinear(sPicture& pPicture, const tLightCurve& pCurve);

/// Multiplies red, green and blue of floats.
void Scale(sPicture& pPicture, float pFactor);

} // namespace SelvaneHost

#endif
