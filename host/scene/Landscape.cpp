#include "scene/Landscape.h"

namespace SelvaneScene
{

namespace
{

constexpr double kDegree = 0.017453292519943295;
constexpr double kSunAzimuth = -7.4 * kDegree; // to the left of straight ahead
constexpr double kSunElevation = 4.3 * kDegree;
constexpr double kSunRadius = 0.35 * kDegree;
constexpr sVec kSunDisc = {260000.0, 150000.0, 60000.0};
constexpr double kShore = -0.35 * kDegree; // elevation at which the far shore meets the lake

/// A direction in angles.
struct sView
{
    double fAzimuth;   // radians, to the right of straight ahead
    double fElevation; // radians above the horizon
};

sView ViewOf(sVec pDirection)
{
    return {std::atan2(pDirection.x, pDirection.z), std::asin(std::clamp(pDirection.y, -1.0, 1.0))};
}

/// Returns the angle to the sun in radians.
double FromSun(const sView& pView)
{
    return std::hypot((pView.fAzimuth - kSunAzimuth) * std::cos(pView.fElevation), pView.fElevation - kSunElevation);
}

sVec Horizon(double pFromSun)
{
    return Mix({3.3, 2.7, 3.1}, {17.0, 8.2, 2.9}, std::exp(-pFromSun / 0.16));
}

sVec ClearSky(const sView& pView)
{
    const double angle = FromSun(pView);
    const double rise = 1.0 - std::exp(-std::max(0.0, pView.fElevation) * 11.0);
    const sVec sky = Mix(Horizon(angle), {1.0, 2.1, 4.6}, rise);
    return sky + sVec{100.0, 56.0, 20.0} * std::exp(-angle / 0.022) + sVec{12.0, 5.6, 1.8} * std::exp(-angle / 0.075);
}

sVec Sky(const sView& pView)
{
    const double billows = Cloudy(pView.fAzimuth * 5.0 + 3.1, pView.fElevation * 30.0 + 0.35 * pView.fAzimuth, 6);
    const double height = Ease(1.2 * kDegree, 4.0 * kDegree, pView.fElevation);
    const double cover = Ease(0.49, 0.66, billows) * height;
    const double angle = FromSun(pView);
    const sVec lit = Mix({5.0, 3.0, 3.0}, {34.0, 14.0, 5.0}, std::exp(-angle / 0.12));
    const sVec shade = Mix({1.7, 1.6, 2.4}, {7.0, 4.0, 3.2}, std::exp(-angle / 0.15));
    const sVec cloud = Mix(lit, shade, Ease(0.60, 0.76, billows));
    return Mix(ClearSky(pView), cloud, 0.85 * cover);
}

/// One range of mountains: its outline, and its colour behind the air.
struct sRange
{
    double fBase;      // degrees
    double fSwing;     // degrees
    double fFrequency; // swings per radian
    double fSeed;
    double fHaze; // 0: clear, 1: invisible behind the air
    sVec fColor;
};

constexpr sRange kRanges[] = {
    {2.0, 4.2, 5.0, 11.0, 0.62, {0.60, 0.62, 0.95}},
    {0.6, 3.6, 8.0, 47.0, 0.38, {0.42, 0.40, 0.52}},
    {-0.4, 2.4, 13.0, 83.0, 0.13, {0.20, 0.22, 0.16}},
};

double Outline(const sRange& pRange, double pAzimuth)
{
    const double rough = Cloudy(pAzimuth * pRange.fFrequency + pRange.fSeed, pRange.fSeed, 7);
    const double ridge = 1.0 - std::fabs(2.0 * rough - 1.0); // sharp crests
    return (pRange.fBase + pRange.fSwing * (ridge - 0.45)) * kDegree;
}

sVec MountainColor(const sRange& pRange, const sView& pView)
{
    const double folds = Cloudy(pView.fAzimuth * 60.0, pView.fElevation * 90.0 + pRange.fSeed, 5);
    const sVec rock = pRange.fColor * (0.55 + 0.9 * folds);
    return Mix(rock, Horizon(FromSun(pView)) * 0.5, pRange.fHaze);
}

/// Returns the colour above the lake.
sVec UpperHalf(const sView& pView)
{
    sVec color = Sky(pView);
    for (const sRange& range : kRanges) {
        if (pView.fElevation < Outline(range, pView.fAzimuth)) color = MountainColor(range, pView);
    }
    return color;
}

/// Returns the colour of the lake. It mirrors the upper half. The waves get shorter towards the shore.
sVec Lake(const sView& pView)
{
    const double depth = std::max(0.0006, -(pView.fElevation - kShore));
    const double distance = 1.0 / depth;
    const double waves = Cloudy(pView.fAzimuth * distance * 0.9, std::log(distance) * 34.0, 4) - 0.5;
    const double fine = Noise(pView.fAzimuth * distance * 5.0, std::log(distance) * 160.0) - 0.5;
    const sView mirrored{
        pView.fAzimuth + 0.012 * fine,
        std::max(0.0, kShore + 1.25 * depth + 0.10 * waves * std::sqrt(depth) + 0.03 * fine * std::sqrt(depth))};
    const double fresnel = 0.12 + 0.78 * std::exp(-depth * 9.0);
    sVec glitter;
    const double beam = (pView.fAzimuth - kSunAzimuth) / (0.012 + 0.16 * depth);
    const double spark = Ease(0.56, 0.80, waves + 0.5 + 0.7 * fine);
    glitter = sVec{300.0, 165.0, 58.0} * (std::exp(-beam * beam) * spark);
    return UpperHalf(mirrored) * fresnel + sVec{0.10, 0.17, 0.20} + glitter;
}

/// Returns whether a direction hits a fir, a spike of boughs.
bool InFir(const sView& pView, double pAzimuth, double pFoot, double pTop, double pHalfWidth, int pSeed)
{
    const double up = (pView.fElevation - pFoot) / (pTop - pFoot);
    if (up < 0.0 || up > 1.0) return false;
    const double side = (pView.fAzimuth - pAzimuth) / pHalfWidth;
    const double bough = up * 15.0 + 0.6 * Noise(side * 3.0 + pSeed, up * 9.0);
    const double saw = 1.0 - 0.45 * (bough - std::floor(bough));
    const double ragged = 0.25 * (Noise(side * 14.0 + pSeed, up * 70.0) - 0.5);
    return std::fabs(side) < (1.0 - up) * saw + ragged * (1.0 - up) + 0.02;
}

bool InWood(const sView& pView)
{
    constexpr double kFirs[][4] = {// azimuth, foot, top, half width, in degrees
                                   {-19.0, -8.0, 4.6, 2.6},  {-15.6, -8.0, 0.9, 1.9}, {-22.0, -8.0, 2.4, 2.2},
                                   {13.4, -8.0, 0.4, 1.7},   {16.0, -8.0, 5.6, 2.7},  {19.4, -8.0, 2.2, 2.2},
                                   {-12.9, -8.0, -2.2, 1.3}, {10.9, -8.0, -2.8, 1.2}, {23.0, -8.0, 4.0, 2.5}};
    int seed = 1;
    for (const auto& fir : kFirs) {
        if (InFir(pView, fir[0] * kDegree, fir[1] * kDegree, fir[2] * kDegree, fir[3] * kDegree, seed++)) return true;
    }
    return false;
}

double MeadowEdge(double pAzimuth)
{
    return (-5.6 + 1.2 * (Cloudy(pAzimuth * 6.0 + 5.0, 2.0, 4) - 0.5)) * kDegree;
}

sVec Meadow(const sView& pView)
{
    const double blades = Cloudy(pView.fAzimuth * 260.0, pView.fElevation * 90.0, 4);
    const double light = 0.5 + 1.2 * std::exp(-std::fabs(pView.fAzimuth - kSunAzimuth) / 0.25);
    return sVec{0.26, 0.24, 0.10} * (light * (0.25 + 1.1 * blades));
}

} // namespace

double Noise(double x, double y)
{
    const double fx = std::floor(x), fy = std::floor(y);
    const int ix = static_cast<int>(fx), iy = static_cast<int>(fy);
    const double tx = Ease(0.0, 1.0, x - fx), ty = Ease(0.0, 1.0, y - fy);
    const double low = Lattice(ix, iy) * (1.0 - tx) + Lattice(ix + 1, iy) * tx;
    const double high = Lattice(ix, iy + 1) * (1.0 - tx) + Lattice(ix + 1, iy + 1) * tx;
    return low * (1.0 - ty) + high * ty;
}

double Cloudy(double x, double y, int pOctaves)
{
    double sum = 0.0, weight = 0.5, total = 0.0;
    for (int i = 0; i < pOctaves; i++) {
        sum += weight * Noise(x, y);
        total += weight;
        weight *= 0.5;
        const double turned = 1.6 * x - 1.2 * y + 7.3; // each octave is turned and doubled, to hide the lattice
        y = 1.2 * x + 1.6 * y + 3.9;
        x = turned;
    }
    return sum / total;
}

sVec SunDirection()
{
    return {std::sin(kSunAzimuth) * std::cos(kSunElevation), std::sin(kSunElevation),
            std::cos(kSunAzimuth) * std::cos(kSunElevation)};
}

sVec Landscape(sVec pDirection)
{
    const sView view = ViewOf(pDirection);
    if (InWood(view)) return {0.045, 0.055, 0.035};
    if (view.fElevation < MeadowEdge(view.fAzimuth)) return Meadow(view);
    return view.fElevation < kShore ? Lake(view) : UpperHalf(view);
}

sVec LandscapeWithSun(sVec pDirection)
{
    const sView view = ViewOf(pDirection);
    return FromSun(view) < kSunRadius ? kSunDisc : Landscape(pDirection);
}

} // namespace SelvaneScene
