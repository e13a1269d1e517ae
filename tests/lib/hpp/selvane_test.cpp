#include "selvane.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <stdexcept>
#include <thread>

int RenderInEveryForm(Selvane::cToneMapper& pMapper);

using Selvane::cError;
using Selvane::cToneMapper;

namespace
{

constexpr int kWidth = 60;
constexpr int kHeight = 40;

std::vector<float> Scene(int pChannels = 3)
{
    std::vector<float> scene;
    for (int y = 0; y < kHeight; y++)
        for (int x = 0; x < kWidth; x++)
            for (int c = 0; c < pChannels; c++)
                scene.push_back(c == 3 ? (x < 5 ? 0.0f : 1.0f)
                                       : 0.01f * std::exp(0.12f * static_cast<float>(x)) +
                                             0.02f * static_cast<float>(y + c));
    return scene;
}

cToneMapper Loaded()
{
    cToneMapper mapper;
    const std::vector<float> scene = Scene();
    mapper.SetPicture(Selvane::Picture(scene, kWidth, kHeight));
    return mapper;
}

/// What the C functions make of the same picture.
std::vector<uint8_t> RenderInC(const selvane_settings& pSettings)
{
    const std::vector<float> scene = Scene();
    std::vector<uint8_t> bytes(static_cast<size_t>(kWidth * kHeight * 3));
    selvane* const handle = selvane_new();
    selvane_picture picture;
    selvane_picture_init(&picture);
    picture.width = kWidth;
    picture.height = kHeight;
    picture.format = SELVANE_F32;
    picture.pixels = scene.data();
    selvane_target target;
    selvane_target_init(&target);
    target.width = kWidth;
    target.height = kHeight;
    target.format = SELVANE_U8;
    target.pixels = bytes.data();
    EXPECT_EQ(selvane_set_picture(handle, &picture), SELVANE_OK);
    EXPECT_EQ(selvane_set_settings(handle, &pSettings), SELVANE_OK);
    EXPECT_EQ(selvane_render(handle, &target), SELVANE_OK);
    selvane_free(handle);
    return bytes;
}

/// Runs a call and returns the status that it throws; SELVANE_OK if it throws none.
template <typename tCall>
int StatusOf(tCall pCall)
{
    try {
        pCall();
    } catch (const cError& error) {
        EXPECT_STRNE(error.what(), "");
        return error.Status();
    }
    return SELVANE_OK;
}

bool SameBytes(const selvane_settings& pA, const selvane_settings& pB)
{
    return std::memcmp(&pA, &pB, sizeof(pA)) == 0;
}

/// Settings that need every stage again.
selvane_settings Other()
{
    selvane_settings settings = Selvane::Settings();
    settings.radius = 3.0f;
    return settings;
}

} // namespace

TEST(Hpp, FramesAreMeasuredSmoothedAndTaken)
{
    cToneMapper mapper = Loaded();
    std::vector<selvane_frame> frames(5, mapper.Measure());
    EXPECT_GT(frames[0].white_point, frames[0].black_point);
    frames[2].white_point *= 10.0f;
    const std::vector<selvane_frame> smooth = Selvane::Smooth(frames, 5);
    ASSERT_EQ(smooth.size(), frames.size());
    EXPECT_EQ(smooth[2].white_point, frames[0].white_point);
    EXPECT_EQ(smooth[2].odd, 1);
    mapper.SetFrame(smooth[2]);
    EXPECT_EQ(mapper.GetSettings().white_point, frames[0].white_point);
    EXPECT_EQ(mapper.GetSettings().automatic, 0);
    EXPECT_TRUE(Selvane::Smooth({}).empty());
    frames[3].contrast = 1000.0f;
    try {
        Selvane::Smooth(frames);
        FAIL() << "nothing was thrown";
    } catch (const cError& error) {
        EXPECT_STREQ(error.what(), "frame 4: contrast must lie between -100.0 and 100.0, and is 1000.0");
    }
}

TEST(ToneMapper, GivesTheBytesOfTheCFunctions)
{
    cToneMapper mapper = Loaded();
    const Selvane::sImage<uint8_t> image = mapper.Render<uint8_t>();
    EXPECT_EQ(image.fWidth, kWidth);
    EXPECT_EQ(image.fHeight, kHeight);
    EXPECT_EQ(image.fChannels, 3);
    EXPECT_EQ(image.fPixels, RenderInC(Selvane::Settings()));
    mapper.SetSettings(Other());
    EXPECT_TRUE(SameBytes(mapper.GetSettings(), Other()));
    EXPECT_EQ(mapper.Render<uint8_t>().fPixels, RenderInC(Other()));
}

