#include "color/cColorUtils.h"

#include "base/Numeric.h"
#include "color/MatrixProduct.h"
#include "color/cColorSpace.h"

#include <algorithm>
#include <cmath>

// Conversions of single colours, in single precision. Powers, and the scale and offset of the sRGB encoding, are
// computed in double.

namespace Vornik
{

namespace
{

// Curves of sRGB. Exponents, factors and offsets have single precision and are widened for arithmetic in double.
constexpr float kDecodeJunction = 0x1.4b5dccp-5f; // 0.04045
constexpr float kEncodeJunction = 0x1.9a5c38p-9f; // 0.0031308
constexpr float kDecodeSlope = 0x1.3d0722p-4f;    // 0.07739938, 1 / 12.92
constexpr float kEncodeSlope = 0x1.9d70a4p+3f;    // 12.92
constexpr float kOffset = 0x1.c28f5cp-5f;         // 0.055
constexpr float kDecodeScale = 0x1.e54edcp-1f;    // 0.9478673, 1 / 1.055
constexpr float kEncodeScale = 0x1.0e147ap+0f;    // 1.055
constexpr float kDecodeExponent = 0x1.333334p+1f; // 2.4
constexpr float kEncodeExponent = 0x1.aaaaaap-2f; // 0.41666666, 1 / 2.4

// ProPhoto RGB, without its linear toe.
constexpr float kProPhotoDecodeExponent = 0x1.ccccccp+0f; // 1.8
constexpr float kProPhotoEncodeExponent = 0x1.1c71c8p-1f; // 0.5555556, 1 / 1.8

constexpr float kTurnsPerDegree = 0x1.6c16c2p-9f;   // 0.0027777778, 1 / 360
constexpr float kSectorsPerDegree = 0x1.111112p-6f; // 0.016666668, 1 / 60

// Matrices between linear RGB of the fixed spaces and the PCS. To single precision they equal the matrices that the
// colour spaces compute. The tiny terms of the ProPhoto pair must stay. Each float is the nearest to its decimal.
constexpr cMatrix33 kLinearsRGBToPCS = {0.43602189f,  0.38510889f, 0.1430812f,   0.2224752f, 0.71690661f,
                                        0.060618222f, 0.01392813f, 0.097101517f, 0.7141586f};
constexpr cMatrix33 kPCSToLinearsRGB = {3.1343119f,   -1.617233f,   -0.49068579f, -0.97874379f, 1.916114f,
                                        0.033449799f, 0.071948178f, -0.2289864f,  1.4052711f};
constexpr cMatrix33 kLinearProPhotoToPCS = {0.79766732f,       0.1351922f,       0.031352531f,
                                            0.28803739f,       0.71187693f,      0.000085662643f,
                                            -0.0000000323565f, 0.0000000126223f, 0.82518822f};
constexpr cMatrix33 kPCSToLinearProPhoto = {1.345956f,    -0.25560999f,     -0.051112261f,    -0.54459667f, 1.508161f,
                                            0.020535059f, 0.0000000611067f, -0.000000033092f, 1.211845f};
constexpr cMatrix33 kLinearsRGBToLinearProPhoto = {0.52928752f,  0.33012807f,  0.14058411f, 0.098358348f, 0.87347555f,
                                                   0.028165776f, 0.016878754f, 0.11767199f, 0.86544955f};
constexpr cMatrix33 kLinearProPhotoToLinearsRGB = {2.0343146f,     -0.72753626f, -0.30677804f,
                                                   -0.22879943f,   1.2317188f,   -0.002919575f,
                                                   -0.0085659819f, -0.15328328f, 1.1618491f};

/// Raises to at least 0, then lowers to at most 1. NaN stays NaN.
float ClampToUnit(float pValue)
{
    const float raised = pValue < 0.0f ? 0.0f : pValue;
    return raised > 1.0f ? 1.0f : raised;
}

cVector3 ClampToUnit(cVector3 pColour)
{
    return {ClampToUnit(pColour.x), ClampToUnit(pColour.y), ClampToUnit(pColour.z)};
}

/// 1 / (Y + Z + X), the factor from XYZ to chromaticities.
float ChromaScale(float pX, float pY, float pZ)
{
    return 1.0f / ((pY + pZ) + pX);
}

/// Clamps one component to [0, 1]. Required: only a component out of range changes the flag, so the last one decides.
void BringIntoGamut(float& pComponent, bool& pInside)
{
    if (pComponent < 0.0f) {
        pComponent = 0.0f;
        pInside = false;
    } else if (!(pComponent <= 1.0f)) { // also NaN
        pComponent = 1.0f;
        pInside = true;
    }
}

bool BringIntoGamut(cVector3& pColour)
{
    bool inside = true;
    BringIntoGamut(pColour.x, inside);
    BringIntoGamut(pColour.y, inside);
    BringIntoGamut(pColour.z, inside);
    return inside;
}

/// Sets components below 0 or NaN to 0. Returns false if there was one.
bool RaiseToZero(cVector3& pColour)
{
    bool inside = true;
    for (float* component : {&pColour.x, &pColour.y, &pColour.z}) {
        if (!(*component >= 0.0f)) {
            *component = 0.0f;
            inside = false;
        }
    }
    return inside;
}

void Unpack(cVector3 pColour, float& pFirst, float& pSecond, float& pThird)
{
    pFirst = pColour.x;
    pSecond = pColour.y;
    pThird = pColour.z;
}

float Power(float pBase, float pExponent)
{
    return static_cast<float>(std::pow(static_cast<double>(pBase), static_cast<double>(pExponent)));
}

float DecodesRGB(float pValue)
{
    return pValue <= kDecodeJunction ? pValue * kDecodeSlope
                                     : Power((pValue + kOffset) * kDecodeScale, kDecodeExponent);
}

float EncodesRGB(float pValue)
{
    if (pValue <= kEncodeJunction) return pValue * kEncodeSlope;
    const double power = std::pow(static_cast<double>(pValue), static_cast<double>(kEncodeExponent));
    return static_cast<float>(power * static_cast<double>(kEncodeScale) - static_cast<double>(kOffset));
}

cVector3 DecodesRGB(cVector3 pColour)
{
    return {DecodesRGB(pColour.x), DecodesRGB(pColour.y), DecodesRGB(pColour.z)};
}

cVector3 EncodesRGB(cVector3 pColour)
{
    return {EncodesRGB(pColour.x), EncodesRGB(pColour.y), EncodesRGB(pColour.z)};
}

cVector3 DecodeProPhoto(cVector3 pColour)
{
    return {Power(pColour.x, kProPhotoDecodeExponent), Power(pColour.y, kProPhotoDecodeExponent),
            Power(pColour.z, kProPhotoDecodeExponent)};
}

cVector3 EncodeProPhoto(cVector3 pColour)
{
    return {Power(pColour.x, kProPhotoEncodeExponent), Power(pColour.y, kProPhotoEncodeExponent),
            Power(pColour.z, kProPhotoEncodeExponent)};
}

/// The hue in degrees. The largest and the smallest component must differ.
float HueOf(cVector3 pColour, float pMax, float pRange)
{
    if (pMax == pColour.x) {
        const float hue = ((pColour.y - pColour.z) * 60.0f) / pRange;
        return pColour.z > pColour.y ? hue + 360.0f : hue;
    }
    if (pMax == pColour.y) return ((pColour.z - pColour.x) * 60.0f) / pRange + 120.0f;
    return ((pColour.x - pColour.y) * 60.0f) / pRange + 240.0f;
}

/// Wraps a hue into one turn. Required: a hue of -360 or below stays negative and mostly gives a negative sector.
float WrapHue(float pHue)
{
    if (pHue < 0.0f) return pHue + (1.0f - std::floor(pHue * -kTurnsPerDegree)) * 360.0f;
    return pHue - std::floor(pHue * kTurnsPerDegree) * 360.0f;
}

/// The colour in one sixth of the hue circle; black for a negative sector.
cVector3 ColourInSector(int pSector, float pV, float pP, float pQ, float pT)
{
    switch (pSector) {
    case 0:
        return {pV, pT, pP};
    case 1:
        return {pQ, pV, pP};
    case 2:
        return {pP, pV, pT};
    case 3:
        return {pP, pQ, pV};
    case 4:
        return {pT, pP, pV};
    case 5:
        return {pV, pP, pQ};
    default:
        return {0.0f, 0.0f, 0.0f};
    }
}

} // namespace

void cColorUtils::xyYToXYZ(float pLuminance, float pChromaX, float pChromaY, float& pX, float& pY, float& pZ)
{
    const float reciprocal = 1.0f / pChromaY;
    pX = (pChromaX * reciprocal) * pLuminance;
    pY = pLuminance;
    pZ = (((1.0f - pChromaY) - pChromaX) * reciprocal) * pLuminance;
}

void cColorUtils::xyToXYZ(float pChromaX, float pChromaY, float& pX, float& pY, float& pZ)
{
    xyYToXYZ(1.0f, pChromaX, pChromaY, pX, pY, pZ);
}

cVector3 cColorUtils::xyToXYZ(cVector2 pChroma)
{
    cVector3 xyz;
    xyToXYZ(pChroma.x, pChroma.y, xyz.x, xyz.y, xyz.z);
    return xyz;
}

void cColorUtils::XYZToxyz(float pX, float pY, float pZ, float& pChromaX, float& pChromaY, float& pChromaZ)
{
    const float scale = ChromaScale(pX, pY, pZ);
    pChromaX = scale * pX;
    pChromaY = scale * pY;
    pChromaZ = scale * pZ;
}

void cColorUtils::XYZToxyY(float pX, float pY, float pZ, float& pChromaX, float& pChromaY, float& pLuminance)
{
    const float scale = ChromaScale(pX, pY, pZ);
    pChromaX = scale * pX;
    pChromaY = scale * pY;
    pLuminance = pY;
}

void cColorUtils::XYZToxy(float pX, float pY, float pZ, float& pChromaX, float& pChromaY)
{
    const float scale = ChromaScale(pX, pY, pZ);
    pChromaX = scale * pX;
    pChromaY = scale * pY;
}

cVector2 cColorUtils::XYZToxy(cVector3 pXYZ)
{
    cVector2 chroma;
    XYZToxy(pXYZ.x, pXYZ.y, pXYZ.z, chroma.x, chroma.y);
    return chroma;
}

bool cColorUtils::xyYToRGBLinear(cColorSpace* pColorSpace, float pLuminance, float pChromaX, float pChromaY, float& pR,
                                 float& pG, float& pB)
{
    cVector3 xyz;
    xyYToXYZ(pLuminance, pChromaX, pChromaY, xyz.x, xyz.y, xyz.z);
    cVector3 rgb = Multiply(pColorSpace->GetFromXYZTransform(), xyz);
    const bool inside = BringIntoGamut(rgb);
    Unpack(rgb, pR, pG, pB);
    return inside;
}

bool cColorUtils::xyToRGBLinear(cColorSpace* pColorSpace, float pChromaX, float pChromaY, float& pR, float& pG,
                                float& pB)
{
    const float reciprocal = 1.0f / pChromaY;
    const cVector3 xyz(pChromaX * reciprocal, 1.0f, ((1.0f - pChromaY) - pChromaX) * reciprocal);
    cVector3 rgb = Multiply(pColorSpace->GetFromXYZTransform(), xyz);
    const bool inside = RaiseToZero(rgb);
    const float largest = std::max({rgb.x, rgb.y, rgb.z});
    if (largest != 0.0f) {
        const float scale = 1.0f / largest;
        rgb = {rgb.x * scale, rgb.y * scale, rgb.z * scale};
    }
    Unpack(rgb, pR, pG, pB);
    return inside;
}

void cColorUtils::RGBLinearToXYZ(cColorSpace* pColorSpace, float pR, float pG, float pB, float& pX, float& pY,
                                 float& pZ)
{
    Unpack(Multiply(pColorSpace->GetToXYZTransform(), cVector3(pR, pG, pB)), pX, pY, pZ);
}

void cColorUtils::RGBLinearToxy(cColorSpace* pColorSpace, float pR, float pG, float pB, float& pChromaX,
                                float& pChromaY)
{
    cVector3 xyz;
    RGBLinearToXYZ(pColorSpace, pR, pG, pB, xyz.x, xyz.y, xyz.z);
    XYZToxy(xyz.x, xyz.y, xyz.z, pChromaX, pChromaY);
}

void cColorUtils::RGBLinearToPCS(cColorSpace* pColorSpace, float pR, float pG, float pB, float& pX, float& pY,
                                 float& pZ)
{
    Unpack(Multiply(pColorSpace->GetToPCSTransform(), cVector3(pR, pG, pB)), pX, pY, pZ);
}

bool cColorUtils::UprimeVprimeToRGBLinear(cColorSpace* pColorSpace, float pUprime, float pVprime, float& pR, float& pG,
                                          float& pB)
{
    const float reciprocal = 1.0f / (6.0f * pUprime - 16.0f * pVprime + 12.0f);
    return xyToRGBLinear(pColorSpace, 9.0f * pUprime * reciprocal, 4.0f * pVprime * reciprocal, pR, pG, pB);
}

bool cColorUtils::RGBLinearToRGBLinear(cColorSpace* pSource, cColorSpace* pDestination, float pR, float pG, float pB,
                                       float& pToR, float& pToG, float& pToB)
{
    const cMatrix33 through = Multiply(pDestination->GetFromPCSTransform(), pSource->GetToPCSTransform());
    cVector3 rgb = Multiply(through, cVector3(pR, pG, pB));
    const bool inside = BringIntoGamut(rgb);
    Unpack(rgb, pToR, pToG, pToB);
    return inside;
}

void cColorUtils::RGBToHSB(float pR, float pG, float pB, float& pH, float& pS, float& pV)
{
    const cVector3 rgb = ClampToUnit(cVector3(pR, pG, pB));
    const float min = std::min({rgb.x, rgb.y, rgb.z});
    const float max = std::max({rgb.x, rgb.y, rgb.z});
    pH = min == max ? 0.0f : HueOf(rgb, max, max - min);
    pS = max == 0.0f ? 0.0f : 1.0f - min / max;
    pV = max;
}

cVector3 cColorUtils::RGBToHSB(cVector3 pRGB)
{
    cVector3 hsb;
    RGBToHSB(pRGB.x, pRGB.y, pRGB.z, hsb.x, hsb.y, hsb.z);
    return hsb;
}

void cColorUtils::HSBToRGB(float pH, float pS, float pV, float& pR, float& pG, float& pB)
{
    const float saturation = ClampToUnit(pS);
    const float brightness = ClampToUnit(pV);
    const float position = WrapHue(pH) * kSectorsPerDegree;
    const int whole = TruncateToInt32(std::floor(position));
    const float fraction = position - static_cast<float>(whole);
    const float p = (1.0f - saturation) * brightness;
    const float q = brightness * (1.0f - saturation * fraction);
    const float t = brightness * (1.0f + saturation * (fraction - 1.0f));
    Unpack(ClampToUnit(ColourInSector(whole % 6, brightness, p, q, t)), pR, pG, pB);
}

cVector3 cColorUtils::HSBToRGB(cVector3 pHSB)
{
    cVector3 rgb;
    HSBToRGB(pHSB.x, pHSB.y, pHSB.z, rgb.x, rgb.y, rgb.z);
    return rgb;
}

void cColorUtils::sRGBToLinear(float pR, float pG, float pB, float& pToR, float& pToG, float& pToB)
{
    Unpack(DecodesRGB(cVector3(pR, pG, pB)), pToR, pToG, pToB);
}

void cColorUtils::sRGBFromLinear(float pR, float pG, float pB, float& pToR, float& pToG, float& pToB)
{
    Unpack(EncodesRGB(cVector3(pR, pG, pB)), pToR, pToG, pToB);
}

void cColorUtils::ProPhotoToLinear(float pR, float pG, float pB, float& pToR, float& pToG, float& pToB)
{
    Unpack(DecodeProPhoto(cVector3(pR, pG, pB)), pToR, pToG, pToB);
}

void cColorUtils::ProPhotoFromLinear(float pR, float pG, float pB, float& pToR, float& pToG, float& pToB)
{
    Unpack(EncodeProPhoto(cVector3(pR, pG, pB)), pToR, pToG, pToB);
}

void cColorUtils::sRGBToProPhoto(float pR, float pG, float pB, float& pToR, float& pToG, float& pToB)
{
    const cVector3 linear = Multiply(kLinearsRGBToLinearProPhoto, DecodesRGB(cVector3(pR, pG, pB)));
    Unpack(EncodeProPhoto(linear), pToR, pToG, pToB);
}

void cColorUtils::ProPhotoTosRGB(float pR, float pG, float pB, float& pToR, float& pToG, float& pToB)
{
    const cVector3 linear = Multiply(kLinearProPhotoToLinearsRGB, DecodeProPhoto(cVector3(pR, pG, pB)));
    Unpack(EncodesRGB(ClampToUnit(linear)), pToR, pToG, pToB);
}

void cColorUtils::sRGBToPCS(float pR, float pG, float pB, float& pX, float& pY, float& pZ)
{
    Unpack(sRGBToPCS(cVector3(pR, pG, pB)), pX, pY, pZ);
}

cVector3 cColorUtils::sRGBToPCS(cVector3 pRGB)
{
    return Multiply(kLinearsRGBToPCS, DecodesRGB(pRGB));
}

void cColorUtils::sRGBFromPCS(float pX, float pY, float pZ, float& pR, float& pG, float& pB)
{
    Unpack(sRGBFromPCS(cVector3(pX, pY, pZ)), pR, pG, pB);
}

cVector3 cColorUtils::sRGBFromPCS(cVector3 pXYZ)
{
    return EncodesRGB(Multiply(kPCSToLinearsRGB, pXYZ));
}

void cColorUtils::ProPhotoToPCS(float pR, float pG, float pB, float& pX, float& pY, float& pZ)
{
    Unpack(ProPhotoToPCS(cVector3(pR, pG, pB)), pX, pY, pZ);
}

cVector3 cColorUtils::ProPhotoToPCS(cVector3 pRGB)
{
    return Multiply(kLinearProPhotoToPCS, DecodeProPhoto(pRGB));
}

void cColorUtils::ProPhotoFromPCS(float pX, float pY, float pZ, float& pR, float& pG, float& pB)
{
    Unpack(ProPhotoFromPCS(cVector3(pX, pY, pZ)), pR, pG, pB);
}

cVector3 cColorUtils::ProPhotoFromPCS(cVector3 pXYZ)
{
    return EncodeProPhoto(Multiply(kPCSToLinearProPhoto, pXYZ));
}

} // namespace Vornik
