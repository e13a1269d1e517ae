#include "picture/Picture.h"

#include "picture/Errors.h"
#include "picture/ExponentPlanes.h"
#include "picture/SizeWatch.h"

#include <cstring>
#include <utility>

namespace SelvaneHost
{

namespace
{

bool IsInside(const sPicture& pPicture, const sArea& pArea)
{
    return pArea.fWidth >= 1 && pArea.fHeight >= 1 && pArea.fLeft >= 0 && pArea.fTop >= 0 &&
           int64_t{pArea.fLeft} + pArea.fWidth <= pPicture.fWidth &&
           int64_t{pArea.fTop} + pArea.fHeight <= pPicture.fHeight;
}

} // namespace

namespace
{

int64_t gMostPixels = 400'000'000;

} // namespace

int64_t MostPixels()
{
    return gMostPixels;
}

void SetMostPixels(int64_t pPixels)
{
    gMostPixels = pPixels;
}

size_t SampleBytes(eSampleForm pForm)
{
    if (pForm == eFloats) return sizeof(float);
    return pForm == eSamples16 ? sizeof(uint16_t) : 1;
}

size_t PixelBytes(const sPicture& pPicture)
{
    if (pPicture.fForm == eExponentPlanes) return 4;
    return SampleBytes(pPicture.fForm) * static_cast<size_t>(pPicture.fChannels);
}

size_t RowBytes(const sPicture& pPicture)
{
    return PixelBytes(pPicture) * static_cast<size_t>(pPicture.fWidth);
}

size_t AllBytes(const sPicture& pPicture)
{
    return RowBytes(pPicture) * static_cast<size_t>(pPicture.fHeight);
}

unsigned char* Row(sPicture& pPicture, int pRow)
{
    return pPicture.fPixels.data() + RowBytes(pPicture) * static_cast<size_t>(pRow);
}

const unsigned char* Row(const sPicture& pPicture, int pRow)
{
    return pPicture.fPixels.data() + RowBytes(pPicture) * static_cast<size_t>(pRow);
}

void SetSize(sPicture& pPicture, int64_t pWidth, int64_t pHeight, eSampleForm pForm, int pChannels)
{
    constexpr int64_t kLongestSide = INT32_MAX;
    if (pWidth < 1 || pHeight < 1) throw cHostError("the picture has no pixels");
    if (pWidth > kLongestSide || pHeight > kLongestSide || pWidth > gMostPixels / pHeight) {
        throw cHostError("a picture of " + std::to_string(pWidth) + " x " + std::to_string(pHeight) +
                         " pixels is too large: the most is " + std::to_string(gMostPixels / 1000000) +
                         " megapixels; --max-megapixels allows more");
    }
    pPicture.fWidth = static_cast<int>(pWidth);
    pPicture.fHeight = static_cast<int>(pHeight);
    pPicture.fForm = pForm;
    pPicture.fChannels = pChannels;
    cSizeWatch::Tell(pPicture);
}

void AllocatePixels(sPicture& pPicture, int64_t pWidth, int64_t pHeight, eSampleForm pForm, int pChannels)
{
    SetSize(pPicture, pWidth, pHeight, pForm, pChannels);
    pPicture.fPixels.resize(AllBytes(pPicture));
}

void Crop(sPicture& pPicture, const sArea& pArea)
{
    if (!IsInside(pPicture, pArea)) {
        throw cHostError("the crop does not lie inside the picture of " + std::to_string(pPicture.fWidth) + " x " +
                         std::to_string(pPicture.fHeight) + " pixels");
    }
    sPicture part;
    AllocatePixels(part, pArea.fWidth, pArea.fHeight, pPicture.fForm, pPicture.fChannels);
    // A row of exponent planes consists of four pieces, any other row of one.
    const size_t pieces = pPicture.fForm == eExponentPlanes ? 4 : 1;
    const size_t fromBytes = RowBytes(pPicture) / pieces;
    const size_t toBytes = RowBytes(part) / pieces;
    const size_t left = toBytes / static_cast<size_t>(pArea.fWidth) * static_cast<size_t>(pArea.fLeft);
    const unsigned char* const from = Row(std::as_const(pPicture), pArea.fTop) + left;
    for (size_t i = 0; i < static_cast<size_t>(pArea.fHeight) * pieces; i++)
        std::memcpy(part.fPixels.data() + i * toBytes, from + i * fromBytes, toBytes);
    pPicture.fWidth = part.fWidth;
    pPicture.fHeight = part.fHeight;
    pPicture.fPixels = std::move(part.fPixels);
}

void DropAlpha(sPicture& pPicture)
{
    if (pPicture.fChannels != 4) return;
    const size_t from = PixelBytes(pPicture);
    pPicture.fChannels = 3;
    const size_t to = PixelBytes(pPicture);
    unsigned char* const bytes = pPicture.fPixels.data();
    for (size_t i = 0; i < AllBytes(pPicture) / to; i++)
        std::memmove(bytes + i * to, bytes + i * from, to);
    pPicture.fPixels.resize(AllBytes(pPicture));
}

void MakeEntryForm(sPicture& pPicture)
{
    DropAlpha(pPicture);
    if (pPicture.fForm != eFloats) return;
    const tBytes floats = std::move(pPicture.fPixels);
    AllocatePixels(pPicture, pPicture.fWidth, pPicture.fHeight, eExponentPlanes);
    for (int y = 0; y < pPicture.fHeight; y++) {
        const auto* const row = reinterpret_cast<const float*>(floats.data()) + ptrdiff_t{3} * pPicture.fWidth * y;
        ToExponentRow(row, row + 1, row + 2, 3, pPicture.fWidth, Row(pPicture, y));
    }
}

} // namespace SelvaneHost
