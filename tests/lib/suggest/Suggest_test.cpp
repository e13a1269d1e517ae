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
        return std::vector<float>{l.compression, l.smoothness, l.adaptation, l.white_clip, l.black_clip,
                                  l.radius,      l.exposure,   l.contrast,   l.saturation};
    };
    return all(pLeft) == all(pRight);
}

sPicture Grey(int pWidth, int pHeight, float pLuminance)
{
    const size_t count = 3 * static_cast<size_t>(pWidth) * static_cast<size_t>(pHeight);
    return FromSRGB(pWidth, pHeight, std::vector<float>(count, pLuminance));
}

/// Nobody may ask for a preview.
bool Never(const sLook&, unsigned char*)
{
    ADD_FAILURE() << "a preview was asked for";
    return false;
}

void ExpectDefault(const sPicture& pPicture, const char* pRule)
{
    const sSuggestion suggestion = Suggest(SceneOf(pPicture, pPicture), Never);
    EXPECT_TRUE(AreEqual(suggestion.fLook, sLook{}));
    ASSERT_EQ(suggestion.fReasons.size(), 1u);
    EXPECT_EQ(suggestion.fReasons[0].fRule, pRule);
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

double MeanGrey(const sPicture& pPicture, const sLook& pLook)
{
    const tRGB8 rgb = Render(pPicture, pLook);
    return ImpressionOf(SceneOf(pPicture, pPicture), rgb.data()).fMean;
}

TEST(Suggest, ABlackPictureHasNoLight)
{
    ExpectDefault(Grey(20, 10, 0.0f), "no-light");
}

TEST(Suggest, NegativeAndUnknownValuesAreNoLight)
{
    ExpectDefault(Grey(20, 10, -1.0f), "no-light");
    ExpectDefault(Grey(20, 10, std::numeric_limits<float>::quiet_NaN()), "no-light");
}

TEST(Suggest, OneColourIsOneTone)
{
    ExpectDefault(Grey(20, 10, 0.5f), "one-tone");
}

TEST(Suggest, OnePixelIsOneTone)
{
    ExpectDefault(Grey(1, 1, 0.5f), "one-tone");
}

TEST(Suggest, WithoutWeightThereIsNoLight)
{
    const sPicture picture = SunnyHills();
    const std::vector<float> none(picture.fXYZ.size() / 3, 0.0f);
    sScene scene = SceneOf(picture, picture);
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
    ExpectUsable(SuggestFor(FromSRGB(20000, 1, rgb), kPreview));
    ExpectUsable(SuggestFor(FromSRGB(1, 20000, rgb), kPreview));
}

TEST(Suggest, HugeValuesHaveALook)
{
    sPicture picture = SunnyHills();
    for (float& value : picture.fXYZ)
        value = std::min(value * 1e28f, 1e30f);
    ExpectUsable(SuggestFor(picture, kPreview));
}

TEST(Suggest, ASingleBrightDotDoesNotDarkenTheRest)
{
    sPicture picture = Snow();
    const double without = MeanGrey(picture, SuggestFor(picture, kPreview).fLook);
    for (size_t c = 0; c < 3; c++)
        picture.fXYZ[3 * (100 * 450 + 200) + c] = 1e6f;
    const sSuggestion suggestion = SuggestFor(picture, kPreview);
    ExpectUsable(suggestion);
    EXPECT_NEAR(MeanGrey(picture, suggestion.fLook), without, 6.0);
}

TEST(Suggest, TheCallbackStopsItAtOnce)
{
    const sPicture picture = SunnyHills();
    for (const int allowed : {0, 1, 4}) {
        int calls = 0;
        const sSuggestion suggestion =
            Suggest(SceneOf(picture, picture), [&](const sLook& pLook, unsigned char* pRGB8) {
                if (calls++ == allowed) return false;
                const tRGB8 preview = Render(picture, pLook);
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
    const sPicture picture = SunnyHills();
    std::vector<sLook> looks;
    const sSuggestion suggestion = Suggest(SceneOf(picture, picture), [&](const sLook& pLook, unsigned char* pRGB8) {
        looks.push_back(pLook);
        std::fill_n(pRGB8, picture.fXYZ.size(), static_cast<unsigned char>(60));
        return true;
    });
    ASSERT_GT(looks.size(), 2u);
    EXPECT_TRUE(AreEqual(suggestion.fLook, looks[0]));
}

TEST(Suggest, TheSameSceneGetsTheSameLook)
{
    const sPicture picture = SeaSunset();
    EXPECT_TRUE(AreEqual(SuggestFor(picture, kPreview).fLook, SuggestFor(picture, kPreview).fLook));
}

TEST(Suggest, EveryMadeSceneHasAUsableLook)
{
    for (const sPicture& picture : {NightTown(), Snow(), Fog(), WhiteRoom(), SeaSunset(), SunnyHills(), StarryField()})
        ExpectUsable(SuggestFor(picture, kPreview));
}

TEST(Suggest, NightStaysDarkAndSnowWhite)
{
    const sPicture town = NightTown(), field = StarryField(), snow = Snow(), hills = SunnyHills();
    EXPECT_LT(MeanGrey(town, SuggestFor(town, kPreview).fLook), 105.0);
    EXPECT_LT(MeanGrey(field, SuggestFor(field, kPreview).fLook), 115.0);
    EXPECT_GT(MeanGrey(snow, SuggestFor(snow, kPreview).fLook), 145.0);
    EXPECT_NEAR(MeanGrey(hills, SuggestFor(hills, kPreview).fLook), 116.0, 20.0);
}

TEST(Suggest, FogIsHeldBackFromBurning)
{
    const sPicture fog = Fog();
    const sSuggestion suggestion = SuggestFor(fog, kPreview);
    ASSERT_NE(Find(suggestion, "held-back"), nullptr);
    EXPECT_LT(suggestion.fLook.exposure, 0.0f);
    EXPECT_LT(Find(suggestion, "burnt")->fValue, 0.02);
}

TEST(Suggest, TheReasonsNameWhatFired)
{
    const sSuggestion town = SuggestFor(NightTown(), kPreview), snow = SuggestFor(Snow(), kPreview),
                      field = SuggestFor(StarryField(), kPreview);
    EXPECT_NE(Find(town, "low-key"), nullptr);
    EXPECT_EQ(Find(town, "high-key"), nullptr);
    EXPECT_NE(Find(snow, "high-key"), nullptr);
    EXPECT_EQ(Find(snow, "dark-place"), nullptr);
    EXPECT_NE(Find(field, "violet-shadows"), nullptr);
    for (const sReason& reason : field.fReasons)
        EXPECT_FALSE(reason.fSentence.empty()) << reason.fRule;
}

} // namespace
