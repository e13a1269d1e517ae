#ifndef SELVANE_EQUALIZER_CCOLOREQRENDERER_H
#define SELVANE_EQUALIZER_CCOLOREQRENDERER_H

// The colour equalizer: three hue curves on a finished picture of 8 or 16 bits a sample.
//
//     stage            reads                            writes     is marked by
//     1 preparation    fInput                           fHMV       SetInput
//     2 final          fHMV, the curves, fYHMVSpace     fOutput    SetInput, SetOutput, OutputColorSpaceChanged,
//     SetHueCurves
//
// Preparation is the costly one; a change of a curve pays for the final stage alone.

#include "base/Export.h"
#include "color/cMatrix.h"

namespace Vornik
{

class cBitmapLDR;
class cBitmapU16T;
class cHermiteSpline;
class cYHMVColorSpace;

/// Applies hue against hue shift, hue against saturation and hue against lightness to a picture.
///
/// Construct, SetInput, SetOutput, SetHueCurves, Render; then SetHueCurves and Render again for each change. The x axis
/// of a curve is the hue on the unit scale, and its y value of 0.5 changes nothing. Used from one thread at a time; no
/// thread of its own and no DivideWork.
///
/// SetInput, SetOutput, SetHueCurves and Render report their own failures by a pointer to a new exception object. The
/// catcher may delete it; the library never does. Everything else throws objects, the missing colour space of a picture
/// too.
class SELVANE_API cColorEqRenderer
{
public:
    /// Three flat, neutral curves, no pictures, both stages marked.
    cColorEqRenderer();
    virtual ~cColorEqRenderer();
    cColorEqRenderer(const cColorEqRenderer&) = delete;
    cColorEqRenderer& operator=(const cColorEqRenderer&) = delete;

    /// Takes the source picture and marks both stages.
    /// @param pInput borrowed until another one is set or the renderer is gone
    /// @throws cArgumentNullException* when pInput is null
    void SetInput(cBitmapLDR* pInput);

    /// Takes the destination picture, of the size of the source, and marks the final stage.
    /// @param pOutput borrowed until another one is set or the renderer is gone
    /// @throws cArgumentNullException* when pOutput is null
    void SetOutput(cBitmapLDR* pOutput);

    /// For a host that changed the output's colour space in place.
    void OutputColorSpaceChanged();

    /// Copies those of the curves that differ from the held ones, and marks the final stage if there is one.
    /// @param pHHCurve,pHSCurve,pHLCurve hue to hue shift, to saturation, to lightness; the caller keeps them
    /// @throws cArgumentNullException* when one is null, before anything is changed; std::bad_alloc when a copy fails,
    /// which leaves that curve and the ones after it as they were
    void SetHueCurves(const cHermiteSpline* pHHCurve, const cHermiteSpline* pHSCurve, const cHermiteSpline* pHLCurve);

    void AllRenderingNeeded();   ///< marks both stages
    void FinalRenderingNeeded(); ///< marks the final stage

    /// Runs the stages that are marked.
    /// @param pCancel    another thread may set it; looked at before preparation, after it, and between the hue table
    ///                   and the pixels of the final stage
    /// @param pCancelled set when a stage stopped because of pCancel; the stage then stays marked. Never cleared
    /// @throws cInvalidOperationException* when a picture is missing or the sizes differ; a cInvalidOperationException
    /// object, before any stage, when the output has no colour space, or one without the transfer that encodes, and
    /// from the first stage when the input has none
    void Render(bool* pCancel, bool* pCancelled);

    /// The same, not to be cancelled.
    void Render();

    /// Stage 1: replaces fHMV by the records of fInput. On a failure fHMV is null.
    void PrepareForRendering(bool* pCancel, bool* pCancelled);

    /// Gathers what the final stage needs. The tables stay the renderer's and the curves'.
    /// @param pMatrix    linear ProPhoto primaries to the output's linear primaries
    /// @param pEncodeLUT 65536 entries, linear 0..65535 to encoded sample
    /// @param pHSLUT,pHLLUT,pHHLUT 65536 entries each: saturation, lightness, hue shift, by 16-bit hue
    void PreprocessCurvesAndTransforms(cMatrix33& pMatrix, unsigned short*& pEncodeLUT, float*& pHSLUT, float*& pHLLUT,
                                       unsigned short*& pHHLUT);

    /// Stage 2: decodes fHMV into fOutput.
    void FinalRendering(bool* pCancel, bool* pCancelled);

    cBitmapLDR* fInput;               ///< source picture, not owned
    cBitmapLDR* fOutput;              ///< destination picture, not owned
    cYHMVColorSpace* fYHMVSpace;      ///< owned; the hue table
    cBitmapU16T* fHMV;                ///< owned; 5-plane records of the source, null before the first preparation
    cHermiteSpline* fHHCurve;         ///< owned; hue to hue shift
    cHermiteSpline* fHSCurve;         ///< owned; hue to saturation
    cHermiteSpline* fHLCurve;         ///< owned; hue to lightness
    unsigned short fEncodeLUT[65536]; ///< linear 0..65535 to encoded sample of the output's colour space
    bool fEncodeLUTValid;             ///< fEncodeLUT fits the output's colour space
    bool fPrepareNeeded;              ///< stage 1 has to run
    bool fFinalNeeded;                ///< stage 2 has to run
    cMatrix33 fWorkToPCS;             ///< linear ProPhoto RGB to XYZ relative to D50
    cMatrix33 fPCSToWork;             ///< the reverse; filled at construction, read by nothing here
};

} // namespace Vornik

#endif
