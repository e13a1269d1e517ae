#ifndef SELVANE_HOST_SHELL_NEAREST_H
#define SELVANE_HOST_SHELL_NEAREST_H

#include <string>
#include <vector>

namespace SelvaneHost
{

/// Returns the number of letters to put in, take out, replace or swap with the next one, to get from one word to the
/// other (the distance of Damerau and Levenshtein, where no piece is changed twice).
int Distance(const std::string& pFrom, const std::string& pTo);

/// Returns the candidate that a mistyped word most likely means, or "" if none is near: at most a third of the letters
/// differ. A candidate that begins with the word is near too, if it is the only one.
std::string NearestTo(const std::string& pWord, const std::vector<std::string>& pCandidates);

} // namespace SelvaneHost

#endif
