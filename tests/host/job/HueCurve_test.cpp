#include "host/Workshop.h"
#include "job/HueCurve.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace
{

using namespace SelvaneHost;

std::string RefusalOf(const std::string& pList)
{
    return SelvaneTest::Refusal([&] { ParseHueCurve(pList, "--hue-shift"); });
}

TEST(HueCurve, PointsAreReadAsTheyStand)
{
    const selvane_curve curve = ParseHueCurve("1:0.5,0:0.5,0.33:0.6", "--hue-shift");
    ASSERT_EQ(curve.count, 3);
    EXPECT_EQ(curve.points[0].x, 1.0F);
    EXPECT_EQ(curve.points[1].x, 0.0F);
    EXPECT_EQ(curve.points[2].x, 0.33F);
    EXPECT_EQ(curve.points[2].y, 0.6F);
    EXPECT_EQ(ParseHueCurve("0.5:1", "x").count, 1);
}

TEST(HueCurve, WhatIsNoListOfPointsIsRefused)
{
    for (const char* text :
         {"", "0.5", "0.5:", ":0.5", "0.5:0.5,", ",0.5:0.5", "a:0.5", "0.5:0.5x", "0.5:0.5:0.5", "0.5 :1"})
        EXPECT_THAT(RefusalOf(text), testing::HasSubstr("--hue-shift")) << text;
    for (const char* text : {"-0.1:0.5", "1.1:0.5", "0.5:1.01", "0.5:-0.01", "nan:0.5", "0.5:nan", "0.5:inf"})
        EXPECT_THAT(RefusalOf(text), testing::HasSubstr("between 0 and 1")) << text;
    EXPECT_THAT(RefusalOf("0.5:0.1,0.2:0.2,0.5:0.3"), testing::HasSubstr("twice"));
    std::string list = "0:0.5";
    for (int i = 1; i < SELVANE_MOST_POINTS; i++)
        list += ",0." + std::to_string(10 + i) + ":0.5";
    EXPECT_EQ(ParseHueCurve(list, "x").count, SELVANE_MOST_POINTS);
    EXPECT_THAT(RefusalOf(list + ",1:0.5"), testing::HasSubstr("more than 16 points"));
}

} // namespace
