/* A small program in C11: renders one picture, and prints the version of the library that it found. */

#include <selvane.h>

#include <stdio.h>

enum
{
    kWidth = 32,
    kHeight = 24
};

static int Fail(const char* what, const selvane* handle)
{
    fprintf(stderr, "%s: %s\n", what, selvane_error(handle));
    return 1;
}

int main(void)
{
    static float photo[kHeight][kWidth][3];
    static unsigned char output[kHeight][kWidth][3];
    for (int y = 0; y < kHeight; y++)
        for (int x = 0; x < kWidth; x++)
            for (int c = 0; c < 3; c++)
                photo[y][x][c] = (x < kWidth / 2 ? 0.01f : 20.0f) * (float)(y + 1 + c);
    selvane_picture picture;
    selvane_picture_init(&picture);
    picture.width = kWidth;
    picture.height = kHeight;
    picture.format = SELVANE_F32;
    picture.pixels = photo;
    selvane_target target;
    selvane_target_init(&target);
    target.width = kWidth;
    target.height = kHeight;
    target.format = SELVANE_U8;
    target.pixels = output;

    if (selvane_version() != SELVANE_VERSION) return Fail("another version than the header's", NULL);
    selvane* const handle = selvane_new();
    if (selvane_set_picture(handle, &picture) != SELVANE_OK) return Fail("set_picture", handle);
    if (selvane_render(handle, &target) != SELVANE_OK) return Fail("render", handle);
    selvane_free(handle);
    if (output[12][0][1] >= output[12][kWidth - 1][1]) return Fail("the dark side is not darker", NULL);
    puts(selvane_version_text());
    return 0;
}
