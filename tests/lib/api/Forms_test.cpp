// A picture is the same in every form that it can have.

#include "Formulas.h"
#include "Pictures.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <set>

namespace SelvaneTest
{
namespace
{

constexpr int kWidth = 37, kHeight = 23;
constexpr int kFormats[] = {SELVANE_U8, SELVANE_U16, SELVANE_F16, SELVANE_F32};

/// The scene as samples of a format, four a pixel: red, green, blue, alpha.
std::vector<unsigned char> SamplesOf(int pFormat)
{
    std::vector<unsigned char> bytes;
    const auto add = [&](const auto pSample) {
        const auto* at = reinterpret_cast<const unsigned char*>(&pSample);
        bytes.insert(bytes.end(), at, at + sizeof pSample);
    };
    int index = 0;
    for (const float value : FloatScene(kWidth, kHeight, 4, 3.0)) {
        const double sample =
            index++ % 4 == 3 ? 0.2 + 0.7 * (index % 11) / 11.0 : std::min(1.0, 2.0 * static_cast<double>(value));
        if (pFormat == SELVANE_U8) add(static_cast<uint8_t>(sample * 255));
        if (pFormat == SELVANE_U16) add(static_cast<uint16_t>(sample * 65535));
        if (pFormat == SELVANE_F16) add(HalfBelow(sample));
        if (pFormat == SELVANE_F32) add(static_cast<float>(sample));
    }
    return bytes;
}

size_t BytesOf(int pFormat)
{
    return pFormat == SELVANE_U8 ? 1 : pFormat == SELVANE_F32 ? 4 : 2;
}

/// What a handle makes of a picture.
struct sSeen
{
    std::vector<float> fLuminance;
    std::vector<uint8_t> fBytes;
    bool operator==(const sSeen&) const = default;
};

sSeen See(const selvane_picture& pPicture)
{
    const tHandle handle = NewHandle();
    selvane_settings settings = PlainSettings();
    settings.white_clip = 10;
    sSeen seen;
    const auto pixels = static_cast<size_t>(pPicture.width) * static_cast<size_t>(pPicture.height);
    seen.fLuminance.resize(pixels);
    seen.fBytes.resize(4 * pixels);
    const selvane_target target = TargetOf(pPicture.width, pPicture.height, SELVANE_U8, seen.fBytes.data(), 4);
    EXPECT_DONE(handle.get(), selvane_set_threads(handle.get(), 2));
    EXPECT_DONE(handle.get(), selvane_set_settings(handle.get(), &settings));
    EXPECT_DONE(handle.get(), selvane_set_picture(handle.get(), &pPicture));
    EXPECT_DONE(handle.get(), selvane_render(handle.get(), &target));
    EXPECT_DONE(handle.get(), selvane_get_plane(handle.get(), SELVANE_PLANE_LUMINANCE, seen.fLuminance.data(), 0));
    return seen;
}

std::vector<float> LuminanceOf(const selvane_picture& pPicture)
{
    const tHandle handle = NewHandle();
    const selvane_settings settings = PlainSettings();
    std::vector<float> luminance(static_cast<size_t>(pPicture.width) * static_cast<size_t>(pPicture.height));
    EXPECT_DONE(handle.get(), selvane_set_settings(handle.get(), &settings));
    EXPECT_DONE(handle.get(), selvane_set_picture(handle.get(), &pPicture));
    EXPECT_DONE(handle.get(), selvane_get_plane(handle.get(), SELVANE_PLANE_LUMINANCE, luminance.data(), 0));
    return luminance;
}

/// Strides in samples.
struct sPlacing
{
    const char* fName;
    ptrdiff_t fRow, fPixel, fChannel;
};

std::vector<sPlacing> Placings(int pChannels)
{
    const ptrdiff_t n = pChannels, w = kWidth, h = kHeight;
    return {{"gaps between rows", n * w + 5, n, 1},
            {"gaps between pixels", (n + 3) * w, n + 3, 1},
            {"gaps between samples", 3 * n * w, 3 * n, 3},
            {"bottom up", -n * w, n, 1},
            {"bottom up with gaps", -(n + 1) * w - 7, n + 1, 1},
            {"right to left", n * w, -n, 1},
            {"samples backwards", n * w, n, -1},
            {"everything backwards", -n * w, -n, -1},
            {"planes", w, 1, w * h},
            {"planes, bottom up", -w, 1, w * h},
            {"planes of rows", n * w, 1, w},
            {"columns first", n, n * h, 1},
            {"planes backwards", w + 2, 1, -(w + 2) * h}};
}

/// The samples in a block of their own, everything else 0xA5. pFirst gets the place of the first sample.
std::vector<unsigned char> Placed(const std::vector<unsigned char>& pSamples, size_t pBytes, int pChannels,
                                  bool pBlueFirst, const sPlacing& pPlacing, size_t& pFirst)
{
    const auto lowest = [&](ptrdiff_t pStride, int pCount) { return std::min<ptrdiff_t>(0, pStride * (pCount - 1)); };
    const ptrdiff_t low =
        lowest(pPlacing.fRow, kHeight) + lowest(pPlacing.fPixel, kWidth) + lowest(pPlacing.fChannel, pChannels);
    const ptrdiff_t span = std::abs(pPlacing.fRow) * (kHeight - 1) + std::abs(pPlacing.fPixel) * (kWidth - 1) +
                           std::abs(pPlacing.fChannel) * (pChannels - 1) + 1;
    std::vector<unsigned char> block(static_cast<size_t>(span) * pBytes, 0xA5);
    pFirst = static_cast<size_t>(-low) * pBytes;
    for (int y = 0; y < kHeight; y++)
        for (int x = 0; x < kWidth; x++)
            for (int k = 0; k < pChannels; k++) {
                const int from = pBlueFirst && k < 3 ? 2 - k : k;
                const ptrdiff_t at = y * pPlacing.fRow + x * pPlacing.fPixel + k * pPlacing.fChannel - low;
                std::memcpy(block.data() + static_cast<size_t>(at) * pBytes,
                            pSamples.data() +
                                (static_cast<size_t>(y * kWidth + x) * 4 + static_cast<size_t>(from)) * pBytes,
                            pBytes);
            }
    return block;
}

void SetStrides(selvane_picture& pPicture, const sPlacing& pPlacing, size_t pBytes)
{
    const auto bytes = static_cast<ptrdiff_t>(pBytes);
    pPicture.row_stride = pPlacing.fRow * bytes;
    pPicture.pixel_stride = pPlacing.fPixel * bytes;
    pPicture.channel_stride = pPlacing.fChannel * bytes;
}

TEST(Forms, EveryStrideGivesThePlainPicture)
{
    for (const int format : kFormats)
        for (const int channels : {3, 4}) {
            const std::vector<unsigned char> samples = SamplesOf(format);
            size_t first = 0;
            const std::vector<unsigned char> plain =
                Placed(samples, BytesOf(format), channels, false, {"plain", channels * kWidth, channels, 1}, first);
            const sSeen expected = See(PictureOf(kWidth, kHeight, format, plain.data(), channels));
            for (const sPlacing& placing : Placings(channels))
                for (const int order : {SELVANE_RGB, SELVANE_BGR}) {
                    const std::vector<unsigned char> block =
                        Placed(samples, BytesOf(format), channels, order == SELVANE_BGR, placing, first);
                    selvane_picture picture = PictureOf(kWidth, kHeight, format, block.data() + first, channels);
                    SetStrides(picture, placing, BytesOf(format));
                    picture.order = order;
                    ASSERT_TRUE(See(picture) == expected)
                        << placing.fName << ", format " << format << ", channels " << channels << ", order " << order;
                }
        }
}

/// Sample n of a picture of shared exponents: three mantissas and an exponent a pixel.
std::vector<unsigned char> ExponentSamples()
{
    std::vector<unsigned char> bytes;
    std::mt19937 random(3);
    for (int i = 0; i < kWidth * kHeight; i++) {
        for (int k = 0; k < 3; k++)
            bytes.push_back(static_cast<unsigned char>(random() % 256));
        bytes.push_back(static_cast<unsigned char>(i % 29 == 0 ? 0 : 118 + random() % 20));
    }
    return bytes;
}

std::vector<float> ExponentValues(const std::vector<unsigned char>& pSamples)
{
    std::vector<float> values;
    for (size_t i = 0; i < pSamples.size(); i += 4)
        for (size_t k = 0; k < 3; k++)
            values.push_back(
                pSamples[i + 3] == 0 ? 0.0f : static_cast<float>(std::ldexp(pSamples[i + k], pSamples[i + 3] - 136)));
    return values;
}

TEST(Forms, ExponentsAreTheFloatsThatTheyStandFor)
{
    const std::vector<unsigned char> samples = ExponentSamples();
    const std::vector<float> values = ExponentValues(samples);
    const sSeen expected = See(PictureOf(kWidth, kHeight, SELVANE_F32, values.data()));
    EXPECT_TRUE(See(PictureOf(kWidth, kHeight, SELVANE_RGBE, samples.data())) == expected);
    size_t first = 0;
    for (const sPlacing& placing : {sPlacing{"gaps", 6 * kWidth + 3, 6, 1}, sPlacing{"bottom up", -4 * kWidth, 4, 1},
                                    sPlacing{"right to left", 4 * kWidth, -4, 1}})
        for (const bool blueFirst : {false, true}) {
            const std::vector<unsigned char> block = Placed(samples, 1, 4, blueFirst, placing, first);
            selvane_picture picture = PictureOf(kWidth, kHeight, SELVANE_RGBE, block.data() + first);
            picture.row_stride = placing.fRow;
            picture.pixel_stride = placing.fPixel;
            picture.order = blueFirst ? SELVANE_BGR : SELVANE_RGB;
            EXPECT_TRUE(See(picture) == expected) << placing.fName << (blueFirst ? ", blue first" : "");
        }
}

TEST(Forms, RowsOfExponentPlanesAreTheFloatsThatTheyStandFor)
{
    const std::vector<unsigned char> samples = ExponentSamples();
    const std::vector<float> values = ExponentValues(samples);
    const sSeen expected = See(PictureOf(kWidth, kHeight, SELVANE_F32, values.data()));
    size_t first = 0;
    for (const sPlacing& placing :
         {sPlacing{"plain", 4 * kWidth, 1, kWidth}, sPlacing{"gaps", 4 * kWidth + 9, 1, kWidth},
          sPlacing{"bottom up", -4 * kWidth, 1, kWidth}})
        for (const bool blueFirst : {false, true}) {
            const std::vector<unsigned char> block = Placed(samples, 1, 4, blueFirst, placing, first);
            selvane_picture picture = PictureOf(kWidth, kHeight, SELVANE_RGBE_PLANES, block.data() + first);
            picture.row_stride = placing.fRow;
            picture.order = blueFirst ? SELVANE_BGR : SELVANE_RGB;
            EXPECT_TRUE(See(picture) == expected) << placing.fName << (blueFirst ? ", blue first" : "");
        }
}

/// The plane has a logarithm for black too: that of the darkest luminance, 2^-128.
constexpr double kLeastLuminance = 0x1p-128;

// ---- Curves ---------------------------------------------------------------------------------------------------------

/// Expects log10 of pExpected(code) for each grey of a picture of 256 x n codes.
template <class tSample, class tExpected>
void ExpectGreys(int pFormat, const std::vector<tSample>& pGreys, int pPrimaries, int pTransfer, float pGamma,
                 const tExpected& pExpected)
{
    std::vector<tSample> samples;
    for (const tSample grey : pGreys)
        samples.insert(samples.end(), 3, grey);
    selvane_picture picture = PictureOf(256, static_cast<int>(pGreys.size() / 256), pFormat, samples.data());
    picture.primaries = pPrimaries;
    picture.transfer = pTransfer;
    picture.gamma = pGamma;
    picture.keep_hot_samples = 1;
    const std::vector<float> luminance = LuminanceOf(picture);
    for (size_t i = 0; i < pGreys.size(); i++) {
        const double expected = std::log10(std::max(kLeastLuminance, pExpected(i)));
        ASSERT_NEAR(static_cast<double>(luminance[i]), expected, 3e-6)
            << "sample " << i << ", primaries " << pPrimaries << ", transfer " << pTransfer;
    }
}

template <class tSample>
std::vector<tSample> AllCodes()
{
    std::vector<tSample> codes(size_t{1} << (8 * sizeof(tSample)));
    for (size_t i = 0; i < codes.size(); i++)
        codes[i] = static_cast<tSample>(i);
    return codes;
}

/// All curves of integers, as functions of 0 to 1.
struct sCurveCase
{
    int fPrimaries, fTransfer;
    float fGamma;
    double (*fDecode)(double);
};

const sCurveCase kCurves[] = {
    {SELVANE_SRGB, SELVANE_TRANSFER_DEFAULT, 0, SrgbDecode},
    {SELVANE_DISPLAY_P3, SELVANE_TRANSFER_DEFAULT, 0, SrgbDecode},
    {SELVANE_ADOBE_RGB, SELVANE_TRANSFER_DEFAULT, 0, [](double v) { return std::pow(v, 2.2); }},
    {SELVANE_PROPHOTO, SELVANE_TRANSFER_DEFAULT, 0, [](double v) { return std::pow(v, 1.8); }},
    {SELVANE_REC2020, SELVANE_TRANSFER_DEFAULT, 0, Rec2020Decode},
    {SELVANE_ACES_AP0, SELVANE_TRANSFER_DEFAULT, 0, [](double v) { return v; }},
    {SELVANE_ACES_AP1, SELVANE_TRANSFER_DEFAULT, 0, [](double v) { return v; }},
    {SELVANE_SRGB, SELVANE_TRANSFER_LINEAR, 0, [](double v) { return v; }},
    {SELVANE_REC2020, SELVANE_TRANSFER_SRGB, 0, SrgbDecode},
    {SELVANE_SRGB, SELVANE_TRANSFER_REC2020, 0, Rec2020Decode},
    {SELVANE_SRGB, SELVANE_TRANSFER_POWER, 2.5f, [](double v) { return std::pow(v, 2.5); }},
    {SELVANE_ADOBE_RGB, SELVANE_TRANSFER_POWER, 0.5f, [](double v) { return std::sqrt(v); }},
};

TEST(Forms, IntegersGoThroughTheCurveOfTheirTransfer)
{
    for (const sCurveCase& one : kCurves) {
        ExpectGreys(SELVANE_U8, AllCodes<uint8_t>(), one.fPrimaries, one.fTransfer, one.fGamma,
                    [&](size_t code) { return one.fDecode(static_cast<double>(code) / 255); });
        ExpectGreys(SELVANE_U16, AllCodes<uint16_t>(), one.fPrimaries, one.fTransfer, one.fGamma,
                    [&](size_t code) { return one.fDecode(static_cast<double>(code) / 65535); });
    }
}

TEST(Forms, TheEnginesTransferDividesByAPowerOfTwo)
{
    for (const int primaries : {SELVANE_SRGB, SELVANE_ADOBE_RGB, SELVANE_PROPHOTO}) {
        const double gamma = primaries == SELVANE_PROPHOTO ? 1.8 : 2.2;
        ExpectGreys(SELVANE_U8, AllCodes<uint8_t>(), primaries, SELVANE_TRANSFER_ENGINE, 0,
                    [&](size_t code) { return std::pow(static_cast<double>(code) / 256, gamma); });
        ExpectGreys(SELVANE_U16, AllCodes<uint16_t>(), primaries, SELVANE_TRANSFER_ENGINE, 0,
                    [&](size_t code) { return std::pow(static_cast<double>(code) / 65536, gamma); });
    }
}

TEST(Forms, HalvesAreTheValuesOfTheirStandard)
{
    std::vector<uint16_t> codes(0x7C00); // all that are finite and not negative
    for (size_t i = 0; i < codes.size(); i++)
        codes[i] = static_cast<uint16_t>(i);
    for (const int primaries : {SELVANE_SRGB, SELVANE_PROPHOTO, SELVANE_ACES_AP1})
        ExpectGreys(SELVANE_F16, codes, primaries, SELVANE_TRANSFER_DEFAULT, 0,
                    [](size_t code) { return HalfValue(static_cast<unsigned>(code)); });
}

TEST(Forms, FloatsAreLinearUnlessATransferIsGiven)
{
    std::vector<float> values(1024); // 1e-8 to 1e8
    for (size_t i = 0; i < values.size(); i++)
        values[i] = static_cast<float>(std::pow(10.0, static_cast<double>(i) / 64.0 - 8.0));
    const auto value = [&](size_t i) { return static_cast<double>(values[i]); };
    for (int primaries = SELVANE_SRGB; primaries <= SELVANE_ACES_AP1; primaries++)
        ExpectGreys(SELVANE_F32, values, primaries, SELVANE_TRANSFER_DEFAULT, 0, value);
    ExpectGreys(SELVANE_F32, values, SELVANE_SRGB, SELVANE_TRANSFER_SRGB, 0,
                [&](size_t i) { return SrgbDecode(value(i)); });
    ExpectGreys(SELVANE_F32, values, SELVANE_SRGB, SELVANE_TRANSFER_REC2020, 0,
                [&](size_t i) { return Rec2020Decode(value(i)); });
    ExpectGreys(SELVANE_F32, values, SELVANE_SRGB, SELVANE_TRANSFER_POWER, 1.5f,
                [&](size_t i) { return std::pow(value(i), 1.5); });
}

// ---- Primaries ------------------------------------------------------------------------------------------------------

/// Eight pixels: the corners of the cube of colours, two levels.
std::vector<float> Corners()
{
    std::vector<float> samples;
    for (int i = 0; i < 16; i++)
        for (int k = 0; k < 3; k++)
            samples.push_back((i >> k & 1) != 0 ? (i < 8 ? 1.0f : 0.1f) : 0.0f);
    return samples;
}

TEST(Forms, LuminanceIsThatOfThePrimaries)
{
    const std::vector<float> samples = Corners();
    for (int primaries = SELVANE_SRGB; primaries <= SELVANE_ACES_AP1; primaries++) {
        selvane_picture picture = PictureOf(16, 1, SELVANE_F32, samples.data());
        picture.primaries = primaries;
        const std::vector<float> luminance = LuminanceOf(picture);
        const tMatrix matrix = ToXYZ(kChromaticities[primaries]);
        for (size_t i = 0; i < 16; i++) {
            double expected = 0;
            for (size_t k = 0; k < 3; k++)
                expected += matrix[1][k] * static_cast<double>(samples[3 * i + k]);
            const double seen = std::pow(10.0, static_cast<double>(luminance[i]));
            EXPECT_NEAR(seen, std::max(expected, 1e-10), 1e-4) << "primaries " << primaries << ", pixel " << i;
        }
    }
}

/// From the tables of the standards: the luminance of red and green under D65, adapted to D50.
TEST(Forms, LuminanceOfSrgbIsThePublishedOne)
{
    const std::vector<float> samples = {1, 0, 0, 0, 1, 0, 0, 0, 1};
    const std::vector<float> luminance = LuminanceOf(PictureOf(3, 1, SELVANE_F32, samples.data()));
    EXPECT_NEAR(std::pow(10.0, static_cast<double>(luminance[0])), 0.2225, 1e-4);
    EXPECT_NEAR(std::pow(10.0, static_cast<double>(luminance[1])), 0.7169, 1e-4);
    EXPECT_NEAR(std::pow(10.0, static_cast<double>(luminance[2])), 0.0606, 1e-4);
}

TEST(Forms, ChromaticitiesOfASpaceGiveTheSpace)
{
    const std::vector<float> scene = FloatScene(kWidth, kHeight);
    for (int primaries = SELVANE_SRGB; primaries <= SELVANE_ACES_AP1; primaries++) {
        selvane_picture named = PictureOf(kWidth, kHeight, SELVANE_F32, scene.data());
        named.primaries = primaries;
        selvane_picture custom = named;
        custom.primaries = SELVANE_CUSTOM;
        for (size_t i = 0; i < 8; i++)
            custom.chromaticities[i] = static_cast<float>(kChromaticities[primaries][i]);
        const sSeen one = See(named), other = See(custom);
        for (size_t i = 0; i < one.fLuminance.size(); i++)
            ASSERT_NEAR(one.fLuminance[i], other.fLuminance[i], 2e-5) << "primaries " << primaries;
        for (size_t i = 0; i < one.fBytes.size(); i++)
            ASSERT_NEAR(one.fBytes[i], other.fBytes[i], 1) << "primaries " << primaries;
    }
}

/// Linear ProPhoto, straight out again. Flat, so that only colour is at work.
TEST(Forms, ColoursComeOutAsTheyWentIn)
{
    for (int primaries = SELVANE_SRGB; primaries <= SELVANE_ACES_AP1; primaries++) {
        const std::array<float, 3> colour = {0.45f, 0.40f, 0.35f};
        const tMatrix across = Times(Inverse(ToXYZ(kChromaticities[SELVANE_SRGB])), ToXYZ(kChromaticities[primaries]));
        const tVector expected = Times(across, tVector{0.45, 0.40, 0.35});
        selvane_picture picture = PictureOf(1, 1, SELVANE_F32, colour.data());
        picture.primaries = primaries;
        const tHandle handle = NewHandle();
        std::array<float, 3> seen{};
        selvane_target target = TargetOf(1, 1, SELVANE_F32, seen.data());
        target.linear = 1;
        ASSERT_DONE(handle.get(), selvane_set_picture(handle.get(), &picture));
        ASSERT_DONE(handle.get(), selvane_render(handle.get(), &target));
        for (size_t k = 0; k < 3; k++)
            EXPECT_NEAR(static_cast<double>(seen[k]), expected[k], 3e-4)
                << "primaries " << primaries << ", channel " << k;
    }
}

// ---- Precision ------------------------------------------------------------------------------------------------------

std::vector<int> Greens(const selvane_picture& pPicture)
{
    const tHandle handle = NewHandle();
    std::vector<uint16_t> samples(3 * static_cast<size_t>(pPicture.width) * static_cast<size_t>(pPicture.height));
    const selvane_target target = TargetOf(pPicture.width, pPicture.height, SELVANE_U16, samples.data());
    EXPECT_DONE(handle.get(), selvane_set_picture(handle.get(), &pPicture));
    EXPECT_DONE(handle.get(), selvane_render(handle.get(), &target));
    std::vector<int> greens;
    for (size_t i = 1; i < samples.size(); i += 3)
        greens.push_back(samples[i]);
    return greens;
}

size_t Distinct(const std::vector<int>& pValues)
{
    return std::set<int>(pValues.begin(), pValues.end()).size();
}

/// How often a value lies on the wrong side of the one before, in a row that falls. The pixels of a row only.
size_t Reversals(const std::vector<int>& pValues, size_t pWidth)
{
    size_t reversals = 0;
    for (size_t i = 1; i < pValues.size(); i++)
        reversals += i % pWidth != 0 && pValues[i] > pValues[i - 1] ? 1u : 0u;
    return reversals;
}

/// Ten stops that fall over a row of 8192 pixels: neighbours differ by 0.00085 of their value, and a mantissa of 8
/// bits by 0.004 to 0.008. So exponents go in steps of 5 to 10 pixels, and the smooth base layer under them makes a
/// saw of it.
TEST(Forms, FloatsKeepTheirPrecision)
{
    constexpr int kColumns = 8192, kRows = 4;
    std::vector<float> floats;
    std::vector<unsigned char> exponents;
    for (int y = 0; y < kRows; y++)
        for (int x = 0; x < kColumns; x++) {
            const double value = std::exp2(-10.0 * (x + 0.5) / kColumns);
            int exponent = 0;
            const double mantissa = std::frexp(value, &exponent);
            floats.insert(floats.end(), 3, static_cast<float>(value));
            exponents.insert(exponents.end(), 3, static_cast<unsigned char>(mantissa * 256));
            exponents.push_back(static_cast<unsigned char>(exponent + 128));
        }
    const std::vector<int> ofFloats = Greens(PictureOf(kColumns, kRows, SELVANE_F32, floats.data()));
    const std::vector<int> ofExponents = Greens(PictureOf(kColumns, kRows, SELVANE_RGBE, exponents.data()));
    std::printf("16-bit values: %zu of floats, %zu of exponents; against the gradient: %zu and %zu\n",
                Distinct(ofFloats), Distinct(ofExponents), Reversals(ofFloats, kColumns),
                Reversals(ofExponents, kColumns));
    EXPECT_GT(Distinct(ofFloats), Distinct(ofExponents));
    EXPECT_GT(Distinct(ofFloats), kColumns * 8 / 10u);
    EXPECT_EQ(Reversals(ofFloats, kColumns), 0u);
    EXPECT_GT(Reversals(ofExponents, kColumns), 1000u);
}

} // namespace
} // namespace SelvaneTest
