#include "read/PictureReader.h"

#include "metadata/MetadataReader.h"
#include "picture/Errors.h"
#include "read/HeifReader.h"
#include "read/InputFile.h"
#include "read/JpegReader.h"
#include "read/JpegXlReader.h"
#include "read/OpenExrReader.h"
#include "read/PfmReader.h"
#include "read/PngReader.h"
#include "read/RadianceReader.h"
#include "read/TiffReader.h"
#include "read/WebpReader.h"

#include <algorithm>

namespace SelvaneHost
{

namespace
{

/// A kind of file that the host reads.
struct sReader
{
    const char* fName;                        ///< as the refusal of other files lists it
    bool (*fLooksLike)(const tBytes& pFirst); ///< sixteen bytes are enough for it
    sPicture (*fRead)(const tBytes& pFile, const sReadOptions& pOptions);
};

// No two kinds begin with the same bytes, so the order counts only in the refusal.
constexpr sReader kReaders[] = {
    {"Radiance .hdr", LooksLikeRadiance, ReadRadiance},
    {"OpenEXR", LooksLikeOpenExr, ReadOpenExr},
    {"PNG", LooksLikePng, ReadPng},
    {"TIFF", LooksLikeTiff, ReadTiff},
    {"JPEG", LooksLikeJpeg, ReadJpeg},
    {"WebP", LooksLikeWebp, ReadWebp},
    {"HEIF and AVIF", LooksLikeHeif, ReadHeif},
    {"JPEG XL", LooksLikeJpegXl, ReadJpegXl},
    {"PFM", LooksLikePfm, ReadPfm},
};

std::string NamesOfAll()
{
    std::string names;
    for (const sReader& reader : kReaders)
        names += (names.empty() ? "" : ", ") + std::string(reader.fName);
    return names;
}

/// @throws cHostError when no reader takes the bytes
const sReader& ReaderFor(const tBytes& pFirst)
{
    if (pFirst.empty()) throw cHostError("the file is empty");
    const sReader* const reader =
        std::ranges::find_if(kReaders, [&](const sReader& r) { return r.fLooksLike(pFirst); });
    if (reader == std::end(kReaders))
        throw cHostError("not a picture of a kind that can be read (" + NamesOfAll() + ")");
    return *reader;
}

} // namespace

void CheckKind(const tBytes& pFirst)
{
    ReaderFor(pFirst);
}

sPicture ReadPicture(const tBytes& pBytes, const sReadOptions& pOptions)
{
    sPicture picture = ReaderFor(pBytes).fRead(pBytes, pOptions);
    picture.fMetadata = ReadMetadata(pBytes, picture.fWarnings);
    if (!pOptions.fLayer.empty() && !LooksLikeOpenExr(pBytes))
        picture.fWarnings.emplace_back("a file of this kind has no layers; --layer is not used");
    return picture;
}

sPicture ReadPictureFile(const std::string& pPath, const sReadOptions& pOptions)
{
    return ReadPicture(ReadFile(pPath, CheckKind), pOptions);
}

} // namespace SelvaneHost
