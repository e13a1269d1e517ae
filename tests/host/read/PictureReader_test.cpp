// Files of all kinds, of other kinds, cut and damaged.

#include "host/read/ReadingTest.h"
#include "picture/Color.h"

#include <csignal>
#include <random>
#include <vips/vips.h>

namespace
{

using namespace SelvaneHost;
using namespace SelvaneTest;
using testing::HasSubstr;

class PictureReader : public cReadingTest
{
};

TEST_F(PictureReader, FilesOfOtherKindsAreRefused)
{
    WriteAll(fFolder / "empty.png", "");
    EXPECT_THAT(RefusalOf("empty.png"), HasSubstr("empty"));
    for (const char* text :
         {"hello", "P6 1 1 255\n...", "GIF89a......", "RIFF....WAVEfmt ", "<svg xmlns='x'/>", "\x89PN", "II*"}) {
        WriteAll(fFolder / "other.png", std::string(text));
        EXPECT_THAT(RefusalOf("other.png"), HasSubstr("not a picture of a kind that can be read")) << text;
    }
    EXPECT_THAT(RefusalOf("missing.png"), HasSubstr("No such file or directory"));
    EXPECT_THAT(RefusalOf("."), HasSubstr("Is a directory"));
}

TEST_F(PictureReader, TheLoadersThatThePictureLibraryDoesNotTrustAreBlocked)
{
    for (const char* blocked : {"ppmload", "radload", "openexrload", "svgload", "vipsload", "csvload"}) {
        VipsOperation* const operation = vips_operation_new(blocked);
        const auto flags = operation == nullptr ? 0 : VIPS_OPERATION_GET_CLASS(operation)->flags;
        EXPECT_TRUE(operation == nullptr || (flags & VIPS_OPERATION_BLOCKED) != 0) << blocked;
    }
    for (const char* open : {"pngload_buffer", "jpegload_buffer", "tiffload_buffer"})
        EXPECT_EQ(VIPS_OPERATION_GET_CLASS(vips_operation_new(open))->flags & VIPS_OPERATION_BLOCKED, 0) << open;
    const std::string text = "P5 1 1 255\nx";
    EXPECT_EQ(vips_image_new_from_buffer(text.data(), text.size(), "", nullptr), nullptr);
    vips_error_clear();
}

#ifndef SELVANE_SANITIZED // a sanitizer ends the process itself
TEST_F(PictureReader, TheFatalLineOfThePictureLibraryIsPrinted)
{
    EXPECT_EXIT(g_malloc(size_t{1} << 62), testing::KilledBySignal(SIGTRAP),
                "^selvane: the picture library gives up: [^\n]*failed to allocate[^\n]*\n$");
}
#endif

// The directory and the colour profile are at the end of a TIFF file.
TEST_F(PictureReader, EveryCutOfATiffIsRefused)
{
    const tBytes eight = Samples8(24, 20);
    sStored profiled = Rgb8();
    profiled.fProfile = StoredProfile(SELVANE_ADOBE_RGB);
    Store(fFolder / "a.tif", eight.data(), 24, 20, profiled);
    Store(fFolder / "big.tif[bigtiff]", eight.data(), 24, 20, profiled);
    for (const char* name : {"a.tif", "big.tif"}) {
        const tBytes whole = ReadAll(fFolder / name);
        ASSERT_EQ(RefusalOf(name), "");
        for (size_t size = 0; size + 1 < whole.size(); size += 5) // the very last byte may be padding
            ASSERT_THROW(ReadPicture(tBytes(whole.begin(), whole.begin() + static_cast<long>(size))), cHostError)
                << name << " of " << size << " bytes";
    }
}

TEST_F(PictureReader, CutFilesAreRefused)
{
    for (const auto& [name, whole] : OneOfEachKind(fFolder)) {
        ASSERT_EQ(RefusalOf(name), "") << name;
        for (size_t tenth = 0; tenth < 9; tenth++) {
            const tBytes cut(whole.begin(), whole.begin() + static_cast<long>(whole.size() * tenth / 10));
            WriteAll(fFolder / "cut", cut);
            EXPECT_NE(RefusalOf("cut"), "") << name << " cut to " << tenth << " tenths";
        }
    }
}

// The reader returns a picture or throws a text, for any bytes.
TEST_F(PictureReader, BrokenFilesEndInAPictureOrInWords)
{
    std::mt19937 random(11);
    int refused = 0;
    for (const auto& [name, whole] : OneOfEachKind(fFolder)) {
        for (int round = 0; round < 1000; round++) {
            try {
                const sPicture picture = ReadPicture(Broken(whole, random));
                EXPECT_EQ(picture.fPixels.size(), RowBytes(picture) * static_cast<size_t>(picture.fHeight));
            } catch (const cHostError& failure) {
                refused++;
                EXPECT_STRNE(failure.what(), "");
            } catch (const std::bad_alloc&) {
                refused++;
            }
        }
    }
    EXPECT_GT(refused, 1000) << "most of what is broken shows";
}

} // namespace
