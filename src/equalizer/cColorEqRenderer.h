#ifndef SELVANE_EQUALIZER_CCOLOREQRENDERER_H
#define SELVANE_EQUALIZER_CCOLOREQRENDERER_H

// The colour equalizer: three hue curves on a finished picture of 8 or 16 bits per sample.
//
//     stage            reads                            writes     is marked by
//     1 preparation    fInput                           fHMV       SetInput
//     2 final          fHMV, the curves, fYHMVSpace     fOutput    SetInput, SetOutput, OutputColorSpaceChanged,
//                                                                  SetHueCurves
//
// Preparation is the costly stage. A change of a curve runs only the final stage again.

#include "base/Export.h"
#include "color/cMatrix.h"

namespace Vornik
{

class cBitmapLDR;
class cBitmapU16T;
class cHermiteSpline;
class cYHMVColorSpace;

/// Applies three curves over hue to a picture: hue shift, saturation and lightness.
///
/// Call SetInput, SetOutput, SetHueCurves and Render; for each change call SetHueCurves and Render again. The x axis of
/// a curve is the hue on the unit scale; y = 0.5 is neutral. Only one thread may use the object at a time. It starts no
/// threads and does not call DivideWork.
///
/// SetInput, SetOutput, SetHueCurves and Render report their own failures by a pointer to a new exception object. The
/// catcher may delete it; the library never does. All other failures throw objects, also the missing colour space of a
/// picture.
class SELVANE_API cColorEqRenderer
{
public:
    /// Makes three flat, neutral curves, sets no pictures and marks both stages.
    cColorEqRenderer();
    virtual ~cColorEqRenderer();
    cColorEqRenderer(const cColorEqRenderer&) = delete;
    cColorEqRenderer& operator=(const cColorEqRenderer&) = delete;

    /// Sets the source picture and marks both stages.
    /// @param pInput borrowed until another picture is set or the renderer is deleted
    /// @throws cArgumentNullException* if pInput is null
    void SetInput(cBitmapLDR* pInput);

    /// Sets the destination picture and marks the final stage.
    /// @param pOutput has the size of the source; borrowed until another picture is set or the renderer is deleted
    /// @throws cArgumentNullException* if pOutput is null
    void SetOutput(cBitmapLDR* pOutput);

    /// Call it after a change of the output's colour space in place. Marks the final stage.
    void OutputColorSpaceChanged();

    /// Copies each curve that differs from the held one, and marks the final stage if any does.
    /// @param pHHCurve hue to hue shift; the caller keeps it
    /// @param pHSCurve hue to saturation; the caller keeps it
    /// @param pHLCurve hue to lightness; the caller keeps it
    /// @throws cArgumentNullException* if a curve is null; nothing is changed then
    /// @throws std::bad_alloc if a copy fails; that curve and the ones after it stay unchanged
    void SetHueCurves(const cHermiteSpline* pHHCurve, const cHermiteSpline* pHSCurve, const cHermiteSpline* pHLCurve);

    void AllRenderingNeeded();   ///< marks both stages
    void FinalRenderingNeeded(); ///< marks the final stage

    /// Runs the stages that are marked.
    /// @param pCancel    another thread may set it. Read before preparation, after it, and in the final stage between
    ///                   the hue table and the pixels
    /// @param pCancelled set if a stage stopped on pCancel; that stage stays marked. Never cleared
    /// @throws cInvalidOperationException* if a picture is missing or the sizes differ
    /// @throws cInvalidOperationException an object, before any stage, if the output has no colour space or the space
    ///                   has no encoding transfer; an object, from stage 1, if the input has no colour space
    void Render(bool* pCancel, bool* pCancelled);

    /// The same without cancellation.
    void Render();

    /// Stage 1: replaces fHMV by the records of fInput. If it throws, fHMV is null.
    void PrepareForRendering(bool* pCancel, bool* pCancelled);

    /// Collects the inputs of the final stage. The renderer and its curves own the tables.
    /// @param pMatrix    linear ProPhoto primaries to the output's linear primaries
    /// @param pEncodeLUT 65536 entries, linear 0..65535 to encoded sample
    /// @param pHSLUT     65536 saturations by 16-bit hue
    /// @param pHLLUT     65536 lightnesses by 16-bit hue
    /// @param pHHLUT     65536 hue shifts by 16-bit hue
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
    bool fPrepareNeeded;              ///< stage 1 is marked
    bool fFinalNeeded;                ///< stage 2 is marked
    cMatrix33 fWorkToPCS;             ///< linear ProPhoto RGB to XYZ relative to D50
    cMatrix33 fPCSToWork;             ///< XYZ relative to D50 to linear ProPhoto RGB; set at construction, unused
};

} // namespace Vornik

#endif
