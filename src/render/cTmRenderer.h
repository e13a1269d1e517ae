#ifndef SELVANE_RENDER_CTM_RENDERER_H
#define SELVANE_RENDER_CTM_RENDERER_H

#include "base/Export.h"
#include "color/cMatrix.h"
#include "curve/cHermiteSpline.h"

#include <cstddef>
#include <cstdint>

// The stages of a render, in order. Render runs the marked stages. It clears a mark when its stage ends without
// cancellation. Marking a stage also marks all later stages. The last column names the operations that mark a stage.
//
//   stage                reads                                    writes                        marked by
//
//   PrepareForRendering  fInput, fNbProc                          fYHMV, fLogLuminance,         SetInput,
//                                                                 memory for fBase and fDetail, SetToneMappingParams,
//                                                                 fMinY, fMaxY,                 AllRenderingNeeded
//                                                                 fLogMinY, fLogMaxY
//
//   ToneMappingPhase1    fLogLuminance, fLogMinY, fLogMaxY,       fBase, fDetail,               ToneMapPhase1Needed
//                        fSpatialSize, fRangeSize,                fBaseMin, fBaseMax,
//                        fBaseBlur, fWrapX, fNbProc               fBaseAverage, fDetailMin,
//                                                                 fDetailMax, fDetailAverage
//
//   ToneMappingPhase2    all results of phase 1, fYHMV,           fGlobalLUT, fDetailLUT,       ToneMapPhase2Needed
//                        fMinY, fMaxY, fLogMaxY,                  fExposure, fExposureBase,
//                        fGlobalContrast, fAdaptation,            the luminance of fYHMV,
//                        fWhiteClip, fBlackClip, fRequestType,    fBlack, fWhite,
//                        fRequestedBlack, fRequestedWhite         fRequestedBlack,
//                                                                 fRequestedWhite
//
//   FinalRendering       fYHMV, fBlack, fWhite, fExposure,        the pixels of fOutput,        SetOutput,
//                        fUseAutoExposure, fExposureEV,           fEncodeLUT, fEncodeLUTValid,  SetHueCurves,
//                        fContrast, fContrastFollowsGlobal,       fContrastLUT, fContrastKey,   FinalRenderingNeeded,
//                        fGlobalContrast, fContrastCurve,         the table of fYHMVSpace       OutputColorSpaceChanged
//                        fHHCurve, fHSCurve, fHLCurve,
//                        fWorkToPCS, the space of fOutput,
//                        fEncodeLUTValid, fContrastKey
//
// Each stage also reads the size of fInput. Phase 1 and phase 2 print progress lines if fLogEnabled is not 0. Files:
// cTmRenderer_Prepare.cpp, _Phase1.cpp, _Phase2.cpp with _Points.cpp, _Final.cpp.

namespace Vornik
{

class cBitmapLDR;
class cBitmapU16T;
class cBitmapXYZ32;
class cYHMVColorSpace;

/// The contrast curve of the renderer. It differs from its base only by its class.
class SELVANE_API cContrastCurve : public cInterpolatedHermiteSpline
{
public:
    cContrastCurve();
    ~cContrastCurve() override;
};

/// Record of the parallel pass over the input's luminance: a TileRecord header, then the arguments of
/// CalcMinMaxLog_tile.
struct sMinMaxLogArgs
{
    int32_t fSlot;         ///<  0: worker slot, by DivideWork
    uint32_t fReserved;    ///<  4: zero
    int32_t fStart;        ///<  8: first row, by DivideWork
    int32_t fEnd;          ///< 12: row behind the last, by DivideWork
    cBitmapXYZ32* pBitmap; ///< 16: the input, borrowed
    float* pLogLuminance;  ///< 24: width x height floats
    int32_t pWidth;        ///< 32: pixels
    int32_t fReserved36;   ///< 36: zero
    bool* pCancel;         ///< 40
    bool* pCancelled;      ///< 48
    float* pSlotMin;       ///< 56: smallest luminance, one entry per slot
    float* pSlotMax;       ///< 64: largest luminance, one entry per slot
    float pFloor;          ///< 72: smallest luminance that counts
    int32_t fReserved76;   ///< 76: zero
};
static_assert(sizeof(sMinMaxLogArgs) == 80 && offsetof(sMinMaxLogArgs, pBitmap) == 16 &&
              offsetof(sMinMaxLogArgs, pWidth) == 32 && offsetof(sMinMaxLogArgs, pCancel) == 40 &&
              offsetof(sMinMaxLogArgs, pSlotMax) == 64 && offsetof(sMinMaxLogArgs, pFloor) == 72);

/// Processes rows pStart to pEnd - 1. Raises the luminance of each pixel to at least pFloor, stores its base-10
/// logarithm and updates the extremes of the slot. Reads *pCancel once; if set, sets *pCancelled and skips the rows.
SELVANE_API void CalcMinMaxLog_tile(int pSlot, int pStart, int pEnd, cBitmapXYZ32* pBitmap, float* pLogLuminance,
                                    int pWidth, bool* pCancel, bool* pCancelled, float* pSlotMin, float* pSlotMax,
                                    float pFloor);

/// The function that DivideWork calls. Unpacks an sMinMaxLogArgs for CalcMinMaxLog_tile and returns null.
SELVANE_API void* CalcMinMaxLog_tile_threaded(void* pRecord);

/// Renders a picture of linear XYZ into a display picture, in four stages. A change reruns only the stages it marks.
///
/// Only one thread may use the object at a time. SetInput, SetOutput, SetHueCurves and Render report their own failures
/// by a pointer to a new exception object. The catcher may delete it; the library never does. All other failures throw
/// objects, also the missing colour space of an output.
class SELVANE_API cTmRenderer
{
public:
    /// Builds the hue table and the four curves; no picture is set. Throws std::bad_alloc.
    cTmRenderer();
    /// Frees the intermediate pictures and planes. The caller keeps the input and the output.
    virtual ~cTmRenderer();
    cTmRenderer(const cTmRenderer&) = delete;
    cTmRenderer& operator=(const cTmRenderer&) = delete;

