#include "host/command/LibraryTest.h"

#include <memory>

namespace SelvaneTest
{

selvane_picture Record(int pFormat, const void* pPixels, int pPrimaries, int pTransfer)
{
    selvane_picture picture;
    selvane_picture_init(&picture);
    picture.width = kWidth;
    picture.height = kHeight;
    picture.format = pFormat;
    picture.primaries = pPrimaries;
    picture.transfer = pTransfer;
    picture.pixels = pPixels;
    return picture;
}

tBytes ByLibrary(const selvane_picture& pPicture, int pSpace, int pChannels)
{
    const std::unique_ptr<selvane, void (*)(selvane*)> handle(selvane_new(), selvane_free);
    const int samples = pChannels * pPicture.width * pPicture.height;
    tBytes pixels(size_t{2} * static_cast<size_t>(samples));
    selvane_target target;
    selvane_target_init(&target);
    target.width = pPicture.width;
    target.height = pPicture.height;
    target.format = SELVANE_U16;
    target.channels = pChannels;
    target.space = pSpace;
    target.pixels = pixels.data();
    EXPECT_EQ(selvane_set_picture(handle.get(), &pPicture), SELVANE_OK) << selvane_error(handle.get());
    EXPECT_EQ(selvane_render(handle.get(), &target), SELVANE_OK) << selvane_error(handle.get());
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
