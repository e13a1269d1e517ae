// The options of the output, by the command itself.

#include "host/command/CommandTest.h"
#include "host/metadata/Sample.h"

#include <cmath>
#include <cstdlib>
#include <fcntl.h>
#include <unistd.h>
#include <vips/vips.h>

namespace SelvaneTest
{

namespace
{

using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;

struct sKindCase
{
    const char* fExtension;
    const char* fFormat;
    const char* fFileType; ///< as exiftool names it
};

constexpr sKindCase kKindCases[] = {
    {".png", "png", "PNG"},    {".TIF", "tiff", "TIFF"},           {".tiff", "tiff", "TIFF"}, {".jpg", "jpeg", "JPEG"},
    {".jpeg", "jpeg", "JPEG"}, {".webp", "webp", "Extended WEBP"}, {".avif", "avif", "AVIF"}, {".jxl", "jxl", "JXL"}};

/// "61 43", as libvips reads it.
std::string SizeOf(const std::string& pPath)
{
    vips_operation_block_set("VipsForeignLoadJxl", FALSE); // libvips calls it untrusted
    VipsImage* const image = vips_image_new_from_file(pPath.c_str(), nullptr);
    if (image == nullptr) return vips_error_buffer();
    const int width = vips_image_get_width(image), height = vips_image_get_height(image);
    g_object_unref(image);
    return std::to_string(width).append(" ").append(std::to_string(height));
}

class OutputCommand : public Command
{
protected:
    /// Runs tonemap on in.hdr with further words.
    sRun Tonemap(std::vector<std::string> pWords) const
    {
        pWords.insert(pWords.begin(), {"tonemap", Hdr(), "--quiet"});
        return Selvane(pWords);
    }

    std::vector<std::string> PathsOfAll() const
    {
        std::vector<std::string> paths;
        for (const sKindCase& kind : kKindCases)
            paths.push_back(Path(kind.fExtension));
        return paths;
    }

    /// What exiftool says of those files.
    static std::vector<std::vector<std::string>> FileTypes()
    {
        std::vector<std::vector<std::string>> types;
        for (const sKindCase& kind : kKindCases)
            types.push_back({kind.fFileType});
        return types;
    }

