// Null for every pointer of every function. Handles, records and places for results are refused with a status and a
// text; what may be null says so in selvane.h.

#include "selvane.h"

#include <gtest/gtest.h>

#include <cstring>
#include <fstream>
#include <functional>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace
{

/// A handle with a small picture, and good values for every other argument.
struct sGood
{
    sGood()
    {
        selvane_settings_init(&fSettings);
        selvane_picture_init(&fPicture);
        fPicture.width = fPicture.height = 4;
        fPicture.format = SELVANE_U8;
        fPicture.pixels = fPixels;
        selvane_target_init(&fTarget);
        fTarget.width = fTarget.height = 4;
        fTarget.format = SELVANE_U8;
        fTarget.pixels = fOutput;
        fReport.struct_size = sizeof fReport;
        selvane_frame_init(&fFrame);
        for (size_t i = 0; i < sizeof fPixels; i++)
            fPixels[i] = static_cast<unsigned char>(5 * i);
        selvane_set_picture(fHandle, &fPicture);
    }
    ~sGood() { selvane_free(fHandle); }
    sGood(const sGood&) = delete;
    sGood& operator=(const sGood&) = delete;

    selvane* fHandle = selvane_new();
    selvane_settings fSettings;
    selvane_picture fPicture;
    selvane_target fTarget;
    selvane_report fReport{};
    selvane_frame fFrame{};
    unsigned char fPixels[48];
    unsigned char fOutput[48] = {};
    char fText[4096];
    float fPlane[16];
    size_t fSize = 0;
    uint64_t fBytes = 0;
    int32_t fWidth = 0, fHeight = 0;
    const unsigned char* fProfile = nullptr;
};

enum eAnswer
{
    eRefused, ///< SELVANE_ERROR_ARGUMENT, with a text if there is a handle
    eAllowed  ///< SELVANE_OK
};

struct sCase
{
    const char* fFunction;
    int fArgument; ///< the one that is null, from 0 on
    eAnswer fAnswer;
    int (*fCall)(sGood& pGood);
};

// NOLINTBEGIN(readability-identifier-length): a row for each call
const sCase kCases[] = {
    {"selvane_set_picture", 0, eRefused, [](sGood& g) { return selvane_set_picture(nullptr, &g.fPicture); }},
    {"selvane_set_picture", 1, eRefused, [](sGood& g) { return selvane_set_picture(g.fHandle, nullptr); }},
    {"selvane_set_settings", 0, eRefused, [](sGood& g) { return selvane_set_settings(nullptr, &g.fSettings); }},
    {"selvane_set_settings", 1, eRefused, [](sGood& g) { return selvane_set_settings(g.fHandle, nullptr); }},
    {"selvane_get_settings", 0, eRefused, [](sGood& g) { return selvane_get_settings(nullptr, &g.fSettings); }},
    {"selvane_get_settings", 1, eRefused, [](sGood& g) { return selvane_get_settings(g.fHandle, nullptr); }},
    {"selvane_suggest", 0, eRefused, [](sGood& g) { return selvane_suggest(nullptr, &g.fSettings); }},
    {"selvane_suggest", 1, eRefused, [](sGood& g) { return selvane_suggest(g.fHandle, nullptr); }},
    {"selvane_effective_settings", 0, eRefused,
     [](sGood& g) { return selvane_effective_settings(nullptr, &g.fSettings); }},
    {"selvane_effective_settings", 1, eRefused,
     [](sGood& g) { return selvane_effective_settings(g.fHandle, nullptr); }},
    {"selvane_settings_to_text", 0, eAllowed,
     [](sGood& g) { return selvane_settings_to_text(nullptr, &g.fSettings, g.fText, sizeof g.fText, &g.fSize); }},
    {"selvane_settings_to_text", 1, eRefused,
     [](sGood& g) { return selvane_settings_to_text(g.fHandle, nullptr, g.fText, sizeof g.fText, &g.fSize); }},
    {"selvane_settings_to_text", 2, eRefused,
     [](sGood& g) { return selvane_settings_to_text(g.fHandle, &g.fSettings, nullptr, sizeof g.fText, &g.fSize); }},
    {"selvane_settings_to_text", 4, eAllowed,
     [](sGood& g) { return selvane_settings_to_text(g.fHandle, &g.fSettings, g.fText, sizeof g.fText, nullptr); }},
    {"selvane_settings_from_text", 0, eAllowed,
     [](sGood& g) { return selvane_settings_from_text(nullptr, "exposure = 1", &g.fSettings); }},
    {"selvane_settings_from_text", 1, eRefused,
     [](sGood& g) { return selvane_settings_from_text(g.fHandle, nullptr, &g.fSettings); }},
    {"selvane_settings_from_text", 2, eRefused,
     [](sGood& g) { return selvane_settings_from_text(g.fHandle, "exposure = 1", nullptr); }},
    {"selvane_preset", 0, eAllowed, [](sGood& g) { return selvane_preset(nullptr, "flat", &g.fSettings); }},
    {"selvane_preset", 1, eRefused, [](sGood& g) { return selvane_preset(g.fHandle, nullptr, &g.fSettings); }},
    {"selvane_preset", 2, eRefused, [](sGood& g) { return selvane_preset(g.fHandle, "flat", nullptr); }},
    {"selvane_preset_names", 0, eAllowed,
     [](sGood& g) { return selvane_preset_names(nullptr, g.fText, sizeof g.fText, &g.fSize); }},
    {"selvane_preset_names", 1, eRefused,
     [](sGood& g) { return selvane_preset_names(g.fHandle, nullptr, sizeof g.fText, &g.fSize); }},
    {"selvane_preset_names", 3, eAllowed,
     [](sGood& g) { return selvane_preset_names(g.fHandle, g.fText, sizeof g.fText, nullptr); }},
    {"selvane_render", 0, eRefused, [](sGood& g) { return selvane_render(nullptr, &g.fTarget); }},
    {"selvane_render", 1, eRefused, [](sGood& g) { return selvane_render(g.fHandle, nullptr); }},
    {"selvane_preview_size", 0, eRefused,
     [](sGood& g) { return selvane_preview_size(nullptr, 4, &g.fWidth, &g.fHeight); }},
    {"selvane_preview_size", 2, eRefused,
     [](sGood& g) { return selvane_preview_size(g.fHandle, 4, nullptr, &g.fHeight); }},
    {"selvane_preview_size", 3, eRefused,
     [](sGood& g) { return selvane_preview_size(g.fHandle, 4, &g.fWidth, nullptr); }},
    {"selvane_preview", 0, eRefused, [](sGood& g) { return selvane_preview(nullptr, 4, &g.fTarget); }},
    {"selvane_preview", 2, eRefused, [](sGood& g) { return selvane_preview(g.fHandle, 4, nullptr); }},
    {"selvane_plain", 0, eRefused, [](sGood& g) { return selvane_plain(nullptr, 0.0f, 4, &g.fTarget); }},
    {"selvane_plain", 3, eRefused, [](sGood& g) { return selvane_plain(g.fHandle, 0.0f, 4, nullptr); }},
    {"selvane_equalize", 0, eRefused,
     [](sGood& g) { return selvane_equalize(nullptr, &g.fPicture, &g.fSettings, &g.fTarget); }},
    {"selvane_equalize", 1, eRefused,
     [](sGood& g) { return selvane_equalize(g.fHandle, nullptr, &g.fSettings, &g.fTarget); }},
    {"selvane_equalize", 2, eRefused,
     [](sGood& g) { return selvane_equalize(g.fHandle, &g.fPicture, nullptr, &g.fTarget); }},
    {"selvane_equalize", 3, eRefused,
     [](sGood& g) { return selvane_equalize(g.fHandle, &g.fPicture, &g.fSettings, nullptr); }},
    {"selvane_profile", 2, eRefused, [](sGood& g) { return selvane_profile(SELVANE_SRGB, 0, nullptr, &g.fSize); }},
    {"selvane_profile", 3, eRefused, [](sGood& g) { return selvane_profile(SELVANE_SRGB, 0, &g.fProfile, nullptr); }},
    {"selvane_get_report", 0, eRefused, [](sGood& g) { return selvane_get_report(nullptr, &g.fReport); }},
    {"selvane_get_report", 1, eRefused, [](sGood& g) { return selvane_get_report(g.fHandle, nullptr); }},
    {"selvane_get_plane", 0, eRefused,
     [](sGood& g) { return selvane_get_plane(nullptr, SELVANE_PLANE_BASE, g.fPlane, 0); }},
    {"selvane_get_plane", 2, eRefused,
     [](sGood& g) { return selvane_get_plane(g.fHandle, SELVANE_PLANE_BASE, nullptr, 0); }},
    {"selvane_measure", 0, eRefused, [](sGood& g) { return selvane_measure(nullptr, &g.fFrame); }},
    {"selvane_measure", 1, eRefused, [](sGood& g) { return selvane_measure(g.fHandle, nullptr); }},
    {"selvane_smooth", 0, eAllowed, [](sGood& g) { return selvane_smooth(nullptr, &g.fFrame, &g.fFrame, 1, 0); }},
    {"selvane_smooth", 1, eRefused, [](sGood& g) { return selvane_smooth(g.fHandle, nullptr, &g.fFrame, 1, 0); }},
    {"selvane_smooth", 2, eRefused, [](sGood& g) { return selvane_smooth(g.fHandle, &g.fFrame, nullptr, 1, 0); }},
    {"selvane_frame_to_settings", 0, eAllowed,
     [](sGood& g) { return selvane_frame_to_settings(nullptr, &g.fFrame, &g.fSettings); }},
    {"selvane_frame_to_settings", 1, eRefused,
     [](sGood& g) { return selvane_frame_to_settings(g.fHandle, nullptr, &g.fSettings); }},
    {"selvane_frame_to_settings", 2, eRefused,
     [](sGood& g) { return selvane_frame_to_settings(g.fHandle, &g.fFrame, nullptr); }},
    {"selvane_set_progress", 0, eRefused, [](sGood&) { return selvane_set_progress(nullptr, nullptr, nullptr); }},
    {"selvane_set_progress", 1, eAllowed, [](sGood& g) { return selvane_set_progress(g.fHandle, nullptr, &g); }},
    {"selvane_set_progress", 2, eAllowed,
     [](sGood& g) {
         return selvane_set_progress(
             g.fHandle, [](void*, int, float) { return 0; }, nullptr);
     }},
    {"selvane_set_log", 0, eRefused, [](sGood&) { return selvane_set_log(nullptr, nullptr, nullptr); }},
    {"selvane_set_log", 1, eAllowed, [](sGood& g) { return selvane_set_log(g.fHandle, nullptr, &g); }},
    {"selvane_set_log", 2, eAllowed,
     [](sGood& g) {
         return selvane_set_log(
             g.fHandle, [](void*, const char*) {}, nullptr);
     }},
    {"selvane_set_executor", 0, eRefused, [](sGood&) { return selvane_set_executor(nullptr, nullptr, nullptr); }},
    {"selvane_set_executor", 1, eAllowed, [](sGood& g) { return selvane_set_executor(g.fHandle, nullptr, &g); }},
    {"selvane_set_executor", 2, eAllowed,
     [](sGood& g) {
         return selvane_set_executor(
             g.fHandle,
             [](void*, void (*task)(void*, int), void* context, int count) {
                 for (int i = 0; i < count; i++)
                     task(context, i);
             },
             nullptr);
     }},
    {"selvane_set_threads", 0, eRefused, [](sGood&) { return selvane_set_threads(nullptr, 1); }},
    {"selvane_set_memory_limit", 0, eRefused, [](sGood&) { return selvane_set_memory_limit(nullptr, 0); }},
    {"selvane_estimate_memory", 0, eRefused, [](sGood& g) { return selvane_estimate_memory(nullptr, &g.fBytes); }},
    {"selvane_estimate_memory", 1, eRefused, [](sGood& g) { return selvane_estimate_memory(&g.fPicture, nullptr); }},
};
// NOLINTEND(readability-identifier-length)

/// The handle still renders.
void ExpectAlive(sGood& pGood)
{
    EXPECT_EQ(selvane_render(pGood.fHandle, &pGood.fTarget), SELVANE_OK) << selvane_error(pGood.fHandle);
}

TEST(Nulls, ArgumentsThatAreRefusedOrAllowed)
{
    for (const sCase& row : kCases) {
        SCOPED_TRACE(std::string(row.fFunction) + ", argument " + std::to_string(row.fArgument));
        sGood good;
        const int status = row.fCall(good);
        EXPECT_EQ(status, row.fAnswer == eAllowed ? SELVANE_OK : SELVANE_ERROR_ARGUMENT);
        const bool handleKnows = row.fAnswer == eRefused && row.fArgument > 0 &&
                                 std::strcmp(row.fFunction, "selvane_profile") != 0 &&
                                 std::strcmp(row.fFunction, "selvane_estimate_memory") != 0;
        EXPECT_EQ(std::strlen(selvane_error(good.fHandle)) > 0, handleKnows) << selvane_error(good.fHandle);
        ExpectAlive(good);
    }
}

TEST(Nulls, FunctionsWithoutAStatus)
{
    selvane_free(nullptr);
    selvane_picture_init(nullptr);
    selvane_settings_init(nullptr);
    selvane_target_init(nullptr);
    selvane_frame_init(nullptr);
    EXPECT_GT(std::strlen(selvane_error(nullptr)), 0u);
    EXPECT_EQ(selvane_reason(nullptr, 0), nullptr);
}

TEST(Nulls, PixelsOfARecord)
{
    sGood good;
    good.fPicture.pixels = nullptr;
    EXPECT_EQ(selvane_set_picture(good.fHandle, &good.fPicture), SELVANE_ERROR_ARGUMENT);
    EXPECT_EQ(selvane_estimate_memory(&good.fPicture, &good.fBytes), SELVANE_OK) << "needs no pixels";
    good.fTarget.pixels = nullptr;
    EXPECT_EQ(selvane_render(good.fHandle, &good.fTarget), SELVANE_ERROR_ARGUMENT);
    EXPECT_EQ(selvane_preview(good.fHandle, 4, &good.fTarget), SELVANE_ERROR_ARGUMENT);
    good.fTarget.pixels = good.fOutput;
    ExpectAlive(good);
}

/// Which arguments of which functions are pointers, by the header: "selvane_render 1".
std::string WithoutComments(std::string pText)
{
    for (size_t begin = pText.find("/*"); begin != std::string::npos; begin = pText.find("/*", begin))
        pText.erase(begin, pText.find("*/", begin) + 2 - begin);
    return pText;
}

/// Whether an argument is a pointer to data or to a function.
bool IsPointer(const std::string& pArgument)
{
    for (const char* mark : {"*", "selvane_progress ", "selvane_log ", "selvane_executor "})
        if (pArgument.find(mark) != std::string::npos) return true;
    return false;
}

std::set<std::string> PointersOfTheHeader()
{
    std::ifstream file(SELVANE_HEADER);
    const std::string header = WithoutComments({std::istreambuf_iterator<char>(file), {}});
    const std::string mark = "\nSELVANE_FUNCTION ";
    std::set<std::string> pointers;
    for (size_t at = header.find(mark); at != std::string::npos; at = header.find(mark, at + 1)) {
        const size_t open = header.find('(', at), close = header.find(");", open);
        const size_t name = header.find_last_of(" *", open) + 1;
        std::istringstream arguments(header.substr(open + 1, close - open - 1));
        std::string argument;
        for (int number = 0; std::getline(arguments, argument, ','); number++)
            if (IsPointer(argument)) pointers.insert(header.substr(name, open - name) + " " + std::to_string(number));
    }
    return pointers;
}

TEST(Nulls, EveryPointerOfTheHeaderHasACase)
{
    std::set<std::string> cases = {"selvane_free 0",         "selvane_error 0",         "selvane_reason 0",
                                   "selvane_picture_init 0", "selvane_settings_init 0", "selvane_target_init 0",
                                   "selvane_frame_init 0"};
    for (const sCase& row : kCases)
        cases.insert(std::string(row.fFunction) + " " + std::to_string(row.fArgument));
    EXPECT_EQ(cases, PointersOfTheHeader());
}

} // namespace
