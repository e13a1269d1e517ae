// The C functions that tell what was seen, and those that set callbacks and limits.

#include "api/Failure.h"
#include "api/Guard.h"
#include "api/Suggestion.h"
#include "settings/Record.h"
#include "write/Profile.h"

#include <algorithm>
#include <cstddef>

using namespace SelvaneLib;

namespace
{

constexpr size_t kFirstReportSize = offsetof(selvane_report, stage_bytes);
constexpr int kMostThreads = 256;
constexpr float kStopsPerDecade = 3.3219281f; // 1 / log10(2)

void ReportPicture(const cPicture& pPicture, selvane_report& pReport)
{
    const sStatistics& statistics = pPicture.fStatistics;
    pReport.width = pPicture.Width();
    pReport.height = pPicture.Height();
    pReport.visible_pixels = statistics.fVisible;
    pReport.replaced_nan = statistics.fNaN;
    pReport.replaced_negative = statistics.fNegative;
    pReport.replaced_infinite = statistics.fInfinite;
    pReport.hot_pixels = statistics.fHot;
    pReport.filled_samples = statistics.fFilled;
    pReport.log_luminance_min = statistics.fLogMin;
    pReport.log_luminance_max = statistics.fLogMax;
    pReport.log_luminance_mean = statistics.fLogMean;
    std::copy(std::begin(statistics.fPercentiles), std::end(statistics.fPercentiles), pReport.percentiles);
    pReport.dynamic_range_stops = (statistics.fPercentiles[6] - statistics.fPercentiles[0]) * kStopsPerDecade;
}

selvane_report ReportOf(const selvane& pHandle)
{
    selvane_report report = pHandle.fLatest;
    report.struct_size = sizeof report;
    if (pHandle.fFull != nullptr) ReportPicture(*pHandle.fFull->fPicture, report);
    report.previews = pHandle.fSuggestionPreviews;
    std::copy_n(pHandle.fMilliseconds, SELVANE_STAGES, report.milliseconds);
    const tStageBytes bytes = HeldBytes(pHandle);
    report.bytes = SumOf(bytes);
    std::copy(bytes.begin(), bytes.end(), report.stage_bytes);
    return report;
}

} // namespace

int selvane_get_report(const selvane* handle, selvane_report* report)
{
    return Guarded(handle, [&] {
        Require(handle != nullptr, "the handle is null");
        GiveRecord(ReportOf(*handle), report, kFirstReportSize);
    });
}

const char* selvane_reason(const selvane* handle, int index)
{
    if (handle == nullptr || !handle->fSuggestion || index < 0) return nullptr;
    const std::vector<sReason>& reasons = handle->fSuggestion->fReasons;
    return static_cast<size_t>(index) < reasons.size() ? reasons[static_cast<size_t>(index)].fSentence.c_str()
                                                       : nullptr;
}

int selvane_set_progress(selvane* handle, selvane_progress progress, void* user)
{
    return Guarded(handle, [&] {
        Require(handle != nullptr, "the handle is null");
        handle->fCallbacks.fProgress = progress;
        handle->fCallbacks.fProgressUser = user;
    });
}

int selvane_set_log(selvane* handle, selvane_log log, void* user)
{
    return Guarded(handle, [&] {
        Require(handle != nullptr, "the handle is null");
        handle->fCallbacks.fLog = log;
        handle->fCallbacks.fLogUser = user;
    });
}

int selvane_set_executor(selvane* handle, selvane_executor executor, void* user)
{
    return Guarded(handle, [&] {
        Require(handle != nullptr, "the handle is null");
        handle->fCallbacks.fExecutor = executor;
        handle->fCallbacks.fExecutorUser = user;
    });
}

int selvane_set_threads(selvane* handle, int threads)
{
    return Guarded(handle, [&] {
        Require(handle != nullptr, "the handle is null");
        Require(threads >= 0 && threads <= kMostThreads, "threads is not 0 to 256");
        handle->fCallbacks.fThreads = threads;
    });
}

int selvane_set_memory_limit(selvane* handle, uint64_t bytes)
{
    return Guarded(handle, [&] {
        Require(handle != nullptr, "the handle is null");
        handle->fLimit = bytes;
    });
}

int selvane_profile(int space, int linear, const unsigned char** bytes, size_t* size)
{
    return Guarded(nullptr, [&] {
        Require(space >= SELVANE_SRGB && space <= SELVANE_REC2020, "space has no profile");
        Require(linear == 0 || linear == 1, "linear is neither 0 nor 1");
        Require(bytes != nullptr && size != nullptr, "bytes or size is null");
        const sProfile profile = ProfileOf(space, linear != 0);
        *bytes = profile.fBytes;
        *size = profile.fSize;
    });
}
