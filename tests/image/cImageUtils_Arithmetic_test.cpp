// Fills, sample arithmetic, the matrix over all pixels and single channels.

#include "image/cImageUtils.h"

#include "image/Pictures.h"

#include <functional>

using namespace Vornik;
using namespace SelvaneTest;

namespace
{

const std::vector<int> kWidths = {1, 2, 3, 4, 5, 6, 7, 8, 9, 15, 16, 17, 31, 33, 63, 64, 65, 70, 129, 300};

std::unique_ptr<cBitmapXYZ32> RandomPicture(int pWidth, int pHeight, unsigned pSeed, int pSpare = 0)
{
    auto picture = MakePicture<cBitmapXYZ32>(pWidth, pHeight, pSpare);
    SetRandom(*picture, pSeed);
    return picture;
}

/// A second object with the same fields and pixels.
std::unique_ptr<cBitmapXYZ32> CopyOf(const cBitmapXYZ32& pPicture)
{
    auto copy = MakePicture<cBitmapXYZ32>(pPicture.fWidth, pPicture.fHeight, pPicture.fStride / 12 - pPicture.fWidth);
    EXPECT_EQ(copy->fStride, pPicture.fStride);
    std::memcpy(copy->fData, pPicture.fData, BlockBytes(pPicture));
    return copy;
}

// ---- Fills ----------------------------------------------------------------------------------------------------------

TEST(Fill, IntegerPicturesTakeRedGreenBlueAndStoreBlueGreenRed)
{
    auto narrow = MakePicture<cBitmapBGR8>(5, 3, 4);
    auto wide = MakePicture<cBitmapBGR16>(5, 3, 4);
    cImageUtils::Fill(narrow.get(), 1, 2, 3);
    cImageUtils::Fill(wide.get(), 1000, 2000, 3000);
    ForEachSample(*narrow, [&](int x, int y, int c) { ASSERT_EQ(At(*narrow, x, y, c), 3 - c); });
    ForEachSample(*wide, [&](int x, int y, int c) { ASSERT_EQ(At(*wide, x, y, c), 1000 * (3 - c)); });
    ExpectPaddingUntouched(*narrow);
    ExpectPaddingUntouched(*wide);
}

TEST(Fill, FloatPicturesStoreAsTheyTake)
{
    auto picture = MakePicture<cBitmapXYZ32>(5, 3, 4);
    cImageUtils::Fill(picture.get(), 1.0f, 2.0f, 3.0f);
    ForEachSample(*picture, [&](int x, int y, int c) { ASSERT_EQ(At(*picture, x, y, c), static_cast<float>(c + 1)); });
    ExpectPaddingUntouched(*picture);
}

TEST(Fill, OneValueFillsAllChannels)
{
    auto narrow = MakePicture<cBitmapBGR8>(3, 2);
    auto wide = MakePicture<cBitmapBGR16>(3, 2);
    auto floats = MakePicture<cBitmapXYZ32>(3, 2);
    cImageUtils::Fill(narrow.get(), static_cast<unsigned char>(77));
    cImageUtils::Fill(wide.get(), static_cast<unsigned short>(40000));
    cImageUtils::Fill(floats.get(), -0.0f);
    ForEachSample(*narrow, [&](int x, int y, int c) { ASSERT_EQ(At(*narrow, x, y, c), 77); });
    ForEachSample(*wide, [&](int x, int y, int c) { ASSERT_EQ(At(*wide, x, y, c), 40000); });
    ForEachSample(*floats, [&](int x, int y, int c) { ASSERT_TRUE(Same(At(*floats, x, y, c), -0.0f)); });
    ExpectPaddingUntouched(*floats);
}

// ---- Arithmetic -----------------------------------------------------------------------------------------------------

TEST(Sub, TakesTheSecondFromTheFirstInPlace)
{
    for (const int width : kWidths) {
        auto first = RandomPicture(width, 3, 1, 5);
        const auto second = RandomPicture(width, 3, 2, 9);
        const auto before = CopyOf(*first);
        const auto secondBefore = BlockOf(*second);
        cImageUtils::Sub(first.get(), second.get());
        ForEachSample(*first, [&](int x, int y, int c) {
            ASSERT_TRUE(Same(At(*first, x, y, c), At(*before, x, y, c) - At(*second, x, y, c)));
        });
        ExpectPaddingUntouched(*first);
        EXPECT_EQ(BlockOf(*second), secondBefore);
    }
}

TEST(Sub, APictureFromItselfIsZero)
{
    auto picture = RandomPicture(50, 2, 3);
    cImageUtils::Sub(picture.get(), picture.get());
    ForEachSample(*picture, [&](int x, int y, int c) { ASSERT_TRUE(Same(At(*picture, x, y, c), 0.0f)); });
}

TEST(Mul, InPlaceMultipliesEverySample)
{
    for (const int width : kWidths) {
        auto picture = RandomPicture(width, 3, 4, 5);
        const auto before = CopyOf(*picture);
        cImageUtils::Mul(picture.get(), 1.7f);
        ForEachSample(*picture, [&](int x, int y, int c) {
            ASSERT_TRUE(Same(At(*picture, x, y, c), At(*before, x, y, c) * 1.7f));
        });
        ExpectPaddingUntouched(*picture);
    }
}

/// Signalling NaNs, which any arithmetic would change, and other samples.
std::unique_ptr<cBitmapXYZ32> FragilePicture()
{
    auto picture = MakePicture<cBitmapXYZ32>(9, 2, 3);
    uint32_t next = 0;
    ForEachSample(*picture, [&](int x, int y, int c) {
        const uint32_t bits = next % 3 == 0 ? 0x7F800001u + next : next * 0x01234567u;
        std::memcpy(&At(*picture, x, y, c), &bits, sizeof bits);
        ++next;
    });
    return picture;
}

TEST(Mul, AFactorOfExactlyOneTouchesNothingInPlace)
{
    auto picture = FragilePicture();
    const auto before = BlockOf(*picture);
    cImageUtils::Mul(picture.get(), 1.0f);
    EXPECT_EQ(BlockOf(*picture), before);
    cImageUtils::Mul(picture.get(), 1.0000001f);
    EXPECT_NE(BlockOf(*picture), before);
}

TEST(Mul, AFactorOfExactlyOneCopiesIntoAnotherPicture)
{
    const auto source = RandomPicture(9, 3, 5, 2);
    auto target = MakePicture<cBitmapXYZ32>(9, 3, 7);
    cImageUtils::Mul(source.get(), target.get(), 1.0f);
    ForEachSample(*source, [&](int x, int y, int c) { ASSERT_TRUE(Same(At(*target, x, y, c), At(*source, x, y, c))); });
    ExpectPaddingUntouched(*target);
}

TEST(Mul, IntoAnotherPictureOrTheSame)
{
    for (const int width : kWidths) {
        auto source = RandomPicture(width, 3, 6, 2);
        auto target = MakePicture<cBitmapXYZ32>(width, 3, 7);
        cImageUtils::Mul(source.get(), target.get(), -0.3f);
        ForEachSample(*source, [&](int x, int y, int c) {
            ASSERT_TRUE(Same(At(*target, x, y, c), At(*source, x, y, c) * -0.3f));
        });
        ExpectPaddingUntouched(*target);
        cImageUtils::Mul(source.get(), source.get(), -0.3f);
        ForEachSample(*source,
                      [&](int x, int y, int c) { ASSERT_TRUE(Same(At(*target, x, y, c), At(*source, x, y, c))); });
    }
}

TEST(Mul, TwoPicturesSampleBySample)
{
    for (const int width : kWidths) {
        auto first = RandomPicture(width, 3, 7, 2);
        const auto second = RandomPicture(width, 3, 8, 4);
        auto target = MakePicture<cBitmapXYZ32>(width, 3, 9);
        cImageUtils::Mul(first.get(), second.get(), target.get());
        ForEachSample(*target, [&](int x, int y, int c) {
            ASSERT_TRUE(Same(At(*target, x, y, c), At(*first, x, y, c) * At(*second, x, y, c)));
        });
        ExpectPaddingUntouched(*target);
        cImageUtils::Mul(first.get(), second.get(), first.get());
        ForEachSample(*target,
                      [&](int x, int y, int c) { ASSERT_TRUE(Same(At(*target, x, y, c), At(*first, x, y, c))); });
    }
}

TEST(ClampLow, WhatIsNotAtLeastTheLimitBecomesIt)
{
    for (int channel = 0; channel < 3; ++channel) {
        auto picture = RandomPicture(20, 3, 9, 2);
        const auto before = CopyOf(*picture);
        cImageUtils::ClampLow(picture.get(), channel, 0.25f);
        ForEachSample(*picture, [&](int x, int y, int c) {
            const float old = At(*before, x, y, c);
            ASSERT_TRUE(Same(At(*picture, x, y, c), c == channel && !(old >= 0.25f) ? 0.25f : old));
        });
        ExpectPaddingUntouched(*picture);
    }
}

TEST(ClampLow, NaNBecomesTheLimitAndNegativeZeroStays)
{
    auto picture = MakePicture<cBitmapXYZ32>(5, 1);
    const float values[5] = {kNaN, -0.0f, -1e-45f, 0.0f, kInfinity};
    for (int x = 0; x < 5; ++x)
        At(*picture, x, 0, 1) = values[x];
    cImageUtils::ClampLow(picture.get(), 1, 0.0f);
    const float expected[5] = {0.0f, -0.0f, 0.0f, 0.0f, kInfinity};
    for (int x = 0; x < 5; ++x)
        EXPECT_EQ(std::bit_cast<uint32_t>(At(*picture, x, 0, 1)), std::bit_cast<uint32_t>(expected[x]));
}

TEST(ClampLow, ALimitThatIsNotANumberReplacesAll)
{
    auto picture = RandomPicture(4, 1, 10);
    cImageUtils::ClampLow(picture.get(), 2, kNaN);
    for (int x = 0; x < 4; ++x)
        EXPECT_TRUE(std::isnan(At(*picture, x, 0, 2)));
}

// ---- Matrix ---------------------------------------------------------------------------------------------------------

float FusedSum(float pM0, float pM1, float pM2, float pV0, float pV1, float pV2)
{
    const float middle = pM1 * pV1;
    const float two = std::fma(pM0, pV0, middle);
    return std::fma(pM2, pV2, two);
}

constexpr cMatrix33 kMatrix = {0.4124f, -1.3576f, 0.1805f, 0.2126f, 0.7152f, -0.0722f, 1.0193f, 0.1192f, -0.9505f};

void ExpectTransformed(cBitmapXYZ32& pBefore, cBitmapXYZ32& pAfter)
{
    for (int y = 0; y < pAfter.fHeight; ++y)
        for (int x = 0; x < pAfter.fWidth; ++x) {
            const float c0 = At(pBefore, x, y, 0);
            const float c1 = At(pBefore, x, y, 1);
            const float c2 = At(pBefore, x, y, 2);
            const cMatrix33& m = kMatrix;
            ASSERT_TRUE(Same(At(pAfter, x, y, 0), FusedSum(m.m00, m.m01, m.m02, c0, c1, c2)));
            ASSERT_TRUE(Same(At(pAfter, x, y, 1), FusedSum(m.m10, m.m11, m.m12, c0, c1, c2)));
            ASSERT_TRUE(Same(At(pAfter, x, y, 2), FusedSum(m.m20, m.m21, m.m22, c0, c1, c2)));
        }
    ExpectPaddingUntouched(pAfter);
}

TEST(Matrix, AllFormsUseTheFusedSumsWithTheMiddleTermFirst)
{
    for (const int width : kWidths) {
        const auto before = RandomPicture(width, 4, 11, 3);
        auto inPlace = CopyOf(*before);
        auto colour = CopyOf(*before);
        auto same = CopyOf(*before);
        auto target = MakePicture<cBitmapXYZ32>(width, 4, 8);
        cImageUtils::TransformInPlace(inPlace.get(), kMatrix);
        cImageUtils::ColorTransform(colour.get(), kMatrix);
        cImageUtils::ColorTransform(same.get(), same.get(), kMatrix);
        cImageUtils::ColorTransform(before.get(), target.get(), kMatrix);
        ExpectTransformed(*before, *inPlace);
        ExpectTransformed(*before, *colour);
        ExpectTransformed(*before, *same);
        ExpectTransformed(*before, *target);
    }
}

TEST(Matrix, ProductsAreNotRoundedExceptTheMiddleOne)
{
    // (1 + a)(1 + b) cancels against its neighbours; only the rest that the required roundings leave comes out.
    auto picture = MakePicture<cBitmapXYZ32>(1, 1);
    const float x = 0x1.000006p0f;
    const float y = 0x1.00000ep0f;
    cImageUtils::Fill(picture.get(), x, y, 0x1p-20f);
    const cMatrix33 matrix = {x, -y, 1, -y, x, 1, x, 0, -x};
    cImageUtils::TransformInPlace(picture.get(), matrix);
    EXPECT_TRUE(Same(picture->fData[0], std::fma(1.0f, 0x1p-20f, std::fma(x, x, -y * y))));
    EXPECT_FALSE(Same(picture->fData[0], (x * x + -y * y) + 0x1p-20f));
    EXPECT_FALSE(Same(picture->fData[0], std::fma(1.0f, 0x1p-20f, std::fma(-y, y, x * x))));
}

TEST(Matrix, IdentityLeavesFiniteNonNegativeSamples)
{
    auto picture = MakePicture<cBitmapXYZ32>(40, 3, 1);
    SetRandom(*picture, 12);
    ForEachSample(*picture, [&](int x, int y, int c) { At(*picture, x, y, c) = std::fabs(At(*picture, x, y, c)); });
    At(*picture, 0, 0, 0) = 0.0f;
    At(*picture, 0, 0, 1) = std::numeric_limits<float>::max();
    At(*picture, 0, 0, 2) = std::numeric_limits<float>::denorm_min();
    const auto before = BlockOf(*picture);
    cImageUtils::ColorTransform(picture.get(), cMatrix33{1, 0, 0, 0, 1, 0, 0, 0, 1});
    EXPECT_EQ(BlockOf(*picture), before);
}

// ---- Channels -------------------------------------------------------------------------------------------------------

TEST(Channel, ExtractionPacksOneChannel)
{
    for (int channel = 0; channel < 3; ++channel) {
        const auto picture = RandomPicture(13, 4, 13, 6);
        std::vector<float> plane(13 * 4 + 1, kInfinity);
        cImageUtils::ExtractChannel(picture.get(), plane.data(), channel);
        for (int y = 0; y < 4; ++y)
            for (int x = 0; x < 13; ++x)
                ASSERT_TRUE(Same(plane[static_cast<size_t>(y * 13 + x)], At(*picture, x, y, channel)));
        EXPECT_EQ(plane.back(), kInfinity);
    }
}

TEST(Channel, ReplacementUnpacksItAndLeavesTheOthers)
{
    for (int channel = 0; channel < 3; ++channel) {
        auto picture = RandomPicture(13, 4, 14, 6);
        const auto before = CopyOf(*picture);
        std::vector<float> plane(13 * 4);
        for (size_t i = 0; i < plane.size(); ++i)
            plane[i] = static_cast<float>(i) + 0.5f;
        cImageUtils::ReplaceChannel(plane.data(), picture.get(), channel);
        ForEachSample(*picture, [&](int x, int y, int c) {
            const float expected = c == channel ? plane[static_cast<size_t>(y * 13 + x)] : At(*before, x, y, c);
            ASSERT_TRUE(Same(At(*picture, x, y, c), expected));
        });
        ExpectPaddingUntouched(*picture);
    }
}

TEST(Channel, ExtractionAndReplacementChangeNothing)
{
    for (int channel = 0; channel < 3; ++channel) {
        auto picture = FragilePicture();
        const auto before = BlockOf(*picture);
        std::vector<float> plane(18);
        cImageUtils::ExtractChannel(picture.get(), plane.data(), channel);
        cImageUtils::ReplaceChannel(plane.data(), picture.get(), channel);
        EXPECT_EQ(BlockOf(*picture), before);
    }
}

} // namespace
