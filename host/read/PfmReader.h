#ifndef SELVANE_HOST_READ_PFM_READER_H
#define SELVANE_HOST_READ_PFM_READER_H

#include "picture/Picture.h"
#include "picture/ReadOptions.h"

namespace SelvaneHost
{

bool LooksLikePfm(const tBytes& pBytes);

/// Reads a PFM picture: floats of grey or of red, green and blue, rows from the bottom up. The size of the scale in the
/// header multiplies all samples. Source: Debevec, "PFM Portable FloatMap Image Format".
/// @throws cHostError
sPicture ReadPfm(const tBytes& pBytes, const sReadOptions& pOptions = {});

} // namespace SelvaneHost

#endif
