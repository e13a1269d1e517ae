#include "Scenario.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>

namespace SelvaneTest
{

namespace
{

constexpr int kPreviewSide = 16;

std::vector<float> Photo(unsigned pSeed, int pWidth, int pHeight)
{
    std::mt19937 random(pSeed);
    std::uniform_real_distribution<float> noise(0.9f, 1.1f);
    std::vector<float> photo;
    for (int y = 0; y < pHeight; y++)
        for (int x = 0; x < pWidth; x++) {
            const float light = std::exp2(10.0f * static_cast<float>(x) / static_cast<float>(pWidth) - 5.0f);
            for (const float tint : {1.0f, 0.9f, 0.7f})
                photo.push_back(light * tint * noise(random));
            photo.push_back(y == 0 ? 0.0f : 1.0f);
        }
    photo[4] = std::numeric_limits<float>::quiet_NaN();
    photo[9] = -1.0f;
    photo[14] = std::numeric_limits<float>::infinity();
    const size_t middle = static_cast<size_t>(4 * (pWidth * (pHeight / 2) + pWidth / 2));
    std::fill_n(photo.begin() + static_cast<ptrdiff_t>(middle), 3, 1e9f);
    return photo;
}

template <class tSample>
bool SameBits(const std::vector<tSample>& pFirst, const std::vector<tSample>& pSecond)
{
    return pFirst.size() == pSecond.size() &&
           std::memcmp(pFirst.data(), pSecond.data(), pFirst.size() * sizeof(tSample)) == 0;
}

template <class tSample>
void Wipe(std::vector<tSample>& pSamples)
{
    std::memset(pSamples.data(), 0xA5, pSamples.size() * sizeof(tSample));
}

selvane_target Target(int pWidth, int pHeight, selvane_format pFormat, void* pPixels)
{
    selvane_target target;
    selvane_target_init(&target);
    target.width = pWidth;
    target.height = pHeight;
    target.format = pFormat;
    target.channels = 4;
    target.pixels = pPixels;
    return target;
}

} // namespace

cScenario::cScenario(unsigned pSeed, int pWidth, int pHeight)
    : fWidth(pWidth), fHeight(pHeight), fPhoto(Photo(pSeed, pWidth, pHeight)), fBytes(fPhoto.size()),
      fWords(fPhoto.size()), fPreview(4 * kPreviewSide * kPreviewSide), fPlane(fPhoto.size() / 4)
{
    selvane_settings_init(&fSettings);
    fSettings.contrast = 10.0f;
    fSettings.hue_saturation = {.count = 2, .points = {{0.1f, 0.6f}, {0.6f, 0.4f}}};
    Clear();
}

void cScenario::Clear()
{
    Wipe(fBytes);
    Wipe(fWords);
    Wipe(fPreview);
    Wipe(fPlane);
    for (selvane_frame& frame : fFrames)
        selvane_frame_init(&frame);
}

int cScenario::SetPicture(selvane* pHandle) const
{
    selvane_picture picture;
    selvane_picture_init(&picture);
    picture.width = fWidth;
    picture.height = fHeight;
    picture.format = SELVANE_F32;
    picture.channels = 4;
    picture.primaries = SELVANE_REC2020;
    picture.pixels = fPhoto.data();
    return selvane_set_picture(pHandle, &picture);
}

int cScenario::Suggest(selvane* pHandle) const
{
    selvane_settings settings;
    selvane_settings_init(&settings);
    return selvane_suggest(pHandle, &settings);
}

int cScenario::Render8(selvane* pHandle)
{
    selvane_target target = Target(fWidth, fHeight, SELVANE_U8, fBytes.data());
    target.dither = 1;
    return selvane_render(pHandle, &target);
}

int cScenario::Render16(selvane* pHandle)
{
    selvane_target target = Target(fWidth, fHeight, SELVANE_U16, fWords.data());
    target.space = SELVANE_DISPLAY_P3;
    return selvane_render(pHandle, &target);
}

int cScenario::Preview(selvane* pHandle)
{
    int32_t width = 0, height = 0;
    const int status = selvane_preview_size(pHandle, kPreviewSide, &width, &height);
    if (status != SELVANE_OK) return status;
    const selvane_target target = Target(width, height, SELVANE_F32, fPreview.data());
    return selvane_preview(pHandle, kPreviewSide, &target);
}

int cScenario::Plane(selvane* pHandle)
{
    return selvane_get_plane(pHandle, SELVANE_PLANE_BASE, fPlane.data(), 0);
}

int cScenario::Measure(selvane* pHandle)
{
    return selvane_measure(pHandle, &fFrames[0]);
}

/// A film of the measured frame, one that differs, and the same again.
int cScenario::Smooth(selvane* pHandle)
{
    fFrames[1] = fFrames[2] = fFrames[0];
    fFrames[1].contrast = 20.0f;
    return selvane_smooth(pHandle, fFrames, fFrames, 3, 3);
}

int cScenario::Make(selvane* pHandle, int pStep)
{
    selvane_settings settings;
    selvane_settings_init(&settings);
    selvane_report report{};
    report.struct_size = sizeof report;
    switch (pStep) {
    case eSetSettings:
        return selvane_set_settings(pHandle, &fSettings);
    case eFromText:
        return selvane_settings_from_text(pHandle, "exposure = 0.5\ncontrast = 3", &settings);
    case eToText:
        return selvane_settings_to_text(pHandle, &fSettings, fText, sizeof fText, nullptr);
    case ePreset:
        return selvane_preset(pHandle, "dramatic", &settings);
    case eSetPicture:
        return SetPicture(pHandle);
    case eSuggest:
        return Suggest(pHandle);
    case eRender8:
        return Render8(pHandle);
    case eChange:
        settings.exposure = 1.0f;
        return selvane_set_settings(pHandle, &settings);
    case eRender16:
        return Render16(pHandle);
    case ePreview:
        return Preview(pHandle);
    case ePlane:
        return Plane(pHandle);
    case eMeasure:
        return Measure(pHandle);
    case eSmooth:
        return Smooth(pHandle);
    default:
        return selvane_get_report(pHandle, &report);
    }
}

int cScenario::MakeAll(selvane* pHandle)
{
    int status = SELVANE_OK;
    for (int step = 0; step < eSteps && status == SELVANE_OK; step++)
        status = Make(pHandle, step);
    return status;
}

bool cScenario::HasResultsOf(const cScenario& pOther) const
{
    return SameBits(fBytes, pOther.fBytes) && SameBits(fWords, pOther.fWords) && SameBits(fPreview, pOther.fPreview) &&
           SameBits(fPlane, pOther.fPlane) && std::memcmp(fFrames, pOther.fFrames, sizeof fFrames) == 0 &&
           std::strcmp(fText, pOther.fText) == 0;
}

} // namespace SelvaneTest
