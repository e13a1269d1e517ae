#ifndef SELVANE_RENDER_CTM_RENDERER_H
#define SELVANE_RENDER_CTM_RENDERER_H

#include "base/Export.h"
#include "color/cMatrix.h"
#include "curve/cHermiteSpline.h"

#include <cstddef>
#include <cstdint>

// The stages of a render, in their order. Render runs the marked ones and clears a mark when its stage ended without
// cancellation. A mark of one stage marks all behind it too; the last column names what marks a stage.
//
//   stage                reads                                    leaves                          marked by
//
//   PrepareForRendering  fInput, fNbProc                          fYHMV, fLogLuminance,           SetInput,
//                                                                 room for fBase and fDetail,     SetToneMappingParams,
//                                                                 fMinY, fMaxY,                   AllRenderingNeeded
//                                                                 fLogMinY, fLogMaxY
//
//   ToneMappingPhase1    fLogLuminance, fLogMinY, fLogMaxY,       fBase, fDetail,                 ToneMapPhase1Needed
//                        fSpatialSize, fRangeSize,                fBaseMin, fBaseMax,
//                        fBaseBlur, fWrapX, fNbProc               fBaseAverage, fDetailMin,
//                                                                 fDetailMax, fDetailAverage
//
//   ToneMappingPhase2    all that phase 1 leaves, fYHMV,          fGlobalLUT, fDetailLUT,         ToneMapPhase2Needed
//                        fMinY, fMaxY, fLogMaxY,                  fExposure, fExposureBase,
//                        fGlobalContrast, fAdaptation,            the luminance of fYHMV,
//                        fWhiteClip, fBlackClip, fRequestType,    fBlack, fWhite,
//                        fRequestedBlack, fRequestedWhite         fRequestedBlack, fRequestedWhite
//
//   FinalRendering       fYHMV, fBlack, fWhite, fExposure,        the pixels of fOutput,          SetOutput,
//                        fUseAutoExposure, fExposureEV,           fEncodeLUT, fEncodeLUTValid,    SetHueCurves,
//                        fContrast, fContrastFollowsGlobal,       fContrastLUT, fContrastKey,     FinalRenderingNeeded,
//                        fGlobalContrast, fContrastCurve,         the table of fYHMVSpace         OutputColorSpace-
//                        fHHCurve, fHSCurve, fHLCurve,                                            Changed
//                        fWorkToPCS, the space of fOutput,
//                        fEncodeLUTValid, fContrastKey
//
// Each stage also reads the size of fInput; phase 1 and phase 2 print progress lines where fLogEnabled is set. Files:
// cTmRenderer_Prepare.cpp, _Phase1.cpp, _Phase2.cpp with _Points.cpp, _Final.cpp.

namespace Vornik
{

class cBitmapLDR;
class cBitmapU16T;
class cBitmapXYZ32;
class cYHMVColorSpace;

/// The contrast curve of the renderer: a class of its own by identity only.
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
    float* pSlotMin;       ///< 56: smallest luminance, one entry a slot
    float* pSlotMax;       ///< 64: largest luminance, one entry a slot
    float pFloor;          ///< 72: smallest luminance that counts
    int32_t fReserved76;   ///< 76: zero
};
static_assert(sizeof(sMinMaxLogArgs) == 80 && offsetof(sMinMaxLogArgs, pBitmap) == 16 &&
              offsetof(sMinMaxLogArgs, pWidth) == 32 && offsetof(sMinMaxLogArgs, pCancel) == 40 &&
              offsetof(sMinMaxLogArgs, pSlotMax) == 64 && offsetof(sMinMaxLogArgs, pFloor) == 72);

/// Rows pStart to pEnd - 1 of the pass: stores the base-10 logarithm of each pixel's luminance, at least pFloor, and
/// keeps the extremes of the slot. Looks at *pCancel once; if set, sets *pCancelled and leaves the rows alone.
SELVANE_API void CalcMinMaxLog_tile(int pSlot, int pStart, int pEnd, cBitmapXYZ32* pBitmap, float* pLogLuminance,
                                    int pWidth, bool* pCancel, bool* pCancelled, float* pSlotMin, float* pSlotMax,
                                    float pFloor);

/// The function given to DivideWork: unpacks an sMinMaxLogArgs and returns null.
SELVANE_API void* CalcMinMaxLog_tile_threaded(void* pRecord);

/// Turns one picture of linear XYZ into one display picture, in four stages that can be run again one by one.
///
/// Used from one thread at a time. SetInput, SetOutput, SetHueCurves and Render report their own failures by a pointer
/// to a new exception object. The catcher may delete it; the library never does. Everything else throws objects, the
/// missing colour space of an output too.
class SELVANE_API cTmRenderer
{
public:
    /// Builds the hue table and the four curves; no picture is set. Throws std::bad_alloc.
    cTmRenderer();
    /// Frees the intermediates; the input and the output stay the caller's.
    virtual ~cTmRenderer();
    cTmRenderer(const cTmRenderer&) = delete;
    cTmRenderer& operator=(const cTmRenderer&) = delete;

