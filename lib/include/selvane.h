#ifndef SELVANE_H
#define SELVANE_H

/*
 * libselvane: pictures of high dynamic range, made fit for display.
 *
 * A program creates a handle, gives it a picture, and renders as often as it likes. The handle keeps the picture and
 * all intermediate results, and computes only what a change of the settings needs.
 *
 *     selvane* h = selvane_new();
 *     selvane_set_picture(h, &picture);      // the picture is copied: its memory may go
 *     selvane_render(h, &target);            // settings that suit the picture
 *     selvane_free(h);
 *
 * Conventions
 *
 *   - Plain C11. Functions that can fail return a selvane_status: SELVANE_OK is 0. selvane_error gives the text of the
 *     latest failure of a handle. After a failure the handle is as it was, and the next call works.
 *   - Nothing is printed, thrown or trapped, whatever is passed.
 *   - A record begins with its size: set struct_size to sizeof the record (the _init functions do). So records can grow
 *     at their end: a program that was compiled with an older header keeps working.
 *   - Zero in a field means the usual choice, unless the field says otherwise.
 *   - One handle belongs to one thread at a time. Different handles may be used on different threads at once.
 *   - The same picture and settings give the same bytes, on every machine and with any number of threads.
 */

#include <stddef.h>
#include <stdint.h>

#define SELVANE_VERSION_MAJOR 0
#define SELVANE_VERSION_MINOR 1
#define SELVANE_VERSION_PATCH 0
#define SELVANE_VERSION (SELVANE_VERSION_MAJOR * 10000 + SELVANE_VERSION_MINOR * 100 + SELVANE_VERSION_PATCH)

#if defined(__GNUC__)
#define SELVANE_FUNCTION __attribute__((visibility("default")))
#else
#define SELVANE_FUNCTION
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Handle and status -------------------------------------------------------------------------------------- */

/* A tone mapper with its picture, settings and results. */
typedef struct selvane selvane;

typedef enum selvane_status
{
    SELVANE_OK = 0,
    SELVANE_ERROR_ARGUMENT = 1,   /* a value that makes no sense; the text names it */
    SELVANE_ERROR_MEMORY = 2,     /* the system has no memory left */
    SELVANE_ERROR_LIMIT = 3,      /* the handle's own limit of memory is too low */
    SELVANE_ERROR_CANCELLED = 4,  /* the progress function asked for it */
    SELVANE_ERROR_NO_PICTURE = 5, /* selvane_set_picture has to come first */
    SELVANE_ERROR_TEXT = 6,       /* a text of settings cannot be read; the text names line and key */
    SELVANE_ERROR_INTERNAL = 7    /* a fault of the library */
} selvane_status;

/* Returns the version of the loaded library, as SELVANE_VERSION. */
SELVANE_FUNCTION int selvane_version(void);

/* Returns the version of the loaded library as text, for example "0.1.0". */
SELVANE_FUNCTION const char* selvane_version_text(void);

/* Returns a new handle, which the caller frees; null without memory. Starts no thread. */
SELVANE_FUNCTION selvane* selvane_new(void);

/* Frees a handle with its picture and results. Null is allowed. */
SELVANE_FUNCTION void selvane_free(selvane* handle);

/* Returns the text of the latest failure of the handle: one English sentence, "" before the first. It is valid until
 * the next call with the handle. Null gives a text too. */
SELVANE_FUNCTION const char* selvane_error(const selvane* handle);

/* Returns a short constant text for a status, for example "no picture". */
SELVANE_FUNCTION const char* selvane_status_text(int status);

/* ---- Pictures in -------------------------------------------------------------------------------------------- */

/* Form of the samples. All are in the machine's byte order. */
typedef enum selvane_format
{
    SELVANE_U8 = 1,   /* 8-bit integers */
    SELVANE_U16 = 2,  /* 16-bit integers */
    SELVANE_F16 = 3,  /* half floats (IEEE 754 binary16) */
    SELVANE_F32 = 4,  /* floats */
    SELVANE_RGBE = 5, /* a pixel is four bytes: three mantissas, then their exponent; input only.
                                 A sample is mantissa * 2^(exponent - 136), 0 for exponent 0; always linear */
    SELVANE_RGBE_PLANES =
        6 /* the same with a row as four runs of width bytes: red, green, blue, exponent; input only */
} selvane_format;

