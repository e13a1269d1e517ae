#include "color/Interpret.h"

#include "color/CodePoints.h"
#include "color/Light.h"
#include "picture/PngColor.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <selvane.h>

#include <cmath>
#include <cstring>

namespace
{

using namespace SelvaneHost;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

/// A picture of one pixel: 200, 100, 50 of 255, or floats of twice the share.
sPicture Pixel(eSampleForm pForm)
{
    sPicture picture;
    AllocatePixels(picture, 1, 1, pForm);
    const double shares[3] = {200 / 255.0, 100 / 255.0, 50 / 255.0};
    for (size_t i = 0; i < 3; i++) {
        const auto wide = static_cast<uint16_t>(std::lround(shares[i] * 65535));
        const auto real = static_cast<float>(2 * shares[i]);
        if (pForm == eSamples8) picture.fPixels[i] = static_cast<unsigned char>(wide >> 8);
        if (pForm == eSamples16) std::memcpy(&picture.fPixels[2 * i], &wide, 2);
        if (pForm == eFloats) std::memcpy(&picture.fPixels[4 * i], &real, 4);
    }
    return picture;
}

sPicture Interpreted(eSampleForm pForm, const sColorNotes& pNotes, const sReadOptions& pOptions = {})
{
    sPicture picture = Pixel(pForm);
    Interpret(picture, pNotes, pOptions);
    return picture;
}

std::vector<float> FloatsOf(const sPicture& pPicture)
{
    std::vector<float> floats(pPicture.fPixels.size() / sizeof(float));
    std::memcpy(floats.data(), pPicture.fPixels.data(), pPicture.fPixels.size());
    return floats;
}

TEST(Interpret, NothingIsSrgb)
{
    const sPicture picture = Interpreted(eSamples8, {});
    EXPECT_EQ(picture.fColor.fPrimaries, SELVANE_SRGB);
    EXPECT_EQ(picture.fColor.fTransfer, SELVANE_TRANSFER_ENGINE);
    EXPECT_FALSE(picture.fColor.fIsNamed);
    EXPECT_THAT(picture.fWarnings, IsEmpty());
    EXPECT_EQ(Interpreted(eFloats, {}).fColor.fTransfer, SELVANE_TRANSFER_LINEAR);
}

struct sCoded
{
    sCodePoints fPoints;
    int fPrimaries;
    int fTransfer;
    float fGamma;
    int fOutput;
};

TEST(Interpret, CodePointsGoToLibselvaneAsTheyAre)
{
    const sCoded cases[] = {
        {{1, 13}, SELVANE_SRGB, SELVANE_TRANSFER_ENGINE, 0.0F, SELVANE_SRGB},
        {{12, 13}, SELVANE_DISPLAY_P3, SELVANE_TRANSFER_SRGB, 0.0F, SELVANE_DISPLAY_P3},
        {{12, 8}, SELVANE_DISPLAY_P3, SELVANE_TRANSFER_LINEAR, 0.0F, SELVANE_SRGB},
        {{9, 14}, SELVANE_REC2020, SELVANE_TRANSFER_REC2020, 0.0F, SELVANE_SRGB},
        {{9, 1}, SELVANE_REC2020, SELVANE_TRANSFER_REC2020, 0.0F, SELVANE_SRGB},
        {{1, 4}, SELVANE_SRGB, SELVANE_TRANSFER_POWER, 2.2F, SELVANE_SRGB},
        {{1, 5}, SELVANE_SRGB, SELVANE_TRANSFER_POWER, 2.8F, SELVANE_SRGB},
        {{11, 13}, SELVANE_CUSTOM, SELVANE_TRANSFER_SRGB, 0.0F, SELVANE_SRGB},
    };
    const tBytes before = Pixel(eSamples16).fPixels;
    for (const sCoded& coded : cases) {
        const sPicture picture = Interpreted(eSamples16, {.fCodePoints = coded.fPoints});
        EXPECT_EQ(picture.fColor.fPrimaries, coded.fPrimaries) << coded.fPoints.fPrimaries;
        EXPECT_EQ(picture.fColor.fTransfer, coded.fTransfer) << coded.fPoints.fTransfer;
        EXPECT_EQ(picture.fColor.fGamma, coded.fGamma);
        EXPECT_EQ(picture.fColor.fOutput, coded.fOutput);
        EXPECT_EQ(picture.fPixels, before);
    }
    EXPECT_EQ(Interpreted(eSamples8, {.fCodePoints = sCodePoints{11, 13}}).fColor.fChromaticities[7], 0.351F)
        << "white";
}

TEST(Interpret, PqAndHlgBecomeLight)
{
    const sPicture pq = Interpreted(eSamples8, {.fCodePoints = sCodePoints{9, 16}});
    EXPECT_EQ(pq.fColor.fPrimaries, SELVANE_REC2020);
    EXPECT_EQ(pq.fColor.fTransfer, SELVANE_TRANSFER_LINEAR);
    EXPECT_THAT(pq.fColor.fWords, HasSubstr("BT.2020, PQ, 203 cd/m2 as white"));
    const sPicture hlg = Interpreted(eSamples8, {.fCodePoints = sCodePoints{9, 18}});
    EXPECT_THAT(hlg.fColor.fWords, HasSubstr("HLG"));
    const double signals[3] = {200 / 255.0, 100 / 255.0, 50 / 255.0};
    for (size_t i = 0; i < 3; i++) {
        EXPECT_EQ(FloatsOf(pq)[i], static_cast<float>(PqLight(signals[i])));
        EXPECT_EQ(FloatsOf(hlg)[i], static_cast<float>(HlgLight(signals[i])));
    }
}

TEST(Interpret, WhatIsNotKnownIsAWarning)
{
    for (const sCodePoints& points : {sCodePoints{2, 13}, {9, 2}, {1, 9}, {77, 1}}) {
        const sPicture picture = Interpreted(eSamples8, {.fCodePoints = points});
        EXPECT_THAT(picture.fWarnings, ElementsAre(HasSubstr("taken as sRGB (--input-space chooses another)")));
        EXPECT_EQ(picture.fColor.fTransfer, SELVANE_TRANSFER_ENGINE);
    }
    EXPECT_THAT(Interpreted(eSamples8, {.fProfile = {1, 2, 3}}).fWarnings, ElementsAre(HasSubstr("taken as sRGB")));
    EXPECT_THAT(Interpreted(eFloats, {.fChromaticities = {{1, 0, 1, 0, 1, 0, 1, 0}}}).fWarnings,
                ElementsAre(HasSubstr("taken as sRGB")));
    EXPECT_THAT(Interpreted(eSamples8, {.fGamma = 99.0}).fWarnings, ElementsAre(HasSubstr("taken as sRGB")));
}

/// Code points that leave primaries or the curve open give way to what else the file has. Those that leave both open
/// say nothing.
TEST(Interpret, CodePointsThatLeaveSomethingOpenGiveWay)
{
    const std::array<float, 8> own = {0.65F, 0.32F, 0.25F, 0.65F, 0.14F, 0.05F, 0.3127F, 0.329F};
    const tBytes adobe = StoredProfile(SELVANE_ADOBE_RGB);
    for (const int transfer : {13, 16, 18}) {
        const sCodePoints open{kNotSaid, transfer};
        const sPicture profiled = Interpreted(eSamples8, {.fCodePoints = open, .fProfile = adobe});
        EXPECT_EQ(profiled.fColor.fPrimaries, SELVANE_ADOBE_RGB) << transfer;
        EXPECT_EQ(profiled.fForm, eSamples8) << transfer;
        EXPECT_THAT(profiled.fWarnings, IsEmpty()) << transfer;
        const sPicture numbered =
            Interpreted(eSamples8, {.fCodePoints = open, .fProfile = adobe, .fChromaticities = own});
        EXPECT_EQ(numbered.fColor.fChromaticities, own) << transfer;
        EXPECT_EQ(numbered.fForm, transfer == 13 ? eSamples8 : eFloats) << transfer;
    }
    EXPECT_EQ(Interpreted(eSamples8, {.fCodePoints = sCodePoints{9, kNotSaid}, .fProfile = adobe}).fColor.fPrimaries,
              SELVANE_ADOBE_RGB);
    const sPicture silent = Interpreted(eSamples8, {.fCodePoints = sCodePoints{kNotSaid, kNotSaid}});
    EXPECT_THAT(silent.fWarnings, IsEmpty());
    EXPECT_EQ(silent.fColor.fPrimaries, SELVANE_SRGB);
    EXPECT_EQ(silent.fColor.fTransfer, SELVANE_TRANSFER_ENGINE);
}

TEST(Interpret, TheFirstThatCountsDecides)
{
    sColorNotes notes{.fCodePoints = sCodePoints{12, 13},
                      .fProfile = StoredProfile(SELVANE_PROPHOTO),
                      .fSpace = SELVANE_ADOBE_RGB,
                      .fGamma = 1.0};
    EXPECT_EQ(Interpreted(eSamples8, notes).fColor.fPrimaries, SELVANE_DISPLAY_P3);
    EXPECT_EQ(Interpreted(eSamples8, notes, {.fInputSpace = eInputSrgb}).fColor.fPrimaries, SELVANE_SRGB);
    notes.fCodePoints.reset();
    EXPECT_EQ(Interpreted(eSamples8, notes).fColor.fPrimaries, SELVANE_PROPHOTO);
    notes.fProfile.clear();
    EXPECT_EQ(Interpreted(eSamples8, notes).fColor.fPrimaries, SELVANE_ADOBE_RGB);
    notes.fSpace.reset();
    EXPECT_EQ(Interpreted(eSamples8, notes).fColor.fTransfer, SELVANE_TRANSFER_LINEAR);
}

TEST(Interpret, ProfilesOfLibselvanesSpacesAreThemselves)
{
    for (int space = 0; space < kSpaces; space++) {
        const sPicture picture = Interpreted(eSamples8, {.fProfile = StoredProfile(space)});
        EXPECT_EQ(picture.fColor.fPrimaries, space);
        EXPECT_EQ(picture.fPixels, Pixel(eSamples8).fPixels) << space;
        EXPECT_EQ(picture.fColor.fOutput, space == SELVANE_REC2020 ? SELVANE_SRGB : space);
        EXPECT_EQ(picture.fColor.fWords.empty(), space <= SELVANE_PROPHOTO);
    }
}

TEST(Interpret, GammaAndPrimariesOfAPngCount)
{
    const std::array<float, 8> srgb = {0.64F, 0.33F, 0.30F, 0.60F, 0.15F, 0.06F, 0.3127F, 0.329F};
    EXPECT_EQ(Interpreted(eSamples8, {.fChromaticities = srgb, .fGamma = 100000 / 45455.0}).fColor.fTransfer,
              SELVANE_TRANSFER_ENGINE);
    const sPicture gamma = Interpreted(eSamples8, {.fGamma = 1.8});
    EXPECT_EQ(gamma.fColor.fTransfer, SELVANE_TRANSFER_POWER);
    EXPECT_EQ(gamma.fColor.fGamma, 1.8F);
    EXPECT_THAT(gamma.fColor.fWords, HasSubstr("sRGB, gamma 1.8"));
    const std::array<float, 8> own = {0.65F, 0.32F, 0.25F, 0.65F, 0.14F, 0.05F, 0.3127F, 0.329F};
    const sPicture custom = Interpreted(eSamples16, {.fChromaticities = own, .fGamma = 1.0});
    EXPECT_EQ(custom.fColor.fPrimaries, SELVANE_CUSTOM);
    EXPECT_EQ(custom.fColor.fChromaticities, own);
    EXPECT_EQ(custom.fColor.fTransfer, SELVANE_TRANSFER_LINEAR);
    EXPECT_EQ(Interpreted(eSamples16, {.fChromaticities = own}).fColor.fTransfer, SELVANE_TRANSFER_SRGB);
}

TEST(Interpret, ScenesKnowTheSpacesOfFilmAndTelevision)
{
    const std::vector<std::pair<std::array<float, 8>, int>> cases = {
        {{0.64F, 0.33F, 0.30F, 0.60F, 0.15F, 0.06F, 0.3127F, 0.329F}, SELVANE_SRGB},
        {{0.64F, 0.33F, 0.29F, 0.60F, 0.15F, 0.06F, 0.3333F, 0.3333F}, SELVANE_SRGB}, // Radiance's own
        {{0.7347F, 0.2653F, 0.1596F, 0.8404F, 0.0366F, 0.0001F, 0.3457F, 0.3585F}, SELVANE_PROPHOTO},
        {{0.7347F, 0.2653F, 0.1596F, 0.8404F, 0.0366F, 0.0001F, 0.3127F, 0.329F}, SELVANE_CUSTOM}, // another white
        {{0.68F, 0.32F, 0.265F, 0.69F, 0.15F, 0.06F, 0.3127F, 0.329F}, SELVANE_DISPLAY_P3},
        {{0.68F, 0.32F, 0.265F, 0.69F, 0.15F, 0.06F, 0.314F, 0.351F}, SELVANE_CUSTOM},
        {{0.708F, 0.292F, 0.17F, 0.797F, 0.131F, 0.046F, 0.3127F, 0.329F}, SELVANE_REC2020},
        {{0.7347F, 0.2653F, 0.0F, 1.0F, 0.0001F, -0.077F, 0.32168F, 0.33767F}, SELVANE_ACES_AP0},
        {{0.713F, 0.293F, 0.165F, 0.83F, 0.128F, 0.044F, 0.32168F, 0.33767F}, SELVANE_ACES_AP1}};
    for (const auto& [chromaticities, primaries] : cases) {
        const sPicture picture = Interpreted(eFloats, {.fChromaticities = chromaticities});
        EXPECT_EQ(picture.fColor.fPrimaries, primaries) << chromaticities[0];
        EXPECT_EQ(picture.fColor.fTransfer, SELVANE_TRANSFER_LINEAR);
        EXPECT_EQ(picture.fColor.fOutput, primaries <= SELVANE_PROPHOTO ? primaries : SELVANE_SRGB);
        EXPECT_EQ(picture.fPixels, Pixel(eFloats).fPixels);
    }
}

TEST(Interpret, TheLuminanceOfOneScalesFloats)
{
    const sPicture picture = Interpreted(eFloats, {.fWhiteLuminance = 406.0F});
    for (size_t i = 0; i < 3; i++)
        EXPECT_EQ(FloatsOf(picture)[i], 2.0F * FloatsOf(Pixel(eFloats))[i]);
    EXPECT_THAT(picture.fColor.fWords, HasSubstr("406 cd/m2"));
    for (const float none : {0.0F, -3.0F, NAN, INFINITY})
        EXPECT_EQ(Interpreted(eFloats, {.fWhiteLuminance = none}).fPixels, Pixel(eFloats).fPixels);
}

TEST(Interpret, TheInputSpaceOfTheCommandLineIsTaken)
{
    const std::vector<std::pair<eInputSpace, int>> cases = {
        {eInputSrgb, SELVANE_SRGB},       {eInputAdobe, SELVANE_ADOBE_RGB}, {eInputProPhoto, SELVANE_PROPHOTO},
        {eInputP3, SELVANE_DISPLAY_P3},   {eInputRec2020, SELVANE_REC2020}, {eInputAces, SELVANE_ACES_AP0},
        {eInputAcesCg, SELVANE_ACES_AP1}, {eInputLinear, SELVANE_SRGB},     {eInputPq, SELVANE_REC2020},
        {eInputHlg, SELVANE_REC2020}};
    for (const auto& [space, primaries] : cases) {
        EXPECT_EQ(InputSpaceOfWord(InputSpaceWord(space)), space);
        for (const eSampleForm form : {eSamples8, eFloats}) {
            const sPicture picture =
                Interpreted(form, {.fProfile = StoredProfile(SELVANE_ADOBE_RGB)}, {.fInputSpace = space});
            EXPECT_EQ(picture.fColor.fPrimaries, primaries) << InputSpaceWord(space);
            EXPECT_EQ(picture.fForm == form, form == eFloats || space < eInputPq);
        }
    }
    EXPECT_EQ(Interpreted(eSamples8, {}, {.fInputSpace = eInputLinear}).fColor.fTransfer, SELVANE_TRANSFER_LINEAR);
    EXPECT_EQ(InputSpaceOfWord("cmyk"), std::nullopt);
}

TEST(Interpret, TheEntryKnowsThreeSpaces)
{
    const sReadOptions entry{.fAsEntry = true};
    EXPECT_EQ(Interpreted(eSamples8, {.fCodePoints = sCodePoints{9, 16}}, entry).fPixels, Pixel(eSamples8).fPixels);
    EXPECT_EQ(Interpreted(eSamples8, {.fGamma = 1.0}, entry).fColor.fTransfer, SELVANE_TRANSFER_ENGINE);
    const sPicture p3 = Interpreted(eSamples8, {.fProfile = StoredProfile(SELVANE_DISPLAY_P3)}, entry);
    EXPECT_EQ(p3.fColor.fPrimaries, SELVANE_SRGB);
    EXPECT_THAT(p3.fColorSpaceWarning, HasSubstr("\"Display P3\" is none of sRGB, Adobe RGB and ProPhoto RGB"));
    const sPicture scene = Interpreted(eFloats,
                                       {.fProfile = StoredProfile(SELVANE_ADOBE_RGB),
                                        .fChromaticities = {{0.713F, 0.293F, 0.165F, 0.83F, 0.128F, 0.044F, 0, 0}},
                                        .fWhiteLuminance = 50.0F},
                                       entry);
    EXPECT_THAT(scene.fColorSpaceWarning, HasSubstr("its primaries are none of"));
    EXPECT_EQ(scene.fPixels, Pixel(eFloats).fPixels);
    const std::array<float, 8> wide = {0.7347F, 0.2653F, 0.1596F, 0.8404F, 0.0366F, 0.0001F, 0.3127F, 0.329F};
    EXPECT_EQ(Interpreted(eFloats, {.fChromaticities = wide}, entry).fColor.fPrimaries, SELVANE_PROPHOTO)
        << "white does not count";
}

} // namespace
