#include "batch/Progress.h"

#include "job/Report.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sys/ioctl.h>
#include <unistd.h>

namespace SelvaneHost
{

namespace
{

using namespace std::chrono_literals;

constexpr auto kQuietTime = 300ms; // what is done by then needs no bar
constexpr auto kPause = 100ms;     // between two pictures of the bar
constexpr int kUsualColumns = 80;
constexpr int kLongestBar = 40;
constexpr int kShortestBar = 10;
constexpr double kTooEarly = 0.02;           // share of the run, to foretell the rest
constexpr const char* kEraseRest = "\x1b[K"; // of the line
constexpr const char* kGreen = "\x1b[32m";
constexpr const char* kPlain = "\x1b[0m";

int Columns()
{
    winsize size{};
    const bool known = ::ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
    return known ? size.ws_col : kUsualColumns;
}

/// "1:05" or "2:00:09".
std::string TimeText(double pSeconds)
{
    const auto seconds = std::lround(std::min(pSeconds, 359999.0));
    char text[40];
    if (seconds >= 3600)
        std::snprintf(text, sizeof text, "%ld:%02ld:%02ld", seconds / 3600, seconds / 60 % 60, seconds % 60);
    else
        std::snprintf(text, sizeof text, "%ld:%02ld", seconds / 60, seconds % 60);
    return text;
}

std::string NumbersText(const sProgress& pProgress, double pShare)
{
    char text[120];
    const double rate = pProgress.fSeconds > 0.0 ? pProgress.fMegapixels / pProgress.fSeconds : 0.0;
    if (pProgress.fPictures == 1)
        std::snprintf(text, sizeof text, " %3.0f %%  %.1f megapixels/s", 100.0 * pShare, rate);
    else
        std::snprintf(text, sizeof text, " %zu/%zu pictures  %.1f megapixels/s", pProgress.fFinished,
                      pProgress.fPictures, rate);
    std::string numbers = text;
    if (pShare > kTooEarly)
        numbers.append("  ").append(TimeText(pProgress.fSeconds * (1.0 - pShare) / pShare)).append(" left");
    return numbers;
}

} // namespace

eShow ShowFor(bool pQuiet)
{
    if (pQuiet) return eShow::kNothing;
    const char* const terminal = std::getenv("TERM");
    const bool canMove = terminal != nullptr && std::strcmp(terminal, "dumb") != 0;
    return ::isatty(STDERR_FILENO) == 1 && canMove ? eShow::kBar : eShow::kLines;
}

bool MayUseColor()
{
    const char* const refused = std::getenv("NO_COLOR");
    return refused == nullptr || *refused == 0;
}

std::string BarText(const sProgress& pProgress, int pColumns, bool pColor)
{
    const double done = static_cast<double>(pProgress.fFinished) + pProgress.fShare;
    const double share = std::clamp(done / static_cast<double>(std::max<size_t>(1, pProgress.fPictures)), 0.0, 1.0);
    const std::string numbers = NumbersText(pProgress, share);
    const int room = std::min(kLongestBar, pColumns - static_cast<int>(numbers.size()) - 3);
    if (room < kShortestBar) return numbers.substr(1, static_cast<size_t>(std::max(0, pColumns - 1)));
    const auto full = static_cast<size_t>(std::floor(share * room));
    std::string bar(1, '[');
    if (pColor) bar += kGreen;
    bar.append(full, '#');
    if (pColor) bar += kPlain;
    bar.append(static_cast<size_t>(room) - full, '.');
    bar += ']';
    bar += numbers;
    return bar;
}

cProgressShow::cProgressShow(eShow pShow, size_t pPictures)
    : fShow(pShow), fPictures(pPictures), fColor(MayUseColor()), fBegin(tClock::now()), fDrawn(fBegin)
{
}

cProgressShow::~cProgressShow()
{
    Erase();
}

void cProgressShow::Say(const std::string& pText)
{
    const std::lock_guard lock(fMutex);
    const bool wasDrawn = fIsDrawn;
    Erase();
    Report(pText);
    if (wasDrawn) Draw(true);
}

void cProgressShow::SetSize(size_t pPicture, double pMegapixels)
{
    const std::lock_guard lock(fMutex);
    fRunning[pPicture].fMegapixels = pMegapixels;
    Draw(false);
}

void cProgressShow::SetShare(size_t pPicture, double pShare)
{
    const std::lock_guard lock(fMutex);
    fRunning[pPicture].fShare = pShare;
    Draw(false);
}

void cProgressShow::Finish(size_t pPicture, const std::string& pText)
{
    const std::lock_guard lock(fMutex);
    fMegapixels += fRunning[pPicture].fMegapixels;
    fRunning.erase(pPicture);
    fFinished++;
    if (fShow == eShow::kLines) Report(std::to_string(fFinished) + "/" + std::to_string(fPictures) + " " + pText);
    Draw(false);
}

void cProgressShow::Fail(size_t pPicture)
{
    const std::lock_guard lock(fMutex);
    fRunning.erase(pPicture);
    fFinished++;
    Draw(false);
}

sProgress cProgressShow::Now()
{
    const std::lock_guard lock(fMutex);
    return Count();
}

sProgress cProgressShow::Count() const
{
    sProgress progress{.fPictures = fPictures, .fFinished = fFinished, .fMegapixels = fMegapixels};
    for (const auto& [number, running] : fRunning) {
        progress.fShare += running.fShare;
        progress.fMegapixels += running.fShare * running.fMegapixels;
    }
    progress.fSeconds = std::chrono::duration<double>(tClock::now() - fBegin).count();
    return progress;
}

void cProgressShow::Draw(bool pAlways)
{
    if (fShow != eShow::kBar) return;
    const auto now = tClock::now();
    const auto next = fIsDrawn ? fDrawn + kPause : fBegin + kQuietTime;
    if (!pAlways && now < next) return;
    std::string text(1, '\r');
    text.append(BarText(Count(), Columns(), fColor)).append(kEraseRest);
    std::fwrite(text.data(), 1, text.size(), stderr);
    fDrawn = now;
    fIsDrawn = true;
}

void cProgressShow::Erase()
{
    if (!fIsDrawn) return;
    std::fputs("\r\x1b[K", stderr);
    fIsDrawn = false;
}

} // namespace SelvaneHost