/* Order of the samples of a pixel. Alpha, if any, comes last. */
typedef enum selvane_order
{
    SELVANE_RGB = 0,
    SELVANE_BGR = 1
} selvane_order;

/* Primaries and white. */
typedef enum selvane_primaries
{
    SELVANE_SRGB = 0,       /* IEC 61966-2-1, also Rec. 709 */
    SELVANE_ADOBE_RGB = 1,  /* Adobe RGB (1998) */
    SELVANE_PROPHOTO = 2,   /* ROMM RGB, white D50 */
    SELVANE_DISPLAY_P3 = 3, /* P3 with white D65 */
    SELVANE_REC2020 = 4,    /* ITU-R BT.2020 */
    SELVANE_ACES_AP0 = 5,   /* ACES2065-1 */
    SELVANE_ACES_AP1 = 6,   /* ACEScg */
    SELVANE_CUSTOM = 100    /* chromaticities of the record */
} selvane_primaries;

/* How samples became numbers. */
typedef enum selvane_transfer
{
    SELVANE_TRANSFER_DEFAULT = 0, /* linear for floats and exponents; for integers the curve that belongs to the
                                     primaries: sRGB's for sRGB and Display P3, 2.2 for Adobe RGB, 1.8 for ProPhoto,
                                     that of BT.2020 for Rec. 2020, linear for ACES and custom ones */
    SELVANE_TRANSFER_LINEAR = 1,
    SELVANE_TRANSFER_SRGB = 2,    /* the piecewise curve of IEC 61966-2-1 */
    SELVANE_TRANSFER_POWER = 3,   /* linear value = sample ^ gamma */
    SELVANE_TRANSFER_REC2020 = 4, /* the camera's curve of ITU-R BT.2020, undone */
    SELVANE_TRANSFER_ENGINE = 5   /* as cpp_tm_selvane decodes: integer / 2^bits to the power 2.2, 1.8 for ProPhoto;
                                     integers with the first three primaries only */
} selvane_transfer;

/*
 * A picture in the caller's memory. Integers are divided by their largest value; floats and exponents may have any
 * scale, also beyond 1.
 *
 * The first row is the top one. A picture that is stored bottom up has its top row last: let pixels point to that row
 * and make row_stride negative.
 *
 * Alpha reaches the output untouched. A pixel with alpha 0 counts in no statistic.
 */
typedef struct selvane_picture
{
    size_t struct_size;
    int32_t width;            /* pixels, 1 to 1000000 */
    int32_t height;           /* rows, 1 to 1000000; at most 2^30 pixels in all */
    int32_t format;           /* selvane_format */
    int32_t channels;         /* 3 or 4; 0 is 3. Exponents: 0 or 3 */
    int32_t order;            /* selvane_order; for exponents too */
    int32_t primaries;        /* selvane_primaries */
    int32_t transfer;         /* selvane_transfer */
    float gamma;              /* of SELVANE_TRANSFER_POWER, above 0 and at most 10 */
    float chromaticities[8];  /* of SELVANE_CUSTOM: x and y of red, green, blue, white */
    int32_t keep_hot_samples; /* 0: tame hot pixels and fill dark specks, see selvane_set_picture; 1: leave them */
    int32_t reserved;         /* 0 */
    const void* pixels;       /* first sample of the top left pixel */
    ptrdiff_t row_stride;     /* bytes from a row to the next one below; 0: rows without a gap */
    ptrdiff_t pixel_stride;   /* bytes from a pixel to the next one on the right; 0: pixels without a gap */
    ptrdiff_t channel_stride; /* bytes from a sample to the next one of the pixel; 0: size of a sample */
} selvane_picture;

