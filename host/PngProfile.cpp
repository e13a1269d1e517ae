#include "PngProfile.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <zlib.h>

namespace SelvaneHost
{

namespace
{

constexpr size_t kSignature = 8;
constexpr size_t kChunkFrame = 12; // length, type, checksum
constexpr size_t kLongestName = 79;
constexpr size_t kLargestProfile = 16 << 20; // bytes; display profiles have some thousand, printers' some million

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

/// Inflates into the room that pLimit allows; empty when the data are damaged or larger.
tBytes Inflate(const unsigned char* pBytes, size_t pSize, size_t pLimit)
{
    z_stream stream{};
    if (inflateInit(&stream) != Z_OK) return {};
    stream.next_in = const_cast<unsigned char*>(pBytes); // only read
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

/// What stands in an iCCP chunk: a name, its closing 0, the method (0: deflate), the deflated profile.
tBytes ProfileIn(const unsigned char* pData, size_t pSize)
{
    const size_t searched = std::min(pSize, kLongestName + 1);
    const auto* const end = static_cast<const unsigned char*>(std::memchr(pData, 0, searched));
    if (end == nullptr) return {};
    const size_t head = static_cast<size_t>(end - pData) + 2;
    if (head > pSize || end[1] != 0) return {};
    return Inflate(pData + head, pSize - head, kLargestProfile);
}

} // namespace

tBytes PngProfile(const tBytes& pFile)
{
    for (size_t at = kSignature; at + kChunkFrame <= pFile.size();) {
        const unsigned char* const chunk = pFile.data() + at;
        const size_t size = Number32(chunk);
        if (size > pFile.size() - at - kChunkFrame || std::memcmp(chunk + 4, "IDAT", 4) == 0) break;
        if (std::memcmp(chunk + 4, "iCCP", 4) == 0) return ProfileIn(chunk + 8, size);
        at += size + kChunkFrame;
    }
    return {};
}

tBytes PngProfileChunk(const tBytes& pProfile, const char* pName)
{
    uLongf deflated = compressBound(static_cast<uLong>(pProfile.size()));
    tBytes data(deflated);
    if (compress2(data.data(), &deflated, pProfile.data(), static_cast<uLong>(pProfile.size()), Z_BEST_COMPRESSION) !=
        Z_OK)
        throw std::bad_alloc();
    const size_t nameSize = std::strlen(pName) + 1;
    tBytes chunk;
    Put32(chunk, nameSize + 1 + deflated);
    for (const char c : {'i', 'C', 'C', 'P'})
        chunk.push_back(static_cast<unsigned char>(c));
    chunk.insert(chunk.end(), pName, pName + nameSize);
    chunk.push_back(0);
    chunk.insert(chunk.end(), data.begin(), data.begin() + static_cast<std::ptrdiff_t>(deflated));
    Put32(chunk, crc32(0, chunk.data() + 4, static_cast<uInt>(chunk.size() - 4)));
    return chunk;
}

} // namespace SelvaneHost
