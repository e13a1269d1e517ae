#include "color/Space.h"

#include <selvane.h>

#include <utility>

namespace SelvaneHost
{

void SetSpace(sPicture& pPicture, std::optional<int> pSpace)
{
    const bool linear = pPicture.fForm == eExponentPlanes || pPicture.fForm == eFloats;
    pPicture.fColor = {};
    pPicture.fColor.fIsNamed = pSpace.has_value();
    pPicture.fColor.fPrimaries = pSpace.value_or(SELVANE_SRGB);
    pPicture.fColor.fOutput = pPicture.fColor.fPrimaries;
    pPicture.fColor.fTransfer = linear ? SELVANE_TRANSFER_LINEAR : SELVANE_TRANSFER_ENGINE;
}

void SetColor(sPicture& pPicture, sColor pColor)
{
    const bool integers = pPicture.fForm == eSamples8 || pPicture.fForm == eSamples16;
    const bool curve = pColor.fTransfer == SELVANE_TRANSFER_SRGB;
    pColor.fOutput = integers && curve && pColor.fPrimaries == SELVANE_DISPLAY_P3 ? SELVANE_DISPLAY_P3 : SELVANE_SRGB;
    pPicture.fColor = std::move(pColor);
}

} // namespace SelvaneHost
