#include "metadata/MetadataReader.h"

#include "metadata/BoxMetadata.h"
#include "metadata/ExivData.h"
#include "metadata/OpenExrMetadata.h"

#include <algorithm>
#include <string_view>

namespace SelvaneHost
{

namespace
{

using namespace std::literals;

bool HasAt(const tBytes& pFile, size_t pPlace, std::string_view pMark)
{
    return pFile.size() >= pPlace + pMark.size() &&
           std::equal(pMark.begin(), pMark.end(), pFile.begin() + static_cast<std::ptrdiff_t>(pPlace),
                      [](char a, unsigned char b) { return static_cast<unsigned char>(a) == b; });
}

bool IsForExiv(const tBytes& pFile)
{
    return HasAt(pFile, 0, "\xFF\xD8\xFF"sv) || HasAt(pFile, 0, "\x89PNG"sv) || HasAt(pFile, 0, "II*\0"sv) ||
           HasAt(pFile, 0, "MM\0*"sv) || (HasAt(pFile, 0, "RIFF"sv) && HasAt(pFile, 8, "WEBP"sv));
}

bool IsJpegXl(const tBytes& pFile)
{
    return HasAt(pFile, 0, "\xFF\x0A"sv) || HasAt(pFile, 0, "\0\0\0\x0CJXL \r\n\x87\n"sv);
}

/// Exiv2 keeps what it has read before it fails.
sMetadata ReadThroughExiv(const tBytes& pFile, std::vector<std::string>& pWarnings)
{
    sExivData data;
    WithExiv("its metadata are damaged in part", pWarnings, [&] {
        const auto image = Exiv2::ImageFactory::open(pFile.data(), static_cast<long>(pFile.size()));
        std::exception_ptr failure;
        try {
            image->readMetadata();
        } catch (const std::exception&) {
            failure = std::current_exception();
        }
        data = {image->exifData(), image->iptcData(), image->xmpData(), image->byteOrder()};
        if (failure) std::rethrow_exception(failure);
    });
    if (data.fOrder == Exiv2::invalidByteOrder) data.fOrder = Exiv2::littleEndian;
    return Encoded(data, pWarnings);
}

void DropIfTooLarge(tBytes& pBlock, const char* pName, std::vector<std::string>& pWarnings)
{
    if (pBlock.size() <= kMostMetadata) return;
    pBlock.clear();
    pWarnings.push_back(std::string("its ") + pName + " data are larger than " +
                        std::to_string(kMostMetadata / (1 << 20)) + " MB and were left out");
}

sMetadata ReadAnyKind(const tBytes& pFile, std::vector<std::string>& pWarnings)
{
    if (IsForExiv(pFile)) return ReadThroughExiv(pFile, pWarnings);
    if (IsJpegXl(pFile)) return ReadJpegXlMetadata(pFile, pWarnings);
    if (HasAt(pFile, 4, "ftyp"sv)) return ReadHeifMetadata(pFile, pWarnings);
    if (HasAt(pFile, 0, "\x76\x2F\x31\x01"sv)) return ReadOpenExrMetadata(pFile, pWarnings);
    return {};
}

} // namespace

sMetadata ReadMetadata(const tBytes& pFile, std::vector<std::string>& pWarnings)
{
    sMetadata metadata = ReadAnyKind(pFile, pWarnings);
    DropIfTooLarge(metadata.fExif, "Exif", pWarnings);
    DropIfTooLarge(metadata.fIptc, "IPTC", pWarnings);
    DropIfTooLarge(metadata.fXmp, "XMP", pWarnings);
    return metadata;
}

} // namespace SelvaneHost
