#include "KeptMapper.h"

#include "Primaries.h"

#include <algorithm>
#include <new>
#include <stdexcept>
#include <unistd.h>

namespace SelvaneGegl
{

namespace
{

/// Shown with G_MESSAGES_DEBUG=GEGL.
void LogLine(void*, const char* pLine)
{
    g_log("GEGL", G_LOG_LEVEL_DEBUG, "selvane:tone-map: %s", pLine);
}

constexpr double kReadShare = 0.1; // of a render that reads its picture

/// GEGL's block of pixels, aligned for its conversions.
class cPixels
{
public:
    cPixels(const GeglRectangle& pSize, const Babl* pFormat)
        : fPixels(static_cast<float*>(gegl_malloc(static_cast<gsize>(pSize.width) * static_cast<gsize>(pSize.height) *
                                                  static_cast<gsize>(babl_format_get_bytes_per_pixel(pFormat)))))
    {
    }
    ~cPixels() { gegl_free(fPixels); }
    cPixels(const cPixels&) = delete;
    cPixels& operator=(const cPixels&) = delete;

    float* Get() const { return fPixels; }

private:
    float* fPixels;
};

int ChannelsOf(const Babl* pFormat)
{
    return babl_format_get_n_components(pFormat);
}

/// Half of the machine's memory, or GEGL's own share of it if that is more.
uint64_t MemoryLimit()
{
    guint64 tiles = 0;
    g_object_get(gegl_config(), "tile-cache-size", &tiles, nullptr);
    const auto machine = static_cast<uint64_t>(sysconf(_SC_PHYS_PAGES)) * static_cast<uint64_t>(sysconf(_SC_PAGESIZE));
    return std::max<uint64_t>(tiles, machine / 2);
}

int GeglThreads()
{
    int threads = 0;
    g_object_get(gegl_config(), "threads", &threads, nullptr);
    return threads;
}

/// Tells the progress of a part of a render, and takes itself away from the handle at its end.
class cProgressPart
{
public:
    cProgressPart(selvane* pHandle, const cKeptMapper::tProgress& pProgress, double pFrom, double pTo)
        : fHandle(pHandle), fProgress(pProgress), fFrom(pFrom), fTo(pTo)
    {
        selvane_set_progress(fHandle, Tell, this);
    }
    ~cProgressPart() { selvane_set_progress(fHandle, nullptr, nullptr); }
    cProgressPart(const cProgressPart&) = delete;
    cProgressPart& operator=(const cProgressPart&) = delete;

private:
    static int Tell(void* pThis, int, float pShare)
    {
        const auto* part = static_cast<const cProgressPart*>(pThis);
        return part->fProgress(part->fFrom + static_cast<double>(pShare) * (part->fTo - part->fFrom)) ? 0 : 1;
    }

    selvane* fHandle;
    const cKeptMapper::tProgress& fProgress;
    double fFrom, fTo;
};

} // namespace

void Check(const selvane* pHandle, int pStatus)
{
    if (pStatus == SELVANE_ERROR_CANCELLED) throw sCancelled();
    if (pStatus != SELVANE_OK) throw std::runtime_error(selvane_error(pHandle));
}

cKeptMapper::cKeptMapper() : fHandle(selvane_new())
{
    if (fHandle == nullptr) throw std::bad_alloc();
    Check(Handle(), selvane_set_log(Handle(), LogLine, nullptr));
}

/// GEGL's preferences may change at any time.
void cKeptMapper::Prepare()
{
    Check(Handle(), selvane_set_threads(Handle(), GeglThreads()));
    Check(Handle(), selvane_set_memory_limit(Handle(), MemoryLimit()));
}

void cKeptMapper::Take(GeglBuffer* pPicture, const Babl* pFormat, float* pPixels)
{
    const GeglRectangle* const size = gegl_buffer_get_extent(pPicture);
    gegl_buffer_get(pPicture, size, 1.0, pFormat, pPixels, GEGL_AUTO_ROWSTRIDE, GEGL_ABYSS_NONE);
    selvane_picture picture;
    selvane_picture_init(&picture);
    picture.width = size->width;
    picture.height = size->height;
    picture.format = SELVANE_F32;
    picture.channels = ChannelsOf(pFormat);
    const sPrimaries primaries = PrimariesOf(babl_format_get_space(pFormat));
    picture.primaries = primaries.fNumber;
    std::copy(primaries.fXY, primaries.fXY + 8, picture.chromaticities);
    picture.pixels = pPixels;
    Check(Handle(), selvane_set_picture(Handle(), &picture)); // a failure leaves the picture that it had
    fTaken = Remember(pPicture);
    fTakenAs = pFormat;
}

void cKeptMapper::Render(const sRender& pRender, const tProgress& pProgress)
{
    const tBuffer picture = RegionOf(pRender.fInput, pRender.fRegion, pRender.fLevel, pRender.fFormat);
    const GeglRectangle* const size = gegl_buffer_get_extent(picture.get());
    const cPixels pixels(*size, pRender.fFormat);
    const bool kept = fTaken != nullptr && fTakenAs == pRender.fFormat && HoldTheSame(fTaken.get(), picture.get());
    Prepare();
    if (!kept) {
        const cProgressPart part(Handle(), pProgress, 0.0, kReadShare);
        Take(picture.get(), pRender.fFormat, pixels.Get());
    }
    selvane_target target;
    selvane_target_init(&target);
    target.width = size->width;
    target.height = size->height;
    target.format = SELVANE_F32;
    target.channels = ChannelsOf(pRender.fFormat);
    target.linear = 1;
    const sPrimaries primaries = PrimariesOf(babl_format_get_space(pRender.fFormat));
    target.space = primaries.fNumber;
    std::copy(primaries.fXY, primaries.fXY + 8, target.chromaticities);
    target.pixels = pixels.Get();
    const cProgressPart part(Handle(), pProgress, kept ? 0.0 : kReadShare, 1.0);
    Check(Handle(), selvane_render(Handle(), &target));
    gegl_buffer_set(pRender.fOutput, size, pRender.fLevel, pRender.fFormat, pixels.Get(), GEGL_AUTO_ROWSTRIDE);
}

} // namespace SelvaneGegl
