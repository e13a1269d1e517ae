// The program `selvane-scene`. It renders the project's own high-dynamic-range picture, a dim room with the evening sun
// in its window. It also joins two pictures side by side, for the README.

#include "job/Report.h"
#include "picture/Errors.h"
#include "picture/ExponentPlanes.h"
#include "picture/PictureLibrary.h"
#include "read/PictureReader.h"
#include "scene/Render.h"
#include "write/OutputFile.h"
#include "write/PictureWriter.h"
#include "write/UnfinishedFile.h"

#include <CLI/CLI.hpp>
#include <selvane.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <thread>

namespace
{

using namespace SelvaneHost;
using SelvaneScene::sImage;

constexpr int kGap = 12; // pixels between two pictures side by side

/// Writes a Radiance file of flat scanlines.
void WriteRadiance(const sImage& pImage, const std::string& pPath)
{
    const std::string header = "#?RADIANCE\nFORMAT=32-bit_rle_rgbe\n\n-Y " + std::to_string(pImage.fHeight) + " +X " +
                               std::to_string(pImage.fWidth) + "\n";
    tBytes file(header.begin(), header.end());
    for (size_t i = 0; i < pImage.fPixels.size(); i += 3) {
        const sExponentPixel pixel = ToExponentPixel(pImage.fPixels[i], pImage.fPixels[i + 1], pImage.fPixels[i + 2]);
        for (const unsigned char byte : {pixel.fRed, pixel.fGreen, pixel.fBlue, pixel.fExponent})
            file.push_back(byte);
    }
    WriteFile(pPath, {file});
}

/// Returns the logarithmic mean of the luminance, like the meter of a camera.
double Middle(const sImage& pImage)
{
    double sum = 0.0;
    for (size_t i = 0; i < pImage.fPixels.size(); i += 3) {
        const float luminance =
            0.2126F * pImage.fPixels[i] + 0.7152F * pImage.fPixels[i + 1] + 0.0722F * pImage.fPixels[i + 2];
        sum += std::log(std::max(static_cast<double>(luminance), 1e-6));
    }
    return std::exp(sum / (static_cast<double>(pImage.fPixels.size()) / 3.0));
}

/// Encodes a linear value of sRGB.
unsigned char Encode(double pLinear)
{
    const double v = std::clamp(pLinear, 0.0, 1.0);
    const double encoded = v <= 0.0031308 ? 12.92 * v : 1.055 * std::pow(v, 1.0 / 2.4) - 0.055;
    return static_cast<unsigned char>(std::lround(encoded * 255.0));
}

/// Returns a photograph with one exposure. Values above white are cut off.
sPicture Photograph(const sImage& pImage, double pStops)
{
    const double exposure = 0.18 / Middle(pImage) * std::exp2(pStops);
    sPicture picture;
    AllocatePixels(picture, pImage.fWidth, pImage.fHeight, eSamples8);
    std::transform(pImage.fPixels.begin(), pImage.fPixels.end(), picture.fPixels.begin(),
                   [&](float value) { return Encode(static_cast<double>(value) * exposure); });
    return picture;
}

/// Returns two pictures of 8 bits and equal height, side by side on white.
sPicture SideBySide(const sPicture& pLeft, const sPicture& pRight)
{
    if (pLeft.fForm != eSamples8 || pRight.fForm != eSamples8 || pLeft.fHeight != pRight.fHeight)
        throw cHostError("pictures side by side need 8 bits a sample and one height");
    sPicture both;
    AllocatePixels(both, pLeft.fWidth + kGap + pRight.fWidth, pLeft.fHeight, eSamples8);
    std::fill(both.fPixels.begin(), both.fPixels.end(), static_cast<unsigned char>(255));
    for (int y = 0; y < pLeft.fHeight; y++) {
        std::memcpy(Row(both, y), Row(pLeft, y), RowBytes(pLeft));
        std::memcpy(Row(both, y) + RowBytes(both) - RowBytes(pRight), Row(pRight, y), RowBytes(pRight));
    }
    return both;
}

int Workers()
{
    return static_cast<int>(std::max(1U, std::thread::hardware_concurrency()));
}

void MakeScene(const std::string& pScene, const std::string& pPhotograph, int pWidth, double pStops)
{
    const sImage image = SelvaneScene::Render(pWidth, Workers());
    if (!pScene.empty()) WriteRadiance(image, pScene);
    if (!pPhotograph.empty()) WritePicture(Photograph(image, pStops), {.fKind = KindFor(pPhotograph)}, pPhotograph);
}

void Join(const std::string& pLeft, const std::string& pRight, const std::string& pOutput)
{
    const sPicture both = SideBySide(ReadPictureFile(pLeft), ReadPictureFile(pRight));
    WritePicture(both, {.fKind = KindFor(pOutput)}, pOutput);
}

void Run(int pCount, char** pWords)
{
    CLI::App app("Makes the project's own high-dynamic-range scene", "selvane-scene");
    app.require_subcommand(1);
    std::string scene, photograph, left, right, output;
    int width = 1080;
    double stops = 0.0;
    CLI::App* const make = app.add_subcommand("make", "render the scene");
    make->add_option("--scene", scene, "Radiance file to write (.hdr)");
    make->add_option("--photograph", photograph, "plain exposure of the scene to write (.png, .jpg)");
    make->add_option("--width", width, "pixels; the height is two thirds of it")->check(CLI::Range(12, 6000));
    make->add_option("--stops", stops, "exposure of the photograph, above or below the meter's");
    make->callback([&] { MakeScene(scene, photograph, width, stops); });
    CLI::App* const join = app.add_subcommand("join", "put two pictures side by side");
    join->add_option("LEFT", left)->required();
    join->add_option("RIGHT", right)->required();
    join->add_option("-o,--output", output)->required();
    join->callback([&] { Join(left, right, output); });
    app.parse(pCount, pWords);
}

} // namespace

int main(int pCount, char** pWords)
{
    CatchSignals();
    try {
        StartPictureLibrary();
        Run(pCount, pWords);
        return 0;
    } catch (const CLI::Success&) {
        return 0;
    } catch (const std::exception& failure) {
        Report(failure.what());
    }
    return 1;
}
