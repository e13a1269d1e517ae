#include "read/JpegXlReader.h"

#include "color/CodePoints.h"
#include "color/Interpret.h"
#include "picture/Errors.h"
#include "read/ReaderSteps.h"

#include <jxl/decode.h>

#include <algorithm>
#include <array>
#include <memory>
#include <new>
#include <optional>
#include <string_view>

namespace SelvaneHost
{

namespace
{

struct sDestroy
{
    void operator()(JxlDecoder* pDecoder) const { JxlDecoderDestroy(pDecoder); }
};
using tDecoder = std::unique_ptr<JxlDecoder, sDestroy>;

void Must(JxlDecoderStatus pStatus)
{
    if (pStatus != JXL_DEC_SUCCESS) Damaged("it cannot be decoded");
}

eSampleForm FormOf(const JxlBasicInfo& pInfo)
{
    if (pInfo.exponent_bits_per_sample > 0) return eFloats;
    return pInfo.bits_per_sample > 8 ? eSamples16 : eSamples8;
}

JxlPixelFormat FormatOf(const sPicture& pPicture)
{
    const JxlDataType type = pPicture.fForm == eSamples8    ? JXL_TYPE_UINT8
                             : pPicture.fForm == eSamples16 ? JXL_TYPE_UINT16
                                                            : JXL_TYPE_FLOAT;
    return {static_cast<uint32_t>(pPicture.fChannels), type, JXL_NATIVE_ENDIAN, 0};
}

/// Returns the code point of primaries and white that ITU-T H.273 has, else kNotSaid.
int PrimariesOf(const JxlColorEncoding& pColors)
{
    if (pColors.white_point == JXL_WHITE_POINT_DCI && pColors.primaries == JXL_PRIMARIES_P3) return 11;
    if (pColors.white_point != JXL_WHITE_POINT_D65) return kNotSaid;
    if (pColors.color_space == JXL_COLOR_SPACE_GRAY || pColors.primaries == JXL_PRIMARIES_SRGB) return kPrimariesBt709;
    if (pColors.primaries == JXL_PRIMARIES_2100) return kPrimariesBt2020;
    return pColors.primaries == JXL_PRIMARIES_P3 ? kPrimariesP3 : kNotSaid;
}

/// Takes primaries that have no code point, or that come with a power, as numbers.
void TakePrimaries(const JxlColorEncoding& pColors, sColorNotes& pNotes)
{
    if (pColors.color_space == JXL_COLOR_SPACE_GRAY) return;
    pNotes.fChromaticities.emplace();
    const double* const points[4] = {pColors.primaries_red_xy, pColors.primaries_green_xy, pColors.primaries_blue_xy,
                                     pColors.white_point_xy};
    for (size_t i = 0; i < 8; i++)
        (*pNotes.fChromaticities)[i] = static_cast<float>(points[i / 2][i % 2]);
}

tBytes ProfileOf(JxlDecoder* pDecoder, const JxlPixelFormat& pFormat)
{
    constexpr size_t kLargest = size_t{16} << 20; // bytes
    size_t size = 0;
    if (JxlDecoderGetICCProfileSize(pDecoder, &pFormat, JXL_COLOR_PROFILE_TARGET_DATA, &size) != JXL_DEC_SUCCESS ||
        size > kLargest)
        return {};
    tBytes profile(size);
    Must(JxlDecoderGetColorAsICCProfile(pDecoder, &pFormat, JXL_COLOR_PROFILE_TARGET_DATA, profile.data(), size));
    return profile;
}

/// What the decoded samples mean: by numbers if the file has them, else by a profile.
sColorNotes NotesOf(JxlDecoder* pDecoder, const sPicture& pPicture)
{
    sColorNotes notes;
    const JxlPixelFormat format = FormatOf(pPicture);
    JxlColorEncoding colors{};
    if (JxlDecoderGetColorAsEncodedProfile(pDecoder, &format, JXL_COLOR_PROFILE_TARGET_DATA, &colors) !=
        JXL_DEC_SUCCESS) {
        notes.fProfile = ProfileOf(pDecoder, format);
        return notes;
    }
    const int primaries = PrimariesOf(colors);
    const bool power = colors.transfer_function == JXL_TRANSFER_FUNCTION_GAMMA;
    if (power)
        notes.fGamma = 1.0 / colors.gamma;
    else
        notes.fCodePoints = {primaries, static_cast<int>(colors.transfer_function)}; // up to 18, those of H.273
    if (power || primaries == kNotSaid) TakePrimaries(colors, notes);
    return notes;
}

/// Runs the decoder from event to event.
class cDecoding
{
public:
    explicit cDecoding(const tBytes& pBytes) : fBytes(pBytes), fDecoder(JxlDecoderCreate(nullptr))
    {
        if (fDecoder == nullptr) throw std::bad_alloc();
        Must(JxlDecoderSubscribeEvents(fDecoder.get(),
                                       JXL_DEC_BASIC_INFO | JXL_DEC_COLOR_ENCODING | JXL_DEC_FULL_IMAGE));
        Must(JxlDecoderSetInput(fDecoder.get(), pBytes.data(), pBytes.size()));
        JxlDecoderCloseInput(fDecoder.get());
    }

