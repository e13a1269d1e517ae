#ifndef SELVANE_HOST_METADATA_OPEN_EXR_METADATA_H
#define SELVANE_HOST_METADATA_OPEN_EXR_METADATA_H

#include "metadata/Metadata.h"

#include <string>
#include <vector>

namespace SelvaneHost
{

/// Returns standard attributes of an OpenEXR file as Exif data:
///
///   owner                        Copyright
///   cameraMake, cameraModel      Make, Model
///   expTime (s), aperture (f)    ExposureTime, FNumber
///   isoSpeed                     PhotographicSensitivity
///   capDate, utcOffset (s)       DateTimeOriginal, OffsetTimeOriginal. utcOffset is UTC minus local time
///   latitude, longitude (deg)    GPSLatitude, GPSLongitude
///   altitude (m)                 GPSAltitude
///
/// The first part with the attribute counts. Values that Exif cannot hold are left out. Source: OpenEXR, "Standard
/// Attributes".
sMetadata ReadOpenExrMetadata(const tBytes& pFile, std::vector<std::string>& pWarnings);

} // namespace SelvaneHost

#endif