/* Fills a record with zeros and its size. */
SELVANE_FUNCTION void selvane_picture_init(selvane_picture* picture);

/*
 * Copies a picture into the handle, as linear XYZ floats. All earlier results are forgotten; settings stay.
 *
 * Samples that are NaN or negative become 0. Infinite ones, and finite ones beyond 1e30, become the largest other
 * sample of the picture (0 if there is none). Both hold for floats, halves and exponents. The report counts those of
 * pixels that count.
 *
 * Of floats, halves and exponents, unless keep_hot_samples is 1:
 * - Hot pixels, the few that outshine everything else, are lowered to twice the luminance of the brightest other pixel.
 *   hot_pixels of selvane_report says which they are.
 * - Dark specks are filled. A picture that was made smaller often has a ring of samples near 0 around its sun and
 *   lamps. A sample below a hundredth of the fifth smallest of its eight neighbours, in its channel, becomes that one
 *   if the largest of them is more than twice that one. Neighbours outside of the picture, or of pixels that do not
 *   count, are taken as equal to the sample. Thin dark lines stay: too many of their neighbours are dark, or none is
 *   bright beside the others.
 *
 * If memory or time run out, the handle has the picture that it had before.
 */
SELVANE_FUNCTION int selvane_set_picture(selvane* handle, const selvane_picture* picture);

/* ---- Settings ----------------------------------------------------------------------------------------------- */

/* A point of a curve over hue. x is the hue: 0 red, 1/3 green, 2/3 blue, 1 red again. y is 0 to 1; 0.5 is neutral. */
typedef struct selvane_point
{
    float x;
    float y;
} selvane_point;

#define SELVANE_MOST_POINTS 16

/* A closed curve over hue, eased from point to point. Without points it changes nothing. */
typedef struct selvane_curve
{
    int32_t count; /* points in use, 0 to SELVANE_MOST_POINTS; no hue twice */
    selvane_point points[SELVANE_MOST_POINTS];
} selvane_curve;

typedef enum selvane_points
{
    SELVANE_POINTS_MEASURED = 0, /* black and white point come from the picture and the clips */
    SELVANE_POINTS_GIVEN = 1     /* they are black_point and white_point */
} selvane_points;

/*
 * Everything that decides how a picture looks.
 *
 * With automatic 1, which is the default, the sliders are added to those that suit the picture (selvane_suggest), and
 * the sums are kept within the ranges: all sliders 0 give the suggested picture. With automatic 0 they stand as they
 * are.
 */
typedef struct selvane_settings
{
    size_t struct_size;
    int32_t automatic;            /* 0 or 1 */
    int32_t wrap;                 /* 1: left and right edge touch, as in a panorama of 360 degrees; else 0 */
    float compression;            /* -100 to 100: strength of the global compression */
    float smoothness;             /* -10 to 10: edge tolerance of the base layer */
    float radius;                 /* -10 wide to 10 fine: size of what counts as detail */
    float adaptation;             /* 0 to 100, automatic also below: bends both layers around their means */
    float white_clip;             /* 0 to 100 for 0 to 5 per cent of the pixels, automatic also below */
    float black_clip;             /* 0 to 100 per cent of the pixels, automatic also below */
    float exposure;               /* -20 to 20 stops: a stop doubles the light of the result above black */
    float contrast;               /* -100 to 100 */
    float saturation;             /* -100 grey to 100 */
    int32_t points;               /* selvane_points */
    float black_point;            /* luminance that becomes black; of SELVANE_POINTS_GIVEN, as the report gives it */
    float white_point;            /* luminance that becomes white, above black_point */
    selvane_curve hue;            /* hue to shift of hue: 0 half the circle back, 1 half the circle on */
    selvane_curve hue_saturation; /* hue to saturation: 0 grey, 1 double */
    selvane_curve hue_lightness;  /* hue to lightness: 0 dark, 1 double, weaker the paler the colour */
    int32_t reserved;             /* 0 */
} selvane_settings;

