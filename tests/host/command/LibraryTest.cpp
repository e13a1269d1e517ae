#include "host/command/LibraryTest.h"

#include "lib/api/Pictures.h"
#include "picture/PngColor.h"

#include <zlib.h>

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

void AddPngChunk(const std::string& pPath, const std::string& pType, const tBytes& pData)
{
    std::string chunk;
    for (int shift = 24; shift >= 0; shift -= 8)
        chunk += static_cast<char>(pData.size() >> shift);
    chunk += pType;
    for (const unsigned char byte : pData)
        chunk += static_cast<char>(byte);
    const auto sum = crc32(0, reinterpret_cast<const Bytef*>(chunk.data()) + 4, static_cast<uInt>(chunk.size() - 4));
    for (int shift = 24; shift >= 0; shift -= 8)
        chunk += static_cast<char>(sum >> shift);
    tBytes file = ReadAll(pPath);
    file.insert(file.begin() + SelvaneHost::kPngColorPlace, chunk.begin(), chunk.end());
    WriteAll(pPath, file);
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
