#ifndef SELVANE_HOST_BATCH_PROGRESS_H
#define SELVANE_HOST_BATCH_PROGRESS_H

// What a run shows of its progress on the standard error stream: a bar on a terminal, lines elsewhere.

#include <chrono>
#include <map>
#include <mutex>
#include <string>

namespace SelvaneHost
{

enum class eShow
{
    kNothing,
    kLines, ///< a line for each picture of several
    kBar
};

/// Returns what suits the standard error stream: a bar if it is a terminal that can move back in a line.
/// @param pQuiet nothing is to be shown
eShow ShowFor(bool pQuiet);

/// Returns whether colours may be used: NO_COLOR is not set, or empty.
bool MayUseColor();

/// How far a run is.
struct sProgress
{
    size_t fPictures = 0;
    size_t fFinished = 0;
    double fShare = 0.0;      ///< of the pictures that are being worked on, added up: 1 for a whole picture
    double fMegapixels = 0.0; ///< done until now
    double fSeconds = 0.0;    ///< since the begin
};

/// Returns the text of the bar: "[####......] 12/50 pictures  24.6 megapixels/s  0:31 left".
/// @param pColumns of the terminal; the text is shorter
std::string BarText(const sProgress& pProgress, int pColumns, bool pColor);

/// Shows the progress of some pictures. All operations may be called on any threads.
class cProgressShow
{
public:
    /// @param pPictures all of the run
    cProgressShow(eShow pShow, size_t pPictures);
    ~cProgressShow(); ///< takes the bar away
    cProgressShow(const cProgressShow&) = delete;
    cProgressShow& operator=(const cProgressShow&) = delete;

    /// Prints "selvane: TEXT" above the bar, with every form of show.
    void Say(const std::string& pText);

    /// A picture begins, or its size becomes known.
    void SetSize(size_t pPicture, double pMegapixels);
    /// @param pShare of the picture that is done, 0 to 1
    void SetShare(size_t pPicture, double pShare);
    /// @param pText for the line of the picture
    void Finish(size_t pPicture, const std::string& pText);
    /// The picture is not done: its pixels do not count, and it has no line.
    void Fail(size_t pPicture);

    /// How far the run is.
    sProgress Now();

private:
    struct sRunning
    {
        double fMegapixels = 0.0;
        double fShare = 0.0;
    };
    using tClock = std::chrono::steady_clock;

    sProgress Count() const;
    void Draw(bool pAlways);
    void Erase();

    const eShow fShow;
    const size_t fPictures;
    const bool fColor;
    const tClock::time_point fBegin;
    std::mutex fMutex; ///< guards what follows, and the stream
    std::map<size_t, sRunning> fRunning;
    size_t fFinished = 0;
    double fMegapixels = 0.0; ///< of finished pictures
    tClock::time_point fDrawn;
    bool fIsDrawn = false;
};

} // namespace SelvaneHost

#endif