/* Fills a record with the defaults: automatic 1, everything else neutral. */
SELVANE_FUNCTION void selvane_settings_init(selvane_settings* settings);

/* Takes new settings for the next render. Values outside of their ranges and NaN are refused by name. */
SELVANE_FUNCTION int selvane_set_settings(selvane* handle, const selvane_settings* settings);

/* Copies the settings as they were set. Set struct_size before. */
SELVANE_FUNCTION int selvane_get_settings(const selvane* handle, selvane_settings* settings);

/* Looks at the picture and answers with the settings that suit it, with automatic 0. Set struct_size before. The answer
 * is kept: the second call takes no time. selvane_render calls it where it needs it. */
SELVANE_FUNCTION int selvane_suggest(selvane* handle, selvane_settings* settings);

/* Copies the settings that a render uses: the suggestion with the offsets, with automatic 0. Set struct_size before. */
SELVANE_FUNCTION int selvane_effective_settings(selvane* handle, selvane_settings* settings);

/* ---- Settings as text, and presets -------------------------------------------------------------------------- */

/*
 * Writes settings as TOML: a line for each value that is not the default, for example "exposure = 0.5". Numbers are
 * written so that reading gives the same float.
 *
 * @param text  receives the text with its final zero; may be null if size is 0
 * @param size  bytes of text
 * @param needed  receives the bytes of the whole text with its final zero; may be null
 *
 * SELVANE_ERROR_ARGUMENT if size is too small; text then holds an empty text. With text null and size 0 the function
 * only tells the size: SELVANE_OK.
 */
SELVANE_FUNCTION int selvane_settings_to_text(const selvane* handle, const selvane_settings* settings, char* text,
                                              size_t size, size_t* needed);

/* Reads TOML into settings. Values that the text does not name are the defaults. Unknown keys, wrong kinds of value,
 * NaN and values outside of their ranges are refused by name, and settings stay as they were. Set struct_size before.
 * The key "description" may hold any text. A text has at most 65536 bytes. */
SELVANE_FUNCTION int selvane_settings_from_text(selvane* handle, const char* text, selvane_settings* settings);

/* Reads a preset: "natural", "clear", "soft", "dramatic", "interior", "night", "flat", or the name of a file NAME.toml
 * in $XDG_CONFIG_HOME/selvane/presets (else ~/.config/selvane/presets), which comes first. Presets are offsets
 * (automatic 1), so each suits every picture. Set struct_size before. */
SELVANE_FUNCTION int selvane_preset(selvane* handle, const char* name, selvane_settings* settings);

/* Returns the name of a preset of the library, from index 0 on; null behind the last. */
SELVANE_FUNCTION const char* selvane_preset_name(int index);

/* Returns a sentence that says what a preset of the library is for; null behind the last. */
SELVANE_FUNCTION const char* selvane_preset_description(int index);

/*
 * Writes the names of all presets that selvane_preset finds, each with a line feed behind it: those of the library in
 * their order, then those of the user's folder by the order of their bytes. A file that replaces a preset of the
 * library stands once, in the library's place. A folder that is not there has no presets.
 *
 * text, size and needed as in selvane_settings_to_text. handle may be null.
 */
SELVANE_FUNCTION int selvane_preset_names(const selvane* handle, char* text, size_t size, size_t* needed);

/* ---- Pictures out ------------------------------------------------------------------------------------------- */

/*
 * A picture to fill, in the caller's memory. Rows and pixels may have gaps, which stay as they are. Its rows and pixels
 * must not overlap, and it must not overlap the input picture during selvane_set_picture.
 */
