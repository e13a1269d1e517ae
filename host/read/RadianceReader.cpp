#include "read/RadianceReader.h"

#include "picture/Errors.h"
#include "picture/ProfileMatch.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <sstream>
#include <string_view>

namespace SelvaneHost
{

namespace
{

constexpr size_t kLongestHeader = 1 << 20; // bytes; what is longer is no header
constexpr int kShortestRunWidth = 8;       // pixels; scanlines below and above are never in the new form
constexpr int kLongestRunWidth = 0x7FFF;
constexpr size_t kPixelBytes = 4;         // red, green, blue, exponent
constexpr unsigned char kNewFormMark = 2; // first two bytes of a scanline in the new form
constexpr int kRun = 128;                 // counts above are runs of count - 128
constexpr int kLongestOldShift = 24;      // bits; a longer chain of old run counts would leave 32 bits

[[noreturn]] void Damaged(const char* pWhat)
{
    throw cHostError(std::string("the picture is damaged or cut short: ") + pWhat);
}

/// What the header says.
struct sHeader
{
    std::string fFormat;
    std::string fPrimaries;
    char fFirstSign = 0; // sign and letter of the slow axis, then of the fast one
    char fFirstAxis = 0;
    int64_t fFirstLength = 0;
    char fSecondSign = 0;
    char fSecondAxis = 0;
    int64_t fSecondLength = 0;
};

/// Walks over the bytes of the file.
class cCursor
{
public:
    explicit cCursor(const tBytes& pBytes) : fBytes(pBytes) {}

    std::string_view Line()
    {
        const char* const begin = reinterpret_cast<const char*>(fBytes.data()) + fAt;
        const size_t room = std::min(fBytes.size(), kLongestHeader) - std::min(fAt, kLongestHeader);
        const size_t length = std::string_view(begin, room).find('\n');
        if (length == std::string_view::npos) Damaged("its header has no end");
        fAt += length + 1;
        const std::string_view line(begin, length);
        return line.ends_with('\r') ? line.substr(0, length - 1) : line;
    }

    size_t Left() const { return fBytes.size() - fAt; }

    unsigned char Next()
    {
        if (fAt >= fBytes.size()) Damaged("it ends before its last pixel");
        return fBytes[fAt++];
    }

    /// The next pCount bytes.
    const unsigned char* Take(size_t pCount)
    {
        if (Left() < pCount) Damaged("it ends before its last pixel");
        const unsigned char* const bytes = fBytes.data() + fAt;
        fAt += pCount;
        return bytes;
    }

