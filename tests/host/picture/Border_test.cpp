#include "picture/Border.h"

#include <gtest/gtest.h>

#include <cstring>

namespace
{

using namespace SelvaneHost;

/// A picture of 7 x 5 whose pixels all differ, with a value around the area.
sPicture Framed(eSampleForm pForm, const sArea& pInside, unsigned char pBorder)
{
    sPicture picture;
    AllocatePixels(picture, 7, 5, pForm, pForm == eExponentPlanes ? 3 : 4);
    for (int y = 0; y < 5; y++)
        for (int x = 0; x < 7; x++) {
            const bool in = x >= pInside.fLeft && x < pInside.fLeft + pInside.fWidth && y >= pInside.fTop &&
                            y < pInside.fTop + pInside.fHeight;
            const auto value = static_cast<unsigned char>(in ? 10 + 7 * y + x : pBorder);
            unsigned char* const row = Row(picture, y);
            if (pForm == eExponentPlanes)
                for (size_t plane = 0; plane < 4; plane++)
                    row[plane * 7 + static_cast<size_t>(x)] = value;
            else
                std::memset(row + static_cast<size_t>(x) * PixelBytes(picture), value, PixelBytes(picture));
        }
    return picture;
}

TEST(Border, IsWhatHasOneValueAtTheEdges)
{
    for (const eSampleForm form : {eSamples8, eSamples16, eExponentPlanes, eFloats})
        for (const sArea& inside : {sArea{5, 3, 1, 1}, {7, 3, 0, 1}, {4, 5, 3, 0}, {1, 1, 6, 4}, {6, 4, 1, 0}}) {
            const auto found = InsideOfBorder(Framed(form, inside, 200));
            ASSERT_TRUE(found.has_value()) << inside.fLeft;
            EXPECT_EQ(found->fWidth, inside.fWidth);
            EXPECT_EQ(found->fHeight, inside.fHeight);
            EXPECT_EQ(found->fLeft, inside.fLeft);
            EXPECT_EQ(found->fTop, inside.fTop);
            if (inside.fLeft + inside.fTop > 0) {
                EXPECT_EQ(CornerOf(Framed(form, inside, 200)).fPixels[0], 200);
            }
        }
}

TEST(Border, APictureWithoutOneStaysWhole)
{
    EXPECT_FALSE(InsideOfBorder(Framed(eSamples8, {7, 5, 0, 0}, 0)).has_value());
    EXPECT_FALSE(InsideOfBorder(Framed(eFloats, {0, 0, 0, 0}, 3)).has_value()) << "of one value";
    sPicture two = Framed(eSamples8, {5, 3, 1, 1}, 200);
    Row(two, 0)[0] = 201; // one pixel of the first row, which is also in the first column
    const auto found = InsideOfBorder(two);
    EXPECT_FALSE(found.has_value()) << "the corner decides the value";
}

/// A picture of 7 x 5 with other colours in each pixel. Alpha is 0 but for the area of 3 x 2 pixels at 2, 2.
sPicture Hidden(eSampleForm pForm, float pAlpha)
{
    sPicture picture;
    AllocatePixels(picture, 7, 5, pForm, 4);
    for (int y = 0; y < 5; y++)
        for (int x = 0; x < 7; x++) {
            unsigned char* const pixel = Row(picture, y) + static_cast<size_t>(x) * PixelBytes(picture);
            unsigned char* const alpha = pixel + PixelBytes(picture) / 4 * 3;
            std::memset(pixel, 10 + 7 * y + x, PixelBytes(picture));
            const bool in = x >= 2 && x < 5 && y >= 2 && y < 4;
            if (!in) std::memset(alpha, 0, PixelBytes(picture) / 4);
            if (!in && pForm == eFloats) std::memcpy(alpha, &pAlpha, sizeof pAlpha);
        }
    return picture;
}

TEST(Border, ColorsThatCannotBeSeenAreOfOneValue)
{
    for (const eSampleForm form : {eSamples8, eSamples16, eFloats})
        for (const float alpha : {0.0F, -0.0F, -1.0F}) {
            const auto found = InsideOfBorder(Hidden(form, alpha));
            ASSERT_TRUE(found.has_value()) << form;
            EXPECT_EQ(found->fWidth, 3);
            EXPECT_EQ(found->fHeight, 2);
            EXPECT_EQ(found->fLeft, 2);
            EXPECT_EQ(found->fTop, 2);
        }
    sPicture seen = Hidden(eSamples16, 0.0F);
    Row(seen, 0)[6] = 1; // the least alpha
    EXPECT_FALSE(InsideOfBorder(seen).has_value());
}

} // namespace
