#include "read/PictureReader.h"

#include "picture/Errors.h"
#include "picture/ExponentPlanes.h"
#include "picture/PngColor.h"
#include "picture/ProfileMatch.h"
#include "picture/VipsObject.h"
#include "read/InputFile.h"
#include "read/OpenExrReader.h"
#include "read/RadianceReader.h"
#include "read/TiffCheck.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace SelvaneHost
{

namespace
{

constexpr char kPngMark[] = "\x89PNG\r\n\x1A\n";
constexpr int kRowsAtOnce = 64;
constexpr int kMostBands = 5; // red, green, blue, alpha and one more
constexpr const char* kCarriedMetadata[] = {VIPS_META_EXIF_NAME, VIPS_META_XMP_NAME, VIPS_META_IPTC_NAME};

using tLoader = int (*)(void* pBytes, size_t pSize, VipsImage** pImage, ...);

bool BeginsWith(const tBytes& pBytes, const char* pMark, size_t pSize)
{
    return pBytes.size() >= pSize && std::memcmp(pBytes.data(), pMark, pSize) == 0;
}

bool IsPng(const tBytes& pBytes)
{
    return BeginsWith(pBytes, kPngMark, sizeof kPngMark - 1);
}

/// The picture library's loader for the bytes; null for what the command does not read through it.
tLoader LoaderFor(const tBytes& pBytes)
{
    if (IsPng(pBytes)) return vips_pngload_buffer;
    if (BeginsWith(pBytes, "\xFF\xD8\xFF", 3)) return vips_jpegload_buffer;
    for (const char* mark : {"II*\0", "MM\0*", "II+\0", "MM\0+"}) {
        if (BeginsWith(pBytes, mark, 4)) return vips_tiffload_buffer;
    }
    return nullptr;
}

[[noreturn]] void Damaged()
{
    throw cHostError("the picture is damaged or cut short: " + VipsWords());
}

tVipsImage Load(tLoader pLoader, const tBytes& pBytes, VipsAccess pAccess)
{
    VipsImage* image = nullptr;
    // The interface asks for a plain pointer; loaders only read.
    if (pLoader(const_cast<unsigned char*>(pBytes.data()), pBytes.size(), &image, "access", pAccess, "fail_on",
                VIPS_FAIL_ON_ERROR, nullptr) != 0)
        Damaged();
    return tVipsImage(image);
}

/// The picture as its Exif data want it seen.
tVipsImage Upright(tVipsImage pImage, tLoader pLoader, const tBytes& pBytes)
{
    if (vips_image_get_orientation(pImage.get()) == 1) return pImage;
    const tVipsImage source = Load(pLoader, pBytes, VIPS_ACCESS_RANDOM); // turning needs all rows at hand
    VipsImage* turned = nullptr;
    if (vips_autorot(source.get(), &turned, nullptr) != 0) Damaged();
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

eSampleForm FormOf(VipsImage* pImage)
{
    switch (vips_image_get_format(pImage)) {
    case VIPS_FORMAT_UCHAR:
        return eSamples8;
    case VIPS_FORMAT_USHORT:
        return eSamples16;
    case VIPS_FORMAT_FLOAT:
        return eExponentPlanes;
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

/// Each channel takes memory inside the picture library, and a few bytes can claim thousands.
void CheckBands(VipsImage* pImage)
{
    const int bands = vips_image_get_bands(pImage);
    if (bands > kMostBands) {
        throw cHostError("the picture has " + std::to_string(bands) + " channels; at most " +
                         std::to_string(kMostBands) + " can be read");
    }
}

/// Where the three samples of a pixel are among its bands.
struct sBands
{
    size_t fCount = 0; // bands in the file
    size_t fGreen = 0;
    size_t fBlue = 0; // red is the first
};

template <typename tSample>
void CopyRow(const unsigned char* pFrom, unsigned char* pTo, size_t pWidth, const sBands& pBands)
{
    tSample sample[3];
    for (size_t x = 0; x < pWidth; x++) {
        const unsigned char* const pixel = pFrom + x * pBands.fCount * sizeof(tSample);
        std::memcpy(&sample[0], pixel, sizeof(tSample));
        std::memcpy(&sample[1], pixel + pBands.fGreen * sizeof(tSample), sizeof(tSample));
        std::memcpy(&sample[2], pixel + pBands.fBlue * sizeof(tSample), sizeof(tSample));
        std::memcpy(pTo + x * sizeof sample, sample, sizeof sample);
    }
}

void CopyRow(const unsigned char* pFrom, unsigned char* pTo, const sPicture& pPicture, const sBands& pBands)
{
    const size_t width = static_cast<size_t>(pPicture.fWidth);
    if (pPicture.fForm == eSamples8) return CopyRow<unsigned char>(pFrom, pTo, width, pBands);
    if (pPicture.fForm == eSamples16) return CopyRow<uint16_t>(pFrom, pTo, width, pBands);
    const auto* const floats =
        static_cast<const float*>(static_cast<const void*>(pFrom)); // aligned by the picture library
    ToExponentRow(floats, floats + pBands.fGreen, floats + pBands.fBlue, static_cast<int>(pBands.fCount),
                  pPicture.fWidth, pTo);
}

/// Pulls the picture through the library's pipeline, some rows at a time. The room is set aside as a whole and taken as
/// the rows come, so that those of a cut file take none.
void ReadPixels(VipsImage* pImage, sPicture& pPicture)
{
    const bool grey = IsGrey(pImage);
    const sBands bands{static_cast<size_t>(vips_image_get_bands(pImage)), grey ? 0U : 1U, grey ? 0U : 2U};
    const tVipsRegion region(vips_region_new(pImage));
    if (!region) Damaged();
    pPicture.fPixels.reserve(RowBytes(pPicture) * static_cast<size_t>(pPicture.fHeight));
    for (int first = 0; first < pPicture.fHeight; first += kRowsAtOnce) {
        const int count = std::min(kRowsAtOnce, pPicture.fHeight - first);
        const VipsRect area{0, first, pPicture.fWidth, count};
        if (vips_region_prepare(region.get(), &area) != 0) Damaged();
        pPicture.fPixels.resize(RowBytes(pPicture) * static_cast<size_t>(first + count));
        for (int y = first; y < first + count; y++) {
            CopyRow(VIPS_REGION_ADDR(region.get(), 0, y),
                    pPicture.fPixels.data() + RowBytes(pPicture) * static_cast<size_t>(y), pPicture, bands);
        }
    }
}

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

/// Cameras that write Adobe RGB often embed no profile and say so in Exif alone: interoperability index "R03" (Design
/// rule for Camera File system 2.0).
bool CameraSaysAdobeRgb(VipsImage* pImage)
{
    constexpr const char* kField = "exif-ifd4-InteroperabilityIndex";
    const char* text = nullptr;
    if (vips_image_get_typeof(pImage, kField) == 0 || vips_image_get_string(pImage, kField, &text) != 0) {
        vips_error_clear();
        return false;
    }
    return std::strncmp(text, "R03", 3) == 0;
}

/// What a file without a profile says of its colours.
std::optional<Vornik::eColorSpaceID> SpaceWithoutProfile(VipsImage* pImage, const tBytes& pBytes)
{
    if (IsPng(pBytes) && PngSaysSrgb(pBytes)) return Vornik::eColorSpace_sRGB;
    if (CameraSaysAdobeRgb(pImage)) return Vornik::eColorSpace_AdobeRGB98;
    return std::nullopt;
}

void ReadColorSpace(VipsImage* pImage, const tBytes& pBytes, sPicture& pPicture)
{
    const tBytes profile = IsPng(pBytes) ? PngProfile(pBytes) : Block(pImage, VIPS_META_ICC_NAME);
    if (profile.empty()) {
        pPicture.fColorSpace = SpaceWithoutProfile(pImage, pBytes);
        return;
    }
    if (pPicture.fForm == eExponentPlanes) return; // a profile's curves say nothing about linear floats
    pPicture.fColorSpace = MatchProfile(profile);
    if (!pPicture.fColorSpace)
        pPicture.fColorSpaceWarning =
            "its colour profile \"" + ProfileDescription(profile) + "\" is " + NoneOfTheThree();
}

void ReadMetadata(VipsImage* pImage, sPicture& pPicture)
{
    for (const char* name : kCarriedMetadata) {
        tBytes block = Block(pImage, name);
        if (!block.empty()) pPicture.fMetadata[name] = std::move(block);
    }
}

void NoteWhatIsLeftOut(VipsImage* pImage, sPicture& pPicture)
{
    const int bands = vips_image_get_bands(pImage);
    const int further = bands - (IsGrey(pImage) ? 1 : 3);
    if (further == 1) pPicture.fWarnings.emplace_back("the alpha channel was dropped");
    if (further > 1) pPicture.fWarnings.push_back(std::to_string(further) + " further channels were dropped");
}

sPicture ReadThroughVips(tLoader pLoader, const tBytes& pBytes)
{
    if (pLoader == static_cast<tLoader>(vips_tiffload_buffer)) CheckTiff(pBytes);
    tVipsImage loaded = Load(pLoader, pBytes, VIPS_ACCESS_SEQUENTIAL);
    CheckColors(loaded.get());
    CheckBands(loaded.get());
    sPicture picture;
    SetSize(picture, vips_image_get_width(loaded.get()), vips_image_get_height(loaded.get()), FormOf(loaded.get()));
    CheckClaim(picture, pBytes.size());
    const tVipsImage image = Upright(std::move(loaded), pLoader, pBytes);
    picture.fWidth = vips_image_get_width(image.get());
    picture.fHeight = vips_image_get_height(image.get());
    ReadColorSpace(image.get(), pBytes, picture);
    ReadMetadata(image.get(), picture);
    NoteWhatIsLeftOut(image.get(), picture);
    ReadPixels(image.get(), picture);
    return picture;
}

/// Keeps the picture library's remarks to itself. What it has to say before it ends the process, the one line of this
/// run, goes out without taking memory, of which there may be none.
void KeepOrSay(const char*, GLogLevelFlags pLevel, const char* pWords, void*)
{
    if ((pLevel & G_LOG_FLAG_FATAL) != 0) std::fprintf(stderr, "selvane: the picture library gives up: %s\n", pWords);
}

} // namespace

void StartPictureLibrary()
{
    if (vips_init("selvane") != 0) throw cHostError("the picture library does not start: " + VipsWords());
    vips_block_untrusted_set(TRUE);
    vips_cache_set_max(0); // one picture a run: nothing to keep
    g_log_set_default_handler(KeepOrSay, nullptr);
}

void CheckKind(const tBytes& pFirst)
{
    if (pFirst.empty()) throw cHostError("the file is empty");
    if (!LooksLikeRadiance(pFirst) && !LooksLikeOpenExr(pFirst) && LoaderFor(pFirst) == nullptr)
        throw cHostError("not a picture of a kind that can be read (Radiance .hdr, OpenEXR, PNG, TIFF, JPEG)");
}

sPicture ReadPicture(const tBytes& pBytes)
{
    CheckKind(pBytes);
    if (LooksLikeRadiance(pBytes)) return ReadRadiance(pBytes);
    if (LooksLikeOpenExr(pBytes)) return ReadOpenExr(pBytes);
    return ReadThroughVips(LoaderFor(pBytes), pBytes);
}

sPicture ReadPictureFile(const std::string& pPath)
{
    return ReadPicture(ReadFile(pPath, CheckKind));
}

} // namespace SelvaneHost
