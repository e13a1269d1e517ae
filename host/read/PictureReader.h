#ifndef SELVANE_HOST_READ_PICTURE_READER_H
#define SELVANE_HOST_READ_PICTURE_READER_H

// Any picture that the command takes.
//
//     bytes begin with           read by                         reaches the library as
//     #?           Radiance      RadianceReader                  exponent planes, bytes unchanged
//     v / 1 \1     OpenEXR       OpenExrReader                   exponent planes, rounded
//     PNG, TIFF, JPEG            libvips                         8 or 16-bit samples as stored (a TIFF of floats:
//                                                                exponent planes, rounded)
//
// The content decides, not the name. Nothing else is handed to the picture library, and the loaders that it calls
// untrusted are blocked in any case.

#include "picture/Picture.h"

namespace SelvaneHost
{

/// Starts the picture library with its untrusted loaders blocked and its own messages silenced. Once, before anything
/// below and before WritePicture.
/// @throws cHostError when it does not start
void StartPictureLibrary();

/// Refuses bytes that begin like none of the pictures above. The first eight are enough.
/// @throws cHostError in words
void CheckKind(const tBytes& pFirst);

/// The picture, upright: a turn that its Exif data ask for is carried out. Grey is expanded to three samples, alpha and
/// further channels are dropped with a warning, the embedded profile decides the colour space.
/// Memory grows with what is really there: a size that so short a file cannot hold, more than five channels and codecs
/// of TIFF other than none, LZW, deflate, PackBits and JPEG are refused before a row is unpacked.
/// @throws cHostError in words for what is no picture, damaged, too large, or holds colours other than RGB and grey
sPicture ReadPicture(const tBytes& pBytes);

/// The same from a file, of which no more than the first bytes are read when it is no picture.
/// @throws cHostError
sPicture ReadPictureFile(const std::string& pPath);

} // namespace SelvaneHost

#endif
