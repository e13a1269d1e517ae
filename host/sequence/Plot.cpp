#include "sequence/Plot.h"

#include "job/CommandSteps.h"
#include "write/OutputFile.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>

// The drawing, in pixels: two panels one above the other, each with its scale on the left, and the frames below.
//
//     kLeft           kLeft + kPlotWidth
//     +--------------------+ kTops[0]
//     |  points            |
//     +--------------------+
//     +--------------------+ kTops[1]
//     |  sliders           |
//     +--------------------+
//       frames

namespace SelvaneHost
{

namespace
{

constexpr double kWidth = 960, kHeight = 620;
constexpr double kLeft = 80, kPlotWidth = 850;
constexpr double kPanelHeight = 220;
constexpr std::array<double, 2> kTops = {50, 330};
constexpr double kLeastLog = -6.0; // decades; a black point of 0 is drawn here
constexpr int kMostTicks = 10;

/// A value over the frames.
struct sCurve
{
    const char* fName;
    const char* fColor;
    double (*fValue)(const selvane_frame&);
};

double Log(float pPoint)
{
    return pPoint > 0.0F ? std::max(kLeastLog, std::log10(static_cast<double>(pPoint))) : kLeastLog;
}

struct sPanel
{
    const char* fTitle;
    std::array<sCurve, 2> fCurves;
};

const std::array<sPanel, 2> kPanels = {{
    {"black and white point: log10 of luminance",
     {{{"white point", "#d95f02", [](const selvane_frame& f) { return Log(f.white_point); }},
       {"black point", "#1b6ca8", [](const selvane_frame& f) { return Log(f.black_point); }}}}},
    {"sliders",
     {{{"compression", "#7b3294", [](const selvane_frame& f) { return static_cast<double>(f.compression); }},
       {"contrast", "#2a8a4a", [](const selvane_frame& f) { return static_cast<double>(f.contrast); }}}}},
}};

/// Appends a line of text, as std::printf has it.
template <class... tArguments>
void Put(std::string& pSvg, const char* pFormat, tArguments... pArguments)
{
    std::array<char, 400> line{};
    std::snprintf(line.data(), line.size(), pFormat, pArguments...);
    pSvg.append(line.data()).append(1, '\n');
}

/// Where frames and values lie on the page.
class cScale
{
public:
    cScale(const sPoints& pPoints, const sPanel& pPanel, double pTop) : fTop(pTop), fFrames(pPoints.fFrames.size())
    {
        double least = 1e30, most = -1e30;
        for (const sFrame& frame : pPoints.fFrames)
            for (const sCurve& curve : pPanel.fCurves)
                for (const selvane_frame* values : {&frame.fMeasured, &frame.fSmooth}) {
                    least = std::min(least, curve.fValue(*values));
                    most = std::max(most, curve.fValue(*values));
                }
        fStep = StepFor(std::max(most - least, 0.1));
        fLeast = std::floor(least / fStep) * fStep;
        fMost = std::max(std::ceil(most / fStep) * fStep, fLeast + fStep);
    }

    double X(double pFrame) const { return kLeft + kPlotWidth * (pFrame + 0.5) / static_cast<double>(fFrames); }
    double Y(double pValue) const { return fTop + kPanelHeight * (fMost - pValue) / (fMost - fLeast); }
    double Least() const { return fLeast; }
    double Most() const { return fMost; }
    double Step() const { return fStep; }

