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
 * samplesPerPixel   Samples from one pixel to the next, in both buffers: 1 grey, 3 colour. Any other value is the step
 *                   from pixel to pixel. With a step of 0 or below, samples before the pixel are read and, red first,
 *                   written: the host answers for that memory. 32-bit input does not use it; the output always does.
 *
 * inputRowSamples   With 3 samples a pixel, the row length of the input in samples. In general a row begins
 *                   width * samplesPerPixel + inputRowSamples - 3 * width samples behind the one before. With 1 sample
 *                   a pixel give the row length + 2 * width, with 4 the row length - width. 32-bit input does not
 *                   use it.
 *
 * outputRowSamples  Row length of the output in samples.
 *                   Red first: what lies behind the pixels of a row stays the host's.
 *                   Blue first, a width that is no multiple of 4: each row copies outputRowSamples samples. Behind the
 *                   pixels of a longer row come up to 9 zeros, then pixels of the picture's next row.
 *                   Blue first, a width that is a multiple of 4: the picture is copied in one piece, its rows
 *                   3 * width samples apart. Any other row length gives no usable picture; the samples behind the
 *                   picture's last row are zero.
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
    int32_t processorCount; /* workers, handed to DivideWork as it stands */
    int32_t reserved;       /* not read */
    int32_t requestType;    /* 1: render with the host's points. 9: measure only. Any other: measure and render */
} sTmRunSettings;

/*
 * The sliders. At least 76 bytes. The entry writes blackPoint and whitePoint, unless the request type is 1, and no
 * other byte. The reserved fields belong to the host.
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
 * blackPoint, whitePoint   On the scale of tone-mapped luminance. With request type 1 they go in, and are used if
 *                          0 < whitePoint and blackPoint <= whitePoint; with every other type they come out.
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
    float reservedSwitch; /* on at exactly 1; stored and used for nothing */
    float reserved48[3];
    float wrapSwitch; /* on at exactly 1: the picture wraps around horizontally (panoramas) */
    float reserved64;
    float blackPoint; /* see above */
    float whitePoint; /* see above */
} sTmSliders;

/*
 * Tone-maps one picture on the calling thread; parallel work goes through DivideWork and has ended on return. Keeps no
 * state.
 *
 *   pImage       description of the buffers, borrowed
 *   pRun         run settings, borrowed
 *   pColorSpace  colour space of both buffers: 0 sRGB, 1 Adobe RGB (1998), 2 ProPhoto RGB. Any other value ends the
 *                process
 *   pSliders     borrowed; blackPoint and whitePoint are written unless the request type is 1
 *   pInput       borrowed, only read. 8 or 16 bits: interleaved samples. 32: each row is width red mantissas, width
 *                green, width blue, width exponents; a channel is mantissa * 2^(exponent - 136), exponent 0 is black
 *   pOutput      borrowed, only written; may be null with request type 9. May be pInput's memory
 *
 * The buffers are not checked: the host vouches for their sizes. Results:
 *
 *    1  done
 *   -1  a failure, reported in one line on the standard error stream
 *   -2  inputDepth is not 8, 16 or 32; nothing was written
 *   -4  out of memory, or a slider so far outside its range that the filter has no grid for it
 *
 * An outputDepth other than 8 or 16 makes a pointer to a Vornik::cInvalidOperationException leave the entry. The catcher
 * may delete it; the library never does.
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
