#ifndef SELVANE_COLOR_CCOLORUTILS_H
#define SELVANE_COLOR_CCOLORUTILS_H

#include "base/Export.h"
#include "color/cVector.h"

namespace Vornik
{

class cColorSpace;

/// Conversions of one colour at a time between chromaticity, XYZ, linear and encoded RGB, and hue, saturation,
/// brightness.
///
/// Nothing here throws or checks its arguments: a zero denominator gives what the arithmetic gives, and pointers to
/// colour spaces must not be null. Nothing is clamped unless an operation says so. No state; any thread may call any
/// operation. Inputs are taken by value before a result is written, so a result may be written over an input variable.
class SELVANE_API cColorUtils
{
public:
    // Chromaticity. Note the order of xyYToXYZ: the luminance comes first.

    /// Luminance and chromaticity to XYZ.
    static void xyYToXYZ(float pLuminance, float pChromaX, float pChromaY, float& pX, float& pY, float& pZ);
    /// With a luminance of 1.
    static void xyToXYZ(float pChromaX, float pChromaY, float& pX, float& pY, float& pZ);
    /// The same, packed.
    static cVector3 xyToXYZ(cVector2 pChroma);
    /// XYZ to the three chromaticity coordinates, which sum to 1.
    static void XYZToxyz(float pX, float pY, float pZ, float& pChromaX, float& pChromaY, float& pChromaZ);
    /// XYZ to chromaticity and luminance.
    static void XYZToxyY(float pX, float pY, float pZ, float& pChromaX, float& pChromaY, float& pLuminance);
    /// XYZ to chromaticity.
    static void XYZToxy(float pX, float pY, float pZ, float& pChromaX, float& pChromaY);
    /// The same, packed.
    static cVector2 XYZToxy(cVector3 pXYZ);

    // Through a colour space. RGB is linear.

    /// To RGB clamped to [0, 1]. The result starts as true; each component in turn sets it to false when it was below 0
    /// and to true when it was above 1 or NaN, so that the last component out of range decides.
    static bool xyYToRGBLinear(cColorSpace* pColorSpace, float pLuminance, float pChromaX, float pChromaY, float& pR,
                               float& pG, float& pB);
    /// To the brightest colour of that chromaticity: the largest component is 1, or all are 0. False when a component
    /// was below 0 or NaN and was set to 0.
    static bool xyToRGBLinear(cColorSpace* pColorSpace, float pChromaX, float pChromaY, float& pR, float& pG,
                              float& pB);
    /// To XYZ under the space's own white.
    static void RGBLinearToXYZ(cColorSpace* pColorSpace, float pR, float pG, float pB, float& pX, float& pY, float& pZ);
    /// To the chromaticity under the space's own white.
    static void RGBLinearToxy(cColorSpace* pColorSpace, float pR, float pG, float pB, float& pChromaX, float& pChromaY);
    /// To XYZ under D50.
    static void RGBLinearToPCS(cColorSpace* pColorSpace, float pR, float pG, float pB, float& pX, float& pY, float& pZ);
    /// From the chromaticity of the CIE 1976 uniform scale; otherwise as xyToRGBLinear.
    static bool UprimeVprimeToRGBLinear(cColorSpace* pColorSpace, float pUprime, float pVprime, float& pR, float& pG,
                                        float& pB);
    /// From one space to another by way of the PCS; clamped, with the result of xyYToRGBLinear.
    static bool RGBLinearToRGBLinear(cColorSpace* pSource, cColorSpace* pDestination, float pR, float pG, float pB,
                                     float& pToR, float& pToG, float& pToB);

    // Hue in degrees, saturation and brightness in [0, 1] (A. R. Smith, "Color gamut transform pairs", 1978).

    /// Clamps R, G and B to [0, 1] first. H is in [0, 360), and 0 for grey.
    static void RGBToHSB(float pR, float pG, float pB, float& pH, float& pS, float& pV);
    /// The same, packed.
    static cVector3 RGBToHSB(cVector3 pRGB);
    /// Takes any H, and clamps S and V to [0, 1]. A hue of -360 yields black, and so do most below it.
    static void HSBToRGB(float pH, float pS, float pV, float& pR, float& pG, float& pB);
    /// The same, packed.
    static cVector3 HSBToRGB(cVector3 pHSB);

    // Transfer curves of fixed spaces, the same for the three components.

    /// Decodes sRGB; a negative value stays on the straight part of the curve.
    static void sRGBToLinear(float pR, float pG, float pB, float& pToR, float& pToG, float& pToB);
    /// Encodes sRGB; a negative value stays on the straight part of the curve.
    static void sRGBFromLinear(float pR, float pG, float pB, float& pToR, float& pToG, float& pToB);
    /// To the power 1.8; NaN for a negative value.
    static void ProPhotoToLinear(float pR, float pG, float pB, float& pToR, float& pToG, float& pToB);
    /// To the power 0.5555556; NaN for a negative value.
    static void ProPhotoFromLinear(float pR, float pG, float pB, float& pToR, float& pToG, float& pToB);

    // Between fixed spaces and to and from XYZ under D50. RGB is encoded.

    /// Encoded sRGB to encoded ProPhoto RGB.
    static void sRGBToProPhoto(float pR, float pG, float pB, float& pToR, float& pToG, float& pToB);
    /// Encoded ProPhoto RGB to encoded sRGB. Clamps linear sRGB to [0, 1]; the only one of the six that clamps.
    static void ProPhotoTosRGB(float pR, float pG, float pB, float& pToR, float& pToG, float& pToB);
    /// Encoded sRGB to XYZ under D50.
    static void sRGBToPCS(float pR, float pG, float pB, float& pX, float& pY, float& pZ);
    /// The same, packed.
    static cVector3 sRGBToPCS(cVector3 pRGB);
    /// XYZ under D50 to encoded sRGB.
    static void sRGBFromPCS(float pX, float pY, float pZ, float& pR, float& pG, float& pB);
    /// The same, packed.
    static cVector3 sRGBFromPCS(cVector3 pXYZ);
    /// Encoded ProPhoto RGB to XYZ under D50.
    static void ProPhotoToPCS(float pR, float pG, float pB, float& pX, float& pY, float& pZ);
    /// The same, packed.
    static cVector3 ProPhotoToPCS(cVector3 pRGB);
    /// XYZ under D50 to encoded ProPhoto RGB.
    static void ProPhotoFromPCS(float pX, float pY, float pZ, float& pR, float& pG, float& pB);
    /// The same, packed.
    static cVector3 ProPhotoFromPCS(cVector3 pXYZ);
};

} // namespace Vornik

#endif
