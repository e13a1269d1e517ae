// The picture before, on the page of explain: a photograph as its light is, a scene as a camera would expose it.

#include "host/command/CommandTest.h"

#include <algorithm>
#include <cmath>
#include <glib.h>
#include <memory>

namespace
{

using namespace SelvaneTest;

constexpr int kPatch = 32; ///< pixels: a side of four even patches, which JPEG keeps but for roundings

/// A picture of four patches of one colour each.
tBytes Patches(const std::vector<tBytes>& pColors)
{
    tBytes samples;
    for (int y = 0; y < 2 * kPatch; y++)
        for (int x = 0; x < 2 * kPatch; x++) {
            const tBytes& color = pColors[static_cast<size_t>(2 * (y / kPatch) + x / kPatch)];
            samples.insert(samples.end(), color.begin(), color.end());
        }
    return samples;
}

class Before : public Command
{
protected:
    /// The picture before, out of the page of a file.
    sFound Of(const std::string& pInput, const std::vector<std::string>& pMore = {}) const
    {
        std::vector<std::string> words = {
            "explain", pInput, "-o", fFolder / "page.html", "--report", fFolder / "report.json"};
        words.insert(words.end(), pMore.begin(), pMore.end());
        const sRun run = Selvane(words);
        EXPECT_EQ(run.fStatus, 0) << run.fErr;
        const tBytes bytes = ReadAll(fFolder / "page.html");
        const std::string page(bytes.begin(), bytes.end());
        const std::string mark = "id=\"before\" src=\"data:image/jpeg;base64,";
        const size_t begin = page.find(mark) + mark.size();
        gsize size = 0;
        const std::unique_ptr<unsigned char, decltype(&g_free)> jpeg(
            g_base64_decode(page.substr(begin, page.find('"', begin) - begin).c_str(), &size), g_free);
        WriteAll(fFolder / "before.jpg", tBytes(jpeg.get(), jpeg.get() + size));
        return Look(fFolder / "before.jpg");
    }

    /// Expects the colours in the middle of the patches, to two steps of 255.
    static void ExpectPatches(const sFound& pFound, const std::vector<tBytes>& pColors)
    {
        ASSERT_EQ(pFound.fWidth, 2 * kPatch);
        for (size_t patch = 0; patch < 4; patch++) {
            const size_t x = kPatch / 2 + kPatch * (patch % 2), y = kPatch / 2 + kPatch * (patch / 2);
            for (size_t c = 0; c < 3; c++)
                EXPECT_NEAR(pFound.fPixels[3 * (y * 2 * kPatch + x) + c], pColors[patch][c], 2) << patch << c;
        }
    }
};

const std::vector<tBytes> kColors = {{20, 20, 20}, {200, 60, 50}, {60, 90, 180}, {250, 240, 200}};

/// The engine takes the power 2.2 of a sample / 256 for light. The page has the curve of sRGB.
unsigned char Shown(unsigned char pSample)
{
    const double light = std::pow(pSample / 256.0, 2.2);
    const double encoded = light <= 0.0031308 ? 12.92 * light : 1.055 * std::pow(light, 1.0 / 2.4) - 0.055;
    return static_cast<unsigned char>(std::lround(255.0 * encoded));
}

TEST_F(Before, APhotographIsShownWithoutExposure)
{
    Store(Png(), Patches(kColors).data(), 2 * kPatch, 2 * kPatch, Rgb8());
    std::vector<tBytes> expected = kColors;
    for (tBytes& color : expected)
        std::ranges::transform(color, color.begin(), Shown);
    EXPECT_EQ(expected[0], (tBytes{12, 12, 12}));
    ExpectPatches(Of(Png()), expected);
}

/// PQ and HLG are exposed like floats. The logarithmic mean of one grey is that grey: it becomes 18 per cent, the
/// sample 118 of sRGB.
TEST_F(Before, IntegersThatAreSceneLightAreExposed)
{
    const tBytes dark = {40, 40, 40};
    Store(Png(), Patches({dark, dark, dark, dark}).data(), 2 * kPatch, 2 * kPatch, Rgb8());
    const tBytes middle = {118, 118, 118};
    for (const char* space : {"hlg", "pq"})
        ExpectPatches(Of(Png(), {"--input-space", space}), {middle, middle, middle, middle});
}

} // namespace
