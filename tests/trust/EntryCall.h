#ifndef SELVANE_TESTS_TRUST_ENTRYCALL_H
#define SELVANE_TESTS_TRUST_ENTRYCALL_H

// One call of the entry with buffers of its own, which can be made again and again.

#include "entry/vorniklib3.h"

#include <cstdint>
#include <vector>

namespace SelvaneTest
{

/// Drops what the process writes to the standard error stream for as long as it lives.
class cQuietErrors
{
public:
    cQuietErrors();
    ~cQuietErrors();
    cQuietErrors(const cQuietErrors&) = delete;
    cQuietErrors& operator=(const cQuietErrors&) = delete;

private:
    int fSaved;
};

struct sEntryCall
{
    sTmImageDesc fImage{};
    sTmRunSettings fRun{1, 0, 0};
    int32_t fColorSpace = 0;
    sTmSliders fSliders{};             ///< as the host gives them; a call works on a copy
    std::vector<unsigned char> fInput; ///< a made picture of several decades

    sTmSliders fSlidersAfter{};
    std::vector<unsigned char> fOutput;
    int32_t fResult = 0;

    /// pInputDepth 8, 16 or 32, pOutputDepth 8 or 16; three samples a pixel, red first.
    sEntryCall(int pWidth, int pHeight, int pInputDepth, int pOutputDepth, unsigned pSeed = 1);

    /// Puts sliders and output back to how the host hands them over.
    void Reset();
    /// Calls the entry and nothing else: no allocation of its own. Reset comes before it.
    void Run();
    /// Whether sliders and output are as the host handed them over, to the byte.
    bool IsUntouched() const;
};

} // namespace SelvaneTest

#endif
