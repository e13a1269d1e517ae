#include "read/HeifReader.h"

#include "color/CodePoints.h"
#include "color/Interpret.h"
#include "picture/Errors.h"
#include "read/ReaderSteps.h"

#include <libheif/heif.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <string_view>

namespace SelvaneHost
{

namespace
{

struct sFreeContext
{
    void operator()(heif_context* pContext) const { heif_context_free(pContext); }
};
struct sReleaseHandle
{
    void operator()(heif_image_handle* pHandle) const { heif_image_handle_release(pHandle); }
};
struct sReleaseImage
{
    void operator()(heif_image* pImage) const { heif_image_release(pImage); }
};
struct sFreeNclx
{
    void operator()(heif_color_profile_nclx* pProfile) const { heif_nclx_color_profile_free(pProfile); }
};
using tContext = std::unique_ptr<heif_context, sFreeContext>;
using tHandle = std::unique_ptr<heif_image_handle, sReleaseHandle>;
using tImage = std::unique_ptr<heif_image, sReleaseImage>;

/// Throws for a failure of libheif. A lack of memory is one by its subcode.
void Must(const heif_error& pError)
{
    if (pError.code == heif_error_Ok) return;
    if (pError.code == heif_error_Memory_allocation_error) throw std::bad_alloc();
    Damaged(OneLine(pError.message));
}

tHandle PrimaryOf(heif_context* pContext, const tBytes& pBytes)
{
    Must(heif_context_read_from_memory_without_copy(pContext, pBytes.data(), pBytes.size(), nullptr));
    heif_image_handle* handle = nullptr;
    Must(heif_context_get_primary_image_handle(pContext, &handle));
    return tHandle(handle);
}

tBytes ProfileOf(const heif_image_handle* pHandle)
{
    tBytes profile(heif_image_handle_get_raw_color_profile_size(pHandle));
    if (!profile.empty()) Must(heif_image_handle_get_raw_color_profile(pHandle, profile.data()));
    return profile;
}

/// A profile counts before code points, but for those of PQ and HLG, which a profile can only approach.
sColorNotes NotesOf(const heif_image_handle* pHandle)
{
    sColorNotes notes;
    notes.fProfile = ProfileOf(pHandle);
    heif_color_profile_nclx* found = nullptr;
    if (heif_image_handle_get_nclx_color_profile(pHandle, &found).code != heif_error_Ok) return notes;
    const std::unique_ptr<heif_color_profile_nclx, sFreeNclx> nclx(found);
    const sCodePoints points{nclx->color_primaries, nclx->transfer_characteristics};
    const bool light = points.fTransfer == kTransferPq || points.fTransfer == kTransferHlg;
    if (light || notes.fProfile.empty()) notes.fCodePoints = points;
    return notes;
}

/// Copies a row of 16-bit samples whose largest value is pMost, as 16 bits of full range.
void CopyDeepRow(const unsigned char* pFrom, unsigned pMost, size_t pSamples, unsigned char* pTo)
{
    for (size_t i = 0; i < pSamples; i++) {
        const unsigned sample = std::min<unsigned>(pFrom[2 * i] | static_cast<unsigned>(pFrom[2 * i + 1]) << 8, pMost);
        const auto whole = static_cast<uint16_t>((sample * 65535U + pMost / 2) / pMost);
        std::memcpy(pTo + 2 * i, &whole, sizeof whole);
    }
}

tImage Decode(const heif_image_handle* pHandle, bool pDeep, bool pAlpha)
{
    const heif_chroma deep = pAlpha ? heif_chroma_interleaved_RRGGBBAA_LE : heif_chroma_interleaved_RRGGBB_LE;
    const heif_chroma narrow = pAlpha ? heif_chroma_interleaved_RGBA : heif_chroma_interleaved_RGB;
    heif_image* image = nullptr;
    Must(heif_decode_image(pHandle, &image, heif_colorspace_RGB, pDeep ? deep : narrow, nullptr));
    return tImage(image);
}

void CopyPixels(const heif_image* pImage, sPicture& pPicture)
{
    int stride = 0;
    const uint8_t* const plane = heif_image_get_plane_readonly(pImage, heif_channel_interleaved, &stride);
    const int bits = heif_image_get_bits_per_pixel_range(pImage, heif_channel_interleaved);
    if (plane == nullptr || heif_image_get_width(pImage, heif_channel_interleaved) != pPicture.fWidth ||
        heif_image_get_height(pImage, heif_channel_interleaved) != pPicture.fHeight || bits > 16)
        Damaged("it does not decode to its size");
    const size_t samples = static_cast<size_t>(pPicture.fWidth) * static_cast<size_t>(pPicture.fChannels);
    for (int y = 0; y < pPicture.fHeight; y++) {
        const uint8_t* const row = plane + static_cast<size_t>(stride) * static_cast<size_t>(y);
        if (pPicture.fForm == eSamples8)
            std::memcpy(Row(pPicture, y), row, samples);
        else
            CopyDeepRow(row, (1U << bits) - 1U, samples, Row(pPicture, y));
    }
}

} // namespace

bool LooksLikeHeif(const tBytes& pBytes)
{
    constexpr std::string_view kBrands[] = {"heic", "heix", "heim", "heis", "mif1",
                                            "mif2", "msf1", "avif", "avis", "miaf"};
    if (pBytes.size() < 12 || std::memcmp(pBytes.data() + 4, "ftyp", 4) != 0) return false;
    const std::string_view brand(reinterpret_cast<const char*>(pBytes.data()) + 8, 4);
    return std::find(std::begin(kBrands), std::end(kBrands), brand) != std::end(kBrands);
}

sPicture ReadHeif(const tBytes& pBytes, const sReadOptions& pOptions)
{
    const tContext context(heif_context_alloc());
    if (context == nullptr) throw std::bad_alloc();
    const tHandle handle = PrimaryOf(context.get(), pBytes);
    const bool deep = heif_image_handle_get_luma_bits_per_pixel(handle.get()) > 8;
    const bool alpha = heif_image_handle_has_alpha_channel(handle.get()) != 0;
    sPicture picture;
    SetSize(picture, heif_image_handle_get_width(handle.get()), heif_image_handle_get_height(handle.get()),
            deep ? eSamples16 : eSamples8, alpha ? 4 : 3);
    CheckClaim(picture, pBytes.size());
    const tImage image = Decode(handle.get(), deep, alpha);
    picture.fPixels.resize(AllBytes(picture));
    CopyPixels(image.get(), picture);
    Interpret(picture, NotesOf(handle.get()), pOptions);
    return picture;
}

} // namespace SelvaneHost
