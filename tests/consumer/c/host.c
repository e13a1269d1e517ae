/* A small host in C99: its own DivideWork, one picture measured and then rendered with the same points. */

#include <entry/vorniklib3.h>
#include <filter/DivideWork.h>

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static int gCalls = 0;

void DivideWork(int start, int end, int threads, void* (*fn)(void*), void* record, size_t recordSize)
{
    TileRecord* copy = malloc(recordSize);
    (void)threads;
    memcpy(copy, record, recordSize);
    copy->fSlot = 0;
    copy->fStart = start;
    copy->fEnd = end;
    fn(copy);
    free(copy);
    gCalls++;
}

enum
{
    kWidth = 32,
    kHeight = 24
};

int main(void)
{
    static uint16_t input[kHeight][kWidth][3];
    static uint8_t output[kHeight][kWidth][3];
    const sTmImageDesc image = {kWidth, kHeight, 3, 16, 8, 3 * kWidth, 3 * kWidth, 0};
    sTmRunSettings run = {1, 0, 9};
    sTmSliders sliders;
    int x, y, used = 0;
    memset(&sliders, 0, sizeof sliders);
    for (y = 0; y < kHeight; y++)
        for (x = 0; x < kWidth; x++) {
            input[y][x][0] = (uint16_t)(x * x * 60);
            input[y][x][1] = (uint16_t)(y * x * 80);
            input[y][x][2] = (uint16_t)(65535 - y * y * 100);
        }
    if (cpp_tm_selvane(&image, &run, 0, &sliders, (const unsigned char*)input, NULL) != 1) return 1;
    if (!(sliders.whitePoint > sliders.blackPoint)) return 2;
    run.requestType = 1;
    if (cpp_tm_selvane(&image, &run, 0, &sliders, (const unsigned char*)input, (unsigned char*)output) != 1) return 3;
    for (y = 0; y < kHeight; y++)
        for (x = 0; x < kWidth; x++)
            used += output[y][x][1] != 0;
    if (used < kWidth * kHeight / 4 || gCalls == 0) return 4;
    printf("C host: black %g, white %g, %d tiles\n", (double)sliders.blackPoint, (double)sliders.whitePoint, gCalls);
    return 0;
}
