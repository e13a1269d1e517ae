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
/// Every operation runs on the calling thread. It reads and writes only the fWidth x fHeight pixels, never the padding.
/// It checks its arguments before it changes anything. A null pointer throws cArgumentNullException, different sizes
/// throw cArgumentException, and a channel outside 0 to 2 throws cInvalidOperationException. There is no dithering.
/// Floats are truncated to integers, never rounded to nearest.
///
/// A pixel of cBitmapBGR8 and cBitmapBGR16 is blue, green, red from the lowest address. A pixel of cBitmapXYZ32 is
/// three floats c0, c1, c2. They are blue, green, red in operations named BGR32, and X, Y, Z in operations named XYZ32
/// or Float3. All other operations take either. pChannel is the number of such a float, from 0.
class SELVANE_API cImageUtils
{
public:
    // ---- Scalings: the picture keeps its encoding -------------------------------------------------------------------

    /// float = sample * (1 / 255), in float. The target must have the source's size.
    static void BGR8ToBGR32(const cBitmapBGR8* pSrcBGR8, cBitmapXYZ32* pDstBGR32);
    /// The same into a new picture, which the caller deletes.
    static cBitmapXYZ32* BGR8ToBGR32(const cBitmapBGR8* pSrcBGR8);

    /// Below 0 gives 0; above 1 or NaN gives 255. Any other v gives v * 255, truncated. The target must have the
    /// source's size.
    static void BGR32ToBGR8(const cBitmapXYZ32* pSrcBGR32, cBitmapBGR8* pDstBGR8);
    /// The same into a new picture, which the caller deletes. Its colour space does not change the samples.
    static cBitmapBGR8* BGR32ToBGR8(const cBitmapXYZ32* pSrcBGR32, eColorSpaceID pColorSpace);

    /// float = sample * (1 / 65535), in float. The target must have the source's size.
    static void BGR16ToBGR32(const cBitmapBGR16* pSrcBGR16, cBitmapXYZ32* pDstBGR32);
    /// The same into a new picture, which the caller deletes.
    static cBitmapXYZ32* BGR16ToBGR32(const cBitmapBGR16* pSrcBGR16);

    /// Below 0 gives 0; above 1 or NaN gives 65535. Any other v gives v * 65535, truncated. The target must have the
    /// source's size. After BGR16ToBGR32, 512 of the 65536 samples come back one lower.
    static void BGR32ToBGR16(const cBitmapXYZ32* pSrcBGR32, cBitmapBGR16* pDstBGR16);
    /// The same into a new picture, which the caller deletes. Its colour space does not change the samples.
    static cBitmapBGR16* BGR32ToBGR16(const cBitmapXYZ32* pSrcBGR32, eColorSpaceID pColorSpace);

    // ---- Transfers: through a table of the integer picture's colour space -------------------------------------------
    //
    // Each call builds its table. After the argument checks, an integer picture without a colour space throws
    // cInvalidOperationException ("Color space is not set.").

    /// Encoded samples to linear floats, in the same channel order.
    static void BGR8ToBGR32Linear(const cBitmapBGR8* pSrcBGR8, cBitmapXYZ32* pDstBGR32);
    /// The same into a new picture, which the caller deletes.
    static cBitmapXYZ32* BGR8ToBGR32Linear(const cBitmapBGR8* pSrcBGR8);

    /// Linear floats to encoded samples, by a table of 65536 entries. Below 0 gives entry 0; above 1 or NaN gives entry
    /// 65535. Any other v gives entry v * 65535, truncated.
    static void BGR32LinearToBGR8(const cBitmapXYZ32* pSrcBGR32, cBitmapBGR8* pDstBGR8);
    /// The same into a new picture of that colour space, which the caller deletes.
    static cBitmapBGR8* BGR32LinearToBGR8(const cBitmapXYZ32* pSrcBGR32, eColorSpaceID pColorSpace);

    /// Encoded samples to linear floats, in the same channel order.
    static void BGR16ToBGR32Linear(const cBitmapBGR16* pSrcBGR16, cBitmapXYZ32* pDstBGR32);
    /// The same into a new picture, which the caller deletes.
    static cBitmapXYZ32* BGR16ToBGR32Linear(const cBitmapBGR16* pSrcBGR16);

