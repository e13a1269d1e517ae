#include "host/read/Encoded.h"

#include <jxl/encode.h>
#include <libheif/heif.h>

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
