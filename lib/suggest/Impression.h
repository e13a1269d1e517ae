#ifndef SELVANE_LIB_SUGGEST_IMPRESSION_H
#define SELVANE_LIB_SUGGEST_IMPRESSION_H

// What a preview looks like.

#include "suggest/Character.h"

namespace SelvaneLib
{

struct sImpression
{
    double fMean = 0.0;      ///< grey level
    double fContrast = 0.0;  ///< local, grey levels
    double fStructure = 0.0; ///< how much structure can be seen, 0 to 1
    double fBurnt = 0.0;     ///< share of pixels that are burnt: grey level 243 and above
    double fBlocked = 0.0;   ///< share of pixels that are black
    double fShadow = 0.0;    ///< grey level below which a quarter lies
    double fHighlight = 0.0; ///< grey level below which 98 per cent lie
};

/// @param pRGB8 preview of the scene; only the weights and the size of the scene are read
sImpression ImpressionOf(const sScene& pScene, const unsigned char* pRGB8);

/// What the look should achieve.
struct sAim
{
    double fMean = 0.0;      ///< grey level
    double fContrast = 0.0;  ///< local, grey levels
    double fBurnt = 0.0;     ///< largest share of burnt pixels
    double fShadow = 0.0;    ///< least grey level below which a quarter lies
    double fHighlight = 0.0; ///< least grey level below which 98 per cent lie
};

sAim AimFor(const sCharacter& pCharacter);

/// Higher is better; 1 is perfect, there is no lower end.
double Score(const sImpression& pImpression, const sAim& pAim);

} // namespace SelvaneLib

#endif
