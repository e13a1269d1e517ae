#include "MadeScenes.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <functional>
#include <utility>

namespace SelvaneTmqi
{

namespace
{

constexpr int kWidth = 450;
constexpr int kHeight = 300;

/// A colour in linear sRGB.
struct sColor
{
    double r = 0.0, g = 0.0, b = 0.0;
};

sColor operator+(sColor a, sColor b)
{
    return {a.r + b.r, a.g + b.g, a.b + b.b};
}

sColor operator*(sColor a, double f)
{
    return {a.r * f, a.g * f, a.b * f};
}

sColor Mixed(sColor a, sColor b, double pShare)
{
    return a * (1.0 - pShare) + b * pShare;
}

/// -1 to 1, from three whole numbers (the mixing steps of MurmurHash3's finaliser).
double Random(int pX, int pY, int pSeed)
{
    uint32_t h = static_cast<uint32_t>(pX) * 0x9E3779B1u ^ static_cast<uint32_t>(pY) * 0x85EBCA77u ^
                 static_cast<uint32_t>(pSeed) * 0xC2B2AE3Du;
    h = (h ^ (h >> 16)) * 0x85EBCA6Bu;
    h = (h ^ (h >> 13)) * 0xC2B2AE35u;
    return static_cast<double>(h ^ (h >> 16)) / 2147483647.5 - 1.0;
}

/// Random values on whole numbers, straight lines between.
double ValueNoise(double pX, double pY, int pSeed)
{
    const int x = static_cast<int>(std::floor(pX)), y = static_cast<int>(std::floor(pY));
    const double right = pX - x, down = pY - y;
    const double upper = Random(x, y, pSeed) * (1.0 - right) + Random(x + 1, y, pSeed) * right;
    const double lower = Random(x, y + 1, pSeed) * (1.0 - right) + Random(x + 1, y + 1, pSeed) * right;
    return upper * (1.0 - down) + lower * down;
}

/// Noise of several octaves, mostly between -2 and 2.
double Clouds(double pX, double pY, double pSize, int pOctaves, int pSeed)
{
    double sum = 0.0, height = 1.2;
    for (int i = 0; i < pOctaves; i++) {
        const double size = std::ldexp(pSize, -i);
        sum += height * ValueNoise(pX / size, pY / size, pSeed + i);
        height *= 0.6;
    }
    return sum;
}

double Glow(double pDistance, double pRadius)
{
    return std::exp(-pDistance / pRadius);
}

sPicture Painted(const std::function<sColor(double, double)>& pPaint)
{
    std::vector<float> rgb;
    for (int y = 0; y < kHeight; y++)
        for (int x = 0; x < kWidth; x++) {
            const sColor c = pPaint(x, y);
            for (const double value : {c.r, c.g, c.b})
                rgb.push_back(static_cast<float>(std::max(0.0, value)));
        }
    return {kWidth, kHeight, std::move(rgb)};
}

bool IsInTree(double pX, double pY, double pCentre, double pFoot, double pHeight, double pSpread)
{
    return pY < pFoot && std::fabs(pX - pCentre) < (pY - (pFoot - pHeight)) * pSpread;
}

double Ripple(double pX, double pY, double pShare, int pSeed)
{
    return std::max(0.2, 1.0 + pShare * Clouds(pX, pY, 40.0, 5, pSeed));
}

sColor Noise(double pX, double pY, sColor pStrength)
{
    const auto at = [&](int pSeed) {
        return Random(static_cast<int>(pX), static_cast<int>(pY), pSeed) +
               Random(static_cast<int>(pX), static_cast<int>(pY), pSeed + 10);
    };
    return {pStrength.r * at(71), pStrength.g * at(72), pStrength.b * at(73)};
}

constexpr double kLamps[] = {60.0, 190.0, 330.0, 410.0};
constexpr double kLampHeight = 170.0;

sColor TownSurface(double pX, double pY)
{
    const int house = static_cast<int>(pX / 50.0);
    const double top = 135.0 + 45.0 * Random(house, 0, 5);
    if (pY >= 225.0) return sColor{0.008, 0.007, 0.007} * Ripple(pX, pY, 0.3, 1);
    if (pY < top || std::fmod(pX, 50.0) > 44.0) return sColor{0.002, 0.0025, 0.005} * (1.0 + 2.0 * pY / kHeight);
    const int column = static_cast<int>(pX / 10.0), floor = static_cast<int>((pY - top) / 18.0);
    const bool pane = std::fmod(pX, 10.0) < 5.0 && std::fmod(pY - top, 18.0) > 9.0;
    if (pane && Random(column, floor, 6) > 0.5) return sColor{0.9, 0.6, 0.25} * (0.9 + 0.6 * Random(column, floor, 7));
    return sColor{0.006, 0.005, 0.005} * (1.1 + 0.5 * Random(house, 1, 5));
}

sColor LampLight(double pX, double pY, double pLamp)
{
    const double distance = std::hypot(pX - pLamp, pY - kLampHeight);
    if (distance < 4.0) return {120.0, 85.0, 45.0};
    const double air = 1.8 / (1.0 + distance * distance / 25.0) / (1.0 + distance * distance / 1600.0);
    const double across = (pX - pLamp) / 60.0, along = (pY - 260.0) / 22.0;
    const double street = pY >= 225.0 ? 0.25 * std::exp(-across * across - along * along) : 0.0;
    return sColor{1.0, 0.7, 0.35} * (air + street * Ripple(pX, pY, 0.3, 1));
}

} // namespace

sPicture NightTown()
{
    return Painted([](double x, double y) {
        sColor light = TownSurface(x, y) + Noise(x, y, {0.0005, 0.0003, 0.0006});
        for (const double lamp : kLamps)
            light = light + LampLight(x, y, lamp);
        return light;
    });
}

sPicture Snow()
{
    return Painted([](double x, double y) {
        for (int tree = 0; tree < 14; tree++)
            if (IsInTree(x, y, 225.0 + 225.0 * Random(tree, 0, 7), 140.0 + 15.0 * Random(tree, 1, 7),
                         48.0 + 22.0 * Random(tree, 2, 7), 0.28))
                return sColor{0.03, 0.05, 0.035} * Ripple(x, y, 0.5, 3);
        if (y < 120.0 + 12.0 * Clouds(x, 0.0, 120.0, 3, 4)) return sColor{0.5, 0.7, 1.1} * (0.7 + 0.5 * y / kHeight);
        const bool shade = Clouds(x, y, 90.0, 3, 9) > 0.8;
        return (shade ? sColor{0.6, 0.7, 0.92} : sColor{1.35, 1.4, 1.5}) * (1.0 + 0.07 * Clouds(x, y, 60.0, 6, 3));
    });
}

sPicture Fog()
{
    return Painted([](double x, double y) {
        sColor light = sColor{0.6, 0.62, 0.65} * (1.0 - 0.15 * y / kHeight) * (1.0 + 0.01 * Clouds(x, y, 60.0, 5, 11));
        const double depths[] = {3.0, 2.0, 1.2, 0.15}, feet[] = {165.0, 186.0, 216.0, 246.0};
        for (int row = 0; row < 4; row++) {
            const double clear = std::exp(-depths[row]);
            if (y > feet[row]) light = Mixed(light, sColor{0.15, 0.16, 0.1} * Ripple(x, y, 0.4, 12), clear);
            for (int tree = 0; tree < (row < 3 ? 9 : 1); tree++)
                if (IsInTree(x, y, 225.0 + 210.0 * Random(tree, row, 13), feet[row], 60.0 * (3.4 - depths[row]), 0.2)) {
                    light = Mixed(light, sColor{0.05, 0.06, 0.05} * Ripple(x, y, 0.4, 14), clear);
                    break;
                }
        }
        return light;
    });
}

sPicture WhiteRoom()
{
    return Painted([](double x, double y) {
        const double across = x / kWidth, down = y / kHeight;
        const auto in = [&](double pLeft, double pRight, double pTop, double pBottom) {
            return across > pLeft && across < pRight && down > pTop && down < pBottom;
        };
        if (std::hypot(across - 0.9, (down - 0.3) * 0.67) < 0.03) return sColor{30.0, 24.0, 16.0};
        if (in(0.6, 0.66, 0.3, 0.45)) return sColor{0.1, 0.2, 0.4};
        if (in(0.5, 0.85, 0.55, 0.8)) return sColor{0.7, 0.68, 0.66} * (1.0 + 0.05 * Clouds(x, y, 50.0, 5, 12));
        if (in(0.1, 0.3, 0.15, 0.55))
            return in(0.194, 0.206, 0.0, 1.0) || in(0.0, 1.0, 0.342, 0.358)
                       ? sColor{0.5, 0.5, 0.5}
                       : sColor{9.0, 10.0, 11.5} * (1.0 - 0.4 * down);
        if (down > 0.72) return sColor{0.55, 0.5, 0.45} * (1.0 + 0.06 * Clouds(x, y, 50.0, 5, 12));
        return sColor{0.8, 0.79, 0.77} * (1.0 - 0.25 * across) * (1.0 + 0.01 * Clouds(x, y, 50.0, 5, 12));
    });
}

sPicture SeaSunset()
{
    return Painted([](double x, double y) {
        if (y > 270.0 + 12.0 * Clouds(x, 0.0, 80.0, 4, 15)) return sColor{0.012, 0.01, 0.01} * Ripple(x, y, 0.5, 16);
        const double distance = std::hypot(x - 270.0, y - 150.0);
        if (distance < 9.0) return sColor{4000.0, 2200.0, 700.0};
        if (y <= 165.0) {
            const double down = y / 165.0, cloud = std::clamp(Clouds(x, y, 90.0, 5, 17) - 0.4, 0.0, 1.0);
            const sColor sky = sColor{0.12, 0.2, 0.5} * (1.0 - down) + sColor{2.2, 0.9, 0.3} * (down * down * down) +
                               sColor{6.0, 2.6, 0.7} * Glow(distance, 45.0);
            return sky * (1.0 - 0.5 * cloud);
        }
        const double wave = Clouds(x, 3.0 * y, 40.0, 5, 18), reach = (x - 270.0) / (14.0 + 0.2 * (y - 165.0));
        const double glitter = std::exp(-reach * reach) * std::pow(std::max(0.0, wave), 2.0);
        return (sColor{0.05, 0.06, 0.1} + sColor{0.3, 0.15, 0.08} * Glow(y - 165.0, 33.0)) *
                   std::max(0.2, 1.0 + 0.35 * wave) +
               sColor{3.0, 1.45, 0.5} * glitter;
    });
}

sPicture SunnyHills()
{
    return Painted([](double x, double y) {
        if (x > 270.0 && x < 360.0 && y > 114.0 && y < 186.0) return sColor{0.5, 0.35, 0.25} * Ripple(x, y, 0.05, 21);
        if (y > 84.0 && y <= 114.0 && std::fabs(x - 315.0) < (y - 84.0) * 1.8) return sColor{0.2, 0.06, 0.05};
        if (y > 150.0 + 15.0 * Clouds(x, 0.0, 110.0, 4, 22))
            return sColor{0.12, 0.2, 0.05} * std::exp(0.5 * Clouds(x, y, 30.0, 6, 23));
        const double distance = std::hypot(x - 135.0, y - 45.0);
        if (distance < 6.0) return sColor{6e4, 6e4, 6e4};
        const double cloud = std::clamp(Clouds(x, y, 100.0, 5, 24), 0.0, 2.0);
        return sColor{0.35, 0.6, 1.3} * (1.0 - 0.3 * y / kHeight) + sColor{0.6, 0.6, 0.6} * cloud +
               sColor{8.0, 7.5, 6.5} * Glow(distance, 30.0);
    });
}

sPicture StarryField()
{
    return Painted([](double x, double y) {
        const sColor noise = Noise(x, y, {0.0015, 0.0006, 0.0017}) + sColor{0.0022, 0.0004, 0.0022};
        if (y > 180.0) return sColor{0.004, 0.003, 0.0035} * Ripple(x, y, 0.4, 31) + noise;
        if (y < 165.0 && Random(static_cast<int>(x), static_cast<int>(y), 32) > 0.997) return sColor{0.6, 0.6, 0.7};
        const double up = (180.0 - y) / 36.0;
        return sColor{0.02, 0.018, 0.03} * (1.0 + 3.0 * std::exp(-up * up)) + noise;
    });
}

} // namespace SelvaneTmqi
