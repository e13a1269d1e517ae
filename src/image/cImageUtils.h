#ifndef SELVANE_IMAGE_CIMAGEUTILS_H
#define SELVANE_IMAGE_CIMAGEUTILS_H

#include "base/Export.h"
#include "bitmap/cBitmap.h"
#include "bitmap/cBitmapBGR16.h"
#include "bitmap/cBitmapBGR8.h"
#include "bitmap/cBitmapXYZ32.h"
#include "bitmap/cBitmapY8.h"
#include "color/cColorSpace.h"
#include "color/cMatrix.h"
#include "curve/cTransfer.h"

namespace Vornik
{

/// Operations on whole pictures and on rectangles of them: conversions of depth and colour, copies, fills, arithmetic,
/// statistics and comparison.
///
/// Every operation is one pass on the calling thread, reads and writes the used fWidth by fHeight pixels only (never
/// the padding), and checks its arguments before it changes anything: a null pointer throws cArgumentNullException,
/// sizes that differ throw cArgumentException, a channel outside 0 to 2 throws cInvalidOperationException. Nothing
/// dithers, and no conversion of a float to an integer rounds to nearest: all truncate.
///
/// A pixel of cBitmapBGR8 and cBitmapBGR16 is blue, green, red from the lowest address. A pixel of cBitmapXYZ32 is
/// three floats c0, c1, c2: blue, green, red where an operation's name says BGR32, X, Y, Z where it says XYZ32 or
/// Float3; all other operations do not care. A channel number pChannel counts these floats from 0.
class SELVANE_API cImageUtils
{
public:
    // ---- Scalings: the picture keeps its encoding -------------------------------------------------------------------

    /// float = sample * (1 / 255), in float; the target has the source's size.
    static void BGR8ToBGR32(const cBitmapBGR8* pSrcBGR8, cBitmapXYZ32* pDstBGR32);
    /// The same into a new picture, which the caller deletes.
    static cBitmapXYZ32* BGR8ToBGR32(const cBitmapBGR8* pSrcBGR8);

    /// Below 0 gives 0, above 1 or NaN gives 255, otherwise the truncation of v * 255; the target has the source's
    /// size.
    static void BGR32ToBGR8(const cBitmapXYZ32* pSrcBGR32, cBitmapBGR8* pDstBGR8);
    /// The same into a new picture of that colour space, which the caller deletes; the samples are not touched by the
    /// space.
    static cBitmapBGR8* BGR32ToBGR8(const cBitmapXYZ32* pSrcBGR32, eColorSpaceID pColorSpace);

    /// float = sample * (1 / 65535), in float; the target has the source's size.
    static void BGR16ToBGR32(const cBitmapBGR16* pSrcBGR16, cBitmapXYZ32* pDstBGR32);
    /// The same into a new picture, which the caller deletes.
    static cBitmapXYZ32* BGR16ToBGR32(const cBitmapBGR16* pSrcBGR16);

    /// Below 0 gives 0, above 1 or NaN gives 65535, otherwise the truncation of v * 65535; the target has the source's
    /// size. Of 65536 samples that went through BGR16ToBGR32, 512 come back one lower.
    static void BGR32ToBGR16(const cBitmapXYZ32* pSrcBGR32, cBitmapBGR16* pDstBGR16);
    /// The same into a new picture of that colour space, which the caller deletes; the samples are not touched by the
    /// space.
    static cBitmapBGR16* BGR32ToBGR16(const cBitmapXYZ32* pSrcBGR32, eColorSpaceID pColorSpace);

    // ---- Transfers: through a table of the integer picture's colour space
    //
    // The table is built for the call. Throws a cInvalidOperationException "Color space is not set." after the argument
    // checks when the integer picture has no colour space.

    /// Encoded samples to linear floats, in the same channel order.
    static void BGR8ToBGR32Linear(const cBitmapBGR8* pSrcBGR8, cBitmapXYZ32* pDstBGR32);
    /// The same into a new picture, which the caller deletes.
    static cBitmapXYZ32* BGR8ToBGR32Linear(const cBitmapBGR8* pSrcBGR8);

    /// Linear floats to encoded samples: the float is an index into a table of 65536 entries, below 0 gives entry 0,
    /// above 1 or NaN gives entry 65535, otherwise the truncation of v * 65535.
    static void BGR32LinearToBGR8(const cBitmapXYZ32* pSrcBGR32, cBitmapBGR8* pDstBGR8);
    /// The same into a new picture of that colour space, which the caller deletes.
    static cBitmapBGR8* BGR32LinearToBGR8(const cBitmapXYZ32* pSrcBGR32, eColorSpaceID pColorSpace);

    /// Encoded samples to linear floats, in the same channel order.
    static void BGR16ToBGR32Linear(const cBitmapBGR16* pSrcBGR16, cBitmapXYZ32* pDstBGR32);
    /// The same into a new picture, which the caller deletes.
    static cBitmapXYZ32* BGR16ToBGR32Linear(const cBitmapBGR16* pSrcBGR16);

