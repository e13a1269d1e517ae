#ifndef SELVANE_HOST_TIFF_CHECK_H
#define SELVANE_HOST_TIFF_CHECK_H

#include "Picture.h"

namespace SelvaneHost
{

/// True when the first directory of a TIFF or BigTIFF file names data that lie beyond the file's end. The picture
/// library passes over a tag that was cut off, and with it over the colour profile, which many programs write last.
/// Source: TIFF revision 6.0, section 2; "The BigTIFF File Format".
bool TiffIsCut(const tBytes& pFile);

} // namespace SelvaneHost

#endif