typedef struct selvane_target
{
    size_t struct_size;
    int32_t width; /* as the picture, or as selvane_preview_size says */
    int32_t height;
    int32_t format;   /* SELVANE_U8, SELVANE_U16, SELVANE_F16 or SELVANE_F32; floats are 0 to 1 */
    int32_t channels; /* 3 or 4; 0 is 3. A fourth channel gets the picture's alpha, or the largest value */
    int32_t order;    /* selvane_order */
    int32_t space;    /* selvane_primaries */
    int32_t linear;   /* 1: samples stay linear; 0: encoded with the space's curve. ACES and custom ones have none */
    int32_t dither;   /* 1: 8-bit samples are dithered by an ordered pattern of 8 x 8 pixels, else 0 */
    void* pixels;     /* first sample of the top left pixel */
    ptrdiff_t row_stride; /* bytes, as in selvane_picture */
    ptrdiff_t pixel_stride;
    ptrdiff_t channel_stride;
    float chromaticities[8]; /* of SELVANE_CUSTOM: x and y of red, green, blue, white */
} selvane_target;

/* Fills a record with zeros and its size. */
SELVANE_FUNCTION void selvane_target_init(selvane_target* target);

/* Renders the picture with the present settings into the target. Computes only what changed since the last call. If it
 * fails or is cancelled, the target holds nothing useful and the next render is right. */
SELVANE_FUNCTION int selvane_render(selvane* handle, const selvane_target* target);

/* Gives the size of a preview whose longer side has at most longest_side pixels. Never larger than the picture. */
SELVANE_FUNCTION int selvane_preview_size(const selvane* handle, int longest_side, int32_t* width, int32_t* height);

/* Renders a small picture that looks like the large one. The picture is reduced at the first call with a size, and the
 * reduced one is kept with results of its own. target has the size that selvane_preview_size gives. */
SELVANE_FUNCTION int selvane_preview(selvane* handle, int longest_side, const selvane_target* target);

/* Writes the picture as it is, without tone mapping, as a camera would expose it: linear samples times 2^stops, each
 * cut off at 0 and 1. Settings, report and results of the handle stay.
 *
 * @param stops  -100 to 100
 * @param longest_side  as in selvane_preview; 0: the whole picture */
SELVANE_FUNCTION int selvane_plain(selvane* handle, float stops, int longest_side, const selvane_target* target);

/*
 * Applies the three curves over hue of settings to a finished picture: hue, hue_saturation and hue_lightness. Nothing
 * else of the settings counts. Needs no picture in the handle, and leaves picture and settings of the handle alone.
 *
 * @param picture  8- or 16-bit integers; transfer is any but SELVANE_TRANSFER_ENGINE. keep_hot_samples is not used
 * @param target  of the same size, 8- or 16-bit integers encoded with the space's curve (linear and dither 0). Alpha is
 *     that of the picture, or the largest value. Its pixels may be those of the picture if both have the same layout
 */
SELVANE_FUNCTION int selvane_equalize(selvane* handle, const selvane_picture* picture, const selvane_settings* settings,
                                      const selvane_target* target);

/* Gives the ICC profile of a space, SELVANE_SRGB to SELVANE_REC2020: constant bytes of the library. linear as in
 * selvane_target. */
SELVANE_FUNCTION int selvane_profile(int space, int linear, const unsigned char** bytes, size_t* size);

/* ---- What was seen ------------------------------------------------------------------------------------------ */

typedef enum selvane_stage
{
    SELVANE_STAGE_READ = 0,   /* samples to XYZ */
    SELVANE_STAGE_SPLIT = 1,  /* logarithm, base layer, measures */
    SELVANE_STAGE_MAP = 2,    /* tables and new luminance */
    SELVANE_STAGE_POINTS = 3, /* histogram, black and white point */
    SELVANE_STAGE_WRITE = 4,  /* samples of the target */
    SELVANE_STAGES = 5
} selvane_stage;

