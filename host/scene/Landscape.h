#ifndef SELVANE_HOST_SCENE_LANDSCAPE_H
#define SELVANE_HOST_SCENE_LANDSCAPE_H

// The view through the window: a lake between mountains with a low sun above them, computed from noise functions.

#include "scene/Vec.h"

namespace SelvaneScene
{

/// Returns the direction of the sun, a unit vector.
sVec SunDirection();

/// The irradiance of a surface that faces the sun.
constexpr sVec kSunlight = {26.0, 17.5, 9.0};

/// Returns the radiance from a direction, without the sun's disc.
sVec Landscape(sVec pDirection);

/// Returns the radiance from a direction. The sun's disc is a hundred thousand times as bright as the room.
sVec LandscapeWithSun(sVec pDirection);

} // namespace SelvaneScene

#endif
