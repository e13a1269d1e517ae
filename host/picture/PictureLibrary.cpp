#include "picture/PictureLibrary.h"

#include "picture/VipsObject.h"

#include <cstdio>
#include <mutex>

namespace SelvaneHost
{

namespace
{

/// Drops the log lines of libvips and GLib. A fatal line is printed: GLib ends the process after it. Memory may be
/// exhausted at that point, so printing allocates none.
void PrintFatalLine(const char*, GLogLevelFlags pLevel, const char* pWords, void*)
{
    if ((pLevel & G_LOG_FLAG_FATAL) != 0) std::fprintf(stderr, "selvane: the picture library gives up: %s\n", pWords);
}

} // namespace

void StartPictureLibrary()
{
    static std::once_flag started;
    std::call_once(started, [] {
        if (vips_init("selvane") != 0) throw cHostError("the picture library does not start: " + VipsWords());
        vips_block_untrusted_set(TRUE);
        vips_cache_set_max(0); // a run reads one picture, so a cache would only take memory
        g_log_set_default_handler(PrintFatalLine, nullptr);
    });
}

} // namespace SelvaneHost
