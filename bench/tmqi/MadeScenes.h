#ifndef SELVANE_BENCH_TMQI_MADESCENES_H
#define SELVANE_BENCH_TMQI_MADESCENES_H

// Scenes from formulas, for what photographs at hand do not show. 450 x 300 pixels, linear light, white at 1.

#include "SceneRender.h"

namespace SelvaneTmqi
{

/// A town at night under street lamps, with lit windows.
sPicture NightTown();
/// A snow field in the sun, with dark firs.
sPicture Snow();
/// Rows of trees in fog, the nearest almost black.
sPicture Fog();
/// A white room with a window ten times as bright as its walls, and a lamp.
sPicture WhiteRoom();
/// The sun above the sea, rocks in front.
sPicture SeaSunset();
/// Hills and a house by day, the sun's disc in view.
sPicture SunnyHills();
/// A field under a sky of stars; the ground is mostly the violet noise of a sensor.
sPicture StarryField();

} // namespace SelvaneTmqi

#endif
