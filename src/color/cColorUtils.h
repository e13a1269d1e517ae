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
/// The operations do not throw and do not check their arguments. A zero denominator gives infinity or NaN. Pointers to
/// colour spaces must not be null. Values are not clamped unless an operation says so. There is no state: any thread
/// may call any operation. Inputs are passed by value, so a result may be stored in an input variable.
class SELVANE_API cColorUtils
{
public:
    // Chromaticity. xyYToXYZ takes the luminance first.

    /// Luminance and chromaticity to XYZ.
    static void xyYToXYZ(float pLuminance, float pChromaX, float pChromaY, float& pX, float& pY, float& pZ);
    /// Chromaticity to XYZ with a luminance of 1.
    static void xyToXYZ(float pChromaX, float pChromaY, float& pX, float& pY, float& pZ);
    /// The same with vectors.
    static cVector3 xyToXYZ(cVector2 pChroma);
    /// XYZ to the three chromaticity coordinates, which sum to 1.
    static void XYZToxyz(float pX, float pY, float pZ, float& pChromaX, float& pChromaY, float& pChromaZ);
    /// XYZ to chromaticity and luminance.
    static void XYZToxyY(float pX, float pY, float pZ, float& pChromaX, float& pChromaY, float& pLuminance);
    /// XYZ to chromaticity.
    static void XYZToxy(float pX, float pY, float pZ, float& pChromaX, float& pChromaY);
    /// The same with vectors.
    static cVector2 XYZToxy(cVector3 pXYZ);

    // Through a colour space. RGB is linear.

    /// Luminance and chromaticity to RGB clamped to [0, 1]; NaN becomes 1. Returns true if no component is out of
    /// range. Otherwise the last component out of range decides: false if it is below 0, true if it is above 1 or NaN.
    static bool xyYToRGBLinear(cColorSpace* pColorSpace, float pLuminance, float pChromaX, float pChromaY, float& pR,
                               float& pG, float& pB);
    /// The brightest colour of that chromaticity: the largest component is 1, or all are 0. Components below 0 or NaN
    /// become 0 first. Returns false if there was one.
    static bool xyToRGBLinear(cColorSpace* pColorSpace, float pChromaX, float pChromaY, float& pR, float& pG,
                              float& pB);
    /// RGB to XYZ under the space's own white.
    static void RGBLinearToXYZ(cColorSpace* pColorSpace, float pR, float pG, float pB, float& pX, float& pY, float& pZ);
    /// RGB to chromaticity under the space's own white.
    static void RGBLinearToxy(cColorSpace* pColorSpace, float pR, float pG, float pB, float& pChromaX, float& pChromaY);
    /// RGB to XYZ under D50.
    static void RGBLinearToPCS(cColorSpace* pColorSpace, float pR, float pG, float pB, float& pX, float& pY, float& pZ);
    /// As xyToRGBLinear, from u' and v' of the CIE 1976 uniform chromaticity scale.
    static bool UprimeVprimeToRGBLinear(cColorSpace* pColorSpace, float pUprime, float pVprime, float& pR, float& pG,
                                        float& pB);
    /// RGB of one space to RGB of another, through the PCS. Clamps and returns as xyYToRGBLinear does.
    static bool RGBLinearToRGBLinear(cColorSpace* pSource, cColorSpace* pDestination, float pR, float pG, float pB,
                                     float& pToR, float& pToG, float& pToB);

    // Hue in degrees, saturation and brightness in [0, 1] (A. R. Smith, "Color gamut transform pairs", 1978).

    /// Clamps R, G and B to [0, 1] first. H is in [0, 360); grey has H = 0.
    static void RGBToHSB(float pR, float pG, float pB, float& pH, float& pS, float& pV);
    /// The same with vectors.
    static cVector3 RGBToHSB(cVector3 pRGB);
    /// Accepts any H. Clamps S and V to [0, 1]. H = -360 and most values below it give black.
    static void HSBToRGB(float pH, float pS, float pV, float& pR, float& pG, float& pB);
    /// The same with vectors.
    static cVector3 HSBToRGB(cVector3 pHSB);

    // Transfer curves of fixed spaces, the same for the three components.

    /// Decodes sRGB. The straight part of the curve continues below 0.
    static void sRGBToLinear(float pR, float pG, float pB, float& pToR, float& pToG, float& pToB);
    /// Encodes sRGB. The straight part of the curve continues below 0.
    static void sRGBFromLinear(float pR, float pG, float pB, float& pToR, float& pToG, float& pToB);
    /// Raises to the power 1.8. A negative value gives NaN.
    static void ProPhotoToLinear(float pR, float pG, float pB, float& pToR, float& pToG, float& pToB);
    /// Raises to the power 0.5555556. A negative value gives NaN.
    static void ProPhotoFromLinear(float pR, float pG, float pB, float& pToR, float& pToG, float& pToB);

    // Between fixed spaces and to and from XYZ under D50. RGB is encoded.

    /// Encoded sRGB to encoded ProPhoto RGB.
    static void sRGBToProPhoto(float pR, float pG, float pB, float& pToR, float& pToG, float& pToB);
    /// Encoded ProPhoto RGB to encoded sRGB. Clamps linear sRGB to [0, 1]; the five others of this group do not clamp.
    static void ProPhotoTosRGB(float pR, float pG, float pB, float& pToR, float& pToG, float& pToB);
    /// Encoded sRGB to XYZ under D50.
    static void sRGBToPCS(float pR, float pG, float pB, float& pX, float& pY, float& pZ);
    /// The same with vectors.
    static cVector3 sRGBToPCS(cVector3 pRGB);
    /// XYZ under D50 to encoded sRGB.
    static void sRGBFromPCS(float pX, float pY, float pZ, float& pR, float& pG, float& pB);
    /// The same with vectors.
    static cVector3 sRGBFromPCS(cVector3 pXYZ);
    /// Encoded ProPhoto RGB to XYZ under D50.
    static void ProPhotoToPCS(float pR, float pG, float pB, float& pX, float& pY, float& pZ);
    /// The same with vectors.
    static cVector3 ProPhotoToPCS(cVector3 pRGB);
    /// XYZ under D50 to encoded ProPhoto RGB.
    static void ProPhotoFromPCS(float pX, float pY, float pZ, float& pR, float& pG, float& pB);
    /// The same with vectors.
    static cVector3 ProPhotoFromPCS(cVector3 pXYZ);
};

} // namespace Vornik

#endif
