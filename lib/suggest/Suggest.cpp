#include "suggest/Suggest.h"

namespace SelvaneLib
{

sSuggestion Suggest(const sScene& /*pScene*/, const tRenderPreview& /*pRender*/)
{
    const sLook look{.fCompression = 100, .fSmoothness = -4.9f, .fAdaptation = 2.5f, .fWhiteClip = 12.5f, .fBlackClip = 0.6f, .fRadius = -10};
    return {look, {{"fixed", "The settings are the same for every picture.", 0.0}}};
}

} // namespace SelvaneLib
