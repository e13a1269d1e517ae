// Previews: their sizes, and that they look like the large picture.

#include "Formulas.h"
#include "Pictures.h"

#include <algorithm>
#include <climits>
#include <cstdio>
#include <fstream>
#include <sstream>

namespace SelvaneTest
{
namespace
{

tHandle HandleOf(int pWidth, int pHeight, const std::vector<float>& pSamples)
{
    tHandle handle = NewHandle();
    const selvane_picture picture = PictureOf(pWidth, pHeight, SELVANE_F32, pSamples.data());
    EXPECT_DONE(handle.get(), selvane_set_threads(handle.get(), 2));
    EXPECT_DONE(handle.get(), selvane_set_picture(handle.get(), &picture));
    return handle;
}

struct sPreview
{
    int fWidth, fHeight;
    std::vector<uint8_t> fBytes;
    bool operator==(const sPreview&) const = default;
};

sPreview PreviewOf(selvane* pHandle, int pLongest)
{
    sPreview preview{};
    EXPECT_DONE(pHandle, selvane_preview_size(pHandle, pLongest, &preview.fWidth, &preview.fHeight));
    preview.fBytes.resize(3 * static_cast<size_t>(preview.fWidth) * static_cast<size_t>(preview.fHeight));
    const selvane_target target = TargetOf(preview.fWidth, preview.fHeight, SELVANE_U8, preview.fBytes.data());
    EXPECT_DONE(pHandle, selvane_preview(pHandle, pLongest, &target));
    return preview;
}

TEST(Previews, HaveTheSizeOfTheLongerSide)
{
    const struct
    {
        int fWidth, fHeight, fLongest, fNewWidth, fNewHeight;
    } cases[] = {{300, 200, 150, 150, 100},     {200, 300, 150, 100, 150}, {300, 200, 100, 100, 67}, // 66.7
                 {300, 200, 1, 1, 1},           {300, 200, 300, 300, 200}, {300, 200, 301, 300, 200},
                 {300, 200, INT_MAX, 300, 200}, {300, 1, 10, 10, 1},       {1, 300, 7, 1, 7},
                 {200, 300, 100, 67, 100},      {1, 1, 1, 1, 1},           {300, 2, 100, 100, 1},
                 {299, 101, 64, 64, 22}}; // 21.6
    for (const auto& one : cases) {
        const tHandle handle = HandleOf(one.fWidth, one.fHeight, FloatScene(one.fWidth, one.fHeight));
        const sPreview preview = PreviewOf(handle.get(), one.fLongest);
        EXPECT_EQ(preview.fWidth, one.fNewWidth) << one.fWidth << " x " << one.fHeight << " to " << one.fLongest;
        EXPECT_EQ(preview.fHeight, one.fNewHeight) << one.fWidth << " x " << one.fHeight << " to " << one.fLongest;
    }
}

TEST(Previews, OfTheWholeSizeAreTheRender)
{
    const tHandle handle = HandleOf(130, 90, FloatScene(130, 90));
    EXPECT_TRUE(PreviewOf(handle.get(), 130).fBytes == RenderBytes(handle.get(), 130, 90));
    EXPECT_TRUE(PreviewOf(handle.get(), 5000).fBytes == RenderBytes(handle.get(), 130, 90));
}

/// A handle keeps three sizes. Others come and go, and all are right.
TEST(Previews, OfManySizesAreAllRight)
{
    const std::vector<float> scene = FloatScene(400, 260);
    const tHandle handle = HandleOf(400, 260, scene);
    constexpr int kLongest[] = {60, 80, 100, 120, 140, 60, 60, 100, 399, 140, 400, 20};
    for (const int longest : kLongest) {
        const tHandle fresh = HandleOf(400, 260, scene);
        EXPECT_TRUE(PreviewOf(handle.get(), longest) == PreviewOf(fresh.get(), longest)) << longest;
    }
    selvane_report report{};
    report.struct_size = sizeof report;
    EXPECT_DONE(handle.get(), selvane_get_report(handle.get(), &report));
    EXPECT_GT(report.white_point, 0.0f);
}

/// Pixels of a preview are means of light: a chequerboard of 0.1 and 0.3 on the left is the 0.2 on the right.
TEST(Previews, AreMeansOfLight)
{
    std::vector<float> samples;
    for (int i = 0; i < 200 * 100; i++)
        samples.insert(samples.end(), 3, i % 200 >= 100 ? 0.2f : (i % 200 + i / 200) % 2 == 0 ? 0.1f : 0.3f);
    const tHandle handle = HandleOf(200, 100, samples);
    const sPreview preview = PreviewOf(handle.get(), 50);
    for (const uint8_t byte : preview.fBytes)
        ASSERT_NEAR(byte, preview.fBytes[0], 2);
}

// ---- Likeness -------------------------------------------------------------------------------------------------------

int EdgeOf(int pAt, int pNew, int pOld)
{
    return static_cast<int>(int64_t{pAt} * pOld / pNew);
}

/// Means of light over the boxes that the preview's pixels stand for, as sRGB bytes.
std::vector<double> Reduced(const std::vector<uint8_t>& pBytes, int pWidth, int pHeight, const sPreview& pPreview)
{
    std::vector<double> light;
    for (int byte = 0; byte < 256; byte++)
        light.push_back(SrgbDecode(byte / 255.0));
    std::vector<double> sums(pPreview.fBytes.size());
    std::vector<double> counts(sums.size());
    for (int y = 0, v = 0; y < pPreview.fHeight; y++)
        for (; v < EdgeOf(y + 1, pPreview.fHeight, pHeight); v++)
            for (int x = 0, u = 0; x < pPreview.fWidth; x++)
                for (; u < EdgeOf(x + 1, pPreview.fWidth, pWidth); u++)
                    for (int k = 0; k < 3; k++) {
                        const auto to = static_cast<size_t>(3 * (y * pPreview.fWidth + x) + k);
                        sums[to] += light[pBytes[static_cast<size_t>(3 * (v * pWidth + u) + k)]];
                        counts[to]++;
                    }
    for (size_t i = 0; i < sums.size(); i++)
        sums[i] = SrgbEncode(sums[i] / counts[i]) * 255;
    return sums;
}

double DifferenceOf(int pWidth, int pHeight, const std::vector<float>& pSamples, int pLongest)
{
    const tHandle handle = HandleOf(pWidth, pHeight, pSamples);
    const sPreview preview = PreviewOf(handle.get(), pLongest);
    const std::vector<double> expected = Reduced(RenderBytes(handle.get(), pWidth, pHeight), pWidth, pHeight, preview);
    double sum = 0;
    for (size_t i = 0; i < expected.size(); i++)
        sum += std::abs(expected[i] - preview.fBytes[i]);
    return sum / static_cast<double>(expected.size());
}

TEST(Previews, LookLikeTheLargePicture)
{
    for (const double decades : {2.0, 4.0, 6.0})
        for (const int longest : {1024, 512, 256}) {
            const double difference = DifferenceOf(1600, 1060, FloatScene(1600, 1060, 3, decades), longest);
            std::printf("%.0f decades, preview of %d: mean absolute difference %.2f\n", decades, longest, difference);
            EXPECT_LT(difference, 2.0) << decades << " decades, " << longest;
        }
}

/// Reads a file of floats: "PF", width, height, a scale below 0 for the order of bytes, rows from the bottom up.
std::vector<float> ReadFloats(const std::string& pName, int& pWidth, int& pHeight)
{
    std::ifstream file(pName, std::ios::binary);
    std::string kind;
    double scale = 0;
    file >> kind >> pWidth >> pHeight >> scale;
    file.get();
    if (kind != "PF" || scale >= 0 || !file) return {};
    std::vector<float> samples(3 * static_cast<size_t>(pWidth) * static_cast<size_t>(pHeight));
    const size_t row = 3 * static_cast<size_t>(pWidth);
    for (size_t y = samples.size() / row; y-- > 0;)
        file.read(reinterpret_cast<char*>(samples.data() + y * row), static_cast<std::streamsize>(row * sizeof(float)));
    return file ? samples : std::vector<float>{};
}

/// SELVANE_TEST_PICTURES: names of such files (.pfm), with colons between them.
TEST(Previews, LookLikeTheLargePhotographs)
{
    const char* const names = std::getenv("SELVANE_TEST_PICTURES");
    if (names == nullptr) GTEST_SKIP() << "SELVANE_TEST_PICTURES names no pictures";
    std::stringstream list(names);
    for (std::string name; std::getline(list, name, ':');) {
        int width = 0, height = 0;
        const std::vector<float> samples = ReadFloats(name, width, height);
        ASSERT_FALSE(samples.empty()) << name << " cannot be read";
        for (const int longest : {1024, std::max(width, height) / 2}) {
            const double difference = DifferenceOf(width, height, samples, longest);
            std::printf("%s, %d x %d to %d: mean absolute difference %.2f\n", name.c_str(), width, height, longest,
                        difference);
            EXPECT_LT(difference, 2.0) << name << " to " << longest;
        }
    }
}

} // namespace
} // namespace SelvaneTest
