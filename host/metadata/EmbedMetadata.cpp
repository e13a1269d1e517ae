#include "metadata/EmbedMetadata.h"

#include "metadata/ExivData.h"
#include "picture/PngColor.h"

#include <array>
#include <cstdio>
#include <new>
#include <string_view>
#include <zlib.h>

namespace SelvaneHost
{

namespace
{

using namespace std::literals;

constexpr size_t kMostJpegXmp = 65502; // a segment without its length and the name of the namespace

bool IsJpeg(std::span<const unsigned char> pFile)
{
    return pFile.size() > 2 && pFile[0] == 0xFF && pFile[1] == 0xD8;
}

bool IsTiff(std::span<const unsigned char> pFile)
{
    return pFile.size() > 2 && (pFile[0] == 'I' || pFile[0] == 'M') && pFile[0] == pFile[1];
}

/// Sets all metadata but those entries of a TIFF that describe its pixels.
void SetAll(Exiv2::Image& pImage, const sExivData& pData, bool pIsTiff)
{
    if (!pIsTiff) pImage.clearExifData();
    if (!pIsTiff && !pData.fExif.empty()) pImage.setByteOrder(pData.fOrder);
    for (const Exiv2::Exifdatum& entry : pData.fExif) {
        const auto old = pImage.exifData().findKey(Exiv2::ExifKey(entry.key()));
        if (old != pImage.exifData().end()) pImage.exifData().erase(old);
        pImage.exifData().add(entry);
    }
    if (pImage.checkMode(Exiv2::mdIptc) == Exiv2::amReadWrite) pImage.setIptcData(pData.fIptc);
    pImage.setXmpData(pData.fXmp);
}

tBytes ContentOf(Exiv2::BasicIo& pIo)
{
    tBytes bytes(pIo.size());
    if (pIo.open() != 0 || pIo.read(bytes.data(), static_cast<long>(bytes.size())) != static_cast<long>(bytes.size()))
        throw std::bad_alloc();
    return bytes;
}

tBytes Embedded(std::span<const unsigned char> pFile, const sExivData& pData)
{
    const auto image = Exiv2::ImageFactory::open(pFile.data(), static_cast<long>(pFile.size()));
    image->readMetadata();
    SetAll(*image, pData, IsTiff(pFile));
    image->writeMetadata();
    return ContentOf(image->io());
}

tBytes Joined(std::string_view pHead, const tBytes& pBytes)
{
    tBytes all(pHead.begin(), pHead.end());
    all.insert(all.end(), pBytes.begin(), pBytes.end());
    return all;
}

tBytes Deflated(std::string_view pText)
{
    uLongf size = compressBound(static_cast<uLong>(pText.size()));
    tBytes bytes(size);
    const auto* const text = static_cast<const Bytef*>(static_cast<const void*>(pText.data()));
    if (compress2(bytes.data(), &size, text, static_cast<uLong>(pText.size()), Z_BEST_COMPRESSION) != Z_OK)
        throw std::bad_alloc();
    bytes.resize(size);
    return bytes;
}

/// Hexadecimal digits under a head of three lines: blank, the name, the number of bytes.
std::string RawProfile(const tBytes& pIptc)
{
    constexpr size_t kBytesPerLine = 36;
    std::array<char, 32> number{};
    std::snprintf(number.data(), number.size(), "%8zu", pIptc.size());
    std::string text = "\niptc\n"s + number.data();
    for (size_t i = 0; i < pIptc.size(); i++) {
        constexpr std::string_view kDigits = "0123456789abcdef";
        if (i % kBytesPerLine == 0) text += '\n';
        text += kDigits[pIptc[i] >> 4U];
        text += kDigits[pIptc[i] & 15U];
    }
    return text + '\n';
}

} // namespace

tBytes WithMetadata(std::span<const unsigned char> pFile, const sMetadata& pMetadata,
                    std::vector<std::string>& pWarnings)
{
    sMetadata metadata = pMetadata;
    if (IsJpeg(pFile) && metadata.fXmp.size() > kMostJpegXmp) {
        metadata.fXmp.clear();
        pWarnings.emplace_back("its XMP data are larger than a JPEG file can hold and were left out");
    }
    const sExivData data = Decoded(metadata, pWarnings);
    tBytes file;
    if (!WithExiv("the metadata cannot be written", pWarnings, [&] { file = Embedded(pFile, data); }))
        file.assign(pFile.begin(), pFile.end());
    return file;
}

tBytes PngMetadataChunks(const sMetadata& pMetadata)
{
    tBytes chunks;
    if (!pMetadata.fExif.empty()) PutPngChunk(chunks, "eXIf", pMetadata.fExif);
    if (!pMetadata.fXmp.empty())
        PutPngChunk(chunks, "iTXt", Joined("XML:com.adobe.xmp\0\0\0\0\0"sv, pMetadata.fXmp)); // not compressed
    if (!pMetadata.fIptc.empty())
        PutPngChunk(chunks, "zTXt", Joined("Raw profile type iptc\0\0"sv, Deflated(RawProfile(pMetadata.fIptc))));
    return chunks;
}

void MoveIptcIntoXmp(sMetadata& pMetadata, std::vector<std::string>& pWarnings)
{
    if (pMetadata.fIptc.empty()) return;
    sExivData data = Decoded({{}, pMetadata.fIptc, pMetadata.fXmp}, pWarnings);
    WithExiv("its IPTC data cannot be kept as XMP", pWarnings, [&] {
        Exiv2::XmpData copied;
        Exiv2::copyIptcToXmp(data.fIptc, copied);
        for (const Exiv2::Xmpdatum& entry : copied)
            if (data.fXmp.findKey(Exiv2::XmpKey(entry.key())) == data.fXmp.end()) data.fXmp.add(entry);
        pMetadata.fXmp = XmpPacket(data.fXmp);
    });
    pMetadata.fIptc.clear();
}

} // namespace SelvaneHost
