#include "picture/Errors.h"
#include "write/Encoding.h"

#include <jxl/encode.h>
#include <jxl/thread_parallel_runner.h>
#include <memory>
#include <selvane.h>

namespace SelvaneHost
{

namespace
{

using tEncoder = std::unique_ptr<JxlEncoder, decltype(&JxlEncoderDestroy)>;
using tRunner = std::unique_ptr<void, decltype(&JxlThreadParallelRunnerDestroy)>;

void Must(bool pDone, const char* pWhat)
{
    if (!pDone) throw cHostError(std::string("cannot be written: the JPEG XL encoder refuses ") + pWhat);
}

bool IsLossless(const sEncoding& pEncoding)
{
    return pEncoding.fQuality == 100;
}

/// The distance that just shows is 1. Source: the scale of qualities in libjxl's own encoder program.
float DistanceOf(int pQuality)
{
    const auto quality = static_cast<float>(pQuality);
    if (pQuality >= 30) return 0.1F + (100.0F - quality) * 0.09F;
    return 53.0F / 3000.0F * quality * quality - 23.0F / 20.0F * quality + 25.0F;
}

/// The space in the terms of JPEG XL. A lossy file holds colours of its own kind, and decoders turn them into this
/// space; most of them cannot do that with a profile.
JxlColorEncoding ColorsOf(int pSpace)
{
    JxlColorEncoding colors;
    JxlColorEncodingSetToSRGB(&colors, JXL_FALSE);
    const auto custom = [&](double pRedX, double pRedY, double pGreenX, double pGreenY, double pBlueX, double pBlueY,
                            double pGamma) {
        colors.primaries = JXL_PRIMARIES_CUSTOM;
        colors.primaries_red_xy[0] = pRedX, colors.primaries_red_xy[1] = pRedY;
        colors.primaries_green_xy[0] = pGreenX, colors.primaries_green_xy[1] = pGreenY;
        colors.primaries_blue_xy[0] = pBlueX, colors.primaries_blue_xy[1] = pBlueY;
        colors.transfer_function = JXL_TRANSFER_FUNCTION_GAMMA;
        colors.gamma = 1 / pGamma;
    };
    if (pSpace == SELVANE_ADOBE_RGB) custom(0.64, 0.33, 0.21, 0.71, 0.15, 0.06, 2.2);
    if (pSpace == SELVANE_PROPHOTO) {
        custom(0.7347, 0.2653, 0.1596, 0.8404, 0.0366, 0.0001, 1.8);
        colors.white_point = JXL_WHITE_POINT_CUSTOM; // D50
        colors.white_point_xy[0] = 0.34567, colors.white_point_xy[1] = 0.3585;
    }
    if (pSpace == SELVANE_DISPLAY_P3) colors.primaries = JXL_PRIMARIES_P3;
    if (pSpace == SELVANE_REC2020) {
        colors.primaries = JXL_PRIMARIES_2100;
        colors.transfer_function = JXL_TRANSFER_FUNCTION_709; // the same curve in BT.709 and BT.2020
    }
    return colors;
}

/// Sets the profile of a lossless file, or the space of a lossy one.
void SetColors(JxlEncoder* pEncoder, const sEncoding& pEncoding)
{
    const JxlColorEncoding colors = ColorsOf(pEncoding.fSpace);
    const JxlEncoderStatus status =
        IsLossless(pEncoding) ? JxlEncoderSetICCProfile(pEncoder, pEncoding.fProfile.data(), pEncoding.fProfile.size())
                              : JxlEncoderSetColorEncoding(pEncoder, &colors);
    Must(status == JXL_ENC_SUCCESS, "the colour space");
}

void Describe(JxlEncoder* pEncoder, const sEncoding& pEncoding)
{
    const auto depth = static_cast<uint32_t>(pEncoding.fDepth);
    JxlBasicInfo info;
    JxlEncoderInitBasicInfo(&info);
    info.xsize = static_cast<uint32_t>(pEncoding.fPicture.fWidth);
    info.ysize = static_cast<uint32_t>(pEncoding.fPicture.fHeight);
    info.bits_per_sample = depth;
    info.num_color_channels = 3;
    info.num_extra_channels = pEncoding.fPicture.fChannels == 4 ? 1 : 0;
    info.alpha_bits = info.num_extra_channels == 1 ? depth : 0;
    info.uses_original_profile = IsLossless(pEncoding) ? JXL_TRUE : JXL_FALSE;
    Must(JxlEncoderSetBasicInfo(pEncoder, &info) == JXL_ENC_SUCCESS, "a picture of this size and depth");
    const int level = JxlEncoderGetRequiredCodestreamLevel(pEncoder);
    if (level > 5) JxlEncoderSetCodestreamLevel(pEncoder, level);
}

void AddBox(JxlEncoder* pEncoder, const char* pType, const tBytes& pContent)
{
    Must(JxlEncoderAddBox(pEncoder, pType, pContent.data(), pContent.size(), JXL_FALSE) == JXL_ENC_SUCCESS,
         "the metadata");
}

void AddMetadata(JxlEncoder* pEncoder, const sMetadata& pMetadata)
{
    if (!pMetadata.fExif.empty()) {
        tBytes box(4); // the distance of the TIFF structure from here
        box.insert(box.end(), pMetadata.fExif.begin(), pMetadata.fExif.end());
        AddBox(pEncoder, "Exif", box);
    }
    if (!pMetadata.fXmp.empty()) AddBox(pEncoder, "xml ", pMetadata.fXmp);
    JxlEncoderCloseBoxes(pEncoder);
}

void AddPixels(JxlEncoder* pEncoder, const sEncoding& pEncoding)
{
    const sPicture& picture = pEncoding.fPicture;
    JxlEncoderFrameSettings* const settings = JxlEncoderFrameSettingsCreate(pEncoder, nullptr);
    if (IsLossless(pEncoding))
        JxlEncoderSetFrameLossless(settings, JXL_TRUE);
    else
        JxlEncoderSetFrameDistance(settings, DistanceOf(pEncoding.fQuality));
    const JxlPixelFormat format{static_cast<uint32_t>(picture.fChannels),
                                picture.fForm == eSamples8 ? JXL_TYPE_UINT8 : JXL_TYPE_UINT16, JXL_NATIVE_ENDIAN, 0};
    Must(JxlEncoderAddImageFrame(settings, &format, picture.fPixels.data(), picture.fPixels.size()) == JXL_ENC_SUCCESS,
         "the pixels");
}

tBytes Output(JxlEncoder* pEncoder)
{
    tBytes file(1 << 16);
    size_t used = 0;
    for (;;) {
        uint8_t* next = file.data() + used;
        size_t left = file.size() - used;
        const JxlEncoderStatus status = JxlEncoderProcessOutput(pEncoder, &next, &left);
        used = file.size() - left;
        Must(status != JXL_ENC_ERROR, "the picture");
        if (status == JXL_ENC_SUCCESS) break;
        file.resize(2 * file.size());
    }
    file.resize(used);
    return file;
}

} // namespace

tBytes EncodeJxl(const sEncoding& pEncoding)
{
    const tRunner runner(JxlThreadParallelRunnerCreate(nullptr, static_cast<size_t>(pEncoding.fThreads)),
                         JxlThreadParallelRunnerDestroy);
    const tEncoder encoder(JxlEncoderCreate(nullptr), JxlEncoderDestroy);
    if (!encoder || !runner) throw std::bad_alloc();
    JxlEncoderSetParallelRunner(encoder.get(), JxlThreadParallelRunner, runner.get());
    JxlEncoderUseBoxes(encoder.get());
    Describe(encoder.get(), pEncoding);
    SetColors(encoder.get(), pEncoding);
    AddMetadata(encoder.get(), pEncoding.fMetadata);
    AddPixels(encoder.get(), pEncoding);
    JxlEncoderCloseInput(encoder.get());
    return Output(encoder.get());
}

} // namespace SelvaneHost
