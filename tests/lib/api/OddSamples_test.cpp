// Samples that are no light, pixels that outshine everything else, and pictures of one grey.

#include "Formulas.h"
#include "Pictures.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>

namespace SelvaneTest
{
namespace
{

constexpr int kWidth = 160, kHeight = 100;
const float kNaN = std::numeric_limits<float>::quiet_NaN();
const float kInfinity = std::numeric_limits<float>::infinity();

selvane_report ReportOf(selvane* pHandle)
{
    selvane_report report{};
    report.struct_size = sizeof report;
    EXPECT_DONE(pHandle, selvane_get_report(pHandle, &report));
    return report;
}

struct sResult
{
    std::vector<uint8_t> fBytes;
    selvane_report fReport;
};

sResult Rendered(const selvane_picture& pPicture, int pAutomatic = 1, float pWhiteClip = 0.0f)
{
    const tHandle handle = NewHandle();
    selvane_settings settings = PlainSettings();
    settings.automatic = pAutomatic;
    settings.white_clip = pWhiteClip;
    EXPECT_DONE(handle.get(), selvane_set_settings(handle.get(), &settings));
    EXPECT_DONE(handle.get(), selvane_set_picture(handle.get(), &pPicture));
    sResult result;
    result.fBytes = RenderBytes(handle.get(), pPicture.width, pPicture.height);
    result.fReport = ReportOf(handle.get());
    return result;
}

/// The scene with some samples replaced: those of the list, at fixed places.
std::vector<float> SceneWith(const std::vector<float>& pOdd)
{
    std::vector<float> samples = FloatScene(kWidth, kHeight);
    for (size_t i = 0; i < pOdd.size(); i++)
        samples[5000 + 997 * i] = pOdd[i];
    return samples;
}

float LargestOf(const std::vector<float>& pSamples)
{
    float largest = 0;
    for (const float sample : pSamples)
        if (sample <= 1e30f) largest = std::max(largest, sample);
    return largest;
}

/// Both pictures give the same bytes. pOdd counts are expected in the first one's report.
void ExpectReplaced(const std::vector<float>& pOdd, const std::vector<float>& pInstead, int64_t pNaN, int64_t pNegative,
                    int64_t pInfinite)
{
    const std::vector<float> odd = SceneWith(pOdd), instead = SceneWith(pInstead);
    for (const int keep : {0, 1}) {
        selvane_picture picture = PictureOf(kWidth, kHeight, SELVANE_F32, odd.data());
        selvane_picture expected = PictureOf(kWidth, kHeight, SELVANE_F32, instead.data());
        picture.keep_hot_samples = expected.keep_hot_samples = keep;
        const sResult seen = Rendered(picture);
        EXPECT_TRUE(seen.fBytes == Rendered(expected).fBytes);
        EXPECT_EQ(seen.fReport.replaced_nan, pNaN);
        EXPECT_EQ(seen.fReport.replaced_negative, pNegative);
        EXPECT_EQ(seen.fReport.replaced_infinite, pInfinite);
    }
}

TEST(OddSamples, NaNAndNegativeOnesBecomeZero)
{
    ExpectReplaced({kNaN, -kNaN, kNaN}, {0, 0, 0}, 3, 0, 0);
    ExpectReplaced({-1.0f, -1e-30f, -3e38f, -kInfinity}, {0, 0, 0, 0}, 0, 4, 0);
    ExpectReplaced({-0.0f, 0.0f}, {0, 0}, 0, 0, 0);
    ExpectReplaced({kNaN, -2.0f, kNaN, -3.0f, 0.25f}, {0, 0, 0, 0, 0.25f}, 2, 2, 0);
}

TEST(OddSamples, InfiniteAndHugeOnesBecomeTheLargestOther)
{
    const float largest = LargestOf(SceneWith({0, 0, 0, 0}));
    ExpectReplaced({kInfinity, 1.0001e30f, 3.4e38f}, {largest, largest, largest}, 0, 0, 3);
    ExpectReplaced({kInfinity, kNaN, -1.0f, 50.0f}, {std::max(50.0f, largest), 0, 0, 50.0f}, 1, 1, 1);
    ExpectReplaced({kInfinity, 1e30f}, {1e30f, 1e30f}, 0, 0, 1); // 1e30 itself is ordinary
}

TEST(OddSamples, HalvesAreReplacedLikeFloats)
{
    std::vector<uint16_t> odd, instead;
    for (const float value : FloatScene(kWidth, kHeight))
        odd.push_back(HalfBelow(static_cast<double>(value)));
    instead = odd;
    const uint16_t largest = *std::max_element(odd.begin(), odd.end());
    const uint16_t codes[] = {0x7E00, 0xFE01, 0x7C00, 0xFC00, 0xBC00, 0x8000}; // NaN, NaN, inf, -inf, -1, -0
    const uint16_t become[] = {0, 0, largest, 0, 0, 0};
    for (size_t i = 0; i < std::size(codes); i++) {
        odd[4000 + 701 * i] = codes[i];
        instead[4000 + 701 * i] = become[i];
    }
    const sResult seen = Rendered(PictureOf(kWidth, kHeight, SELVANE_F16, odd.data()));
    EXPECT_TRUE(seen.fBytes == Rendered(PictureOf(kWidth, kHeight, SELVANE_F16, instead.data())).fBytes);
    EXPECT_EQ(seen.fReport.replaced_nan, 2);
    EXPECT_EQ(seen.fReport.replaced_negative, 2);
    EXPECT_EQ(seen.fReport.replaced_infinite, 1);
}

/// An exponent can give 1.7e38.
TEST(OddSamples, ExponentsBeyondTheLimitAreReplacedToo)
{
    std::vector<unsigned char> odd(4 * kWidth * kHeight);
    std::mt19937 random(5);
    for (size_t i = 0; i < odd.size(); i++)
        odd[i] = static_cast<unsigned char>(i % 4 == 3 ? 124 + random() % 8 : 1 + random() % 254);
    const auto set = [](std::vector<unsigned char>& pTo, size_t pPixel, std::array<unsigned char, 4> pCode) {
        std::copy(pCode.begin(), pCode.end(), pTo.begin() + static_cast<ptrdiff_t>(4 * pPixel));
    };
    set(odd, 100, {255, 0, 0, 131}); // 255 / 32: the largest ordinary sample
    std::vector<unsigned char> instead = odd;
    set(odd, 500, {255, 255, 255, 255});
    set(odd, 700, {1, 0, 0, 236}); // 2^100, just beyond 1e30
    set(odd, 900, {0, 0, 0, 255}); // nothing
    set(instead, 500, {255, 255, 255, 131});
    set(instead, 700, {255, 0, 0, 131});
    set(instead, 900, {0, 0, 0, 0});
    const sResult seen = Rendered(PictureOf(kWidth, kHeight, SELVANE_RGBE, odd.data()));
    EXPECT_EQ(seen.fReport.replaced_infinite, 4);
    EXPECT_TRUE(seen.fBytes == Rendered(PictureOf(kWidth, kHeight, SELVANE_RGBE, instead.data())).fBytes);
    EXPECT_LT(seen.fReport.log_luminance_max, 1.0f);
}

TEST(OddSamples, NothingElseThanOddOnesIsBlack)
{
    for (const float odd : {kNaN, -1.0f, kInfinity, -kInfinity, 2e30f}) {
        const std::vector<float> samples(3 * 20 * 10, odd);
        const sResult seen = Rendered(PictureOf(20, 10, SELVANE_F32, samples.data()));
        EXPECT_TRUE(seen.fBytes == std::vector<uint8_t>(3 * 20 * 10, 0)) << odd;
        EXPECT_EQ(seen.fReport.replaced_nan + seen.fReport.replaced_negative + seen.fReport.replaced_infinite, 600);
        EXPECT_EQ(seen.fReport.visible_pixels, 200);
    }
}

TEST(OddSamples, AreCountedNeitherOfIntegersNorOfCleanPictures)
{
    const std::vector<uint16_t> samples = IntegerScene<uint16_t>(kWidth, kHeight);
    const sResult seen = Rendered(PictureOf(kWidth, kHeight, SELVANE_U16, samples.data()));
    EXPECT_EQ(seen.fReport.replaced_nan + seen.fReport.replaced_negative + seen.fReport.replaced_infinite, 0);
    EXPECT_EQ(seen.fReport.hot_pixels, 0);
}

/// Subnormal light is black, whatever its colour: no white dots.
TEST(OddSamples, TheDarkestFloatsAreDark)
{
    std::vector<float> samples = FloatScene(kWidth, kHeight);
    for (size_t i = 0; i < 40; i++)
        samples[3 * (8000 + 3 * i)] = samples[3 * (8000 + 3 * i) + 1] = samples[3 * (8000 + 3 * i) + 2] =
            std::ldexp(1.0f, -149 + static_cast<int>(i));
    const sResult seen = Rendered(PictureOf(kWidth, kHeight, SELVANE_F32, samples.data()));
    for (size_t i = 0; i < 40; i++)
        for (size_t k = 0; k < 3; k++)
            EXPECT_LT(seen.fBytes[3 * (8000 + 3 * i) + k], 60) << "2^" << -149 + static_cast<int>(i);
}

// ---- Hot pixels -----------------------------------------------------------------------------------------------------

constexpr size_t kHotPlaces[] = {3333, 7777, 11111};

std::vector<float> SceneWithHot(float pHot)
{
    std::vector<float> samples = FloatScene(kWidth, kHeight, 3, 3.0);
    for (const size_t place : kHotPlaces)
        std::fill_n(samples.begin() + static_cast<ptrdiff_t>(3 * place), 3, pHot);
    return samples;
}

/// A hot pixel shines twice as bright as the brightest of the rest, whatever it was. So 1e4 and 1e9 give the same
/// bytes. Against the scene without them, the top of the range moves by a factor of 2 for three pixels of 16000: less
/// than any white clip cuts away. The other pixels move by at most 3 of 255, since the base layer near the hot ones
/// bends a little.
TEST(HotPixels, DoNotDecideThePicture)
{
    const std::vector<float> plain = FloatScene(kWidth, kHeight, 3, 3.0), warm = SceneWithHot(1e4f),
                             hot = SceneWithHot(1e9f);
    const sResult ofPlain = Rendered(PictureOf(kWidth, kHeight, SELVANE_F32, plain.data()), 0, 12.0f);
    const sResult ofWarm = Rendered(PictureOf(kWidth, kHeight, SELVANE_F32, warm.data()), 0, 12.0f);
    const sResult ofHot = Rendered(PictureOf(kWidth, kHeight, SELVANE_F32, hot.data()), 0, 12.0f);
    EXPECT_EQ(ofPlain.fReport.hot_pixels, 0);
    EXPECT_EQ(ofWarm.fReport.hot_pixels, 3);
    EXPECT_EQ(ofHot.fReport.hot_pixels, 3);
    EXPECT_TRUE(ofWarm.fBytes == ofHot.fBytes);
    int most = 0;
    double sum = 0;
    for (size_t i = 0; i < ofPlain.fBytes.size(); i++) {
        if (std::any_of(std::begin(kHotPlaces), std::end(kHotPlaces), [&](size_t place) { return i / 3 == place; }))
            continue;
        const int difference = std::abs(ofPlain.fBytes[i] - ofHot.fBytes[i]);
        most = std::max(most, difference);
        sum += difference;
    }
    const double mean = sum / static_cast<double>(ofPlain.fBytes.size());
    std::printf("other pixels move by %.3f in the mean, %d at most\n", mean, most);
    EXPECT_LT(mean, 1.0);
    EXPECT_LE(most, 3);
}

TEST(HotPixels, AreLoweredToTwiceTheBrightestOther)
{
    const std::vector<float> plain = FloatScene(kWidth, kHeight, 3, 3.0), hot = SceneWithHot(1e9f);
    const float brightest = Rendered(PictureOf(kWidth, kHeight, SELVANE_F32, plain.data())).fReport.log_luminance_max;
    const sResult seen = Rendered(PictureOf(kWidth, kHeight, SELVANE_F32, hot.data()));
    EXPECT_NEAR(seen.fReport.log_luminance_max, brightest + 0.30103f, 0.0035f); // a bin of the histogram is 1/128
}

TEST(HotPixels, KeepTheirHue)
{
    std::vector<float> samples = FloatScene(kWidth, kHeight, 3, 3.0);
    samples[3 * 5000] = 1e7f;
    samples[3 * 5000 + 1] = 1e6f;
    samples[3 * 5000 + 2] = 1e5f;
    const sResult seen = Rendered(PictureOf(kWidth, kHeight, SELVANE_F32, samples.data()));
    EXPECT_EQ(seen.fReport.hot_pixels, 1);
    EXPECT_GE(seen.fBytes[3 * 5000], seen.fBytes[3 * 5000 + 1]);
    EXPECT_GE(seen.fBytes[3 * 5000 + 1], seen.fBytes[3 * 5000 + 2]);
}

TEST(HotPixels, StayIfTheyAreToBeKept)
{
    const std::vector<float> hot = SceneWithHot(1e9f);
    selvane_picture picture = PictureOf(kWidth, kHeight, SELVANE_F32, hot.data());
    picture.keep_hot_samples = 1;
    const sResult seen = Rendered(picture);
    EXPECT_EQ(seen.fReport.hot_pixels, 0);
    EXPECT_NEAR(seen.fReport.log_luminance_max, 9.0f, 1e-3f);
}

/// Sixteen thousand pixels may have four hot ones. A fifth makes them a lamp.
TEST(HotPixels, AreFew)
{
    for (const int count : {1, 4, 5, 40}) {
        std::vector<float> samples = FloatScene(kWidth, kHeight, 3, 3.0);
        for (int i = 0; i < count; i++)
            std::fill_n(samples.begin() + 3 * (200 + 311 * i), 3, 1e6f);
        const sResult seen = Rendered(PictureOf(kWidth, kHeight, SELVANE_F32, samples.data()));
        EXPECT_EQ(seen.fReport.hot_pixels, count <= 4 ? count : 0);
    }
}

TEST(HotPixels, OfExponentsAreLoweredAndOfIntegersNot)
{
    std::vector<unsigned char> exponents;
    std::vector<uint16_t> integers;
    for (int i = 0; i < kWidth * kHeight; i++) {
        const auto mantissa = static_cast<unsigned char>(128 + i % 100);
        exponents.insert(exponents.end(),
                         {mantissa, mantissa, mantissa, static_cast<unsigned char>(i == 777 ? 160 : 122)});
        integers.insert(integers.end(), 3, static_cast<uint16_t>(i == 777 ? 65535 : 10 + i % 20));
    }
    EXPECT_EQ(Rendered(PictureOf(kWidth, kHeight, SELVANE_RGBE, exponents.data())).fReport.hot_pixels, 1);
    selvane_picture picture = PictureOf(kWidth, kHeight, SELVANE_U16, integers.data());
    const sResult tamed = Rendered(picture);
    EXPECT_EQ(tamed.fReport.hot_pixels, 0);
    EXPECT_NEAR(tamed.fReport.log_luminance_max, 0.0f, 1e-4f);
    picture.keep_hot_samples = 1;
    EXPECT_TRUE(Rendered(picture).fBytes == tamed.fBytes);
}

/// A pixel of a very small picture is no firefly.
TEST(HotPixels, AreLeftInPicturesOfAFewPixels)
{
    const std::vector<float> samples = {0.1f, 0.1f, 0.1f, 0.2f, 0.2f, 0.2f, 0.1f, 0.2f, 0.3f, 90, 90, 90};
    const sResult seen = Rendered(PictureOf(2, 2, SELVANE_F32, samples.data()));
    EXPECT_EQ(seen.fReport.hot_pixels, 0);
    EXPECT_NEAR(seen.fReport.log_luminance_max, std::log10(90.0f), 1e-3f);
}

// ---- Pictures of one grey -------------------------------------------------------------------------------------------

constexpr int kSizes[][2] = {{1, 1}, {2, 1}, {1, 3}, {33, 17}, {600, 400}};

/// Each pixel has the expected sRGB byte within one: 16 bits are truncated on the way.
void ExpectGrey(const selvane_picture& pPicture, int pExpected, int pAutomatic)
{
    const sResult seen = Rendered(pPicture, pAutomatic);
    const auto [least, most] = std::minmax_element(seen.fBytes.begin(), seen.fBytes.end());
    EXPECT_NEAR(*least, pExpected, 1) << "format " << pPicture.format << ", " << pPicture.width << " x "
                                      << pPicture.height << ", automatic " << pAutomatic;
    EXPECT_NEAR(*most, pExpected, 1) << "format " << pPicture.format << ", " << pPicture.width << " x "
                                     << pPicture.height << ", automatic " << pAutomatic;
}

template <class tSample>
void ExpectGreyOf(int pFormat, tSample pSample, int pExpected, std::initializer_list<int> pAutomatic = {0, 1})
{
    for (const auto& size : kSizes)
        for (const int automatic : pAutomatic) {
            const std::vector<tSample> samples(3 * static_cast<size_t>(size[0] * size[1]), pSample);
            ExpectGrey(PictureOf(size[0], size[1], pFormat, samples.data()), pExpected, automatic);
        }
}

TEST(Flat, FloatsKeepTheirGrey)
{
    for (const double grey : {0.0, 0.001, 0.0214, 0.18, 0.5, 0.9, 1.0, 3.0, 1e9}) {
        const int expected = static_cast<int>(SrgbEncode(std::min(1.0, grey)) * 255);
        ExpectGreyOf(SELVANE_F32, static_cast<float>(grey), expected);
        if (grey <= 65504) ExpectGreyOf(SELVANE_F16, HalfBelow(grey), expected);
    }
}

TEST(Flat, IntegersKeepTheirGreyWithTheSuggestion)
{
    for (const int grey : {0, 1, 10, 64, 128, 200, 254, 255}) {
        ExpectGreyOf(SELVANE_U8, static_cast<uint8_t>(grey), grey, {1});
        ExpectGreyOf(SELVANE_U16, static_cast<uint16_t>(257 * grey), grey, {1});
    }
}

/// The bytes of the entry: black.
TEST(Flat, IntegersAreBlackWithSettingsOfTheirOwn)
{
    for (const int grey : {0, 1, 128, 255}) {
        const std::vector<uint8_t> samples(3 * 50 * 20, static_cast<uint8_t>(grey));
        const sResult seen = Rendered(PictureOf(50, 20, SELVANE_U8, samples.data()), 0);
        EXPECT_TRUE(seen.fBytes == std::vector<uint8_t>(3 * 50 * 20, 0)) << grey;
    }
}

TEST(Flat, ExponentsKeepTheirGrey)
{
    for (const auto& size : kSizes)
        for (const int automatic : {0, 1}) {
            std::vector<unsigned char> pixels, planes;
            for (int i = 0; i < size[0] * size[1]; i++)
                pixels.insert(pixels.end(), {184, 184, 184, 126}); // 184 / 1024: 0.18
            for (int y = 0; y < size[1]; y++) {
                planes.insert(planes.end(), static_cast<size_t>(3 * size[0]), 184);
                planes.insert(planes.end(), static_cast<size_t>(size[0]), 126);
            }
            const int expected = static_cast<int>(SrgbEncode(184 / 1024.0) * 255);
            ExpectGrey(PictureOf(size[0], size[1], SELVANE_RGBE, pixels.data()), expected, automatic);
            ExpectGrey(PictureOf(size[0], size[1], SELVANE_RGBE_PLANES, planes.data()), expected, automatic);
        }
}

/// 16 bits out, each grey of a list, in all targets' spaces: within a step of 16 bits of the intensity.
TEST(Flat, SixteenBitsComeBackInEverySpace)
{
    for (int space = SELVANE_SRGB; space <= SELVANE_REC2020; space++)
        for (const int grey : {0, 300, 9000, 30000, 52000, 65535}) {
            const std::vector<uint16_t> samples(3, static_cast<uint16_t>(grey));
            selvane_picture picture = PictureOf(1, 1, SELVANE_U16, samples.data());
            picture.primaries = space;
            const tHandle handle = NewHandle();
            std::array<uint16_t, 3> seen{};
            selvane_target target = TargetOf(1, 1, SELVANE_U16, seen.data());
            target.space = space;
            ASSERT_DONE(handle.get(), selvane_set_picture(handle.get(), &picture));
            ASSERT_DONE(handle.get(), selvane_render(handle.get(), &target));
            const double linear = space == SELVANE_ADOBE_RGB  ? std::pow(grey / 65535.0, 2.2)
                                  : space == SELVANE_PROPHOTO ? std::pow(grey / 65535.0, 1.8)
                                  : space == SELVANE_REC2020  ? Rec2020Decode(grey / 65535.0)
                                                              : SrgbDecode(grey / 65535.0);
            const double slack = 4.0 / 65535; // truncations of three tables of 16 bits
            for (const uint16_t sample : seen) {
                EXPECT_GE(sample, EncodeIn(space, std::max(0.0, linear - slack)) * 65535 - 2) << space << ", " << grey;
                EXPECT_LE(sample, EncodeIn(space, std::min(1.0, linear + slack)) * 65535 + 1) << space << ", " << grey;
            }
        }
}

TEST(Flat, ExposureActsOnAFlatPicture)
{
    const std::array<float, 3> grey = {0.1f, 0.1f, 0.1f};
    const selvane_picture picture = PictureOf(1, 1, SELVANE_F32, grey.data());
    const tHandle handle = NewHandle();
    selvane_settings settings;
    selvane_settings_init(&settings);
    settings.exposure = 2;
    ASSERT_DONE(handle.get(), selvane_set_settings(handle.get(), &settings));
    ASSERT_DONE(handle.get(), selvane_set_picture(handle.get(), &picture));
    EXPECT_NEAR(RenderBytes(handle.get(), 1, 1)[0], static_cast<int>(SrgbEncode(0.4) * 255), 1);
}

TEST(Flat, PreviewsKeepTheGreyToo)
{
    const std::vector<float> samples(3 * 301 * 199, 0.2f);
    const selvane_picture picture = PictureOf(301, 199, SELVANE_F32, samples.data());
    const tHandle handle = NewHandle();
    ASSERT_DONE(handle.get(), selvane_set_picture(handle.get(), &picture));
    int32_t width = 0, height = 0;
    ASSERT_DONE(handle.get(), selvane_preview_size(handle.get(), 70, &width, &height));
    std::vector<uint8_t> bytes(3 * static_cast<size_t>(width * height));
    const selvane_target target = TargetOf(width, height, SELVANE_U8, bytes.data());
    ASSERT_DONE(handle.get(), selvane_preview(handle.get(), 70, &target));
    for (const uint8_t byte : bytes)
        ASSERT_NEAR(byte, SrgbEncode(0.2) * 255, 1);
}

} // namespace
} // namespace SelvaneTest
