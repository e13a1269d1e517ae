#include "PngProfile.h"
#include "ProfileMatch.h"
#include "Workshop.h"

#include <gtest/gtest.h>

namespace
{

using namespace SelvaneHost;

/// A PNG file of one pixel with the chunk in its place.
tBytes PngWith(const tBytes& pChunk)
{
    const SelvaneTest::cFolder folder;
    const tBytes pixel = {1, 2, 3};
    SelvaneTest::Store(folder / "a.png", pixel.data(), 1, 1, SelvaneTest::Rgb8());
    tBytes file = SelvaneTest::ReadAll(folder / "a.png");
    file.insert(file.begin() + kPngProfilePlace, pChunk.begin(), pChunk.end());
    return file;
}

TEST(PngProfile, WhatIsPutInComesOut)
{
    for (const auto space :
         {Vornik::eColorSpace_sRGB, Vornik::eColorSpace_AdobeRGB98, Vornik::eColorSpace_ProPhotoRGB}) {
        const tBytes profile = StoredProfile(space);
        EXPECT_EQ(PngProfile(PngWith(PngProfileChunk(profile, "a name"))), profile);
    }
    EXPECT_EQ(PngProfile(PngWith({})), tBytes());
}

TEST(PngProfile, TheChunkIsLaidOutAsTheDocumentSays)
{
    const tBytes chunk = PngProfileChunk({7, 7, 7}, "abc");
    const size_t size = chunk.size() - 12;
    EXPECT_EQ(chunk[0] << 24 | chunk[1] << 16 | chunk[2] << 8 | chunk[3], static_cast<int>(size));
    EXPECT_EQ(std::string(chunk.begin() + 4, chunk.begin() + 11), "iCCPabc");
    EXPECT_EQ(chunk[11], 0);
    EXPECT_EQ(chunk[12], 0);
}

TEST(PngProfile, DamagedChunksGiveNoProfile)
{
    const tBytes whole = PngWith(PngProfileChunk(StoredProfile(Vornik::eColorSpace_AdobeRGB98), "a name"));
    for (size_t size = 0; size < whole.size(); size++)
        PngProfile(tBytes(whole.begin(), whole.begin() + static_cast<long>(size)));
    const auto changed = [&](size_t pAt, unsigned char pTo) {
        tBytes file = whole;
        file[kPngProfilePlace + pAt] = pTo;
        return PngProfile(file);
    };
    EXPECT_EQ(changed(0, 0xFF), tBytes()) << "longer than the file";
    EXPECT_EQ(changed(15, 1), tBytes()) << "an unknown method";
    EXPECT_EQ(changed(20, 0x55), tBytes()) << "data that do not inflate";
    tBytes endless = PngProfileChunk(StoredProfile(Vornik::eColorSpace_sRGB), "a name");
    for (size_t i = 8; i < 8 + 80; i++)
        endless[i] = 'x';
    EXPECT_EQ(PngProfile(PngWith(endless)), tBytes()) << "a name without end";
}

TEST(PngProfile, AProfileThatGrowsBeyondReasonIsNone)
{
    EXPECT_EQ(PngProfile(PngWith(PngProfileChunk(tBytes(17 << 20, 0), "a name"))), tBytes());
    EXPECT_EQ(PngProfile(PngWith(PngProfileChunk(tBytes(1 << 20, 5), "a name"))).size(), 1U << 20);
}

} // namespace
