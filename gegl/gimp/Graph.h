#ifndef SELVANE_GEGL_GIMP_GRAPH_H
#define SELVANE_GEGL_GIMP_GRAPH_H

// A picture and the operation over it.

#include "Pixels.h"

#include <functional>
#include <string>

namespace SelvaneGegl
{

class cGraph
{
public:
    /// @param pInput the graph keeps a reference
    /// @param pSettings properties as on GEGL's command line, "exposure=0.5 preset=soft"
    /// @throws std::runtime_error with a sentence for the user: no such operation, property or value
    cGraph(GeglBuffer* pInput, const std::string& pSettings);

    /// The object with the properties. The graph keeps it.
    GObject* Operation() const;

    /// The properties that are not the default, as the constructor takes them.
    std::string Settings() const;

    /// Renders into a buffer, which converts to its own format.
    /// @param pProgress is told the share that is done, 0 to 1; answers false to cancel
    /// @returns whether the render came to its end
    bool Render(GeglBuffer* pOutput, const std::function<bool(double)>& pProgress = {}) const;

private:
    std::unique_ptr<GeglNode, sUnref> fRoot;
    GeglNode* fToneMap = nullptr; ///< of fRoot
};

/// A reduced copy whose longer side has at most pLongest pixels, in the same space; never larger.
tBuffer Reduced(GeglBuffer* pBuffer, int pLongest);

} // namespace SelvaneGegl

#endif
