#ifndef SELVANE_HOST_EXPLAIN_PAGE_H
#define SELVANE_HOST_EXPLAIN_PAGE_H

// The page of `selvane explain`: one file of HTML with its pictures in it, which fetches nothing. Frame, style and
// script are files in host/explain/page; the script draws what the data say.

#include "explain/AreaMean.h"
#include "explain/Light.h"
#include "explain/ReportFile.h"
#include "picture/Bytes.h"

#include <string>

namespace SelvaneHost
{

/// A layer as a grey picture.
struct sLayerPicture
{
    tBytes fJpeg;
    double fFrom = 0.0; ///< value that is black, decades
    double fTo = 1.0;   ///< value that is white
};

/// All that the page shows.
struct sPage
{
    sRunFacts fFacts;
    tBytes fBefore; ///< JPEG, sRGB
    tBytes fAfter;  ///< JPEG, sRGB, of the same size
    int fWidth = 0; ///< of both
    int fHeight = 0;
    double fBeforeStops = 0.0; ///< exposure of the picture before
    sLayerPicture fBase;
    sLayerPicture fDetail;
    sHistogram fScene;
    sHistogram fMapped;
    double fBlack = 0.0;        ///< points on the scale of fMapped, not as logarithms
    double fWhite = 1.0;        ///< at exposure 0
    double fExposedWhite = 1.0; ///< with the exposure
    sAxis fCurveAxis;
    std::vector<sSpread> fCurve;
};

/// The page as HTML.
std::string PageText(const sPage& pPage);

extern const char* const kPageFrame;
extern const char* const kPageStyle;
extern const char* const kPageScript;

} // namespace SelvaneHost

#endif
