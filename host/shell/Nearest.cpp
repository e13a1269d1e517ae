#include "shell/Nearest.h"

#include <algorithm>

namespace SelvaneHost
{

int Distance(const std::string& pFrom, const std::string& pTo)
{
    const size_t width = pTo.size() + 1;
    std::vector<int> table((pFrom.size() + 1) * width);
    const auto at = [&](size_t pRow, size_t pColumn) -> int& { return table[pRow * width + pColumn]; };
    for (size_t i = 0; i <= pFrom.size(); i++)
        for (size_t j = 0; j <= pTo.size(); j++) {
            if (i == 0 || j == 0) {
                at(i, j) = static_cast<int>(i + j);
                continue;
            }
            const int replaced = at(i - 1, j - 1) + (pFrom[i - 1] == pTo[j - 1] ? 0 : 1);
            at(i, j) = std::min({at(i - 1, j) + 1, at(i, j - 1) + 1, replaced});
            if (i > 1 && j > 1 && pFrom[i - 1] == pTo[j - 2] && pFrom[i - 2] == pTo[j - 1])
                at(i, j) = std::min(at(i, j), at(i - 2, j - 2) + 1);
        }
    return at(pFrom.size(), pTo.size());
}

std::string NearestTo(const std::string& pWord, const std::vector<std::string>& pCandidates)
{
    const auto begins = [&](const std::string& pName) { return pName.starts_with(pWord); };
    if (pWord.size() > 1 && std::count_if(pCandidates.begin(), pCandidates.end(), begins) == 1)
        return *std::find_if(pCandidates.begin(), pCandidates.end(), begins);
    const auto nearer = [&](const std::string& pA, const std::string& pB) {
        return Distance(pWord, pA) < Distance(pWord, pB);
    };
    const auto nearest = std::min_element(pCandidates.begin(), pCandidates.end(), nearer);
    if (nearest == pCandidates.end()) return {};
    const size_t letters = std::max(pWord.size(), nearest->size());
    return 3 * static_cast<size_t>(Distance(pWord, *nearest)) <= letters ? *nearest : std::string();
}

} // namespace SelvaneHost
