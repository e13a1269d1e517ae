#ifndef SELVANE_TESTS_HOST_EXPLAIN_LOADED_H
#define SELVANE_TESTS_HOST_EXPLAIN_LOADED_H

// What libselvane makes of a file by itself, for the tests of sheets and reports.

#include "picture/PictureLibrary.h"
#include "read/PictureReader.h"

#include <gtest/gtest.h>
#include <selvane.h>

#include <memory>
#include <string>

namespace SelvaneTest
{

struct sFreeHandle
{
    void operator()(selvane* pHandle) const { selvane_free(pHandle); }
};

using tHandle = std::unique_ptr<selvane, sFreeHandle>;

/// A handle with a picture of 8 or 16-bit samples.
inline tHandle Loaded(const std::string& pPath)
{
    SelvaneHost::StartPictureLibrary();
    const SelvaneHost::sPicture input = SelvaneHost::ReadPictureFile(pPath);
    tHandle handle(selvane_new());
    selvane_picture picture;
    selvane_picture_init(&picture);
    picture.width = input.fWidth;
    picture.height = input.fHeight;
    picture.format = input.fForm == SelvaneHost::eSamples8 ? SELVANE_U8 : SELVANE_U16;
    picture.channels = input.fChannels;
    picture.primaries = input.fColor.fPrimaries;
    picture.transfer = input.fColor.fTransfer;
    picture.gamma = input.fColor.fGamma;
    picture.pixels = input.fPixels.data();
    EXPECT_EQ(selvane_set_picture(handle.get(), &picture), SELVANE_OK);
    return handle;
}

/// A target of 8-bit samples of sRGB.
inline selvane_target BytesTarget(int pWidth, int pHeight, unsigned char* pPixels)
{
    selvane_target target;
    selvane_target_init(&target);
    target.width = pWidth;
    target.height = pHeight;
    target.format = SELVANE_U8;
    target.pixels = pPixels;
    return target;
}

/// The settings of a preset, with more exposure.
inline selvane_settings PresetSettings(const char* pName, float pExposure)
{
    selvane_settings settings;
    selvane_settings_init(&settings);
    EXPECT_EQ(selvane_preset(nullptr, pName, &settings), SELVANE_OK);
    settings.exposure += pExposure;
    return settings;
}

} // namespace SelvaneTest

#endif
