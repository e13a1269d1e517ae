#include "Plugin.h"

#include <selvane.h>

static selvane_settings Settings(void)
{
    selvane_settings settings;
    selvane_settings_init(&settings);
    settings.automatic = 0;
    settings.compression = PLUGIN_COMPRESSION;
    settings.smoothness = PLUGIN_SMOOTHNESS;
    settings.white_clip = PLUGIN_WHITE_CLIP;
    settings.black_clip = PLUGIN_BLACK_CLIP;
    return settings;
}

static selvane_picture Photo(int width, int height, const uint16_t* samples)
{
    selvane_picture photo;
    selvane_picture_init(&photo);
    photo.width = width;
    photo.height = height;
    photo.format = SELVANE_U16;
    photo.transfer = SELVANE_TRANSFER_ENGINE;
    photo.pixels = samples;
    return photo;
}

static selvane_target Target(int width, int height, uint8_t* samples)
{
    selvane_target target;
    selvane_target_init(&target);
    target.width = width;
    target.height = height;
    target.format = SELVANE_U8;
    target.pixels = samples;
    return target;
}

static int Render(selvane* handle, int width, int height, const uint16_t* photo, uint8_t* picture)
{
    const selvane_settings settings = Settings();
    const selvane_picture from = Photo(width, height, photo);
    const selvane_target to = Target(width, height, picture);
    int status = selvane_set_threads(handle, 3);
    if (status == SELVANE_OK) status = selvane_set_settings(handle, &settings);
    if (status == SELVANE_OK) status = selvane_set_picture(handle, &from);
    if (status == SELVANE_OK) status = selvane_render(handle, &to);
    return status;
}

__attribute__((visibility("default"))) int Develop(int width, int height, const uint16_t* photo, uint8_t* picture)
{
    selvane* const handle = selvane_new();
    const int status = handle == NULL ? SELVANE_ERROR_MEMORY : Render(handle, width, height, photo, picture);
    selvane_free(handle);
    return status;
}
