#include "read/RadianceReader.h"

#include "color/Interpret.h"
#include "picture/Errors.h"
#include "read/ReaderSteps.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <sstream>
#include <string_view>

namespace SelvaneHost
{

namespace
{

constexpr size_t kLongestHeader = 1 << 20; // bytes
constexpr int kShortestRunWidth = 8;       // pixels; narrower scanlines never have the new form
constexpr int kLongestRunWidth = 0x7FFF;   // pixels; wider scanlines never have the new form
constexpr size_t kPixelBytes = 4;          // red, green, blue, exponent
constexpr unsigned char kNewFormMark = 2;  // first two bytes of a scanline in the new form
constexpr int kRun = 128;                  // a count above this is a run of count - 128 bytes
constexpr int kLongestOldShift = 24;       // bits; a longer chain of old run counts does not fit in 32 bits

/// An axis of the picture, as the header gives it: "-Y 480".
struct sAxis
{
    char fSign = 0;
    char fLetter = 0;
    int64_t fLength = 0; // pixels
};

struct sHeader
{
    std::string fFormat;
    std::string fPrimaries;
    sAxis fSlow; // across the scanlines
    sAxis fFast; // along a scanline
};

/// A place in the file.
class cCursor
{
public:
    explicit cCursor(const tBytes& pBytes) : fBytes(pBytes) {}

    /// Takes a line of the header, without its end.
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

    /// Takes the next pCount bytes.
    const unsigned char* Take(size_t pCount)
    {
        if (Left() < pCount) Damaged("it ends before its last pixel");
        const unsigned char* const bytes = fBytes.data() + fAt;
        fAt += pCount;
        return bytes;
    }

    /// Returns whether the next four bytes begin a scanline in the new form. Takes none of them.
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

/// Reads "-Y 480 +X 640" or one of the seven other orientations.
void ReadResolution(std::string_view pLine, sHeader& pHeader)
{
    std::istringstream words{std::string(pLine)};
    std::string first, firstLength, second, secondLength;
    words >> first >> firstLength >> second >> secondLength;
    if (first.size() != 2 || second.size() != 2 || !IsAxis(first[0], first[1]) || !IsAxis(second[0], second[1]) ||
        first[1] == second[1])
        Damaged("its header gives no size");
    pHeader.fSlow = {first[0], first[1], Length(firstLength)};
    pHeader.fFast = {second[0], second[1], Length(secondLength)};
}

sHeader ReadHeader(cCursor& pCursor)
{
    sHeader header;
    pCursor.Line(); // "#?RADIANCE" or another name
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

/// Reads the four components of a scanline one after the other. Each consists of runs and literal pieces. A run is a
/// count above 128 and one byte, which stands for count - 128 equal bytes.
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

/// Reads a scanline pixel by pixel. The pixel 1, 1, 1, n repeats the pixel before it n times. Several such pixels in a
/// row form one count, lowest byte first.
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

/// Reads a scanline.
/// @param pPut is called with (x, component, byte) for each byte
template <typename tPut>
void ReadScanline(cCursor& pCursor, size_t pWidth, const tPut& pPut)
{
    const bool mayBeNew = pWidth >= kShortestRunWidth && pWidth <= kLongestRunWidth;
    if (mayBeNew && pCursor.AtNewForm())
        ReadNewForm(pCursor, pWidth, pPut);
    else
        ReadOldForm(pCursor, pWidth, pPut);
}

/// Reads all scanlines and keeps none, so that a damaged or cut file is refused before the picture takes memory.
void CheckScanlines(cCursor pCursor, const sHeader& pHeader)
{
    for (int64_t i = 0; i < pHeader.fSlow.fLength; i++)
        ReadScanline(pCursor, static_cast<size_t>(pHeader.fFast.fLength), [](size_t, size_t, unsigned char) {});
}

/// Reads all scanlines into the upright picture. X grows to the right and Y upwards, so a slow axis "-Y" begins at the
/// top.
void ReadPixels(cCursor& pCursor, const sHeader& pHeader, sPicture& pPicture)
{
    const size_t rows = static_cast<size_t>(pHeader.fSlow.fLength);
    const size_t columns = static_cast<size_t>(pHeader.fFast.fLength);
    const size_t width = static_cast<size_t>(pPicture.fWidth);
    const bool slowIsY = pHeader.fSlow.fLetter == 'Y';
    const bool slowBackwards = pHeader.fSlow.fSign == (slowIsY ? '+' : '-');
    const bool fastBackwards = pHeader.fFast.fSign == (slowIsY ? '-' : '+');
    const size_t slowStep = slowIsY ? RowBytes(pPicture) : 1;
    const size_t fastStep = slowIsY ? 1 : RowBytes(pPicture);
    for (size_t i = 0; i < rows; i++) {
        unsigned char* const first = pPicture.fPixels.data() + slowStep * (slowBackwards ? rows - 1 - i : i);
        ReadScanline(pCursor, columns, [=](size_t pAt, size_t pComponent, unsigned char pByte) {
            first[fastStep * (fastBackwards ? columns - 1 - pAt : pAt) + pComponent * width] = pByte;
        });
    }
}

sColorNotes NotesOf(const std::string& pPrimaries)
{
    if (pPrimaries.empty()) return {};
    std::istringstream words(pPrimaries);
    std::array<float, 8> chromaticities{}; // zeros are none of the known ones
    for (float& value : chromaticities)
        words >> value;
    return {.fChromaticities = words ? chromaticities : std::array<float, 8>{}};
}

} // namespace

bool LooksLikeRadiance(const tBytes& pBytes)
{
    return BeginsWith(pBytes, "#?");
}

sPicture ReadRadiance(const tBytes& pBytes, const sReadOptions& pOptions)
{
    cCursor cursor(pBytes);
    const sHeader header = ReadHeader(cursor);
    CheckFormat(header.fFormat);
    const bool slowIsY = header.fSlow.fLetter == 'Y';
    const sAxis& x = slowIsY ? header.fFast : header.fSlow;
    const sAxis& y = slowIsY ? header.fSlow : header.fFast;
    sPicture picture;
    SetSize(picture, x.fLength, y.fLength, eExponentPlanes);
    CheckClaim(picture, pBytes.size());
    CheckScanlines(cursor, header);
    Interpret(picture, NotesOf(header.fPrimaries), pOptions);
    picture.fPixels.resize(AllBytes(picture));
    ReadPixels(cursor, header, picture);
    return picture;
}

} // namespace SelvaneHost
