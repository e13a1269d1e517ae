#ifndef SELVANE_HOST_EXPLAIN_PLAIN_STOPS_H
#define SELVANE_HOST_EXPLAIN_PLAIN_STOPS_H

#include "picture/Picture.h"

#include <selvane.h>

namespace SelvaneHost
{

/// Whether the samples were made for a display: they need no exposure to be looked at.
bool IsForDisplay(const sPicture& pPicture);

/// Stops that bring the logarithmic mean of the handle's picture to middle grey, 18 per cent, as a camera's meter does.
/// @throws cHostError
double PlainStops(const selvane* pHandle);

} // namespace SelvaneHost

#endif
