#include "write/PictureWriter.h"

#include "picture/Errors.h"
#include "picture/PngColor.h"
#include "picture/VipsObject.h"
#include "write/OutputFile.h"

#include <selvane.h>

#include <algorithm>
#include <span>

namespace SelvaneHost
{

namespace
{

constexpr int kJpegQuality = 95;
constexpr int kPngEffort = 6; // deflate level
constexpr int kMostJpegSide = 65500;

/// An encoded file. The memory belongs to GLib.
struct sEncoded
{
    ~sEncoded() { g_free(fBytes); }
    void* fBytes = nullptr;
    size_t fSize = 0;
};

[[noreturn]] void FailedInVips()
{
    throw cHostError("cannot be written: " + VipsWords());
}

/// Makes an image of libvips that uses the picture's memory.
tVipsImage Wrap(const sPicture& pPicture)
{
    const bool deep = pPicture.fForm == eSamples16;
    tVipsImage pixels(vips_image_new_from_memory(pPicture.fPixels.data(), pPicture.fPixels.size(), pPicture.fWidth,
                                                 pPicture.fHeight, pPicture.fChannels,
                                                 deep ? VIPS_FORMAT_USHORT : VIPS_FORMAT_UCHAR));
    VipsImage* image = nullptr;
    if (!pixels || vips_copy(pixels.get(), &image, "interpretation",
                             deep ? VIPS_INTERPRETATION_RGB16 : VIPS_INTERPRETATION_sRGB, nullptr) != 0)
        FailedInVips();
    return tVipsImage(image);
}

void Attach(VipsImage* pImage, const sPicture& pPicture)
{
    const auto attach = [&](const char* pName, const tBytes& pBlock) {
        if (!pBlock.empty()) vips_image_set_blob_copy(pImage, pName, pBlock.data(), pBlock.size());
    };
    attach(VIPS_META_EXIF_NAME, pPicture.fMetadata.fExif);
    attach(VIPS_META_IPTC_NAME, pPicture.fMetadata.fIptc);
    attach(VIPS_META_XMP_NAME, pPicture.fMetadata.fXmp);
    vips_image_set_int(pImage, VIPS_META_ORIENTATION, 1); // the pixels are upright
}

void AttachProfile(VipsImage* pImage, int pSpace)
{
    const tBytes profile = StoredProfile(pSpace);
    vips_image_set_blob_copy(pImage, VIPS_META_ICC_NAME, profile.data(), profile.size());
}

/// Returns the colour chunks of a PNG file.
tBytes PngColorChunks(int pSpace)
{
    if (pSpace == SELVANE_SRGB) return PngSrgbChunks();
    return PngProfileChunk(StoredProfile(pSpace), SpaceName(pSpace));
}

/// Writes the encoded picture. A PNG file gets its colour chunks here, see picture/PngColor.h.
void Write(const sEncoded& pEncoded, eFileKind pKind, int pSpace, const std::string& pPath)
{
    const std::span file(static_cast<const unsigned char*>(pEncoded.fBytes), pEncoded.fSize);
    if (pKind != ePng) return WriteFile(pPath, {file});
    const tBytes color = PngColorChunks(pSpace);
    WriteFile(pPath, {file.first(kPngColorPlace), color, file.subspan(kPngColorPlace)});
}

int Encode(VipsImage* pImage, eFileKind pKind, sEncoded& pTo)
{
    switch (pKind) {
    case eTiff:
        return vips_tiffsave_buffer(pImage, &pTo.fBytes, &pTo.fSize, "compression",
                                    VIPS_FOREIGN_TIFF_COMPRESSION_DEFLATE, "predictor",
                                    VIPS_FOREIGN_TIFF_PREDICTOR_HORIZONTAL, nullptr);
    case eJpeg:
        return vips_jpegsave_buffer(pImage, &pTo.fBytes, &pTo.fSize, "Q", kJpegQuality, "optimize_coding", TRUE,
                                    "subsample_mode", VIPS_FOREIGN_SUBSAMPLE_OFF, nullptr);
    default:
        return vips_pngsave_buffer(pImage, &pTo.fBytes, &pTo.fSize, "compression", kPngEffort, nullptr);
    }
}

} // namespace

void WritePicture(const sPicture& pPicture, int pSpace, eFileKind pKind, const std::string& pPath)
{
    if (pKind == eJpeg && std::max(pPicture.fWidth, pPicture.fHeight) > kMostJpegSide)
        throw cHostError("cannot be written: a JPEG file holds at most " + std::to_string(kMostJpegSide) +
                         " pixels a side; write a .png or .tif file");
    const tVipsImage image = Wrap(pPicture);
    Attach(image.get(), pPicture);
    if (pKind != ePng) AttachProfile(image.get(), pSpace);
    sEncoded encoded;
    if (Encode(image.get(), pKind, encoded) != 0) FailedInVips();
    Write(encoded, pKind, pSpace, pPath);
}

} // namespace SelvaneHost
