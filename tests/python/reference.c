/*
 * What a C program gets, for the tests of the Python package to compare with.
 *
 *     reference layout                     prints "record field offset size" for each field
 *     reference render FIELD=VALUE... IN OUT   reads the samples of a picture, writes those of the target
 *
 * Fields are those of the records, "out_" before those of the target that a picture has, too; "settings" is a TOML
 * text.
 */

#include <selvane.h>

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#define FIELD(record, field)                                                                                           \
    printf(#record " " #field " %zu %zu\n", offsetof(selvane_##record, field), sizeof(((selvane_##record*)0)->field))
#define SIZE(record) printf(#record " - 0 %zu\n", sizeof(selvane_##record))

static void PrintPicture(void)
{
    SIZE(picture);
    FIELD(picture, struct_size);
    FIELD(picture, width);
    FIELD(picture, height);
    FIELD(picture, format);
    FIELD(picture, channels);
    FIELD(picture, order);
    FIELD(picture, primaries);
    FIELD(picture, transfer);
    FIELD(picture, gamma);
    FIELD(picture, chromaticities);
    FIELD(picture, keep_hot_samples);
    FIELD(picture, reserved);
    FIELD(picture, pixels);
    FIELD(picture, row_stride);
    FIELD(picture, pixel_stride);
    FIELD(picture, channel_stride);
}

static void PrintSettings(void)
{
    SIZE(point);
    FIELD(point, x);
    FIELD(point, y);
    SIZE(curve);
    FIELD(curve, count);
    FIELD(curve, points);
    SIZE(settings);
    FIELD(settings, struct_size);
    FIELD(settings, automatic);
    FIELD(settings, wrap);
    FIELD(settings, compression);
    FIELD(settings, smoothness);
    FIELD(settings, radius);
    FIELD(settings, adaptation);
    FIELD(settings, white_clip);
    FIELD(settings, black_clip);
    FIELD(settings, exposure);
    FIELD(settings, contrast);
    FIELD(settings, saturation);
    FIELD(settings, points);
    FIELD(settings, black_point);
    FIELD(settings, white_point);
    FIELD(settings, hue);
    FIELD(settings, hue_saturation);
    FIELD(settings, hue_lightness);
    FIELD(settings, reserved);
}

static void PrintTarget(void)
{
    SIZE(target);
    FIELD(target, struct_size);
    FIELD(target, width);
    FIELD(target, height);
    FIELD(target, format);
    FIELD(target, channels);
    FIELD(target, order);
    FIELD(target, space);
    FIELD(target, linear);
    FIELD(target, dither);
    FIELD(target, pixels);
    FIELD(target, row_stride);
    FIELD(target, pixel_stride);
    FIELD(target, channel_stride);
    FIELD(target, chromaticities);
}

static void PrintReport(void)
{
    SIZE(report);
    FIELD(report, struct_size);
    FIELD(report, width);
    FIELD(report, height);
    FIELD(report, visible_pixels);
    FIELD(report, replaced_nan);
    FIELD(report, replaced_negative);
    FIELD(report, replaced_infinite);
    FIELD(report, hot_pixels);
    FIELD(report, log_luminance_min);
    FIELD(report, log_luminance_max);
    FIELD(report, log_luminance_mean);
    FIELD(report, percentiles);
    FIELD(report, dynamic_range_stops);
    FIELD(report, base_min);
    FIELD(report, base_max);
    FIELD(report, base_mean);
    FIELD(report, detail_min);
    FIELD(report, detail_max);
    FIELD(report, detail_mean);
    FIELD(report, black_point);
    FIELD(report, white_point);
    FIELD(report, clipped_black);
    FIELD(report, clipped_white);
    FIELD(report, previews);
    FIELD(report, reserved);
    FIELD(report, milliseconds);
    FIELD(report, bytes);
    FIELD(report, stage_bytes);
    FIELD(report, filled_samples);
}

static void PrintFrame(void)
{
    SIZE(frame);
    FIELD(frame, struct_size);
    FIELD(frame, compression);
    FIELD(frame, smoothness);
    FIELD(frame, radius);
    FIELD(frame, adaptation);
    FIELD(frame, white_clip);
    FIELD(frame, black_clip);
    FIELD(frame, exposure);
    FIELD(frame, contrast);
    FIELD(frame, saturation);
    FIELD(frame, black_point);
    FIELD(frame, white_point);
    FIELD(frame, cells);
    FIELD(frame, cut);
    FIELD(frame, odd);
    FIELD(frame, reserved);
}

struct sCall
{
    selvane_picture picture;
    selvane_target target;
    const char* settings;
};

static void SetChromaticities(float* values, const char* text)
{
    char* end = NULL;
    for (int i = 0; i < 8; i++, text = end + 1)
        values[i] = strtof(text, &end);
}

static int SetNumber(struct sCall* call, const char* name, int value)
{
    const struct
    {
        const char* name;
        int32_t* field;
    } fields[] = {{"width", &call->picture.width},       {"height", &call->picture.height},
                  {"format", &call->picture.format},     {"channels", &call->picture.channels},
                  {"order", &call->picture.order},       {"primaries", &call->picture.primaries},
                  {"transfer", &call->picture.transfer}, {"keep_hot_samples", &call->picture.keep_hot_samples},
                  {"out_format", &call->target.format},  {"out_channels", &call->target.channels},
                  {"out_order", &call->target.order},    {"out_space", &call->target.space},
                  {"linear", &call->target.linear},      {"dither", &call->target.dither}};
    for (size_t i = 0; i < sizeof(fields) / sizeof(fields[0]); i++)
        if (strcmp(fields[i].name, name) == 0) {
            *fields[i].field = value;
            return 0;
        }
    return 1;
}

static int SetField(struct sCall* call, char* word)
{
    char* value = strchr(word, '=');
    if (value == NULL) return 1;
    *value++ = 0;
    if (strcmp(word, "settings") == 0)
        call->settings = value;
    else if (strcmp(word, "gamma") == 0)
        call->picture.gamma = strtof(value, NULL);
    else if (strcmp(word, "chromaticities") == 0)
        SetChromaticities(call->picture.chromaticities, value);
    else if (strcmp(word, "out_chromaticities") == 0)
        SetChromaticities(call->target.chromaticities, value);
    else
        return SetNumber(call, word, atoi(value));
    return 0;
}

static size_t BytesOf(int format, int channels, size_t pixels)
{
    static const size_t sample[] = {0, 1, 2, 2, 4};
    return pixels * (size_t)channels * sample[format];
}

static int Render(struct sCall* call, const char* in, const char* out)
{
    const size_t pixels = (size_t)call->picture.width * (size_t)call->picture.height;
    const size_t inBytes = BytesOf(call->picture.format, call->picture.channels, pixels);
    const size_t outBytes = BytesOf(call->target.format, call->target.channels, pixels);
    void* samples = malloc(inBytes);
    void* result = malloc(outBytes);
    FILE* from = fopen(in, "rb");
    FILE* to = fopen(out, "wb");
    if (!samples || !result || !from || !to || fread(samples, 1, inBytes, from) != inBytes) return 1;
    call->picture.pixels = samples;
    call->target.pixels = result;
    call->target.width = call->picture.width;
    call->target.height = call->picture.height;

    selvane* handle = selvane_new();
    selvane_settings settings = {sizeof(settings)};
    if (selvane_settings_from_text(handle, call->settings, &settings) || selvane_set_settings(handle, &settings) ||
        selvane_set_picture(handle, &call->picture) || selvane_render(handle, &call->target)) {
        fprintf(stderr, "%s\n", selvane_error(handle));
        return 1;
    }
    selvane_free(handle);
    fwrite(result, 1, outBytes, to);
    free(samples);
    free(result);
    return fclose(from) != 0 || fclose(to) != 0;
}

int main(int count, char** words)
{
    if (count == 2 && strcmp(words[1], "layout") == 0) {
        PrintPicture();
        PrintSettings();
        PrintTarget();
        PrintReport();
        PrintFrame();
        return 0;
    }
    struct sCall call = {.settings = ""};
    selvane_picture_init(&call.picture);
    selvane_target_init(&call.target);
    for (int i = 2; i < count - 2; i++)
        if (SetField(&call, words[i]) != 0) return 2;
    return count > 4 ? Render(&call, words[count - 2], words[count - 1]) : 2;
}
