#include "color/cColorSpace.h"

#include "color/MatrixProduct.h"
#include "color/cColorUtils.h"
#include "curve/cTransfer.h"

#include <memory>

// Colour spaces and the matrices between linear RGB, XYZ and the profile connection space.
//
// Chains of matrices are computed in double, in the order in which they are written, and narrowed to float at the end.

namespace Vornik
{

namespace
{

/// XYZ of D50, computed in double from the single-precision chromaticities below.
constexpr sVectorD3 kPCSWhite = {0.96421202494184188, 1.0, 0.8251882243169657};

/// Chromaticity of D50 as the white of ProPhoto RGB: single precision, widened to double.
constexpr double kPCSWhiteChromaX = static_cast<double>(0.34567f);
constexpr double kPCSWhiteChromaY = static_cast<double>(0.3585f);

/// XYZ to the cone responses long, middle, short (Bradford; ICC.1:2022, annex E).
constexpr cMatrixD33 kBradford = {0.8951, 0.2664, -0.1614, -0.7502, 1.7135, 0.0367, 0.0389, -0.0685, 1.0296};

cMatrix33 Narrow(const cMatrixD33& pMatrix)
{
    const cMatrixD33& m = pMatrix;
    return {static_cast<float>(m.m00), static_cast<float>(m.m01), static_cast<float>(m.m02),
            static_cast<float>(m.m10), static_cast<float>(m.m11), static_cast<float>(m.m12),
            static_cast<float>(m.m20), static_cast<float>(m.m21), static_cast<float>(m.m22)};
}

/// XYZ with Y = 1 of a white, from its chromaticity.
sVectorD3 WhiteOf(double pWx, double pWy)
{
    const double reciprocal = 1.0 / pWy;
    return {pWx * reciprocal, 1.0, ((1.0 - pWy) - pWx) * reciprocal};
}

sVectorD3 Widen(float pX, float pY, float pZ)
{
    return {static_cast<double>(pX), static_cast<double>(pY), static_cast<double>(pZ)};
}

/// The inverse; zero if singular.
cMatrixD33 InverseOf(const cMatrixD33& pMatrix)
{
    cMatrixD33 inverse{};
    pMatrix.GetInverse(inverse);
    return inverse;
}

/// The transform of XYZ that takes white pFrom to white pTo. It scales the cone responses by the ratios of the whites.
cMatrixD33 AdaptWhite(const sVectorD3& pFrom, const sVectorD3& pTo)
{
    const cMatrixD33& b = kBradford;
    const cMatrixD33 back = InverseOf(b);
    const sVectorD3 from = Multiply(b, pFrom);
    const sVectorD3 to = Multiply(b, pTo);
    const sVectorD3 ratio = {to.x / from.x, to.y / from.y, to.z / from.z};
    const cMatrixD33 scaled = {ratio.x * b.m00, ratio.x * b.m01, ratio.x * b.m02, ratio.y * b.m10, ratio.y * b.m11,
                               ratio.y * b.m12, ratio.z * b.m20, ratio.z * b.m21, ratio.z * b.m22};
    return Multiply(back, scaled);
}

cVector3 Narrow(const sVectorD3& pVector)
{
    return {static_cast<float>(pVector.x), static_cast<float>(pVector.y), static_cast<float>(pVector.z)};
}

cTransfer* CloneOrNull(const cTransfer* pTransfer)
{
    return pTransfer != nullptr ? pTransfer->Clone() : nullptr;
}

} // namespace

cColorSpace::cColorSpace()
    : fRPrimary(), fGPrimary(), fBPrimary(), fWhitePoint(), fToLinear(nullptr),
      fFromLinear(nullptr), fToXYZ{}, fFromXYZ{}, fToPCS{}, fFromPCS{}
{
}

cColorSpace::cColorSpace(cVector2 pR, cVector2 pG, cVector2 pB, cVector2 pW)
    : fRPrimary(pR), fGPrimary(pG), fBPrimary(pB), fWhitePoint(pW), fToLinear(nullptr), fFromLinear(nullptr),
      fToXYZ(RGBToXYZTransform(pR.x, pR.y, pG.x, pG.y, pB.x, pB.y, pW.x, pW.y)),
      fFromXYZ(XYZToRGBTransform(pR.x, pR.y, pG.x, pG.y, pB.x, pB.y, pW.x, pW.y)),
      fToPCS(RGBToPCSTransform(pR.x, pR.y, pG.x, pG.y, pB.x, pB.y, pW.x, pW.y)),
      fFromPCS(PCSToRGBTransform(pR.x, pR.y, pG.x, pG.y, pB.x, pB.y, pW.x, pW.y))
{
}

cColorSpace::~cColorSpace()
{
    delete fToLinear;
    fToLinear = nullptr;
    delete fFromLinear;
    fFromLinear = nullptr;
}

cVector2 cColorSpace::GetWhiteBalance() const
{
    return fWhitePoint;
}

bool cColorSpace::IsRawColorSpace() const
{
    return false;
}

cVector2 cColorSpace::GetWhitePoint() const
{
    return fWhitePoint;
}

cVector2 cColorSpace::GetRPrimary() const
{
    return fRPrimary;
}

cVector2 cColorSpace::GetGPrimary() const
{
    return fGPrimary;
}

cVector2 cColorSpace::GetBPrimary() const
{
    return fBPrimary;
}

cTransfer* cColorSpace::GetToLinearTransfer()
{
    return fToLinear;
}

cTransfer* cColorSpace::GetFromLinearTransfer()
{
    return fFromLinear;
}

cMatrix33 cColorSpace::GetToXYZTransform()
{
    return fToXYZ;
}

cMatrix33 cColorSpace::GetFromXYZTransform()
{
    return fFromXYZ;
}

cMatrix33 cColorSpace::GetToPCSTransform()
{
    return fToPCS;
}

cMatrix33 cColorSpace::GetFromPCSTransform()
{
    return fFromPCS;
}

bool cColorSpace::IsColorSpaceIDValid(eColorSpaceID pID)
{
    return static_cast<unsigned int>(pID) <= static_cast<unsigned int>(eColorSpace_ProPhotoRGB);
}

cColorSpace* cColorSpace::FromID(eColorSpaceID pID)
{
    switch (pID) {
    case eColorSpace_sRGB:
        return new cColorSpace_sRGB();
    case eColorSpace_AdobeRGB98:
        return new cColorSpace_AdobeRGB98();
    case eColorSpace_ProPhotoRGB:
        return new cColorSpace_ProPhotoRGB();
    }
    return nullptr; // Required: an unknown number gives null, without an exception. The caller checks for null.
}

cMatrixD33 cColorSpace::RGBToXYZTransform(double pRx, double pRy, double pGx, double pGy, double pBx, double pBy,
                                          double pWx, double pWy)
{
    const cMatrixD33 p = {pRx, pGx, pBx, pRy, pGy, pBy, (1.0 - pRy) - pRx, (1.0 - pGy) - pGx, (1.0 - pBy) - pBx};
    const sVectorD3 s = Multiply(InverseOf(p), WhiteOf(pWx, pWy)); // amounts of the primaries in white
    return {p.m00 * s.x, p.m01 * s.y, p.m02 * s.z, p.m10 * s.x, p.m11 * s.y,
            p.m12 * s.z, p.m20 * s.x, p.m21 * s.y, p.m22 * s.z};
}

cMatrixD33 cColorSpace::RGBToPCSTransform(double pRx, double pRy, double pGx, double pGy, double pBx, double pBy,
                                          double pWx, double pWy)
{
    const cMatrixD33 toXYZ = RGBToXYZTransform(pRx, pRy, pGx, pGy, pBx, pBy, pWx, pWy);
    if (pWx == kPCSWhiteChromaX && pWy == kPCSWhiteChromaY) // no tolerance: a white near D50 is adapted
        return toXYZ;
    return Multiply(AdaptWhite(WhiteOf(pWx, pWy), kPCSWhite), toXYZ);
}

cMatrixD33 cColorSpace::XYZToRGBTransform(double pRx, double pRy, double pGx, double pGy, double pBx, double pBy,
                                          double pWx, double pWy)
{
    return InverseOf(RGBToXYZTransform(pRx, pRy, pGx, pGy, pBx, pBy, pWx, pWy));
}

cMatrixD33 cColorSpace::PCSToRGBTransform(double pRx, double pRy, double pGx, double pGy, double pBx, double pBy,
                                          double pWx, double pWy)
{
    return InverseOf(RGBToPCSTransform(pRx, pRy, pGx, pGy, pBx, pBy, pWx, pWy));
}

cMatrix33 cColorSpace::RGBToXYZTransform(float pRx, float pRy, float pGx, float pGy, float pBx, float pBy, float pWx,
                                         float pWy)
{
    return Narrow(RGBToXYZTransform(double(pRx), double(pRy), double(pGx), double(pGy), double(pBx), double(pBy),
                                    double(pWx), double(pWy)));
}

cMatrix33 cColorSpace::RGBToPCSTransform(float pRx, float pRy, float pGx, float pGy, float pBx, float pBy, float pWx,
                                         float pWy)
{
    return Narrow(RGBToPCSTransform(double(pRx), double(pRy), double(pGx), double(pGy), double(pBx), double(pBy),
                                    double(pWx), double(pWy)));
}

cMatrix33 cColorSpace::XYZToRGBTransform(float pRx, float pRy, float pGx, float pGy, float pBx, float pBy, float pWx,
                                         float pWy)
{
    return Narrow(XYZToRGBTransform(double(pRx), double(pRy), double(pGx), double(pGy), double(pBx), double(pBy),
                                    double(pWx), double(pWy)));
}

cMatrix33 cColorSpace::PCSToRGBTransform(float pRx, float pRy, float pGx, float pGy, float pBx, float pBy, float pWx,
                                         float pWy)
{
    return Narrow(PCSToRGBTransform(double(pRx), double(pRy), double(pGx), double(pGy), double(pBx), double(pBy),
                                    double(pWx), double(pWy)));
}

// The constructors below create the two transfers in turn. If the second one fails, the destructor of the base deletes
// the first.

cColorSpace_sRGB::cColorSpace_sRGB() : cColorSpace({0.64f, 0.33f}, {0.30f, 0.60f}, {0.15f, 0.06f}, {0.31271f, 0.32902f})
{
    fToLinear = new cTransfer_sRGBToLinear();
    fFromLinear = new cTransferLinearTo_sRGB();
}

cColorSpace_sRGB::~cColorSpace_sRGB() = default;

cColorSpace* cColorSpace_sRGB::Clone() const
{
    return new cColorSpace_sRGB();
}

char const* cColorSpace_sRGB::GetName() const
{
    return "sRGB IEC61966-2.1";
}

cColorSpace_AdobeRGB98::cColorSpace_AdobeRGB98()
    : cColorSpace({0.64f, 0.33f}, {0.21f, 0.71f}, {0.15f, 0.06f}, {0.31271f, 0.32902f})
{
    fToLinear = new cTransferGamma(0x1.d1745cp-2f);   // 1 / 2.2
    fFromLinear = new cTransferGamma(0x1.19999ap+1f); // 2.2
}

cColorSpace_AdobeRGB98::~cColorSpace_AdobeRGB98() = default;

cColorSpace* cColorSpace_AdobeRGB98::Clone() const
{
    return new cColorSpace_AdobeRGB98();
}

char const* cColorSpace_AdobeRGB98::GetName() const
{
    return "Adobe RGB (1998)";
}

cColorSpace_ProPhotoRGB::cColorSpace_ProPhotoRGB()
    : cColorSpace({0.7347f, 0.2653f}, {0.1596f, 0.8404f}, {0.0366f, 0.0001f}, {0.34567f, 0.3585f})
{
    fToLinear = new cTransferGamma(0x1.1c71c8p-1f);   // 1 / 1.8
    fFromLinear = new cTransferGamma(0x1.ccccccp+0f); // 1.8
}

cColorSpace_ProPhotoRGB::~cColorSpace_ProPhotoRGB() = default;

cColorSpace* cColorSpace_ProPhotoRGB::Clone() const
{
    return new cColorSpace_ProPhotoRGB();
}

char const* cColorSpace_ProPhotoRGB::GetName() const
{
    return "ProPhoto RGB";
}

cVector2 cColorSpace_ProPhotoRGB::GetRPrimary() const
{
    return cColorSpace::GetRPrimary();
}

cVector2 cColorSpace_ProPhotoRGB::GetGPrimary() const
{
    return cColorSpace::GetGPrimary();
}

cVector2 cColorSpace_ProPhotoRGB::GetBPrimary() const
{
    return cColorSpace::GetBPrimary();
}

cColorSpace_GenericRGB::cColorSpace_GenericRGB() = default;

cColorSpace_GenericRGB::cColorSpace_GenericRGB(cVector2 pR, cVector2 pG, cVector2 pB, cVector2 pW, float pGamma)
    : cColorSpace(pR, pG, pB, pW)
{
    fToLinear = new cTransferGamma(1.0f / pGamma);
    fFromLinear = new cTransferGamma(pGamma);
}

cColorSpace_GenericRGB::cColorSpace_GenericRGB(cMatrix33 pRGBToPCS, cVector3 pMediaWhite,
                                               unsigned short* pToLinearTable, int pToLinearCount,
                                               unsigned short* pFromLinearTable, int pFromLinearCount)
{
    const cMatrixD33 toWhite = AdaptWhite(kPCSWhite, Widen(pMediaWhite.x, pMediaWhite.y, pMediaWhite.z));
    const cMatrix33& m = pRGBToPCS;
    fWhitePoint = cColorUtils::XYZToxy(pMediaWhite);
    fRPrimary = cColorUtils::XYZToxy(Narrow(Multiply(toWhite, Widen(m.m00, m.m10, m.m20))));
    fGPrimary = cColorUtils::XYZToxy(Narrow(Multiply(toWhite, Widen(m.m01, m.m11, m.m21))));
    fBPrimary = cColorUtils::XYZToxy(Narrow(Multiply(toWhite, Widen(m.m02, m.m12, m.m22))));

    const cVector2 r = fRPrimary, g = fGPrimary, b = fBPrimary, w = fWhitePoint;
    fToXYZ = RGBToXYZTransform(r.x, r.y, g.x, g.y, b.x, b.y, w.x, w.y);
    fFromXYZ = XYZToRGBTransform(r.x, r.y, g.x, g.y, b.x, b.y, w.x, w.y);
    fToPCS = RGBToPCSTransform(r.x, r.y, g.x, g.y, b.x, b.y, w.x, w.y);
    fFromPCS = PCSToRGBTransform(r.x, r.y, g.x, g.y, b.x, b.y, w.x, w.y);

    fToLinear = new cTransfer_Table(pToLinearTable, pToLinearCount);
    fFromLinear = new cTransfer_Table(pFromLinearTable, pFromLinearCount);
}

cColorSpace_GenericRGB::~cColorSpace_GenericRGB() = default;

cColorSpace* cColorSpace_GenericRGB::Clone() const
{
    auto clone = std::make_unique<cColorSpace_GenericRGB>();
    clone->fRPrimary = fRPrimary;
    clone->fGPrimary = fGPrimary;
    clone->fBPrimary = fBPrimary;
    clone->fWhitePoint = fWhitePoint;
    clone->fToXYZ = fToXYZ;
    clone->fFromXYZ = fFromXYZ;
    clone->fToPCS = fToPCS;
    clone->fFromPCS = fFromPCS;

    clone->fToLinear = CloneOrNull(fToLinear);
    try {
        clone->fFromLinear = CloneOrNull(fFromLinear);
    } catch (...) { // Required: this failure is not reported. The clone has no transfers.
        delete clone->fToLinear;
        clone->fToLinear = nullptr;
    }
    return clone.release();
}

char const* cColorSpace_GenericRGB::GetName() const
{
    return "Generic RGB";
}

} // namespace Vornik
