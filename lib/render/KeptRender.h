#ifndef SELVANE_LIB_RENDER_KEPTRENDER_H
#define SELVANE_LIB_RENDER_KEPTRENDER_H

// A picture with all intermediate results of its render. A change of the settings runs only the steps that depend on
// it.
//
//     step      depends on                                 keeps
//     measure   the picture                                logarithm of luminance
//     split     radius, smoothness, wrap                   base layer, measures of both layers
//     map       compression, adaptation                    new luminance
//     points    white and black clip, points               black and white point
//     write     exposure, contrast, saturation, hue        nothing: samples go to the target
//
// The steps are the engine's, so the same settings give the bytes of its entry.

#include "picture/Picture.h"
#include "pool/Run.h"
#include "render/Luminance.h"
#include "render/cTmRenderer.h"
#include "write/TargetWriter.h"

#include <array>
#include <memory>
#include <optional>
#include <vector>

namespace SelvaneLib
{

/// Bytes by selvane_stage.
using tStageBytes = std::array<int64_t, SELVANE_STAGES>;

class cKeptRender
{
public:
    /// Borrows the picture. Allocates the renderer, not the planes.
    /// @param pCounting a render whose picture has points for this one, borrowed; null: this picture has its own
    explicit cKeptRender(cPicture& pPicture, cKeptRender* pCounting = nullptr);
    cKeptRender(const cKeptRender&) = delete;
    cKeptRender& operator=(const cKeptRender&) = delete;

    /// Renders into the target. @param pSettings complete, with automatic 0
    /// @param pOwnGrey a flat picture keeps its luminance, instead of what the engine gives: black
    void Render(const selvane_settings& pSettings, bool pOwnGrey, const selvane_target& pTarget, const sLayout& pLayout,
                cRun& pRun);

    /// Expected time of a render with these settings, for cRun::Plan: only the steps that have to run.
    double WeightFor(const selvane_settings& pSettings) const;

    /// The same for Split alone, and for Split and Map.
    double SplitWeightFor(const selvane_settings& pSettings) const;
    double MapWeightFor(const selvane_settings& pSettings) const;

    /// The same for FindAllPoints alone.
    double PointsWeightFor(const selvane_settings& pSettings) const;

    /// Computes everything but the samples of a target: base layer, new luminance, black and white point.
    void FindAllPoints(const selvane_settings& pSettings, cRun& pRun);

    /// Whether the picture has a black point and a white one above it. FindAllPoints has to come first.
    bool HasPoints() const { return !fFlat && fRenderer->fWhite > fRenderer->fBlack; }

    /// Computes the logarithm and the base layer.
    void Split(const selvane_settings& pSettings, cRun& pRun);

    /// Computes the new luminance. Split has to come first.
    void Map(const selvane_settings& pSettings, cRun& pRun);

    /// Copies a row of a plane. Split has to come first; for SELVANE_PLANE_MAPPED, Map too.
    void CopyPlaneRow(int pPlane, int pRow, float* pTo) const;

    /// Fills the layers, the points and the clipped shares of a report. Render has to come first.
    void Report(selvane_report& pReport) const;

    /// Bytes of a render by the step that needs them first, with the grid of the filter at its largest. With alpha, two
    /// planes of the pixels that count are measured on the way.
    /// @param pHasGrid false leaves out the grid, which lives only during Split
    static tStageBytes StageBytes(int pWidth, int pHeight, bool pHasAlpha, bool pHasGrid);

private:
    struct sSplitKey
    {
        float fRadius, fSmoothness;
        int fWrap;
        bool operator==(const sSplitKey&) const = default;
    };
    struct sMapKey
    {
        float fCompression, fAdaptation;
        bool operator==(const sMapKey&) const = default;
    };
    struct sPointsKey
    {
        float fWhiteClip, fBlackClip, fBlack, fWhite;
        int fKind;
        bool operator==(const sPointsKey&) const = default;
    };
    struct sHueKey
    {
        selvane_curve fHue, fSaturation, fLightness;
    };

    static sSplitKey SplitKeyOf(const selvane_settings& pSettings);
    static sMapKey MapKeyOf(const selvane_settings& pSettings);
    static sPointsKey PointsKeyOf(const selvane_settings& pSettings);
    void Both(void (cKeptRender::*pStep)(const selvane_settings&, cRun&), const selvane_settings& pSettings,
              cRun& pRun);
    void Allocate();
    void Measure(cRun& pRun);
    void MeasureVisibleLayers();
    void RemapAll(const Vornik::sRemapping& pRemapping, cRun& pRun);
    void FindPoints(const selvane_settings& pSettings, cRun& pRun);
    void MeasurePoints(const selvane_settings& pSettings);
    void CountClipped(cRun& pRun);
    void PrepareHues(const selvane_settings& pSettings);
    float InverseRange(const selvane_settings& pSettings, float pBlack, float pWhite) const;
    const unsigned short* Contrast(const selvane_settings& pSettings, bool pOwnGrey);
    sFinalPass FinalPass(const selvane_settings& pSettings, bool pOwnGrey, const selvane_target& pTarget);
    template <class tPlane>
    std::vector<float> VisibleOf(const tPlane* pPlane) const;

    cPicture& fPicture;
    cKeptRender* fCounting;
    std::unique_ptr<Vornik::cTmRenderer> fRenderer; ///< parameters, tables, logarithm and base
    std::unique_ptr<float[]> fLuminance;            ///< new luminance
    Vornik::sLuminance fExtremes{.fMin = 0.0f};
    bool fMeasured = false;
    bool fFlat = true; ///< a layer has no range: there is no new luminance
    std::optional<sSplitKey> fSplit;
    std::optional<sMapKey> fMap;
    std::optional<sPointsKey> fPoints;
    std::optional<sMapKey> fContrastKey; ///< compression and contrast
    const unsigned short* fContrastSamples = nullptr;
    std::vector<unsigned short> fStraight; ///< a contrast table that changes nothing
    std::optional<sHueKey> fHues;
    std::vector<float> fLightness;
    cTargetTables fTables;
    float fClippedBlack = 0;
    float fClippedWhite = 0;
};

} // namespace SelvaneLib

#endif
