#ifndef SELVANE_TESTS_HOST_READ_ENCODED_H
#define SELVANE_TESTS_HOST_READ_ENCODED_H

// Files that the tests write and read by the libraries of their formats, past the code of the command.

#include "host/Workshop.h"

#include <jxl/color_encoding.h>

#include <cstdint>
#include <string>
#include <type_traits>
#include <vector>

namespace SelvaneTest
{

/// Returns the interleaved samples of red, green and blue of a HEIF or AVIF file, as libheif decodes them.
/// @param pBits of a sample in the file: above 8 the samples are of 16-bit words, from 0 to 2^pBits - 1
std::vector<uint16_t> DecodedHeif(const std::string& pPath, int pBits);

/// What an AVIF or HEIF file says of its colours.
struct sCodedColors
{
    int fPrimaries; ///< by the numbers of ITU-T H.273
    int fTransfer;
    tBytes fProfile = {}; ///< ICC; empty: none
};

/// Writes an AVIF file with libavif: the encoder of libheif ends the process at 10 bits.
/// @param pSamples interleaved; red, green and blue, from 0 to 2^pBits - 1
void StoreAvif(const std::string& pPath, int pWidth, int pHeight, const std::vector<uint16_t>& pSamples, int pBits,
               const sCodedColors& pColors);

/// Writes a HEIF file of 8 bits with libheif.
/// @param pSamples interleaved; red, green and blue
void StoreHeic(const std::string& pPath, int pWidth, int pHeight, const tBytes& pSamples, const sCodedColors& pColors);

/// Returns the description of RGB with the white D65.
/// @param pGamma of JXL_TRANSFER_FUNCTION_GAMMA: sample = linear value ^ pGamma
JxlColorEncoding JxlColors(JxlPrimaries pPrimaries, JxlTransferFunction pTransfer, double pGamma = 0.0);

/// Writes a JPEG XL file without a loss.
/// @param pSamples interleaved, native; red, green and blue
/// @param pBytes   of a sample: 1 or 2, or 4 of a float
void StoreJxlBytes(const std::string& pPath, const void* pSamples, int pWidth, int pHeight, uint32_t pBytes,
                   const JxlColorEncoding& pColors);

template <typename tSample>
void StoreJxl(const std::string& pPath, const std::vector<tSample>& pSamples, int pWidth, int pHeight,
              const JxlColorEncoding& pColors)
{
    static_assert(sizeof(tSample) < 4 || std::is_same_v<tSample, float>);
    StoreJxlBytes(pPath, pSamples.data(), pWidth, pHeight, sizeof(tSample), pColors);
}

} // namespace SelvaneTest

#endif
