#ifndef SELVANE_TESTS_LIB_ABI_PLUGIN_H
#define SELVANE_TESTS_LIB_ABI_PLUGIN_H

/* What the test's plug-ins hand out, beside nothing. */

#include <stdint.h>

/* The sliders of the test, as the entry of the engine takes them too. */
#define PLUGIN_COMPRESSION 5.0f
#define PLUGIN_SMOOTHNESS (-1.0f)
#define PLUGIN_WHITE_CLIP 2.0f
#define PLUGIN_BLACK_CLIP 0.5f

/* Renders width * height pixels of three 16-bit samples, sRGB as the entry decodes it, to 8 bits. Gives a
 * selvane_status. */
typedef int (*plugin_develop)(int width, int height, const uint16_t* photo, uint8_t* picture);

#endif