    sPicture Run(const sReadOptions& pOptions)
    {
        for (;;) {
            switch (JxlDecoderProcessInput(fDecoder.get())) {
            case JXL_DEC_BASIC_INFO:
                TakeSize();
                break;
            case JXL_DEC_COLOR_ENCODING:
                TakeColors();
                break;
            case JXL_DEC_NEED_IMAGE_OUT_BUFFER:
                GiveMemory();
                break;
            case JXL_DEC_FULL_IMAGE:
                Interpret(fPicture, fNotes, pOptions);
                return std::move(fPicture);
            case JXL_DEC_NEED_MORE_INPUT:
                Damaged("it ends before its last pixel");
            default:
                Damaged("it cannot be decoded");
            }
        }
    }

private:
    void TakeSize()
    {
        JxlBasicInfo info{};
        Must(JxlDecoderGetBasicInfo(fDecoder.get(), &info));
        SetSize(fPicture, info.xsize, info.ysize, FormOf(info), info.alpha_bits > 0 ? 4 : 3);
        CheckClaim(fPicture, fBytes.size());
    }

    void TakeColors()
    {
        fNotes = NotesOf(fDecoder.get(), fPicture);
        const int transfer = fNotes.fCodePoints.value_or(sCodePoints()).fTransfer;
        if (transfer == kTransferPq || transfer == kTransferHlg) fPicture.fForm = eFloats; // full precision
    }

    void GiveMemory()
    {
        const JxlPixelFormat format = FormatOf(fPicture);
        size_t size = 0;
        Must(JxlDecoderImageOutBufferSize(fDecoder.get(), &format, &size));
        if (size != AllBytes(fPicture)) Damaged("it does not decode to its size");
        fPicture.fPixels.resize(size);
        Must(JxlDecoderSetImageOutBuffer(fDecoder.get(), &format, fPicture.fPixels.data(), size));
    }

    const tBytes& fBytes;
    const tDecoder fDecoder;
    sPicture fPicture;
    sColorNotes fNotes;
};

} // namespace

bool LooksLikeJpegXl(const tBytes& pBytes)
{
    using namespace std::literals;
    return BeginsWith(pBytes, "\xFF\x0A"sv) || BeginsWith(pBytes, "\0\0\0\x0CJXL \x0D\x0A\x87\x0A"sv);
}

sPicture ReadJpegXl(const tBytes& pBytes, const sReadOptions& pOptions)
{
    return cDecoding(pBytes).Run(pOptions);
}

} // namespace SelvaneHost
