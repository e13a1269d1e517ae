#include "host/metadata/Sample.h"
#include "metadata/MetadataReader.h"
#include "picture/PictureLibrary.h"
#include "write/PictureWriter.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <memory>
#include <sstream>

namespace SelvaneTest
{

namespace
{

using namespace SelvaneHost;

struct sFormat
{
    const char* fName; ///< as the page writes it
    const char* fExtension;
};

constexpr sFormat kInputs[] = {{"JPEG", ".jpg"},  {"PNG", ".png"},   {"TIFF", ".tif"},    {"WebP", ".webp"},
                               {"HEIF", ".heic"}, {"AVIF", ".avif"}, {"JPEG XL", ".jxl"}, {"OpenEXR", ".exr"}};
constexpr sFormat kOutputs[] = {{"JPEG", ".jpg"},  {"PNG", ".png"},   {"TIFF", ".tif"},
                                {"WebP", ".webp"}, {"AVIF", ".avif"}, {"JPEG XL", ".jxl"}};

/// A kind of metadata: what exiftool has to find.
struct sKind
{
    const char* fName;                                      ///< first cell of the row
    std::vector<std::pair<std::string, std::string>> fTags; ///< with their values; "*": any
    std::string fOther = {};                                ///< a tag of the same content in XMP
    std::string fOtherValue = {};
};

const std::vector<sKind> kKinds = {
    {"Exif",
     {{"IFD0:Copyright", "(c) A. Painter"},
      {"ExifIFD:DateTimeOriginal", "2021:03:04 05:06:07"},
      {"ExifIFD:OffsetTimeOriginal", "+02:00"},
      {"ExifIFD:ExposureTime", "0.008"},
      {"ExifIFD:FNumber", "5.6"},
      {"ExifIFD:ISO", "400"},
      {"ExifIFD:ExifImageWidth", "64"},
      {"ExifIFD:ExifImageHeight", "48"},
      {"ExifIFD:ColorSpace", "1"},
      {"IFD0:Orientation", "1"}}},
    {"GPS",
     {{"GPS:GPSLatitude", "33.5"},
      {"GPS:GPSLatitudeRef", "S"},
      {"GPS:GPSLongitude", "151.25"},
      {"GPS:GPSLongitudeRef", "E"},
      {"GPS:GPSAltitude", "35"}}},
    {"Maker's notes", {{"ExifIFD:MakerNoteUnknownText", kMakerNote}, {"IFD0:Make", "Selvane Works"}}},
    {"Thumbnail of the result", {{"IFD1:ThumbnailImage", "*"}}},
    {"IPTC", {{"IPTC:Keywords", "harbour, dusk"}, {"IPTC:City", "Sydney"}}, "XMP-dc:Subject", "harbour, dusk"},
    {"XMP", {{"XMP-dc:Title", "A harbour"}, {"XMP-dc:Rights", "(c) A. Painter"}, {"XMP-tiff:Orientation", "1"}}},
    {"Settings and version",
     {{"XMP-selvane:Settings", "exposure = 1."},
      {"XMP-selvane:Version", "9.9"}}}, // exiftool shows a line feed as a dot
};

/// "all", "none", "all but A", or the names.
std::string ListOf(const std::vector<std::string>& pNames)
{
    if (pNames.empty()) return "none";
    if (pNames.size() == std::size(kInputs)) return "all";
    std::vector<std::string> missing;
    for (const sFormat& input : kInputs)
        if (std::ranges::find(pNames, input.fName) == pNames.end()) missing.emplace_back(input.fName);
    const bool few = missing.size() <= 2;
    std::string list = few ? "all but " : "";
    for (const std::string& name : few ? missing : pNames)
        list += (list.empty() || list == "all but " ? "" : ", ") + name;
    return list;
}

/// The rows of the table in the page: first cell to the other cells.
std::map<std::string, std::vector<std::string>> RowsOfThePage()
{
    const tBytes page = ReadAll(SELVANE_METADATA_PAGE);
    std::istringstream lines(std::string(page.begin(), page.end()));
    std::map<std::string, std::vector<std::string>> rows;
    for (std::string line; std::getline(lines, line);) {
        if (!line.starts_with("| ")) continue;
        std::vector<std::string> cells;
        for (size_t at = 2, end = 0; (end = line.find(" |", at)) != std::string::npos; at = end + 3)
            cells.push_back(line.substr(at, end - at));
        rows.emplace(cells.front(), std::vector<std::string>(cells.begin() + 1, cells.end())); // the first table
    }
    return rows;
}

/// "jpg-out.png"
std::string NameOf(const std::string& pInput, const std::string& pOutput)
{
    std::string name = pInput.substr(1);
    return name.append("-out").append(pOutput);
}

/// Writes a picture with the metadata of each input to each output.
void StoreAll(const cFolder& pFolder)
{
    for (const sFormat& input : kInputs) {
        const std::string path = pFolder / std::string("in").append(input.fExtension);
        StoreWithMetadata(path);
        sPicture picture;
        AllocatePixels(picture, 64, 48, eSamples8);
        picture.fPixels = Samples8(64, 48);
        picture.fMetadata = ReadMetadata(ReadAll(path), picture.fWarnings);
        for (const sFormat& output : kOutputs) {
            sStorage storage;
            storage.fKind = KindFor(std::string("x").append(output.fExtension));
            storage.fSettings = "exposure = 1\n";
            storage.fVersion = "9.9";
            const std::string name = NameOf(input.fExtension, output.fExtension);
            EXPECT_THAT(WritePicture(picture, storage, pFolder / name), testing::IsEmpty()) << name;
        }
    }
}

class MetadataTable : public testing::Test
{
protected:
    static void SetUpTestSuite()
    {
        StartPictureLibrary();
        gFolder = std::make_unique<cFolder>();
        StoreAll(*gFolder);
    }
    static void TearDownTestSuite() { gFolder.reset(); }