    /// Workers that DivideWork is asked for; not checked.
    void SetNbProc(int pNbProc);
    /// Borrows the picture of XYZ (D50, white at 1) and marks all stages. Throws a cArgumentNullException pointer.
    void SetInput(cBitmapXYZ32* pInput);
    /// Borrows the picture to fill, of the input's size, and marks the final stage. Throws a cArgumentNullException
    /// pointer.
    void SetOutput(cBitmapLDR* pOutput);
    /// Stores the parameters and marks all stages; no value is clamped or refused.
    ///
    /// pGlobalContrast         compression of the base layer in per cent; below 0 expands, three times as fast
    /// pAdaptation             above 0: bends both curves around the means of their layers
    /// pContrastFollowsGlobal  the contrast key gains a share of pGlobalContrast
    /// pContrast               contrast key, -100 to 100
    /// pUseAutoExposure        the exposure path applies fExposure
    /// pExposureEV             exposure in stops, for the exposure path
    /// pSpatialSize            spatial size of the split; 100 is 2.5 per cent of the longer side
    /// pRangeSize              edge tolerance of the split; 0.002 decades each on top of 0.2
    /// pBaseBlur               a further Gaussian blur of the base, per cent
    /// pWrapX                  the split wraps around horizontally
    /// pReservedFlagA, pReservedFlagB  stored, used for nothing
    /// pWhiteClip, pBlackClip  per cent of pixels beyond the white and the black point
    /// pRequestType            1: use pBlack and pWhite if pWhite is above 0; 9: measure; other: measure and render
    /// pBlack, pWhite          requested points, on the scale of tone-mapped luminance
    void SetToneMappingParams(float pGlobalContrast, float pAdaptation, bool pContrastFollowsGlobal, float pContrast,
                              bool pUseAutoExposure, float pExposureEV, float pSpatialSize, float pRangeSize,
                              float pBaseBlur, bool pWrapX, bool pReservedFlagA, bool pReservedFlagB, float pWhiteClip,
                              float pBlackClip, int pRequestType, float pBlack, float pWhite);
    /// Copies each curve that differs from the one held, and marks the final stage then. The caller keeps its curves.
    /// Throws a cArgumentNullException pointer.
    void SetHueCurves(const cHermiteSpline* pHHCurve, const cHermiteSpline* pHSCurve, const cHermiteSpline* pHLCurve);

    void AllRenderingNeeded();
    void ToneMapPhase1Needed();
    void ToneMapPhase2Needed();
    void FinalRenderingNeeded();
    /// To be called when the output's colour space was changed in place.
    void OutputColorSpaceChanged();

    /// Runs the marked stages to the end.
    void Render();
    /// Runs the marked stages. Another thread may set *pCancel at any time; a stage that stopped on it sets *pCancelled
    /// and stays marked. Neither flag is ever cleared here. Before any stage, throws a cInvalidOperationException
    /// pointer when a picture is missing or the sizes differ, and a cInvalidOperationException object when the output
    /// has no colour space, or one without the transfer that encodes.
    void Render(bool* pCancel, bool* pCancelled);
    /// The black and white point that the last measuring render found, or those that were passed in.
    void GetRequestedStats(float* pBlack, float* pWhite);

private:
    void PrepareForRendering(bool* pCancel, bool* pCancelled);
    void ToneMappingPhase1(bool* pCancel, bool* pCancelled);
    void ToneMappingPhase2(bool* pCancel, bool* pCancelled);
    void FinalRendering(bool* pCancel, bool* pCancelled);
    /// What the final stage needs; the tables are borrowed from the renderer and its curves.
    void PreprocessCurvesAndTransforms(cMatrix33& pMatrix, unsigned short*& pEncodeLUT, float*& pContrastLUT,
                                       float*& pHSLUT, float*& pHLLUT, unsigned short*& pHHLUT, float& pScale);

public:
    cBitmapXYZ32* fInput;             ///< not owned
    cBitmapLDR* fOutput;              ///< not owned
    cYHMVColorSpace* fYHMVSpace;      ///< owned: hue to colour
    cBitmapU16T* fYHMV;               ///< owned: the picture, seven 16-bit planes
    float* fLogLuminance;             ///< owned: width x height, log10 of the luminance
    float* fBase;                     ///< owned: its smooth part
    float* fDetail;                   ///< owned: fLogLuminance - fBase
    cContrastCurve* fContrastCurve;   ///< owned
    cHermiteSpline* fHHCurve;         ///< owned: hue to hue
    cHermiteSpline* fHSCurve;         ///< owned: hue to saturation
    cHermiteSpline* fHLCurve;         ///< owned: hue to lightness
    unsigned short fEncodeLUT[65536]; ///< linear to encoded sample, in the output's colour space
    bool fEncodeLUTValid;
    float fContrastLUT[65536]; ///< the contrast curve at fContrastKey
    float fExposure;           ///< scale of the exposure path, from the largest luminance
    float fExposureBase;       ///< the same from the largest base value; read by nobody
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
    float fRequestedBlack; ///< parameter; after a measuring run the black point found
    float fRequestedWhite; ///< parameter; after a measuring run the white point found
    bool fPrepareNeeded;
    bool fPhase1Needed;
    bool fPhase2Needed;
    bool fFinalNeeded;
    float fContrastKey;       ///< key position of fContrastLUT, 0 to 1; -1000 when there is none
    float fMinY, fMaxY;       ///< extremes of the input's luminance
    float fLogMinY, fLogMaxY; ///< their logarithms
    float fWhite, fBlack;     ///< points that the final stage uses
    float fBaseMax, fBaseMin;
    float fDetailMax, fDetailMin;
    double fBaseAverage;
    double fDetailAverage;   ///< of the absolute value
    float fGlobalLUT[65536]; ///< linear factor for each base value, fBaseMin to fBaseMax
    float fDetailLUT[65536]; ///< linear factor for each detail value, fDetailMin to fDetailMax
    cMatrix33 fWorkToPCS;    ///< ProPhoto RGB to XYZ
    cMatrix33 fPCSToWork;    ///< the reverse; read by nobody
    int32_t fLogEnabled;     ///< non-zero: progress lines on the standard error stream
    int32_t fNbProc;
};

} // namespace Vornik

#endif
