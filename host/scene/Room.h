#ifndef SELVANE_HOST_SCENE_ROOM_H
#define SELVANE_HOST_SCENE_ROOM_H

// The room in front of the window: what a ray meets, and what the surfaces look like.

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

/// Where a ray ends.
struct sHit
{
    eMaterial fMaterial = eNothing;
    double fDistance = 1e30; // metres
    sVec fPoint;
    sVec fNormal; // towards the side that the ray came from
};

// The room from corner to corner, the opening in its far wall, and the plane in which that wall ends outside.
constexpr sVec kRoomLow = {-3.1, 0.0, -2.2};
constexpr sVec kRoomHigh = {3.1, 2.8, 6.0};
constexpr sVec kOpeningLow = {-1.75, 0.62, 6.0};
constexpr sVec kOpeningHigh = {1.75, 2.32, 6.0};
constexpr double kOutside = 6.28;

constexpr sVec kLamp = {-2.05, 1.62, 4.55}; // centre of the lit lamp on the shelf
constexpr double kLampRadius = 0.085;
constexpr sVec kLampRadiance = {150.0, 108.0, 66.0};

/// The first thing that a ray from inside the room meets; eNothing when it leaves through the window.
sHit Trace(sVec pFrom, sVec pDirection);

/// True when a thing in the room (not the walls, not the lamp itself) stands within the distance.
bool Blocked(sVec pFrom, sVec pDirection, double pDistance);

/// True when the ray leaves through the window without meeting anything.
bool SeesOutside(sVec pFrom, sVec pDirection);

/// Share of light that a surface gives back, by colour.
sVec Albedo(const sHit& pHit);

/// Mirror reflection at normal incidence; 0 for a surface without gloss.
double Gloss(eMaterial pMaterial);

} // namespace SelvaneScene

#endif
