#include "metadata/ExivData.h"

#include <mutex>

namespace SelvaneHost
{

namespace
{

constexpr const char* kDamaged = "its metadata are damaged in part";
constexpr long kMostExif = 65527; // the most that Exiv2 encodes, by the size of a JPEG segment

thread_local std::string gFirstError;

void KeepError(int pLevel, const char* pText)
{
    if (pLevel >= Exiv2::LogMsg::error && gFirstError.empty()) gFirstError = pText;
}

void LockToolkit(void* pMutex, bool pLock)
{
    auto* const mutex = static_cast<std::recursive_mutex*>(pMutex);
    if (pLock)
        mutex->lock();
    else
        mutex->unlock();
}

void StartOnce()
{
    static std::recursive_mutex toolkit;
    Exiv2::LogMsg::setHandler(KeepError);
    Exiv2::LogMsg::setLevel(Exiv2::LogMsg::error);
    Exiv2::XmpParser::initialize(LockToolkit, &toolkit);
    Exiv2::XmpProperties::registerNs(kXmpNamespace, kXmpPrefix);
}

/// The bytes of all values together. The block also holds twelve bytes for each entry.
long BytesOf(const Exiv2::ExifData& pExif)
{
    long bytes = 0;
    for (const Exiv2::Exifdatum& entry : pExif)
        bytes += entry.size() + 12;
    return bytes;
}

tBytes ExifBlock(const sExivData& pData)
{
    Exiv2::Blob blob;
    if (!pData.fExif.empty()) Exiv2::ExifParser::encode(blob, pData.fOrder, pData.fExif);
    return blob;
}

tBytes IptcBlock(const Exiv2::IptcData& pIptc)
{
    const Exiv2::DataBuf block = Exiv2::IptcParser::encode(pIptc);
    return {block.pData_, block.pData_ + block.size_};
}

void DecodeExif(const tBytes& pBlock, sExivData& pTo)
{
    if (pBlock.empty()) return;
    pTo.fOrder = Exiv2::ExifParser::decode(pTo.fExif, pBlock.data(), static_cast<uint32_t>(pBlock.size()));
    if (pTo.fOrder == Exiv2::invalidByteOrder) pTo.fOrder = Exiv2::littleEndian;
}

void DecodeIptc(const tBytes& pBlock, Exiv2::IptcData& pTo)
{
    if (!pBlock.empty()) Exiv2::IptcParser::decode(pTo, pBlock.data(), static_cast<uint32_t>(pBlock.size()));
}

void DecodeXmp(const tBytes& pBlock, Exiv2::XmpData& pTo)
{
    if (!pBlock.empty()) Exiv2::XmpParser::decode(pTo, std::string(pBlock.begin(), pBlock.end()));
}

} // namespace

void StartExiv()
{
    static std::once_flag once;
    std::call_once(once, StartOnce);
}

std::string TakeExivError()
{
    std::string error;
    error.swap(gFirstError);
    return error;
}

tBytes XmpPacket(const Exiv2::XmpData& pXmp)
{
    if (pXmp.empty()) return {};
    std::string packet;
    constexpr uint32_t kPadding = 1; // bytes; 0 would stand for the usual two thousand
    if (Exiv2::XmpParser::encode(packet, pXmp, Exiv2::XmpParser::useCompactFormat, kPadding) != 0)
        throw Exiv2::Error(Exiv2::kerErrorMessage, "XMP cannot be encoded");
    return {packet.begin(), packet.end()};
}

sExivData Decoded(const sMetadata& pMetadata, std::vector<std::string>& pWarnings)
{
    sExivData data;
    WithExiv(kDamaged, pWarnings, [&] { DecodeExif(pMetadata.fExif, data); });
    WithExiv(kDamaged, pWarnings, [&] { DecodeIptc(pMetadata.fIptc, data.fIptc); });
    WithExiv(kDamaged, pWarnings, [&] { DecodeXmp(pMetadata.fXmp, data.fXmp); });
    return data;
}

sMetadata Encoded(const sExivData& pData, std::vector<std::string>& pWarnings)
{
    sMetadata metadata;
    WithExiv("its Exif data cannot be kept", pWarnings, [&] { metadata.fExif = ExifBlock(pData); });
    WithExiv("its IPTC data cannot be kept", pWarnings, [&] { metadata.fIptc = IptcBlock(pData.fIptc); });
    WithExiv("its XMP data cannot be kept", pWarnings, [&] { metadata.fXmp = XmpPacket(pData.fXmp); });
    if (BytesOf(pData.fExif) > kMostExif)
        pWarnings.emplace_back("its Exif data are larger than 64 kB; the largest entries were left out");
    return metadata;
}

} // namespace SelvaneHost
