#include "write/OutputOptions.h"

#include "picture/Errors.h"

#include <CLI/CLI.hpp>

namespace SelvaneHost
{

namespace
{

constexpr const char* kFull = "444";
constexpr const char* kHalved = "420";

void AddFileOptions(CLI::App& pCommand, sOutput& pOutput)
{
    AddFormat(pCommand, pOutput);
    pCommand
        .add_option("--depth", pOutput.fDepth,
                    "bits of an output sample: 8 or 16, for AVIF 8, 10 or 12, for JPEG and WebP 8 (default: 8 for an "
                    "8-bit input, else the deep form of the kind)")
        ->check(CLI::IsMember({8, 10, 12, 16}));
    pCommand
        .add_option("--quality", pOutput.fQuality,
                    "1 to 100, for JPEG (default 95), WebP (90), AVIF (80) and JPEG XL (90; 100 is lossless)")
        ->check(CLI::Range(1, 100));
    pCommand
        .add_option_function<std::string>(
            "--subsampling",
            [&pOutput](const std::string& pName) {
                pOutput.fSubsampling = pName == kHalved ? eHalvedColor : eFullColor;
            },
            "colour of JPEG, WebP and AVIF: 444 (default) for each pixel, 420 for each square of four")
        ->check(CLI::IsMember({kFull, kHalved}));
}

void AddMetadataOptions(CLI::App& pCommand, sOutput& pOutput)
{
    pCommand.add_flag("--no-metadata", pOutput.fMetadata.fNone, "leave out all metadata but the colour profile");
    pCommand.add_flag("--strip-location", pOutput.fMetadata.fStripLocation,
                      "leave out where the picture was taken, and the maker's notes");
}

} // namespace

void AddFormat(CLI::App& pCommand, sOutput& pOutput)
{
    pCommand.add_option("--format", pOutput.fFormat, "kind of the output (default: what its name says)")
        ->check(CLI::IsMember(FileKindNames()));
}

CLI::Option* AddOutputOptions(CLI::App& pCommand, sOutput& pOutput)
{
    CLI::Option* const output = pCommand.add_option(
        "-o,--output", pOutput.fPath,
        "picture to write: .png, .tif, .tiff, .jpg, .jpeg, .webp, .avif or .jxl; - is standard output");
    pCommand.add_flag("--force", pOutput.fForce, "write the output even where it is the input");
    AddStorageOptions(pCommand, pOutput);
    return output;
}

void AddStorageOptions(CLI::App& pCommand, sOutput& pOutput)
{
    AddFileOptions(pCommand, pOutput);
    AddMetadataOptions(pCommand, pOutput);
}

void AddResizeOptions(CLI::App& pCommand, sOutput& pOutput)
{
    pCommand.add_option_function<std::string>(
        "--resize",
        [&pOutput](const std::string& pText) {
            const std::optional<sResize> resize = ReadResize(pText);
            if (!resize) throw CLI::ValidationError("--resize", "write WIDTH, xHEIGHT, WIDTHxHEIGHT or NUMBER%");
            pOutput.fResize = resize;
        },
        "size of the result: WIDTH, xHEIGHT, WIDTHxHEIGHT to fit into, or NUMBER%; never larger than the picture");
    pCommand.add_flag("--enlarge", pOutput.fEnlarge, "let --resize make the picture larger");
}

} // namespace SelvaneHost