    /// A step of 1, 2 or 5 times a power of ten that gives at most kMostTicks ticks.
    static double StepFor(double pRange)
    {
        const double power = std::pow(10.0, std::floor(std::log10(pRange / kMostTicks)));
        for (const double factor : {1.0, 2.0, 5.0})
            if (pRange / (factor * power) <= kMostTicks) return factor * power;
        return 10.0 * power;
    }

private:
    double fTop;
    size_t fFrames;
    double fLeast = 0.0, fMost = 1.0, fStep = 1.0;
};

void DrawGrid(std::string& pSvg, const sPanel& pPanel, const cScale& pScale, double pTop)
{
    Put(pSvg, R"(<text x="%g" y="%g" font-weight="bold">%s</text>)", kLeft, pTop - 12, pPanel.fTitle);
    const long steps = std::lround((pScale.Most() - pScale.Least()) / pScale.Step());
    for (long i = 0; i <= steps; i++) {
        const double value = pScale.Least() + static_cast<double>(i) * pScale.Step();
        const double y = pScale.Y(value);
        const double shown = std::fabs(value) < 1e-9 ? 0.0 : value;
        Put(pSvg, R"(<line x1="%g" y1="%.1f" x2="%g" y2="%.1f" stroke="#ddd"/>)", kLeft, y, kLeft + kPlotWidth, y);
        Put(pSvg, R"(<text x="%g" y="%.1f" text-anchor="end">%g</text>)", kLeft - 8, y + 4, shown);
    }
}

void DrawCurve(std::string& pSvg, const sPoints& pPoints, const sCurve& pCurve, const cScale& pScale)
{
    std::string path;
    for (size_t i = 0; i < pPoints.fFrames.size(); i++) {
        const sFrame& frame = pPoints.fFrames[i];
        const double x = pScale.X(static_cast<double>(i));
        const bool isOdd = frame.fSmooth.odd == 1;
        Put(pSvg, R"(<circle cx="%.1f" cy="%.1f" r="%g" fill="%s" stroke="%s" opacity="0.6"/>)", x,
            pScale.Y(pCurve.fValue(frame.fMeasured)), isOdd ? 5.0 : 2.0, isOdd ? "none" : pCurve.fColor, pCurve.fColor);
        const bool begins = i == 0 || frame.fSmooth.cut == 1;
        Put(path, "%c%.1f %.1f", begins ? 'M' : 'L', x, pScale.Y(pCurve.fValue(frame.fSmooth)));
    }
    pSvg +=
        "<path fill=\"none\" stroke-width=\"1.8\" stroke=\"" + std::string(pCurve.fColor) + "\" d=\"" + path + "\"/>\n";
}

void DrawCuts(std::string& pSvg, const sPoints& pPoints, const cScale& pScale, double pTop)
{
    for (size_t i = 0; i < pPoints.fFrames.size(); i++) {
        if (pPoints.fFrames[i].fSmooth.cut != 1) continue;
        const double x = pScale.X(static_cast<double>(i) - 0.5);
        Put(pSvg, R"(<line x1="%.1f" y1="%g" x2="%.1f" y2="%g" stroke="#888" stroke-dasharray="5 4"/>)", x, pTop, x,
            pTop + kPanelHeight);
        Put(pSvg, R"(<text x="%.1f" y="%g" fill="#666" font-size="11">cut</text>)", x + 4, pTop + 12);
    }
}

void DrawLegend(std::string& pSvg, const sPanel& pPanel, double pTop)
{
    double x = kLeft + kPlotWidth - 260;
    for (const sCurve& curve : pPanel.fCurves) {
        Put(pSvg, R"(<line x1="%g" y1="%g" x2="%g" y2="%g" stroke="%s" stroke-width="2.5"/>)", x, pTop - 16, x + 24,
            pTop - 16, curve.fColor);
        Put(pSvg, R"(<text x="%g" y="%g">%s</text>)", x + 30, pTop - 12, curve.fName);
        x += 130;
    }
}

void DrawPanel(std::string& pSvg, const sPoints& pPoints, const sPanel& pPanel, double pTop)
{
    const cScale scale(pPoints, pPanel, pTop);
    DrawGrid(pSvg, pPanel, scale, pTop);
    DrawCuts(pSvg, pPoints, scale, pTop);
    for (const sCurve& curve : pPanel.fCurves)
        DrawCurve(pSvg, pPoints, curve, scale);
    DrawLegend(pSvg, pPanel, pTop);
}

void DrawFrames(std::string& pSvg, const sPoints& pPoints)
{
    const cScale scale(pPoints, kPanels[0], kTops[0]);
    const size_t count = pPoints.fFrames.size();
    const auto step = static_cast<size_t>(std::max(1.0, std::round(cScale::StepFor(static_cast<double>(count)))));
    const double y = kTops[1] + kPanelHeight + 20;
    for (size_t frame = 0; frame < count; frame += step)
        Put(pSvg, R"(<text x="%.1f" y="%g" text-anchor="middle">%zu</text>)", scale.X(static_cast<double>(frame)), y,
            frame + 1);
    Put(pSvg, R"(<text x="%g" y="%g">frame; dots: measured, lines: smoothed, rings: odd frames, left out</text>)",
        kLeft, y + 26);
}

} // namespace

std::string Plot(const sPoints& pPoints)
{
    std::string svg;
    Put(svg, R"(<svg xmlns="http://www.w3.org/2000/svg" width="%g" height="%g" viewBox="0 0 %g %g")", kWidth, kHeight,
        kWidth, kHeight);
    Put(svg, R"( font-family="sans-serif" font-size="13">)");
    Put(svg, R"(<rect width="100%%" height="100%%" fill="white"/>)");
    for (size_t i = 0; i < kPanels.size(); i++)
        DrawPanel(svg, pPoints, kPanels[i], kTops[i]);
    DrawFrames(svg, pPoints);
    svg += "</svg>\n";
    return svg;
}

void WritePlot(const sPoints& pPoints, const std::string& pPath)
{
    const std::string text = Plot(pPoints);
    const std::span bytes(reinterpret_cast<const unsigned char*>(text.data()), text.size());
    About(pPath, [&] { WriteFile(pPath, {bytes}); });
}

} // namespace SelvaneHost
