#ifndef SELVANE_GEGL_OPERATION_KEPTMAPPER_H
#define SELVANE_GEGL_OPERATION_KEPTMAPPER_H

// A tone mapper that outlives the invocations of an operation, with the picture that it holds. As long as the input
// stays the same, a render computes only what the settings change.

#include "Pixels.h"

#include <functional>
#include <memory>
#include <selvane.h>

namespace SelvaneGegl
{

/// A picture to render, and where to.
struct sRender
{
    GeglBuffer* fInput;
    GeglBuffer* fOutput;
    GeglRectangle fRegion; ///< all of the picture, in pixels of level 0; not empty
    int fLevel;            ///< each step halves the sides of what is read and written
    const Babl* fFormat;   ///< of input and result: "RGB float" or "RGBA float", in a space with three primaries
};

/// The progress function asked for the end.
struct sCancelled
{
};

class cKeptMapper
{
public:
    /// Is told the share that is done, 0 to 1. Answers false to cancel.
    using tProgress = std::function<bool(double)>;

    /// @throws std::bad_alloc
    cKeptMapper();

    /// The handle, for its presets and settings. The mapper keeps it.
    selvane* Handle() const { return fHandle.get(); }

    /// @throws std::runtime_error with a sentence for the user; sCancelled. The output is then as it was, and the next
    /// render is right.
    void Render(const sRender& pRender, const tProgress& pProgress);

private:
    struct sFree
    {
        void operator()(selvane* pHandle) const { selvane_free(pHandle); }
    };

    void Prepare();
    void Take(GeglBuffer* pPicture, const Babl* pFormat, float* pPixels);

    std::unique_ptr<selvane, sFree> fHandle;
    tBuffer fTaken;                 ///< what the handle's picture was read from; null: it has none
    const Babl* fTakenAs = nullptr; ///< format of the reading
};

/// @throws std::runtime_error with the handle's text if the status is a failure; sCancelled
void Check(const selvane* pHandle, int pStatus);

} // namespace SelvaneGegl

#endif
