// How good do the pictures look, in numbers? Prints the quality of Yeganeh and Wang, scene by scene, of plain gamma,
// the global operator of Reinhard, all sliders at 0, one fixed setting, the suggestion and the presets, and what the
// suggestion chose.
//
//     tmqi_bench PRESETS [PHOTOGRAPHS [PICTURES]]
//
// PRESETS is the folder lib/presets.
// PHOTOGRAPHS is a folder with the panoramas that scripts/tmqi fetches; without it only the made scenes are shown.
// PICTURES is a folder that takes the suggested pictures, those of the presets, and the three sheets of the manual:
// photographs.jpg, made.jpg, presets.jpg.

#include "MadeScenes.h"
#include "SceneRender.h"
#include "StructuralFidelity.h"

#include "PictureReader.h"
#include "PictureWriter.h"
#include "selvane.h"
#include "suggest/Quality.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <stdexcept>
#include <unistd.h>

using namespace SelvaneLib;
using namespace SelvaneTmqi;

namespace
{

constexpr int kPreview = 512; // pixels on the longer side

/// A part of a panorama that looks like an ordinary photograph.
struct sCrop
{
    const char* fName;
    const char* fFile;
    SelvaneHost::sArea fArea; // width, height, left, top
};

constexpr sCrop kCrops[] = {
    {"city tower", "city", {420, 280, 430, 60}},
    {"city left", "city", {400, 270, 0, 90}},
    {"city panorama", "city", {1024, 512, 0, 0}},
    {"courtyard", "courtyard", {640, 330, 330, 120}},
    {"courtyard dog", "courtyard", {420, 290, 20, 150}},
    {"courtyard shade", "courtyard", {330, 300, 690, 130}},
    {"forest", "forest", {560, 330, 0, 100}},
    {"forest right", "forest", {440, 300, 560, 90}},
    {"forest sky", "forest", {400, 280, 330, 30}},
    {"interior", "interior", {560, 330, 320, 110}},
    {"interior bed", "interior", {400, 300, 600, 110}},
    {"interior desk", "interior", {360, 300, 60, 120}},
    {"night", "night", {560, 330, 60, 100}},
    {"night right", "night", {440, 330, 560, 60}},
    {"night sky", "night", {420, 260, 300, 0}},
    {"studio", "studio", {480, 330, 60, 130}},
    {"studio lamp", "studio", {400, 300, 560, 130}},
    {"sunrise", "sunrise", {560, 330, 360, 90}},
    {"sunrise tree", "sunrise", {420, 280, 150, 130}},
    {"sunrise away", "sunrise", {380, 280, 0, 120}},
    {"sunset", "sunset", {560, 330, 300, 110}},
    {"sunset house", "sunset", {360, 270, 660, 170}},
    {"sunset left", "sunset", {400, 280, 0, 150}},
};

struct sNamedScene
{
    std::string fName;
    sPicture fPicture;
};

/// Exponent planes to XYZ.
sPicture FromPlanes(const SelvaneHost::sPicture& pPlanes)
{
    std::vector<float> rgb;
    const auto width = static_cast<size_t>(pPlanes.fWidth);
    for (size_t y = 0; y < static_cast<size_t>(pPlanes.fHeight); y++) {
        const unsigned char* row = pPlanes.fPixels.data() + y * RowBytes(pPlanes);
        for (size_t x = 0; x < width; x++)
            for (size_t c = 0; c < 3; c++)
                rgb.push_back(static_cast<float>(std::ldexp(row[c * width + x], row[3 * width + x] - 136)));
    }
    return FromSRGB(pPlanes.fWidth, pPlanes.fHeight, rgb);
}

void AddPhotographs(const std::filesystem::path& pFolder, std::vector<sNamedScene>& pScenes)
{
    for (const sCrop& crop : kCrops) {
        SelvaneHost::sPicture picture = SelvaneHost::ReadPictureFile(pFolder / (std::string(crop.fFile) + ".exr"));
        SelvaneHost::Crop(picture, crop.fArea);
        pScenes.push_back({crop.fName, FromPlanes(picture)});
    }
}

void AddMade(std::vector<sNamedScene>& pScenes)
{
    pScenes.push_back({"made night town", NightTown()});
    pScenes.push_back({"made snow", Snow()});
    pScenes.push_back({"made fog", Fog()});
    pScenes.push_back({"made white room", WhiteRoom()});
    pScenes.push_back({"made sea sunset", SeaSunset()});
    pScenes.push_back({"made sunny hills", SunnyHills()});
    pScenes.push_back({"made starry field", StarryField()});
}

sPlane LuminanceOf(const sPicture& pPicture)
{
    sPlane plane{pPicture.fWidth, pPicture.fHeight, {}};
    for (size_t i = 1; i < pPicture.fXYZ.size(); i += 3)
        plane.fValues.push_back(static_cast<double>(pPicture.fXYZ[i]));
    return plane;
}

sPlane GreyOf(const sPicture& pPicture, const tRGB8& pRGB8)
{
    sPlane plane{pPicture.fWidth, pPicture.fHeight, {}};
    for (size_t i = 0; i < pRGB8.size(); i += 3)
        plane.fValues.push_back(0.2126 * pRGB8[i] + 0.7152 * pRGB8[i + 1] + 0.0722 * pRGB8[i + 2]);
    return plane;
}

/// The quality of a picture of a scene.
double QualityOf(const cStructuralFidelity& pScene, const sPlane& pGrey)
{
    const std::vector<float> levels(pGrey.fValues.begin(), pGrey.fValues.end());
    const sLight light = MeasureLight(levels.data(), nullptr, pGrey.fWidth, pGrey.fHeight, kFineFrequency);
    return Quality(pScene.Compare(pGrey).fAll, Naturalness(light.fMean, light.fContrast));
}

/// The sRGB curve.
unsigned char Encoded(double pLinear)
{
    const double encoded = pLinear <= 0.0031308 ? 12.92 * pLinear : 1.055 * std::pow(pLinear, 1.0 / 2.4) - 0.055;
    return static_cast<unsigned char>(std::lround(255.0 * encoded));
}

/// A picture whose luminance is a function of the scene's, colours kept; encoded with the sRGB curve.
tRGB8 Global(const sPicture& pPicture, const std::function<double(double)>& pNewLuminance)
{
    const Vornik::cMatrix33 m = Vornik::cColorSpace_sRGB().GetFromPCSTransform();
    const float rows[3][3] = {{m.m00, m.m01, m.m02}, {m.m10, m.m11, m.m12}, {m.m20, m.m21, m.m22}};
    tRGB8 rgb;
    for (size_t i = 0; i < pPicture.fXYZ.size(); i += 3) {
        const double luminance = std::max(1e-9, static_cast<double>(pPicture.fXYZ[i + 1]));
        const double factor = pNewLuminance(luminance) / luminance;
        for (const auto& row : rows) {
            double sum = 0.0;
            for (size_t c = 0; c < 3; c++)
                sum += static_cast<double>(row[c]) * static_cast<double>(pPicture.fXYZ[i + c]);
            rgb.push_back(Encoded(std::clamp(sum * factor, 0.0, 1.0)));
        }
    }
    return rgb;
}

double Peak(const sPicture& pPicture)
{
    double peak = 0.0;
    for (size_t i = 1; i < pPicture.fXYZ.size(); i += 3)
        peak = std::max(peak, static_cast<double>(pPicture.fXYZ[i]));
    return peak;
}

tRGB8 PlainGamma(const sPicture& pPicture)
{
    const double peak = Peak(pPicture);
    return Global(pPicture, [peak](double pLuminance) { return pLuminance / peak; });
}

/// E. Reinhard et al., "Photographic Tone Reproduction for Digital Images", SIGGRAPH 2002, equation 4 with key 0.18.
tRGB8 Reinhard(const sPicture& pPicture)
{
    double sum = 0.0;
    for (size_t i = 1; i < pPicture.fXYZ.size(); i += 3)
        sum += std::log(1e-6 + static_cast<double>(pPicture.fXYZ[i]));
    const double factor = 0.18 / std::exp(sum / (static_cast<double>(pPicture.fXYZ.size()) / 3.0));
    const double white = factor * Peak(pPicture);
    return Global(pPicture, [=](double pLuminance) {
        const double scaled = factor * pLuminance;
        return scaled * (1.0 + scaled / (white * white)) / (1.0 + scaled);
    });
}

sLook AllZero()
{
    sLook look;
    look.compression = look.white_clip = look.black_clip = 0.0f;
    return look;
}

sLook Fixed()
{
    sLook look;
    look.compression = 100.0f;
    look.smoothness = -4.9f;
    look.adaptation = 2.5f;
    look.white_clip = 12.5f;
    look.black_clip = 0.6f;
    look.radius = -10.0f;
    return look;
}

void Write(const sPicture& pPicture, const tRGB8& pRGB8, const std::filesystem::path& pPath)
{
    SelvaneHost::sPicture picture;
    AllocatePixels(picture, pPicture.fWidth, pPicture.fHeight, SelvaneHost::eSamples8);
    picture.fPixels = pRGB8;
    WritePicture(picture, Vornik::eColorSpace_sRGB, pPath);
}

/// Small pictures in rows on white.
class cSheet
{
public:
    explicit cSheet(int pColumns) : fColumns(pColumns) {}

