#include "batch/Progress.h"

#include "support/Capture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>

using namespace SelvaneHost;
using SelvaneTest::CaptureStderr;

TEST(Progress, TheBarTellsPicturesAndMegapixels)
{
    const sProgress progress{.fPictures = 50, .fFinished = 12, .fShare = 0.5, .fMegapixels = 75.0, .fSeconds = 10.0};
    EXPECT_EQ(BarText(progress, 100, false),
              "[##########..............................] 12/50 pictures  7.5 megapixels/s  0:30 left");
    EXPECT_EQ(BarText(progress, 70, false), "[#####..................] 12/50 pictures  7.5 megapixels/s  0:30 left");
    EXPECT_EQ(BarText(progress, 40, false), "12/50 pictures  7.5 megapixels/s  0:30 ") << "no room for a bar";
}

TEST(Progress, TheBarOfOnePictureTellsItsShare)
{
    const sProgress progress{.fPictures = 1, .fFinished = 0, .fShare = 0.25, .fMegapixels = 25.0, .fSeconds = 3700.0};
    EXPECT_EQ(BarText(progress, 100, false),
              "[##########..............................]  25 %  0.0 megapixels/s  3:05:00 left");
}

TEST(Progress, ColoursDoNotCountAsColumns)
{
    const sProgress progress{.fPictures = 2, .fFinished = 1, .fShare = 0.0, .fMegapixels = 6.0, .fSeconds = 2.0};
    EXPECT_EQ(BarText(progress, 60, true),
              "[\x1b[32m#######\x1b[0m........] 1/2 pictures  3.0 megapixels/s  0:02 left");
}

TEST(Progress, NoColorIsHonoured)
{
    ::setenv("NO_COLOR", "1", 1);
    EXPECT_FALSE(MayUseColor());
    ::setenv("NO_COLOR", "", 1);
    EXPECT_TRUE(MayUseColor());
    ::unsetenv("NO_COLOR");
    EXPECT_TRUE(MayUseColor());
}

TEST(Progress, LinesCountThePictures)
{
    const std::string lines = CaptureStderr([] {
        cProgressShow show(eShow::kLines, 3);
        show.SetSize(0, 6.0);
        show.Finish(0, "a.jpg");
        show.Fail(1);
        show.Say("b.hdr: is damaged");
        show.Finish(2, "c.jpg");
    });
    EXPECT_EQ(lines, "selvane: 1/3 a.jpg\nselvane: b.hdr: is damaged\nselvane: 3/3 c.jpg\n");
}

TEST(Progress, NothingIsShownButWhatIsSaid)
{
    const std::string lines = CaptureStderr([] {
        cProgressShow show(eShow::kNothing, 2);
        show.SetShare(0, 0.5);
        show.Finish(0, "a.jpg");
        show.Say("b.hdr: is damaged");
    });
    EXPECT_EQ(lines, "selvane: b.hdr: is damaged\n");
}

TEST(Progress, RunningPicturesCountByTheirShare)
{
    cProgressShow show(eShow::kNothing, 4);
    show.SetSize(0, 10.0);
    show.SetShare(0, 0.5);
    show.SetSize(1, 4.0);
    show.Finish(1, "");
    show.SetSize(2, 100.0);
    show.Fail(2); // its pixels were not worked on
    const sProgress now = show.Now();
    EXPECT_EQ(now.fFinished, 2u);
    EXPECT_EQ(now.fShare, 0.5);
    EXPECT_EQ(now.fMegapixels, 9.0);
}
