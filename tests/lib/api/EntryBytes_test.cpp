// The bytes of a render are those of the engine's entry.

#include "Pictures.h"
#include "entry/vorniklib3.h"
#include "pool/Run.h"

#include <array>
#include <cstring>

namespace SelvaneTest
{
namespace
{

struct sCase
{
    int fWidth, fHeight;
    int fDepth;    ///< of the input: 8, 16, or 32 for exponent planes
    int fOutDepth; ///< 8 or 16
    int fSpace;
    std::array<float, 6> fSliders; ///< compression, smoothness, radius, adaptation, white clip, black clip
    bool fWrap;
};

std::vector<unsigned char> InputOf(const sCase& pCase)
{
    std::vector<unsigned char> bytes;
    if (pCase.fDepth == 16) {
        const auto samples = IntegerScene<uint16_t>(pCase.fWidth, pCase.fHeight);
        bytes.resize(2 * samples.size());
        std::memcpy(bytes.data(), samples.data(), bytes.size());
        return bytes;
    }
    if (pCase.fDepth == 8) return IntegerScene<uint8_t>(pCase.fWidth, pCase.fHeight);
    std::mt19937 random(7);
    for (int y = 0; y < pCase.fHeight; y++) { // red, green, blue and exponents, run by run
        for (int i = 0; i < 3 * pCase.fWidth; i++)
            bytes.push_back(static_cast<unsigned char>(random() % 256));
        for (int i = 0; i < pCase.fWidth; i++)
            bytes.push_back(static_cast<unsigned char>(122 + random() % 12));
    }
    return bytes;
}

std::vector<unsigned char> ByEntry(const sCase& pCase, const std::vector<unsigned char>& pInput)
{
    sTmImageDesc image{};
    image.width = pCase.fWidth;
    image.height = pCase.fHeight;
    image.inputDepth = pCase.fDepth;
    image.outputDepth = pCase.fOutDepth;
    image.samplesPerPixel = 3;
    image.inputRowSamples = image.outputRowSamples = 3 * pCase.fWidth;
    sTmRunSettings run{};
    run.processorCount = 1;
    sTmSliders sliders{};
    sliders.compression = pCase.fSliders[0];
    sliders.smoothness = pCase.fSliders[1];
    sliders.radius = pCase.fSliders[2];
    sliders.adaptation = pCase.fSliders[3];
    sliders.whiteClip = pCase.fSliders[4];
    sliders.blackClip = pCase.fSliders[5];
    sliders.wrapSwitch = pCase.fWrap ? 1.0f : 0.0f;
    std::vector<unsigned char> output(3 * static_cast<size_t>(pCase.fWidth * pCase.fHeight * pCase.fOutDepth / 8));
    SelvaneLib::sCallbacks none;
    none.fThreads = run.processorCount;
    SelvaneLib::cRun splitter(none, 1.0); // DivideWork of this program needs one
    testing::internal::CaptureStderr();
    EXPECT_EQ(cpp_tm_selvane(&image, &run, pCase.fSpace, &sliders, pInput.data(), output.data()), 1);
    testing::internal::GetCapturedStderr();
    return output;
}

selvane_settings SettingsOf(const sCase& pCase)
{
    selvane_settings settings = PlainSettings();
    settings.compression = pCase.fSliders[0];
    settings.smoothness = pCase.fSliders[1];
    settings.radius = pCase.fSliders[2];
    settings.adaptation = pCase.fSliders[3];
    settings.white_clip = pCase.fSliders[4];
    settings.black_clip = pCase.fSliders[5];
    settings.wrap = pCase.fWrap ? 1 : 0;
    return settings;
}

std::vector<unsigned char> ByLibrary(const sCase& pCase, const std::vector<unsigned char>& pInput, int pThreads)
{
    const tHandle handle = NewHandle();
    const int format = pCase.fDepth == 8 ? SELVANE_U8 : pCase.fDepth == 16 ? SELVANE_U16 : SELVANE_RGBE_PLANES;
    selvane_picture picture = PictureOf(pCase.fWidth, pCase.fHeight, format, pInput.data());
    picture.primaries = pCase.fSpace;
    picture.transfer = pCase.fDepth == 32 ? SELVANE_TRANSFER_DEFAULT : SELVANE_TRANSFER_ENGINE;
    picture.keep_hot_samples = 1;
    const selvane_settings settings = SettingsOf(pCase);
    std::vector<unsigned char> output(3 * static_cast<size_t>(pCase.fWidth * pCase.fHeight * pCase.fOutDepth / 8));
    selvane_target target =
        TargetOf(pCase.fWidth, pCase.fHeight, pCase.fOutDepth == 8 ? SELVANE_U8 : SELVANE_U16, output.data());
    target.space = pCase.fSpace;
    EXPECT_DONE(handle.get(), selvane_set_threads(handle.get(), pThreads));
    EXPECT_DONE(handle.get(), selvane_set_picture(handle.get(), &picture));
    EXPECT_DONE(handle.get(), selvane_set_settings(handle.get(), &settings));
    EXPECT_DONE(handle.get(), selvane_render(handle.get(), &target));
    return output;
}

std::vector<sCase> Cases()
{
    std::vector<sCase> cases;
    std::mt19937 random(20);
    const auto slider = [&](double pLeast, double pMost) {
        return static_cast<float>(pLeast + (pMost - pLeast) * static_cast<double>(random() % 1001) / 1000.0);
    };
    constexpr int kSizes[][2] = {{1, 1}, {1, 40}, {40, 1}, {2, 2}, {7, 5}, {127, 9}, {129, 33}, {640, 427}, {300, 500}};
    for (const auto& size : kSizes)
        for (const int depth : {8, 16, 32})
            for (const int space : {0, 1, 2}) {
                if (depth == 32 && size[0] * size[1] == 1) continue; // flat, keeps its grey
                cases.push_back({size[0],
                                 size[1],
                                 depth,
                                 (random() & 1) != 0 ? 8 : 16,
                                 space,
                                 {slider(-100, 100), slider(-10, 10), slider(-10, 10), slider(0, 20), slider(0, 100),
                                  slider(0, 10)},
                                 (random() & 1) != 0});
            }
    cases.push_back({640, 427, 8, 8, 0, {0, 0, 0, 0, 0, 0}, false});
    cases.push_back({640, 427, 16, 16, 2, {0, 0, 0, 0, 0, 0}, false});
    return cases;
}

TEST(EntryBytes, AreTheSameForEveryDepthSpaceSizeAndSlider)
{
    for (const sCase& one : Cases())
        for (const int threads : {1, 3}) {
            const std::vector<unsigned char> input = InputOf(one);
            ASSERT_TRUE(ByLibrary(one, input, threads) == ByEntry(one, input))
                << one.fWidth << " x " << one.fHeight << ", " << one.fDepth << " bits to " << one.fOutDepth
                << ", space " << one.fSpace << ", threads " << threads << ", sliders "
                << testing::PrintToString(one.fSliders) << (one.fWrap ? ", wrapped" : "");
        }
}

} // namespace
} // namespace SelvaneTest