    /// Sets the number of workers that is passed to DivideWork; not checked.
    void SetNbProc(int pNbProc);
    /// Borrows the picture of XYZ (D50, white at 1) and marks all stages. Throws a cArgumentNullException pointer.
    void SetInput(cBitmapXYZ32* pInput);
    /// Borrows the picture to fill, which has the input's size, and marks the final stage. Throws a
    /// cArgumentNullException pointer.
    void SetOutput(cBitmapLDR* pOutput);
    /// Stores the parameters and marks all stages. No value is clamped or refused.
    ///
    /// @param pGlobalContrast         compression of the base layer, per cent; below 0 it expands, three times as fast
    /// @param pAdaptation             above 0: bends both curves around the means of their layers
    /// @param pContrastFollowsGlobal  adds a share of pGlobalContrast to the contrast key
    /// @param pContrast               contrast key, -100 to 100
    /// @param pUseAutoExposure        multiplies the exposure scale by fExposure. The scale acts only if fWhite -
    ///                                fBlack is not above 0 or is exactly 1
    /// @param pExposureEV             exposure in stops, for the exposure scale
    /// @param pSpatialSize            spatial size of the split; 100 is 2.5 per cent of the longer side
    /// @param pRangeSize              edge tolerance of the split: 0.2 + 0.002 * pRangeSize decades
    /// @param pBaseBlur               Gaussian blur of the base after the split, per cent
    /// @param pWrapX                  the split wraps around horizontally
    /// @param pReservedFlagA          stored, but unused
    /// @param pReservedFlagB          stored, but unused
    /// @param pWhiteClip              per cent of pixels beyond the white point
    /// @param pBlackClip              per cent of pixels beyond the black point
    /// @param pRequestType            1: use pBlack and pWhite if pWhite is above 0; 9: measure; else: measure and
    ///                                render
    /// @param pBlack                  requested black point, on the scale of tone-mapped luminance
    /// @param pWhite                  requested white point, on the scale of tone-mapped luminance
    void SetToneMappingParams(float pGlobalContrast, float pAdaptation, bool pContrastFollowsGlobal, float pContrast,
                              bool pUseAutoExposure, float pExposureEV, float pSpatialSize, float pRangeSize,
                              float pBaseBlur, bool pWrapX, bool pReservedFlagA, bool pReservedFlagB, float pWhiteClip,
                              float pBlackClip, int pRequestType, float pBlack, float pWhite);
    /// Copies each curve that differs from the held one, and marks the final stage if any does. The caller keeps its
    /// curves. Throws a cArgumentNullException pointer.
    void SetHueCurves(const cHermiteSpline* pHHCurve, const cHermiteSpline* pHSCurve, const cHermiteSpline* pHLCurve);

