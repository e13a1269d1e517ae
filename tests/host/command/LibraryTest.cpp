#include "host/command/LibraryTest.h"

#include "lib/api/Pictures.h"

namespace SelvaneTest
{

selvane_picture Record(int pFormat, const void* pPixels, int pPrimaries, int pTransfer)
{
    selvane_picture picture = PictureOf(kWidth, kHeight, pFormat, pPixels);
    picture.primaries = pPrimaries;
    picture.transfer = pTransfer;
    return picture;
}

tBytes ByLibrary(const selvane_picture& pPicture, int pSpace, int pChannels)
{
    const tHandle handle = NewHandle();
    const int samples = pChannels * pPicture.width * pPicture.height;
    tBytes pixels(size_t{2} * static_cast<size_t>(samples));
    selvane_target target = TargetOf(pPicture.width, pPicture.height, SELVANE_U16, pixels.data(), pChannels);
    target.space = pSpace;
    EXPECT_DONE(handle.get(), selvane_set_picture(handle.get(), &pPicture));
    EXPECT_DONE(handle.get(), selvane_render(handle.get(), &target));
    return pixels;
}

std::string cLibraryTest::Run(const std::string& pInput, const std::vector<std::string>& pMore)
{
    std::vector<std::string> words = {"tonemap", fFolder / pInput, "-o", Out(), "--depth", "16"};
    words.insert(words.end(), pMore.begin(), pMore.end());
    const sRun run = Selvane(words);
    EXPECT_EQ(run.fStatus, 0) << run.fErr;
    return run.fErr;
}

} // namespace SelvaneTest
