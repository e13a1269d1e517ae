#include "render/KeptRender.h"

#include "api/Failure.h"
#include "base/BigPages.h"
#include "base/Log10.h"
#include "color/MatrixProduct.h"
#include "entry/SliderScales.h"
#include "render/HueTables.h"
#include "render/Stages.h"
#include "render/cTmRenderer_Points.h"
#include "suggest/LookSettings.h"
#include "write/Space.h"
#include "yhmv/EncodeStrip.h"
#include "yhmv/cYHMVColorSpace.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <numeric>

namespace SelvaneLib
{

namespace
{

using Vornik::cLuminanceRows;
using Vornik::cTmRenderer;

constexpr double kMeasureWeight = 2.0; // nanoseconds a pixel, about
constexpr double kSplitWeight = 4.0;
constexpr double kMapWeight = 2.0;
constexpr double kPointsWeight = 1.0;
constexpr double kWriteWeight = 4.0;
constexpr float kLeastLuminance = 1e-10f; // of logarithms
constexpr int64_t kBandPixels = int64_t{1} << 16;
constexpr int64_t kMostGridBytes = int64_t{48} << 20;
constexpr int64_t kTableBytes = int64_t{8} << 20;

/// Linear ProPhoto RGB with its colours moved away from their luminance, or towards it. pAmount 1 changes nothing, 0
/// gives greys.
Vornik::cMatrix33 SaturationMatrix(const Vornik::cMatrix33& pWorkToXYZ, float pAmount)
{
    const float red = pWorkToXYZ.m10 * (1.0f - pAmount);
    const float green = pWorkToXYZ.m11 * (1.0f - pAmount);
    const float blue = pWorkToXYZ.m12 * (1.0f - pAmount);
    return {red + pAmount, green, blue, red, green + pAmount, blue, red, green, blue + pAmount};
}

bool SameCurve(const selvane_curve& pA, const selvane_curve& pB)
{
    return pA.count == pB.count &&
           std::equal(pA.points, pA.points + pA.count, pB.points,
                      [](const selvane_point& a, const selvane_point& b) { return a.x == b.x && a.y == b.y; });
}

/// What the bands of the new luminance give, joined in picture order. A value that sets a new maximum is not compared
/// with the minimum: within a band only its first pixel can be a new maximum of the band without being one of the
/// picture and yet decide the minimum.
struct sJoinedExtremes
{
    Vornik::sLuminance fExtremes;

