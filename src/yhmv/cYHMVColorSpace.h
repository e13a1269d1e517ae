#ifndef SELVANE_YHMV_CYHMVCOLORSPACE_H
#define SELVANE_YHMV_CYHMVCOLORSPACE_H

// The compact working form of a picture: luminance and a colour of unit intensity. Tone mapping replaces the luminance
// and keeps the colour. The colour is hue, smallest primary M and largest primary V, in linear ProPhoto RGB.
//
// Each channel of the hue-to-RGB conversion is linear in M and V, and its branches depend only on the hue. So a table
// holds them for all 65536 hues. A channel decodes as
//
//     Y * (M + (V - M) * table[H])        YHMV record, 7 planes of 16 bits in a cBitmapU16T
//          M + (V - M) * table[H]         HMV record,  5 planes of 16 bits
//
//     YHMV   byte  0       4     6       10      14
//                  | Y f32 | H   | M f32 | V f32 |
//     HMV    byte  0     2       6       10
//                  | H   | M f32 | V f32 |
//
// The floats are in native byte order, at offsets that are not multiples of 4. cBitmapU16T::GetScanline gives the
// address of a row. The records of a row are contiguous.
//
//     Y   luminance: first that of the XYZ source, later the tone-mapped one
//     H   hue, 16 bits: degrees * 65535 / 360, truncated
//     M   smallest primary. In YHMV the colour is scaled to luminance 1, and M is negative outside the ProPhoto gamut
//     V   largest primary, always above 0; M = V is a grey, with H = 0
//
// Two markers keep later divisions defined:
//
//     Y of 0 or below (YHMV only)        Y = 0.000001, H = 0, M = V = 1: a dark neutral
//     largest primary not above 0        M = 0, V = 1.17549435e-38 (the smallest normal float), Y and H unchanged

#include "base/Export.h"
#include "color/cMatrix.h"

namespace Vornik
{

class cBitmapLDR;
class cBitmapU16T;
class cBitmapXYZ32;

/// The table from 16-bit hue to colour, with the encoders and decoders that go with it.
///
/// Arguments are not checked. The caller makes sure that sizes and planes of an output match its input. All operations
/// run on the calling thread. Decoders only read the table. UpdateHMVToRGBLUT must not run at the same time as a
/// decoder of the same object.
class SELVANE_API cYHMVColorSpace
{
public:
    /// Builds the neutral table.
    cYHMVColorSpace();
    ~cYHMVColorSpace(); // NOLINT(performance-trivially-destructible): exported, so out of line
    cYHMVColorSpace(const cYHMVColorSpace&) = delete;
    cYHMVColorSpace& operator=(const cYHMVColorSpace&) = delete;

    /// Encodes XYZ relative to D50 as YHMV records.
    /// @param pCancel,pCancelled unused: the conversion runs to its end
    /// @param pInput  XYZ, linear and unclamped; borrowed
    /// @param pOutput 7 planes, at least the size of pInput; borrowed
    static void XYZToYHMV(bool* pCancel, bool* pCancelled, const cBitmapXYZ32* pInput, cBitmapU16T* pOutput);

    /// Encodes a display picture as HMV records of absolute linear primaries, negative ones raised to 0.
    /// @param pCancel,pCancelled unused: the conversion runs to its end
    /// @param pInput  8 or 16 bits per sample, with a colour space; borrowed
    /// @param pOutput 5 planes, at least the size of pInput; borrowed
    /// @throws cInvalidOperationException if pInput has no colour space
    static void RGBToHMV(bool* pCancel, bool* pCancelled, const cBitmapLDR* pInput, cBitmapU16T* pOutput);

    /// Splits one colour into hue, smallest and largest primary. Does not clamp and uses no marker. A grey has H = 0.
    /// @param R,G,B primaries, any range
    /// @param H hue on the unit scale, from 0 to below 1
    /// @param M,V smallest and largest primary; a NaN primary is ignored
    static void RGBToHMV(float R, float G, float B, float& H, float& M, float& V);

