#include "metadata/OutputMetadata.h"

#include "metadata/StripLocation.h"

#include <algorithm>
#include <selvane.h>
#include <set>
#include <string_view>

namespace SelvaneHost
{

namespace
{

// Exif 2.32, ColorSpace and InteroperabilityIndex; "R98" and "R03" are of DCF 2.0. Adobe RGB has no number of its own.
constexpr uint16_t kExifSrgb = 1;
constexpr uint16_t kExifUncalibrated = 65535;

/// Entries of the first directory that describe how the pixels of the input were stored, by tag: sizes, strips,
/// compression, sample forms, curves and primaries, pointers, and blocks that are carried on their own.
const std::set<uint16_t> kStorageTags = {0x00FE, 0x00FF, 0x0102, 0x0103, 0x0106, 0x0107, 0x0108, 0x0109, 0x010A, 0x0111,
                                         0x0115, 0x0116, 0x0117, 0x0118, 0x0119, 0x011C, 0x0120, 0x0121, 0x0122, 0x0123,
                                         0x0124, 0x0125, 0x0129, 0x012D, 0x013D, 0x013E, 0x013F, 0x0140, 0x0141, 0x0142,
                                         0x0143, 0x0144, 0x0145, 0x014A, 0x0152, 0x0153, 0x0154, 0x0155, 0x0156, 0x015B,
                                         0x0200, 0x0201, 0x0202, 0x0203, 0x0205, 0x0206, 0x0207, 0x0208, 0x0209, 0x0211,
                                         0x0212, 0x0214, 0x02BC, 0x828D, 0x828E, 0x83BB, 0x8649, 0x8773, 0x9217};

/// Digital negatives: a file with DNGVersion would be taken for one.
constexpr uint16_t kFirstDngTag = 0xC612;
constexpr uint16_t kLastDngTag = 0xC7FF;

bool IsFirstDirectory(const Exiv2::Exifdatum& pEntry)
{
    return pEntry.groupName() == "Image";
}

bool DescribesStorage(const Exiv2::Exifdatum& pEntry)
{
    const std::string group = pEntry.groupName();
    if (group.starts_with("SubImage") || group.starts_with("SubThumb") || group == "Image2" || group == "Image3")
        return true;
    const uint16_t tag = pEntry.tag();
    if (group == "Photo") return tag == 0xA500 || tag == 0x9102; // Gamma, CompressedBitsPerPixel
    return IsFirstDirectory(pEntry) && (kStorageTags.contains(tag) || (tag >= kFirstDngTag && tag <= kLastDngTag));
}

void DropStorage(Exiv2::ExifData& pExif)
{
    for (auto entry = pExif.begin(); entry != pExif.end();)
        entry = DescribesStorage(*entry) ? pExif.erase(entry) : std::next(entry);
}

template <typename tData>
void Erase(tData& pData, typename tData::iterator pEntry)
{
    if (pEntry != pData.end()) pData.erase(pEntry);
}

/// Sets an entry that is there already.
template <typename tKey, typename tData>
void SetIfThere(tData& pData, const char* pKey, const std::string& pValue)
{
    const auto entry = pData.findKey(tKey(pKey));
    if (entry != pData.end()) *entry = pValue;
}

void SetSize(Exiv2::ExifData& pExif, const sOutputFacts& pFacts)
{
    pExif["Exif.Photo.PixelXDimension"] = static_cast<uint32_t>(pFacts.fWidth);
    pExif["Exif.Photo.PixelYDimension"] = static_cast<uint32_t>(pFacts.fHeight);
    SetIfThere<Exiv2::ExifKey>(pExif, "Exif.Image.ImageWidth", std::to_string(pFacts.fWidth));
    SetIfThere<Exiv2::ExifKey>(pExif, "Exif.Image.ImageLength", std::to_string(pFacts.fHeight));
}

void SetColorSpace(Exiv2::ExifData& pExif, int pSpace)
{
    pExif["Exif.Photo.ColorSpace"] = pSpace == SELVANE_SRGB ? kExifSrgb : kExifUncalibrated;
    if (pSpace == SELVANE_SRGB || pSpace == SELVANE_ADOBE_RGB) {
        pExif["Exif.Iop.InteroperabilityIndex"] = pSpace == SELVANE_SRGB ? "R98" : "R03";
        pExif["Exif.Iop.InteroperabilityVersion"] = "48 49 48 48"; // "0100"
    } else {
        Erase(pExif, pExif.findKey(Exiv2::ExifKey("Exif.Iop.InteroperabilityIndex")));
    }
}

void SetThumbnail(Exiv2::ExifData& pExif, const tBytes& pThumbnail)
{
    constexpr Exiv2::URational kInch(72, 1);
    Exiv2::ExifThumb thumbnail(pExif);
    thumbnail.erase();
    if (!pThumbnail.empty())
        thumbnail.setJpegThumbnail(pThumbnail.data(), static_cast<long>(pThumbnail.size()), kInch, kInch, 2);
}

void MakeExifTrue(Exiv2::ExifData& pExif, const sOutputFacts& pFacts)
{
    if (pExif.empty()) return;
    DropStorage(pExif);
    pExif["Exif.Image.Orientation"] = uint16_t{1};
    SetSize(pExif, pFacts);
    SetColorSpace(pExif, pFacts.fSpace);
    SetThumbnail(pExif, pFacts.fThumbnail);
}

/// What XMP repeats of Exif and TIFF has to be true as well. Thumbnails in XMP go.
void MakeXmpTrue(Exiv2::XmpData& pXmp, const sOutputFacts& pFacts)
{
    SetIfThere<Exiv2::XmpKey>(pXmp, "Xmp.tiff.Orientation", "1");
    SetIfThere<Exiv2::XmpKey>(pXmp, "Xmp.tiff.ImageWidth", std::to_string(pFacts.fWidth));
    SetIfThere<Exiv2::XmpKey>(pXmp, "Xmp.tiff.ImageLength", std::to_string(pFacts.fHeight));
    SetIfThere<Exiv2::XmpKey>(pXmp, "Xmp.exif.PixelXDimension", std::to_string(pFacts.fWidth));
    SetIfThere<Exiv2::XmpKey>(pXmp, "Xmp.exif.PixelYDimension", std::to_string(pFacts.fHeight));
    SetIfThere<Exiv2::XmpKey>(pXmp, "Xmp.exif.ColorSpace",
                              std::to_string(pFacts.fSpace == SELVANE_SRGB ? kExifSrgb : kExifUncalibrated));
    constexpr std::string_view kStale[] = {"Xmp.xmp.Thumbnails", "Xmp.photoshop.ICCProfile", "Xmp.tiff.Compression",
                                           "Xmp.tiff.BitsPerSample", "Xmp.exif.CompressedBitsPerPixel"};
    for (auto entry = pXmp.begin(); entry != pXmp.end();) {
        const std::string key = entry->key();
        const bool stale = std::ranges::any_of(kStale, [&](std::string_view name) { return key.starts_with(name); });
        entry = stale ? pXmp.erase(entry) : std::next(entry);
    }
}

void AddSettings(Exiv2::XmpData& pXmp, const sOutputFacts& pFacts)
{
    if (!pFacts.fVersion.empty()) pXmp["Xmp.selvane.Version"] = pFacts.fVersion;
    if (!pFacts.fSettings.empty()) pXmp["Xmp.selvane.Settings"] = pFacts.fSettings;
}

/// Returns the entries of the Exif block without complaints about it: those come with OutputMetadata.
Exiv2::ExifData ExifOf(const sMetadata& pMetadata)
{
    std::vector<std::string> unheard;
    return Decoded({pMetadata.fExif, {}, {}}, unheard).fExif;
}

} // namespace

bool HasThumbnail(const sMetadata& pMetadata)
{
    const Exiv2::ExifData exif = ExifOf(pMetadata);
    return std::any_of(exif.begin(), exif.end(), [](const auto& entry) { return entry.groupName() == "Thumbnail"; });
}

double PixelsPerMillimetre(const sMetadata& pMetadata)
{
    constexpr double kMillimetresPerInch = 25.4, kUsual = 72;
    const Exiv2::ExifData exif = ExifOf(pMetadata);
    const auto found = exif.findKey(Exiv2::ExifKey("Exif.Image.XResolution"));
    const auto unit = exif.findKey(Exiv2::ExifKey("Exif.Image.ResolutionUnit"));
    const double number = found == exif.end() || found->count() < 1 ? 0 : static_cast<double>(found->toFloat());
    if (!(number >= 1 && number <= 65535)) return kUsual / kMillimetresPerInch;
    const bool isCentimetre = unit != exif.end() && unit->count() > 0 && unit->toLong() == 3;
    return number / (isCentimetre ? 10 : kMillimetresPerInch);
}

sMetadata OutputMetadata(const sMetadata& pInput, const sOutputFacts& pFacts, const sMetadataOptions& pOptions,
                         std::vector<std::string>& pWarnings)
{
    if (pOptions.fNone) return {};
    sExivData data = Decoded(pInput, pWarnings);
    const bool done = WithExiv("its metadata cannot be made true of the result", pWarnings, [&] {
        if (pOptions.fStripLocation) StripLocation(data);
        MakeExifTrue(data.fExif, pFacts);
        MakeXmpTrue(data.fXmp, pFacts);
        AddSettings(data.fXmp, pFacts);
    });
    return done ? Encoded(data, pWarnings) : sMetadata();
}

} // namespace SelvaneHost
