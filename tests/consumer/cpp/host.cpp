// A small host in C++: drives the renderer, the curves and the bitmaps directly, and catches both kinds of failure.

#include <bitmap/cBitmapBGR16.h>
#include <bitmap/cBitmapXYZ32.h>
#include <bitmap/cException.h>
#include <color/cColorSpace.h>
#include <curve/cHermiteSpline.h>
#include <filter/DivideWork.h>
#include <image/cImageUtils.h>
#include <render/cTmRenderer.h>

#include <cstdio>
#include <cstring>
#include <thread>
#include <vector>

extern "C" void DivideWork(int start, int end, int threads, void* (*fn)(void*), void* record, size_t recordSize)
{
    std::vector<std::thread> workers;
    const int slots = threads < 1 ? 1 : threads;
    for (int slot = 0; slot < slots; slot++)
        workers.emplace_back([=] {
            std::vector<unsigned char> copy(recordSize);
            std::memcpy(copy.data(), record, recordSize);
            auto* header = reinterpret_cast<TileRecord*>(copy.data());
            header->fSlot = slot;
            header->fStart = start + static_cast<int>(static_cast<long long>(end - start) * slot / slots);
            header->fEnd = start + static_cast<int>(static_cast<long long>(end - start) * (slot + 1) / slots);
            fn(header);
        });
    for (std::thread& worker : workers)
        worker.join();
}

namespace
{

using namespace Vornik;

constexpr int kWidth = 48;
constexpr int kHeight = 32;

void Paint(cBitmapXYZ32& pPicture)
{
    for (int y = 0; y < kHeight; y++)
        for (int x = 0; x < kWidth; x++) {
            float* pixel = pPicture.GetImageData() + y * (pPicture.GetStride() / 4) + 3 * x;
            const float light = 0.01f + static_cast<float>(x * x) * (y < kHeight / 2 ? 10.0f : 0.01f);
            pixel[0] = 0.96f * light;
            pixel[1] = light;
            pixel[2] = 0.5f * light;
        }
}

double Blue(cBitmapBGR16& pPicture)
{
    double sum = 0.0;
    for (int y = 0; y < kHeight; y++)
        for (int x = 0; x < kWidth; x++)
            sum += pPicture.GetImageData()[y * (pPicture.GetStride() / 2) + 3 * x];
    return sum;
}

bool FailuresReachTheHost(cTmRenderer& pRenderer)
{
    bool pointer = false;
    bool object = false;
    try {
        pRenderer.SetInput(nullptr);
    } catch (cArgumentNullException* exception) {
        pointer = std::strcmp(exception->GetMessage(), "Argument pInput is null.") == 0;
        delete exception;
    }
    try {
        const cBitmapXYZ32 empty(0, 1);
    } catch (const cException& exception) {
        object = std::strcmp(exception.GetType(), "cArgumentException") == 0;
    }
    return pointer && object;
}

} // namespace

int main()
{
    cBitmapXYZ32 input(kWidth, kHeight);
    Paint(input);
    cBitmapBGR16 output(kWidth, kHeight, eColorSpace_sRGB);
    auto renderer = new cTmRenderer;
    if (!FailuresReachTheHost(*renderer)) return 1;
    renderer->SetInput(&input);
    renderer->SetOutput(&output);
    renderer->SetNbProc(3);
    renderer->SetToneMappingParams(47.0f, 0.0f, true, 20.0f, true, 0.0f, 100.0f, 60.0f, 0.0f, false, false, false, 0.1f,
                                   0.1f, 0, 0.0f, 0.0f);
    renderer->Render();
    const double neutral = Blue(output);

    // less saturation: only the final stage runs again
    cHermiteSpline flat(*renderer->fHHCurve);
    cHermiteSpline pale(flat);
    pale.MovePoint(0, 0.0f, 0.2f);
    pale.MovePoint(1, 1.0f, 0.2f);
    renderer->SetHueCurves(&flat, &pale, &flat);
    renderer->Render();
    const double faded = Blue(output);
    delete renderer;

    float black = 0.0f;
    float white = 0.0f;
    cImageUtils::GetMinMax(&input, 1, black, white);
    std::printf("C++ host: blue %g, with less saturation %g; luminance %g to %g\n", neutral, faded,
                static_cast<double>(black), static_cast<double>(white));
    return neutral > 0.0 && faded > neutral && white > black ? 0 : 2;
}
