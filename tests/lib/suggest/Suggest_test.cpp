#include "suggest/Suggest.h"

#include "MadeScenes.h"
#include "suggest/Impression.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>

using namespace SelvaneLib;
using namespace SelvaneTmqi;

namespace
{

constexpr int kPreview = 512;

const sReason* Find(const sSuggestion& pSuggestion, const std::string& pRule)
{
    for (const sReason& reason : pSuggestion.fReasons)
        if (reason.fRule == pRule) return &reason;
    return nullptr;
}

bool AreEqual(const sLook& pLeft, const sLook& pRight)
{
    const auto all = [](const sLook& l) {
        return std::vector<float>{l.compression, l.smoothness, l.adaptation, l.white_clip,  l.black_clip, l.radius,
                                  l.exposure,    l.contrast,   l.saturation, l.black_point, l.white_point};
    };
    return all(pLeft) == all(pRight);
}

sPicture Grey(int pWidth, int pHeight, float pLuminance)
{
    const size_t count = 3 * static_cast<size_t>(pWidth) * static_cast<size_t>(pHeight);
    return {pWidth, pHeight, std::vector<float>(count, pLuminance)};
}

sSuggestion SuggestFor(const sPicture& pPicture)
{
    return cSeen(pPicture, kPreview).Suggest();
}

/// Nobody may ask for a preview.
bool Never(const sLook&, unsigned char*)
{
    ADD_FAILURE() << "a preview was asked for";
    return false;
}

void ExpectNoLight(const sPicture& pPicture)
{
    const cSeen seen(pPicture, kPreview);
    const sSuggestion suggestion = Suggest(seen.Scene(), Never);
    EXPECT_TRUE(AreEqual(suggestion.fLook, sLook{}));
    ASSERT_EQ(suggestion.fReasons.size(), 1u);
    EXPECT_EQ(suggestion.fReasons[0].fRule, "no-light");
    EXPECT_FALSE(suggestion.fReasons[0].fSentence.empty());
}

void ExpectUsable(const sSuggestion& pSuggestion)
{
    const sLook& look = pSuggestion.fLook;
    EXPECT_TRUE(look.compression >= -100.0f && look.compression <= 100.0f) << look.compression;
    EXPECT_TRUE(look.white_clip >= 0.0f && look.white_clip <= 40.0f) << look.white_clip;
    EXPECT_TRUE(look.black_clip >= 0.0f && look.black_clip <= 1.0f) << look.black_clip;
    EXPECT_TRUE(look.contrast >= -100.0f && look.contrast <= 100.0f) << look.contrast;
    EXPECT_TRUE(look.exposure >= -2.0f && look.exposure <= 2.0f) << look.exposure;
    ASSERT_NE(Find(pSuggestion, "previews"), nullptr);
    EXPECT_LE(Find(pSuggestion, "previews")->fValue, 13.0);
    EXPECT_GE(Find(pSuggestion, "previews")->fValue, 1.0);
}

sImpression Seen(const sPicture& pPicture, const sLook& pLook)
{
    cSeen seen(pPicture, kPreview);
    return ImpressionOf(seen.Scene(), seen.Render(pLook).data());
}

double MeanGrey(const sPicture& pPicture)
{
    return Seen(pPicture, SuggestFor(pPicture).fLook).fMean;
}

TEST(Suggest, ABlackPictureHasNoLight)
{
    ExpectNoLight(Grey(20, 10, 0.0f));
}

TEST(Suggest, NegativeAndUnknownValuesAreNoLight)
{
    for (const float value : {-1.0f, std::numeric_limits<float>::quiet_NaN()}) {
        const std::vector<float> xyz(3 * 200, value);
        const sScene scene{xyz.data(), nullptr, 20, 10, {}};
        EXPECT_NE(Find(Suggest(scene, Never), "no-light"), nullptr) << value;
    }
}

/// Grey with noise of a share, as a wall in a photograph is.
sPicture Wall(float pGrey, float pNoise)
{
    sPicture picture{240, 160, {}};
    uint32_t bits = 1;
    for (int i = 0; i < 240 * 160; i++) {
        bits = bits * 1664525u + 1013904223u;
        const float noise = static_cast<float>(bits >> 8) * 0x1p-23f - 1.0f;
        picture.fRGB.insert(picture.fRGB.end(), 3, pGrey * (1.0f + pNoise * noise));
    }
    return picture;
}

/// The sRGB curve.
double Encoded(double pLinear)
{
    return 255.0 * (pLinear <= 0.0031308 ? 12.92 * pLinear : 1.055 * std::pow(pLinear, 1.0 / 2.4) - 0.055);
}

TEST(Suggest, APictureOfOneToneKeepsItsGreyAndItsContrast)
{
    for (const float noise : {0.001f, 0.01f, 0.03f})
        for (const float grey : {0.05f, 0.2f, 0.6f}) {
            const sPicture wall = Wall(grey, noise);
            const sSuggestion suggestion = SuggestFor(wall);
            ASSERT_NE(Find(suggestion, "one-tone"), nullptr);
            EXPECT_LE(Find(suggestion, "previews")->fValue, 4.0);
            const sImpression seen = Seen(wall, suggestion.fLook);
            const auto g = static_cast<double>(grey), n = static_cast<double>(noise);
            EXPECT_NEAR(seen.fMean, Encoded(g), 4.0) << grey << ' ' << noise;
            // uniform noise deviates by its reach over the root of 3; twice is the most that a look may make of it
            const double own = (Encoded(g * (1.0 + n)) - Encoded(g * (1.0 - n))) / 2.0 / std::sqrt(3.0);
            EXPECT_LE(seen.fContrast, 2.0 * own + 0.7) << grey << ' ' << noise;
        }
}

TEST(Suggest, AFlatPictureNeedsNoPreview)
{
    for (const float grey : {0.01f, 0.5f, 30.0f}) {
        const cSeen seen(Grey(20, 10, grey), kPreview);
        const sSuggestion suggestion = Suggest(seen.Scene(), Never);
        EXPECT_TRUE(AreEqual(suggestion.fLook, sLook{}));
        ASSERT_EQ(suggestion.fReasons.size(), 1u);
        EXPECT_EQ(suggestion.fReasons[0].fRule, "flat");
    }
}

/// -0 would be written into a sidecar file.
TEST(Suggest, NoSettingIsANegativeZero)
{
    for (const sPicture& picture : {NightTown(), Snow(), Fog(), SeaSunset(), SunnyHills(), Wall(0.3f, 0.02f)}) {
        const sLook look = SuggestFor(picture).fLook;
        for (const float value : {look.compression, look.exposure, look.contrast, look.saturation, look.black_point})
            EXPECT_FALSE(value == 0.0f && std::signbit(value));
    }
}

TEST(Suggest, OneToneOfAnyScaleIsNeitherBlackNorWhite)
{
    for (const float grey : {1e-6f, 1e-3f, 10.0f, 1e5f}) {
        const double mean = MeanGrey(Wall(grey, 0.01f));
        EXPECT_GT(mean, 30.0) << grey;
        EXPECT_LT(mean, 240.0) << grey;
    }
}

/// The less tones there are, the less contrast the picture gets: no step where the rule changes.
TEST(Suggest, FewerTonesNeverGiveMoreContrast)
{
    double last = 0.0;
    for (const float noise : {0.02f, 0.08f, 0.15f, 0.25f}) {
        const sPicture wall = Wall(0.3f, noise);
        const double contrast = Seen(wall, SuggestFor(wall).fLook).fContrast;
        EXPECT_GT(contrast, last) << noise;
        EXPECT_LT(contrast, 64.0) << noise;
        last = contrast;
    }
}

TEST(Suggest, WithoutWeightThereIsNoLight)
{
    const sPicture picture = SunnyHills();
    const std::vector<float> none(picture.fRGB.size() / 3, 0.0f);
    const cSeen seen(picture, kPreview);
    sScene scene = seen.Scene();
    scene.fWeight = none.data();
    const sSuggestion suggestion = Suggest(scene, Never);
    EXPECT_NE(Find(suggestion, "no-light"), nullptr);
    EXPECT_TRUE(AreEqual(suggestion.fLook, sLook{}));
}

TEST(Suggest, AnEmptySceneHasNoLight)
{
    EXPECT_NE(Find(Suggest({}, Never), "no-light"), nullptr);
}

TEST(Suggest, AStripOfTwentyThousandPixelsHasALook)
{
    std::vector<float> rgb;
    for (int x = 0; x < 20000; x++)
        for (int c = 0; c < 3; c++)
            rgb.push_back(std::exp2(static_cast<float>(x % 2000) / 200.0f - 8.0f));
    ExpectUsable(SuggestFor({20000, 1, rgb}));
    ExpectUsable(SuggestFor({1, 20000, rgb}));
}

TEST(Suggest, HugeValuesHaveALook)
{
    sPicture picture = SunnyHills();
    for (float& value : picture.fRGB)
        value = std::min(value * 1e28f, 1e30f);
    ExpectUsable(SuggestFor(picture));
}

TEST(Suggest, ASingleBrightDotDoesNotDarkenTheRest)
{
    sPicture picture = Snow();
    const double without = MeanGrey(picture);
    for (size_t c = 0; c < 3; c++)
        picture.fRGB[3 * (100 * 450 + 200) + c] = 1e6f;
    const sSuggestion suggestion = SuggestFor(picture);
    ExpectUsable(suggestion);
    EXPECT_NEAR(Seen(picture, suggestion.fLook).fMean, without, 6.0);
}

TEST(Suggest, TheCallbackStopsItAtOnce)
{
    cSeen seen(SunnyHills(), kPreview);
    for (const int allowed : {0, 1, 4}) {
        int calls = 0;
        const sSuggestion suggestion = Suggest(seen.Scene(), [&](const sLook& pLook, unsigned char* pRGB8) {
            if (calls++ == allowed) return false;
            const tRGB8 preview = seen.Render(pLook);
            std::copy(preview.begin(), preview.end(), pRGB8);
            return true;
        });
        EXPECT_EQ(calls, allowed + 1);
        ASSERT_NE(Find(suggestion, "stopped"), nullptr);
        EXPECT_EQ(Find(suggestion, "stopped")->fValue, allowed);
        EXPECT_EQ(AreEqual(suggestion.fLook, sLook{}), allowed == 0);
    }
}

TEST(Suggest, AmongEqualPreviewsTheFirstWins)
{
    const cSeen seen(SunnyHills(), kPreview);
    const size_t bytes = 3 * static_cast<size_t>(seen.Scene().fWidth) * static_cast<size_t>(seen.Scene().fHeight);
    std::vector<sLook> looks;
    const sSuggestion suggestion = Suggest(seen.Scene(), [&](const sLook& pLook, unsigned char* pRGB8) {
        looks.push_back(pLook);
        std::fill_n(pRGB8, bytes, static_cast<unsigned char>(60));
        return true;
    });
    ASSERT_GT(looks.size(), 2u);
    EXPECT_TRUE(AreEqual(suggestion.fLook, looks[0]));
    for (size_t i = 0; i < looks.size(); i++)
        for (size_t j = 0; j < i; j++)
            EXPECT_FALSE(AreEqual(looks[i], looks[j])) << "the same preview twice: " << i << ", " << j;
}

TEST(Suggest, TheSameSceneGetsTheSameLook)
{
    const sPicture picture = SeaSunset();
    EXPECT_TRUE(AreEqual(SuggestFor(picture).fLook, SuggestFor(picture).fLook));
}

TEST(Suggest, EveryMadeSceneHasAUsableLook)
{
    for (const sPicture& picture : {NightTown(), Snow(), Fog(), WhiteRoom(), SeaSunset(), SunnyHills(), StarryField()})
        ExpectUsable(SuggestFor(picture));
}

TEST(Suggest, NightStaysDarkAndSnowWhite)
{
    const sPicture town = NightTown(), snow = Snow(), hills = SunnyHills();
    EXPECT_LT(MeanGrey(town), 105.0);
    EXPECT_GT(MeanGrey(snow), 165.0);
    EXPECT_NEAR(MeanGrey(hills), 116.0, 20.0);
}

/// Leaves in front of a sky: each pixel is bright or dark by chance, over a slow gradient.
sPicture Foliage()
{
    sPicture picture{384, 256, {}};
    uint32_t state = 1;
    for (int y = 0; y < 256; y++)
        for (int x = 0; x < 384; x++) {
            state = state * 1664525u + 1013904223u;
            const float light =
                std::pow(10.0f, static_cast<float>(state >> 24) / 128.0f + static_cast<float>(x) / 384.0f);
            picture.fRGB.insert(picture.fRGB.end(), {light, light, light});
        }
    return picture;
}

/// The local contrast of the scene is far above what is aimed at, and the slider could go on to -100. The bound of the
/// look is 20 above that of the slider, which counts from the engine's own contrast.
TEST(Suggest, FoliageKeepsItsContrast)
{
    EXPECT_EQ(SuggestFor(Foliage()).fLook.contrast, -40.0f);
}

TEST(Suggest, FogIsHeldBackFromBurning)
{
    const sPicture fog = Fog();
    const sSuggestion suggestion = SuggestFor(fog);
    ASSERT_NE(Find(suggestion, "held-back"), nullptr);
    EXPECT_LT(suggestion.fLook.exposure, 0.0f);
    EXPECT_LT(Find(suggestion, "burnt")->fValue, 0.02);
}

/// The picture is dark, noisy and violet where nothing was to be seen: such a place stays dark.
TEST(Suggest, VioletNoiseStaysInTheDarkAndLosesColour)
{
    const sPicture field = StarryField();
    const sSuggestion suggestion = SuggestFor(field);
    EXPECT_LT(Seen(field, suggestion.fLook).fShadow, 45.0);
    EXPECT_EQ(suggestion.fLook.saturation, -60.0f);
    EXPECT_EQ(SuggestFor(SunnyHills()).fLook.saturation, 0.0f);
}

/// Red and blue exceed green by 27 per cent, which is two fifths of the way to full noise.
TEST(Suggest, ALittleVioletTakesLittleColour)
{
    sPicture picture{40, 40, {}};
    for (int i = 0; i < 1600; i++) {
        const float level = std::exp2(static_cast<float>(i) / 160.0f);
        picture.fRGB.insert(picture.fRGB.end(), {1.27f * level, level, 1.27f * level});
    }
    EXPECT_EQ(SuggestFor(picture).fLook.saturation, -30.0f); // -60 x 1.25 x 0.4
}

/// A night under stars: the glow above the horizon does not burn and the stars are brighter than the sky.
TEST(Suggest, AStarryFieldIsANight)
{
    const sPicture field = StarryField();
    const sSuggestion suggestion = SuggestFor(field);
    const sImpression seen = Seen(field, suggestion.fLook);
    EXPECT_GT(seen.fMean, 55.0);
    EXPECT_LT(seen.fMean, 80.0);
    EXPECT_LT(seen.fHighlight, 170.0);
    EXPECT_EQ(suggestion.fLook.exposure, -2.0f);
}

/// The walls of the made room, which is 450 x 300: beside the window, in the middle, at the far end.
TEST(Suggest, TheWallsOfAWhiteRoomAreWhiteAndNotBurnt)
{
    cSeen seen(WhiteRoom(), kPreview);
    const tRGB8 room = seen.Render(seen.Suggest().fLook);
    for (const size_t pixel : {size_t{20 * 450 + 170}, size_t{130 * 450 + 240}, size_t{60 * 450 + 420}}) {
        EXPECT_GE(room[3 * pixel + 1], 190) << pixel;
        EXPECT_LE(room[3 * pixel + 1], 230) << pixel;
    }
    EXPECT_EQ(room[3 * (60 * 450 + 60)], 255); // a pane
}

TEST(Suggest, ALookOfRatiosAloneDoesNotDependOnTheScale)
{
    sPicture bright = SeaSunset();
    const sSuggestion expected = SuggestFor(bright);
    for (float& sample : bright.fRGB)
        sample *= 1024.0f;
    EXPECT_NEAR(SuggestFor(bright).fLook.compression, expected.fLook.compression, 12.0f);
    EXPECT_NEAR(MeanGrey(bright), Seen(SeaSunset(), expected.fLook).fMean, 4.0);
}

TEST(Suggest, TheReasonsNameWhatFired)
{
    const sSuggestion town = SuggestFor(NightTown()), snow = SuggestFor(Snow()), field = SuggestFor(StarryField());
    EXPECT_NE(Find(town, "low-key"), nullptr);
    EXPECT_EQ(Find(town, "high-key"), nullptr);
    EXPECT_NE(Find(snow, "high-key"), nullptr);
    EXPECT_EQ(Find(snow, "low-key"), nullptr);
    EXPECT_NE(Find(field, "violet-shadows"), nullptr);
}

/// The first reason tells what kind of scene it is, also of an ordinary one, and two of them fit on a line.
TEST(Suggest, TheReasonsAreShortSentencesThatMatterMostFirst)
{
    const std::vector<std::string> kinds = {"low-key", "violet-shadows", "high-key", "ordinary"};
    for (const sPicture& picture :
         {NightTown(), Snow(), Fog(), WhiteRoom(), SeaSunset(), SunnyHills(), StarryField()}) {
        const sSuggestion suggestion = SuggestFor(picture);
        EXPECT_NE(std::find(kinds.begin(), kinds.end(), suggestion.fReasons[0].fRule), kinds.end());
        for (const sReason& reason : suggestion.fReasons) {
            EXPECT_LE(reason.fSentence.size(), 60u) << reason.fSentence;
            ASSERT_FALSE(reason.fSentence.empty()) << reason.fRule;
            EXPECT_EQ(reason.fSentence.find('.', reason.fSentence.size() - 1), reason.fSentence.size() - 1);
        }
    }
}

} // namespace
