#ifndef SELVANE_COLOR_CCOLORSPACE_H
#define SELVANE_COLOR_CCOLORSPACE_H

// RGB working spaces: three primaries, a white point, two transfer functions and four ready matrices.
//
//   encoded RGB --fToLinear--> linear RGB --fToXYZ--> XYZ under the space's own white
//                                         --fToPCS--> XYZ under D50, the profile connection space (PCS)
//
// XYZ is scaled so that Y of white is 1. D50 is (0.96421202494184188, 1, 0.8251882243169657). A space does not change
// after construction, so any number of threads may read it. Primaries and white points are not checked. If the
// primaries are on one line, the missing inverses are all zero. A white with y = 0 gives infinities and NaN.

#include "base/Export.h"
#include "color/cMatrix.h"
#include "color/cMatrixD.h"
#include "color/cVector.h"
#include "curve/cTransfer.h"

namespace Vornik
{

/// The fixed spaces by number.
enum eColorSpaceID : int
{
    eColorSpace_sRGB = 0,
    eColorSpace_AdobeRGB98 = 1,
    eColorSpace_ProPhotoRGB = 2,
};

/// An RGB working space; abstract.
class SELVANE_API cColorSpace
{
public:
    cVector2 fRPrimary;     ///< red, CIE x and y
    cVector2 fGPrimary;     ///< green
    cVector2 fBPrimary;     ///< blue
    cVector2 fWhitePoint;   ///< white, CIE x and y
    cTransfer* fToLinear;   ///< encoded value to linear value; owned, null only in an unfinished space
    cTransfer* fFromLinear; ///< linear value to encoded value; owned, null only in an unfinished space
    cMatrix33 fToXYZ;       ///< linear RGB to XYZ under fWhitePoint
    cMatrix33 fFromXYZ;     ///< XYZ under fWhitePoint to linear RGB
    cMatrix33 fToPCS;       ///< linear RGB to PCS
    cMatrix33 fFromPCS;     ///< PCS to linear RGB

    /// Sets all numbers to 0 and both transfers to null. The descendant fills them.
    cColorSpace();
    /// Takes red, green, blue and white and computes the four matrices. The descendant sets the transfers, null before.
    cColorSpace(cVector2 pR, cVector2 pG, cVector2 pB, cVector2 pW);
    cColorSpace(const cColorSpace&) = delete;
    cColorSpace& operator=(const cColorSpace&) = delete;

    /// Deletes both transfers.
    virtual ~cColorSpace();
    /// Returns a copy of this space with its own transfers. The caller deletes it.
    virtual cColorSpace* Clone() const = 0;
    /// Returns fWhitePoint.
    virtual cVector2 GetWhiteBalance() const;
    /// False in every class of the library.
    virtual bool IsRawColorSpace() const;
    /// Returns the name of the space, a constant string of the library.
    virtual char const* GetName() const = 0;

    cVector2 GetWhitePoint() const;     ///< fWhitePoint
    cVector2 GetRPrimary() const;       ///< fRPrimary
    cVector2 GetGPrimary() const;       ///< fGPrimary
    cVector2 GetBPrimary() const;       ///< fBPrimary
    cTransfer* GetToLinearTransfer();   ///< fToLinear, still owned by the space
    cTransfer* GetFromLinearTransfer(); ///< fFromLinear, still owned by the space
    cMatrix33 GetToXYZTransform();      ///< copy of fToXYZ
    cMatrix33 GetFromXYZTransform();    ///< copy of fFromXYZ
    cMatrix33 GetToPCSTransform();      ///< copy of fToPCS
    cMatrix33 GetFromPCSTransform();    ///< copy of fFromPCS

    /// True for the numbers of eColorSpaceID.
    static bool IsColorSpaceIDValid(eColorSpaceID pID);
    /// Returns a new space of that number, which the caller deletes. Returns null for an unknown number.
    static cColorSpace* FromID(eColorSpaceID pID);

