/* compare SPACE PICTURE RESULT [PRESET EXPOSURE]: whether RESULT has, bit for bit, the samples that libselvane gives
 * for PICTURE. GEGL reads both files. The picture goes to the library as linear floats, and comes out in its own
 * primaries: those of the file with SPACE "own", sRGB with "srgb". With SPACE "same" RESULT has to have the samples of
 * PICTURE. */

#include <gegl.h>
#include <selvane.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static void Fail(const char* text)
{
    fprintf(stderr, "%s\n", text);
    exit(1);
}

static void Check(const selvane* mapper, int status)
{
    if (status != SELVANE_OK) Fail(selvane_error(mapper));
}

static GeglBuffer* Load(const char* path)
{
    GeglBuffer* buffer = NULL;
    GeglNode* graph = gegl_node_new();
    GeglNode* load = gegl_node_new_child(graph, "operation", "gegl:load", "path", path, NULL);
    GeglNode* sink = gegl_node_new_child(graph, "operation", "gegl:buffer-sink", "buffer", &buffer, NULL);
    gegl_node_link(load, sink);
    gegl_node_process(sink);
    g_object_unref(graph);
    if (buffer == NULL) Fail(path);
    return buffer;
}

/* Linear red, green, blue and alpha in the buffer's own space. */
static float* PixelsOf(GeglBuffer* buffer)
{
    const GeglRectangle* size = gegl_buffer_get_extent(buffer);
    const Babl* space = babl_format_get_space(gegl_buffer_get_format(buffer));
    float* pixels = calloc((size_t)size->width * (size_t)size->height, 4 * sizeof(float));
    if (pixels == NULL) Fail("no memory");
    gegl_buffer_get(buffer, size, 1.0, babl_format_with_space("RGBA float", space), pixels, GEGL_AUTO_ROWSTRIDE,
                    GEGL_ABYSS_NONE);
    return pixels;
}

/* x and y of red, green, blue, white. */
static void GetChromaticities(const Babl* space, float* xy)
{
    double d[8];
    babl_space_get(space, &d[6], &d[7], &d[0], &d[1], &d[2], &d[3], &d[4], &d[5], NULL, NULL, NULL);
    for (int i = 0; i < 8; i++)
        xy[i] = (float)d[i];
}

/* Replaces the pixels by those that libselvane makes of them. */
static void Map(GeglBuffer* buffer, const char* name, float* pixels, const char* preset, float exposure)
{
    const GeglRectangle* size = gegl_buffer_get_extent(buffer);
    const Babl* space = babl_format_get_space(gegl_buffer_get_format(buffer));
    const int plain = strcmp(name, "srgb") == 0 || space == babl_space("sRGB");
    const int primaries = plain ? SELVANE_SRGB : SELVANE_CUSTOM;
    selvane_picture picture = {sizeof(picture),        size->width,     size->height, SELVANE_F32, .channels = 4,
                               .primaries = primaries, .pixels = pixels};
    selvane_target target = {sizeof(target), size->width,        size->height, SELVANE_F32,
                             .channels = 4,  .space = primaries, .linear = 1,  .pixels = pixels};
    GetChromaticities(space, picture.chromaticities);
    GetChromaticities(space, target.chromaticities);
    selvane* mapper = selvane_new();
    selvane_settings settings = {.struct_size = sizeof(settings)};
    Check(mapper, selvane_preset(mapper, preset, &settings));
    settings.exposure += exposure;
    Check(mapper, selvane_set_settings(mapper, &settings));
    Check(mapper, selvane_set_picture(mapper, &picture));
    Check(mapper, selvane_render(mapper, &target));
    selvane_free(mapper);
}

int main(int argc, char** argv)
{
    if (argc != 4 && argc != 6) Fail("compare SPACE PICTURE RESULT [PRESET EXPOSURE]");
    gegl_init(NULL, NULL);
    GeglBuffer* picture = Load(argv[2]);
    GeglBuffer* result = Load(argv[3]);
    if (!gegl_rectangle_equal(gegl_buffer_get_extent(picture), gegl_buffer_get_extent(result)))
        Fail("the sizes differ");
    float* expected = PixelsOf(picture);
    float* seen = PixelsOf(result);
    if (strcmp(argv[1], "same") != 0)
        Map(picture, argv[1], expected, argc == 6 ? argv[4] : "natural", argc == 6 ? strtof(argv[5], NULL) : 0.0f);
    const GeglRectangle* size = gegl_buffer_get_extent(picture);
    const size_t samples = (size_t)size->width * (size_t)size->height * 4;
    size_t different = 0;
    for (size_t i = 0; i < samples; i++)
        different += memcmp(&expected[i], &seen[i], sizeof(float)) != 0;
    printf("%s: %zu of %zu samples differ\n", argv[3], different, samples);
    g_object_unref(picture);
    g_object_unref(result);
    free(expected);
    free(seen);
    return different == 0 ? 0 : 1;
}