    /// Adds a picture, reduced to the cell's width and cut to its height.
    void Add(const sPicture& pPicture, const tRGB8& pRGB8)
    {
        const sPicture full{pPicture.fWidth, pPicture.fHeight, {pRGB8.begin(), pRGB8.end()}};
        const int longer = std::max(pPicture.fWidth, pPicture.fHeight);
        fCells.push_back(Reduced(full, kCellWidth * longer / pPicture.fWidth));
    }

    void Write(const std::filesystem::path& pPath) const
    {
        const auto rows = (static_cast<int>(fCells.size()) + fColumns - 1) / fColumns;
        sPicture sheet{fColumns * (kCellWidth + kGap) - kGap, rows * (kCellHeight + kGap) - kGap, {}};
        tRGB8 rgb(3 * static_cast<size_t>(sheet.fWidth) * static_cast<size_t>(sheet.fHeight), 255);
        for (int i = 0; i < static_cast<int>(fCells.size()); i++) {
            const sPicture& cell = fCells[static_cast<size_t>(i)];
            const int left = i % fColumns * (kCellWidth + kGap), top = i / fColumns * (kCellHeight + kGap);
            for (int y = 0; y < std::min(cell.fHeight, kCellHeight); y++) {
                const auto* from = &cell.fXYZ[3 * static_cast<size_t>(y) * static_cast<size_t>(cell.fWidth)];
                std::transform(from, from + ptrdiff_t{3} * std::min(cell.fWidth, kCellWidth),
                               rgb.begin() + ptrdiff_t{3} * (ptrdiff_t{top + y} * sheet.fWidth + left),
                               [](float pSample) { return static_cast<unsigned char>(std::lround(pSample)); });
            }
        }
        ::Write(sheet, rgb, pPath);
    }

private:
    static constexpr int kCellWidth = 300;
    static constexpr int kCellHeight = 200;
    static constexpr int kGap = 6;

