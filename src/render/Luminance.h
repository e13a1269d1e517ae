#ifndef SELVANE_RENDER_LUMINANCE_H
#define SELVANE_RENDER_LUMINANCE_H

// The new luminance of the picture and what is measured of it, internal.

#include "base/Versions.h"
#include "render/Layers.h"

#include <cstddef>

namespace Vornik
{

class cBitmapU16T;

/// Running extremes of the new luminance. fMin begins at the product of the largest entries of the two tables, which no
/// pixel exceeds.
struct sLuminance
{
    float fMin;
    float fMax = 0.0f;

    /// Takes a pixel; call it in picture order. Required: a value that sets a new maximum is not compared with the
    /// minimum, so the minimum depends on the order. NaN changes neither.
    SELVANE_INLINE void Add(float pValue)
    {
        if (pValue > fMax)
            fMax = pValue;
        else
            fMin = pValue < fMin ? pValue : fMin;
    }
};

/// Where the pixels of the new luminance stand.
///
///     records   the luminance fields of the compact picture; the detail has a plane of its own
///     plane     the plane of the logarithm, pixel by pixel over it; the detail is the logarithm minus the base
class cLuminanceRows
{
public:
    /// The records of a compact picture of pWidth x pHeight pixels. pBase and pDetail are planes of that size.
    cLuminanceRows(const cBitmapU16T& pRecords, const float* pBase, const float* pDetail, int pWidth, int pHeight)
        : fRecords(&pRecords), fPlane(nullptr), fBase(pBase), fDetail(pDetail), fWidth(pWidth), fHeight(pHeight)
    {
    }

    /// The plane of the logarithm.
    cLuminanceRows(float* pLogLuminance, const float* pBase, int pWidth, int pHeight)
        : fRecords(nullptr), fPlane(pLogLuminance), fBase(pBase), fDetail(pBase), fWidth(pWidth), fHeight(pHeight)
    {
    }

    int Width() const { return fWidth; }
    int Height() const { return fHeight; }
    bool AreRecords() const { return fRecords != nullptr; }

    /// The first luminance of a row. The next ones follow at a distance of kYHMVBytes or of a float.
    unsigned char* Row(int pRow) const;
    const float* BaseRow(int pRow) const { return fBase + First(pRow); }
    const float* DetailRow(int pRow) const { return fDetail + First(pRow); }

private:
    ptrdiff_t First(int pRow) const { return static_cast<ptrdiff_t>(pRow) * fWidth; }

    const cBitmapU16T* fRecords;
    float* fPlane;
    const float* fBase;
    const float* fDetail; ///< of records
    int fWidth;
    int fHeight;
};

/// How base and detail become luminance: a table for each layer.
struct sRemapping
{
    sLayers fLayers;
    const float* fGlobalTable;
    const float* fDetailTable;
    float fGlobalMax; ///< largest entry of fGlobalTable
    float fDetailMax; ///< largest entry of fDetailTable
};

/// A sum of luminances. fError bounds its distance from the sum in picture order; 0 if it is that sum. Neither need be
/// finite.
struct sLuminanceSum
{
    double fSum = 0.0;
    double fError = 0.0;
};

struct sNewLuminance
{
    sLuminance fExtremes;
    sLuminanceSum fSum;
};

/// Replaces the luminance of all rows and measures it. If *pCancel is set at the start of a row, the row is skipped and
/// the loop goes on.
sNewLuminance ReplaceLuminance(const cLuminanceRows& pRows, const sRemapping& pRemapping, const bool* pCancel,
                               bool* pCancelled);

/// The sum of the luminances of rows 0 to pRows - 1 in picture order, from the top left to the bottom right.
double SumInOrder(const cLuminanceRows& pPicture, int pRows);

} // namespace Vornik

#endif
