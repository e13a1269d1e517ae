#ifndef SELVANE_HOST_SCENE_LANDSCAPE_H
#define SELVANE_HOST_SCENE_LANDSCAPE_H

// What is seen through the window: a lake between mountains, the sun low above them. Made of noise functions alone.

#include "scene/Vec.h"

namespace SelvaneScene
{

/// Direction of the sun, as a unit vector.
sVec SunDirection();

/// Irradiance of a surface that faces the sun.
constexpr sVec kSunlight = {26.0, 17.5, 9.0};

/// Radiance from a direction, everything but the sun's disc.
sVec Landscape(sVec pDirection);

/// The same with the sun's disc, a hundred thousand times as bright as the room.
sVec LandscapeWithSun(sVec pDirection);

} // namespace SelvaneScene

#endif
