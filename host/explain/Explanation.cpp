#include "explain/Explanation.h"

#include "explain/Jpeg.h"
#include "explain/PlainStops.h"
#include "picture/Errors.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace SelvaneHost
{

namespace
{

constexpr int kColumns = 120;         // of histograms and curve
constexpr double kShareBelow = 0.001; // of the pixels, left of an axis
constexpr double kMargin = 0.3;       // decades left of that share
constexpr double kMostGap = 1.0;      // decades by which the black point may lengthen an axis
constexpr double kShareCut = 0.005;   // of a layer's pixels, at both ends of its greys
constexpr float kLeastDetail = 0.05F; // decades from middle grey to black
constexpr double kLeastBase = 0.1;    // decades from black to white
constexpr double kRed = 0.2126, kGreen = 0.7152, kBlue = 0.0722; // of luminance, sRGB

void Must(int pStatus, const selvane* pHandle)
{
    if (pStatus != SELVANE_OK) throw cHostError(std::string("cannot be explained: ") + selvane_error(pHandle));
}

/// The render of the whole picture: linear samples of sRGB.
struct sRender
{
    int fWidth = 0, fHeight = 0;
    int fChannels = 3; ///< 4 with alpha
    std::vector<uint16_t> fSamples;

    size_t Pixels() const { return static_cast<size_t>(fWidth) * static_cast<size_t>(fHeight); }
};

sRender RenderWhole(selvane* pHandle, bool pHasAlpha)
{
    selvane_report report{};
    report.struct_size = sizeof report;
    Must(selvane_get_report(pHandle, &report), pHandle);
    sRender render{report.width, report.height, pHasAlpha ? 4 : 3, {}};
    render.fSamples.resize(render.Pixels() * static_cast<size_t>(render.fChannels));
    selvane_target target;
    selvane_target_init(&target);
    target.width = render.fWidth;
    target.height = render.fHeight;
    target.format = SELVANE_U16;
    target.channels = render.fChannels;
    target.linear = 1;
    target.pixels = render.fSamples.data();
    Must(selvane_render(pHandle, &target), pHandle);
    return render;
}

std::vector<float> PlaneOf(selvane* pHandle, selvane_plane pPlane, size_t pPixels)
{
    std::vector<float> plane(pPixels);
    Must(selvane_get_plane(pHandle, pPlane, plane.data(), 0), pHandle);
    return plane;
}

/// 1 for each pixel that counts; empty if all do.
std::vector<unsigned char> VisibleOf(const sRender& pRender)
{
    std::vector<unsigned char> visible;
    if (pRender.fChannels < 4) return visible;
    visible.reserve(pRender.Pixels());
    for (size_t i = 3; i < pRender.fSamples.size(); i += 4)
        visible.push_back(pRender.fSamples[i] != 0 ? 1 : 0);
    return visible;
}

/// Fills the histograms, the points and the curve.
void SampleLight(selvane* pHandle, const sRender& pRender, sPage& pPage)
{
    const selvane_report& report = pPage.fFacts.fDeveloped.fReport;
    pPage.fBlack = static_cast<double>(report.black_point);
    pPage.fWhite = static_cast<double>(report.white_point);
    pPage.fExposedWhite =
        pPage.fBlack +
        (pPage.fWhite - pPage.fBlack) * std::exp2(-static_cast<double>(pPage.fFacts.fDeveloped.fSettings.exposure));
    const std::vector<unsigned char> visible = VisibleOf(pRender);
    const std::vector<float> scene = PlaneOf(pHandle, SELVANE_PLANE_LUMINANCE, pRender.Pixels());
    const std::vector<float> mapped = PlaneOf(pHandle, SELVANE_PLANE_MAPPED, pRender.Pixels());
    const sPlanes planes{pRender.Pixels(), scene.data(),
                         mapped.data(),    visible.empty() ? nullptr : visible.data(),
                         pPage.fBlack,     pPage.fExposedWhite};
    const sAxis axis = AxisOf(scene.data(), planes, kShareBelow, kMargin, kColumns);
    pPage.fScene = HistogramOf(scene.data(), planes, axis);
    sAxis mappedAxis = AxisOf(mapped.data(), planes, kShareBelow, kMargin, kColumns);
    for (const double point : {pPage.fWhite, pPage.fExposedWhite})
        if (point > 0.0) mappedAxis.fTo = std::max(mappedAxis.fTo, std::log10(point) + kMargin);
    if (pPage.fBlack > 0.0) // as far as it is not far from every pixel
        mappedAxis.fFrom =
            std::clamp(std::log10(pPage.fBlack) - kMargin, mappedAxis.fFrom - kMostGap, mappedAxis.fFrom);
    pPage.fMapped = HistogramOf(mapped.data(), planes, mappedAxis);
    cToneCurve curve(axis);
    for (size_t i = 0; i < pRender.Pixels(); i++) {
        if (planes.fVisible != nullptr && planes.fVisible[i] == 0) continue;
        const uint16_t* const pixel = pRender.fSamples.data() + i * static_cast<size_t>(pRender.fChannels);
        curve.Add(static_cast<double>(scene[i]), (kRed * pixel[0] + kGreen * pixel[1] + kBlue * pixel[2]) / 65535.0);
    }
    pPage.fCurveAxis = axis;
    pPage.fCurve = curve.Spreads();
}

/// The render, reduced in linear light.
tBytes AfterPicture(const sRender& pRender, int pWidth, int pHeight)
{
    cAreaMean mean(pRender.fWidth, pRender.fHeight, 3, pWidth, pHeight);
    std::vector<float> row(3 * static_cast<size_t>(pRender.fWidth));
    const uint16_t* pixel = pRender.fSamples.data();
    for (int y = 0; y < pRender.fHeight; y++) {
        for (size_t x = 0; x < row.size(); x += 3, pixel += pRender.fChannels)
            std::copy_n(pixel, 3, row.data() + x);
        mean.AddRow(row.data());
    }
    tBytes samples;
    for (const float value : mean.Mean().fValues)
        samples.push_back(
            static_cast<unsigned char>(std::lround(255.0 * EncodeSrgb(static_cast<double>(value) / 65535.0))));
    return JpegOf(samples, pWidth, pHeight, 3);
}

tBytes BeforePicture(selvane* pHandle, int pLongest, int pWidth, int pHeight, double pStops)
{
    tBytes samples(3 * static_cast<size_t>(pWidth) * static_cast<size_t>(pHeight));
    selvane_target target;
    selvane_target_init(&target);
    target.width = pWidth;
    target.height = pHeight;
    target.format = SELVANE_U8;
    target.pixels = samples.data();
    Must(selvane_plain(pHandle, static_cast<float>(pStops), pLongest, &target), pHandle);
    return JpegOf(samples, pWidth, pHeight, 3);
}

/// The value below which a share of the values lies.
float QuantileOf(std::vector<float> pValues, double pShare)
{
    const auto at = static_cast<std::ptrdiff_t>(pShare * static_cast<double>(pValues.size() - 1));
    std::nth_element(pValues.begin(), pValues.begin() + at, pValues.end());
    return pValues[static_cast<size_t>(at)];
}

sFloats ReducedPlane(selvane* pHandle, selvane_plane pPlane, const sRender& pRender, int pWidth, int pHeight)
{
    const std::vector<float> plane = PlaneOf(pHandle, pPlane, pRender.Pixels());
    cAreaMean mean(pRender.fWidth, pRender.fHeight, 1, pWidth, pHeight);
    for (int y = 0; y < pRender.fHeight; y++)
        mean.AddRow(plane.data() + static_cast<size_t>(y) * static_cast<size_t>(pRender.fWidth));
    return mean.Mean();
}

sLayerPicture GreyPicture(const sFloats& pLayer, double pFrom, double pTo)
{
    tBytes samples;
    for (const float value : pLayer.fValues) {
        const double share = (static_cast<double>(value) - pFrom) / (pTo - pFrom);
        samples.push_back(static_cast<unsigned char>(std::lround(255.0 * std::clamp(share, 0.0, 1.0))));
    }
    return {JpegOf(samples, pLayer.fWidth, pLayer.fHeight, 1), pFrom, pTo};
}

sLayerPicture BasePicture(const sFloats& pBase)
{
    const auto low = static_cast<double>(QuantileOf(pBase.fValues, kShareCut));
    const auto high = static_cast<double>(QuantileOf(pBase.fValues, 1.0 - kShareCut));
    return GreyPicture(pBase, low, std::max(high, low + kLeastBase));
}

/// Middle grey is no detail.
sLayerPicture DetailPicture(const sFloats& pDetail)
{
    const float low = QuantileOf(pDetail.fValues, kShareCut), high = QuantileOf(pDetail.fValues, 1.0 - kShareCut);
    const auto most = static_cast<double>(std::max({std::fabs(low), std::fabs(high), kLeastDetail}));
    return GreyPicture(pDetail, -most, most);
}

} // namespace

sPage Explained(selvane* pHandle, const sLook& pLook, int pLongest, bool pHasAlpha, bool pIsDisplay)
{
    sPage page;
    const selvane_settings settings = SetSettings(pHandle, pLook);
    const sRender render = RenderWhole(pHandle, pHasAlpha);
    page.fFacts.fDeveloped = DevelopedBy(pHandle, pLook, settings);
    SampleLight(pHandle, render, page);
    Must(selvane_preview_size(pHandle, pLongest, &page.fWidth, &page.fHeight), pHandle);
    page.fAfter = AfterPicture(render, page.fWidth, page.fHeight);
    page.fBeforeStops = pIsDisplay ? 0.0 : PlainStops(pHandle);
    page.fBefore = BeforePicture(pHandle, pLongest, page.fWidth, page.fHeight, page.fBeforeStops);
    page.fBase = BasePicture(ReducedPlane(pHandle, SELVANE_PLANE_BASE, render, page.fWidth, page.fHeight));
    page.fDetail = DetailPicture(ReducedPlane(pHandle, SELVANE_PLANE_DETAIL, render, page.fWidth, page.fHeight));
    return page;
}

} // namespace SelvaneHost