    std::string Path(const std::string& pExtension) const { return fFolder / std::string("out").append(pExtension); }
};

TEST_F(OutputCommand, TheExtensionDecidesTheKind)
{
    for (const sKindCase& kind : kKindCases) {
        ExpectQuietSuccess(Tonemap({"-o", Path(kind.fExtension)}));
        EXPECT_EQ(SizeOf(Path(kind.fExtension)), "61 43") << kind.fExtension;
    }
    EXPECT_EQ(TagsOf(PathsOfAll(), {"File:FileType"}), FileTypes());
}

TEST_F(OutputCommand, TheFormatIsChosenByHand)
{
    std::vector<std::string> paths;
    for (const sKindCase& kind : kKindCases) {
        paths.push_back(Path(std::string(kind.fExtension).append("-any")));
        ExpectQuietSuccess(Tonemap({"-o", paths.back(), "--format", kind.fFormat}));
    }
    EXPECT_EQ(TagsOf(paths, {"File:FileType"}), FileTypes());
    ExpectFailure(Tonemap({"-o", Path(".any")}), 2, ".webp, .avif or .jxl, or --format names its kind");
    ExpectFailure(Tonemap({"-o", Path(".png"), "--format", "gif"}), 2, "--format");
}

TEST_F(OutputCommand, StandardOutputGetsTheSameBytesAsAFile)
{
    for (const sKindCase& kind : kKindCases) {
        ExpectQuietSuccess(Tonemap({"-o", Path(kind.fExtension)}));
        const sRun run = Tonemap({"-o", "-", "--format", kind.fFormat});
        ExpectQuietSuccess(run);
        EXPECT_TRUE(tBytes(run.fOut.begin(), run.fOut.end()) == ReadAll(Path(kind.fExtension))) << kind.fExtension;
    }
    EXPECT_FALSE(Exists("-"));
    ExpectFailure(Tonemap({"-o", "-"}), 2, "standard output needs a kind of file: --format");
}

TEST_F(OutputCommand, StandardOutputThatIsFullOrATerminalIsAFailure)
{
    const std::vector<std::string> words = {"tonemap", Hdr(), "--quiet", "-o", "-", "--format", "png"};
    ExpectFailure(Selvane(words, [] { ::dup2(::open("/dev/full", O_WRONLY), STDOUT_FILENO); }), 1, "No space left");
    const int terminal = ::posix_openpt(O_RDWR | O_NOCTTY);
    ASSERT_EQ(::grantpt(terminal) | ::unlockpt(terminal), 0);
    const std::string name = ::ptsname(terminal);
    const auto connect = [&] {
        ::dup2(::open(name.c_str(), O_RDWR | O_NOCTTY), STDOUT_FILENO);
        ::alarm(20); // nobody reads the terminal: bytes to it would wait for ever
    };
    ExpectFailure(Selvane(words, connect), 2, "standard output is a terminal");
    ::close(terminal);
}

TEST_F(OutputCommand, DepthsThatTheKindDoesNotHoldAreRefused)
{
    ExpectFailure(Tonemap({"-o", Path(".jpg"), "--depth", "16"}), 2, "JPEG files hold 8 bits a sample, not 16");
    ExpectFailure(Tonemap({"-o", Path(".webp"), "--depth", "16"}), 2, "WebP files hold 8 bits a sample, not 16");
    ExpectFailure(Tonemap({"-o", Path(".avif"), "--depth", "16"}), 2, "AVIF files hold 8, 10 or 12 bits a sample");
    ExpectFailure(Tonemap({"-o", Path(".png"), "--depth", "10"}), 2, "PNG files hold 8 or 16 bits a sample, not 10");
    ExpectFailure(Tonemap({"-o", Path(".jxl"), "--depth", "12"}), 2, "JPEG XL files hold 8 or 16 bits a sample");
    ExpectFailure(Tonemap({"-o", Path(".png"), "--depth", "9"}), 2, "--depth");
}

TEST_F(OutputCommand, DepthsAreThoseThatWereAskedFor)
{
    for (const char* depth : {"8", "10", "12"}) {
        ExpectQuietSuccess(Tonemap({"-o", Path(".avif"), "--depth", depth}));
        const std::string pixels = TagOf(Path(".avif"), "ImagePixelDepth");
        EXPECT_EQ(pixels, std::string(depth) + " " + depth + " " + depth);
    }
    ExpectQuietSuccess(Tonemap({"-o", Path(".avif")}));
    EXPECT_EQ(TagOf(Path(".avif"), "ImagePixelDepth"), "10 10 10");
    ExpectQuietSuccess(Selvane({"tonemap", Png(), "--quiet", "-o", Path(".avif")}));
    EXPECT_EQ(TagOf(Path(".avif"), "ImagePixelDepth"), "8 8 8");
}

TEST_F(OutputCommand, QualityAndSubsamplingReachTheFile)
{
    const auto size = [&](const std::string& pExtension, const char* pQuality) {
        ExpectQuietSuccess(Tonemap({"-o", Path(pExtension), "--no-metadata", "--quality", pQuality}));
        return ReadAll(Path(pExtension)).size();
    };
    for (const char* extension : {".jpg", ".webp", ".avif", ".jxl"})
        EXPECT_LT(size(extension, "10"), size(extension, "95")) << extension;
    for (const char* wrong : {"0", "101", "x", "-1"})
        ExpectFailure(Tonemap({"-o", Path(".jpg"), "--quality", wrong}), 2, "--quality");

    ExpectQuietSuccess(Tonemap({"-o", Path(".jpg")}));
    EXPECT_EQ(TagOf(Path(".jpg"), "YCbCrSubSampling"), "1 1");
    ExpectQuietSuccess(Tonemap({"-o", Path(".jpg"), "--subsampling", "420"}));
    EXPECT_EQ(TagOf(Path(".jpg"), "YCbCrSubSampling"), "2 2");
    ExpectQuietSuccess(Tonemap({"-o", Path(".avif"), "--subsampling", "420"}));
    const size_t halved = ReadAll(Path(".avif")).size();
    ExpectQuietSuccess(Tonemap({"-o", Path(".avif")}));
    EXPECT_LT(halved, ReadAll(Path(".avif")).size());
    ExpectFailure(Tonemap({"-o", Path(".jpg"), "--subsampling", "411"}), 2, "--subsampling");
}

TEST_F(OutputCommand, ResizedPicturesHaveTheirSize)
{
    const auto size = [&](std::vector<std::string> pWords) {
        pWords.insert(pWords.end(), {"-o", Out()});
        ExpectQuietSuccess(Tonemap(pWords));
        return SizeOf(Out());
    };
    EXPECT_EQ(size({"--resize", "30"}), "30 21"); // 30 * 43 / 61 = 21.1
    EXPECT_EQ(size({"--resize", "x20"}), "28 20");
    EXPECT_EQ(size({"--resize", "20x20"}), "20 14");
    EXPECT_EQ(size({"--resize", "50%"}), "31 22");
    EXPECT_EQ(size({"--resize", "200"}), "61 43");
    EXPECT_EQ(size({"--resize", "122", "--enlarge"}), "122 86");
    ExpectFailure(Tonemap({"-o", Out(), "--resize", "10x10+3"}), 2, "write WIDTH, xHEIGHT, WIDTHxHEIGHT or NUMBER%");
}

/// The mean of the samples of an 8-bit file, as light.
double Light(const std::string& pPath)
{
    const tBytes pixels = Look(pPath).fPixels;
    double sum = 0;
    for (const unsigned char sample : pixels)
        sum += sample <= 10 ? sample / 255.0 / 12.92 : std::pow((sample / 255.0 + 0.055) / 1.055, 2.4);
    return sum / static_cast<double>(pixels.size());
}

TEST_F(OutputCommand, AResizedPictureHasTheLightOfTheWholeOne)
{
    ExpectQuietSuccess(Tonemap({"-o", Path("-whole.png"), "--depth", "8"}));
    ExpectQuietSuccess(Tonemap({"-o", Path("-small.png"), "--depth", "8", "--resize", "20"}));
    EXPECT_NEAR(Light(Path("-small.png")) / Light(Path("-whole.png")), 1.0, 0.02);
}

/// The area is cut out of the upright picture, and the result is made of what was cut out alone.
TEST_F(OutputCommand, APictureIsTurnedThenCutThenResized)
{
    constexpr size_t kUpright = 90, kCutWidth = 60, kCutHeight = 80, kLeft = 21, kTop = 33; // of 120 x 90 that lie
    const std::vector<uint16_t> lying = Samples16(120, static_cast<int>(kUpright));
    std::vector<uint16_t> cut;
    for (size_t y = kTop; y < kTop + kCutHeight; y++)
        for (size_t x = kLeft; x < kLeft + kCutWidth; x++) // orientation 6: a quarter turn to the right
            for (size_t color = 0; color < 3; color++)
                cut.push_back(lying[((kUpright - 1 - x) * 120 + y) * 3 + color]);
    sStored how = Rgb16();
    Store(fFolder / "cut.tif", cut.data(), kCutWidth, kCutHeight, how);
    how.fOrientation = 6;
    Store(fFolder / "lying.tif", lying.data(), 120, static_cast<int>(kUpright), how);
    for (const std::string size : {"30", "x40", "50%", "30x30"}) {
        ExpectQuietSuccess(Selvane({"tonemap", "-q", fFolder / "cut.tif", "-o", Out(), "--resize", size}));
        const sFound expected = Look(Out());
        ExpectQuietSuccess(
            Selvane({"tonemap", "-q", fFolder / "lying.tif", "-o", Out(), "--resize", size, "--crop", "60x80+21+33"}));
        const sFound found = Look(Out());
        EXPECT_EQ(found.fWidth, expected.fWidth) << size;
        EXPECT_LE(found.fHeight, 40) << size;
        EXPECT_EQ(found.fPixels, expected.fPixels) << size;
    }
}

TEST_F(OutputCommand, TheExactCommandRepeatsTheOutput)
{
    const sRun run = Selvane({"tonemap", Hdr(), "-o", Path(".webp"), "--quality", "70", "--resize", "x20",
                              "--no-metadata", "--subsampling", "420"});
    EXPECT_EQ(run.fStatus, 0);
    EXPECT_THAT(run.fErr, HasSubstr(" --quality 70 --subsampling 420 --resize x20 --no-metadata"));
}

TEST_F(OutputCommand, TheSettingsInTheFileGiveTheSamePictureAgain)
{
    ExpectQuietSuccess(Tonemap({"-o", Path("-one.png"), "--contrast", "10"}));
    WriteAll(fFolder / "look.toml", Exiftool({"-b", "-XMP-selvane:Settings", Path("-one.png")}));
    EXPECT_THAT(TagOf(Path("-one.png"), "XMP-selvane:Version"), HasSubstr(SELVANE_COMMAND_VERSION " (libselvane "));
    ExpectQuietSuccess(Tonemap({"-o", Path("-two.png"), "--settings", fFolder / "look.toml"}));
    EXPECT_TRUE(Look(Path("-one.png")).fPixels == Look(Path("-two.png")).fPixels);
}

TEST_F(OutputCommand, MetadataTravelThroughTheCommand)
{
    for (const char* input : {"in.jpg", "in.tif", "in.exr"}) {
        StoreWithMetadata(fFolder / input);
        for (const std::string& out : PathsOfAll())
            EXPECT_EQ(Selvane({"tonemap", "-q", fFolder / input, "-o", out}).fStatus, 0);
        EXPECT_THAT(TagsOf(PathsOfAll(), {"IFD0:Copyright", "ExifIFD:ExposureTime", "GPS:GPSLatitude"}),
                    Each(ElementsAre("(c) A. Painter", "0.008", "33.5")))
            << input;
    }
}

TEST_F(OutputCommand, MetadataAreLeftOutOnRequest)
{
    StoreWithMetadata(fFolder / "in.jpg");
    const auto found = [&](const char* pOption) {
        for (const std::string& out : PathsOfAll())
            ExpectQuietSuccess(Selvane({"tonemap", "-q", fFolder / "in.jpg", "-o", out, pOption}));
        return TagsOf(PathsOfAll(),
                      {"IFD0:Copyright", "GPS:GPSLatitude", "XMP-selvane:Version", "XMP-photoshop:State"});
    };
    EXPECT_THAT(found("--no-metadata"), Each(ElementsAre("-", "-", "-", "-")));
    EXPECT_THAT(found("--strip-location"), Each(ElementsAre("(c) A. Painter", "-", testing::Ne("-"), "-")));
}

// A turn that the file asks for is carried out once: the pixels are upright, and no mark asks again.
TEST_F(OutputCommand, OrientationIsAppliedOnce)
{
    for (const char* input : {"in.jpg", "in.tif"}) {
        StoreWithMetadata(fFolder / input);
        Exiftool({"-q", "-n", "-overwrite_original", "-IFD0:Orientation=6", fFolder / input});
        for (const std::string& out : PathsOfAll()) {
            EXPECT_EQ(Selvane({"tonemap", "-q", fFolder / input, "-o", out}).fStatus, 0);
            EXPECT_EQ(SizeOf(out), "48 64") << input << out;
        }
        EXPECT_THAT(TagsOf(PathsOfAll(), {"IFD0:Orientation", "XMP-tiff:Orientation"}), Each(ElementsAre("1", "1")))
            << input;
    }
}

TEST_F(OutputCommand, TheColorSpaceTagFollowsTheProfile)
{
    StoreWithMetadata(fFolder / "in.jpg");
    const std::pair<const char*, const char*> spaces[] = {{"srgb", "1"}, {"adobe", "65535"}, {"prophoto", "65535"}};
    for (const auto& [space, tag] : spaces) {
        ExpectQuietSuccess(Selvane({"tonemap", "-q", fFolder / "in.jpg", "-o", Path(".jpg"), "--color-space", space}));
        EXPECT_EQ(TagOf(Path(".jpg"), "ExifIFD:ColorSpace"), tag);
        EXPECT_EQ(TagOf(Path(".jpg"), "InteropIFD:InteropIndex"), std::string(space) == "srgb"    ? "R98"
                                                                  : std::string(space) == "adobe" ? "R03"
                                                                                                  : "-");
    }
}

} // namespace

} // namespace SelvaneTest
