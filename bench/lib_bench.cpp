// What a slider window feels like: how long libselvane takes for a picture, for each kind of change, for a preview, and
// to stop. One worker by default; the first argument sets another number. Prints the best of several runs in
// milliseconds. The picture is a made scene of 24 megapixels, 16-bit integers.

#include "Scene.h"
#include "selvane.h"

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <vector>

namespace
{

constexpr int kWidth = SelvaneBench::k24MP.fWidth;
constexpr int kHeight = SelvaneBench::k24MP.fHeight;
constexpr int kPreview = 1024;
constexpr int kRuns = 5;

using tClock = std::chrono::steady_clock;

double Since(tClock::time_point pBegin)
{
    return std::chrono::duration<double, std::milli>(tClock::now() - pBegin).count();
}

void Must(int pStatus, const selvane* pHandle)
{
    if (pStatus == SELVANE_OK) return;
    std::fprintf(stderr, "%s\n", selvane_error(pHandle));
    std::exit(1);
}

/// Best time of several runs. pBefore is not timed.
double Best(const std::function<void()>& pBefore, const std::function<void()>& pRun)
{
    double best = 1e9;
    for (int i = 0; i < kRuns; i++) {
        pBefore();
        const auto begin = tClock::now();
        pRun();
        best = std::min(best, Since(begin));
    }
    return best;
}

void Print(const char* pWhat, double pMilliseconds)
{
    std::printf("%-34s %8.1f ms\n", pWhat, pMilliseconds);
}

selvane_target TargetOf(int pWidth, int pHeight, std::vector<uint8_t>& pPixels)
{
    pPixels.resize(3 * static_cast<size_t>(pWidth) * static_cast<size_t>(pHeight));
    selvane_target target;
    selvane_target_init(&target);
    target.width = pWidth;
    target.height = pHeight;
    target.format = SELVANE_U8;
    target.pixels = pPixels.data();
    return target;
}

/// When the progress function asked to stop.
struct sStop
{
    float fShare;
    tClock::time_point fAt;
};

int StopAt(void* pUser, int /*pStage*/, float pShare)
{
    auto& stop = *static_cast<sStop*>(pUser);
    stop.fAt = tClock::now();
    return pShare >= stop.fShare ? 1 : 0;
}

} // namespace

int main(int argc, char** argv)
{
    selvane* const h = selvane_new();
    Must(selvane_set_threads(h, argc > 1 ? std::atoi(argv[1]) : 1), h);
    const std::vector<unsigned char> samples = SelvaneBench::Scene(16, SelvaneBench::k24MP);
    selvane_picture picture;
    selvane_picture_init(&picture);
    picture.width = kWidth;
    picture.height = kHeight;
    picture.format = SELVANE_U16;
    picture.pixels = samples.data();
    std::vector<uint8_t> large, small;
    const selvane_target target = TargetOf(kWidth, kHeight, large);
    int32_t width = 0, height = 0;
    const auto set = [&] { Must(selvane_set_picture(h, &picture), h); };
    const auto render = [&] { Must(selvane_render(h, &target), h); };
    set();
    Must(selvane_preview_size(h, kPreview, &width, &height), h);
    const selvane_target preview = TargetOf(width, height, small);
    const auto show = [&] { Must(selvane_preview(h, kPreview, &preview), h); };
    selvane_settings settings;
    selvane_settings_init(&settings);

    Print("set a picture", Best([] {}, set));
    Print("suggest", Best(set, [&] { Must(selvane_suggest(h, &settings), h); }));
    Must(selvane_set_settings(h, &settings), h);
    Print("first render", Best(set, render));
    render();
    const auto moved = [&](const char* pWhat, float selvane_settings::*pMember, float pBy) {
        const auto move = [&] {
            settings.*pMember += pBy;
            Must(selvane_set_settings(h, &settings), h);
        };
        Print(pWhat, Best(move, render));
    };
    moved("render, radius moved", &selvane_settings::radius, 0.5f);
    moved("render, compression moved", &selvane_settings::compression, -0.5f);
    moved("render, white clip moved", &selvane_settings::white_clip, 0.5f);
    moved("render, exposure moved", &selvane_settings::exposure, 0.1f);
    Print("first preview, 1024 pixels", Best(set, show));
    const auto movedPreview = [&](const char* pWhat, float selvane_settings::*pMember, float pBy) {
        const auto move = [&] {
            settings.*pMember += pBy;
            Must(selvane_set_settings(h, &settings), h);
        };
        Print(pWhat, Best(move, show));
    };
    movedPreview("preview, radius moved", &selvane_settings::radius, 0.5f);
    movedPreview("preview, compression moved", &selvane_settings::compression, 0.5f);
    movedPreview("preview, white clip moved", &selvane_settings::white_clip, 0.5f);
    double longest = 0;
    for (int i = 0; i < 20; i++) {
        sStop stop{static_cast<float>(i) * 0.05f, {}};
        settings.radius = static_cast<float>(i % 7) - 5.0f;
        Must(selvane_set_settings(h, &settings), h);
        Must(selvane_set_progress(h, StopAt, &stop), h);
        if (selvane_render(h, &target) == SELVANE_ERROR_CANCELLED) longest = std::max(longest, Since(stop.fAt));
    }
    Print("longest way back after a stop", longest);
    selvane_free(h);
}
