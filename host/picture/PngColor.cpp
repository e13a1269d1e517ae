#include "picture/PngColor.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <new>
#include <selvane.h>
#include <span>
#include <zlib.h>

namespace SelvaneHost
{

namespace
{

constexpr size_t kSignature = 8;
constexpr size_t kChunkFrame = 12; // length, type, checksum
constexpr size_t kLongestName = 79;
constexpr unsigned char kPerceptual = 0;
constexpr size_t kGamma = 45455;                                 // 1 / 2.2, in 1 / 100000
constexpr std::array<size_t, 8> kChromaticities = {31270, 32900, // x and y of white
                                                   64000, 33000, // red
                                                   30000, 60000, // green
                                                   15000, 6000}; // blue
constexpr size_t kLargestProfile = 16 << 20; // bytes; a display profile has thousands, a printer profile millions

size_t Number32(const unsigned char* pBytes)
{
    return static_cast<size_t>(pBytes[0]) << 24 | static_cast<size_t>(pBytes[1]) << 16 |
           static_cast<size_t>(pBytes[2]) << 8 | pBytes[3];
}

void Put32(tBytes& pBytes, size_t pValue)
{
    for (int shift = 24; shift >= 0; shift -= 8)
        pBytes.push_back(static_cast<unsigned char>(pValue >> shift));
}

/// Inflates deflated data. Returns nothing if the data are damaged or inflate to more than pLimit bytes.
tBytes Inflate(const unsigned char* pBytes, size_t pSize, size_t pLimit)
{
    z_stream stream{};
    if (inflateInit(&stream) != Z_OK) return {};
    stream.next_in = const_cast<unsigned char*>(pBytes); // zlib only reads
    stream.avail_in = static_cast<uInt>(pSize);
    tBytes content;
    int state = Z_OK;
    while (state == Z_OK && content.size() < pLimit) {
        const size_t used = content.size();
        content.resize(std::min(pLimit, used + 4096 + used));
        stream.next_out = content.data() + used;
        stream.avail_out = static_cast<uInt>(content.size() - used);
        state = inflate(&stream, Z_NO_FLUSH);
    }
    content.resize(stream.total_out);
    inflateEnd(&stream);
    return state == Z_STREAM_END ? content : tBytes();
}

/// Returns the profile in the data of an iCCP chunk: a name, a 0, the method (0: deflate), the deflated profile.
tBytes ProfileIn(const unsigned char* pData, size_t pSize)
{
    const size_t searched = std::min(pSize, kLongestName + 1);
    const auto* const end = static_cast<const unsigned char*>(std::memchr(pData, 0, searched));
    if (end == nullptr) return {};
    const size_t head = static_cast<size_t>(end - pData) + 2;
    if (head > pSize || end[1] != 0) return {};
    return Inflate(pData + head, pSize - head, kLargestProfile);
}

/// Returns the data of the first chunk of a type. Empty if there is none before the pixels.
std::span<const unsigned char> ChunkData(const tBytes& pFile, const char* pType)
{
    for (size_t at = kSignature; at + kChunkFrame <= pFile.size();) {
        const unsigned char* const chunk = pFile.data() + at;
        const size_t size = Number32(chunk);
        if (size > pFile.size() - at - kChunkFrame || std::memcmp(chunk + 4, "IDAT", 4) == 0) break;
        if (std::memcmp(chunk + 4, pType, 4) == 0) return {chunk + 8, size};
        at += size + kChunkFrame;
    }
    return {};
}

} // namespace

void PutPngChunk(tBytes& pTo, const char* pType, const tBytes& pData)
{
    Put32(pTo, pData.size());
    const size_t checked = pTo.size();
    pTo.insert(pTo.end(), pType, pType + 4);
    pTo.insert(pTo.end(), pData.begin(), pData.end());
    Put32(pTo, crc32(0, pTo.data() + checked, static_cast<uInt>(pTo.size() - checked)));
}

tBytes PngProfile(const tBytes& pFile)
{
    const std::span<const unsigned char> data = ChunkData(pFile, "iCCP");
    return data.empty() ? tBytes() : ProfileIn(data.data(), data.size());
}

sColorNotes PngNotes(const tBytes& pFile)
{
    constexpr double kUnit = 100000.0; // of both numbers
    sColorNotes notes;
    notes.fProfile = PngProfile(pFile);
    if (ChunkData(pFile, "sRGB").size() == 1) notes.fSpace = SELVANE_SRGB; // the intent
    const std::span<const unsigned char> points = ChunkData(pFile, "cICP");
    if (points.size() == 4) notes.fCodePoints = {points[0], points[1]};
    const std::span<const unsigned char> gamma = ChunkData(pFile, "gAMA");
    if (gamma.size() == 4) notes.fGamma = kUnit / static_cast<double>(Number32(gamma.data()));
    const std::span<const unsigned char> primaries = ChunkData(pFile, "cHRM");
    if (primaries.size() != 4 * kChromaticities.size()) return notes;
    notes.fChromaticities.emplace();
    for (size_t i = 0; i < kChromaticities.size(); i++) // white comes first in the chunk
        (*notes.fChromaticities)[(i + 6) % 8] =
            static_cast<float>(static_cast<double>(Number32(primaries.data() + 4 * i)) / kUnit);
    return notes;
}

tBytes PngProfileChunk(const tBytes& pProfile, const char* pName)
{
    uLongf deflated = compressBound(static_cast<uLong>(pProfile.size()));
    const size_t head = std::strlen(pName) + 2; // the name, a 0, the method
    tBytes data(head + deflated);
    std::memcpy(data.data(), pName, head - 2);
    if (compress2(data.data() + head, &deflated, pProfile.data(), static_cast<uLong>(pProfile.size()),
                  Z_BEST_COMPRESSION) != Z_OK)
        throw std::bad_alloc();
    data.resize(head + deflated);
    tBytes chunk;
    PutPngChunk(chunk, "iCCP", data);
    return chunk;
}

tBytes PngSrgbChunks()
{
    tBytes gamma;
    Put32(gamma, kGamma);
    tBytes chromaticities;
    for (const size_t number : kChromaticities)
        Put32(chromaticities, number);
    tBytes chunks;
    PutPngChunk(chunks, "sRGB", {kPerceptual});
    PutPngChunk(chunks, "gAMA", gamma);
    PutPngChunk(chunks, "cHRM", chromaticities);
    return chunks;
}

} // namespace SelvaneHost
