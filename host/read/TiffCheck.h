#ifndef SELVANE_HOST_READ_TIFF_CHECK_H
#define SELVANE_HOST_READ_TIFF_CHECK_H

#include "picture/Picture.h"

namespace SelvaneHost
{

/// Checks the first directory of a TIFF or BigTIFF file before libvips reads it. Refuses two things:
///   - A tag whose data lie beyond the end of the file. libvips skips a tag that was cut off. The colour profile is
///     often the last tag.
///   - Codecs other than none, LZW, deflate, PackBits and JPEG. A fax codec makes a white picture of any size from no
///     bytes. Most decoders of the other codecs are not maintained.
/// Source: TIFF revision 6.0, section 2 and "Compression"; "The BigTIFF File Format".
/// @throws cHostError
void CheckTiff(const tBytes& pFile);

} // namespace SelvaneHost

#endif
