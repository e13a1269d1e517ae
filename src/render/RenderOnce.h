#ifndef SELVANE_RENDER_RENDERONCE_H
#define SELVANE_RENDER_RENDERONCE_H

// A render that leaves nothing but samples and points, internal: for the entry, whose renderer nobody sees.

#include <cstddef>

namespace Vornik
{

class cTmRenderer;

/// Where the samples go.
struct sSampleRows
{
    unsigned char* fFirst; ///< first sample of the first row, at any address
    ptrdiff_t fRowBytes;   ///< from row to row
    int fBits;             ///< of a sample, 8 or 16
    bool fRedFirst;        ///< else blue first
};

/// Runs all stages of a new renderer whose input, output and parameters are set. Gives the samples, the points, the
/// progress lines, the calls of DivideWork and the allocations of cTmRenderer::Render, but leaves out what only a later
/// look at the renderer could see: the compact picture, the detail and the pixels of the output are allocated and never
/// written, and the new luminance replaces the logarithm.
///
///     stage         reads                               leaves
///     preparation   input                               logarithm, its extremes
///     phase 1       logarithm                           base, measures of both layers
///     phase 2       logarithm, base                     luminance in place of the logarithm, points
///     final         input, luminance                    samples: a strip is packed and decoded at once
///
/// @param pRows null if nobody wants samples: the final stage is left out
/// @throws std::bad_alloc, cException; nothing has been written to pRows then
void RenderOnce(cTmRenderer& pRenderer, const sSampleRows* pRows);

} // namespace Vornik

#endif
