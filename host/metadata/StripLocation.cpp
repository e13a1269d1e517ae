#include "metadata/StripLocation.h"

#include <algorithm>
#include <cctype>
#include <string_view>

namespace SelvaneHost
{

namespace
{

bool IsPlaceInExif(const Exiv2::Exifdatum& pEntry)
{
    const std::string group = pEntry.groupName();
    return group == "GPSInfo" || pEntry.key() == "Exif.Image.GPSTag" || pEntry.key() == "Exif.Photo.MakerNote" ||
           pEntry.key() == "Exif.Image.DNGPrivateData" || Exiv2::ExifTags::isMakerGroup(group);
}

bool IsPlaceInIptc(const Exiv2::Iptcdatum& pEntry)
{
    // Content location code and name, city, sublocation, province, country code, country (IIM 4.2, record 2)
    constexpr uint16_t kPlaces[] = {26, 27, 90, 92, 95, 100, 101};
    return pEntry.record() == Exiv2::IptcDataSets::application2 &&
           std::ranges::find(kPlaces, pEntry.tag()) != std::end(kPlaces);
}

std::string Lower(std::string pText)
{
    std::ranges::transform(pText, pText.begin(), [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return pText;
}

bool IsPlaceInXmp(const Exiv2::Xmpdatum& pEntry)
{
    constexpr std::string_view kParts[] = {"gps", "latitude", "longitude", "altitude", "location"};
    constexpr std::string_view kNames[] = {"city", "state", "country", "countrycode"};
    const std::string name = Lower(pEntry.tagName());
    return std::ranges::any_of(kParts, [&](std::string_view part) { return name.find(part) != std::string::npos; }) ||
           std::ranges::find(kNames, name) != std::end(kNames);
}

template <typename tData, typename tTest>
void EraseIf(tData& pData, tTest pTest)
{
    for (auto entry = pData.begin(); entry != pData.end();)
        entry = pTest(*entry) ? pData.erase(entry) : std::next(entry);
}

} // namespace

void StripLocation(sExivData& pData)
{
    EraseIf(pData.fExif, IsPlaceInExif);
    EraseIf(pData.fIptc, IsPlaceInIptc);
    EraseIf(pData.fXmp, IsPlaceInXmp);
}

} // namespace SelvaneHost