TEST(ToneMapper, RendersInEveryForm)
{
    cToneMapper mapper = Loaded();
    EXPECT_EQ(RenderInEveryForm(mapper), kWidth * kHeight * (3 + 4 + 3) + 16 * 11 * 3);
}

TEST(ToneMapper, TakesAlphaAlong)
{
    cToneMapper mapper;
    const std::vector<float> scene = Scene(4);
    mapper.SetPicture(Selvane::Picture(scene, kWidth, kHeight, 4));
    EXPECT_EQ(mapper.Report().visible_pixels, (kWidth - 5) * kHeight);
    const auto image = mapper.Render<uint16_t>(4);
    EXPECT_EQ(image.fPixels[3], 0);
    EXPECT_EQ(image.fPixels[4 * 5 + 3], 65535);
}

TEST(ToneMapper, GivesTheSuggestionWithItsReasons)
{
    cToneMapper mapper = Loaded();
    EXPECT_TRUE(mapper.Reasons().empty());
    const selvane_settings suggestion = mapper.Suggest();
    EXPECT_EQ(suggestion.automatic, 0);
    EXPECT_FALSE(mapper.Reasons().empty());
    EXPECT_TRUE(SameBytes(mapper.EffectiveSettings(), suggestion));
}

TEST(ToneMapper, GivesThePlainPicture)
{
    cToneMapper mapper = Loaded();
    std::vector<uint8_t> bright(size_t{3} * kWidth * kHeight), black(bright.size(), 7);
    selvane_target target = Selvane::Target();
    target.width = kWidth;
    target.height = kHeight;
    target.format = SELVANE_U8;
    target.pixels = bright.data();
    mapper.Plain(100.0f, 0, target);
    target.pixels = black.data();
    mapper.Plain(-100.0f, 0, target);
    EXPECT_EQ(*std::max_element(bright.begin(), bright.end()), 255);
    EXPECT_EQ(black, std::vector<uint8_t>(bright.size(), 0));
}

TEST(ToneMapper, GivesPlanesAndTheReport)
{
    cToneMapper mapper = Loaded();
    const std::vector<float> plane = mapper.Plane(SELVANE_PLANE_LUMINANCE);
    ASSERT_EQ(plane.size(), static_cast<size_t>(kWidth * kHeight));
    const selvane_report report = mapper.Report();
    EXPECT_EQ(report.width, kWidth);
    EXPECT_EQ(*std::max_element(plane.begin(), plane.end()), report.log_luminance_max);
    EXPECT_EQ(StatusOf([] { cToneMapper().Plane(SELVANE_PLANE_BASE); }), SELVANE_ERROR_NO_PICTURE);
}

TEST(ToneMapper, ReadsAndWritesText)
{
    cToneMapper mapper;
    EXPECT_EQ(mapper.ToText(Selvane::Settings()), "");
    selvane_settings settings = Selvane::Settings();
    settings.exposure = 0.1f;
    settings.hue = {2, {{0.25f, 0.5f}, {0.5f, 0.75f}}};
    const std::string text = mapper.ToText(settings);
    EXPECT_EQ(text, "exposure = 0.1\nhue = [[0.25, 0.5], [0.5, 0.75]]\n");
    EXPECT_TRUE(SameBytes(mapper.FromText(text), settings));
    EXPECT_EQ(StatusOf([&] { mapper.FromText("exposre = 1"); }), SELVANE_ERROR_TEXT);
    EXPECT_EQ(StatusOf([&] { mapper.FromText(std::string("exposure = 1\0hidden = 2", 23)); }), SELVANE_ERROR_TEXT);
    settings.exposure = 21.0f;
    EXPECT_EQ(StatusOf([&] { mapper.ToText(settings); }), SELVANE_ERROR_ARGUMENT);
}