/* What the handle knows of its picture and its latest render. Logarithms are to the base 10. */
typedef struct selvane_report
{
    size_t struct_size;
    int32_t width;
    int32_t height;
    int64_t visible_pixels;    /* pixels whose alpha is not 0 */
    int64_t replaced_nan;      /* samples that were NaN */
    int64_t replaced_negative; /* samples below 0 */
    int64_t replaced_infinite; /* samples that were infinite or beyond 1e30 */
    int64_t hot_pixels;        /* pixels that were lowered: among the brightest 0.001 per cent (at least 4, and at
                                     most one of 64) of the pixels, those above twice the luminance of the brightest
                                     of all others */
    float log_luminance_min;   /* extremes and mean of the logarithm of luminance, which counts as 1e-10 below */
    float log_luminance_max;
    float log_luminance_mean;
    float percentiles[7];                      /* logarithm of luminance at 0.1, 1, 25, 50, 75, 99 and 99.75 per cent */
    float dynamic_range_stops;                 /* stops from the 0.1 to the 99.75 per cent percentile */
    float base_min, base_max, base_mean;       /* decades; 0 before the first render */
    float detail_min, detail_max, detail_mean; /* the mean is that of the absolute value */
    float black_point;                         /* points of the latest render */
    float white_point;
    float clipped_black;                 /* share of the pixels at or below the black point, 0 to 1 */
    float clipped_white;                 /* share of the pixels at or above the white point */
    int32_t previews;                    /* previews that the suggestion took */
    int32_t reserved;                    /* 0 */
    double milliseconds[SELVANE_STAGES]; /* of the latest call, by selvane_stage; 0: the stage was not needed */
    int64_t bytes;                       /* memory of the handle, with what its next render keeps */
    int64_t stage_bytes[SELVANE_STAGES]; /* the same by selvane_stage: the stage that needs it first */
    int64_t filled_samples;              /* dark samples around lights that were filled, see selvane_set_picture */
} selvane_report;

/* Copies the report. Set struct_size before. */
SELVANE_FUNCTION int selvane_get_report(const selvane* handle, selvane_report* report);

/* Returns the sentence of a part of the suggestion's rule that decided, from index 0 on; null behind the last, and
 * before a suggestion. Valid until the next call that changes the handle. */
SELVANE_FUNCTION const char* selvane_reason(const selvane* handle, int index);

typedef enum selvane_plane
{
    SELVANE_PLANE_LUMINANCE = 0, /* logarithm of luminance, of the input */
    SELVANE_PLANE_BASE = 1,      /* its smooth part */
    SELVANE_PLANE_DETAIL = 2,    /* the difference of the two */
    SELVANE_PLANE_MAPPED = 3     /* logarithm of the new luminance, before the black and the white point, which stand on
                                    its scale; at least -10. That of the input for a picture of one tone */
} selvane_plane;

/* Copies a plane of the latest render of the whole picture: width * height floats in decades. row_stride in bytes; 0:
 * no gaps. Computes the plane if no render has. */
SELVANE_FUNCTION int selvane_get_plane(selvane* handle, int plane, float* values, ptrdiff_t row_stride);

/* ---- Pictures over time ------------------------------------------------------------------------------------- */

/*
 * A film or a time-lapse flickers if each frame is rendered with the settings and the points of its own. So measure
 * every frame first, smooth what was measured, and render with that:
 *
 *     selvane_measure(h, &frames[i]);                       // for every frame, with its picture set
 *     selvane_smooth(NULL, frames, frames, count, 0);       // once
 *     selvane_frame_to_settings(NULL, &frames[i], &s);      // for every frame, with its picture set again
 *     selvane_set_settings(h, &s);
 *     selvane_render(h, &target);
 *
 * The frames can be measured and rendered in any order, on several handles, and on several machines.
 */

#define SELVANE_FRAME_CELLS 64

/* What is smoothed over time: the sliders of a frame as they stand, its points, and a tiny picture by which cuts are
 * found. Ranges are those of selvane_settings. */
typedef struct selvane_frame
{
    size_t struct_size;
    float compression;
    float smoothness;
    float radius;
    float adaptation;
    float white_clip;
    float black_clip;
    float exposure;
    float contrast;
    float saturation;
    float black_point; /* luminance that becomes black, of a render with these sliders */
    float white_point; /* luminance that becomes white; 0 for a picture of a single tone, which has no points */
    float cells[SELVANE_FRAME_CELLS]; /* mean logarithm of luminance of 8 x 8 parts of the picture, by rows */
    int32_t cut;                      /* written by selvane_smooth: 1 if a new shot begins with this frame, else 0 */
    int32_t odd;                      /* written by selvane_smooth: 1 if the frame was left out of the means, else 0 */
    int32_t reserved;                 /* 0 */
} selvane_frame;

