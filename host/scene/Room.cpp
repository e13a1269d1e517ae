#include "scene/Room.h"

#include <algorithm>

namespace SelvaneScene
{

namespace
{

constexpr double kNear = 1e-6;

struct sBox
{
    sVec fLow;
    sVec fHigh;
    eMaterial fMaterial;
};

struct sBall
{
    sVec fCentre;
    double fRadius;
    eMaterial fMaterial;
};

constexpr sBox kBoxes[] = {
    // window: two uprights, one bar, sill
    {{-0.62, 0.62, 6.10}, {-0.55, 2.32, 6.17}, eFrame},
    {{0.55, 0.62, 6.10}, {0.62, 2.32, 6.17}, eFrame},
    {{-1.75, 1.82, 6.10}, {1.75, 1.88, 6.17}, eFrame},
    {{-1.95, 0.55, 5.80}, {1.95, 0.62, 6.00}, eFrame},
    // table
    {{0.15, 0.72, 3.05}, {2.05, 0.77, 4.25}, eWood},
    {{0.22, 0.0, 3.12}, {0.30, 0.72, 3.20}, eWood},
    {{1.90, 0.0, 3.12}, {1.98, 0.72, 3.20}, eWood},
    {{0.22, 0.0, 4.10}, {0.30, 0.72, 4.18}, eWood},
    {{1.90, 0.0, 4.10}, {1.98, 0.72, 4.18}, eWood},
    {{1.15, 0.77, 3.25}, {1.62, 0.82, 3.58}, eBooks},
    {{1.20, 0.82, 3.28}, {1.58, 0.86, 3.55}, eVase},
    {{0.528, 1.02, 3.728}, {0.572, 1.16, 3.772}, eVase},
    // bench under the window on the left
    {{-1.75, 0.0, 4.75}, {-0.35, 0.40, 5.35}, eWood},
    {{-1.72, 0.40, 4.78}, {-0.38, 0.50, 5.32}, eCloth},
    // shelf on the left wall
    {{-3.10, 0.0, 2.30}, {-2.70, 0.06, 5.30}, eWood},
    {{-3.10, 0.44, 2.30}, {-2.70, 0.48, 5.30}, eWood},
    {{-3.10, 0.88, 2.30}, {-2.70, 0.92, 5.30}, eWood},
    {{-3.10, 1.32, 2.30}, {-2.70, 1.36, 5.30}, eWood},
    {{-3.10, 0.0, 2.26}, {-2.70, 1.36, 2.30}, eWood},
    {{-3.10, 0.0, 5.30}, {-2.70, 1.36, 5.34}, eWood},
    {{-3.05, 0.06, 2.40}, {-2.76, 0.37, 4.90}, eBooks},
    {{-3.05, 0.48, 2.60}, {-2.76, 0.79, 5.20}, eBooks},
    {{-3.05, 0.92, 2.35}, {-2.76, 1.23, 4.55}, eBooks},
    // small table with the lamp
    {{-2.45, 0.0, 4.25}, {-1.70, 0.04, 4.85}, eWood},
    {{-2.12, 0.04, 4.49}, {-2.00, 1.30, 4.61}, eWood},
    {{-2.30, 1.30, 4.33}, {-1.80, 1.34, 4.77}, eWood},
    {{-2.09, 1.34, 4.51}, {-2.01, 1.54, 4.59}, eShade},
    // painting on the right wall
    {{3.04, 1.15, 3.10}, {3.10, 2.15, 4.70}, ePainting},
    // beams under the ceiling
    {{-3.10, 2.62, 0.60}, {3.10, 2.80, 0.80}, eWood},
    {{-3.10, 2.62, 2.40}, {3.10, 2.80, 2.60}, eWood},
    {{-3.10, 2.62, 4.20}, {3.10, 2.80, 4.40}, eWood},
    // armchair at the right, seen from behind
    {{1.45, 0.0, 0.95}, {2.55, 0.46, 1.95}, eCloth},
    {{1.45, 0.46, 0.95}, {2.55, 1.02, 1.17}, eCloth},
    {{1.45, 0.46, 1.17}, {1.63, 0.66, 1.95}, eCloth},
    {{2.37, 0.46, 1.17}, {2.55, 0.66, 1.95}, eCloth},
};

constexpr sBall kBalls[] = {
    {{0.55, 0.905, 3.75}, 0.135, eVase},     {{0.92, 0.815, 3.50}, 0.045, eOrange},
    {{1.015, 0.815, 3.55}, 0.045, eOrange},  {{0.935, 0.815, 3.61}, 0.045, eOrange},
    {{0.965, 0.888, 3.555}, 0.043, eOrange}, {{-0.78, 0.66, 5.12}, 0.16, eOrange},
};

double Component(sVec v, int pAxis)
{
    return pAxis == 0 ? v.x : pAxis == 1 ? v.y : v.z;
}

sVec AxisNormal(int pAxis, double pSign)
{
    return {pAxis == 0 ? pSign : 0.0, pAxis == 1 ? pSign : 0.0, pAxis == 2 ? pSign : 0.0};
}

/// Returns the distance at which the ray enters the box. Negative if it misses the box or starts inside.
double Enter(const sBox& pBox, sVec pFrom, sVec pDirection, int& pAxis)
{
    double near = -1e30, far = 1e30;
    for (int axis = 0; axis < 3; axis++) {
        const double inverse = 1.0 / Component(pDirection, axis);
        double a = (Component(pBox.fLow, axis) - Component(pFrom, axis)) * inverse;
        double b = (Component(pBox.fHigh, axis) - Component(pFrom, axis)) * inverse;
        if (a > b) std::swap(a, b);
        if (a > near) {
            near = a;
            pAxis = axis;
        }
        far = std::min(far, b);
    }
    return near <= far ? near : -1.0;
}

double Enter(const sBall& pBall, sVec pFrom, sVec pDirection)
{
    const sVec to = pFrom - pBall.fCentre;
    const double b = Dot(to, pDirection);
    const double d = b * b - Dot(to, to) + pBall.fRadius * pBall.fRadius;
    return d < 0.0 ? -1.0 : -b - std::sqrt(d);
}

/// Returns the distance at which a ray from inside leaves the box.
double Leave(sVec pLow, sVec pHigh, sVec pFrom, sVec pDirection, int& pAxis)
{
    double far = 1e30;
    for (int axis = 0; axis < 3; axis++) {
        const double d = Component(pDirection, axis);
        if (d == 0.0) continue;
        const double t = (Component(d > 0.0 ? pHigh : pLow, axis) - Component(pFrom, axis)) / d;
        if (t < far) {
            far = t;
            pAxis = axis;
        }
    }
    return far;
}

bool InOpening(sVec pPoint)
{
    return pPoint.x > kOpeningLow.x && pPoint.x < kOpeningHigh.x && pPoint.y > kOpeningLow.y &&
           pPoint.y < kOpeningHigh.y;
}

/// Returns the hit on walls, floor and ceiling, or on the sides of the opening.
sHit TraceShell(sVec pFrom, sVec pDirection)
{
    sHit hit;
    int axis = 0;
    const bool inReveal = pFrom.z > kRoomHigh.z - kNear && InOpening(pFrom);
    if (!inReveal) {
        hit.fDistance = Leave(kRoomLow, kRoomHigh, pFrom, pDirection, axis);
        hit.fPoint = pFrom + pDirection * hit.fDistance;
        hit.fMaterial = axis == 1 ? (pDirection.y > 0.0 ? eCeiling : eFloor) : eWall;
    }
    if (inReveal || (axis == 2 && pDirection.z > 0.0 && InOpening(hit.fPoint))) {
        hit.fDistance = Leave({kOpeningLow.x, kOpeningLow.y, kRoomHigh.z - 1e3},
                              {kOpeningHigh.x, kOpeningHigh.y, kOutside}, pFrom, pDirection, axis);
        hit.fPoint = pFrom + pDirection * hit.fDistance;
        hit.fMaterial = axis == 2 && pDirection.z > 0.0 ? eNothing : eFrame;
    }
    hit.fNormal = AxisNormal(axis, Component(pDirection, axis) > 0.0 ? -1.0 : 1.0);
    return hit;
}

/// Replaces pHit by the nearest thing in front of it.
void TraceThings(sVec pFrom, sVec pDirection, sHit& pHit)
{
    for (const sBox& box : kBoxes) {
        int axis = 0;
        const double distance = Enter(box, pFrom, pDirection, axis);
        if (distance < kNear || distance >= pHit.fDistance) continue;
        pHit = {box.fMaterial, distance, pFrom + pDirection * distance,
                AxisNormal(axis, Component(pDirection, axis) > 0.0 ? -1.0 : 1.0)};
    }
    const sBall lamp{kLamp, kLampRadius, eLamp};
    const auto meet = [&](const sBall& ball) {
        const double distance = Enter(ball, pFrom, pDirection);
        if (distance < kNear || distance >= pHit.fDistance) return;
        const sVec point = pFrom + pDirection * distance;
        pHit = {ball.fMaterial, distance, point, Unit(point - ball.fCentre)};
    };
    for (const sBall& ball : kBalls)
        meet(ball);
    meet(lamp);
}

/// Returns the colour of planks with grain and gaps. Each plank has its own tint.
sVec Planks(double pAlong, double pAcross, double pWidth, sVec pTint)
{
    const double plank = std::floor(pAcross / pWidth);
    const double shift = 1.7 * Lattice(static_cast<int>(plank), 3);
    const double board = std::floor((pAlong + shift) / 1.6);
    const double own = Lattice(static_cast<int>(plank), static_cast<int>(board), 9);
    const double grain = Cloudy(pAcross * 55.0 + 30.0 * own, pAlong * 2.2 + 90.0 * own, 5);
    const double inPlank = pAcross / pWidth - plank;
    const double inBoard = (pAlong + shift) / 1.6 - board;
    const double gap =
        Ease(0.0, 0.03, std::min(inPlank, 1.0 - inPlank)) * Ease(0.0, 0.0025, std::min(inBoard, 1.0 - inBoard));
    return pTint * ((0.62 + 0.5 * own) * (0.62 + 0.76 * grain) * (0.25 + 0.75 * gap));
}

/// Returns the colour of the backs of books, which stand along z.
sVec BookBacks(sVec pPoint)
{
    const double place = pPoint.z / 0.043 + 0.4 * Noise(pPoint.z * 9.0, 1.0);
    const int book = static_cast<int>(std::floor(place));
    const int row = static_cast<int>(std::floor(pPoint.y / 0.44));
    const double hue = Lattice(book, row, 1), value = 0.07 + 0.38 * Lattice(book, row, 2);
    const sVec tints[] = {{1.0, 0.32, 0.22},  {0.30, 0.50, 0.95}, {0.95, 0.78, 0.42},
                          {0.36, 0.70, 0.42}, {0.85, 0.82, 0.76}, {0.55, 0.22, 0.32}};
    const sVec tint = tints[static_cast<int>(hue * 6.0) % 6] * value;
    const double edge = std::min(place - book, 1.0 - (place - book));
    const double band = std::fabs(pPoint.y - 0.44 * row - 0.27) < 0.012 ? 1.7 : 1.0;
    return tint * (Ease(0.0, 0.14, edge) * band);
}

/// Returns the colour of a framed painting: an evening above hills.
sVec PaintingColor(sVec pPoint)
{
    const double u = (pPoint.z - 3.10) / 1.60, v = (pPoint.y - 1.15) / 1.00;
    if (std::min({u, 1.0 - u, v * 0.625, (1.0 - v) * 0.625}) < 0.035) return {0.34, 0.22, 0.08};
    const double brush = 0.85 + 0.3 * Noise(u * 60.0, v * 25.0);
    for (int hill = 0; hill < 3; hill++) {
        if (v < 0.56 - 0.15 * hill + 0.16 * Cloudy(u * (3.0 + hill) + 7.0 * hill, 4.0, 4)) continue;
        return Mix({0.75, 0.40, 0.22}, {0.20, 0.30, 0.52}, v - 0.12 * hill) * (brush * (1.0 - 0.22 * hill));
    }
    return sVec{0.10, 0.22, 0.12} * brush;
}

} // namespace

sHit Trace(sVec pFrom, sVec pDirection)
{
    sHit hit = TraceShell(pFrom, pDirection);
    TraceThings(pFrom, pDirection, hit);
    return hit;
}

bool Blocked(sVec pFrom, sVec pDirection, double pDistance)
{
    const auto between = [&](double pAt) { return pAt > kNear && pAt < pDistance; };
    int axis = 0;
    return std::ranges::any_of(kBoxes, [&](const sBox& b) { return between(Enter(b, pFrom, pDirection, axis)); }) ||
           std::ranges::any_of(kBalls, [&](const sBall& b) { return between(Enter(b, pFrom, pDirection)); });
}

bool SeesOutside(sVec pFrom, sVec pDirection)
{
    const sHit shell = TraceShell(pFrom, pDirection);
    return shell.fMaterial == eNothing && !Blocked(pFrom, pDirection, shell.fDistance);
}

sVec Albedo(const sHit& pHit)
{
    const sVec p = pHit.fPoint;
    switch (pHit.fMaterial) {
    case eWall: {
        const double plaster = 0.93 + 0.14 * (Cloudy(p.x * 9.0 + p.z * 9.0, p.y * 9.0, 5) - 0.5);
        const bool panel = p.y < 0.95 && std::fabs(p.x) > 3.05;
        return (panel ? Planks(p.y, p.z, 0.16, {0.38, 0.28, 0.19}) * 0.9 : sVec{0.64, 0.63, 0.60} * plaster);
    }
    case eCeiling:
        return sVec{0.68, 0.67, 0.64} * (0.96 + 0.08 * Noise(p.x * 11.0, p.z * 11.0));
    case eFloor:
        return Planks(p.z, p.x, 0.17, {0.40, 0.27, 0.17});
    case eFrame:
        return {0.66, 0.63, 0.57};
    case eWood:
        return Planks(pHit.fNormal.y != 0.0 ? p.x : p.y, p.z, 0.24, {0.34, 0.22, 0.13});
    case eBooks:
        return pHit.fNormal.x != 0.0 ? BookBacks(p) : sVec{0.55, 0.48, 0.36};
    case eVase:
        return {0.035, 0.10, 0.24};
    case eOrange:
        return sVec{0.80, 0.30, 0.03} * (0.9 + 0.2 * Noise(p.x * 160.0, p.y * 160.0 + p.z * 90.0));
    case eCloth: {
        const double weave = 0.85 + 0.3 * Noise(p.x * 130.0, (p.y + p.z) * 130.0);
        return sVec{0.25, 0.29, 0.36} * weave;
    }
    case ePainting:
        return PaintingColor(p);
    case eShade:
        return {0.30, 0.28, 0.22};
    default:
        return {};
    }
}

double Gloss(eMaterial pMaterial)
{
    switch (pMaterial) {
    case eFloor:
        return 0.035;
    case eVase:
        return 0.06;
    case eWood:
        return 0.02;
    default:
        return 0.0;
    }
}

} // namespace SelvaneScene
