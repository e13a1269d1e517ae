#ifndef SELVANE_HOST_SCENE_ROOM_H
#define SELVANE_HOST_SCENE_ROOM_H

// The room in front of the window: the things that a ray can hit, and the looks of their surfaces.

#include "scene/Vec.h"

namespace SelvaneScene
{

enum eMaterial : int
{
    eNothing, // out of the window
    eWall,
    eCeiling,
    eFloor,
    eFrame,
    eWood,
    eBooks,
    eVase,
    eOrange,
    eCloth,
    ePainting,
    eShade,
    eLamp,
};

/// The end of a ray.
struct sHit
{
    eMaterial fMaterial = eNothing;
    double fDistance = 1e30; // metres
    sVec fPoint;
    sVec fNormal; // on the side from which the ray came
};

// Two corners of the room, two corners of the opening in its far wall, and the z of the outer face of that wall.
// Metres.
constexpr sVec kRoomLow = {-3.1, 0.0, -2.2};
constexpr sVec kRoomHigh = {3.1, 2.8, 6.0};
constexpr sVec kOpeningLow = {-1.75, 0.62, 6.0};
constexpr sVec kOpeningHigh = {1.75, 2.32, 6.0};
constexpr double kOutside = 6.28;

constexpr sVec kLamp = {-2.05, 1.62, 4.55}; // centre of the lit lamp on the shelf
constexpr double kLampRadius = 0.085;
constexpr sVec kLampRadiance = {150.0, 108.0, 66.0};

/// Returns the first hit of a ray from inside the room. The material is eNothing if the ray leaves through the window.
sHit Trace(sVec pFrom, sVec pDirection);

/// Returns whether the ray hits a thing within the distance. Walls and the lamp do not count.
bool Blocked(sVec pFrom, sVec pDirection, double pDistance);

/// Returns whether the ray leaves through the window without a hit.
bool SeesOutside(sVec pFrom, sVec pDirection);

/// Returns the share of light that a surface reflects, by colour.
sVec Albedo(const sHit& pHit);

/// Returns the mirror reflection at normal incidence. 0 for a surface without gloss.
double Gloss(eMaterial pMaterial);

} // namespace SelvaneScene

#endif
