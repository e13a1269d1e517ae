#include "picture/Picture.h"

#include "picture/Errors.h"

#include <cstring>
#include <utility>

namespace SelvaneHost
{

namespace
{

// More than any file packs into a byte. Rows of one colour in the old run lengths of Radiance: 12 bytes for 65536
// pixels, 5461 a byte. Pixels of one bit: 8256 with deflate, which gives at most 1032 bytes for one, and 10898 with the
// LZW of TIFF. JPEG with Huffman codes: 512, one bit for a block of 64.
constexpr size_t kMostPixelsPerByte = 16384;

bool Inside(const sPicture& pPicture, const sArea& pArea)
{
    return pArea.fWidth >= 1 && pArea.fHeight >= 1 && pArea.fLeft >= 0 && pArea.fTop >= 0 &&
           int64_t{pArea.fLeft} + pArea.fWidth <= pPicture.fWidth &&
           int64_t{pArea.fTop} + pArea.fHeight <= pPicture.fHeight;
}

} // namespace

void SetSize(sPicture& pPicture, int64_t pWidth, int64_t pHeight, eSampleForm pForm)
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
}

void CheckClaim(const sPicture& pPicture, size_t pFileBytes)
{
    const size_t pixels = static_cast<size_t>(pPicture.fWidth) * static_cast<size_t>(pPicture.fHeight);
    if (pixels / kMostPixelsPerByte > pFileBytes) {
        throw cHostError("the picture is damaged or cut short: " + std::to_string(pFileBytes) +
                         " bytes cannot hold the " + std::to_string(pPicture.fWidth) + " x " +
                         std::to_string(pPicture.fHeight) + " pixels that it claims to have");
    }
}

void AllocatePixels(sPicture& pPicture, int64_t pWidth, int64_t pHeight, eSampleForm pForm)
{
    SetSize(pPicture, pWidth, pHeight, pForm);
    pPicture.fPixels.resize(RowBytes(pPicture) * static_cast<size_t>(pHeight));
}

void Crop(sPicture& pPicture, const sArea& pArea)
{
    if (!Inside(pPicture, pArea)) {
        throw cHostError("the crop does not lie inside the picture of " + std::to_string(pPicture.fWidth) + " x " +
                         std::to_string(pPicture.fHeight) + " pixels");
    }
    sPicture part;
    AllocatePixels(part, pArea.fWidth, pArea.fHeight, pPicture.fForm);
    // A row of exponent planes is four stretches of bytes, any other row is one.
    const size_t stretches = pPicture.fForm == eExponentPlanes ? 4 : 1;
    const size_t fromBytes = RowBytes(pPicture) / stretches;
    const size_t toBytes = RowBytes(part) / stretches;
    const size_t left = toBytes / static_cast<size_t>(pArea.fWidth) * static_cast<size_t>(pArea.fLeft);
    const size_t first = static_cast<size_t>(pArea.fTop) * stretches;
    for (size_t i = 0; i < static_cast<size_t>(pArea.fHeight) * stretches; i++)
        std::memcpy(part.fPixels.data() + i * toBytes, pPicture.fPixels.data() + (first + i) * fromBytes + left,
                    toBytes);
    pPicture.fWidth = part.fWidth;
    pPicture.fHeight = part.fHeight;
    pPicture.fPixels = std::move(part.fPixels);
}

} // namespace SelvaneHost
