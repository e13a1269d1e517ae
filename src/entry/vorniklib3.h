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
 *   offset  0      4       8                12          16           20               24                28
 *           width  height  samplesPerPixel  inputDepth  outputDepth  inputRowSamples  outputRowSamples  bgrOrder
 */
typedef struct sTmImageDesc
{
    int32_t width;  /* pixels, at least 1 */
    int32_t height; /* pixels, at least 1 */
    /* Samples from one pixel to the next, in both buffers: 1 grey, 3 colour. Any other value is taken as a step too.
       With a step of 0 or below, samples before the pixel are read and, red first, written: the host answers for that
       memory. 32-bit input does not use it, but its copy-out does. */
    int32_t samplesPerPixel;
    int32_t inputDepth;  /* bits of an input sample: 8, 16, or 32 for four byte planes a row with shared exponents */
    int32_t outputDepth; /* bits of an output sample: 8 or 16; anything else makes the renderer throw a pointer */
    /* Row length of the input in samples when samplesPerPixel is 3. In general the read position moves on by
       width * samplesPerPixel + inputRowSamples - 3 * width a row: give the row length + 2 * width for 1 sample a
       pixel,
       - width for 4. Not used by 32-bit input. */
    int32_t inputRowSamples;
    /* Row length of the output in samples.
       Blue first, a width that is a multiple of 4: the picture is copied in one piece, without regard to the rows of
       the host. Any row length but 3 * width gives no usable picture then, and what the piece takes from behind the
       picture's last row is zero.
       Blue first, any other width: outputRowSamples samples are copied a row. Behind the pixels of a longer row stand
       up to 9 zeros, then pixels of the picture's next row.
       Red first: what lies behind the pixels of a row stays the host's. */
    int32_t outputRowSamples;
    /* 0: red is the first sample of a pixel and blue the last; non-zero: the reverse. 32-bit input does not use it, but
       its copy-out does. */
    int32_t bgrOrder;
} sTmImageDesc;

/* How to run. 12 bytes, read only. */
typedef struct sTmRunSettings
{
    int32_t processorCount; /* workers, handed to DivideWork as it stands */
    int32_t reserved;       /* not read */
    int32_t requestType; /* 1: render with the host's black and white point; 9: measure only, no pixels are handed back;
                            any other value: measure and render */
} sTmRunSettings;

/*
 * The sliders. At least 76 bytes; blackPoint and whitePoint are written back unless the request type is 1, no other
 * byte is written. The reserved fields belong to the host.
 *
 *   offset  0            4           8           12         16         20      44              60          68 72
 *           compression  smoothness  adaptation  whiteClip  blackClip  radius  reservedSwitch  wrapSwitch  blackPoint
 * whitePoint
 */
typedef struct sTmSliders
{
    float compression; /* strength of the global compression, -100 to 100 */
    float smoothness;  /* edge tolerance of the split into base and detail, -10 to 10 */
    float adaptation;  /* above 0: bends both curves around the means of their layers, 0 to 100 */
    float whiteClip;   /* share of pixels clipped at the white end, 0 to 100 for 0 to 5 per cent */
    float blackClip;   /* share of pixels clipped at the black end, per cent */
    float radius;      /* spatial size of the split, -10 (widest) to 10 (finest) */
    float reserved24[5];
    float reservedSwitch; /* on at exactly 1; stored and used for nothing */
    float reserved48[3];
    float wrapSwitch; /* on at exactly 1: the picture wraps around horizontally (panoramas) */
    float reserved64;
    float blackPoint; /* on the scale of tone-mapped luminance; in with request type 1, out with all others */
    float
        whitePoint; /* likewise; with request type 1 both are accepted if 0 < whitePoint and blackPoint <= whitePoint */
} sTmSliders;

/*
 * Tone-maps one picture on the calling thread; parallel work goes through DivideWork and has ended on return. Keeps no
 * state.
 *
 *   pImage       the buffers' description, borrowed
 *   pRun         run settings, borrowed
 *   pColorSpace  colour space of both buffers: 0 sRGB, 1 Adobe RGB (1998), 2 ProPhoto RGB. Any other value ends the
 * process pSliders     borrowed; blackPoint and whitePoint are written unless the request type is 1 pInput borrowed,
 * only read. 8 or 16 bits: interleaved samples. 32: each row is width red mantissas, width green, width blue, width
 * exponents; a channel is mantissa * 2^(exponent - 136), exponent 0 is black pOutput      borrowed, only written; may
 * be null with request type 9
 *
 * The buffers are not checked: the host vouches for their sizes. Results:
 *
 *    1  done
 *   -1  a failure, reported in one line on the standard error stream
 *   -2  inputDepth is not 8, 16 or 32; nothing was written
 *   -4  out of memory
 *
 * An outputDepth other than 8 or 16 makes a pointer to a Vornik::cInvalidOperationException leave the entry.
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