    void AllRenderingNeeded();
    void ToneMapPhase1Needed();
    void ToneMapPhase2Needed();
    void FinalRenderingNeeded();
    /// Call it after a change of the output's colour space in place.
    void OutputColorSpaceChanged();

    /// Runs the marked stages without cancellation.
    void Render();
    /// Runs the marked stages. Another thread may set *pCancel at any time. A stage that stops on it sets *pCancelled
    /// and stays marked. Neither flag is ever cleared. Before any stage, throws a cInvalidOperationException pointer if
    /// a picture is missing or the sizes differ. Then throws a cInvalidOperationException object if the output has no
    /// colour space or the space has no encoding transfer.
    void Render(bool* pCancel, bool* pCancelled);
    /// Stores the black and white point that the latest measuring render found, or those that were passed in.
    void GetRequestedStats(float* pBlack, float* pWhite);

private:
    void PrepareForRendering(bool* pCancel, bool* pCancelled);
    void ToneMappingPhase1(bool* pCancel, bool* pCancelled);
    void ToneMappingPhase2(bool* pCancel, bool* pCancelled);
    void FinalRendering(bool* pCancel, bool* pCancelled);
    /// Collects the inputs of the final stage. The renderer and its curves own the tables.
    void PreprocessCurvesAndTransforms(cMatrix33& pMatrix, unsigned short*& pEncodeLUT, float*& pContrastLUT,
                                       float*& pHSLUT, float*& pHLLUT, unsigned short*& pHHLUT, float& pScale);

public:
    cBitmapXYZ32* fInput;             ///< not owned
    cBitmapLDR* fOutput;              ///< not owned
    cYHMVColorSpace* fYHMVSpace;      ///< owned: hue to colour
    cBitmapU16T* fYHMV;               ///< owned: the picture, seven 16-bit planes
    float* fLogLuminance;             ///< owned: width x height, log10 of the luminance
    float* fBase;                     ///< owned: the base layer, the smooth part of fLogLuminance
    float* fDetail;                   ///< owned: the detail layer, fLogLuminance - fBase
    cContrastCurve* fContrastCurve;   ///< owned
    cHermiteSpline* fHHCurve;         ///< owned: hue to hue
    cHermiteSpline* fHSCurve;         ///< owned: hue to saturation
    cHermiteSpline* fHLCurve;         ///< owned: hue to lightness
    unsigned short fEncodeLUT[65536]; ///< linear to encoded sample, in the output's colour space
    bool fEncodeLUTValid;
    float fContrastLUT[65536]; ///< the contrast curve at fContrastKey
    float fExposure;           ///< factor of the exposure scale, from the largest luminance
    float fExposureBase;       ///< the same from the largest base value; unused
    float fGlobalContrast;
    float fAdaptationShadow; ///< always 0
    float fAdaptation;
    bool fContrastFollowsGlobal;
    float fContrast;
    bool fUseAutoExposure;
    float fExposureEV;
    float fSpatialSize;
    float fRangeSize;
    float fBaseBlur;
    bool fWrapX;
    bool fReservedFlagA;
    bool fReservedFlagB;
    float fWhiteClip; ///< per cent
    float fBlackClip; ///< per cent
    int32_t fRequestType;
    float fRequestedBlack; ///< parameter; after a measuring render, the black point found
    float fRequestedWhite; ///< parameter; after a measuring render, the white point found
    bool fPrepareNeeded;
    bool fPhase1Needed;
    bool fPhase2Needed;
    bool fFinalNeeded;
    float fContrastKey;       ///< key position of fContrastLUT, 0 to 1; -1000 before the first
    float fMinY, fMaxY;       ///< extremes of the input's luminance
    float fLogMinY, fLogMaxY; ///< their logarithms
    float fWhite, fBlack;     ///< points that the final stage uses
    float fBaseMax, fBaseMin;
    float fDetailMax, fDetailMin;
    double fBaseAverage;
    double fDetailAverage;   ///< mean of the absolute value
    float fGlobalLUT[65536]; ///< linear factor for each base value, fBaseMin to fBaseMax
    float fDetailLUT[65536]; ///< linear factor for each detail value, fDetailMin to fDetailMax
    cMatrix33 fWorkToPCS;    ///< ProPhoto RGB to XYZ
    cMatrix33 fPCSToWork;    ///< XYZ to ProPhoto RGB; unused
    int32_t fLogEnabled;     ///< non-zero: progress lines on the standard error stream
    int32_t fNbProc;
};

} // namespace Vornik

#endif
