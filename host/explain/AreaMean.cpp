#include "explain/AreaMean.h"

#include <algorithm>
#include <cmath>

namespace SelvaneHost
{

cAreaMean::cAreaMean(int pWidth, int pHeight, int pChannels, int pToWidth, int pToHeight)
    : fWidth(pWidth), fHeight(pHeight), fChannels(pChannels), fToWidth(pToWidth), fToHeight(pToHeight)
{
    const size_t cells = static_cast<size_t>(fToWidth) * static_cast<size_t>(fToHeight);
    fSums.resize(cells * static_cast<size_t>(fChannels));
    fCounts.resize(cells);
}

size_t cAreaMean::Cell(int pColumn) const
{
    const int64_t x = int64_t{pColumn} * fToWidth / fWidth;
    const int64_t y = int64_t{fRow} * fToHeight / fHeight;
    return static_cast<size_t>(y * fToWidth + x);
}

void cAreaMean::AddRow(const float* pRow)
{
    const auto channels = static_cast<size_t>(fChannels);
    for (int x = 0; x < fWidth; x++) {
        const size_t cell = Cell(x);
        const float* const pixel = pRow + static_cast<size_t>(x) * channels;
        for (size_t c = 0; c < channels; c++)
            if (!std::isnan(pixel[c])) fSums[cell * channels + c] += static_cast<double>(pixel[c]);
        fCounts[cell]++;
    }
    fRow++;
}

sFloats cAreaMean::Mean() const
{
    sFloats mean{fToWidth, fToHeight, fChannels, std::vector<float>(fSums.size())};
    for (size_t i = 0; i < fSums.size(); i++) {
        const int64_t count = fCounts[i / static_cast<size_t>(fChannels)];
        mean.fValues[i] = static_cast<float>(fSums[i] / static_cast<double>(std::max<int64_t>(1, count)));
    }
    return mean;
}

} // namespace SelvaneHost