    /// Rebuilds one colour from hue, smallest and largest primary.
    /// @param H hue on the unit scale; 1 is the same as 0
    /// @param M,V smallest and largest primary
    /// @param R,G,B primaries
    static void HMVToRGB(float H, float M, float V, float& R, float& G, float& B);

    /// Decodes YHMV records into a display picture, without the hue-lightness curve.
    ///
    /// If pWhite - pBlack is above 0 and not exactly 1, luminance becomes (Y - pBlack) / (pWhite - pBlack), at least 0,
    /// and pScale has no effect. Otherwise luminance becomes Y * pScale.
    /// @param pInput  7 planes; its size is decoded; borrowed
    /// @param pOutput 8 or 16 bits per sample, at least the size of pInput; borrowed
    /// @param pEncodeLUT 65536 entries, linear 0..65535 to encoded sample
    /// @param pScale exposure scale
    /// @param pBlack,pWhite black and white point of Y
    /// @param pMatrix linear ProPhoto primaries to the output's linear primaries
    /// @param pContrastLUT 65536 entries, linear primary 0..65535 to a float
    /// @param pHLLUT unused
    void YHMVToRGB(const cBitmapU16T* pInput, cBitmapLDR* pOutput, unsigned short* pEncodeLUT, float pScale,
                   float pBlack, float pWhite, cMatrix33 pMatrix, float* pContrastLUT, float* pHLLUT);

    /// Decodes HMV records into a display picture, with the hue-lightness curve.
    /// @param pInput  5 planes; its size is decoded; borrowed
    /// @param pOutput 8 or 16 bits per sample, at least the size of pInput; borrowed
    /// @param pEncodeLUT 65536 entries, linear 0..65535 to encoded sample
    /// @param pMatrix linear ProPhoto primaries to the output's linear primaries
    /// @param pHLLUT 65536 entries, hue to lightness, 0.5 is neutral
    void HMVToRGB(const cBitmapU16T* pInput, cBitmapLDR* pOutput, unsigned short* pEncodeLUT, cMatrix33 pMatrix,
                  float* pHLLUT);

    /// Decodes one row for YHMVToRGB. pWidth is in pixels; below 1 nothing is written. pBits of 8 writes bytes, any
    /// other value 16-bit samples. pInvRange is 1 / (white - black); exactly 1 selects Y * pScale. Samples are stored
    /// blue, green, red.
    void YHMVToRGB_RowSimple(const unsigned short* pRow, void* pDest, int pWidth, int pBits, unsigned short* pEncodeLUT,
                             float pScale, float pInvRange, float pBlack, cMatrix33 pMatrix, float* pContrastLUT);

    /// The reference form of the row decoder of YHMV records, with the hue-lightness curve. Luminance becomes (1 +
    /// (pHLLUT[H] - 0.5) * 2 * (1 - M / V)) * Y * pScale.
    void YHMVToRGB_RowRef(const unsigned short* pRow, void* pDest, int pWidth, int pBits, unsigned short* pEncodeLUT,
                          float pScale, cMatrix33 pMatrix, float* pContrastLUT, float* pHLLUT);

    /// Decodes one row for the bitmap form of HMVToRGB.
    void HMVToRGB_RowRef(const unsigned short* pRow, void* pDest, int pWidth, int pBits, unsigned short* pEncodeLUT,
                         cMatrix33 pMatrix, float* pHLLUT);

    /// Rebuilds the neutral table: entry h is the colour of hue h for M = 0 and V = 1.
    void ComputeHMVToRGBLUT();

    /// Rebuilds the table with two curves applied. The source hue is the index of both.
    /// @param pHSLUT 65536 saturations: 0.5 is neutral, 0 gives grey, 1 the highest, with negative components
    /// @param pHHLUT 65536 hue shifts: 32767 is neutral, and the hue wraps around
    void UpdateHMVToRGBLUT(float* pHSLUT, unsigned short* pHHLUT);

    float fHMVToRGBLUT[65536][3]; ///< R, G, B of each 16-bit hue for M = 0 and V = 1, with the curves applied
};

static_assert(sizeof(cYHMVColorSpace) == 786432, "the table is all that the object holds");

} // namespace Vornik

#endif
