#ifndef SELVANE_TESTS_ENTRY_CALL_H
#define SELVANE_TESTS_ENTRY_CALL_H

// One call of the entry with buffers of its own.

#include "entry/vorniklib3.h"
#include "support/Capture.h"

#include <cstring>
#include <random>
#include <string>
#include <vector>

namespace SelvaneTest
{

struct sCall
{
    sTmImageDesc fImage{};
    sTmRunSettings fRun{1, 0, 0};
    int32_t fColorSpace = 0;
    sTmSliders fSliders{};
    std::vector<unsigned char> fInput;
    std::vector<unsigned char> fOutput;
    int32_t fResult = 0;
    std::string fLog;

    /// A picture of random samples, three a pixel, red first, without padding.
    sCall(int pWidth, int pHeight, int pInputDepth, int pOutputDepth, unsigned pSeed = 1)
    {
        fImage = {.width = pWidth,
                  .height = pHeight,
                  .samplesPerPixel = 3,
                  .inputDepth = pInputDepth,
                  .outputDepth = pOutputDepth,
                  .inputRowSamples = 3 * pWidth,
                  .outputRowSamples = 3 * pWidth,
                  .bgrOrder = 0};
        std::mt19937 random(pSeed);
        const int bytes = pInputDepth == 32 ? 4 : 3 * pInputDepth / 8;
        fInput.resize(static_cast<size_t>(pWidth * pHeight * bytes));
        for (unsigned char& byte : fInput)
            byte = static_cast<unsigned char>(random());
        if (pInputDepth == 32)
            for (int y = 0; y < pHeight; y++)
                for (int x = 0; x < pWidth; x++)
                    fInput[static_cast<size_t>((4 * y + 3) * pWidth + x)] =
                        static_cast<unsigned char>(120 + random() % 20);
        fOutput.assign(static_cast<size_t>(pWidth * pHeight * 3 * pOutputDepth / 8), 0xA5);
    }

    sCall& Run()
    {
        fLog = CaptureStderr(
            [&] { fResult = cpp_tm_selvane(&fImage, &fRun, fColorSpace, &fSliders, fInput.data(), fOutput.data()); });
        return *this;
    }
};

} // namespace SelvaneTest

#endif