    /// What exiftool finds of the tags in all files of an output format, in the order of kInputs.
    static std::vector<std::vector<std::string>> Found(const sFormat& pOutput, const std::vector<std::string>& pTags)
    {
        std::vector<std::string> paths;
        for (const sFormat& input : kInputs)
            paths.push_back(*gFolder / NameOf(input.fExtension, pOutput.fExtension));
        return TagsOf(paths, pTags);
    }

    /// The cell of a kind and an output.
    static std::string Cell(const sKind& pKind, const sFormat& pOutput)
    {
        std::vector<std::string> tags;
        for (const auto& [tag, value] : pKind.fTags)
            tags.push_back(tag);
        if (!pKind.fOther.empty()) tags.push_back(pKind.fOther);
        const auto found = Found(pOutput, tags);
        std::vector<std::string> whole, moved;
        for (size_t i = 0; i < std::size(kInputs); i++) {
            const bool kept = std::ranges::all_of(pKind.fTags, [&](const auto& tag) {
                const size_t column = static_cast<size_t>(&tag - pKind.fTags.data());
                return tag.second == "*" ? found[i][column] != "-" : found[i][column] == tag.second;
            });
            if (kept) whole.emplace_back(kInputs[i].fName);
            if (!kept && !pKind.fOther.empty() && found[i].back() == pKind.fOtherValue)
                moved.emplace_back(kInputs[i].fName);
        }
        return moved.empty() ? ListOf(whole) : ListOf(moved) + ", as XMP";
    }

    static std::unique_ptr<cFolder> gFolder;
};

std::unique_ptr<cFolder> MetadataTable::gFolder;

TEST_F(MetadataTable, EachCellOfThePageIsWhatExiftoolFinds)
{
    const auto rows = RowsOfThePage();
    for (const sKind& kind : kKinds) {
        std::vector<std::string> cells;
        for (const sFormat& output : kOutputs)
            cells.push_back(Cell(kind, output));
        const auto row = rows.find(kind.fName);
        ASSERT_NE(row, rows.end()) << kind.fName << ": " << testing::PrintToString(cells);
        EXPECT_EQ(row->second, cells) << kind.fName;
    }
}

// The old thumbnail of 16 x 12 pixels is gone, and the new one shows the whole picture of 64 x 48.
TEST_F(MetadataTable, TheThumbnailIsOneOfTheResult)
{
    for (const sFormat& output : kOutputs) {
        if (std::string(output.fName) == "TIFF") continue;
        const std::string path = *gFolder / NameOf(".jpg", output.fExtension);
        const std::string thumbnail = Exiftool({"-b", "-ThumbnailImage", path});
        WriteAll(*gFolder / "thumbnail.jpg", thumbnail);
        const sFound found = Look(*gFolder / "thumbnail.jpg");
        EXPECT_EQ(found.fWidth, 64) << output.fName;
        EXPECT_EQ(found.fHeight, 48) << output.fName;
    }
}

} // namespace

} // namespace SelvaneTest
