#include "read/VipsReader.h"

#include "color/Interpret.h"
#include "picture/Errors.h"
#include "picture/VipsObject.h"
#include "read/ReaderSteps.h"

#include <selvane.h>

#include <algorithm>
#include <cstring>
#include <utility>

namespace SelvaneHost
{

namespace
{

constexpr int kRowsAtOnce = 64;
constexpr int kMostBands = 5; // red, green, blue, alpha and one more

[[noreturn]] void FailedInVips()
{
    Damaged(VipsWords());
}

tVipsImage Load(const sVipsKind& pKind, const tBytes& pBytes, VipsAccess pAccess)
{
    VipsImage* image = nullptr;
    auto* const bytes = const_cast<unsigned char*>(pBytes.data()); // loaders only read
    if (pKind.fLoad(bytes, pBytes.size(), &image, "access", pAccess, "fail_on", VIPS_FAIL_ON_ERROR, nullptr) != 0)
        FailedInVips();
    return tVipsImage(image);
}

/// Carries out the turn that the Exif data ask for.
tVipsImage Upright(tVipsImage pImage, const sVipsKind& pKind, const tBytes& pBytes)
{
    if (vips_image_get_orientation(pImage.get()) == 1) return pImage;
    const tVipsImage source = Load(pKind, pBytes, VIPS_ACCESS_RANDOM); // turning needs access to all rows
    VipsImage* turned = nullptr;
    if (vips_autorot(source.get(), &turned, nullptr) != 0) FailedInVips();
    return tVipsImage(turned);
}

void CheckColors(VipsImage* pImage)
{
    const VipsInterpretation colors = vips_image_get_interpretation(pImage);
    for (const VipsInterpretation known :
         {VIPS_INTERPRETATION_sRGB, VIPS_INTERPRETATION_RGB, VIPS_INTERPRETATION_RGB16, VIPS_INTERPRETATION_scRGB,
          VIPS_INTERPRETATION_B_W, VIPS_INTERPRETATION_GREY16}) {
        if (colors == known) return;
    }
    if (colors == VIPS_INTERPRETATION_CMYK) throw cHostError("the picture holds CMYK colours; convert it to RGB first");
    throw cHostError(std::string("the picture holds colours of the kind \"") +
                     vips_enum_nick(VIPS_TYPE_INTERPRETATION, colors) + "\"; convert it to RGB first");
}

/// Refuses pictures of many channels. libvips allocates memory for each channel, and a few bytes can claim thousands.
void CheckBands(VipsImage* pImage)
{
    const int bands = vips_image_get_bands(pImage);
    if (bands > kMostBands) {
        throw cHostError("the picture has " + std::to_string(bands) + " channels; at most " +
                         std::to_string(kMostBands) + " can be read");
    }
}

eSampleForm FormOf(VipsImage* pImage)
{
    switch (vips_image_get_format(pImage)) {
    case VIPS_FORMAT_UCHAR:
        return eSamples8;
    case VIPS_FORMAT_USHORT:
        return eSamples16;
    case VIPS_FORMAT_FLOAT:
        return eFloats;
    default:
        throw cHostError(std::string("the picture's samples are of the kind \"") +
                         vips_enum_nick(VIPS_TYPE_BAND_FORMAT, vips_image_get_format(pImage)) +
                         "\"; only 8 and 16-bit samples and 32-bit floats can be read");
    }
}

bool IsGrey(VipsImage* pImage)
{
    const VipsInterpretation colors = vips_image_get_interpretation(pImage);
    return vips_image_get_bands(pImage) < 3 || colors == VIPS_INTERPRETATION_B_W ||
           colors == VIPS_INTERPRETATION_GREY16;
}

/// Bands of a pixel that become green, blue and alpha. Red is the first band.
struct sBands
{
    size_t fCount = 0; ///< bands in the file
    size_t fGreen = 0;
    size_t fBlue = 0;
    size_t fAlpha = 0;
};

void CopyRow(const unsigned char* pFrom, unsigned char* pTo, const sPicture& pPicture, const sBands& pBands)
{
    const size_t bytes = SampleBytes(pPicture.fForm);
    const size_t from[4] = {0, pBands.fGreen * bytes, pBands.fBlue * bytes, pBands.fAlpha * bytes};
    const size_t step = pBands.fCount * bytes;
    for (int x = 0; x < pPicture.fWidth; x++, pFrom += step)
        for (int channel = 0; channel < pPicture.fChannels; channel++, pTo += bytes)
            std::memcpy(pTo, pFrom + from[channel], bytes);
}

/// Decodes all rows, some at a time. The memory is reserved in one piece and touched as the rows arrive. The missing
/// rows of a cut file touch none.
void ReadPixels(VipsImage* pImage, sPicture& pPicture)
{
    const bool grey = IsGrey(pImage);
    const sBands bands{static_cast<size_t>(vips_image_get_bands(pImage)), grey ? 0U : 1U, grey ? 0U : 2U,
                       grey ? 1U : 3U};
    const tVipsRegion region(vips_region_new(pImage));
    if (!region) FailedInVips();
    pPicture.fPixels.reserve(AllBytes(pPicture));
    for (int first = 0; first < pPicture.fHeight; first += kRowsAtOnce) {
        const int count = std::min(kRowsAtOnce, pPicture.fHeight - first);
        const VipsRect area{0, first, pPicture.fWidth, count};
        if (vips_region_prepare(region.get(), &area) != 0) FailedInVips();
        pPicture.fPixels.resize(RowBytes(pPicture) * static_cast<size_t>(first + count));
        for (int y = first; y < first + count; y++)
            CopyRow(VIPS_REGION_ADDR(region.get(), 0, y), Row(pPicture, y), pPicture, bands);
    }
}

/// Returns a block of metadata. Empty if the file has none of this name.
tBytes Block(VipsImage* pImage, const char* pName)
{
    const void* data = nullptr;
    size_t size = 0;
    if (vips_image_get_typeof(pImage, pName) == 0 || vips_image_get_blob(pImage, pName, &data, &size) != 0) {
        vips_error_clear();
        return {};
    }
    const auto* bytes = static_cast<const unsigned char*>(data);
    return {bytes, bytes + size};
}

/// Returns whether the Exif data name Adobe RGB by the interoperability index "R03" (Design rule for Camera File system
/// 2.0). Many cameras embed no profile with it.
bool ExifSaysAdobeRgb(VipsImage* pImage)
{
    constexpr const char* kField = "exif-ifd4-InteroperabilityIndex";
    const char* text = nullptr;
    if (vips_image_get_typeof(pImage, kField) == 0 || vips_image_get_string(pImage, kField, &text) != 0) {
        vips_error_clear();
        return false;
    }
    return std::strncmp(text, "R03", 3) == 0;
}

sColorNotes NotesOf(VipsImage* pImage, const sVipsKind& pKind, const tBytes& pBytes)
{
    sColorNotes notes;
    if (pKind.fNotes != nullptr)
        notes = pKind.fNotes(pBytes);
    else
        notes.fProfile = Block(pImage, VIPS_META_ICC_NAME);
    if (!notes.fSpace && ExifSaysAdobeRgb(pImage)) notes.fSpace = SELVANE_ADOBE_RGB;
    return notes;
}

/// Bands beside grey or red, green and blue.
int FurtherBands(VipsImage* pImage)
{
    return vips_image_get_bands(pImage) - (IsGrey(pImage) ? 1 : 3);
}

void WarnOfDroppedBands(VipsImage* pImage, sPicture& pPicture)
{
    const int further = FurtherBands(pImage);
    if (further > 1) pPicture.fWarnings.push_back(std::to_string(further) + " further channels were dropped");
}

/// Sets the size that the picture has when it stands upright.
void SetUprightSize(VipsImage* pImage, sPicture& pPicture)
{
    int width = vips_image_get_width(pImage), height = vips_image_get_height(pImage);
    if (vips_image_get_orientation_swap(pImage) != 0) std::swap(width, height);
    SetSize(pPicture, width, height, FormOf(pImage), FurtherBands(pImage) == 1 ? 4 : 3);
}

} // namespace

sPicture ReadThroughVips(const sVipsKind& pKind, const tBytes& pBytes, const sReadOptions& pOptions)
{
    tVipsImage loaded = Load(pKind, pBytes, VIPS_ACCESS_SEQUENTIAL);
    CheckColors(loaded.get());
    CheckBands(loaded.get());
    sPicture picture;
    SetUprightSize(loaded.get(), picture);
    CheckClaim(picture, pBytes.size());
    const tVipsImage image = Upright(std::move(loaded), pKind, pBytes);
    WarnOfDroppedBands(image.get(), picture);
    ReadPixels(image.get(), picture);
    Interpret(picture, NotesOf(image.get(), pKind, pBytes), pOptions);
    return picture;
}

} // namespace SelvaneHost
