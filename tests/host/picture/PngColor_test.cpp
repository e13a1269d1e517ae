#include "host/Workshop.h"
#include "picture/Color.h"
#include "picture/PngColor.h"

#include <gtest/gtest.h>

namespace
{

using namespace SelvaneHost;

/// Returns a PNG file of one pixel with the chunk after its header.
tBytes PngWith(const tBytes& pChunk)
{
    const SelvaneTest::cFolder folder;
    const tBytes pixel = {1, 2, 3};
    SelvaneTest::Store(folder / "a.png", pixel.data(), 1, 1, SelvaneTest::Rgb8());
    tBytes file = SelvaneTest::ReadAll(folder / "a.png");
    file.insert(file.begin() + kPngColorPlace, pChunk.begin(), pChunk.end());
    return file;
}

TEST(PngColor, WhatIsPutInComesOut)
{
    for (const auto space : {SELVANE_SRGB, SELVANE_ADOBE_RGB, SELVANE_PROPHOTO}) {
        const tBytes profile = StoredProfile(space);
        EXPECT_EQ(PngProfile(PngWith(PngProfileChunk(profile, "a name"))), profile);
    }
    EXPECT_EQ(PngProfile(PngWith({})), tBytes());
}

TEST(PngColor, TheChunkHasTheLayoutOfThePngStandard)
{
    const tBytes chunk = PngProfileChunk({7, 7, 7}, "abc");
    const size_t size = chunk.size() - 12;
    EXPECT_EQ(chunk[0] << 24 | chunk[1] << 16 | chunk[2] << 8 | chunk[3], static_cast<int>(size));
    EXPECT_EQ(std::string(chunk.begin() + 4, chunk.begin() + 11), "iCCPabc");
    EXPECT_EQ(chunk[11], 0);
    EXPECT_EQ(chunk[12], 0);
}

TEST(PngColor, DamagedChunksGiveNoProfile)
{
    const tBytes whole = PngWith(PngProfileChunk(StoredProfile(SELVANE_ADOBE_RGB), "a name"));
    for (size_t size = 0; size < whole.size(); size++)
        PngProfile(tBytes(whole.begin(), whole.begin() + static_cast<long>(size)));
    const auto changed = [&](size_t pAt, unsigned char pTo) {
        tBytes file = whole;
        file[kPngColorPlace + pAt] = pTo;
        return PngProfile(file);
    };
    EXPECT_EQ(changed(0, 0xFF), tBytes()) << "longer than the file";
    EXPECT_EQ(changed(15, 1), tBytes()) << "an unknown method";
    EXPECT_EQ(changed(20, 0x55), tBytes()) << "data that do not inflate";
    tBytes endless = PngProfileChunk(StoredProfile(SELVANE_SRGB), "a name");
    for (size_t i = 8; i < 8 + 80; i++)
        endless[i] = 'x';
    EXPECT_EQ(PngProfile(PngWith(endless)), tBytes()) << "a name without end";
}

TEST(PngColor, TheSrgbChunksAreFoundAgain)
{
    EXPECT_EQ(PngNotes(PngWith(PngSrgbChunks())).fSpace, SELVANE_SRGB);
    EXPECT_FALSE(PngNotes(PngWith({})).fSpace.has_value());
    EXPECT_FALSE(PngNotes(PngWith(PngProfileChunk({7, 7, 7}, "sRGB"))).fSpace.has_value());
    const std::vector<SelvaneTest::sPngChunk> chunks = SelvaneTest::PngChunks(PngWith(PngSrgbChunks()));
    ASSERT_GE(chunks.size(), 5U);
    EXPECT_EQ(chunks[0].fType + chunks[1].fType + chunks[2].fType + chunks[3].fType, "IHDRsRGBgAMAcHRM");
}

TEST(PngColor, AnSrgbChunkThatIsNoneSaysNothing)
{
    const tBytes whole = PngWith(PngSrgbChunks());
    for (size_t size = 0; size < whole.size(); size++)
        PngNotes(tBytes(whole.begin(), whole.begin() + static_cast<long>(size)));
    tBytes longer = PngSrgbChunks();
    longer[3] = 2; // two bytes where one intent belongs
    EXPECT_FALSE(PngNotes(PngWith(longer)).fSpace.has_value());
    tBytes behind = PngWith({});
    const tBytes chunks = PngSrgbChunks();
    behind.insert(behind.end() - 12, chunks.begin(), chunks.end()); // before the end chunk: after the pixels
    EXPECT_FALSE(PngNotes(behind).fSpace.has_value());
}

TEST(PngColor, EveryColorChunkIsNoted)
{
    const sColorNotes own = PngNotes(PngWith(PngSrgbChunks()));
    ASSERT_TRUE(own.fGamma && own.fChromaticities);
    EXPECT_DOUBLE_EQ(*own.fGamma, 100000.0 / 45455.0);
    EXPECT_EQ(*own.fChromaticities, (std::array<float, 8>{0.64F, 0.33F, 0.3F, 0.6F, 0.15F, 0.06F, 0.3127F, 0.329F}));
    EXPECT_FALSE(own.fCodePoints.has_value());
    const sColorNotes coded = PngNotes(PngWith({0, 0, 0, 4, 'c', 'I', 'C', 'P', 9, 16, 0, 1, 0, 0, 0, 0}));
    ASSERT_TRUE(coded.fCodePoints.has_value());
    EXPECT_EQ(coded.fCodePoints->fPrimaries, 9);
    EXPECT_EQ(coded.fCodePoints->fTransfer, 16);
    EXPECT_FALSE(PngNotes(PngWith({0, 0, 0, 3, 'c', 'I', 'C', 'P', 9, 16, 0, 0, 0, 0, 0})).fCodePoints.has_value());
}

TEST(PngColor, AProfileThatGrowsBeyondReasonIsNone)
{
    EXPECT_EQ(PngProfile(PngWith(PngProfileChunk(tBytes(17 << 20, 0), "a name"))), tBytes());
    EXPECT_EQ(PngProfile(PngWith(PngProfileChunk(tBytes(1 << 20, 5), "a name"))).size(), 1U << 20);
}

} // namespace
