#ifndef SELVANE_HOST_EXPLAIN_EXPLANATION_H
#define SELVANE_HOST_EXPLAIN_EXPLANATION_H

#include "explain/Page.h"

#include <selvane.h>

namespace SelvaneHost
{

/// Renders the whole picture of a handle, samples what happened to its light, and gathers what the page shows. The
/// handle has its picture. fFacts gets how the render came about; the rest of it is the caller's.
/// @param pLongest the most pixels of the longer side of the page's pictures
/// @param pHasAlpha pixels of alpha 0 count nowhere
/// @param pIsDisplay the samples were made for a display: the picture before is the file as it is, else it gets an
///        exposure
/// @throws cHostError
sPage Explained(selvane* pHandle, const sLook& pLook, int pLongest, bool pHasAlpha, bool pIsDisplay);

} // namespace SelvaneHost

#endif
