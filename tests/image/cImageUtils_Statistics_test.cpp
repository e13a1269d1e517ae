// Extremes, normalising, means and differences.

#include "image/cImageUtils.h"

#include "image/Pictures.h"
#include "image/cImageUtils_Rows.h"

#include <algorithm>
#include <cfloat>

using namespace Vornik;
using namespace SelvaneTest;

namespace
{

const std::vector<int> kWidths = {1, 2, 3, 4, 5, 7, 8, 15, 16, 17, 31, 32, 33, 47, 48, 49, 64, 65, 70, 130};

/// A picture one row high of c0, c1, c2, c0, c1, ...
std::unique_ptr<cBitmapXYZ32> Row(const std::vector<float>& pSamples)
{
    auto picture = MakePicture<cBitmapXYZ32>(static_cast<int>(pSamples.size() / 3), 1);
    std::copy(pSamples.begin(), pSamples.end(), picture->fData);
    return picture;
}

// ---- Extremes -------------------------------------------------------------------------------------------------------

/// The rule, one sample after the other: of a NaN and a number the number wins, and -0 lies below +0.
float Lesser(float pFirst, float pSecond)
{
    if (std::isnan(pSecond)) return pFirst;
    if (std::isnan(pFirst)) return pSecond;
    if (pFirst == pSecond) return std::signbit(pFirst) ? pFirst : pSecond;
    return pFirst < pSecond ? pFirst : pSecond;
}

float Greater(float pFirst, float pSecond)
{
    return -Lesser(-pFirst, -pSecond);
}

void ExpectExtremes(cBitmapXYZ32& pPicture)
{
    for (int channel = 0; channel < 3; ++channel) {
        float least = At(pPicture, 0, 0, channel);
        float most = least;
        for (int y = 0; y < pPicture.fHeight; ++y)
            for (int x = 0; x < pPicture.fWidth; ++x) {
                least = Lesser(least, At(pPicture, x, y, channel));
                most = Greater(most, At(pPicture, x, y, channel));
            }
        float minimum = 0.0f;
        float maximum = 0.0f;
        cImageUtils::GetMinMax(&pPicture, channel, minimum, maximum);
        EXPECT_TRUE(Same(minimum, least)) << minimum << " for " << least;
        EXPECT_TRUE(Same(maximum, most)) << maximum << " for " << most;
        EXPECT_TRUE(Same(cImageUtils::GetMin(&pPicture, channel), least));
        EXPECT_TRUE(Same(cImageUtils::GetMax(&pPicture, channel), most));
    }
}

TEST(Extremes, OfEachChannelForAllSizes)
{
    unsigned seed = 1;
    for (const int width : kWidths)
        for (const int height : {1, 2, 5}) {
            auto picture = MakePicture<cBitmapXYZ32>(width, height, 3);
            SetRandom(*picture, seed++);
            ExpectExtremes(*picture);
        }
}

TEST(Extremes, WhereverTheyLie)
{
    auto picture = MakePicture<cBitmapXYZ32>(37, 3, 2);
    SetRandom(*picture, 2);
    ForEachSample(*picture, [&](int x, int y, int c) {
        const float old = At(*picture, x, y, c);
        for (const float extreme : {-1e9f, 1e9f}) {
            At(*picture, x, y, c) = extreme;
            EXPECT_EQ(extreme < 0.0f ? cImageUtils::GetMin(picture.get(), c) : cImageUtils::GetMax(picture.get(), c),
                      extreme);
        }
        At(*picture, x, y, c) = old;
    });
}

TEST(Extremes, OneSampleIsBoth)
{
    const auto picture = Row({3.0f, -4.0f, 5.0f});
    float least = 0.0f;
    float most = 0.0f;
    cImageUtils::GetMinMax(picture.get(), 1, least, most);
    EXPECT_EQ(least, -4.0f);
    EXPECT_EQ(most, -4.0f);
}

TEST(Extremes, NaNSamplesAreSkipped)
{
    auto picture = MakePicture<cBitmapXYZ32>(33, 4, 1);
    SetRandom(*picture, 3);
    for (int x = 0; x < 33; ++x)
        for (int c = 0; c < 3; ++c)
            At(*picture, x, x % 4, c) = x % 2 == 0 ? kNaN : -kNaN;
    ExpectExtremes(*picture);

    const auto first = Row({kNaN, kNaN, kNaN, -2.0f, -3.0f, 4.0f, -1.0f, -5.0f, 6.0f});
    EXPECT_EQ(cImageUtils::GetMax(first.get(), 0), -1.0f);
    EXPECT_EQ(cImageUtils::GetMin(first.get(), 1), -5.0f);
    EXPECT_EQ(cImageUtils::GetMax(first.get(), 2), 6.0f);
}

TEST(Extremes, NothingButNaNGivesTheFirst)
{
    auto picture = Row({kNaN, 0.0f, 0.0f, -kNaN, 0.0f, 0.0f});
    const uint32_t payload = 0x7FC12345u;
    std::memcpy(&picture->fData[0], &payload, sizeof payload);
    float least = 0.0f;
    float most = 0.0f;
    cImageUtils::GetMinMax(picture.get(), 0, least, most);
    EXPECT_EQ(std::bit_cast<uint32_t>(least), payload);
    EXPECT_EQ(std::bit_cast<uint32_t>(most), payload);
    EXPECT_EQ(cImageUtils::GetMin(picture.get(), 1), 0.0f);
}

TEST(Extremes, InfinitiesAreNumbers)
{
    const auto picture = Row({kInfinity, kNaN, -kInfinity, kNaN, kInfinity, -kInfinity, kInfinity, -kInfinity, kNaN});
    const float expected[3][2] = {{kInfinity, kInfinity}, {-kInfinity, kInfinity}, {-kInfinity, -kInfinity}};
    for (int channel = 0; channel < 3; ++channel) {
        EXPECT_EQ(cImageUtils::GetMin(picture.get(), channel), expected[channel][0]);
        EXPECT_EQ(cImageUtils::GetMax(picture.get(), channel), expected[channel][1]);
    }
}

TEST(Extremes, NegativeZeroLiesBelowZeroInAnyOrder)
{
    for (const bool negativeFirst : {false, true}) {
        const float first = negativeFirst ? -0.0f : 0.0f;
        const auto picture = Row({first, 0, 0, -first, 0, 0});
        EXPECT_TRUE(Same(cImageUtils::GetMin(picture.get(), 0), -0.0f));
        EXPECT_TRUE(Same(cImageUtils::GetMax(picture.get(), 0), 0.0f));
    }
}

TEST(Extremes, TheMinimumIsStoredFirst)
{
    const auto picture = Row({1, 0, 0, 2, 0, 0});
    float both = 0.0f;
    cImageUtils::GetMinMax(picture.get(), 0, both, both);
    EXPECT_EQ(both, 2.0f);
}

TEST(Means, TheThirdIsStoredLast)
{
    const auto picture = Row({1, 2, 3, 3, 6, 9});
    float all = 0.0f;
    cImageUtils::Mean(picture.get(), all, all, all);
    EXPECT_EQ(all, 6.0f);
}

// ---- Normalising ----------------------------------------------------------------------------------------------------

/// The steps, one sample after the other, over the channels from pFirst to pLast.
void NormalizeSlowly(cBitmapXYZ32& pPicture, int pFirst, int pLast)
{
    float minimum = FLT_MAX;
    float maximum = -FLT_MAX;
    ForEachSample(pPicture, [&](int x, int y, int c) {
        if (c < pFirst || c > pLast) return;
        minimum = Lesser(minimum, At(pPicture, x, y, c));
        maximum = Greater(maximum, At(pPicture, x, y, c));
    });
    float range = maximum - minimum;
    if (range == 0.0f) {
        range = 1.0f;
        minimum = minimum - 0.5f;
    }
    const float scale = 1.0f / range;
    ForEachSample(pPicture, [&](int x, int y, int c) {
        if (c < pFirst || c > pLast) return;
        const float above = At(pPicture, x, y, c) - minimum;
        At(pPicture, x, y, c) = above * scale;
    });
}

std::unique_ptr<cBitmapXYZ32> CopyOf(const cBitmapXYZ32& pPicture)
{
    auto copy = MakePicture<cBitmapXYZ32>(pPicture.fWidth, pPicture.fHeight, pPicture.fStride / 12 - pPicture.fWidth);
    std::memcpy(copy->fData, pPicture.fData, BlockBytes(pPicture));
    return copy;
}

void ExpectNormalized(const cBitmapXYZ32& pPicture)
{
    const auto whole = CopyOf(pPicture);
    const auto channels = CopyOf(pPicture);
    const auto expectedWhole = CopyOf(pPicture);
    const auto expectedChannels = CopyOf(pPicture);
    cImageUtils::Normalize(whole.get(), false);
    cImageUtils::Normalize(channels.get(), true);
    NormalizeSlowly(*expectedWhole, 0, 2);
    for (int c = 0; c < 3; ++c)
        NormalizeSlowly(*expectedChannels, c, c);
    ForEachSample(pPicture, [&](int x, int y, int c) {
        ASSERT_TRUE(Same(At(*whole, x, y, c), At(*expectedWhole, x, y, c)));
        ASSERT_TRUE(Same(At(*channels, x, y, c), At(*expectedChannels, x, y, c)));
    });
    ExpectPaddingUntouched(*whole);
    ExpectPaddingUntouched(*channels);
}

TEST(Normalize, FollowsItsStepsForAllSizes)
{
    unsigned seed = 10;
    for (const int width : kWidths)
        for (const int height : {1, 3}) {
            auto picture = MakePicture<cBitmapXYZ32>(width, height, 3);
            SetRandom(*picture, seed++);
            ExpectNormalized(*picture);
        }
}

TEST(Normalize, FollowsItsStepsForOddSamples)
{
    ExpectNormalized(*Row({kNaN, 1, 2, 3, kNaN, 5}));
    ExpectNormalized(*Row({kNaN, kNaN, kNaN}));
    ExpectNormalized(*Row({kInfinity, kInfinity, kInfinity}));
    ExpectNormalized(*Row({-kInfinity, 1, 2, 3, 4, kInfinity}));
    ExpectNormalized(*Row({FLT_MAX, -FLT_MAX, 0}));
    ExpectNormalized(*Row({1e-45f, 0, 0, 0, 1e-45f, 0}));
    ExpectNormalized(*Row({-0.0f, 0, 0, 0, -0.0f, 0}));
    ExpectNormalized(*Row({16777216.0f, 33554432.0f, -16777216.0f}));
}

TEST(Normalize, NothingButNaNOrInfinityIsMeasuredFromTheLargestFinite)
{
    // All NaN: the range is -infinity, not a flat picture; all infinite: (infinity - largest) * 0.
    auto picture = Row({kNaN, kInfinity, kInfinity});
    cImageUtils::Normalize(picture.get(), true);
    for (int c = 0; c < 3; ++c)
        EXPECT_TRUE(std::isnan(picture->fData[c]));
}

TEST(Normalize, AFlatPictureIsOneHalf)
{
    for (const float value : {0.0f, 3.0f, -7.25f, 1e-20f}) {
        auto picture = MakePicture<cBitmapXYZ32>(5, 3);
        cImageUtils::Fill(picture.get(), value);
        cImageUtils::Normalize(picture.get(), false);
        ForEachSample(*picture, [&](int x, int y, int c) { ASSERT_EQ(At(*picture, x, y, c), 0.5f); });
    }
}

TEST(Normalize, AFlatPictureOfLargeValuesIsZero)
{
    for (const float value : {33554432.0f, 1e10f, -1e10f, FLT_MAX}) {
        auto picture = MakePicture<cBitmapXYZ32>(2, 2);
        cImageUtils::Fill(picture.get(), value);
        cImageUtils::Normalize(picture.get(), false);
        ForEachSample(*picture, [&](int x, int y, int c) { ASSERT_EQ(At(*picture, x, y, c), 0.0f); });
    }
}

TEST(Normalize, TwoAndFourBecomeZeroAndOne)
{
    auto picture = Row({2, 4, 2, 4, 2, 4});
    cImageUtils::Normalize(picture.get(), false);
    for (int i = 0; i < 6; ++i)
        EXPECT_EQ(picture->fData[i], static_cast<float>(i % 2));
}

TEST(Normalize, EachChannelSpansItsOwnRange)
{
    auto picture = Row({1, 9, -3, 2, 9, 5, 3, 9, 1});
    cImageUtils::Normalize(picture.get(), true);
    const float expected[9] = {0.0f, 0.5f, 0.0f, 0.5f, 0.5f, 1.0f, 1.0f, 0.5f, 0.5f};
    for (int i = 0; i < 9; ++i)
        EXPECT_EQ(picture->fData[i], expected[i]) << i;
}

TEST(Normalize, MultipliesByTheReciprocalOfTheRange)
{
    auto picture = Row({0, 10, 49});
    cImageUtils::Normalize(picture.get(), false);
    EXPECT_TRUE(Same(picture->fData[1], 10.0f * (1.0f / 49.0f)));
    EXPECT_TRUE(Same(picture->fData[2], 49.0f * (1.0f / 49.0f)));
    auto other = Row({0, 41, 0});
    cImageUtils::Normalize(other.get(), false);
    EXPECT_NE(41.0f * (1.0f / 41.0f), 1.0f); // the case shows the difference to a division
    EXPECT_TRUE(Same(other->fData[1], 41.0f * (1.0f / 41.0f)));
}

// ---- Mean -----------------------------------------------------------------------------------------------------------

void ExpectMean(cBitmapXYZ32& pPicture)
{
    double sums[3] = {0, 0, 0};
    ForEachSample(pPicture, [&](int x, int y, int c) { sums[c] += static_cast<double>(At(pPicture, x, y, c)); });
    const double factor = 1.0 / static_cast<double>(pPicture.fWidth * pPicture.fHeight);
    float mean[3] = {-1, -1, -1};
    cImageUtils::Mean(&pPicture, mean[0], mean[1], mean[2]);
    for (int c = 0; c < 3; ++c)
        EXPECT_TRUE(Same(mean[c], static_cast<float>(sums[c] * factor))) << c;
}

TEST(Mean, SumsInDoublePixelAfterPixel)
{
    unsigned seed = 20;
    for (const int width : kWidths)
        for (const int height : {1, 3}) {
            auto picture = MakePicture<cBitmapXYZ32>(width, height, 3);
            SetRandom(*picture, seed++);
            ExpectMean(*picture);
            // Samples that cancel to a small rest, which depends on the order of the additions.
            ForEachSample(*picture, [&](int x, int y, int c) {
                At(*picture, x, y, c) = std::ldexp(At(*picture, x, y, c), (x * 31 + y * 17 + c * 7) % 90);
            });
            ExpectMean(*picture);
        }
}

TEST(Mean, TheOrderOfTheAdditionsShows)
{
    const auto picture = Row({1e30f, 1, 1e30f, 1, 1e30f, -1e30f, -1e30f, -1e30f, 1});
    float mean[3] = {-1, -1, -1};
    cImageUtils::Mean(picture.get(), mean[0], mean[1], mean[2]);
    EXPECT_EQ(mean[0], 0.0f);
    EXPECT_EQ(mean[1], 0.0f);
    EXPECT_TRUE(Same(mean[2], static_cast<float>(1.0 / 3.0)));
}

TEST(Mean, OfSamplesFrom0UpEqualsTheOrderedSum)
{
    unsigned seed = 50;
    for (const int width : {1, 15, 16, 17, 255, 300})
        for (const int height : {1, 40, 200}) {
            auto picture = MakePicture<cBitmapXYZ32>(width, height, 3);
            SetRandom(*picture, seed++);
            ForEachSample(*picture,
                          [&](int x, int y, int c) { At(*picture, x, y, c) = std::fabs(At(*picture, x, y, c)); });
            ExpectMean(*picture);
        }
}

// 2^53 + 2^29 is a tie between two floats. In picture order each 1 after it is lost, and the tie goes down; added up
// before, the ones would tip it upwards.
TEST(Mean, AtATieTheOrderOfTheAdditionsDecides)
{
    const auto picture = MakePicture<cBitmapXYZ32>(64, 1, 0);
    ForEachSample(*picture, [&](int x, int y, int c) {
        At(*picture, x, y, c) = x == 0 ? 0x1p53f : x == 1 ? 0x1p29f : 1.0f;
    });
    ExpectMean(*picture);
    float mean[3] = {-1, -1, -1};
    cImageUtils::Mean(picture.get(), mean[0], mean[1], mean[2]);
    for (const float channel : mean)
        EXPECT_EQ(channel, 0x1p47f);
}

TEST(Mean, OfOnePixelIsThePixel)
{
    const auto picture = Row({0.1f, -2.5f, 1e-30f});
    float mean[3] = {-1, -1, -1};
    cImageUtils::Mean(picture.get(), mean[0], mean[1], mean[2]);
    for (int c = 0; c < 3; ++c)
        EXPECT_EQ(mean[c], picture->fData[c]);
}

TEST(Mean, MultipliesByAFactorAndDoesNotDivide)
{
    // 1 / 49.0 lies just below 1 / 49. This sum of two samples divided by 49 is a tie between two floats that goes up;
    // times the factor it lies below the tie.
    constexpr float kLarge = 0x1.87ffep6f;
    constexpr float kSmall = 0x1.38p-19f;
    auto picture = MakePicture<cBitmapXYZ32>(7, 7);
    cImageUtils::Fill(picture.get(), 0.0f);
    At(*picture, 0, 0, 0) = kLarge;
    At(*picture, 1, 0, 0) = kSmall;
    float mean[3] = {-1, -1, -1};
    cImageUtils::Mean(picture.get(), mean[0], mean[1], mean[2]);
    EXPECT_TRUE(Same(mean[0], 0x1.ffffd6p0f));
    EXPECT_TRUE(
        Same(static_cast<float>((static_cast<double>(kLarge) + static_cast<double>(kSmall)) / 49.0), 0x1.ffffd8p0f));
}

TEST(Mean, TheCountOfPixelsWrapsAt32Bits)
{
    EXPECT_EQ(Rows::MeanFactor(3, 5), 1.0 / 15.0);
    EXPECT_EQ(Rows::MeanFactor(46340, 46340), 1.0 / 2147395600.0);
    EXPECT_EQ(Rows::MeanFactor(46341, 46341), 1.0 / -2147479015.0);
    EXPECT_EQ(Rows::MeanFactor(65536, 32768), 1.0 / -2147483648.0);
    EXPECT_EQ(Rows::MeanFactor(65537, 65537), 1.0 / 131073.0);
}

// ---- Differences ----------------------------------------------------------------------------------------------------

/// The absolute difference as the rule forms it: of floats in float, of integers as an integer.
double Distance(float pFirst, float pSecond)
{
    return static_cast<double>(std::fabs(pFirst - pSecond));
}
double Distance(int pFirst, int pSecond)
{
    return static_cast<double>(std::abs(pFirst - pSecond));
}

template <class tBitmap>
void ExpectDifferences(tBitmap& pFirst, tBitmap& pSecond)
{
    double expected[3] = {0, 0, 0};
    ForEachSample(pFirst,
                  [&](int x, int y, int c) { expected[c] += Distance(At(pFirst, x, y, c), At(pSecond, x, y, c)); });
    double sums[3] = {-1, -1, -1};
    cImageUtils::Diff(&pFirst, &pSecond, sums[0], sums[1], sums[2]);
    for (int c = 0; c < 3; ++c)
        EXPECT_TRUE(Same(sums[c], expected[c])) << c;
    EXPECT_TRUE(Same(cImageUtils::Diff(&pFirst, &pSecond), (expected[0] + expected[1]) + expected[2]));
}

template <class tBitmap>
class Diff : public ::testing::Test
{
};

using tBitmaps = ::testing::Types<cBitmapXYZ32, cBitmapBGR8, cBitmapBGR16>;
TYPED_TEST_SUITE(Diff, tBitmaps);

TYPED_TEST(Diff, SumsAbsoluteDifferencesOfEachChannel)
{
    unsigned seed = 30;
    for (const int width : kWidths)
        for (const int height : {1, 3}) {
            auto first = MakePicture<TypeParam>(width, height, 3);
            auto second = MakePicture<TypeParam>(width, height, 10);
            SetRandom(*first, seed++);
            SetRandom(*second, seed++);
            ExpectDifferences(*first, *second);
        }
}

TYPED_TEST(Diff, APictureDoesNotDifferFromItself)
{
    auto picture = MakePicture<TypeParam>(20, 4);
    SetRandom(*picture, 40);
    double sums[3] = {-1, -1, -1};
    cImageUtils::Diff(picture.get(), picture.get(), sums[0], sums[1], sums[2]);
    for (int c = 0; c < 3; ++c)
        EXPECT_TRUE(Same(sums[c], 0.0));
    EXPECT_TRUE(Same(cImageUtils::Diff(picture.get(), picture.get()), 0.0));
}

TYPED_TEST(Diff, OneStepInEverySampleOfTenByTenIsHundred)
{
    auto first = MakePicture<TypeParam>(10, 10);
    auto second = MakePicture<TypeParam>(10, 10);
    int next = 0;
    SetSamples(*first, [&] { return next++ % 100; });
    next = 1;
    SetSamples(*second, [&] { return (next++ - 1) % 100 + 1; });
    double sums[3] = {-1, -1, -1};
    cImageUtils::Diff(first.get(), second.get(), sums[0], sums[1], sums[2]);
    for (int c = 0; c < 3; ++c)
        EXPECT_EQ(sums[c], 100.0);
    EXPECT_EQ(cImageUtils::Diff(second.get(), first.get()), 300.0);
}

TEST(DiffXYZ32, TheOrderOfTheAdditionsAndTheRoundingToFloatShow)
{
    // 2^60, then twice 64, which the sum absorbs one by one and would not absorb together.
    const auto first = Row({0x1p60f, 1, 0, 64, 1, 0, 64, 1, 0});
    const auto second = Row({0, -0x1p-30f, 0, 0, -0x1p-30f, 0, 0, -0x1p-30f, 0});
    double sums[3] = {-1, -1, -1};
    cImageUtils::Diff(first.get(), second.get(), sums[0], sums[1], sums[2]);
    EXPECT_EQ(sums[0], 0x1p60);
    EXPECT_EQ(sums[1], 3.0);
    EXPECT_EQ(sums[2], 0.0);
}

TEST(DiffXYZ32, TheFirstTwoSumsAreAddedFirst)
{
    const auto first = Row({0x1p53f, 1, 1});
    const auto second = Row({0, 0, 0});
    EXPECT_EQ(cImageUtils::Diff(first.get(), second.get()), 0x1p53); // 1 and 1 together would show
}

TEST(DiffXYZ32, NaNStaysInItsChannel)
{
    const auto first = Row({kNaN, 1, 2});
    const auto second = Row({0, 0, 0});
    double sums[3] = {-1, -1, -1};
    cImageUtils::Diff(first.get(), second.get(), sums[0], sums[1], sums[2]);
    EXPECT_TRUE(std::isnan(sums[0]));
    EXPECT_EQ(sums[1], 1.0);
    EXPECT_EQ(sums[2], 2.0);
}

TEST(DiffBGR8, TheFirstSumIsBlue)
{
    auto first = MakePicture<cBitmapBGR8>(2, 2);
    auto second = MakePicture<cBitmapBGR8>(2, 2);
    cImageUtils::Fill(first.get(), 30, 20, 10);
    cImageUtils::Fill(second.get(), static_cast<unsigned char>(0));
    double blue = 0.0;
    double green = 0.0;
    double red = 0.0;
    cImageUtils::Diff(first.get(), second.get(), blue, green, red);
    EXPECT_EQ(blue, 40.0);
    EXPECT_EQ(green, 80.0);
    EXPECT_EQ(red, 120.0);
}

template <class tBitmap>
class MaxDiff : public ::testing::Test
{
};

using tIntegerBitmaps = ::testing::Types<cBitmapBGR8, cBitmapBGR16>;
TYPED_TEST_SUITE(MaxDiff, tIntegerBitmaps);

TYPED_TEST(MaxDiff, IsTheLargestOfAllSamples)
{
    unsigned seed = 50;
    for (const int width : kWidths)
        for (const int height : {1, 3}) {
            auto first = MakePicture<TypeParam>(width, height, 3);
            auto second = MakePicture<TypeParam>(width, height, 10);
            SetRandom(*first, seed);
            SetRandom(*second, seed++);
            EXPECT_EQ(cImageUtils::MaxDiff(first.get(), second.get()), 0);
            const int x = width / 2;
            const int y = height - 1;
            At(*first, x, y, 2) = 3;
            At(*second, x, y, 2) = 203;
            At(*first, 0, 0, 0) = 150;
            At(*second, 0, 0, 0) = 20;
            EXPECT_EQ(cImageUtils::MaxDiff(first.get(), second.get()), 200);
            EXPECT_EQ(cImageUtils::MaxDiff(second.get(), first.get()), 200);
        }
}

TEST(MaxDiffBGR16, BlackAndWhiteDifferBy65535)
{
    auto black = MakePicture<cBitmapBGR16>(3, 3);
    auto white = MakePicture<cBitmapBGR16>(3, 3);
    cImageUtils::Fill(black.get(), static_cast<unsigned short>(0));
    cImageUtils::Fill(white.get(), static_cast<unsigned short>(65535));
    EXPECT_EQ(cImageUtils::MaxDiff(black.get(), white.get()), 65535);
    EXPECT_EQ(cImageUtils::MaxDiff(white.get(), black.get()), 65535);
}

} // namespace
