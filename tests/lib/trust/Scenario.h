#ifndef SELVANE_TESTS_LIB_TRUST_SCENARIO_H
#define SELVANE_TESTS_LIB_TRUST_SCENARIO_H

// What a photo program does with a handle, in steps that can be made again after one has failed.

#include "selvane.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace SelvaneTest
{

/// The steps in their order. Each may be made when those before it are done.
enum eStep
{
    eSetSettings,
    eFromText,
    eToText,
    ePreset,
    eSetPicture,
    eSuggest,
    eRender8,
    eChange, // of the exposure
    eRender16,
    ePreview,
    ePlane,
    eMeasure,
    eSmooth,
    eReport,
    eSteps
};

/// Buffers and records of one program. The constructor takes all memory; no step of its own takes any.
class cScenario
{
public:
    /// Another picture for each seed, with a few samples that are no numbers, alpha and a hot pixel.
    explicit cScenario(unsigned pSeed = 1, int pWidth = 40, int pHeight = 30);

    /// Makes a step and returns its selvane_status.
    int Make(selvane* pHandle, int pStep);

    /// Makes all steps up to the first that fails. Returns its status.
    int MakeAll(selvane* pHandle);

    /// Whether both results are the same to the last bit.
    bool HasResultsOf(const cScenario& pOther) const;

    /// Wipes the results.
    void Clear();

private:
    int Render8(selvane* pHandle);
    int Render16(selvane* pHandle);
    int Preview(selvane* pHandle);
    int Plane(selvane* pHandle);
    int Measure(selvane* pHandle);
    int Smooth(selvane* pHandle);
    int SetPicture(selvane* pHandle) const;
    int Suggest(selvane* pHandle) const;

    int fWidth;
    int fHeight;
    selvane_settings fSettings;
    std::vector<float> fPhoto;
    char fText[2048] = {};
    std::vector<uint8_t> fBytes;
    std::vector<uint16_t> fWords;
    std::vector<float> fPreview;
    std::vector<float> fPlane;
    selvane_frame fFrames[3]; ///< measured, and smoothed
};

} // namespace SelvaneTest

#endif
