#include "host/command/CommandTest.h"

#include "picture/PictureLibrary.h"
#include "read/PictureReader.h"
#include "support/Capture.h"

namespace SelvaneTest
{

void Command::SetUpTestSuite()
{
    SelvaneHost::StartPictureLibrary();
}

void Command::SetUp()
{
    WriteAll(Hdr(), Radiance(kWidth, kHeight, ExponentPixels(kWidth, kHeight)));
    const tBytes eight = Samples8(kWidth, kHeight);
    Store(Png(), eight.data(), kWidth, kHeight, Rgb8());
}

void ExpectFailure(const sRun& pRun, int pStatus, const std::string& pWords)
{
    EXPECT_EQ(pRun.fStatus, pStatus) << pRun.fErr;
    EXPECT_EQ(Lines(pRun.fErr), 1U) << pRun.fErr;
    EXPECT_THAT(pRun.fErr, testing::StartsWith("selvane: "));
    EXPECT_THAT(pRun.fErr, testing::HasSubstr(pWords));
}

void ExpectQuietSuccess(const sRun& pRun)
{
    EXPECT_EQ(pRun.fStatus, 0) << pRun.fErr;
    EXPECT_EQ(pRun.fErr, "");
}

sDirect Entry(const std::string& pPath, const sTmSliders& pSliders, int pDepth, int pSpace, int pRequest)
{
    sPicture input = SelvaneHost::ReadPictureFile(pPath);
    MakeEntryForm(input);
    sTmImageDesc image{};
    image.width = input.fWidth;
    image.height = input.fHeight;
    image.samplesPerPixel = 3;
    image.inputDepth = input.fForm == SelvaneHost::eSamples8 ? 8 : input.fForm == SelvaneHost::eSamples16 ? 16 : 32;
    image.outputDepth = pDepth;
    image.inputRowSamples = image.outputRowSamples = 3 * input.fWidth;
    const sTmRunSettings run{2, 0, pRequest};
    sDirect direct;
    direct.fSliders = pSliders;
    direct.fPixels.resize(static_cast<size_t>(3 * pDepth / 8 * input.fWidth * input.fHeight));
    CaptureStderr([&] {
        EXPECT_EQ(cpp_tm_selvane(&image, &run, pSpace, &direct.fSliders, input.fPixels.data(), direct.fPixels.data()),
                  1);
    });
    return direct;
}

} // namespace SelvaneTest