    /// Linear floats to encoded samples, by the index rule of BGR32LinearToBGR8.
    static void BGR32LinearToBGR16(const cBitmapXYZ32* pSrcBGR32, cBitmapBGR16* pDstBGR16);
    /// The same into a new picture of that colour space, which the caller deletes.
    static cBitmapBGR16* BGR32LinearToBGR16(const cBitmapXYZ32* pSrcBGR32, eColorSpaceID pColorSpace);

    // ---- Transfer and matrix, with the caller's table
    //
    // The matrix acts on the vector (red, green, blue) of linear floats. Each row of it is a sum in float: the product
    // of the second term, then the first and the third term added to it, each by one fused multiply-add. Nothing is
    // clamped.

    /// Table, then matrix: c0, c1, c2 are the three rows of the matrix.
    static void BGR8ToFloat3(cBitmapBGR8* pFromBGR8, cBitmapXYZ32* pToXYZ32, cTransferLUT_I8F32* pTransferLUT,
                             cMatrix33 pMatrix);
    static void BGR16ToFloat3(cBitmapBGR16* pFromBGR16, cBitmapXYZ32* pToXYZ32, cTransferLUT_I16F32* pTransferLUT,
                              cMatrix33 pMatrix);

    /// Matrix, then table by the index rule of BGR32LinearToBGR8: the rows of the matrix give red, green, blue.
    static void Float3ToBGR8(cBitmapXYZ32* pFromXYZ32, cBitmapBGR8* pToBGR8, cTransferLUT_F32I8* pTransfer,
                             cMatrix33 pMatrix);
    static void Float3ToBGR16(cBitmapXYZ32* pFromXYZ32, cBitmapBGR16* pToBGR16, cTransferLUT_F32I16* pTransfer,
                              cMatrix33 pMatrix);

    // ---- Integer depths -------------------------------------------------------------------------------------------

    /// 16 to 8 bits: sample / 257, truncated; both pictures have the same size.
    static void Convert(cBitmapBGR16* pFromBGR16, cBitmapBGR8* pToBGR8);
    /// 8 to 16 bits: sample * 257, the byte doubled; both pictures have the same size.
    static void Convert(cBitmapBGR8* pFromBGR8, cBitmapBGR16* pToBGR16);

    // ---- Copies of rectangles
    //
    // Positions and sizes count pixels; both rectangles lie inside their pictures, otherwise cArgumentException. A
    // width or height below 1 throws cArgumentNullException. Each row goes over byte by byte from the lowest address
    // up, row by row from the first, also where the two rectangles overlap in one picture.

    static void Copy(const cBitmapBGR8* pSrcBGR, cBitmapBGR8* pDstBGR, int pSrcX, int pSrcY, int pDstX, int pDstY,
                     int pWidth, int pHeight);
    /// In 16-bit pictures this operation alone takes fStride as a count of samples: row y lies 2 * y * fStride bytes
    /// into the block, so only row 0 lies where other operations expect it. A row that does not lie whole inside the
    /// blocks of both pictures (padded height times fStride bytes) is left out.
    static void Copy(const cBitmapBGR16* pSrcBGR, cBitmapBGR16* pDstBGR, int pSrcX, int pSrcY, int pDstX, int pDstY,
                     int pWidth, int pHeight);
    static void Copy(const cBitmapY8* pSrcY8, cBitmapY8* pDstY8, int pSrcX, int pSrcY, int pDstX, int pDstY, int pWidth,
                     int pHeight);
    /// Copies as the 8-bit form when both pictures have 8 bits a channel, as the 16-bit form otherwise; pictures of
    /// different depths throw cArgumentException.
    static void Copy(const cBitmapLDR* pSrcBGR, cBitmapLDR* pDstBGR, int pSrcX, int pSrcY, int pDstX, int pDstY,
                     int pWidth, int pHeight);

    // ---- Fills ----------------------------------------------------------------------------------------------------
    //
    // The integer forms take red, green, blue and store blue, green, red; the float form stores as it takes.

    static void Fill(cBitmapBGR8* pBGR, unsigned char pRed, unsigned char pGreen, unsigned char pBlue);
    static void Fill(cBitmapBGR8* pBGR, unsigned char pValue);
    static void Fill(cBitmapBGR16* pBGR, unsigned short pRed, unsigned short pGreen, unsigned short pBlue);
    static void Fill(cBitmapBGR16* pBGR, unsigned short pValue);
    static void Fill(cBitmapXYZ32* pXYZ32, float pC0, float pC1, float pC2);
    static void Fill(cBitmapXYZ32* pXYZ32, float pValue);

    // ---- Arithmetic, sample by sample -----------------------------------------------------------------------------