    /// Linear floats to encoded samples, indexed as in BGR32LinearToBGR8.
    static void BGR32LinearToBGR16(const cBitmapXYZ32* pSrcBGR32, cBitmapBGR16* pDstBGR16);
    /// The same into a new picture of that colour space, which the caller deletes.
    static cBitmapBGR16* BGR32LinearToBGR16(const cBitmapXYZ32* pSrcBGR32, eColorSpaceID pColorSpace);

    // ---- Transfer and matrix, with the caller's table ---------------------------------------------------------------
    //
    // The matrix acts on the linear vector (red, green, blue). Each of its rows gives a sum in float. The sum begins
    // with the second product; the first and the third term follow, each by one fused multiply-add. Nothing is clamped.

    /// Table, then matrix: the rows of the matrix give c0, c1, c2.
    static void BGR8ToFloat3(cBitmapBGR8* pFromBGR8, cBitmapXYZ32* pToXYZ32, cTransferLUT_I8F32* pTransferLUT,
                             cMatrix33 pMatrix);
    static void BGR16ToFloat3(cBitmapBGR16* pFromBGR16, cBitmapXYZ32* pToXYZ32, cTransferLUT_I16F32* pTransferLUT,
                              cMatrix33 pMatrix);

    /// Matrix, then table, indexed as in BGR32LinearToBGR8. The rows of the matrix give red, green, blue.
    static void Float3ToBGR8(cBitmapXYZ32* pFromXYZ32, cBitmapBGR8* pToBGR8, cTransferLUT_F32I8* pTransfer,
                             cMatrix33 pMatrix);
    static void Float3ToBGR16(cBitmapXYZ32* pFromXYZ32, cBitmapBGR16* pToBGR16, cTransferLUT_F32I16* pTransfer,
                              cMatrix33 pMatrix);

    // ---- Integer depths ---------------------------------------------------------------------------------------------

    /// 16 to 8 bits: sample / 257, truncated. Both pictures must have the same size.
    static void Convert(cBitmapBGR16* pFromBGR16, cBitmapBGR8* pToBGR8);
    /// 8 to 16 bits: sample * 257, which repeats the byte. Both pictures must have the same size.
    static void Convert(cBitmapBGR8* pFromBGR8, cBitmapBGR16* pToBGR16);

    // ---- Copies of rectangles ---------------------------------------------------------------------------------------
    //
    // Positions and sizes are in pixels. A rectangle outside its picture throws cArgumentException. A width or height
    // below 1 throws cArgumentNullException. Rows are copied from the first to the last, and the bytes of a row from
    // the lowest address up. Rectangles that overlap in one picture are copied in this order too.

    static void Copy(const cBitmapBGR8* pSrcBGR, cBitmapBGR8* pDstBGR, int pSrcX, int pSrcY, int pDstX, int pDstY,
                     int pWidth, int pHeight);
    /// Unlike all other operations, this one takes fStride of a 16-bit picture as a number of samples. Row y is at byte
    /// 2 * y * fStride of the block, so only row 0 is where other operations expect it. A row that is not completely
    /// inside both blocks (padded height x fStride bytes) is skipped.
    static void Copy(const cBitmapBGR16* pSrcBGR, cBitmapBGR16* pDstBGR, int pSrcX, int pSrcY, int pDstX, int pDstY,
                     int pWidth, int pHeight);
    static void Copy(const cBitmapY8* pSrcY8, cBitmapY8* pDstY8, int pSrcX, int pSrcY, int pDstX, int pDstY, int pWidth,
                     int pHeight);
    /// Copies like the 8-bit form if both pictures have 8 bits per channel, else like the 16-bit form. Pictures of
    /// different depths throw cArgumentException.
    static void Copy(const cBitmapLDR* pSrcBGR, cBitmapLDR* pDstBGR, int pSrcX, int pSrcY, int pDstX, int pDstY,
                     int pWidth, int pHeight);

    // ---- Fills ------------------------------------------------------------------------------------------------------
    //
    // The integer forms take red, green, blue and store blue, green, red. The float form takes and stores c0, c1, c2.

