#include "sequence/Smooth.h"

#include "sequence/Shots.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <numbers>

// The values of a frame are averaged on scales on which a step looks equally large everywhere. On them a point moves in
// step with the compression that it was measured with, since tone-mapped luminance is a power of the luminance whose
// exponent the compression gives. So means of both still belong together, as long as the same frames count in both.
// Therefore a frame that stands out in one value counts in none.

namespace SelvaneLib
{

namespace
{

constexpr size_t kAround = 9;             // frames that tell whether the one in their middle is odd
constexpr size_t kFarAround = 17;         // frames of which less than half can be odd
constexpr double kOddDeviations = 6.0;    // median absolute deviations that make a frame odd
constexpr double kLeastBlackShare = 1e-6; // of the white point; a black point below counts as this

/// A value of a frame on the scale of the means.
struct sQuantity
{
    float selvane_frame::*fMember;
    double (*fToScale)(double);
    double (*fFromScale)(double);
    double fUnseen; ///< a deviation that nobody sees, on the scale
};

double Same(double pValue)
{
    return pValue;
}

/// Exponent of the global compression, which falls three times as fast below 0.
double ToExponent(double pCompression)
{
    return pCompression < 0.0 ? 3.0 * pCompression : pCompression;
}

double FromExponent(double pExponent)
{
    return pExponent < 0.0 ? pExponent / 3.0 : pExponent;
}

double FromLog(double pLog)
{
    return std::pow(10.0, pLog);
}

double ToLog(double pValue)
{
    return std::log10(pValue);
}

constexpr sQuantity kQuantities[] = {
    {&selvane_frame::compression, ToExponent, FromExponent, 2.0},
    {&selvane_frame::smoothness, Same, Same, 0.2},
    {&selvane_frame::radius, Same, Same, 0.2},
    {&selvane_frame::adaptation, Same, Same, 2.0},
    {&selvane_frame::white_clip, Same, Same, 2.0},
    {&selvane_frame::black_clip, Same, Same, 0.1},
    {&selvane_frame::exposure, Same, Same, 0.05},
    {&selvane_frame::contrast, Same, Same, 2.0},
    {&selvane_frame::saturation, Same, Same, 2.0},
    {&selvane_frame::black_point, ToLog, FromLog, 0.1},
    {&selvane_frame::white_point, ToLog, FromLog, 0.02},
};

constexpr size_t kQuantityCount = std::size(kQuantities);

/// A frame on the scale of the means.
struct sScaled
{
    std::array<double, kQuantityCount> fValues{};
    bool fHasPoints = false; ///< no: a single tone, which says nothing of the frames around it
    bool fStandsOut = false; ///< from the frames around it
    bool fIsOdd = false;     ///< counts in no mean
};

double LeastBlack(const selvane_frame& pFrame)
{
    return kLeastBlackShare * static_cast<double>(pFrame.white_point);
}

sScaled Scaled(const selvane_frame& pFrame)
{
    sScaled scaled;
    scaled.fHasPoints = pFrame.white_point > 0.0f;
    if (!scaled.fHasPoints) return scaled;
    for (size_t i = 0; i < kQuantityCount; i++) {
        const sQuantity& quantity = kQuantities[i];
        double value = static_cast<double>(pFrame.*quantity.fMember);
        if (quantity.fMember == &selvane_frame::black_point) value = std::max(value, LeastBlack(pFrame));
        scaled.fValues[i] = quantity.fToScale(value);
    }
    return scaled;
}

void SetFrom(const std::array<double, kQuantityCount>& pValues, selvane_frame& pFrame)
{
    for (size_t i = 0; i < kQuantityCount; i++)
        pFrame.*kQuantities[i].fMember = static_cast<float>(kQuantities[i].fFromScale(pValues[i]));
    const bool isLeast = static_cast<double>(pFrame.black_point) <= LeastBlack(pFrame) * (1.0 + 1e-6);
    if (isLeast) pFrame.black_point = 0.0f;
    if (pFrame.white_point <= pFrame.black_point) // rounded together
        pFrame.white_point = std::nextafter(pFrame.black_point, std::numeric_limits<float>::infinity());
}

/// Some frames in a row around one: as many on both sides, but moved to stay within the shot.
sShot Around(const sShot& pShot, size_t pFrame, size_t pCount)
{
    const size_t count = std::min(pCount, pShot.fEnd - pShot.fBegin);
    const size_t wanted = pFrame > pShot.fBegin + count / 2 ? pFrame - count / 2 : pShot.fBegin;
    const size_t begin = std::min(wanted, pShot.fEnd - count);
    return {begin, begin + count};
}

/// Whether a frame stands out in one value from the frames around it.
bool StandsOut(const std::vector<sScaled>& pFrames, const sShot& pAround, size_t pFrame)
{
    std::vector<double> values, deviations;
    for (size_t i = 0; i < kQuantityCount; i++) {
        values.clear();
        deviations.clear();
        for (size_t n = pAround.fBegin; n < pAround.fEnd; n++)
            if (pFrames[n].fHasPoints) values.push_back(pFrames[n].fValues[i]);
        const double middle = MiddleOf(values);
        for (const double value : values)
            deviations.push_back(std::fabs(value - middle));
        const double most = kQuantities[i].fUnseen + kOddDeviations * MiddleOf(deviations);
        if (std::fabs(pFrames[pFrame].fValues[i] - middle) > most) return true;
    }
    return false;
}

bool IsHalfOdd(const std::vector<sScaled>& pFrames, const sShot& pAround)
{
    size_t odd = 0, counted = 0;
    for (size_t n = pAround.fBegin; n < pAround.fEnd; n++) {
        counted += pFrames[n].fHasPoints ? 1 : 0;
        odd += pFrames[n].fHasPoints && pFrames[n].fStandsOut ? 1 : 0;
    }
    return 2 * odd >= counted;
}

/// Marks the odd frames of a shot: those that stand out where most do not. Where many do, the values flicker.
void MarkOdd(std::vector<sScaled>& pFrames, const sShot& pShot)
{
    for (size_t i = pShot.fBegin; i < pShot.fEnd; i++)
        pFrames[i].fStandsOut = pFrames[i].fHasPoints && StandsOut(pFrames, Around(pShot, i, kAround), i);
    for (size_t i = pShot.fBegin; i < pShot.fEnd; i++) {
        sScaled& frame = pFrames[i];
        frame.fIsOdd = !frame.fHasPoints || (frame.fStandsOut && !IsHalfOdd(pFrames, Around(pShot, i, kFarAround)));
    }
}

double RaisedCosine(size_t pDistance, size_t pRadius)
{
    return 0.5 + 0.5 * std::cos(std::numbers::pi * static_cast<double>(pDistance) / static_cast<double>(pRadius + 1));
}

/// The weighted mean of the frames that are not odd. Returns false if there are none within the radius.
/// Deviations from the first one are summed, so that equal values stay exactly as they are.
bool MeanAround(const std::vector<sScaled>& pFrames, const sShot& pShot, size_t pFrame, size_t pRadius,
                std::array<double, kQuantityCount>& pMean)
{
    const size_t begin = pFrame - std::min(pFrame - pShot.fBegin, pRadius);
    const size_t end = std::min(pShot.fEnd, pFrame + pRadius + 1);
    const sScaled* first = nullptr;
    std::array<double, kQuantityCount> sums{};
    double weights = 0.0;
    for (size_t n = begin; n < end; n++) {
        if (pFrames[n].fIsOdd) continue;
        if (first == nullptr) first = &pFrames[n];
        const double weight = RaisedCosine(n > pFrame ? n - pFrame : pFrame - n, pRadius);
        weights += weight;
        for (size_t i = 0; i < kQuantityCount; i++)
            sums[i] += weight * (pFrames[n].fValues[i] - first->fValues[i]);
    }
    if (first == nullptr) return false;
    for (size_t i = 0; i < kQuantityCount; i++)
        pMean[i] = first->fValues[i] + sums[i] / weights;
    return true;
}

/// Smooths one frame. Where all frames of the window are odd, the window grows.
void SmoothFrame(const std::vector<sScaled>& pFrames, const sShot& pShot, size_t pFrame, size_t pRadius,
                 selvane_frame& pSmooth)
{
    std::array<double, kQuantityCount> mean{};
    for (size_t radius = pRadius; radius < pRadius + (pShot.fEnd - pShot.fBegin); radius++) {
        if (!MeanAround(pFrames, pShot, pFrame, radius, mean)) continue;
        SetFrom(mean, pSmooth);
        return;
    }
}

} // namespace

std::vector<selvane_frame> Smooth(const std::vector<selvane_frame>& pFrames, int pWindow)
{
    std::vector<selvane_frame> smooth = pFrames;
    std::vector<sScaled> scaled;
    scaled.reserve(pFrames.size());
    for (const selvane_frame& frame : pFrames)
        scaled.push_back(Scaled(frame));
    const auto radius = static_cast<size_t>(pWindow / 2);
    for (const sShot& shot : FindShots(pFrames)) {
        if (pWindow > 1) MarkOdd(scaled, shot);
        for (size_t i = shot.fBegin; i < shot.fEnd; i++) {
            smooth[i].cut = i == shot.fBegin && i > 0 ? 1 : 0;
            smooth[i].odd = scaled[i].fIsOdd ? 1 : 0;
            if (pWindow > 1) SmoothFrame(scaled, shot, i, radius, smooth[i]);
        }
    }
    return smooth;
}

} // namespace SelvaneLib
