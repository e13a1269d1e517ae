// The program selvane-scene.

#include "host/Workshop.h"
#include "picture/PictureLibrary.h"
#include "read/PictureReader.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace
{

using namespace SelvaneTest;

int Scene(const std::string& pWords)
{
    return std::system(("'" SELVANE_SCENE "' " + pWords + " 2>/dev/null").c_str());
}

class SceneProgram : public testing::Test
{
protected:
    static void SetUpTestSuite() { SelvaneHost::StartPictureLibrary(); }
    cFolder fFolder;
};

TEST_F(SceneProgram, IsTheSameEveryTimeAndSpansManyDecades)
{
    ASSERT_EQ(Scene("make --width 45 --scene '" + fFolder / "a.hdr" + "' --photograph '" + fFolder / "a.png" + "'"), 0);
    ASSERT_EQ(Scene("make --width 45 --scene '" + fFolder / "b.hdr" + "'"), 0);
    EXPECT_EQ(ReadAll(fFolder / "a.hdr"), ReadAll(fFolder / "b.hdr"));
    const sPicture picture = SelvaneHost::ReadPictureFile(fFolder / "a.hdr");
    EXPECT_EQ(picture.fWidth, 45);
    EXPECT_EQ(picture.fHeight, 30);
    int lowest = 255, highest = 0;
    for (size_t y = 0; y < 30; y++) {
        for (size_t x = 0; x < 45; x++) {
            const int exponent = picture.fPixels[y * 180 + 135 + x];
            lowest = std::min(lowest, exponent);
            highest = std::max(highest, exponent);
        }
    }
    EXPECT_GE((highest - lowest) * std::log10(2.0), 3.0) << "decades between the darkest and the brightest pixel";
    EXPECT_EQ(Look(fFolder / "a.png").fWidth, 45);
}

TEST_F(SceneProgram, PicturesAreJoinedSideBySide)
{
    const tBytes left = Samples8(4, 3), right = Samples8(5, 3, 2);
    Store(fFolder / "l.png", left.data(), 4, 3, Rgb8());
    Store(fFolder / "r.png", right.data(), 5, 3, Rgb8());
    ASSERT_EQ(Scene("join '" + fFolder / "l.png" + "' '" + fFolder / "r.png" + "' -o '" + fFolder / "both.png" + "'"),
              0);
    const sFound both = Look(fFolder / "both.png");
    ASSERT_EQ(both.fWidth, 4 + 12 + 5);
    EXPECT_TRUE(std::equal(left.begin(), left.begin() + 12, both.fPixels.begin()));
    EXPECT_TRUE(std::equal(right.begin(), right.begin() + 15, both.fPixels.begin() + 16 * 3));
    EXPECT_EQ(both.fPixels[5 * 3], 255);
    Store(fFolder / "tall.png", left.data(), 3, 4, Rgb8());
    EXPECT_NE(Scene("join '" + fFolder / "l.png" + "' '" + fFolder / "tall.png" + "' -o '" + fFolder / "no.png" + "'"),
              0);
    EXPECT_FALSE(Exists(fFolder / "no.png"));
}

} // namespace
