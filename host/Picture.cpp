#include "Picture.h"

#include "Errors.h"

namespace SelvaneHost
{

void AllocatePixels(sPicture& pPicture, int64_t pWidth, int64_t pHeight, eSampleForm pForm)
{
    constexpr int64_t kLongestSide = INT32_MAX;
    if (pWidth < 1 || pHeight < 1) throw cHostError("the picture has no pixels");
    if (pWidth > kLongestSide || pHeight > kLongestSide || pWidth > kMostPixels / pHeight) {
        throw cHostError("a picture of " + std::to_string(pWidth) + " x " + std::to_string(pHeight) +
                         " pixels is too large: the most is " + std::to_string(kMostPixels / 1000000) + " megapixels");
    }
    pPicture.fWidth = static_cast<int>(pWidth);
    pPicture.fHeight = static_cast<int>(pHeight);
    pPicture.fForm = pForm;
    pPicture.fPixels.resize(RowBytes(pPicture) * static_cast<size_t>(pHeight));
}

} // namespace SelvaneHost
