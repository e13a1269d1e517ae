#ifndef SELVANE_HOST_READ_TIFF_CHECK_H
#define SELVANE_HOST_READ_TIFF_CHECK_H

#include "picture/Picture.h"

namespace SelvaneHost
{

/// Looks at the first directory of a TIFF or BigTIFF file before the picture library does. Refused are
///   - data that lie beyond the file's end: the picture library passes over a tag that was cut off, and with it over
///   the
///     colour profile, which many programs write last;
///   - codecs other than none, LZW, deflate, PackBits and JPEG: fax codes, for one, make a white picture of any size of
///     no bytes at all, and few decoders of the others are looked after.
/// Source: TIFF revision 6.0, section 2 and "Compression"; "The BigTIFF File Format".
/// @throws cHostError
void CheckTiff(const tBytes& pFile);

} // namespace SelvaneHost

#endif
