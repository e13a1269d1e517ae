#include "read/FloatTiff.h"

#include "picture/Errors.h"
#include "read/ReaderSteps.h"

#include <Imath/half.h>
#include <tiffio.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <memory>

namespace SelvaneHost
{

namespace
{

constexpr uint16_t kMostSamples = 5; // a pixel

/// A file in memory, as libtiff reads it.
struct sMemory
{
    const tBytes* fBytes;
    uint64_t fAt = 0;
};

tmsize_t ReadBytes(thandle_t pMemory, void* pTo, tmsize_t pSize)
{
    auto& memory = *static_cast<sMemory*>(pMemory);
    const uint64_t left = memory.fBytes->size() - std::min<uint64_t>(memory.fAt, memory.fBytes->size());
    const auto count =
        static_cast<size_t>(std::min<uint64_t>(left, static_cast<uint64_t>(std::max<tmsize_t>(pSize, 0))));
    if (count > 0) std::memcpy(pTo, memory.fBytes->data() + memory.fAt, count);
    memory.fAt += count;
    return static_cast<tmsize_t>(count);
}

tmsize_t WriteNothing(thandle_t /*pMemory*/, void* /*pFrom*/, tmsize_t /*pSize*/)
{
    return 0;
}

toff_t Seek(thandle_t pMemory, toff_t pOffset, int pFrom)
{
    auto& memory = *static_cast<sMemory*>(pMemory);
    if (pFrom == SEEK_CUR) pOffset += memory.fAt;
    if (pFrom == SEEK_END) pOffset += memory.fBytes->size();
    memory.fAt = pOffset;
    return pOffset;
}

int Close(thandle_t /*pMemory*/)
{
    return 0;
}

toff_t SizeOf(thandle_t pMemory)
{
    return static_cast<sMemory*>(pMemory)->fBytes->size();
}

struct sClose
{
    void operator()(TIFF* pFile) const { TIFFClose(pFile); }
};
using tTiff = std::unique_ptr<TIFF, sClose>;

/// Opens a file. "m": without a mapping.
tTiff Open(sMemory& pMemory)
{
    return tTiff(
        TIFFClientOpen("picture", "rm", &pMemory, ReadBytes, WriteNothing, Seek, Close, SizeOf, nullptr, nullptr));
}

template <typename tValue>
tValue Field(TIFF* pFile, uint32_t pTag, tValue pElse)
{
    tValue value = pElse;
    return TIFFGetFieldDefaulted(pFile, pTag, &value) == 1 ? value : pElse;
}

uint16_t BitsOf(TIFF* pFile)
{
    return Field<uint16_t>(pFile, TIFFTAG_BITSPERSAMPLE, 1);
}

/// Where the samples of a picture are.
struct sPlan
{
    uint32_t fWidth = 0;
    uint32_t fHeight = 0;
    uint16_t fSamples = 0; ///< a pixel
    bool fPlanes = false;
    uint32_t fTileWidth = 0; ///< of strips the width
    uint32_t fTileHeight = 0;
    size_t fBytes = 2; ///< of a sample, 2 or 8
};

sPlan PlanOf(TIFF* pFile)
{
    sPlan plan;
    plan.fWidth = Field<uint32_t>(pFile, TIFFTAG_IMAGEWIDTH, 0);
    plan.fHeight = Field<uint32_t>(pFile, TIFFTAG_IMAGELENGTH, 0);
    plan.fSamples = Field<uint16_t>(pFile, TIFFTAG_SAMPLESPERPIXEL, 1);
    plan.fPlanes = Field<uint16_t>(pFile, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG) == PLANARCONFIG_SEPARATE;
    plan.fBytes = BitsOf(pFile) / 8U;
    const bool tiles = TIFFIsTiled(pFile) != 0;
    plan.fTileWidth = tiles ? Field<uint32_t>(pFile, TIFFTAG_TILEWIDTH, 0) : plan.fWidth;
    plan.fTileHeight = tiles ? Field<uint32_t>(pFile, TIFFTAG_TILELENGTH, 0)
                             : std::min(Field<uint32_t>(pFile, TIFFTAG_ROWSPERSTRIP, plan.fHeight), plan.fHeight);
    return plan;
}

void CheckPlan(TIFF* pFile, const sPlan& pPlan)
{
    const auto colors = Field<uint16_t>(pFile, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_RGB);
    if (colors != PHOTOMETRIC_RGB && colors != PHOTOMETRIC_MINISBLACK)
        throw cHostError("the picture's floats are neither RGB nor grey");
    if (pPlan.fSamples == 0 || pPlan.fSamples > kMostSamples)
        throw cHostError("the picture has " + std::to_string(pPlan.fSamples) + " channels; at most " +
                         std::to_string(kMostSamples) + " can be read");
    if (pPlan.fTileWidth == 0 || pPlan.fTileHeight == 0) Damaged("its tiles have no size");
    const uint64_t bytes = uint64_t{pPlan.fTileWidth} * pPlan.fTileHeight * pPlan.fSamples * pPlan.fBytes;
    if (bytes > std::numeric_limits<int32_t>::max()) throw cHostError("the picture's strips or tiles are too large");
}

float FloatOf(const unsigned char* pAt, size_t pBytes)
{
    if (pBytes == sizeof(double)) {
        double wide = 0.0;
        std::memcpy(&wide, pAt, sizeof wide);
        return static_cast<float>(wide);
    }
    uint16_t bits = 0;
    std::memcpy(&bits, pAt, sizeof bits);
    Imath::half value;
    value.setBits(bits);
    return static_cast<float>(value);
}

/// Copies a tile into the picture.
/// @param pChannels for each sample of the tile's pixels the channels of the picture that it becomes
void Place(const tBytes& pTile, const sPlan& pPlan, uint32_t pX, uint32_t pY, size_t pStep,
           const std::vector<std::vector<size_t>>& pChannels, sPicture& pPicture)
{
    const uint32_t width = std::min(pPlan.fTileWidth, pPlan.fWidth - pX);
    const uint32_t height = std::min(pPlan.fTileHeight, pPlan.fHeight - pY);
    for (uint32_t y = 0; y < height; y++) {
        auto* pixel = reinterpret_cast<float*>(Row(pPicture, static_cast<int>(pY + y))) +
                      size_t{pX} * static_cast<size_t>(pPicture.fChannels);
        const unsigned char* from = pTile.data() + size_t{y} * pPlan.fTileWidth * pStep * pPlan.fBytes;
        for (uint32_t x = 0; x < width; x++, pixel += pPicture.fChannels, from += pStep * pPlan.fBytes)
            for (size_t sample = 0; sample < pChannels.size(); sample++)
                for (const size_t channel : pChannels[sample])
                    pixel[channel] = FloatOf(from + sample * pPlan.fBytes, pPlan.fBytes);
    }
}

/// Returns for each sample of a pixel the channels that it becomes: grey becomes three, further ones none.
std::vector<std::vector<size_t>> ChannelsOf(uint16_t pSamples)
{
    if (pSamples == 1) return {{0, 1, 2}};
    if (pSamples == 2) return {{0, 1, 2}, {3}};
    std::vector<std::vector<size_t>> channels = {{0}, {1}, {2}};
    if (pSamples == 4) channels.push_back({3});
    return channels;
}

/// Unpacks a strip or a tile. What it does not hold is a damage.
void Unpack(TIFF* pFile, const sPlan& pPlan, uint32_t pX, uint32_t pY, uint16_t pPlane, tBytes& pTile)
{
    const bool tiles = TIFFIsTiled(pFile) != 0;
    const uint32_t index = tiles ? TIFFComputeTile(pFile, pX, pY, 0, pPlane) : TIFFComputeStrip(pFile, pY, pPlane);
    const uint32_t rows = tiles ? pPlan.fTileHeight : std::min(pPlan.fTileHeight, pPlan.fHeight - pY);
    const size_t step = pPlan.fPlanes ? 1 : pPlan.fSamples;
    const size_t needed = size_t{rows} * pPlan.fTileWidth * step * pPlan.fBytes;
    const auto size = static_cast<tmsize_t>(needed);
    const tmsize_t count = tiles ? TIFFReadEncodedTile(pFile, index, pTile.data(), size)
                                 : TIFFReadEncodedStrip(pFile, index, pTile.data(), size);
    if (count != size) Damaged("a strip or tile does not unpack to its size");
}

void ReadPixels(TIFF* pFile, const sPlan& pPlan, sPicture& pPicture)
{
    const size_t step = pPlan.fPlanes ? 1 : pPlan.fSamples;
    const std::vector<std::vector<size_t>> channels = ChannelsOf(pPlan.fSamples);
    const auto planes = static_cast<uint16_t>(pPlan.fPlanes ? channels.size() : 1);
    tBytes tile(size_t{pPlan.fTileWidth} * pPlan.fTileHeight * step * pPlan.fBytes);
    for (uint16_t plane = 0; plane < planes; plane++)
        for (uint32_t y = 0; y < pPlan.fHeight; y += pPlan.fTileHeight)
            for (uint32_t x = 0; x < pPlan.fWidth; x += pPlan.fTileWidth) {
                Unpack(pFile, pPlan, x, y, plane, tile);
                Place(tile, pPlan, x, y, step,
                      pPlan.fPlanes ? std::vector<std::vector<size_t>>{channels[plane]} : channels, pPicture);
            }
}

tBytes ProfileOf(TIFF* pFile)
{
    uint32_t size = 0;
    const void* bytes = nullptr;
    if (TIFFGetField(pFile, TIFFTAG_ICCPROFILE, &size, &bytes) != 1) return {};
    const auto* const first = static_cast<const unsigned char*>(bytes);
    return {first, first + size};
}

/// libtiff prints its messages; what goes wrong shows in its results.
void BeSilent()
{
    TIFFSetErrorHandler(nullptr);
    TIFFSetWarningHandler(nullptr);
}

} // namespace

bool HoldsFloatsOfOtherSizes(const tBytes& pBytes)
{
    BeSilent();
    sMemory memory{&pBytes};
    const tTiff file = Open(memory);
    return file != nullptr &&
           Field<uint16_t>(file.get(), TIFFTAG_SAMPLEFORMAT, SAMPLEFORMAT_UINT) == SAMPLEFORMAT_IEEEFP &&
           (BitsOf(file.get()) == 16 || BitsOf(file.get()) == 64);
}

sPicture ReadFloatTiff(const tBytes& pBytes, sColorNotes& pNotes)
{
    sMemory memory{&pBytes};
    const tTiff file = Open(memory);
    if (file == nullptr) Damaged("its directory cannot be read");
    const sPlan plan = PlanOf(file.get());
    sPicture picture;
    SetSize(picture, plan.fWidth, plan.fHeight, eFloats, plan.fSamples == 2 || plan.fSamples == 4 ? 4 : 3);
    CheckPlan(file.get(), plan);
    CheckClaim(picture, pBytes.size());
    picture.fPixels.resize(AllBytes(picture));
    ReadPixels(file.get(), plan, picture);
    pNotes.fProfile = ProfileOf(file.get());
    return picture;
}

} // namespace SelvaneHost