    /// pSrc1 = pSrc1 - pSrc2; both have the same size.
    static void Sub(cBitmapXYZ32* pSrc1, const cBitmapXYZ32* pSrc2);
    /// Every sample times pFactor; a factor of exactly 1 touches nothing.
    static void Mul(cBitmapXYZ32* pXYZ32, float pFactor);
    /// pDst = pSrc * pFactor; both have the same size and may be one picture.
    static void Mul(const cBitmapXYZ32* pSrc, cBitmapXYZ32* pDst, float pFactor);
    /// pDst = pSrc1 * pSrc2; all have the same size, and any two may be one picture.
    static void Mul(const cBitmapXYZ32* pSrc1, const cBitmapXYZ32* pSrc2, cBitmapXYZ32* pDst);
    /// Every sample of the channel that is not at least pLow, a NaN included, becomes pLow.
    static void ClampLow(cBitmapXYZ32* pSrcXYZ32, int pChannel, float pLow);

    // ---- Matrix over all pixels -----------------------------------------------------------------------------------
    //
    // Each row of the matrix is a sum in float over (c0, c1, c2): the c1 term first, then the c0 and the c2 term, each
    // by one fused multiply-add.

    static void TransformInPlace(cBitmapXYZ32* pXYZ32, cMatrix33 pMatrix);
    /// Both pictures have the same size and may be one picture.
    static void ColorTransform(const cBitmapXYZ32* pSrcXYZ32, cBitmapXYZ32* pDstXYZ32, cMatrix33 pMatrix);
    /// With pXYZ32 as source and target.
    static void ColorTransform(cBitmapXYZ32* pXYZ32, cMatrix33 pMatrix);

    // ---- Single channels ------------------------------------------------------------------------------------------

    /// pDest[y * fWidth + x] = the channel of pixel (x, y); pDest has room for fWidth * fHeight floats.
    static void ExtractChannel(const cBitmapXYZ32* pSrcXYZ32, float* pDest, int pChannel);
    /// The reverse: the channel of pixel (x, y) = pSrc[y * fWidth + x].
    static void ReplaceChannel(const float* pSrc, cBitmapXYZ32* pDstXYZ32, int pChannel);

    // ---- Statistics -----------------------------------------------------------------------------------------------

    /// Smallest and largest sample of the channel. A NaN is passed over unless all samples are NaN; then the first one
    /// comes out. A negative zero counts as below zero.
    static void GetMinMax(const cBitmapXYZ32* pSrcXYZ32, int pChannel, float& pMin, float& pMax);
    static float GetMax(const cBitmapXYZ32* pSrcXYZ32, int pChannel); ///< the largest of GetMinMax
    static float GetMin(const cBitmapXYZ32* pSrcXYZ32, int pChannel); ///< the smallest of GetMinMax

    /// Every sample becomes (v - minimum) * (1 / (maximum - minimum)) in float, over all samples or, with pPerChannel,
    /// for each channel with its own extremes. Where the extremes are equal, the range counts as 1 and the minimum as
    /// 0.5 less, so that a flat picture of moderate values comes out as 0.5.
    static void Normalize(cBitmapXYZ32* pXYZ32, bool pPerChannel);

    /// Mean of each channel: the sum in double, pixel after pixel, times 1.0 / (fWidth * fHeight), as a float.
    static void Mean(const cBitmapXYZ32* pSrc, float& pMean0, float& pMean1, float& pMean2);

    // ---- Comparison: both pictures have the same size ---------------------------------------------------------------
    //
    // The sums are neither divided by the number of pixels nor scaled to the range of a sample; pDiff0 belongs to the
    // sample at a pixel's lowest address.

    /// Sums of absolute differences for each channel; the difference in float, the sum in double, pixel after pixel.
    static void Diff(const cBitmapXYZ32* pSrc1, const cBitmapXYZ32* pSrc2, double& pDiff0, double& pDiff1,
                     double& pDiff2);
    static double Diff(const cBitmapXYZ32* pSrc1, const cBitmapXYZ32* pSrc2); ///< (pDiff0 + pDiff1) + pDiff2
    static void Diff(const cBitmapBGR8* pSrc1, const cBitmapBGR8* pSrc2, double& pDiff0, double& pDiff1,
                     double& pDiff2);
    static double Diff(const cBitmapBGR8* pSrc1, const cBitmapBGR8* pSrc2); ///< (pDiff0 + pDiff1) + pDiff2
    static void Diff(const cBitmapBGR16* pSrc1, const cBitmapBGR16* pSrc2, double& pDiff0, double& pDiff1,
                     double& pDiff2);
    static double Diff(const cBitmapBGR16* pSrc1, const cBitmapBGR16* pSrc2); ///< (pDiff0 + pDiff1) + pDiff2

    /// The largest absolute difference of any sample, 0 to 255.
    static int MaxDiff(const cBitmapBGR8* pSrc1, const cBitmapBGR8* pSrc2);
    /// The largest absolute difference of any sample, 0 to 65535.
    static int MaxDiff(const cBitmapBGR16* pSrc1, const cBitmapBGR16* pSrc2);
};

} // namespace Vornik

#endif