TEST(ToneMapper, ListsAndReadsPresets)
{
    cToneMapper mapper;
    const std::vector<Selvane::sPreset> presets = Selvane::Presets();
    ASSERT_EQ(presets.size(), 7u);
    for (const Selvane::sPreset& preset : presets) {
        EXPECT_FALSE(preset.fDescription.empty());
        EXPECT_EQ(mapper.Preset(preset.fName).automatic, 1);
    }
    const std::vector<std::string> names = Selvane::PresetNames();
    ASSERT_GE(names.size(), presets.size());
    for (size_t i = 0; i < presets.size(); i++)
        EXPECT_EQ(names[i], presets[i].fName);
    EXPECT_EQ(StatusOf([&] { mapper.Preset("none"); }), SELVANE_ERROR_ARGUMENT);
    EXPECT_EQ(StatusOf([&] { mapper.Preset(std::string("soft\0x", 6)); }), SELVANE_ERROR_ARGUMENT);
}

TEST(ToneMapper, ThrowsTheStatusAndTheTextOfAFailure)
{
    cToneMapper mapper;
    EXPECT_EQ(StatusOf([&] { mapper.Render<uint8_t>(); }), SELVANE_ERROR_NO_PICTURE);
    EXPECT_EQ(StatusOf([&] { mapper.Preview<uint8_t>(10); }), SELVANE_ERROR_NO_PICTURE);
    selvane_settings settings = Selvane::Settings();
    settings.exposure = 21.0f;
    try {
        mapper.SetSettings(settings);
        FAIL();
    } catch (const cError& error) {
        EXPECT_STREQ(error.what(), "exposure must lie between -20.0 and 20.0, and is 21.0");
    }
    EXPECT_EQ(StatusOf([&] { mapper.SetThreads(-1); }), SELVANE_ERROR_ARGUMENT);
    EXPECT_EQ(StatusOf([&] { mapper.SetPicture(Selvane::Picture()); }), SELVANE_ERROR_ARGUMENT);
    EXPECT_EQ(StatusOf([&] { Selvane::Profile(SELVANE_ACES_AP0); }), SELVANE_ERROR_ARGUMENT);
    EXPECT_EQ(StatusOf([&] { Selvane::EstimateMemory(Selvane::Picture()); }), SELVANE_ERROR_ARGUMENT);
    cToneMapper loaded = Loaded();
    EXPECT_EQ(StatusOf([&] { loaded.Render<uint8_t>(2); }), SELVANE_ERROR_ARGUMENT);
    EXPECT_EQ(StatusOf([&] { loaded.Render<uint8_t>(3, SELVANE_CUSTOM); }), SELVANE_ERROR_ARGUMENT);
    EXPECT_EQ(StatusOf([&] { loaded.Preview<uint8_t>(0); }), SELVANE_ERROR_ARGUMENT);
}

TEST(ToneMapper, RefusesAVectorThatIsTooShort)
{
    const std::vector<float> scene = Scene();
    EXPECT_EQ(StatusOf([&] { Selvane::Picture(scene, kWidth, kHeight + 1); }), SELVANE_ERROR_ARGUMENT);
    EXPECT_EQ(StatusOf([&] { Selvane::Picture(scene, kWidth, kHeight, 4); }), SELVANE_ERROR_ARGUMENT);
    EXPECT_EQ(StatusOf([&] { Selvane::Picture(scene, 2147483647, 2147483647); }), SELVANE_ERROR_ARGUMENT);
    cToneMapper mapper;
    EXPECT_EQ(StatusOf([&] { mapper.SetPicture(Selvane::Picture(scene, -1, kHeight)); }), SELVANE_ERROR_ARGUMENT);
    EXPECT_EQ(StatusOf([&] { mapper.SetPicture(Selvane::Picture(scene, 1, 1, 7)); }), SELVANE_ERROR_ARGUMENT);
}

TEST(ToneMapper, GivesTheProfilesOfTheLibrary)
{
    for (const selvane_primaries space :
         {SELVANE_SRGB, SELVANE_ADOBE_RGB, SELVANE_PROPHOTO, SELVANE_DISPLAY_P3, SELVANE_REC2020}) {
        const std::vector<unsigned char> profile = Selvane::Profile(space);
        ASSERT_GT(profile.size(), 128u);
        EXPECT_EQ(std::memcmp(&profile[36], "acsp", 4), 0);
        EXPECT_NE(Selvane::Profile(space, true), profile);
    }
}

TEST(ToneMapper, FailsBeyondItsLimitOfMemory)
{
    const std::vector<float> scene = Scene();
    const selvane_picture picture = Selvane::Picture(scene, kWidth, kHeight);
    cToneMapper mapper;
    mapper.SetMemoryLimit(1000);
    EXPECT_EQ(StatusOf([&] { mapper.SetPicture(picture); }), SELVANE_ERROR_LIMIT);
    mapper.SetMemoryLimit(Selvane::EstimateMemory(picture));
    mapper.SetPicture(picture);
    EXPECT_EQ(mapper.Render<uint8_t>().fPixels, RenderInC(Selvane::Settings()));
}