    void Add(const Vornik::sLuminance& pBand, float pFirst)
    {
        if (pFirst <= fExtremes.fMax) fExtremes.fMin = std::min(fExtremes.fMin, pFirst);
        fExtremes.fMin = std::min(fExtremes.fMin, pBand.fMin);
        fExtremes.fMax = std::max(fExtremes.fMax, pBand.fMax);
    }
};

} // namespace

cKeptRender::cKeptRender(cPicture& pPicture, cKeptRender* pCounting)
    : fPicture(pPicture), fCounting(pCounting), fRenderer(std::make_unique<cTmRenderer>())
{
    fRenderer->fLogEnabled = 0;
    fRenderer->SetInput(&fPicture.fXYZ);
}

tStageBytes cKeptRender::StageBytes(int pWidth, int pHeight, bool pHasAlpha, bool pHasGrid)
{
    const int64_t plane = int64_t{pWidth} * pHeight * static_cast<int64_t>(sizeof(float));
    tStageBytes bytes{};
    bytes[SELVANE_STAGE_SPLIT] = (pHasAlpha ? 4 : 2) * plane + (pHasGrid ? kMostGridBytes : 0);
    bytes[SELVANE_STAGE_MAP] = plane;
    bytes[SELVANE_STAGE_WRITE] = kTableBytes;
    return bytes;
}

cKeptRender::sSplitKey cKeptRender::SplitKeyOf(const selvane_settings& pSettings)
{
    return {pSettings.radius, pSettings.smoothness, pSettings.wrap};
}

cKeptRender::sMapKey cKeptRender::MapKeyOf(const selvane_settings& pSettings)
{
    return {pSettings.compression, pSettings.adaptation};
}

cKeptRender::sPointsKey cKeptRender::PointsKeyOf(const selvane_settings& pSettings)
{
    return {pSettings.white_clip, pSettings.black_clip, pSettings.black_point, pSettings.white_point, pSettings.points};
}

double cKeptRender::SplitWeightFor(const selvane_settings& pSettings) const
{
    return (fMeasured ? 0.0 : kMeasureWeight) + (fSplit == SplitKeyOf(pSettings) ? 0.0 : kSplitWeight);
}

double cKeptRender::MapWeightFor(const selvane_settings& pSettings) const
{
    const double split = SplitWeightFor(pSettings);
    const bool maps = split > 0.0 || fMap != MapKeyOf(pSettings);
    return split + (maps ? kMapWeight : 0.0);
}

double cKeptRender::PointsWeightFor(const selvane_settings& pSettings) const
{
    const double map = MapWeightFor(pSettings);
    const bool findsPoints = map > 0.0 || fPoints != PointsKeyOf(pSettings);
    const double counting = fCounting == nullptr ? 0.0 : fCounting->PointsWeightFor(pSettings);
    return counting + map + (findsPoints ? kPointsWeight : 0.0);
}

double cKeptRender::WeightFor(const selvane_settings& pSettings) const
{
    return PointsWeightFor(pSettings) + kWriteWeight;
}

void cKeptRender::Allocate()
{
    if (fLuminance != nullptr) return;
    cTmRenderer& r = *fRenderer;
    const auto count = static_cast<size_t>(fPicture.Pixels());
    if (r.fLogLuminance == nullptr) r.fLogLuminance = Vornik::NewFloats(count);
    if (r.fBase == nullptr) r.fBase = Vornik::NewFloats(count);
    fLuminance.reset(Vornik::NewFloats(count));
}

void cKeptRender::Measure(cRun& pRun)
{
    if (fMeasured) return;
    pRun.Begin(SELVANE_STAGE_SPLIT, kMeasureWeight);
    Allocate();
    Vornik::MeasureLuminance(*fRenderer, pRun.Cancel(), pRun.Cancelled());
    pRun.ThrowIfCancelled();
    fMeasured = true;
}

/// The values of a plane at the pixels that count, in picture order.
template <class tPlane>
std::vector<float> cKeptRender::VisibleOf(const tPlane* pPlane) const
{
    std::vector<float> values;
    values.reserve(static_cast<size_t>(fPicture.fStatistics.fVisible));
    for (int64_t i = 0; i < fPicture.Pixels(); i++)
        if (fPicture.IsVisible(i)) values.push_back(pPlane[i]);
    return values;
}

/// Replaces the measures of both layers by those of the pixels that count.
void cKeptRender::MeasureVisibleLayers()
{
    cTmRenderer& r = *fRenderer;
    const std::vector<float> log = VisibleOf(r.fLogLuminance);
    const std::vector<float> base = VisibleOf(r.fBase);
    const Vornik::sLayers layers = Vornik::MeasureLayers(log.data(), base.data(), nullptr,
                                                         static_cast<int64_t>(log.size()), Vornik::eSum::eInOrder);
    r.fBaseMin = layers.fBase.fMin;
    r.fBaseMax = layers.fBase.fMax;
    r.fBaseAverage = layers.fBase.fMean;
    r.fDetailMin = layers.fDetail.fMin;
    r.fDetailMax = layers.fDetail.fMax;
    r.fDetailAverage = layers.fDetail.fMean;
}

void cKeptRender::Split(const selvane_settings& pSettings, cRun& pRun)
{
    const sSplitKey key = SplitKeyOf(pSettings);
    pRun.fRowPixels = fPicture.Width();
    fRenderer->fNbProc = pRun.Threads();
    if (fMeasured && fSplit == key) return;
    fSplit.reset();
    fMap.reset();
    fPoints.reset();
    Measure(pRun);
    pRun.Begin(SELVANE_STAGE_SPLIT, kSplitWeight);
    cTmRenderer& r = *fRenderer;
    r.fSpatialSize = Vornik::SpatialSize(pSettings.radius);
    r.fRangeSize = Vornik::RangeSize(pSettings.smoothness);
    r.fBaseBlur = 0.0f;
    r.fWrapX = pSettings.wrap == 1;
    r.fAdaptation = 1.0f; // the means count in picture order, whatever adaptation comes with later settings
    Vornik::RunPhase1(r, nullptr, pRun.Cancel(), pRun.Cancelled());
    pRun.ThrowIfCancelled();
    if (fPicture.fHasInvisible && fPicture.fStatistics.fVisible > 0) MeasureVisibleLayers();
    fSplit = key;
}

void cKeptRender::RemapAll(const Vornik::sRemapping& pRemapping, cRun& pRun)
{
    const int width = fPicture.Width();
    const int height = fPicture.Height();
    const int rows = static_cast<int>(std::max<int64_t>(1, kBandPixels / width));
    const int bands = (height + rows - 1) / rows;
    std::vector<Vornik::sLuminance> extremes(static_cast<size_t>(bands), Vornik::sLuminance{.fMin = 0.0f});
    pRun.DivideOrThrow(0, bands, int64_t{rows} * width, [&](int, int pBegin, int pEnd) {
        for (int band = pBegin; band < pEnd; band++) {
            const int count = std::min(rows, height - band * rows);
            const ptrdiff_t first = ptrdiff_t{band} * rows * width;
            float* const plane = fLuminance.get() + first;
            std::memcpy(plane, fRenderer->fLogLuminance + first,
                        sizeof(float) * static_cast<size_t>(count) * static_cast<size_t>(width));
            const cLuminanceRows part(plane, fRenderer->fBase + first, width, count);
            const bool never = false;
            bool stopped = false;
            extremes[static_cast<size_t>(band)] =
                Vornik::ReplaceLuminance(part, pRemapping, &never, &stopped).fExtremes;
        }
    });
    sJoinedExtremes joined{{.fMin = pRemapping.fDetailMax * pRemapping.fGlobalMax}};
    for (int band = 0; band < bands; band++)
        joined.Add(extremes[static_cast<size_t>(band)],
                   fLuminance[static_cast<size_t>(ptrdiff_t{band} * rows * width)]);
    fExtremes = joined.fExtremes;
}

void cKeptRender::Map(const selvane_settings& pSettings, cRun& pRun)
{
    const sMapKey key = MapKeyOf(pSettings);
    if (fMap == key) return;
    fMap.reset();
    fPoints.reset();
    pRun.Begin(SELVANE_STAGE_MAP, kMapWeight);
    cTmRenderer& r = *fRenderer;
    r.fGlobalContrast = Vornik::GlobalContrast(pSettings.compression);
    r.fAdaptation = Vornik::Share(0.04, pSettings.adaptation);
    const auto remapping = Vornik::FillTables(r, pRun.Cancel(), pRun.Cancelled());
    pRun.ThrowIfCancelled();
    fFlat = !remapping;
    if (remapping) RemapAll(*remapping, pRun);
    fMap = key;
}

void cKeptRender::MeasurePoints(const selvane_settings& pSettings)
{
    const float white = Vornik::Share(0.05, pSettings.white_clip);
    std::vector<float> visible;
    Vornik::sLuminance extremes = fExtremes;
    if (fPicture.fHasInvisible) {
        visible = VisibleOf(fLuminance.get());
        if (visible.empty()) return;
        extremes = {.fMin = *std::max_element(visible.begin(), visible.end())};
        for (const float value : visible)
            extremes.Add(value);
    }
    const cLuminanceRows rows =
        visible.empty() ? cLuminanceRows(fLuminance.get(), fRenderer->fBase, fPicture.Width(), fPicture.Height())
                        : cLuminanceRows(visible.data(), nullptr, static_cast<int>(visible.size()), 1);
    Vornik::tCounters counters = Vornik::NewCounters();
    if (counters == nullptr) throw std::bad_alloc();
    const Vornik::cHistogram histogram(std::move(counters), rows, extremes);
    const Vornik::sPoints points = histogram.PointsFor(pSettings.black_clip, white);
    fRenderer->fBlack = points.fBlack;
    fRenderer->fWhite = points.fWhite;
}

void cKeptRender::CountClipped(cRun& pRun)
{
    struct sCounts
    {
        int64_t fBlack = 0;
        int64_t fWhite = 0;
    };
    std::vector<sCounts> slots(static_cast<size_t>(pRun.Threads()));
    const float black = fRenderer->fBlack, white = fRenderer->fWhite;
    pRun.DivideOrThrow(0, fPicture.Height(), fPicture.Width(), [&](int pSlot, int pBegin, int pEnd) {
        const int64_t end = int64_t{pEnd} * fPicture.Width();
        sCounts counts;
        for (int64_t i = int64_t{pBegin} * fPicture.Width(); i < end; i++) {
            if (fPicture.fHasInvisible && !fPicture.IsVisible(i)) continue;
            counts.fBlack += fLuminance[static_cast<size_t>(i)] <= black ? 1 : 0;
            counts.fWhite += fLuminance[static_cast<size_t>(i)] >= white ? 1 : 0;
        }
        slots[static_cast<size_t>(pSlot)].fBlack += counts.fBlack;
        slots[static_cast<size_t>(pSlot)].fWhite += counts.fWhite;
    });
    sCounts all;
    for (const sCounts& slot : slots) {
        all.fBlack += slot.fBlack;
        all.fWhite += slot.fWhite;
    }
    const auto visible = static_cast<float>(std::max<int64_t>(1, fPicture.fStatistics.fVisible));
    fClippedBlack = static_cast<float>(all.fBlack) / visible;
    fClippedWhite = static_cast<float>(all.fWhite) / visible;
}

void cKeptRender::FindPoints(const selvane_settings& pSettings, cRun& pRun)
{
    const sPointsKey key = PointsKeyOf(pSettings);
    if (fPoints == key) return;
    fPoints.reset();
    pRun.Begin(SELVANE_STAGE_POINTS, kPointsWeight);
    fRenderer->fBlack = 0.0f;
    fRenderer->fWhite = 1.0f;
    fClippedBlack = fClippedWhite = 0.0f;
    if (!fFlat) {
        if (fCounting != nullptr && !fCounting->fFlat) {
            fRenderer->fBlack = fCounting->fRenderer->fBlack;
            fRenderer->fWhite = fCounting->fRenderer->fWhite;
        } else if (pSettings.points == SELVANE_POINTS_GIVEN) {
            fRenderer->fBlack = pSettings.black_point;
            fRenderer->fWhite = pSettings.white_point;
        } else
            MeasurePoints(pSettings);
        CountClipped(pRun);
    }
    fPoints = key;
}

void cKeptRender::PrepareHues(const selvane_settings& pSettings)
{
    if (fHues && SameCurve(fHues->fHue, pSettings.hue) && SameCurve(fHues->fSaturation, pSettings.hue_saturation) &&
        SameCurve(fHues->fLightness, pSettings.hue_lightness))
        return;
    fHues.reset();
    std::vector<float> saturation = HueTable(pSettings.hue_saturation);
    std::vector<uint16_t> shift = HueSamples(pSettings.hue);
    fRenderer->fYHMVSpace->UpdateHMVToRGBLUT(saturation.data(), shift.data());
    fLightness = HueTable(pSettings.hue_lightness);
    fHues = {pSettings.hue, pSettings.hue_saturation, pSettings.hue_lightness};
}

const unsigned short* cKeptRender::Contrast(const selvane_settings& pSettings, bool pOwnGrey)
{
    if (pOwnGrey) {
        fStraight.resize(65536);
        std::iota(fStraight.begin(), fStraight.end(), static_cast<unsigned short>(0));
        return fStraight.data();
    }
    const sMapKey key{pSettings.compression, pSettings.contrast};
    if (fContrastKey == key) return fContrastSamples;
    fContrastKey.reset();
    fRenderer->fContrastFollowsGlobal = true;
    fRenderer->fContrast = std::clamp(kEngineContrast + pSettings.contrast, -100.0f, 100.0f);
    fContrastSamples = Vornik::ContrastSamples(*fRenderer);
    fContrastKey = key;
    return fContrastSamples;
}

/// 1 / (white - black). The engine takes exactly 1 for "no points". That stays for measured points without exposure, as
/// the entry has them; any others get the number next to it.
float cKeptRender::InverseRange(const selvane_settings& pSettings, float pBlack, float pWhite) const
{
    if (fFlat) return 1.0f;
    const float inverse = Vornik::InverseRange(pBlack, pWhite);
    const bool isOfEntry = pSettings.points == SELVANE_POINTS_MEASURED && pSettings.exposure == 0.0f;
    return inverse == 1.0f && pWhite > pBlack && !isOfEntry ? std::nextafter(1.0f, 2.0f) : inverse;
}

sFinalPass cKeptRender::FinalPass(const selvane_settings& pSettings, bool pOwnGrey, const selvane_target& pTarget)
{
    cTmRenderer& r = *fRenderer;
    r.fExposureEV = pSettings.exposure;
    const float black = r.fBlack;
    const float white = black + (r.fWhite - black) * std::exp2(-pSettings.exposure);
    sFinalPass pass{.fFromXYZ = Vornik::ProPhotoFromPCS(),
                    .fToTarget = Vornik::Multiply(FromXYZ(pTarget.space, pTarget.chromaticities), r.fWorkToPCS),
                    .fIntensity = {pOwnGrey ? std::exp2(pSettings.exposure) : Vornik::ExposureScale(r),
                                   InverseRange(pSettings, black, white), black},
                    .fContrast = Contrast(pSettings, pOwnGrey),
                    .fHueTable = nullptr,
                    .fLightness = nullptr};
    if (pSettings.saturation != 0.0f)
        pass.fToTarget =
            Vornik::Multiply(pass.fToTarget, SaturationMatrix(r.fWorkToPCS, 1.0f + pSettings.saturation * 0.01f));
    if (HasHueCurves(pSettings)) {
        PrepareHues(pSettings);
        pass.fHueTable = r.fYHMVSpace->fHMVToRGBLUT;
        pass.fLightness = fLightness.data();
    }
    return pass;
}

/// A step of the render that has the points, if there is one, and of this one.
void cKeptRender::Both(void (cKeptRender::*pStep)(const selvane_settings&, cRun&), const selvane_settings& pSettings,
                       cRun& pRun)
{
    if (fCounting != nullptr) (fCounting->*pStep)(pSettings, pRun);
    (this->*pStep)(pSettings, pRun);
}

void cKeptRender::FindAllPoints(const selvane_settings& pSettings, cRun& pRun)
{
    Both(&cKeptRender::Split, pSettings, pRun);
    Both(&cKeptRender::Map, pSettings, pRun);
    Both(&cKeptRender::FindPoints, pSettings, pRun);
}

void cKeptRender::Render(const selvane_settings& pSettings, bool pOwnGrey, const selvane_target& pTarget,
                         const sLayout& pLayout, cRun& pRun)
{
    FindAllPoints(pSettings, pRun);
    pRun.Begin(SELVANE_STAGE_WRITE, kWriteWeight);
    const bool ownGrey = pOwnGrey && (fFlat || fPicture.fStatistics.fFlat);
    const float* luminance = fFlat || ownGrey ? nullptr : fLuminance.get();
    fTables.Prepare(pTarget);
    sFinalPass pass = FinalPass(pSettings, ownGrey, pTarget);
    if (ownGrey) pass.fIntensity.fInvRange = 1.0f;
    const int width = fPicture.Width();
    pRun.DivideOrThrow(0, fPicture.Height(), width, [&](int, int pBegin, int pEnd) {
        for (int y = pBegin; y < pEnd; y++)
            WriteTargetRow(pTarget, pLayout, fTables, pass, fPicture,
                           luminance == nullptr ? nullptr : luminance + ptrdiff_t{y} * width, y);
    });
}

void cKeptRender::CopyPlaneRow(int pPlane, int pRow, float* pTo) const
{
    const ptrdiff_t first = ptrdiff_t{pRow} * fPicture.Width();
    const float* log = fRenderer->fLogLuminance + first;
    const float* base = fRenderer->fBase + first;
    if (pPlane == SELVANE_PLANE_MAPPED && !fFlat) {
        std::transform(fLuminance.get() + first, fLuminance.get() + first + fPicture.Width(), pTo,
                       [](float pLuminance) { return Vornik::Log10(std::max(pLuminance, kLeastLuminance)); });
        return;
    }
    for (int x = 0; x < fPicture.Width(); x++)
        pTo[x] = pPlane == SELVANE_PLANE_BASE ? base[x] : pPlane == SELVANE_PLANE_DETAIL ? log[x] - base[x] : log[x];
}

void cKeptRender::Report(selvane_report& pReport) const
{
    const cTmRenderer& r = *fRenderer;
    pReport.base_min = r.fBaseMin;
    pReport.base_max = r.fBaseMax;
    pReport.base_mean = static_cast<float>(r.fBaseAverage);
    pReport.detail_min = r.fDetailMin;
    pReport.detail_max = r.fDetailMax;
    pReport.detail_mean = static_cast<float>(r.fDetailAverage);
    pReport.black_point = r.fBlack;
    pReport.white_point = r.fWhite;
    pReport.clipped_black = fClippedBlack;
    pReport.clipped_white = fClippedWhite;
}

} // namespace SelvaneLib
