#include "host/read/Encoded.h"

#include <avif/avif.h>
#include <jxl/encode.h>
#include <libheif/heif.h>

#include <algorithm>
#include <memory>
#include <stdexcept>

namespace SelvaneTest
{

namespace
{

void MustHeif(const heif_error& pError)
{
    if (pError.code != heif_error_Ok) throw std::runtime_error(pError.message);
}

void MustJxl(JxlEncoderStatus pStatus)
{
    if (pStatus != JXL_ENC_SUCCESS) throw std::runtime_error("JPEG XL");
}

std::vector<uint16_t> SamplesOf(const heif_image* pImage, int pBits)
{
    const int width = heif_image_get_width(pImage, heif_channel_interleaved);
    const int height = heif_image_get_height(pImage, heif_channel_interleaved);
    int stride = 0;
    const uint8_t* row = heif_image_get_plane_readonly(pImage, heif_channel_interleaved, &stride);
    std::vector<uint16_t> samples;
    for (int y = 0; y < height; y++, row += stride)
        for (int x = 0; x < 3 * width; x++)
            samples.push_back(pBits > 8 ? static_cast<uint16_t>(row[2 * x] + 256 * row[2 * x + 1]) : row[x]);
    return samples;
}

using tHeif = std::unique_ptr<heif_image, void (*)(const heif_image*)>;

tHeif HeifOf(int pWidth, int pHeight, const tBytes& pSamples)
{
    heif_image* made = nullptr;
    MustHeif(heif_image_create(pWidth, pHeight, heif_colorspace_RGB, heif_chroma_interleaved_RGB, &made));
    tHeif image(made, heif_image_release);
    MustHeif(heif_image_add_plane(made, heif_channel_interleaved, pWidth, pHeight, 8));
    int stride = 0;
    uint8_t* row = heif_image_get_plane(made, heif_channel_interleaved, &stride);
    const size_t bytes = size_t{3} * static_cast<size_t>(pWidth);
    for (int y = 0; y < pHeight; y++, row += stride)
        std::copy_n(pSamples.data() + static_cast<size_t>(y) * bytes, bytes, row);
    return image;
}

JxlBasicInfo InfoOf(int pWidth, int pHeight, uint32_t pBytes)
{
    JxlBasicInfo info;
    JxlEncoderInitBasicInfo(&info);
    info.xsize = static_cast<uint32_t>(pWidth);
    info.ysize = static_cast<uint32_t>(pHeight);
    info.bits_per_sample = 8 * pBytes;
    info.exponent_bits_per_sample = pBytes == 4 ? 8 : 0;
    info.uses_original_profile = JXL_TRUE;
    return info;
}

} // namespace

std::vector<uint16_t> DecodedHeif(const std::string& pPath, int pBits)
{
    heif_context* const context = heif_context_alloc();
    heif_image_handle* handle = nullptr;
    heif_image* image = nullptr;
    MustHeif(heif_context_read_from_file(context, pPath.c_str(), nullptr));
    MustHeif(heif_context_get_primary_image_handle(context, &handle));
    MustHeif(heif_decode_image(handle, &image, heif_colorspace_RGB,
                               pBits > 8 ? heif_chroma_interleaved_RRGGBB_LE : heif_chroma_interleaved_RGB, nullptr));
    std::vector<uint16_t> samples = SamplesOf(image, pBits);
    heif_image_release(image);
    heif_image_handle_release(handle);
    heif_context_free(context);
    return samples;
}

void StoreAvif(const std::string& pPath, int pWidth, int pHeight, const std::vector<uint16_t>& pSamples, int pBits,
               const sCodedColors& pColors)
{
    const auto bits = static_cast<uint32_t>(pBits);
    avifImage* const image =
        avifImageCreate(static_cast<uint32_t>(pWidth), static_cast<uint32_t>(pHeight), bits, AVIF_PIXEL_FORMAT_YUV444);
    image->colorPrimaries = static_cast<avifColorPrimaries>(pColors.fPrimaries);
    image->transferCharacteristics = static_cast<avifTransferCharacteristics>(pColors.fTransfer);
    image->matrixCoefficients = AVIF_MATRIX_COEFFICIENTS_BT601;
    image->yuvRange = AVIF_RANGE_FULL;
    if (!pColors.fProfile.empty()) avifImageSetProfileICC(image, pColors.fProfile.data(), pColors.fProfile.size());
    avifRGBImage rgb;
    avifRGBImageSetDefaults(&rgb, image);
    rgb.format = AVIF_RGB_FORMAT_RGB;
    const tBytes narrow(pSamples.begin(), pSamples.end());
    rgb.rowBytes = (bits > 8 ? 6U : 3U) * image->width;
    const void* const pixels = bits > 8 ? static_cast<const void*>(pSamples.data()) : narrow.data();
    rgb.pixels = static_cast<uint8_t*>(const_cast<void*>(pixels)); // only read
    avifEncoder* const encoder = avifEncoderCreate();
    avifRWData file = AVIF_DATA_EMPTY;
    if (avifImageRGBToYUV(image, &rgb) != AVIF_RESULT_OK || avifEncoderWrite(encoder, image, &file) != AVIF_RESULT_OK)
        throw std::runtime_error("AVIF");
    WriteAll(pPath, tBytes(file.data, file.data + file.size));
    avifRWDataFree(&file);
    avifEncoderDestroy(encoder);
    avifImageDestroy(image);
}

void StoreHeic(const std::string& pPath, int pWidth, int pHeight, const tBytes& pSamples, const sCodedColors& pColors)
{
    heif_context* const context = heif_context_alloc();
    const tHeif image = HeifOf(pWidth, pHeight, pSamples);
    heif_color_profile_nclx* const points = heif_nclx_color_profile_alloc();
    points->color_primaries = static_cast<heif_color_primaries>(pColors.fPrimaries);
    points->transfer_characteristics = static_cast<heif_transfer_characteristics>(pColors.fTransfer);
    MustHeif(heif_image_set_nclx_color_profile(image.get(), points));
    if (!pColors.fProfile.empty())
        MustHeif(
            heif_image_set_raw_color_profile(image.get(), "prof", pColors.fProfile.data(), pColors.fProfile.size()));
    heif_encoder* encoder = nullptr;
    MustHeif(heif_context_get_encoder_for_format(context, heif_compression_HEVC, &encoder));
    heif_encoding_options* const options = heif_encoding_options_alloc();
    options->macOS_compatibility_workaround_no_nclx_profile = 0;
    options->save_two_colr_boxes_when_ICC_and_nclx_available = 1;
    MustHeif(heif_context_encode_image(context, image.get(), encoder, options, nullptr));
    MustHeif(heif_context_write_to_file(context, pPath.c_str()));
    heif_encoding_options_free(options);
    heif_encoder_release(encoder);
    heif_nclx_color_profile_free(points);
    heif_context_free(context);
}

JxlColorEncoding JxlColors(JxlPrimaries pPrimaries, JxlTransferFunction pTransfer, double pGamma)
{
    JxlColorEncoding colors{};
    colors.color_space = JXL_COLOR_SPACE_RGB;
    colors.white_point = JXL_WHITE_POINT_D65;
    colors.primaries = pPrimaries;
    colors.transfer_function = pTransfer;
    colors.gamma = pGamma;
    colors.rendering_intent = JXL_RENDERING_INTENT_RELATIVE;
    return colors;
}

void StoreJxlBytes(const std::string& pPath, const void* pSamples, int pWidth, int pHeight, uint32_t pBytes,
                   const JxlColorEncoding& pColors)
{
    const std::unique_ptr<JxlEncoder, void (*)(JxlEncoder*)> encoder(JxlEncoderCreate(nullptr), JxlEncoderDestroy);
    const JxlBasicInfo info = InfoOf(pWidth, pHeight, pBytes);
    MustJxl(JxlEncoderSetBasicInfo(encoder.get(), &info));
    MustJxl(JxlEncoderSetColorEncoding(encoder.get(), &pColors));
    JxlEncoderFrameSettings* const frame = JxlEncoderFrameSettingsCreate(encoder.get(), nullptr);
    MustJxl(JxlEncoderSetFrameLossless(frame, JXL_TRUE));
    const JxlDataType type = pBytes == 4 ? JXL_TYPE_FLOAT : pBytes == 1 ? JXL_TYPE_UINT8 : JXL_TYPE_UINT16;
    const JxlPixelFormat format = {3, type, JXL_NATIVE_ENDIAN, 0};
    const auto samples = size_t{3} * info.xsize * info.ysize;
    MustJxl(JxlEncoderAddImageFrame(frame, &format, pSamples, samples * pBytes));
    JxlEncoderCloseInput(encoder.get());
    tBytes file(1 << 20);
    uint8_t* next = file.data();
    size_t left = file.size();
    MustJxl(JxlEncoderProcessOutput(encoder.get(), &next, &left));
    file.resize(file.size() - left);
    WriteAll(pPath, file);
}

} // namespace SelvaneTest