TEST(Callbacks, ProgressIsToldAndMayCancel)
{
    cToneMapper mapper = Loaded();
    float last = -1.0f;
    int calls = 0;
    mapper.SetProgress([&](selvane_stage stage, float share) {
        EXPECT_TRUE(stage >= SELVANE_STAGE_READ && stage < SELVANE_STAGES);
        EXPECT_GE(share, last);
        last = share;
        calls++;
        return true;
    });
    const std::vector<uint8_t> expected = mapper.Render<uint8_t>().fPixels;
    EXPECT_GT(calls, 0);
    mapper.SetSettings(Other());
    mapper.SetProgress([](selvane_stage, float) { return false; });
    EXPECT_EQ(StatusOf([&] { mapper.Render<uint8_t>(); }), SELVANE_ERROR_CANCELLED);
    mapper.SetProgress(nullptr);
    mapper.SetSettings(Selvane::Settings());
    EXPECT_EQ(mapper.Render<uint8_t>().fPixels, expected);
}

TEST(Callbacks, WhatProgressThrowsComesOutOfTheCall)
{
    cToneMapper mapper = Loaded();
    mapper.SetProgress([](selvane_stage, float) -> bool { throw std::out_of_range("mine"); });
    try {
        mapper.Render<uint8_t>();
        FAIL();
    } catch (const std::out_of_range& exception) {
        EXPECT_STREQ(exception.what(), "mine");
    }
    mapper.SetProgress(nullptr);
    EXPECT_EQ(mapper.Render<uint8_t>().fPixels, RenderInC(Selvane::Settings()));
}

TEST(Callbacks, LogGetsLinesAndMayThrow)
{
    cToneMapper mapper;
    std::vector<std::string> lines;
    mapper.SetLog([&](const std::string& line) { lines.push_back(line); });
    const std::vector<float> scene = Scene();
    mapper.SetPicture(Selvane::Picture(scene, kWidth, kHeight));
    ASSERT_FALSE(lines.empty());
    EXPECT_NE(lines[0].find("60 x 40"), std::string::npos) << lines[0];
    mapper.SetLog([](const std::string&) { throw 7; });
    EXPECT_THROW(mapper.SetPicture(Selvane::Picture(scene, kWidth, kHeight)), int);
    mapper.SetLog(nullptr);
    EXPECT_EQ(mapper.Render<uint8_t>().fPixels, RenderInC(Selvane::Settings()));
}

TEST(Callbacks, ExecutorRunsTheTasksOnItsOwnThreads)
{
    cToneMapper mapper;
    int runs = 0;
    mapper.SetThreads(3);
    mapper.SetExecutor([&](const std::function<void(int)>& task, int count) {
        runs++;
        std::vector<std::thread> threads;
        for (int i = 0; i < count; i++)
            threads.emplace_back(task, i);
        for (std::thread& thread : threads)
            thread.join();
    });
    const std::vector<float> scene = Scene();
    mapper.SetPicture(Selvane::Picture(scene, kWidth, kHeight));
    EXPECT_EQ(mapper.Render<uint8_t>().fPixels, RenderInC(Selvane::Settings()));
    EXPECT_GT(runs, 0);
    const int before = runs;
    mapper.SetExecutor(nullptr);
    mapper.SetSettings(Other());
    EXPECT_EQ(mapper.Render<uint8_t>().fPixels, RenderInC(Other()));
    EXPECT_EQ(runs, before);
}

TEST(Callbacks, MoveWithTheObject)
{
    int calls = 0;
    cToneMapper first = Loaded();
    first.SetProgress([&](selvane_stage, float) { return ++calls > 0; });
    cToneMapper second = std::move(first);
    const auto expected = second.Render<uint8_t>().fPixels;
    EXPECT_GT(calls, 0);
    cToneMapper third;
    third = std::move(second);
    third.SetProgress(nullptr);
    EXPECT_EQ(third.Render<uint8_t>().fPixels, expected);
    first = Loaded();
    EXPECT_EQ(first.Render<uint8_t>().fPixels, expected);
    static_assert(!std::is_copy_constructible_v<cToneMapper> && std::is_nothrow_move_constructible_v<cToneMapper>);
}
