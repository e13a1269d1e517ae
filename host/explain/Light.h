#ifndef SELVANE_HOST_EXPLAIN_LIGHT_H
#define SELVANE_HOST_EXPLAIN_LIGHT_H

// What a render did with the light: histograms of log10 luminance and the curve from the scene to the display, sampled
// from the pixels of the render. A local tone mapper has no formula for that curve: pixels of one luminance get
// different ones, by what surrounds them. So each column of luminance tells how its pixels spread.

#include <cstddef>
#include <cstdint>
#include <vector>

namespace SelvaneHost
{

/// A part of the axis of log10 luminance, cut into equal columns.
struct sAxis
{
    double fFrom = 0.0; ///< log10
    double fTo = 1.0;   ///< log10, above fFrom
    int fColumns = 1;

    /// The column of a value; below 0 or fColumns for a value outside.
    int ColumnOf(double pLog) const;
};

/// Pixels by columns of log10 luminance.
struct sHistogram
{
    sAxis fAxis;
    std::vector<int64_t> fAll;   ///< pixels of a column
    std::vector<int64_t> fBlack; ///< those of them that became black
    std::vector<int64_t> fWhite; ///< those of them that became white
    int64_t fBelow = 0;          ///< pixels left of the axis
    int64_t fAbove = 0;          ///< pixels right of the axis
};

/// How the display luminance of a column's pixels spreads, as grey levels: 255 times the sample that sRGB gives to the
/// luminance. A column of few pixels tells nothing and has fCount alone.
struct sSpread
{
    int64_t fCount = 0;
    double fLeast = 0.0; ///< 5 per cent of the pixels lie below
    double fLower = 0.0; ///< 25 per cent
    double fMedian = 0.0;
    double fUpper = 0.0; ///< 75 per cent
    double fMost = 0.0;  ///< 95 per cent
};

constexpr int64_t kFewPixels = 12; ///< a column with fewer has no spread

/// The planes of a render, one value a pixel. Borrowed.
struct sPlanes
{
    size_t fPixels = 0;
    const float* fScene = nullptr;           ///< log10 luminance of the input
    const float* fMapped = nullptr;          ///< log10 of the new luminance
    const unsigned char* fVisible = nullptr; ///< 0: the pixel counts nowhere; null: all count
    double fBlack = 0.0;                     ///< new luminance that becomes black
    double fWhite = 1.0;                     ///< new luminance that becomes white, with the exposure
};

/// The axis from the luminance below which a share of the pixels lies, less a margin, to the largest one. pMargin in
/// decades. An axis is at least a tenth of a decade long.
sAxis AxisOf(const float* pLogs, const sPlanes& pPlanes, double pShareBelow, double pMargin, int pColumns);

/// Counts the pixels by one of the planes.
sHistogram HistogramOf(const float* pLogs, const sPlanes& pPlanes, const sAxis& pAxis);

/// Collects the display luminance of all pixels, and tells the spread of each column.
class cToneCurve
{
public:
    explicit cToneCurve(const sAxis& pAxis);

    /// @param pLog log10 luminance of the scene
    /// @param pDisplay linear luminance of the display, 0 to 1
    void Add(double pLog, double pDisplay);

    std::vector<sSpread> Spreads() const;

private:
    double LevelAt(int pColumn, int64_t pCount, double pShare) const;

    sAxis fAxis;
    std::vector<int64_t> fCounts; ///< column after column, by level
};

/// The sample that sRGB gives to a linear value, 0 to 1 for 0 to 1 (IEC 61966-2-1). Values outside are cut off.
double EncodeSrgb(double pLinear);

} // namespace SelvaneHost

#endif
