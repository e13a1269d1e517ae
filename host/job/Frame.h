#ifndef SELVANE_HOST_JOB_FRAME_H
#define SELVANE_HOST_JOB_FRAME_H

#include "picture/Picture.h"

namespace SelvaneHost
{

/// The border of a picture, while its inside is developed alone.
struct sBorder
{
    sArea fInside{}; ///< of the whole picture
    sPicture fColor; ///< a pixel of the border; no pixel if there is no border
};

/// Takes the border off a picture.
/// @return what PutFrame needs
sBorder TakeFrame(sPicture& pPicture);

/// Fills the output around fInside with the colour of the border, as it was: it is not tone-mapped. Light beyond 1
/// becomes white.
/// @param pSpace of the output
void PutFrame(const sBorder& pFrame, int pSpace, sPicture& pOutput);

} // namespace SelvaneHost

#endif
