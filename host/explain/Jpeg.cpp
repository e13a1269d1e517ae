#include "explain/Jpeg.h"

#include "picture/Errors.h"
#include "picture/VipsObject.h"

namespace SelvaneHost
{

namespace
{

constexpr int kQuality = 90;

} // namespace

tBytes JpegOf(const tBytes& pSamples, int pWidth, int pHeight, int pChannels)
{
    const tVipsImage image(
        vips_image_new_from_memory(pSamples.data(), pSamples.size(), pWidth, pHeight, pChannels, VIPS_FORMAT_UCHAR));
    void* bytes = nullptr;
    size_t size = 0;
    if (!image ||
        vips_jpegsave_buffer(image.get(), &bytes, &size, "Q", kQuality, "optimize_coding", TRUE, nullptr) != 0)
        throw cHostError("the picture of the page cannot be encoded: " + VipsWords());
    const auto* const first = static_cast<const unsigned char*>(bytes);
    tBytes jpeg(first, first + size);
    g_free(bytes);
    return jpeg;
}

} // namespace SelvaneHost
