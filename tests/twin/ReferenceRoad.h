#ifndef SELVANE_TESTS_TWIN_REFERENCE_ROAD_H
#define SELVANE_TESTS_TWIN_REFERENCE_ROAD_H

// The slow, obvious twin of one call of the entry: a function for each step, plain scalar loops, and no call of the
// library. It also says what the call must print, how it must call the host's DivideWork and which rules it met.

#include "entry/vorniklib3.h"
#include "twin/Rules.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace SelvaneTwin
{

/// A call of DivideWork. Bytes of pointers are left zero in fRecord; fPointers holds their offsets.
struct sExpectedDivide
{
    int fStart;
    int fEnd;
    int fThreads;
    void* (*fFunction)(void*);
    std::vector<unsigned char> fRecord;
    std::vector<size_t> fPointers;
};

/// What one call must do, beside the output bytes and the sliders that it writes.
struct sRoad
{
    bool fTooLarge = false; ///< the filter's grid is larger than the caller wants to wait for; nothing else is valid
    std::string fThrownPointer; ///< words of the exception whose pointer leaves the entry; empty: it returns
    std::int32_t fResult = 0;
    std::string fErrorText; ///< the standard error stream; a '\1' stands for any characters within a line
    std::vector<sExpectedDivide> fDivides;
    bool fFilterOwnPlane = false;        ///< the second call's record does not point to the plane of logarithms
    std::array<long, eRuleCount> fMet{}; ///< how often each rule was met
    float fBlack = 0.0f;                 ///< black and white point of the final stage
    float fWhite = 0.0f;
};

/// The same six arguments as the entry, and the cells of the filter's grid above which the road is given up.
sRoad Road(const sTmImageDesc* pImage, const sTmRunSettings* pRun, std::int32_t pColorSpace, sTmSliders* pSliders,
           const unsigned char* pInput, unsigned char* pOutput, std::int64_t pLargestGrid = 3000000);

} // namespace SelvaneTwin

#endif
