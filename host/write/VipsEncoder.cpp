#include "picture/Errors.h"
#include "picture/VipsObject.h"
#include "write/Encoding.h"

namespace SelvaneHost
{

namespace
{

constexpr int kPngEffort = 6; // deflate level

[[noreturn]] void FailedInVips()
{
    throw cHostError("cannot be written: " + VipsWords());
}

/// Makes an image of libvips that uses the picture's memory.
tVipsImage Wrap(const sPicture& pPicture, double pPixelsPerMillimetre)
{
    const bool deep = pPicture.fForm == eSamples16;
    tVipsImage pixels(vips_image_new_from_memory(pPicture.fPixels.data(), pPicture.fPixels.size(), pPicture.fWidth,
                                                 pPicture.fHeight, pPicture.fChannels,
                                                 deep ? VIPS_FORMAT_USHORT : VIPS_FORMAT_UCHAR));
    VipsImage* image = nullptr;
    if (!pixels ||
        vips_copy(pixels.get(), &image, "interpretation", deep ? VIPS_INTERPRETATION_RGB16 : VIPS_INTERPRETATION_sRGB,
                  "xres", pPixelsPerMillimetre, "yres", pPixelsPerMillimetre, nullptr) != 0)
        FailedInVips();
    return tVipsImage(image);
}

/// Drops the alpha channel, for JPEG files. Without this libvips would blend the pixels with black.
tVipsImage WithoutAlpha(tVipsImage pImage)
{
    if (vips_image_get_bands(pImage.get()) == 3) return pImage;
    VipsImage* image = nullptr;
    if (vips_extract_band(pImage.get(), &image, 0, "n", 3, nullptr) != 0) FailedInVips();
    return tVipsImage(image);
}

/// An encoded file. The memory belongs to GLib.
struct sBuffer
{
    ~sBuffer() { g_free(fBytes); }
    tBytes Copy() const
    {
        const auto* const bytes = static_cast<const unsigned char*>(fBytes);
        return {bytes, bytes + fSize};
    }
    void* fBytes = nullptr;
    size_t fSize = 0;
};

int Save(VipsImage* pImage, const sEncoding& pEncoding, eFileKind pKind, sBuffer& pTo)
{
    const bool full = pEncoding.fSubsampling == eFullColor;
    switch (pKind) {
    case eTiff:
        return vips_tiffsave_buffer(pImage, &pTo.fBytes, &pTo.fSize, "compression",
                                    VIPS_FOREIGN_TIFF_COMPRESSION_DEFLATE, "predictor",
                                    VIPS_FOREIGN_TIFF_PREDICTOR_HORIZONTAL, nullptr);
    case eJpeg:
        return vips_jpegsave_buffer(pImage, &pTo.fBytes, &pTo.fSize, "Q", pEncoding.fQuality, "optimize_coding", TRUE,
                                    "subsample_mode", full ? VIPS_FOREIGN_SUBSAMPLE_OFF : VIPS_FOREIGN_SUBSAMPLE_ON,
                                    nullptr);
    case eWebp:
        return vips_webpsave_buffer(pImage, &pTo.fBytes, &pTo.fSize, "Q", pEncoding.fQuality, "smart_subsample",
                                    full ? TRUE : FALSE, nullptr);
    default:
        return vips_pngsave_buffer(pImage, &pTo.fBytes, &pTo.fSize, "compression", kPngEffort, nullptr);
    }
}

} // namespace

tBytes EncodeThroughVips(const sEncoding& pEncoding, eFileKind pKind)
{
    tVipsImage image = Wrap(pEncoding.fPicture, pEncoding.fPixelsPerMillimetre);
    if (pKind == eJpeg) image = WithoutAlpha(std::move(image));
    vips_image_set_int(image.get(), VIPS_META_ORIENTATION, 1); // the pixels are upright
    if (pKind != ePng)
        vips_image_set_blob_copy(image.get(), VIPS_META_ICC_NAME, pEncoding.fProfile.data(), pEncoding.fProfile.size());
    sBuffer file;
    if (Save(image.get(), pEncoding, pKind, file) != 0) FailedInVips();
    return file.Copy();
}

tBytes EncodeThumbnail(const sPicture& pPicture)
{
    constexpr int kWidth = 160, kHeight = 120, kQuality = 80;
    const tVipsImage image = WithoutAlpha(Wrap(pPicture, 72 / 25.4));
    VipsImage* small = nullptr;
    if (vips_thumbnail_image(image.get(), &small, kWidth, "height", kHeight, "size", VIPS_SIZE_DOWN, nullptr) != 0)
        FailedInVips();
    const tVipsImage thumbnail(small);
    VipsImage* eight = nullptr;
    if (vips_colourspace(small, &eight, VIPS_INTERPRETATION_sRGB, nullptr) != 0) FailedInVips();
    const tVipsImage bytes(eight);
    sBuffer file;
    if (vips_jpegsave_buffer(eight, &file.fBytes, &file.fSize, "Q", kQuality, "strip", TRUE, nullptr) != 0)
        FailedInVips();
    return file.Copy();
}

} // namespace SelvaneHost
