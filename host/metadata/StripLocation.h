#ifndef SELVANE_HOST_METADATA_STRIP_LOCATION_H
#define SELVANE_HOST_METADATA_STRIP_LOCATION_H

#include "metadata/ExivData.h"

namespace SelvaneHost
{

/// Removes what tells where the picture was taken:
///
///   Exif   the GPS directory. The maker's notes too: makers store places in forms of their own
///   IPTC   the data sets of city, sublocation, province, country and content location
///   XMP    City, State, Country, CountryCode, Location and all names with gps, latitude, longitude, altitude or
///          location in them, also in structures
///
/// Free texts, such as a title, stay.
void StripLocation(sExivData& pData);

} // namespace SelvaneHost

#endif
