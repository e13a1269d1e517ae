#include "read/PfmReader.h"

#include "color/Interpret.h"
#include "read/ReaderSteps.h"

#include <bit>
#include <charconv>
#include <cmath>
#include <cstring>
#include <string>

namespace SelvaneHost
{

namespace
{

constexpr size_t kLongestHeader = 1000; // bytes

struct sHeader
{
    size_t fChannels = 3;
    int64_t fWidth = 0;
    int64_t fHeight = 0;
    double fScale = 1.0; ///< negative: the floats begin with their lowest byte
    size_t fEnd = 0;     ///< first byte of the samples
};

bool IsBlank(unsigned char pByte)
{
    return pByte == ' ' || pByte == '\n' || pByte == '\t' || pByte == '\r';
}

/// Takes the next word of the header and the one blank behind it.
std::string Word(const tBytes& pBytes, size_t& pAt)
{
    std::string word;
    while (pAt < pBytes.size() && pAt < kLongestHeader && IsBlank(pBytes[pAt]))
        pAt++;
    while (pAt < pBytes.size() && pAt < kLongestHeader && !IsBlank(pBytes[pAt]))
        word += static_cast<char>(pBytes[pAt++]);
    if (pAt >= pBytes.size() || pAt >= kLongestHeader) Damaged("its header has no end");
    pAt++;
    return word;
}

template <typename tNumber>
tNumber Number(const std::string& pWord)
{
    tNumber number{};
    const auto [end, error] = std::from_chars(pWord.data(), pWord.data() + pWord.size(), number);
    if (error != std::errc() || end != pWord.data() + pWord.size()) Damaged("its header is not made of numbers");
    return number;
}

sHeader ReadHeader(const tBytes& pBytes)
{
    sHeader header;
    header.fChannels = Word(pBytes, header.fEnd) == "Pf" ? 1 : 3;
    header.fWidth = Number<int64_t>(Word(pBytes, header.fEnd));
    header.fHeight = Number<int64_t>(Word(pBytes, header.fEnd));
    header.fScale = Number<double>(Word(pBytes, header.fEnd));
    if (!std::isfinite(header.fScale) || header.fScale == 0.0) Damaged("its scale is no number");
    return header;
}

float FloatAt(const unsigned char* pAt, bool pLowestFirst)
{
    uint32_t bits = 0;
    for (size_t i = 0; i < 4; i++)
        bits = bits << 8 | pAt[pLowestFirst ? 3 - i : i];
    return std::bit_cast<float>(bits);
}

void ReadRow(const unsigned char* pFrom, const sHeader& pHeader, float* pTo)
{
    const auto scale = static_cast<float>(std::fabs(pHeader.fScale));
    for (int64_t x = 0; x < pHeader.fWidth; x++)
        for (size_t channel = 0; channel < 3; channel++) {
            const size_t sample = static_cast<size_t>(x) * pHeader.fChannels + (pHeader.fChannels == 1 ? 0 : channel);
            *pTo++ = scale * FloatAt(pFrom + 4 * sample, pHeader.fScale < 0.0);
        }
}

} // namespace

bool LooksLikePfm(const tBytes& pBytes)
{
    return (BeginsWith(pBytes, "PF") || BeginsWith(pBytes, "Pf")) && pBytes.size() > 2 && IsBlank(pBytes[2]);
}

sPicture ReadPfm(const tBytes& pBytes, const sReadOptions& pOptions)
{
    const sHeader header = ReadHeader(pBytes);
    sPicture picture;
    SetSize(picture, header.fWidth, header.fHeight, eFloats);
    const size_t rowBytes = 4 * header.fChannels * static_cast<size_t>(picture.fWidth);
    if ((pBytes.size() - header.fEnd) / rowBytes < static_cast<size_t>(picture.fHeight))
        Damaged("it ends before its last pixel");
    AllocatePixels(picture, header.fWidth, header.fHeight, eFloats);
    for (int y = 0; y < picture.fHeight; y++)
        ReadRow(pBytes.data() + header.fEnd + static_cast<size_t>(picture.fHeight - 1 - y) * rowBytes, header,
                reinterpret_cast<float*>(Row(picture, y)));
    Interpret(picture, {}, pOptions);
    return picture;
}

} // namespace SelvaneHost