    static void Fill(cBitmapBGR8* pBGR, unsigned char pRed, unsigned char pGreen, unsigned char pBlue);
    static void Fill(cBitmapBGR8* pBGR, unsigned char pValue);
    static void Fill(cBitmapBGR16* pBGR, unsigned short pRed, unsigned short pGreen, unsigned short pBlue);
    static void Fill(cBitmapBGR16* pBGR, unsigned short pValue);
    static void Fill(cBitmapXYZ32* pXYZ32, float pC0, float pC1, float pC2);
    static void Fill(cBitmapXYZ32* pXYZ32, float pValue);

    // ---- Arithmetic, sample by sample -------------------------------------------------------------------------------

    /// pSrc1 = pSrc1 - pSrc2. Both must have the same size.
    static void Sub(cBitmapXYZ32* pSrc1, const cBitmapXYZ32* pSrc2);
    /// Multiplies every sample by pFactor. A factor of exactly 1 changes nothing.
    static void Mul(cBitmapXYZ32* pXYZ32, float pFactor);
    /// pDst = pSrc * pFactor. Both must have the same size and may be one picture.
    static void Mul(const cBitmapXYZ32* pSrc, cBitmapXYZ32* pDst, float pFactor);
    /// pDst = pSrc1 * pSrc2. All must have the same size, and any two may be one picture.
    static void Mul(const cBitmapXYZ32* pSrc1, const cBitmapXYZ32* pSrc2, cBitmapXYZ32* pDst);
    /// Samples of the channel that are below pLow or NaN become pLow.
    static void ClampLow(cBitmapXYZ32* pSrcXYZ32, int pChannel, float pLow);

    // ---- Matrix over all pixels -------------------------------------------------------------------------------------
    //
    // Each row of the matrix gives a sum in float over (c0, c1, c2). The sum begins with the c1 product; the c0 and the
    // c2 term follow, each by one fused multiply-add.

    static void TransformInPlace(cBitmapXYZ32* pXYZ32, cMatrix33 pMatrix);
    /// Both pictures must have the same size and may be one picture.
    static void ColorTransform(const cBitmapXYZ32* pSrcXYZ32, cBitmapXYZ32* pDstXYZ32, cMatrix33 pMatrix);
    /// The same in place.
    static void ColorTransform(cBitmapXYZ32* pXYZ32, cMatrix33 pMatrix);

    // ---- Single channels --------------------------------------------------------------------------------------------

    /// pDest[y * fWidth + x] = the channel of pixel (x, y). pDest must have room for fWidth * fHeight floats.
    static void ExtractChannel(const cBitmapXYZ32* pSrcXYZ32, float* pDest, int pChannel);
    /// The reverse: the channel of pixel (x, y) = pSrc[y * fWidth + x].
    static void ReplaceChannel(const float* pSrc, cBitmapXYZ32* pDstXYZ32, int pChannel);

    // ---- Statistics -------------------------------------------------------------------------------------------------

    /// Smallest and largest sample of the channel. NaN samples are ignored. If all samples are NaN, both results are
    /// the first sample. -0 counts as below +0.
    static void GetMinMax(const cBitmapXYZ32* pSrcXYZ32, int pChannel, float& pMin, float& pMax);
    static float GetMax(const cBitmapXYZ32* pSrcXYZ32, int pChannel); ///< the largest of GetMinMax
    static float GetMin(const cBitmapXYZ32* pSrcXYZ32, int pChannel); ///< the smallest of GetMinMax

    /// Every sample v becomes (v - minimum) * (1 / (maximum - minimum)), in float. The extremes are those of all
    /// samples or, with pPerChannel, those of each channel. If they are equal, the range counts as 1 and the minimum as
    /// 0.5 less. A flat picture of moderate values then becomes 0.5.
    static void Normalize(cBitmapXYZ32* pXYZ32, bool pPerChannel);

    /// Mean of each channel: the sum in double, pixel after pixel, times 1.0 / (fWidth * fHeight), as a float.
    static void Mean(const cBitmapXYZ32* pSrc, float& pMean0, float& pMean1, float& pMean2);

    // ---- Comparison: both pictures have the same size ---------------------------------------------------------------
    //
    // The sums are not divided by the number of pixels and not scaled to the range of a sample. pDiff0 is the sum for
    // the samples at the lowest address of each pixel.

    /// Sums of absolute differences for each channel. A difference is in float, the sum in double, pixel after pixel.
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
