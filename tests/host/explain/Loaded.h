#ifndef SELVANE_TESTS_HOST_EXPLAIN_LOADED_H
#define SELVANE_TESTS_HOST_EXPLAIN_LOADED_H

// What libselvane makes of a file by itself, for the tests of sheets and reports.

#include "lib/api/Pictures.h"
#include "picture/PictureLibrary.h"
#include "read/PictureReader.h"

#include <gtest/gtest.h>
#include <selvane.h>

#include <string>

namespace SelvaneTest
{

/// A handle with a picture of 8 or 16-bit samples.
inline tHandle Loaded(const std::string& pPath)
{
    SelvaneHost::StartPictureLibrary();
    const SelvaneHost::sPicture input = SelvaneHost::ReadPictureFile(pPath);
    tHandle handle = NewHandle();
    const int format = input.fForm == SelvaneHost::eSamples8 ? SELVANE_U8 : SELVANE_U16;
    selvane_picture picture = PictureOf(input.fWidth, input.fHeight, format, input.fPixels.data(), input.fChannels);
    picture.primaries = input.fColor.fPrimaries;
    picture.transfer = input.fColor.fTransfer;
    picture.gamma = input.fColor.fGamma;
    EXPECT_DONE(handle.get(), selvane_set_picture(handle.get(), &picture));
    return handle;
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
