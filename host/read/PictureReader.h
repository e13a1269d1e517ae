#ifndef SELVANE_HOST_READ_PICTURE_READER_H
#define SELVANE_HOST_READ_PICTURE_READER_H

// This folder turns the bytes of a file into a picture. The content of the file decides which reader gets it, the name
// does not. Each reader has a file of its own and a row in the table of PictureReader.cpp.
//
//     bytes begin with     reader           samples reach the library as
//     #?                   RadianceReader   exponent planes, bytes unchanged
//     v / 1 \1             OpenExrReader    exponent planes, rounded
//     \x89 P N G           PngReader        8 or 16 bits, as stored
//     II*, MM, II+, MM     TiffReader       8 or 16 bits, as stored; floats: exponent planes, rounded
//     \xFF \xD8 \xFF       JpegReader       8 bits, as libvips decodes them
//
// Other files are not given to any library.

#include "picture/Picture.h"

namespace SelvaneHost
{

/// Refuses bytes that no reader takes. The first eight bytes of a file are enough.
/// @throws cHostError
void CheckKind(const tBytes& pFirst);

/// Reads a picture:
///   - A turn that the Exif data ask for is carried out. The result is upright.
///   - Grey becomes three equal samples.
///   - Alpha and further channels are dropped with a warning.
///   - The embedded profile decides the colour space.
/// The picture's memory grows as its rows are decoded, except in a Radiance file, whose rows are all checked first.
/// Before any row is unpacked, these are refused: a size that a file of this length cannot hold, more than five
/// channels, TIFF codecs other than none, LZW, deflate, PackBits and JPEG.
/// @throws cHostError when the bytes are no picture, damaged or too large, or when the colours are neither RGB nor grey
sPicture ReadPicture(const tBytes& pBytes);

/// Reads a picture file. If its first bytes are no picture, no more of it is read.
/// @throws cHostError
sPicture ReadPictureFile(const std::string& pPath);

} // namespace SelvaneHost

#endif
