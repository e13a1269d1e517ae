#include "metadata/OpenExrMetadata.h"

#include "metadata/ExivData.h"
#include "read/OpenExrCore.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cmath>
#include <cstdio>
#include <optional>
#include <string_view>

namespace SelvaneHost
{

namespace
{

using Exiv2::ExifData;

/// Attributes by name, of the first part that has them.
class cAttributes
{
public:
    explicit cAttributes(const tBytes& pFile) : fCore(pFile) { RequireExr(exr_get_count(fCore.Context(), &fParts)); }

    std::optional<std::string> Text(const char* pName) const
    {
        for (int part = 0; part < fParts; part++) {
            const char* text = nullptr;
            int32_t length = 0;
            if (exr_attr_get_string(fCore.Context(), part, pName, &length, &text) == EXR_ERR_SUCCESS && length > 0)
                return std::string(text, static_cast<size_t>(length));
        }
        return std::nullopt;
    }

    /// Returns a number from pLeast to pMost.
    std::optional<double> Number(const char* pName, double pLeast, double pMost) const
    {
        for (int part = 0; part < fParts; part++) {
            float number = 0;
            if (exr_attr_get_float(fCore.Context(), part, pName, &number) != EXR_ERR_SUCCESS) continue;
            const auto value = static_cast<double>(number);
            if (value >= pLeast && value <= pMost) return value; // and not NaN
        }
        return std::nullopt;
    }

private:
    cOpenExrCore fCore;
    int fParts = 0;
};

std::string Fraction(double pValue)
{
    const Exiv2::Rational fraction = Exiv2::floatToRationalCast(static_cast<float>(pValue));
    return std::to_string(fraction.first) + "/" + std::to_string(fraction.second);
}

/// Times below a second are written as most cameras do, "1/250".
std::string Seconds(double pSeconds)
{
    const double inverse = 1 / pSeconds;
    const double rounded = std::round(inverse);
    if (rounded >= 2 && std::fabs(inverse - rounded) < 1e-4 * rounded)
        return "1/" + std::to_string(static_cast<int64_t>(rounded));
    return Fraction(pSeconds);
}

/// Degrees, minutes and seconds, to a hundredth of a second, which is 30 cm on the ground.
std::string Angle(double pDegrees)
{
    const auto hundredths = static_cast<int64_t>(std::llround(std::fabs(pDegrees) * 360000));
    return std::to_string(hundredths / 360000) + "/1 " + std::to_string(hundredths / 6000 % 60) + "/1 " +
           std::to_string(hundredths % 6000) + "/100";
}

/// Minutes east of Greenwich as "+02:00".
std::string Zone(double pUtcMinusLocal)
{
    const long minutes = std::lround(-pUtcMinusLocal / 60);
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), "%c%02ld:%02ld", minutes < 0 ? '-' : '+', std::labs(minutes) / 60,
                  std::labs(minutes) % 60);
    return text.data();
}

/// The form that both formats use. A 0 stands for any digit.
bool IsDate(std::string_view pText)
{
    constexpr std::string_view kForm = "0000:00:00 00:00:00";
    return std::equal(pText.begin(), pText.end(), kForm.begin(), kForm.end(), [](char pFound, char pWanted) {
        return pWanted == '0' ? std::isdigit(static_cast<unsigned char>(pFound)) != 0 : pFound == pWanted;
    });
}

void TakeTexts(const cAttributes& pFrom, ExifData& pExif)
{
    constexpr std::pair<const char*, const char*> kTexts[] = {
        {"owner", "Exif.Image.Copyright"}, {"cameraMake", "Exif.Image.Make"}, {"cameraModel", "Exif.Image.Model"}};
    for (const auto& [attribute, key] : kTexts)
        if (const std::optional<std::string> text = pFrom.Text(attribute)) pExif[key] = *text;
}

void TakeExposure(const cAttributes& pFrom, ExifData& pExif)
{
    constexpr double kLongest = 1e6, kLeast = 1e-6, kMostIso = 65535;
    if (const auto time = pFrom.Number("expTime", kLeast, kLongest)) pExif["Exif.Photo.ExposureTime"] = Seconds(*time);
    if (const auto stop = pFrom.Number("aperture", 0.01, 1000)) pExif["Exif.Photo.FNumber"] = Fraction(*stop);
    if (const auto iso = pFrom.Number("isoSpeed", 1, kMostIso))
        pExif["Exif.Photo.ISOSpeedRatings"] = static_cast<uint16_t>(std::lround(*iso));
}

void TakeDate(const cAttributes& pFrom, ExifData& pExif)
{
    constexpr double kWidestZone = 15 * 3600;
    const std::optional<std::string> date = pFrom.Text("capDate");
    if (!date || !IsDate(*date)) return;
    pExif["Exif.Photo.DateTimeOriginal"] = *date;
    if (const auto offset = pFrom.Number("utcOffset", -kWidestZone, kWidestZone))
        pExif["Exif.Photo.OffsetTimeOriginal"] = Zone(*offset);
}

void TakePlace(const cAttributes& pFrom, ExifData& pExif)
{
    if (const auto latitude = pFrom.Number("latitude", -90, 90)) {
        pExif["Exif.GPSInfo.GPSLatitudeRef"] = *latitude < 0 ? "S" : "N";
        pExif["Exif.GPSInfo.GPSLatitude"] = Angle(*latitude);
    }
    if (const auto longitude = pFrom.Number("longitude", -180, 180)) {
        pExif["Exif.GPSInfo.GPSLongitudeRef"] = *longitude < 0 ? "W" : "E";
        pExif["Exif.GPSInfo.GPSLongitude"] = Angle(*longitude);
    }
    if (const auto altitude = pFrom.Number("altitude", -20000, 1e6)) {
        pExif["Exif.GPSInfo.GPSAltitudeRef"] = *altitude < 0 ? "1" : "0"; // below, above the sea
        pExif["Exif.GPSInfo.GPSAltitude"] = Fraction(std::fabs(*altitude));
    }
    if (pExif.findKey(Exiv2::ExifKey("Exif.GPSInfo.GPSLatitude")) != pExif.end())
        pExif["Exif.GPSInfo.GPSVersionID"] = "2 3 0 0";
}

} // namespace

sMetadata ReadOpenExrMetadata(const tBytes& pFile, std::vector<std::string>& pWarnings)
{
    sExivData data;
    WithExiv("its attributes cannot be kept as Exif data", pWarnings, [&] {
        const cAttributes attributes(pFile);
        TakeTexts(attributes, data.fExif);
        TakeExposure(attributes, data.fExif);
        TakeDate(attributes, data.fExif);
        TakePlace(attributes, data.fExif);
        if (!data.fExif.empty()) data.fExif["Exif.Photo.ExifVersion"] = "48 50 51 49"; // "0231"
    });
    return Encoded(data, pWarnings);
}

} // namespace SelvaneHost
