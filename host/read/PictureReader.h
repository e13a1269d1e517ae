#ifndef SELVANE_HOST_READ_PICTURE_READER_H
#define SELVANE_HOST_READ_PICTURE_READER_H

// This folder turns the bytes of a file into a picture. The content of the file decides which reader gets it, the name
// does not. Each reader has a file of its own and a row in the table of PictureReader.cpp.
//
//     bytes begin with     reader           samples reach the library as
//     #?                   RadianceReader   exponent planes, bytes unchanged
//     v / 1 \1             OpenExrReader    floats
//     \x89 P N G           PngReader        8 or 16 bits, as stored
//     II*, MM, II+, MM     TiffReader       8 or 16 bits, as stored; floats
//     \xFF \xD8 \xFF       JpegReader       8 bits, as libvips decodes them
//     RIFF....WEBP         WebpReader       8 bits, as libvips decodes them
//     ....ftyp             HeifReader       8 or 16 bits
//     \xFF \n, ....JXL      JpegXlReader     8 or 16 bits; floats
//     PF, Pf               PfmReader        floats
//
// Other files are not given to any library.

#include "picture/Picture.h"
#include "picture/ReadOptions.h"

namespace SelvaneHost
{

/// Refuses bytes that no reader takes. The first sixteen bytes of a file are enough.
/// @throws cHostError
void CheckKind(const tBytes& pFirst);

/// Reads a picture:
///   - A turn that the Exif data ask for is carried out. The result is upright.
///   - Grey becomes three equal samples.
///   - Alpha is the fourth channel. Further channels are dropped with a warning.
///   - What the file says of its colours decides what the samples mean, see color/Interpret.h.
/// The picture's memory grows as its rows are decoded, except in a Radiance file, whose rows are all checked first.
/// Before any row is unpacked, these are refused: a size that a file of this length cannot hold, more than five
/// channels, TIFF codecs other than none, LZW, deflate, PackBits and JPEG.
/// @throws cHostError when the bytes are no picture, damaged or too large, or when the colours are neither RGB nor grey
sPicture ReadPicture(const tBytes& pBytes, const sReadOptions& pOptions = {});

/// Reads a picture file. If its first bytes are no picture, no more of it is read.
/// @throws cHostError
sPicture ReadPictureFile(const std::string& pPath, const sReadOptions& pOptions = {});

} // namespace SelvaneHost

#endif
