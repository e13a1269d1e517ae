#ifndef SELVANE_HOST_SCENE_VEC_H
#define SELVANE_HOST_SCENE_VEC_H

// Three numbers: a place in metres, a direction, or a colour in linear sRGB. x points to the right, y up, z towards the
// window.

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace SelvaneScene
{

struct sVec
{
    double x = 0;
    double y = 0;
    double z = 0;
};

inline sVec operator+(sVec a, sVec b)
{
    return {a.x + b.x, a.y + b.y, a.z + b.z};
}
inline sVec operator-(sVec a, sVec b)
{
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}
inline sVec operator*(sVec a, sVec b)
{
    return {a.x * b.x, a.y * b.y, a.z * b.z};
}
inline sVec operator*(sVec a, double s)
{
    return {a.x * s, a.y * s, a.z * s};
}
inline double Dot(sVec a, sVec b)
{
    return a.x * b.x + a.y * b.y + a.z * b.z;
}
inline sVec Cross(sVec a, sVec b)
{
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
inline double Length(sVec a)
{
    return std::sqrt(Dot(a, a));
}
inline sVec Unit(sVec a)
{
    return a * (1.0 / Length(a));
}
inline sVec Mix(sVec a, sVec b, double t)
{
    return a * (1.0 - t) + b * t;
}
inline sVec Mirror(sVec d, sVec n)
{
    return d - n * (2.0 * Dot(d, n));
}

/// Returns 0 below pLow, 1 above pHigh, and a smooth transition between them.
inline double Ease(double pLow, double pHigh, double v)
{
    const double t = std::clamp((v - pLow) / (pHigh - pLow), 0.0, 1.0);
    return t * t * (3.0 - 2.0 * t);
}

/// Returns a fixed pseudo-random number of a lattice point, from 0 to below 1.
inline double Lattice(int x, int y, int z = 0)
{
    uint32_t h = static_cast<uint32_t>(x) * 0x8DA6B343U ^ static_cast<uint32_t>(y) * 0xD8163841U ^
                 static_cast<uint32_t>(z) * 0xCB1AB31FU;
    h = (h ^ h >> 15) * 0x2C1B3C6DU;
    h = (h ^ h >> 12) * 0x297A2D39U;
    return (h ^ h >> 15) / 4294967296.0;
}

/// Returns smooth noise between 0 and 1, with one swing per unit.
double Noise(double x, double y);

/// Returns smooth noise with finer and weaker swings added. Its mean is about 0.5.
double Cloudy(double x, double y, int pOctaves);

/// A stream of pseudo-random numbers from 0 to below 1. A seed gives the same numbers on every machine.
class cDice
{
public:
    explicit cDice(uint32_t pSeed) : fState(pSeed * 2654435761U + 1) {}
    double Roll()
    {
        fState = fState * 1664525U + 1013904223U;
        uint32_t h = fState;
        h = (h ^ h >> 16) * 0x45D9F3BU;
        return (h ^ h >> 16) / 4294967296.0;
    }

private:
    uint32_t fState;
};

} // namespace SelvaneScene

#endif
