#ifndef SELVANE_HOST_SCENE_RENDER_H
#define SELVANE_HOST_SCENE_RENDER_H

#include <vector>

namespace SelvaneScene
{

/// A picture of linear sRGB, three floats a pixel, row by row.
struct sImage
{
    int fWidth = 0;
    int fHeight = 0;
    std::vector<float> fPixels;
};

/// Renders the scene, 3 wide to 2 high, through DivideWork. The result does not depend on the number of workers.
sImage Render(int pWidth, int pWorkers);

} // namespace SelvaneScene

#endif