    /// Linear RGB to XYZ under the given white. Arguments are chromaticities, CIE x and y. The double forms compute.
    /// The float forms widen their arguments, call the double forms and narrow the nine results.
    static cMatrixD33 RGBToXYZTransform(double pRx, double pRy, double pGx, double pGy, double pBx, double pBy,
                                        double pWx, double pWy);
    /// The double form, narrowed.
    static cMatrix33 RGBToXYZTransform(float pRx, float pRy, float pGx, float pGy, float pBx, float pBy, float pWx,
                                       float pWy);
    /// Linear RGB to PCS, adapted from the given white to D50 by the Bradford transform (ICC.1:2022, annex E).
    static cMatrixD33 RGBToPCSTransform(double pRx, double pRy, double pGx, double pGy, double pBx, double pBy,
                                        double pWx, double pWy);
    /// The double form, narrowed.
    static cMatrix33 RGBToPCSTransform(float pRx, float pRy, float pGx, float pGy, float pBx, float pBy, float pWx,
                                       float pWy);
    /// XYZ under the given white to linear RGB: the inverse of RGBToXYZTransform.
    static cMatrixD33 XYZToRGBTransform(double pRx, double pRy, double pGx, double pGy, double pBx, double pBy,
                                        double pWx, double pWy);
    /// The double form, narrowed.
    static cMatrix33 XYZToRGBTransform(float pRx, float pRy, float pGx, float pGy, float pBx, float pBy, float pWx,
                                       float pWy);
    /// PCS to linear RGB: the inverse of RGBToPCSTransform.
    static cMatrixD33 PCSToRGBTransform(double pRx, double pRy, double pGx, double pGy, double pBx, double pBy,
                                        double pWx, double pWy);
    /// The double form, narrowed.
    static cMatrix33 PCSToRGBTransform(float pRx, float pRy, float pGx, float pGy, float pBx, float pBy, float pWx,
                                       float pWy);
};

/// sRGB: the primaries of IEC 61966-2-1, white (0.31271, 0.32902), the piecewise sRGB curves.
class SELVANE_API cColorSpace_sRGB : public cColorSpace
{
public:
    cColorSpace_sRGB();
    ~cColorSpace_sRGB() override;
    cColorSpace* Clone() const override;
    char const* GetName() const override; ///< "sRGB IEC61966-2.1"

    /// Stores address and size in bytes of the ICC profile. The library owns the bytes: do not free or change them.
    static void GetICCProfile(unsigned char*& pData, unsigned int& pSize);
};

/// Adobe RGB (1998), white (0.31271, 0.32902), a gamma of 2.2 exactly (its ICC profile says 2.19921875).
class SELVANE_API cColorSpace_AdobeRGB98 : public cColorSpace
{
public:
    cColorSpace_AdobeRGB98();
    ~cColorSpace_AdobeRGB98() override;
    cColorSpace* Clone() const override;
    char const* GetName() const override; ///< "Adobe RGB (1998)"

    /// Stores address and size in bytes of the ICC profile. The library owns the bytes: do not free or change them.
    static void GetICCProfile(unsigned char*& pData, unsigned int& pSize);
};

/// ProPhoto RGB (ROMM RGB), white (0.34567, 0.3585), a gamma of 1.8 without a linear toe: the renderers' working space.
class SELVANE_API cColorSpace_ProPhotoRGB : public cColorSpace
{
public:
    cColorSpace_ProPhotoRGB();
    ~cColorSpace_ProPhotoRGB() override;
    cColorSpace* Clone() const override;
    char const* GetName() const override; ///< "ProPhoto RGB"

    cVector2 GetRPrimary() const; ///< as in cColorSpace
    cVector2 GetGPrimary() const; ///< as in cColorSpace
    cVector2 GetBPrimary() const; ///< as in cColorSpace

    /// Stores address and size in bytes of the ICC profile. The library owns the bytes: do not free or change them.
    static void GetICCProfile(unsigned char*& pData, unsigned int& pSize);
};

/// Any other space: from primaries and a gamma, or from the content of a matrix-shaper ICC profile.
class SELVANE_API cColorSpace_GenericRGB : public cColorSpace
{
public:
    /// An empty space, which Clone fills: all numbers 0, no transfers.
    cColorSpace_GenericRGB();
    /// Takes red, green, blue and white as CIE x and y. Decodes v as v to the power pGamma and encodes with the
    /// exponent 1 / pGamma. pGamma is not checked.
    cColorSpace_GenericRGB(cVector2 pR, cVector2 pG, cVector2 pB, cVector2 pW, float pGamma);
    /// From the content of a matrix-shaper ICC profile.
    /// @param pRGBToPCS        columns are the PCS values of the primaries, the profile's tags rXYZ, gXYZ and bXYZ
    /// @param pMediaWhite      XYZ of the media white, the profile's tag wtpt
    /// @param pToLinearTable   16-bit entries of the decoding curve, evenly spaced over [0, 1]; copied
    /// @param pToLinearCount   number of entries of pToLinearTable, at least 2
    /// @param pFromLinearTable 16-bit entries of the encoding curve, evenly spaced over [0, 1]; copied
    /// @param pFromLinearCount number of entries of pFromLinearTable, at least 2
    ///
    /// Throws what the constructor of cTransfer_Table throws: cArgumentNullException for a null table,
    /// cArgumentException for fewer than two entries.
    cColorSpace_GenericRGB(cMatrix33 pRGBToPCS, cVector3 pMediaWhite, unsigned short* pToLinearTable,
                           int pToLinearCount, unsigned short* pFromLinearTable, int pFromLinearCount);
    ~cColorSpace_GenericRGB() override;
    /// Returns a copy with its own transfers; the caller deletes it. If the second transfer cannot be cloned, Clone
    /// reports no failure, and both transfers of the copy are null.
    cColorSpace* Clone() const override;
    char const* GetName() const override; ///< "Generic RGB"
};

} // namespace Vornik

#endif
