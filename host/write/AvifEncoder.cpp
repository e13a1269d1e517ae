#include "picture/Errors.h"
#include "write/Encoding.h"

#include <avif/avif.h>
#include <memory>
#include <string>

namespace SelvaneHost
{

namespace
{

constexpr int kSpeed = 6; // 0 slow and small to 10

using tImage = std::unique_ptr<avifImage, decltype(&avifImageDestroy)>;
using tEncoder = std::unique_ptr<avifEncoder, decltype(&avifEncoderDestroy)>;

void Must(avifResult pResult)
{
    if (pResult == AVIF_RESULT_OUT_OF_MEMORY) throw std::bad_alloc();
    if (pResult != AVIF_RESULT_OK)
        throw cHostError(std::string("cannot be written: the AVIF encoder says: ") + avifResultToString(pResult));
}

/// Describes the picture's memory. libavif only reads it.
avifRGBImage SamplesOf(const sPicture& pPicture, const avifImage* pImage)
{
    avifRGBImage samples;
    avifRGBImageSetDefaults(&samples, pImage);
    samples.depth = pPicture.fForm == eSamples8 ? 8 : 16;
    samples.format = pPicture.fChannels == 4 ? AVIF_RGB_FORMAT_RGBA : AVIF_RGB_FORMAT_RGB;
    samples.pixels = const_cast<uint8_t*>(pPicture.fPixels.data());
    samples.rowBytes = static_cast<uint32_t>(RowBytes(pPicture));
    return samples;
}

/// The picture as luma and colour differences. Its colours are those of the profile, so the file names no other.
tImage ImageOf(const sEncoding& pEncoding)
{
    const bool halved = pEncoding.fSubsampling == eHalvedColor;
    tImage image(avifImageCreate(static_cast<uint32_t>(pEncoding.fPicture.fWidth),
                                 static_cast<uint32_t>(pEncoding.fPicture.fHeight),
                                 static_cast<uint32_t>(pEncoding.fDepth),
                                 halved ? AVIF_PIXEL_FORMAT_YUV420 : AVIF_PIXEL_FORMAT_YUV444),
                 avifImageDestroy);
    if (!image) throw std::bad_alloc();
    image->yuvRange = AVIF_RANGE_FULL;
    image->matrixCoefficients = AVIF_MATRIX_COEFFICIENTS_BT601;
    const avifRGBImage samples = SamplesOf(pEncoding.fPicture, image.get());
    Must(avifImageRGBToYUV(image.get(), &samples));
    return image;
}

void Attach(avifImage* pImage, const sEncoding& pEncoding)
{
    const sMetadata& metadata = pEncoding.fMetadata;
    avifImageSetProfileICC(pImage, pEncoding.fProfile.data(), pEncoding.fProfile.size());
    if (!metadata.fExif.empty()) avifImageSetMetadataExif(pImage, metadata.fExif.data(), metadata.fExif.size());
    if (!metadata.fXmp.empty()) avifImageSetMetadataXMP(pImage, metadata.fXmp.data(), metadata.fXmp.size());
}

/// An encoder of even quality over the whole picture.
tEncoder EncoderFor(const sEncoding& pEncoding)
{
    tEncoder encoder(avifEncoderCreate(), avifEncoderDestroy);
    if (!encoder) throw std::bad_alloc();
    const int quantizer = ((100 - pEncoding.fQuality) * AVIF_QUANTIZER_WORST_QUALITY + 50) / 100;
    encoder->codecChoice = AVIF_CODEC_CHOICE_AOM;
    encoder->maxThreads = pEncoding.fThreads;
    encoder->autoTiling = AVIF_TRUE; // tiles for the threads
    encoder->speed = kSpeed;
    encoder->minQuantizer = AVIF_QUANTIZER_BEST_QUALITY;
    encoder->maxQuantizer = AVIF_QUANTIZER_WORST_QUALITY;
    avifEncoderSetCodecSpecificOption(encoder.get(), "end-usage", "q");
    avifEncoderSetCodecSpecificOption(encoder.get(), "cq-level", std::to_string(quantizer).c_str());
    return encoder;
}

struct sFile : avifRWData
{
    sFile() : avifRWData{nullptr, 0} {}
    ~sFile() { avifRWDataFree(this); }
    sFile(const sFile&) = delete;
    sFile& operator=(const sFile&) = delete;
};

} // namespace

tBytes EncodeAvif(const sEncoding& pEncoding)
{
    const tImage image = ImageOf(pEncoding);
    Attach(image.get(), pEncoding);
    const tEncoder encoder = EncoderFor(pEncoding);
    sFile file;
    Must(avifEncoderWrite(encoder.get(), image.get(), &file));
    return {file.data, file.data + file.size};
}

} // namespace SelvaneHost
