#include "write/PictureWriter.h"

#include "metadata/EmbedMetadata.h"
#include "picture/Errors.h"
#include "picture/PngColor.h"
#include "picture/ProfileMatch.h"
#include "write/OutputFile.h"

#include <algorithm>
#include <selvane.h>

namespace SelvaneHost
{

namespace
{

using tWarnings = std::vector<std::string>;

int UsualQuality(eFileKind pKind)
{
    return pKind == eJpeg ? 95 : pKind == eAvif ? 80 : 90;
}

void CheckSides(const sPicture& pPicture, eFileKind pKind)
{
    if (std::max(pPicture.fWidth, pPicture.fHeight) <= MostSide(pKind)) return;
    throw cHostError(std::string("cannot be written: ") + SpokenName(pKind) + " files hold at most " +
                     std::to_string(MostSide(pKind)) + " pixels a side; write a .png or .tif file");
}

/// A TIFF file would show a thumbnail as its second page.
bool HoldsThumbnail(eFileKind pKind)
{
    return pKind != eTiff;
}

bool HoldsIptc(eFileKind pKind)
{
    return pKind == eJpeg || pKind == eTiff || pKind == ePng;
}

sOutputFacts FactsOf(const sPicture& pPicture, const sStorage& pStorage)
{
    sOutputFacts facts{pPicture.fWidth, pPicture.fHeight, pStorage.fSpace, {}, pStorage.fSettings, pStorage.fVersion};
    if (HoldsThumbnail(pStorage.fKind) && !pStorage.fMetadata.fNone && HasThumbnail(pPicture.fMetadata))
        facts.fThumbnail = EncodeThumbnail(pPicture);
    return facts;
}

sMetadata MetadataFor(const sPicture& pPicture, const sStorage& pStorage, tWarnings& pWarnings)
{
    sMetadata metadata = OutputMetadata(pPicture.fMetadata, FactsOf(pPicture, pStorage), pStorage.fMetadata, pWarnings);
    if (!HoldsIptc(pStorage.fKind)) MoveIptcIntoXmp(metadata, pWarnings);
    return metadata;
}

/// Returns the colour chunks of a PNG file.
tBytes PngColorChunks(int pSpace)
{
    if (pSpace == SELVANE_SRGB) return PngSrgbChunks();
    return PngProfileChunk(StoredProfile(pSpace), SpaceName(pSpace));
}

/// Puts colour and metadata behind the header.
tBytes WithChunks(const tBytes& pFile, int pSpace, const sMetadata& pMetadata)
{
    const auto place = pFile.begin() + static_cast<std::ptrdiff_t>(kPngColorPlace);
    tBytes file(pFile.begin(), place);
    for (const tBytes& chunks : {PngColorChunks(pSpace), PngMetadataChunks(pMetadata)})
        file.insert(file.end(), chunks.begin(), chunks.end());
    file.insert(file.end(), place, pFile.end());
    return file;
}

tBytes Encode(const sEncoding& pEncoding, const sStorage& pStorage, tWarnings& pWarnings)
{
    switch (pStorage.fKind) {
    case eAvif:
        return EncodeAvif(pEncoding);
    case eJxl:
        return EncodeJxl(pEncoding);
    case ePng:
        return WithChunks(EncodeThroughVips(pEncoding, ePng), pStorage.fSpace, pEncoding.fMetadata);
    default:
        return WithMetadata(EncodeThroughVips(pEncoding, pStorage.fKind), pEncoding.fMetadata, pWarnings);
    }
}

/// Returns whether the picture shows something of what is behind it.
bool IsTransparent(const sPicture& pPicture)
{
    const size_t bytes = pPicture.fForm == eSamples8 ? 1 : 2, pixel = 4 * bytes;
    if (pPicture.fChannels != 4) return false;
    for (size_t i = pixel - bytes; i < pPicture.fPixels.size(); i += pixel)
        if (pPicture.fPixels[i] != 0xFF || pPicture.fPixels[i + bytes - 1] != 0xFF) return true;
    return false;
}

} // namespace

std::vector<std::string> WritePicture(const sPicture& pPicture, const sStorage& pStorage, const std::string& pPath)
{
    CheckSides(pPicture, pStorage.fKind);
    tWarnings warnings;
    if (pStorage.fKind == eJpeg && IsTransparent(pPicture))
        warnings.emplace_back("JPEG files hold no transparency; it was left out");
    const sMetadata metadata = MetadataFor(pPicture, pStorage, warnings);
    const tBytes profile = StoredProfile(pStorage.fSpace);
    const sEncoding encoding{pPicture,
                             pStorage.fDepth,
                             pStorage.fQuality.value_or(UsualQuality(pStorage.fKind)),
                             pStorage.fSubsampling,
                             pStorage.fThreads,
                             pStorage.fSpace,
                             profile,
                             metadata,
                             PixelsPerMillimetre(pPicture.fMetadata)};
    const tBytes file = Encode(encoding, pStorage, warnings);
    WriteFile(pPath, {file}, pStorage.fMustBeNew);
    return warnings;
}

} // namespace SelvaneHost