/* Fills a record with zeros and its size. */
SELVANE_FUNCTION void selvane_frame_init(selvane_frame* frame);

/* Measures the picture with the present settings: the sliders that a render uses, and the points that it finds. Does
 * everything of a render but the samples; a render that follows with the same settings takes the results. Set
 * struct_size before. */
SELVANE_FUNCTION int selvane_measure(selvane* handle, selvane_frame* frame);

/*
 * Smooths the frames of a sequence, which stand in the order of time.
 *
 * A cut is where the picture changes everywhere at once and does not change back with the next frame. Nothing is
 * smoothed across it: the frames of a shot come out as if the shot were alone. Up to four frames in a row that stand
 * out from the frames around them count in no mean, and get the values of their neighbours. Luminances are averaged as
 * logarithms, under a window that falls to both sides as a raised cosine. Equal frames stay as they are.
 *
 * @param handle  receives the text of a failure; may be null
 * @param frames  count records, one behind the other, all with the struct_size of the first; count may be 0
 * @param smooth  receives as many; may be frames itself. Set the struct_size of all before
 * @param window  frames that count for one, 1 to 100000, with as many before it as behind it; 1 smooths nothing,
 *                0 is 25
 */
SELVANE_FUNCTION int selvane_smooth(const selvane* handle, const selvane_frame* frames, selvane_frame* smooth,
                                    size_t count, int window);

/* Puts the sliders and points of a frame into settings, with automatic 0. What a frame does not hold stays: wrap and
 * the curves over hue. Set struct_size of settings before. handle receives the text of a failure and may be null. */
SELVANE_FUNCTION int selvane_frame_to_settings(const selvane* handle, const selvane_frame* frame,
                                               selvane_settings* settings);

/* ---- Callbacks and limits ----------------------------------------------------------------------------------- */

/* Is told which stage runs and which share of the whole call is done, 0 to 1, some twenty times a second. Returns 0 to
 * go on; anything else cancels the call. It is never called twice at once: on the calling thread with the library's own
 * threads, on any thread of the executor with an executor. It must not call the library with this handle. */
typedef int (*selvane_progress)(void* user, int stage, float share);

/* Takes a line of the log, without a line feed. On the calling thread. */
typedef void (*selvane_log)(void* user, const char* line);

/* Runs task(context, 0) to task(context, count - 1), on any threads, and returns when all have ended. */
typedef void (*selvane_executor)(void* user, void (*task)(void* context, int index), void* context, int count);

/* Null takes a callback away. */
SELVANE_FUNCTION int selvane_set_progress(selvane* handle, selvane_progress progress, void* user);
SELVANE_FUNCTION int selvane_set_log(selvane* handle, selvane_log log, void* user);
SELVANE_FUNCTION int selvane_set_executor(selvane* handle, selvane_executor executor, void* user);

/* Sets the number of threads, 1 to 256; 0, the default: as many as the machine has. Without an executor, the threads
 * come from a pool that all handles share: it begins with the first call that needs it and ends with the last handle. A
 * process may fork before that; a child that forks later must not use handles of its parent. */
SELVANE_FUNCTION int selvane_set_threads(selvane* handle, int threads);

/* Sets the most bytes that the handle may hold; 0, the default: no limit. A call that would need more fails with
 * SELVANE_ERROR_LIMIT before it allocates. A new picture is read beside the old one, so both count until it stands. */
SELVANE_FUNCTION int selvane_set_memory_limit(selvane* handle, uint64_t bytes);

/* Gives the most bytes that a handle needs for selvane_set_picture, selvane_suggest and selvane_render of this picture.
 * Needs no pixels in the record. */
SELVANE_FUNCTION int selvane_estimate_memory(const selvane_picture* picture, uint64_t* bytes);

#ifdef __cplusplus
}
#endif

#endif
