#include "EntryCall.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <random>
#include <unistd.h>

namespace SelvaneTest
{

namespace
{

constexpr unsigned char kUnwritten = 0xA5;

/// Blobs of light on a dark ground, with noise: base and detail layer both have something to do. 0 to 1.
double Scene(double pX, double pY, double pNoise)
{
    const double blob = 1.0 / (1.0 + 40.0 * ((pX - 0.3) * (pX - 0.3) + (pY - 0.6) * (pY - 0.6)));
    return std::min(1.0, (0.02 + blob * blob) * (0.7 + 0.3 * pNoise));
}

/// Four planes a row: three mantissas and an exponent that runs over 5 decades.
void FillPlanes(sEntryCall& pCall, std::mt19937& pRandom)
{
    const int width = pCall.fImage.width;
    for (int y = 0; y < pCall.fImage.height; y++)
        for (int x = 0; x < width; x++) {
            unsigned char* const red = &pCall.fInput[static_cast<size_t>(4 * y * width + x)];
            for (int plane = 0; plane < 3; plane++)
                red[plane * width] = static_cast<unsigned char>(128 + pRandom() % 128);
            red[3 * width] = static_cast<unsigned char>(122 + 16 * x / width + static_cast<int>(pRandom() % 2));
        }
}

void FillSamples(sEntryCall& pCall, std::mt19937& pRandom)
{
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    const int width = pCall.fImage.width;
    const int height = pCall.fImage.height;
    for (int i = 0; i < 3 * width * height; i++) {
        const double value = Scene((i / 3 % width + 0.5) / width, (i / 3 / width + 0.5) / height, unit(pRandom));
        if (pCall.fImage.inputDepth == 8) {
            pCall.fInput[static_cast<size_t>(i)] = static_cast<unsigned char>(255 * value);
        } else {
            const auto sample = static_cast<uint16_t>(65535 * value);
            std::memcpy(&pCall.fInput[static_cast<size_t>(2 * i)], &sample, sizeof sample);
        }
    }
}

} // namespace

cQuietErrors::cQuietErrors() : fSaved(dup(2))
{
    std::fflush(stderr);
    const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
    dup2(nowhere, 2);
    close(nowhere);
}

cQuietErrors::~cQuietErrors()
{
    std::fflush(stderr);
    dup2(fSaved, 2);
    close(fSaved);
}

sEntryCall::sEntryCall(int pWidth, int pHeight, int pInputDepth, int pOutputDepth, unsigned pSeed)
{
    fImage = {.width = pWidth,
              .height = pHeight,
              .samplesPerPixel = 3,
              .inputDepth = pInputDepth,
              .outputDepth = pOutputDepth,
              .inputRowSamples = 3 * pWidth,
              .outputRowSamples = 3 * pWidth,
              .bgrOrder = 0};
    const int bytes = pInputDepth == 32 ? 4 : 3 * pInputDepth / 8;
    fInput.resize(static_cast<size_t>(pWidth) * static_cast<size_t>(pHeight) * static_cast<size_t>(bytes));
    std::mt19937 random(pSeed);
    if (pInputDepth == 32)
        FillPlanes(*this, random);
    else
        FillSamples(*this, random);
    fSliders.compression = static_cast<float>(pSeed % 7);
    fSliders.whiteClip = 2.0f;
    fSliders.blackClip = 0.1f;
    fOutput.resize(static_cast<size_t>(pWidth) * static_cast<size_t>(pHeight) * 3 *
                   static_cast<size_t>(pOutputDepth / 8));
    Reset();
}

void sEntryCall::Reset()
{
    fSlidersAfter = fSliders;
    std::fill(fOutput.begin(), fOutput.end(), kUnwritten);
    fResult = 0;
}

void sEntryCall::Run()
{
    fResult = cpp_tm_selvane(&fImage, &fRun, fColorSpace, &fSlidersAfter, fInput.data(), fOutput.data());
}

bool sEntryCall::IsUntouched() const
{
    return std::memcmp(&fSliders, &fSlidersAfter, sizeof fSliders) == 0 &&
           std::all_of(fOutput.begin(), fOutput.end(), [](unsigned char pByte) { return pByte == kUnwritten; });
}

} // namespace SelvaneTest
