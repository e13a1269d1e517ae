// How good do the pictures look, in numbers? Prints the quality of Yeganeh and Wang, scene by scene, of plain gamma,
// the global operator of Reinhard, all sliders at 0, one fixed setting and the presets, of which the first is the
// suggestion itself, and what the suggestion chose. libselvane renders them as it does for any program.
//
//     tmqi_bench [PHOTOGRAPHS [PICTURES]]
//
// PHOTOGRAPHS is a folder with the panoramas that scripts/tmqi fetches; without it only the made scenes are shown.
// PICTURES is a folder that takes the suggested pictures, those of the presets, and the three sheets of the manual:
// photographs.jpg, made.jpg, presets.jpg.

#include "MadeScenes.h"
#include "SceneRender.h"
#include "StructuralFidelity.h"

#include "suggest/Quality.h"

#include <ImfArray.h>
#include <ImfRgbaFile.h>
#include <vips/vips.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <stdexcept>

using namespace SelvaneLib;
using namespace SelvaneTmqi;

namespace
{

/// A part of a panorama that looks like an ordinary photograph.
struct sCrop
{
    const char* fName;
    const char* fFile;
    int fWidth, fHeight, fLeft, fTop;
};

constexpr sCrop kCrops[] = {
    {"city tower", "city", 420, 280, 430, 60},
    {"city left", "city", 400, 270, 0, 90},
    {"city panorama", "city", 1024, 512, 0, 0},
    {"courtyard", "courtyard", 640, 330, 330, 120},
    {"courtyard dog", "courtyard", 420, 290, 20, 150},
    {"courtyard shade", "courtyard", 330, 300, 690, 130},
    {"forest", "forest", 560, 330, 0, 100},
    {"forest right", "forest", 440, 300, 560, 90},
    {"forest sky", "forest", 400, 280, 330, 30},
    {"interior", "interior", 560, 330, 320, 110},
    {"interior bed", "interior", 400, 300, 600, 110},
    {"interior desk", "interior", 360, 300, 60, 120},
    {"night", "night", 560, 330, 60, 100},
    {"night right", "night", 440, 330, 560, 60},
    {"night sky", "night", 420, 260, 300, 0},
    {"studio", "studio", 480, 330, 60, 130},
    {"studio lamp", "studio", 400, 300, 560, 130},
    {"sunrise", "sunrise", 560, 330, 360, 90},
    {"sunrise tree", "sunrise", 420, 280, 150, 130},
    {"sunrise away", "sunrise", 380, 280, 0, 120},
    {"sunset", "sunset", 560, 330, 300, 110},
    {"sunset house", "sunset", 360, 270, 660, 170},
    {"sunset left", "sunset", 400, 280, 0, 150},
};

struct sNamedScene
{
    std::string fName;
    sPicture fPicture;
};

/// A part of an OpenEXR file. What its compression made negative becomes 0.
sPicture ReadCrop(const std::filesystem::path& pPath, const sCrop& pCrop)
{
    Imf::RgbaInputFile file(pPath.c_str());
    const Imath::Box2i window = file.dataWindow();
    const int width = window.max.x - window.min.x + 1, height = window.max.y - window.min.y + 1;
    Imf::Array2D<Imf::Rgba> pixels(height, width);
    file.setFrameBuffer(&pixels[0][0] - window.min.x - ptrdiff_t{window.min.y} * width, 1, static_cast<size_t>(width));
    file.readPixels(window.min.y, window.max.y);
    sPicture picture{pCrop.fWidth, pCrop.fHeight, {}};
    for (int y = pCrop.fTop; y < pCrop.fTop + pCrop.fHeight; y++)
        for (int x = pCrop.fLeft; x < pCrop.fLeft + pCrop.fWidth; x++)
            for (const half sample : {pixels[y][x].r, pixels[y][x].g, pixels[y][x].b})
                picture.fRGB.push_back(std::max(0.0f, static_cast<float>(sample)));
    return picture;
}

void AddPhotographs(const std::filesystem::path& pFolder, std::vector<sNamedScene>& pScenes)
{
    for (const sCrop& crop : kCrops)
        pScenes.push_back({crop.fName, ReadCrop(pFolder / (std::string(crop.fFile) + ".exr"), crop)});
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

sPlane LuminancePlane(const sPicture& pPicture)
{
    sPlane plane{pPicture.fWidth, pPicture.fHeight, {}};
    for (size_t i = 0; i < pPicture.fRGB.size(); i += 3)
        plane.fValues.push_back(LuminanceOf(&pPicture.fRGB[i]));
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
    tRGB8 rgb;
    for (size_t i = 0; i < pPicture.fRGB.size(); i += 3) {
        const double luminance = std::max(1e-9, LuminanceOf(&pPicture.fRGB[i]));
        const double factor = pNewLuminance(luminance) / luminance;
        for (size_t c = 0; c < 3; c++)
            rgb.push_back(Encoded(std::clamp(factor * static_cast<double>(pPicture.fRGB[i + c]), 0.0, 1.0)));
    }
    return rgb;
}

double Peak(const sPicture& pPicture)
{
    double peak = 0.0;
    for (size_t i = 0; i < pPicture.fRGB.size(); i += 3)
        peak = std::max(peak, LuminanceOf(&pPicture.fRGB[i]));
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
    for (size_t i = 0; i < pPicture.fRGB.size(); i += 3)
        sum += std::log(1e-6 + LuminanceOf(&pPicture.fRGB[i]));
    const double factor = 0.18 / std::exp(sum / (static_cast<double>(pPicture.fRGB.size()) / 3.0));
    const double white = factor * Peak(pPicture);
    return Global(pPicture, [=](double pLuminance) {
        const double scaled = factor * pLuminance;
        return scaled * (1.0 + scaled / (white * white)) / (1.0 + scaled);
    });
}

selvane_settings AllZero()
{
    selvane_settings settings = Selvane::Settings();
    settings.automatic = 0;
    return settings;
}

selvane_settings Fixed()
{
    selvane_settings settings = AllZero();
    settings.compression = 100.0f;
    settings.smoothness = -4.9f;
    settings.adaptation = 2.5f;
    settings.white_clip = 12.5f;
    settings.black_clip = 0.6f;
    settings.radius = -10.0f;
    return settings;
}

/// Writes a file whose kind its name tells.
void Write(const sPicture& pPicture, const tRGB8& pRGB8, const std::filesystem::path& pPath)
{
    VipsImage* image =
        vips_image_new_from_memory(pRGB8.data(), pRGB8.size(), pPicture.fWidth, pPicture.fHeight, 3, VIPS_FORMAT_UCHAR);
    if (image == nullptr) throw std::runtime_error("no memory for a picture");
    image->Type = VIPS_INTERPRETATION_sRGB;
    const int status = vips_image_write_to_file(image, pPath.c_str(), nullptr);
    g_object_unref(image);
    if (status != 0) throw std::runtime_error(vips_error_buffer());
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
                const auto* from = &cell.fRGB[3 * static_cast<size_t>(y) * static_cast<size_t>(cell.fWidth)];
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

void PrintSuggestion(Selvane::cToneMapper& pMapper)
{
    const selvane_settings look = pMapper.Suggest();
    std::printf(" | %4.0f %5.1f %5.2f %5.2f %4.0f | %8d | %s\n", static_cast<double>(look.compression),
                static_cast<double>(look.white_clip), static_cast<double>(look.black_clip),
                static_cast<double>(look.exposure), static_cast<double>(look.contrast), pMapper.Report().previews,
                pMapper.Reasons().front().c_str());
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

using tResults = std::vector<std::pair<std::string, tRGB8>>;

/// The pictures of the table's columns, in their order. The first four take no suggestion.
tResults Results(Selvane::cToneMapper& pMapper, const sPicture& pPicture)
{
    SetPicture(pMapper, pPicture);
    tResults results = {{"gamma", PlainGamma(pPicture)},
                        {"Reinhard", Reinhard(pPicture)},
                        {"all zero", Render(pMapper, AllZero())},
                        {"fixed", Render(pMapper, Fixed())}};
    for (const Selvane::sPreset& preset : Selvane::Presets())
        results.emplace_back(preset.fName, Render(pMapper, pMapper.Preset(preset.fName)));
    return results;
}

void PrintScene(const sNamedScene& pScene, const std::filesystem::path& pPictures, std::vector<sColumn>& pColumns,
                cSheet& pSheet)
{
    const sPicture& picture = pScene.fPicture;
    const cStructuralFidelity fidelity(LuminancePlane(picture));
    Selvane::cToneMapper mapper;
    std::printf("%-20s", pScene.fName.c_str());
    size_t column = 0;
    for (const auto& [name, rgb] : Results(mapper, picture)) {
        if (!pPictures.empty() && column > 3) Write(picture, rgb, pPictures / (pScene.fName + " " + name + ".png"));
        if (name == "natural") pSheet.Add(picture, rgb);
        const double quality = QualityOf(fidelity, GreyOf(picture, rgb));
        pColumns[column++].Add(quality);
        std::printf("  %5.3f", quality);
    }
    PrintSuggestion(mapper);
}

void PrintTable(const std::vector<sNamedScene>& pScenes, const std::filesystem::path& pPictures, const char* pSheet)
{
    std::printf("%-20s  gamma  Reinh   zero  fixed", "scene");
    for (const Selvane::sPreset& preset : Selvane::Presets())
        std::printf("  %-5.5s", preset.fName.c_str());
    std::printf(" | comp wclip bclip   exp contr | previews | first reason\n");
    std::vector<sColumn> columns(4 + Selvane::Presets().size());
    cSheet sheet(4);
    for (const sNamedScene& scene : pScenes)
        PrintScene(scene, pPictures, columns, sheet);
    if (!pPictures.empty()) sheet.Write(pPictures / pSheet);
    std::printf("%-20s", "mean");
    for (const sColumn& column : columns)
        std::printf("  %5.3f", column.fSum / column.fCount);
    std::printf("\n%-20s", "least");
    for (const sColumn& column : columns)
        std::printf("  %5.3f", column.fLeast);
    std::printf("\n\n");
}

/// Every preset of some scenes, a scene a column.
void WritePresets(const std::vector<sNamedScene>& pScenes, const std::filesystem::path& pPath)
{
    std::vector<tResults> results;
    for (const sNamedScene& scene : pScenes) {
        Selvane::cToneMapper mapper;
        results.push_back(Results(mapper, scene.fPicture));
    }
    cSheet sheet(static_cast<int>(pScenes.size()));
    for (size_t row = 4; row < results[0].size(); row++)
        for (size_t column = 0; column < pScenes.size(); column++)
            sheet.Add(pScenes[column].fPicture, results[column][row].second);
    sheet.Write(pPath);
}

} // namespace

int main(int pCount, char** pWords)
{
    try {
        if (VIPS_INIT(pWords[0]) != 0) throw std::runtime_error(vips_error_buffer());
        const std::filesystem::path pictures = pCount > 2 ? pWords[2] : "";
        std::vector<sNamedScene> photographs, made;
        if (pCount > 1) AddPhotographs(pWords[1], photographs);
        AddMade(made);
        if (!photographs.empty()) PrintTable(photographs, pictures, "photographs.jpg");
        PrintTable(made, pictures, "made.jpg");
        if (!pictures.empty()) WritePresets({made[0], made[4], made[5]}, pictures / "presets.jpg");
        return 0;
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "%s\n", failure.what());
    }
    return 1;
}