    int fColumns;
    std::vector<sPicture> fCells; // samples of 0 to 255 for XYZ
};

double ReasonValue(const sSuggestion& pSuggestion, const std::string& pRule)
{
    for (const sReason& reason : pSuggestion.fReasons)
        if (reason.fRule == pRule) return reason.fValue;
    return 0.0;
}

void PrintLook(const sSuggestion& pSuggestion)
{
    const sLook& look = pSuggestion.fLook;
    std::printf(" | %4.0f %4.0f %5.2f %5.2f %4.0f | %8.0f |", static_cast<double>(look.compression),
                static_cast<double>(look.white_clip), static_cast<double>(look.black_clip),
                static_cast<double>(look.exposure), static_cast<double>(look.contrast),
                ReasonValue(pSuggestion, "previews"));
    for (const char* rule : {"dark-place", "low-key", "violet-shadows", "high-key", "held-back", "lifted"})
        if (ReasonValue(pSuggestion, rule) != 0.0) std::printf(" %s %.2f", rule, ReasonValue(pSuggestion, rule));
}

/// Sum and least of a column.
struct sColumn
{
    double fSum = 0.0;
    double fLeast = 1.0;
    double fCount = 0.0;

    void Add(double pValue)
    {
        fSum += pValue;
        fLeast = std::min(fLeast, pValue);
        fCount += 1.0;
    }
};

struct sNamedPreset
{
    const char* fName;
    selvane_settings fOffsets;
};

/// The presets of the library but the first, which is the suggestion itself.
std::vector<sNamedPreset> Presets()
{
    std::vector<sNamedPreset> presets;
    for (int i = 1; selvane_preset_name(i) != nullptr; i++) {
        sNamedPreset preset{selvane_preset_name(i), {}};
        selvane_settings_init(&preset.fOffsets);
        if (selvane_preset(nullptr, preset.fName, &preset.fOffsets) != SELVANE_OK)
            throw std::runtime_error(std::string(preset.fName) + ": cannot be read");
        presets.push_back(preset);
    }
    return presets;
}

/// The look with the offsets, each setting kept within its range.
sLook Moved(sLook pLook, const selvane_settings& pOffsets)
{
    const auto move = [](float& pValue, float pOffset, float pLeast, float pMost) {
        pValue = std::clamp(pValue + pOffset, pLeast, pMost);
    };
    move(pLook.compression, pOffsets.compression, -100.0f, 100.0f);
    move(pLook.smoothness, pOffsets.smoothness, -10.0f, 10.0f);
    move(pLook.adaptation, pOffsets.adaptation, 0.0f, 100.0f);
    move(pLook.white_clip, pOffsets.white_clip, 0.0f, 100.0f);
    move(pLook.black_clip, pOffsets.black_clip, 0.0f, 100.0f);
    move(pLook.radius, pOffsets.radius, -10.0f, 10.0f);
    move(pLook.exposure, pOffsets.exposure, -20.0f, 20.0f);
    move(pLook.contrast, pOffsets.contrast, -100.0f, 100.0f);
    move(pLook.saturation, pOffsets.saturation, -100.0f, 100.0f);
    return pLook;
}

using tResults = std::vector<std::pair<std::string, tRGB8>>;

/// The pictures of the table's columns, in their order. The first four take no suggestion.
tResults Results(const sPicture& pPicture, const sLook& pSuggested, const std::vector<sNamedPreset>& pPresets)
{
    tResults results = {{"gamma", PlainGamma(pPicture)},
                        {"Reinhard", Reinhard(pPicture)},
                        {"all zero", Render(pPicture, AllZero())},
                        {"fixed", Render(pPicture, Fixed())},
                        {"natural", Render(pPicture, pSuggested)}};
    for (const sNamedPreset& preset : pPresets)
        results.emplace_back(preset.fName, Render(pPicture, Moved(pSuggested, preset.fOffsets)));
    return results;
}

void PrintScene(const sNamedScene& pScene, const std::vector<sNamedPreset>& pPresets,
                const std::filesystem::path& pPictures, std::vector<sColumn>& pColumns, cSheet& pSheet)
{
    const sPicture& picture = pScene.fPicture;
    const cStructuralFidelity fidelity(LuminanceOf(picture));
    const sSuggestion suggestion = SuggestFor(picture, kPreview);
    std::printf("%-20s", pScene.fName.c_str());
    size_t column = 0;
    for (const auto& [name, rgb] : Results(picture, suggestion.fLook, pPresets)) {
        if (!pPictures.empty() && column > 3) Write(picture, rgb, pPictures / (pScene.fName + " " + name + ".png"));
        if (name == "natural") pSheet.Add(picture, rgb);
        const double quality = QualityOf(fidelity, GreyOf(picture, rgb));
        pColumns[column++].Add(quality);
        std::printf("  %5.3f", quality);
    }
    PrintLook(suggestion);
    std::printf("\n");
}

void PrintTable(const std::vector<sNamedScene>& pScenes, const std::vector<sNamedPreset>& pPresets,
                const std::filesystem::path& pPictures, const char* pSheet)
{
    std::printf("%-20s  gamma  Reinh   zero  fixed  natur", "scene");
    for (const sNamedPreset& preset : pPresets)
        std::printf("  %-5.5s", preset.fName);
    std::printf(" | comp wclip bclip exp contr | previews | rule\n");
    std::vector<sColumn> columns(5 + pPresets.size());
    cSheet sheet(4);
    for (const sNamedScene& scene : pScenes)
        PrintScene(scene, pPresets, pPictures, columns, sheet);
    if (!pPictures.empty()) sheet.Write(pPictures / pSheet);
    std::printf("%-20s", "mean");
    for (const sColumn& column : columns)
        std::printf("  %5.3f", column.fSum / column.fCount);
    std::printf("\n%-20s", "least");
    for (const sColumn& column : columns)
        std::printf("  %5.3f", column.fLeast);
    std::printf("\n\n");
}

/// Every preset of three scenes, a scene a column.
void WritePresets(const std::vector<sNamedScene>& pScenes, const std::vector<sNamedPreset>& pPresets,
                  const std::filesystem::path& pPath)
{
    std::vector<tResults> results;
    for (const sNamedScene& scene : pScenes)
        results.push_back(Results(scene.fPicture, SuggestFor(scene.fPicture, kPreview).fLook, pPresets));
    cSheet sheet(static_cast<int>(pScenes.size()));
    for (size_t row = 4; row < results[0].size(); row++)
        for (size_t column = 0; column < pScenes.size(); column++)
            sheet.Add(pScenes[column].fPicture, results[column][row].second);
    sheet.Write(pPath);
}

/// Keeps the library's lines about freed memory from the terminal.
void SilenceStderr()
{
    const int nothing = open("/dev/null", O_WRONLY);
    if (nothing >= 0) dup2(nothing, STDERR_FILENO);
}

} // namespace

int main(int pCount, char** pWords)
{
    try {
        SelvaneHost::StartPictureLibrary();
        const std::vector<sNamedPreset> presets = Presets();
        const std::filesystem::path pictures = pCount > 2 ? pWords[2] : "";
        std::vector<sNamedScene> photographs, made;
        if (pCount > 1) AddPhotographs(pWords[1], photographs);
        AddMade(made);
        SilenceStderr();
        if (!photographs.empty()) PrintTable(photographs, presets, pictures, "photographs.jpg");
        PrintTable(made, presets, pictures, "made.jpg");
        if (!pictures.empty()) WritePresets({made[0], made[4], made[5]}, presets, pictures / "presets.jpg");
        return 0;
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "%s\n", failure.what());
    }
    return 1;
}
