#ifndef SELVANE_ENTRY_VORNIKLIB3_H
#define SELVANE_ENTRY_VORNIKLIB3_H

/*
 * The entry of Selvane.so.1 for a host program, and its three records. Plain C, C99 and later. A host also supplies
 * DivideWork, see filter/DivideWork.h.
 */

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/*
 * The pixel buffers. 32 bytes, read only.
 *
 *   offset   0  width
 *            4  height
 *            8  samplesPerPixel
 *           12  inputDepth
 *           16  outputDepth
 *           20  inputRowSamples
 *           24  outputRowSamples
 *           28  bgrOrder
 *
 * samplesPerPixel   Samples from one pixel to the next, in both buffers: 1 for grey, 3 for colour. Any other value is
 *                   the step from pixel to pixel. With a step of 0 or below, samples before the pixel are read and,
 *                   with red first, written. The host answers for that memory. 32-bit input does not use this field;
 *                   the output always does.
 *
 * inputRowSamples   With 3 samples per pixel: the row length of the input in samples. In general, a row begins
 *                   width * samplesPerPixel + inputRowSamples - 3 * width samples after the previous row. So give the
 *                   row length + 2 * width for 1 sample per pixel, and the row length - width for 4. 32-bit input does
 *                   not use this field.
 *
 * outputRowSamples  Row length of the output in samples.
 *                   Red first: samples behind the pixels of a row are not written.
 *                   Blue first, width not a multiple of 4: each row copies outputRowSamples samples. A longer row gets
 *                   up to 9 zeros behind its pixels, then pixels of the picture's next row.
 *                   Blue first, width a multiple of 4: the picture is copied in one piece, with rows 3 * width samples
 *                   apart. Any other row length gives no usable picture. Zeros follow the picture's last row.
 */
typedef struct sTmImageDesc
{
    int32_t width;            /* pixels, at least 1 */
    int32_t height;           /* pixels, at least 1 */
    int32_t samplesPerPixel;  /* see above */
    int32_t inputDepth;       /* bits of an input sample: 8, 16, or 32 for byte planes with shared exponents */
    int32_t outputDepth;      /* bits of an output sample: 8 or 16; any other makes the entry throw, see below */
    int32_t inputRowSamples;  /* see above */
    int32_t outputRowSamples; /* see above */
    int32_t bgrOrder;         /* 0: red first. Non-zero: blue first. 32-bit input does not use it; the output does */
} sTmImageDesc;

/* How to run. 12 bytes, read only. */
typedef struct sTmRunSettings
{
    int32_t processorCount; /* workers, passed to DivideWork unchanged */
    int32_t reserved;       /* unused */
    int32_t requestType;    /* 1: render with the host's points. 9: measure only. Any other: measure and render */
} sTmRunSettings;

/*
 * The sliders. At least 76 bytes. The entry writes blackPoint and whitePoint unless the request type is 1. It writes no
 * other byte. The host may use the reserved fields.
 *
 *   offset   0  compression
 *            4  smoothness
 *            8  adaptation
 *           12  whiteClip
 *           16  blackClip
 *           20  radius
 *           44  reservedSwitch
 *           60  wrapSwitch
 *           68  blackPoint
 *           72  whitePoint
 *
 * blackPoint, whitePoint   On the scale of tone-mapped luminance. Request type 1 reads them, and uses them if
 *                          0 < whitePoint and blackPoint <= whitePoint. Every other type writes them.
 */
typedef struct sTmSliders
{
    float compression; /* strength of the global compression, -100 to 100 */
    float smoothness;  /* edge tolerance of the split into base and detail, -10 to 10 */
    float adaptation;  /* bends the curves of both layers around their means, 0 to 100; off at 0 and below */
    float whiteClip;   /* share of pixels clipped at the white end, 0 to 100 for 0 to 5 per cent */
    float blackClip;   /* share of pixels clipped at the black end, per cent */
    float radius;      /* spatial size of the split, -10 (widest) to 10 (finest) */
    float reserved24[5];
    float reservedSwitch; /* on at exactly 1; stored, but unused */
    float reserved48[3];
    float wrapSwitch; /* on at exactly 1: the picture wraps around horizontally (panoramas) */
    float reserved64;
    float blackPoint; /* see above */
    float whitePoint; /* see above */
} sTmSliders;

/*
 * Tone-maps one picture on the calling thread. Parallel work goes through DivideWork and has ended on return. The entry
 * keeps no state.
 *
 *   pImage       description of the buffers, borrowed
 *   pRun         run settings, borrowed
 *   pColorSpace  colour space of both buffers: 0 sRGB, 1 Adobe RGB (1998), 2 ProPhoto RGB. Any other value ends the
 *                process
 *   pSliders     borrowed; blackPoint and whitePoint are written unless the request type is 1
 *   pInput       borrowed, only read. 8 or 16 bits: interleaved samples. 32 bits: each row has width bytes each of red
 *                mantissas, green mantissas, blue mantissas and exponents. A channel is
 *                mantissa * 2^(exponent - 136); exponent 0 is black
 *   pOutput      borrowed, only written; may be null with request type 9. May be pInput's memory
 *
 * The sizes of the buffers are not checked; the host answers for them. Results:
 *
 *    1  done
 *   -1  a failure, reported in one line on the standard error stream
 *   -2  inputDepth is not 8, 16 or 32; nothing was written
 *   -4  out of memory, or a slider so far outside its range that the filter cannot make its grid
 *
 * With an outputDepth other than 8 or 16, the entry throws a pointer to a Vornik::cInvalidOperationException. The
 * catcher may delete it; the library never does.
 */
#if defined(__GNUC__)
__attribute__((visibility("default")))
#endif
int32_t
cpp_tm_selvane(const sTmImageDesc* pImage, const sTmRunSettings* pRun, int32_t pColorSpace, sTmSliders* pSliders,
               const unsigned char* pInput, unsigned char* pOutput);

#ifdef __cplusplus
}
#endif

#endif
