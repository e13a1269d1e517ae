#ifndef SELVANE_LIB_SEQUENCE_CELLS_H
#define SELVANE_LIB_SEQUENCE_CELLS_H

#include "picture/Picture.h"
#include "render/KeptRender.h"

namespace SelvaneLib
{

/// Fills the tiny picture of a frame: the mean logarithm of luminance of 8 x 8 parts, by rows. Pixels that do not count
/// are left out; a part without any other gets the mean of the whole picture. Parts of a picture with fewer than 8 rows
/// or columns share pixels.
/// @param pRender has split pPicture
/// @param pCells receives SELVANE_FRAME_CELLS values
void MeasureCells(const cPicture& pPicture, const cKeptRender& pRender, float* pCells);

} // namespace SelvaneLib

#endif
