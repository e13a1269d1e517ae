// Dark samples that resampling leaves around lights.

#include "Pictures.h"

#include <algorithm>
#include <array>
#include <map>

namespace SelvaneTest
{
namespace
{

/// A picture of one level, but for a lamp, without which the few bright pixels of a test would be hot ones.
struct sFloats
{
    int fWidth, fHeight;
    std::vector<float> fSamples;
    std::vector<float> fAlpha; ///< empty: all pixels count

    sFloats(int pWidth, int pHeight, float pLevel)
        : fWidth(pWidth), fHeight(pHeight), fSamples(3 * static_cast<size_t>(pWidth * pHeight), pLevel)
    {
        if (pHeight < 30) return;
        for (int y = 22; y < 27; y++)
            for (int x = 4; x < 9; x++)
                Set(x, y, 1000.0f);
    }

    bool Counts(int pX, int pY) const
    {
        if (pX < 0 || pY < 0 || pX >= fWidth || pY >= fHeight) return false;
        return fAlpha.empty() || fAlpha[static_cast<size_t>(pY * fWidth + pX)] > 0.0f;
    }
    float& At(int pX, int pY, int pChannel)
    {
        return fSamples[3 * static_cast<size_t>(pY * fWidth + pX) + static_cast<size_t>(pChannel)];
    }
    float At(int pX, int pY, int pChannel) const { return const_cast<sFloats*>(this)->At(pX, pY, pChannel); }
    void Set(int pX, int pY, float pValue)
    {
        for (int channel = 0; channel < 3; channel++)
            At(pX, pY, channel) = pValue;
    }
};

/// What a sample becomes, told sample by sample.
float Expected(const sFloats& pPicture, int pX, int pY, int pChannel)
{
    const float sample = pPicture.At(pX, pY, pChannel);
    if (!pPicture.Counts(pX, pY)) return sample;
    std::vector<float> beside;
    for (int y = pY - 1; y <= pY + 1; y++)
        for (int x = pX - 1; x <= pX + 1; x++)
            if (x != pX || y != pY) beside.push_back(pPicture.Counts(x, y) ? pPicture.At(x, y, pChannel) : sample);
    std::sort(beside.begin(), beside.end());
    return sample < beside[4] / 100 && beside[7] > 2 * beside[4] ? beside[4] : sample;
}

struct sSeen
{
    std::vector<uint8_t> fBytes;
    int64_t fFilled = 0;
};

sSeen Rendered(const sFloats& pPicture, int pKeep, int pThreads = 1)
{
    const int channels = pPicture.fAlpha.empty() ? 3 : 4;
    std::vector<float> samples;
    for (size_t pixel = 0; pixel < pPicture.fSamples.size() / 3; pixel++) {
        samples.insert(samples.end(), &pPicture.fSamples[3 * pixel], &pPicture.fSamples[3 * pixel] + 3);
        if (channels == 4) samples.push_back(pPicture.fAlpha[pixel]);
    }
    const tHandle handle = NewHandle();
    const selvane_settings settings = PlainSettings();
    EXPECT_DONE(handle.get(), selvane_set_threads(handle.get(), pThreads));
    EXPECT_DONE(handle.get(), selvane_set_settings(handle.get(), &settings));
    selvane_picture picture = PictureOf(pPicture.fWidth, pPicture.fHeight, SELVANE_F32, samples.data(), channels);
    picture.keep_hot_samples = pKeep;
    EXPECT_DONE(handle.get(), selvane_set_picture(handle.get(), &picture));
    sSeen seen{RenderBytes(handle.get(), pPicture.fWidth, pPicture.fHeight), 0};
    selvane_report report{};
    report.struct_size = sizeof report;
    EXPECT_DONE(handle.get(), selvane_get_report(handle.get(), &report));
    seen.fFilled = report.filled_samples;
    return seen;
}

/// The picture gives the bytes of one whose specks were filled by hand, and counts them.
void ExpectFilled(const sFloats& pPicture, int64_t pLeast, int64_t pMost, int pThreads = 1)
{
    sFloats filled = pPicture;
    int64_t count = 0;
    for (int y = 0; y < pPicture.fHeight; y++)
        for (int x = 0; x < pPicture.fWidth; x++)
            for (int channel = 0; channel < 3; channel++) {
                const float expected = Expected(pPicture, x, y, channel);
                count += expected != pPicture.At(x, y, channel) ? 1 : 0;
                filled.At(x, y, channel) = expected;
            }
    const sSeen seen = Rendered(pPicture, 0, pThreads);
    EXPECT_GE(count, pLeast);
    EXPECT_LE(count, pMost);
    EXPECT_EQ(seen.fFilled, count);
    EXPECT_TRUE(seen.fBytes == Rendered(filled, 1, pThreads).fBytes);
    const sSeen kept = Rendered(pPicture, 1, pThreads);
    EXPECT_EQ(kept.fFilled, 0);
    EXPECT_EQ(kept.fBytes == seen.fBytes, count == 0);
}

/// A sun of 2 x 2 pixels in a sky, with the ring of a filter that undershoots: 12 pixels.
sFloats Sun(int pWidth, int pHeight, int pX, int pY)
{
    sFloats picture(pWidth, pHeight, 10.0f);
    for (int y = 0; y < 4; y++)
        for (int x = 0; x < 4; x++)
            picture.Set(pX + x, pY + y, x % 3 > 0 && y % 3 > 0 ? 300.0f : 0.001f * static_cast<float>(x));
    return picture;
}

TEST(DarkSpecks, OfARingAroundASunAreFilled)
{
    ExpectFilled(Sun(40, 30, 17, 11), 12, 3 * 12);
}

TEST(DarkSpecks, OfOneChannelAreFilledInIt)
{
    sFloats picture(40, 30, 10.0f);
    picture.Set(20, 15, 100.0f);
    picture.At(21, 15, 1) = 0.0f;
    ExpectFilled(picture, 1, 1);
}

TEST(DarkSpecks, AreDarkerThanAHundredthOfMostNeighbours)
{
    for (const bool dark : {true, false}) {
        sFloats picture(40, 30, 16.0f);
        picture.Set(20, 15, 100.0f);
        picture.Set(21, 15, dark ? 0.15999f : 0.16001f);
        ExpectFilled(picture, dark ? 3 : 0, dark ? 3 : 0);
    }
}

TEST(DarkSpecks, AreBesideALight)
{
    for (const float light : {31.9f, 32.0f, 32.1f}) {
        sFloats picture(40, 30, 16.0f);
        picture.Set(20, 15, light);
        picture.Set(21, 15, 0.0f);
        ExpectFilled(picture, light > 32 ? 3 : 0, light > 32 ? 3 : 0);
    }
}

/// Four dark neighbours do no harm, five make a shape of it.
TEST(DarkSpecks, HaveAtMostFourDarkNeighbours)
{
    for (int dark = 0; dark <= 6; dark++) {
        sFloats picture(5, 5, 16.0f);
        const int around[][2] = {{1, 1}, {2, 1}, {3, 1}, {1, 2}, {3, 2}, {1, 3}};
        for (int i = 0; i < dark; i++)
            picture.Set(around[i][0], around[i][1], 0.0f);
        picture.Set(2, 3, 100.0f);
        picture.Set(2, 2, 0.01f);
        EXPECT_EQ(Expected(picture, 2, 2, 0) == 16.0f, dark <= 4) << dark;
        ExpectFilled(picture, dark <= 4 ? 3 : 0, 75);
    }
}

/// A black wire of one pixel in front of a lamp.
TEST(DarkSpecks, AreNoLines)
{
    sFloats picture(40, 30, 1.0f);
    for (int y = 10; y < 20; y++)
        for (int x = 10; x < 20; x++)
            picture.Set(x, y, 1.9f);
    for (int y = 0; y < 30; y++)
        picture.Set(15, y, 0.0f);
    ExpectFilled(picture, 0, 0);
}

/// In a corner five neighbours are missing, at an edge three.
TEST(DarkSpecks, InCornersStayAndAtEdgesAreFilled)
{
    for (const int x : {0, 39})
        for (const int y : {0, 29}) {
            sFloats corner(40, 30, 10.0f);
            corner.Set(x, y, 0.0f);
            corner.Set(x == 0 ? 1 : 38, y, 200.0f);
            ExpectFilled(corner, 0, 0);
        }
    const int edges[][2] = {{0, 15}, {39, 15}, {20, 0}, {20, 29}};
    for (const auto& [x, y] : edges) {
        sFloats edge(40, 30, 10.0f);
        edge.Set(x, y, 0.0f);
        edge.Set(x == 20 ? 21 : x, x == 20 ? y : 16, 200.0f);
        ExpectFilled(edge, 3, 3);
    }
}

/// What alpha 0 hides is neither dark nor bright.
TEST(DarkSpecks, DoNotSeeHiddenPixels)
{
    for (const bool hidden : {false, true}) {
        sFloats picture(40, 30, 10.0f);
        picture.fAlpha.assign(40 * 30, 0.5f);
        picture.Set(20, 15, 0.0f);
        picture.Set(21, 15, 200.0f);
        if (hidden) picture.fAlpha[15 * 40 + 21] = 0.0f;
        ExpectFilled(picture, hidden ? 0 : 3, hidden ? 0 : 3);
    }
    sFloats speck(40, 30, 10.0f); // a hidden speck is filled by nobody
    speck.fAlpha.assign(40 * 30, 1.0f);
    speck.Set(20, 15, 0.0f);
    speck.Set(21, 15, 200.0f);
    speck.fAlpha[15 * 40 + 20] = 0.0f;
    EXPECT_EQ(Rendered(speck, 0).fFilled, 0);
}

/// Rows are read in tiles and columns in parts: specks on every border of both.
TEST(DarkSpecks, AreFoundWhateverTheThreads)
{
    sFloats picture(4100, 48, 10.0f);
    std::mt19937 random(3);
    for (float& sample : picture.fSamples) {
        const unsigned kind = random() % 16;
        sample = kind == 0 ? 500.0f : kind < 4 ? 0.0f : 5.0f + static_cast<float>(random() % 100);
    }
    for (const int threads : {1, 2, 5})
        ExpectFilled(picture, 1000, 4100 * 48 * 3, threads);
}

TEST(DarkSpecks, OfHalvesAndExponentsAreFilledAndOfIntegersNot)
{
    constexpr int kWidth = 40, kHeight = 30;
    std::vector<uint16_t> halves(3 * kWidth * kHeight, 0x4900); // 10
    std::vector<unsigned char> exponents;
    for (int i = 0; i < kWidth * kHeight; i++)
        exponents.insert(exponents.end(), {160, 160, 160, 132});
    std::vector<uint16_t> integers(3 * kWidth * kHeight, 2000);
    for (size_t i = 0; i < 3; i++) {
        halves[1500 + i] = 0x5A40; // 200
        halves[1503 + i] = 0;
        exponents[2000 + i] = 250;
        exponents[2004 + i] = 0;
        integers[1500 + i] = 65535;
        integers[1503 + i] = 0;
    }
    exponents[2003] = 137;
    const std::map<int, const void*> pictures = {
        {SELVANE_F16, halves.data()}, {SELVANE_RGBE, exponents.data()}, {SELVANE_U16, integers.data()}};
    for (const auto& [format, samples] : pictures) {
        const tHandle handle = NewHandle();
        const selvane_picture picture = PictureOf(kWidth, kHeight, format, samples);
        EXPECT_DONE(handle.get(), selvane_set_picture(handle.get(), &picture));
        selvane_report report{};
        report.struct_size = sizeof report;
        EXPECT_DONE(handle.get(), selvane_get_report(handle.get(), &report));
        EXPECT_EQ(report.filled_samples, format == SELVANE_U16 ? 0 : 3) << format;
    }
}

} // namespace
} // namespace SelvaneTest
