#ifndef SELVANE_TESTS_LIB_PICTURES_H
#define SELVANE_TESTS_LIB_PICTURES_H

// Made pictures, and a handle that frees itself, for the tests of the interface.

#include "selvane.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace SelvaneTest
{

struct sFreeHandle
{
    void operator()(selvane* pHandle) const { selvane_free(pHandle); }
};

using tHandle = std::unique_ptr<selvane, sFreeHandle>;

inline tHandle NewHandle()
{
    return tHandle(selvane_new());
}

#define EXPECT_DONE(handle, call) EXPECT_EQ(call, SELVANE_OK) << selvane_error(handle)
#define ASSERT_DONE(handle, call) ASSERT_EQ(call, SELVANE_OK) << selvane_error(handle)

/// Light on a made scene: a bright gradient, a lamp and texture, over pDecades decades. Red, green, blue of a pixel.
inline void SceneAt(int pX, int pY, int pWidth, int pHeight, double pDecades, double* pRGB)
{
    const double u = (pX + 0.5) / pWidth, v = (pY + 0.5) / pHeight;
    const double lamp = std::exp(-60 * ((u - 0.7) * (u - 0.7) + (v - 0.3) * (v - 0.3)));
    const double texture = 0.15 * std::sin(37.0 * u) * std::cos(29.0 * v) + 0.05 * std::sin(211.0 * u * v);
    const double level = std::pow(10.0, pDecades * (0.5 * u + 0.5 * lamp - 0.75) + texture);
    pRGB[0] = level * (0.6 + 0.4 * v);
    pRGB[1] = level * (0.8 - 0.3 * u);
    pRGB[2] = level * (0.3 + 0.6 * u * v);
}

/// Interleaved floats of the scene, pChannels a pixel; alpha is 1.
inline std::vector<float> FloatScene(int pWidth, int pHeight, int pChannels = 3, double pDecades = 4.0)
{
    std::vector<float> samples;
    for (int y = 0; y < pHeight; y++)
        for (int x = 0; x < pWidth; x++) {
            double rgb[3];
            SceneAt(x, y, pWidth, pHeight, pDecades, rgb);
            for (const double value : rgb)
                samples.push_back(static_cast<float>(value));
            if (pChannels == 4) samples.push_back(1.0f);
        }
    return samples;
}

/// Integers of the scene, gamma 2.2.
template <class tSample>
std::vector<tSample> IntegerScene(int pWidth, int pHeight)
{
    std::vector<tSample> samples;
    for (const float value : FloatScene(pWidth, pHeight, 3, 3.0)) {
        const double encoded = std::pow(std::min(1.0, static_cast<double>(value) * 2.0), 1 / 2.2);
        samples.push_back(static_cast<tSample>(encoded * static_cast<tSample>(~tSample{0})));
    }
    return samples;
}

inline selvane_picture PictureOf(int pWidth, int pHeight, int pFormat, const void* pPixels, int pChannels = 3)
{
    selvane_picture picture;
    selvane_picture_init(&picture);
    picture.width = pWidth;
    picture.height = pHeight;
    picture.format = pFormat;
    picture.channels = pChannels;
    picture.pixels = pPixels;
    return picture;
}

inline selvane_target TargetOf(int pWidth, int pHeight, int pFormat, void* pPixels, int pChannels = 3)
{
    selvane_target target;
    selvane_target_init(&target);
    target.width = pWidth;
    target.height = pHeight;
    target.format = pFormat;
    target.channels = pChannels;
    target.pixels = pPixels;
    return target;
}

/// Sliders as they stand, all 0.
inline selvane_settings PlainSettings()
{
    selvane_settings settings;
    selvane_settings_init(&settings);
    settings.automatic = 0;
    return settings;
}

inline std::vector<uint8_t> RenderBytes(selvane* pHandle, int pWidth, int pHeight)
{
    std::vector<uint8_t> bytes(3 * static_cast<size_t>(pWidth) * static_cast<size_t>(pHeight));
    const selvane_target target = TargetOf(pWidth, pHeight, SELVANE_U8, bytes.data());
    EXPECT_DONE(pHandle, selvane_render(pHandle, &target));
    return bytes;
}

} // namespace SelvaneTest

#endif
