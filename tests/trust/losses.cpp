// Loses what has to be lost, each thing once, for LeakSanitizer to see: losses.sh compares its count. The number of the
// thing is the argument.

#include "bitmap/cBitmapXYZ32T.h"
#include "bitmap/cBitmapY8.h"
#include "bitmap/cException.h"
#include "entry/vorniklib3.h"
#include "render/cTmRenderer.h"

#include <cstdio>
#include <cstring>
#include <memory>

using namespace Vornik;

namespace
{

void CallTheEntry()
{
    const sTmImageDesc image{.width = 2,
                             .height = 2,
                             .samplesPerPixel = 3,
                             .inputDepth = 8,
                             .outputDepth = 8,
                             .inputRowSamples = 6,
                             .outputRowSamples = 6,
                             .bgrOrder = 0};
    const sTmRunSettings run{1, 0, 0};
    sTmSliders sliders{};
    const unsigned char input[12] = {1, 2, 3, 40, 50, 60, 100, 100, 100, 250, 200, 220};
    unsigned char output[12];
    if (cpp_tm_selvane(&image, &run, 0, &sliders, input, output) != 1) std::puts("no picture");
}

void CatchAnObject()
{
    try {
        const cBitmapY8 bitmap(0, 1);
    } catch (const cException&) {
    }
}

void CatchAPointer()
{
    const auto renderer = std::make_unique<cTmRenderer>();
    try {
        renderer->SetInput(nullptr);
    } catch (const cException*) {
    }
}

/// Three tiles, of which the two full ones are larger than losses.sh lets the allocator give.
void FailATileSet()
{
    try {
        const cBitmapXYZ32T bitmap(1024, 2000);
    } catch (const cOutOfMemoryException&) {
    }
}

} // namespace

int main(int pCount, char** pArguments)
{
    void (*const losses[])() = {CallTheEntry, CatchAnObject, CatchAPointer, FailATileSet};
    for (int i = 1; i < pCount; i++)
        losses[pArguments[i][0] - '0']();
    return 0;
}
