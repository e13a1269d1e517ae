#ifndef SELVANE_TESTS_TWIN_ROAD_CASE_H
#define SELVANE_TESTS_TWIN_ROAD_CASE_H

// Made pictures, sliders and hosts for the comparison of library and twin.

#include "entry/vorniklib3.h"
#include "support/Host.h"

#include <cstdint>
#include <random>
#include <string>
#include <vector>

namespace SelvaneTwin
{

/// Small random numbers that are the same with every standard library.
class cRandom
{
public:
    explicit cRandom(std::uint64_t pSeed) : fEngine(pSeed) {}

    /// Both ends included.
    int Between(int pLow, int pHigh) { return pLow + int(fEngine() % std::uint64_t(std::int64_t(pHigh) - pLow + 1)); }
    bool OneIn(int pCount) { return Between(1, pCount) == 1; }
    float Between(float pLow, float pHigh) { return pLow + (pHigh - pLow) * (float(fEngine() >> 40) / 16777216.0f); }
    template <typename T>
    T Of(const std::vector<T>& pChoices)
    {
        return pChoices[size_t(Between(0, int(pChoices.size()) - 1))];
    }

private:
    std::mt19937_64 fEngine;
};

/// What the pixels show.
enum ePicture
{
    ePictureNoise,
    ePictureRising, ///< each pixel brighter than the one before
    ePictureFalling,
    ePictureFlat,
    ePictureBlack,
    ePictureEdge,
    ePictureSpark,  ///< one bright pixel on a dark ground
    ePictureDark,   ///< the lowest codes, or the smallest exponents
    ePictureBright, ///< the highest codes, or the largest exponents
    ePicturePrimaries,
    ePictureTexture, ///< a smooth coloured scene with noise
    ePictureCount,
};

/// One call of the entry with everything that it reads.
struct sCase
{
    sTmImageDesc fImage{};
    sTmRunSettings fRun{};
    std::int32_t fSpace = 0;
    sTmSliders fSliders{};
    std::vector<unsigned char> fInput; ///< exactly what the call may read
    size_t fInputStart = 0;            ///< where pInput points in it
    size_t fOutputSize = 0;            ///< all that the call may write, and a margin on both sides
    size_t fOutputStart = 0;
    SelvaneTest::sCutting fCutting;
    std::string fName;

    /// Everything but the pixels, for a report.
    std::string Text() const;
};

/// A host: workers and the way the rows are cut among them.
void ChooseHost(sCase& pCase, cRandom& pRandom);

/// Depths, channel order, steps and rows for a picture of this size; 3 samples a pixel in half of the cases.
void ChooseForm(sCase& pCase, cRandom& pRandom, int pWidth, int pHeight);

/// Rows without padding, 3 samples a pixel.
void ChoosePlainForm(sCase& pCase, int pWidth, int pHeight, int pInputDepth, int pOutputDepth);

/// Buffers of the extent that the form asks for, and pixels in them.
void Paint(sCase& pCase, cRandom& pRandom, ePicture pPicture);

/// All sliders within the ranges for which they are made.
void ChooseSliders(sCase& pCase, cRandom& pRandom);

/// Some sliders beyond their ranges.
void ChooseFarSliders(sCase& pCase, cRandom& pRandom);

/// Some sliders NaN, infinite, tiny or huge.
void ChooseSpecialSliders(sCase& pCase, cRandom& pRandom);

/// Request type 1 and points for it, acceptable or not.
void ChoosePoints(sCase& pCase, cRandom& pRandom);

} // namespace SelvaneTwin

#endif
