#ifndef SELVANE_BENCH_CALL_H
#define SELVANE_BENCH_CALL_H

// A call of the entry with its buffers.

#include "Measure.h"
#include "Scene.h"

#include "entry/vorniklib3.h"

#include <stdexcept>
#include <string>
#include <vector>

namespace SelvaneBench
{

/// What goes in, what comes out.
struct sForm
{
    const char* fName;
    int fInputDepth;
    int fOutputDepth;
    int fRequest; ///< 9: measure only

    /// Bytes of a pixel in the host's buffers, as far as they are read and written.
    double HostBytes() const
    {
        const double input = fInputDepth == kPlanes ? 4 : fInputDepth / 8 * 3;
        return input + (fRequest == 9 ? 0 : fOutputDepth / 8 * 3);
    }
    bool operator==(const sForm&) const = default;
};

constexpr sForm kForms[] = {
    {"16to8", 16, 8, 0}, {"8to8", 8, 8, 0}, {"planesTo8", kPlanes, 8, 0}, {"16to16", 16, 16, 0}, {"measure", 16, 8, 9}};

constexpr double kFreshBytes = 50; // of a pixel, at least as many as a call of any version takes

class cCall
{
public:
    cCall(const sForm& pForm, const sSize& pSize)
        : fForm(pForm), fSize(pSize), fInput(Scene(pForm.fInputDepth, pSize)),
          fOutput(static_cast<size_t>(pSize.Pixels()) * 6)
    {
    }

    void Run(int pWorkers)
    {
        const int rowSamples = 3 * fSize.fWidth;
        const sTmImageDesc image{fSize.fWidth,       fSize.fHeight, 3,          fForm.fInputDepth,
                                 fForm.fOutputDepth, rowSamples,    rowSamples, 0};
        const sTmRunSettings run{pWorkers, 0, fForm.fRequest};
        sTmSliders sliders{};
        sliders.whiteClip = 10.0f;
        if (cpp_tm_selvane(&image, &run, 0, &sliders, fInput.data(), fOutput.data()) != 1)
            throw std::runtime_error("refused");
    }

private:
    sForm fForm;
    sSize fSize;
    std::vector<unsigned char> fInput;
    std::vector<unsigned char> fOutput;
};

struct sCallKey
{
    sForm fForm;
    sSize fSize;
    bool operator==(const sCallKey&) const = default;
};

/// The call of that form and size. One is kept.
inline cCall& CallOf(const sForm& pForm, const sSize& pSize)
{
    static cLatest<sCallKey, cCall> latest;
    return latest.Get({pForm, pSize}, [&] { return std::make_unique<cCall>(pForm, pSize); });
}

/// "1worker", "2workers"
inline std::string Workers(int pWorkers)
{
    return std::to_string(pWorkers) + (pWorkers == 1 ? "worker" : "workers");
}

} // namespace SelvaneBench

#endif
