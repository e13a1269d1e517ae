#include "read/ReaderSteps.h"

#include "picture/Errors.h"

#include <algorithm>

namespace SelvaneHost
{

namespace
{

// No file packs more pixels into a byte. The densest are:
//   Radiance, old run lengths   5461   rows of one colour: 12 bytes for 65536 pixels
//   deflate, 1-bit pixels       8256   deflate gives at most 1032 bytes for one
//   LZW of TIFF, 1-bit pixels  10898
//   JPEG with Huffman codes      512   1 bit for a block of 64
constexpr size_t kMostPixelsPerByte = 16384;

} // namespace

bool BeginsWith(const tBytes& pBytes, std::string_view pMark)
{
    return pBytes.size() >= pMark.size() &&
           std::equal(pMark.begin(), pMark.end(), pBytes.begin(),
                      [](char mark, unsigned char byte) { return static_cast<unsigned char>(mark) == byte; });
}

void Damaged(const std::string& pReason)
{
    throw cHostError("the picture is damaged or cut short: " + pReason);
}

void CheckClaim(const sPicture& pPicture, size_t pFileBytes)
{
    const size_t pixels = static_cast<size_t>(pPicture.fWidth) * static_cast<size_t>(pPicture.fHeight);
    if (pixels / kMostPixelsPerByte <= pFileBytes) return;
    Damaged(std::to_string(pFileBytes) + " bytes cannot hold the " + std::to_string(pPicture.fWidth) + " x " +
            std::to_string(pPicture.fHeight) + " pixels that it claims to have");
}

} // namespace SelvaneHost
