#include "sequence/Shots.h"

#include <algorithm>
#include <cmath>

namespace SelvaneLib
{

namespace
{

constexpr double kLeastStep = 0.1; // decades: smaller changes are no cut
constexpr double kManyTimes = 4.0; // a cut changes by so many times what is usual around it
constexpr size_t kNeighbours = 8;  // steps on each side that tell what is usual
constexpr size_t kUsualShare = 4;  // the quarter with the least change: in a row of short shots the cuts are many

/// How much two frames differ: the middle of the changes of all cells, in decades. A lamp changes few of them.
double Distance(const selvane_frame& pA, const selvane_frame& pB)
{
    std::vector<double> changes;
    changes.reserve(SELVANE_FRAME_CELLS);
    for (int i = 0; i < SELVANE_FRAME_CELLS; i++)
        changes.push_back(std::fabs(static_cast<double>(pA.cells[i]) - static_cast<double>(pB.cells[i])));
    return MiddleOf(changes);
}

/// What is usual around a step, without the step itself.
double UsualStep(const std::vector<double>& pSteps, size_t pStep)
{
    const size_t begin = pStep > kNeighbours ? pStep - kNeighbours : 0;
    const size_t end = std::min(pSteps.size(), pStep + kNeighbours + 1);
    std::vector<double> around(pSteps.begin() + static_cast<ptrdiff_t>(begin),
                               pSteps.begin() + static_cast<ptrdiff_t>(end));
    around.erase(around.begin() + static_cast<ptrdiff_t>(pStep - begin));
    if (around.empty()) return 0.0;
    const auto usual = around.begin() + static_cast<ptrdiff_t>((around.size() - 1) / kUsualShare);
    std::nth_element(around.begin(), usual, around.end());
    return *usual;
}

/// Whether a cut lies before frame pStep + 1. pSteps holds the distance of each frame to the next.
bool IsCut(const std::vector<selvane_frame>& pFrames, const std::vector<double>& pSteps, size_t pStep)
{
    const double least = std::max(kLeastStep, kManyTimes * UsualStep(pSteps, pStep));
    const auto differ = [&](size_t pA, size_t pB) { return Distance(pFrames[pA], pFrames[pB]) > least; };
    const size_t before = pStep, after = pStep + 1;
    if (!(pSteps[pStep] > least)) return false;
    const bool beforeIsOdd = before > 0 && !differ(before - 1, after);
    const bool afterIsOdd = after + 1 < pFrames.size() && !differ(before, after + 1);
    return !beforeIsOdd && !afterIsOdd;
}

} // namespace

double MiddleOf(std::vector<double>& pValues)
{
    const auto middle = pValues.begin() + static_cast<ptrdiff_t>((pValues.size() - 1) / 2);
    std::nth_element(pValues.begin(), middle, pValues.end());
    return *middle;
}

std::vector<sShot> FindShots(const std::vector<selvane_frame>& pFrames)
{
    std::vector<sShot> shots;
    if (pFrames.empty()) return shots;
    std::vector<double> steps;
    for (size_t i = 1; i < pFrames.size(); i++)
        steps.push_back(Distance(pFrames[i - 1], pFrames[i]));
    shots.push_back({0, pFrames.size()});
    for (size_t i = 0; i < steps.size(); i++) {
        if (!IsCut(pFrames, steps, i)) continue;
        shots.back().fEnd = i + 1;
        shots.push_back({i + 1, pFrames.size()});
    }
    return shots;
}

} // namespace SelvaneLib