    /// True when four more bytes open a scanline in the new form; they are not consumed.
    bool AtNewForm() const
    {
        const unsigned char* const head = fBytes.data() + fAt;
        return Left() >= kPixelBytes && head[0] == kNewFormMark && head[1] == kNewFormMark && head[2] < kRun;
    }

private:
    const tBytes& fBytes;
    size_t fAt = 0;
};

bool IsAxis(char pSign, char pAxis)
{
    return (pSign == '-' || pSign == '+') && (pAxis == 'X' || pAxis == 'Y');
}

int64_t Length(const std::string& pText)
{
    int64_t length = 0;
    const auto [end, error] = std::from_chars(pText.data(), pText.data() + pText.size(), length);
    if (error != std::errc() || end != pText.data() + pText.size()) Damaged("its size is not a number");
    return length;
}

/// The line "-Y 480 +X 640" and its seven relatives.
void ReadResolution(std::string_view pLine, sHeader& pHeader)
{
    std::istringstream words{std::string(pLine)};
    std::string first, firstLength, second, secondLength;
    words >> first >> firstLength >> second >> secondLength;
    if (first.size() != 2 || second.size() != 2 || !IsAxis(first[0], first[1]) || !IsAxis(second[0], second[1]) ||
        first[1] == second[1])
        Damaged("its header gives no size");
    pHeader.fFirstSign = first[0];
    pHeader.fFirstAxis = first[1];
    pHeader.fFirstLength = Length(firstLength);
    pHeader.fSecondSign = second[0];
    pHeader.fSecondAxis = second[1];
    pHeader.fSecondLength = Length(secondLength);
}

sHeader ReadHeader(cCursor& pCursor)
{
    sHeader header;
    pCursor.Line(); // the identifier
    for (;;) {
        const std::string_view line = pCursor.Line();
        if (line.empty()) break;
        if (line.starts_with("FORMAT=")) header.fFormat = line.substr(7);
        if (line.starts_with("PRIMARIES=")) header.fPrimaries = line.substr(10);
    }
    ReadResolution(pCursor.Line(), header);
    return header;
}

void CheckFormat(const std::string& pFormat)
{
    if (pFormat == "32-bit_rle_xyze")
        throw cHostError("the picture holds XYZ colours; only Radiance pictures that hold RGB can be read");
    if (!pFormat.empty() && pFormat != "32-bit_rle_rgbe")
        throw cHostError("the picture holds samples of the form \"" + pFormat + "\", which is not known");
}

/// One component after the other, each as runs (count above 128: one byte, count - 128 times) and literal stretches.
template <typename tPut>
void ReadNewForm(cCursor& pCursor, size_t pWidth, const tPut& pPut)
{
    const unsigned char* const head = pCursor.Take(kPixelBytes);
    if (static_cast<size_t>(head[2] << 8 | head[3]) != pWidth) Damaged("a row has another length than its header");
    for (size_t component = 0; component < kPixelBytes; component++) {
        for (size_t x = 0; x < pWidth;) {
            const int code = pCursor.Next();
            const bool run = code > kRun;
            const size_t count = static_cast<size_t>(run ? code - kRun : code);
            if (count == 0 || count > pWidth - x) Damaged("a run of equal bytes leaves its row");
            const unsigned char* const bytes = pCursor.Take(run ? 1 : count);
            for (size_t i = 0; i < count; i++)
                pPut(x + i, component, run ? bytes[0] : bytes[i]);
            x += count;
        }
    }
}

/// Pixel after pixel; 1, 1, 1, n repeats the pixel before n times, and a chain of such counts is one number, its lowest
/// byte first.
template <typename tPut>
void ReadOldForm(cCursor& pCursor, size_t pWidth, const tPut& pPut)
{
    const unsigned char* before = nullptr;
    int shift = 0;
    for (size_t x = 0; x < pWidth;) {
        const unsigned char* const pixel = pCursor.Take(kPixelBytes);
        const bool repeats = pixel[0] == 1 && pixel[1] == 1 && pixel[2] == 1;
        if (repeats && (shift > kLongestOldShift || before == nullptr)) Damaged("a run of equal pixels leaves its row");
        const size_t count = repeats ? static_cast<size_t>(pixel[3]) << shift : 1;
        if (count > pWidth - x) Damaged("a run of equal pixels leaves its row");
        shift = repeats ? shift + 8 : 0;
        if (!repeats) before = pixel;
        for (size_t i = 0; i < count * kPixelBytes; i++)
            pPut(x + i / kPixelBytes, i % kPixelBytes, before[i % kPixelBytes]);
        x += count;
    }
}

/// Reads a scanline from its first pixel on.
/// @param pPut (x, component, byte): takes each byte
template <typename tPut>
void ReadScanline(cCursor& pCursor, size_t pWidth, const tPut& pPut)
{
    const bool mayBeNew = pWidth >= kShortestRunWidth && pWidth <= kLongestRunWidth;
    if (mayBeNew && pCursor.AtNewForm())
        ReadNewForm(pCursor, pWidth, pPut);
    else
        ReadOldForm(pCursor, pWidth, pPut);
}

/// Walks over all scanlines: what is damaged or cut short shows before the picture takes memory.
void CheckScanlines(cCursor pCursor, const sHeader& pHeader)
{
    for (int64_t i = 0; i < pHeader.fFirstLength; i++)
        ReadScanline(pCursor, static_cast<size_t>(pHeader.fSecondLength), [](size_t, size_t, unsigned char) {});
}

/// Reads scanline after scanline and puts each pixel where it belongs in the upright picture: X grows to the right and
/// Y upwards, so that a slow axis "-Y" begins at the top.
void ReadPixels(cCursor& pCursor, const sHeader& pHeader, sPicture& pPicture)
{
    const size_t rows = static_cast<size_t>(pHeader.fFirstLength);
    const size_t columns = static_cast<size_t>(pHeader.fSecondLength);
    const size_t width = static_cast<size_t>(pPicture.fWidth);
    const bool slowIsY = pHeader.fFirstAxis == 'Y';
    const bool slowBackwards = pHeader.fFirstSign == (slowIsY ? '+' : '-');
    const bool fastBackwards = pHeader.fSecondSign == (slowIsY ? '-' : '+');
    const size_t slowStep = slowIsY ? RowBytes(pPicture) : 1;
    const size_t fastStep = slowIsY ? 1 : RowBytes(pPicture);
    for (size_t i = 0; i < rows; i++) {
        unsigned char* const first = pPicture.fPixels.data() + slowStep * (slowBackwards ? rows - 1 - i : i);
        ReadScanline(pCursor, columns, [=](size_t pAt, size_t pComponent, unsigned char pByte) {
            first[fastStep * (fastBackwards ? columns - 1 - pAt : pAt) + pComponent * width] = pByte;
        });
    }
}

void ReadColorSpace(const std::string& pPrimaries, sPicture& pPicture)
{
    if (pPrimaries.empty()) return;
    std::istringstream words(pPrimaries);
    sPrimaries primaries;
    for (float* value : {&primaries.fRedX, &primaries.fRedY, &primaries.fGreenX, &primaries.fGreenY, &primaries.fBlueX,
                         &primaries.fBlueY})
        words >> *value;
    if (words) pPicture.fColorSpace = MatchPrimaries(primaries);
    if (!pPicture.fColorSpace) pPicture.fColorSpaceWarning = "its primaries are " + NoneOfTheThree();
}

} // namespace

bool LooksLikeRadiance(const tBytes& pBytes)
{
    return pBytes.size() >= 2 && pBytes[0] == '#' && pBytes[1] == '?';
}

sPicture ReadRadiance(const tBytes& pBytes)
{
    cCursor cursor(pBytes);
    const sHeader header = ReadHeader(cursor);
    CheckFormat(header.fFormat);
    const bool slowIsY = header.fFirstAxis == 'Y';
    sPicture picture;
    SetSize(picture, slowIsY ? header.fSecondLength : header.fFirstLength,
            slowIsY ? header.fFirstLength : header.fSecondLength, eExponentPlanes);
    CheckClaim(picture, pBytes.size());
    CheckScanlines(cursor, header);
    ReadColorSpace(header.fPrimaries, picture);
    picture.fPixels.resize(RowBytes(picture) * static_cast<size_t>(picture.fHeight));
    ReadPixels(cursor, header, picture);
    return picture;
}

} // namespace SelvaneHost
