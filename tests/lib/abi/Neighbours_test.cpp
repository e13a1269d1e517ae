// Three copies of the engine in one process: this program links Selvane.so.1 and lends it a DivideWork, which every
// library could see; two plug-ins that know nothing of each other hold libselvane, one shared, one in itself. Each
// keeps to its own.

#include "Plugin.h"
#include "support/Threads.h"

#include "entry/vorniklib3.h"
#include "filter/DivideWork.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <dlfcn.h>
#include <random>
#include <string>
#include <thread>
#include <vector>

using namespace SelvaneTest;

namespace
{

std::atomic<int> gTiles{0};
std::atomic<int> gStrangers{0}; // calls of this program's DivideWork from a thread that did not call the entry
thread_local bool tInEntry = false;

/// A picture of three decades, and the bytes that the entry makes of it.
struct sScene
{
    int fWidth;
    int fHeight;
    std::vector<uint16_t> fPhoto;
    std::vector<uint8_t> fPicture;
};

std::vector<uint8_t> ByTheEntry(const sScene& pScene)
{
    const sTmImageDesc image{.width = pScene.fWidth,
                             .height = pScene.fHeight,
                             .samplesPerPixel = 3,
                             .inputDepth = 16,
                             .outputDepth = 8,
                             .inputRowSamples = 3 * pScene.fWidth,
                             .outputRowSamples = 3 * pScene.fWidth,
                             .bgrOrder = 0};
    const sTmRunSettings run{2, 0, 0};
    sTmSliders sliders{};
    sliders.compression = PLUGIN_COMPRESSION;
    sliders.smoothness = PLUGIN_SMOOTHNESS;
    sliders.whiteClip = PLUGIN_WHITE_CLIP;
    sliders.blackClip = PLUGIN_BLACK_CLIP;
    std::vector<uint8_t> picture(pScene.fPhoto.size());
    tInEntry = true;
    const int result = cpp_tm_selvane(&image, &run, 0, &sliders, reinterpret_cast<const uint8_t*>(pScene.fPhoto.data()),
                                      picture.data());
    tInEntry = false;
    if (result != 1) picture.clear();
    return picture;
}

sScene Scene(int pWidth, int pHeight, unsigned pSeed)
{
    sScene scene{pWidth, pHeight, {}, {}};
    std::mt19937 random(pSeed);
    for (int i = 0; i < 3 * pWidth * pHeight; i++) {
        const unsigned light = i / 3 % pWidth > pWidth / 2 ? 60000 : 2000;
        scene.fPhoto.push_back(static_cast<uint16_t>(light + random() % (light / 16)));
    }
    scene.fPicture = ByTheEntry(scene);
    return scene;
}

/// A plug-in as a program loads one: all names bound at once, none shown to others.
class cPlugin
{
public:
    explicit cPlugin(const char* pFile) : fLibrary(dlopen(pFile, RTLD_NOW | RTLD_LOCAL))
    {
        if (fLibrary == nullptr) return;
        void* const develop = dlsym(fLibrary, "Develop");
        std::memcpy(&fDevelop, &develop, sizeof fDevelop);
    }
    ~cPlugin()
    {
        if (fLibrary != nullptr) dlclose(fLibrary);
    }
    cPlugin(const cPlugin&) = delete;
    cPlugin& operator=(const cPlugin&) = delete;

    bool IsLoaded() const { return fDevelop != nullptr; }
    std::vector<uint8_t> Develop(const sScene& pScene) const
    {
        std::vector<uint8_t> picture(pScene.fPhoto.size());
        const int status = fDevelop(pScene.fWidth, pScene.fHeight, pScene.fPhoto.data(), picture.data());
        if (status != 0) picture.clear();
        return picture;
    }

private:
    void* fLibrary;
    plugin_develop fDevelop = nullptr;
};

template <class tDevelop>
std::thread Repeat(std::atomic<int>& pWrong, const sScene& pScene, tDevelop pDevelop)
{
    return std::thread([&pWrong, &pScene, pDevelop] {
        for (int run = 0; run < 12; run++)
            if (pDevelop(pScene) != pScene.fPicture) pWrong++;
    });
}

TEST(Neighbours, ThreeCopiesRenderAtOnceAndGiveTheirOwnBytes)
{
    const sScene scenes[] = {Scene(160, 120, 1), Scene(120, 160, 2), Scene(200, 90, 3)};
    for (const sScene& scene : scenes)
        ASSERT_FALSE(scene.fPicture.empty());
    const cPlugin shared(SELVANE_PLUGIN_SHARED);
    ASSERT_TRUE(shared.IsLoaded()) << dlerror();
    const cPlugin holding(SELVANE_PLUGIN_STATIC);
    ASSERT_TRUE(holding.IsLoaded()) << dlerror();
    gTiles = 0;
    gStrangers = 0;
    std::atomic<int> wrong[3] = {};
    std::thread threads[] = {
        Repeat(wrong[0], scenes[0], ByTheEntry),
        Repeat(wrong[1], scenes[1], [&](const sScene& pScene) { return shared.Develop(pScene); }),
        Repeat(wrong[2], scenes[2], [&](const sScene& pScene) { return holding.Develop(pScene); })};
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(wrong[0], 0) << "Selvane.so.1";
    EXPECT_EQ(wrong[1], 0) << "libselvane.so";
    EXPECT_EQ(wrong[2], 0) << "libselvane.a";
    EXPECT_GT(gTiles, 0);
    EXPECT_EQ(gStrangers, 0) << "a plug-in ran this program's DivideWork";
}

class Closing : public testing::TestWithParam<const char*>
{
};

TEST_P(Closing, APlugInLeavesNeitherThreadsNorItself)
{
    const sScene scene = Scene(64, 48, 4);
    const int before = ThreadsBefore();
    for (int time = 0; time < 5; time++) {
        {
            const cPlugin plugin(GetParam());
            ASSERT_TRUE(plugin.IsLoaded()) << dlerror();
            EXPECT_EQ(plugin.Develop(scene), scene.fPicture);
        }
        EXPECT_TRUE(EndsWithThreads(before));
        EXPECT_EQ(dlopen(GetParam(), RTLD_NOW | RTLD_NOLOAD), nullptr) << "still loaded";
    }
}

INSTANTIATE_TEST_SUITE_P(Plugins, Closing, testing::Values(SELVANE_PLUGIN_SHARED, SELVANE_PLUGIN_STATIC),
                         [](const testing::TestParamInfo<const char*>& pInfo) {
                             return pInfo.index == 0 ? std::string("Shared") : std::string("Static");
                         });

} // namespace

extern "C" __attribute__((visibility("default"))) void DivideWork(int start, int end, int /*threads*/,
                                                                  void* (*fn)(void*), void* record, size_t recordSize)
{
    gTiles++;
    if (!tInEntry) gStrangers++;
    std::vector<unsigned char> copy(static_cast<unsigned char*>(record),
                                    static_cast<unsigned char*>(record) + recordSize);
    const TileRecord tile{0, 0, start, end};
    std::memcpy(copy.data(), &tile, sizeof tile);
    fn(copy.data());
}
