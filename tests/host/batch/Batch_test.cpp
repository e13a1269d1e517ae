// The built command on several pictures.

#include "host/Workshop.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace
{

using namespace SelvaneTest;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
namespace fs = std::filesystem;

constexpr int kWidth = 61, kHeight = 43;

/// A folder in/ with three pictures, and an empty folder out/.
class Batch : public testing::Test
{
protected:
    void SetUp() override
    {
        fs::create_directory(fFolder / "in");
        for (const char* name : {"a", "b", "c"})
            Make(In(name));
    }

    static void Make(const std::string& pPath, int pWidth = kWidth, int pHeight = kHeight)
    {
        WriteAll(pPath, Radiance(pWidth, pHeight, ExponentPixels(pWidth, pHeight)));
    }

    std::string In(const std::string& pName) const { return fFolder / ("in/" + pName + ".hdr"); }
    std::string Out(const std::string& pName) const { return fFolder / ("out/" + pName); }

    /// Tone-maps a, b and c into out/.
    sRun Run(std::vector<std::string> pMore = {}, const std::function<void()>& pPrepare = {}) const
    {
        std::vector<std::string> words = {"tonemap", In("a"), In("b"), In("c"), "--out-dir", fFolder / "out"};
        words.insert(words.end(), pMore.begin(), pMore.end());
        return Selvane(words, pPrepare);
    }

    std::vector<std::string> Outputs() const
    {
        std::vector<std::string> names;
        if (!fs::exists(fFolder / "out")) return names;
        for (const auto& entry : fs::directory_iterator(fFolder / "out"))
            names.push_back(entry.path().filename().string());
        std::sort(names.begin(), names.end());
        return names;
    }

    /// Sets the time of a file to so many seconds from a fixed day on.
    static void SetTime(const std::string& pPath, int pSeconds)
    {
        const timespec time{1700000000 + pSeconds, 0};
        const timespec both[2] = {time, time};
        ASSERT_EQ(::utimensat(AT_FDCWD, pPath.c_str(), both, 0), 0);
    }

    cFolder fFolder;
};

TEST_F(Batch, EachPictureIsThatOfARunAlone)
{
    const sRun run = Run({"--name", "{stem}.png", "--jobs", "3"});
    EXPECT_EQ(run.fStatus, 0) << run.fErr;
    EXPECT_THAT(Outputs(), ElementsAre("a.png", "b.png", "c.png"));
    for (const char* name : {"a", "b", "c"}) {
        const std::string alone = fFolder / "alone.png";
        EXPECT_EQ(Selvane({"tonemap", "-q", In(name), "-o", alone}).fStatus, 0);
        EXPECT_TRUE(ReadAll(Out(std::string(name) + ".png")) == ReadAll(alone)) << name;
    }
}

TEST_F(Batch, TellsEachPictureAndTheSum)
{
    const sRun run = Run();
    EXPECT_EQ(Lines(run.fErr), 4U) << run.fErr;
    EXPECT_THAT(run.fErr, HasSubstr("/3 " + Out("b-tm.jpg") + " (0.0 megapixels)\n"));
    EXPECT_THAT(run.fErr, HasSubstr("selvane: 3 pictures: 3 done; 0.0 megapixels in "));
    EXPECT_EQ(run.fOut, "");
}

TEST_F(Batch, TellsNothingWithQuiet)
{
    const sRun run = Run({"--quiet"});
    EXPECT_EQ(run.fStatus, 0);
    EXPECT_EQ(run.fErr, "");
    EXPECT_EQ(Outputs().size(), 3U);
}

TEST_F(Batch, GoesOnAfterABadFileAndHasStatusOne)
{
    WriteAll(In("b"), std::string("no picture"));
    for (const bool quiet : {false, true}) {
        const sRun run = Run(quiet ? std::vector<std::string>{"-q", "--overwrite"} : std::vector<std::string>{});
        EXPECT_EQ(run.fStatus, 1);
        EXPECT_THAT(run.fErr, HasSubstr("selvane: " + In("b") + ": not a picture"));
        EXPECT_THAT(run.fErr, HasSubstr("3 pictures: 2 done, 1 failed; "));
        EXPECT_THAT(Outputs(), ElementsAre("a-tm.jpg", "c-tm.jpg"));
    }
}

TEST_F(Batch, HasStatusOneWhereAllAreBad)
{
    for (const char* name : {"a", "b", "c"})
        WriteAll(In(name), std::string("no picture"));
    const sRun run = Run();
    EXPECT_EQ(run.fStatus, 1);
    EXPECT_EQ(Lines(run.fErr), 4U) << run.fErr;
    EXPECT_THAT(run.fErr, HasSubstr("3 pictures: 0 done, 3 failed; 0.0 megapixels in "));
    EXPECT_TRUE(Outputs().empty());
}

/// Each run has the status of its own pictures: what failed fails again, until it is mended.
TEST_F(Batch, ResumeMakesWhatFailed)
{
    const tBytes whole = ReadAll(In("b"));
    for (const char* name : {"a", "b", "c"})
        SetTime(In(name), 0);
    WriteAll(In("b"), std::string("no picture"));
    EXPECT_EQ(Run().fStatus, 1);
    const sRun again = Run({"--resume"});
    EXPECT_EQ(again.fStatus, 1);
    EXPECT_THAT(again.fErr, HasSubstr("selvane: " + In("b") + ": not a picture"));
    EXPECT_THAT(again.fErr, HasSubstr("3 pictures: 0 done, 2 done before, 1 failed; "));
    WriteAll(In("b"), whole);
    const sRun mended = Run({"--resume"});
    EXPECT_EQ(mended.fStatus, 0);
    EXPECT_THAT(mended.fErr, HasSubstr("3 pictures: 1 done, 2 done before; "));
    EXPECT_THAT(Outputs(), ElementsAre("a-tm.jpg", "b-tm.jpg", "c-tm.jpg"));
}

TEST_F(Batch, OutputsThatExistAreRefusedBeforeAnyWork)
{
    fs::create_directory(fFolder / "out");
    WriteAll(Out("b-tm.jpg"), std::string("old"));
    const sRun one = Run();
    EXPECT_EQ(one.fStatus, 2);
    EXPECT_EQ(one.fErr, "selvane: " + Out("b-tm.jpg") +
                            " exists already; --overwrite replaces what is there, --resume keeps what is done\n");
    EXPECT_THAT(Outputs(), ElementsAre("b-tm.jpg")) << "nothing was made";
    fs::create_symlink("nowhere", Out("c-tm.jpg"));
    EXPECT_THAT(Run().fErr, HasSubstr(Out("b-tm.jpg") + " and 1 more outputs exist already")) << "a link counts";
    EXPECT_EQ(ReadAll(Out("b-tm.jpg")), (tBytes{'o', 'l', 'd'}));
    EXPECT_EQ(Run({"--overwrite"}).fStatus, 0);
    EXPECT_GT(ReadAll(Out("b-tm.jpg")).size(), 100U);
}

TEST_F(Batch, ResumeKeepsWhatIsDone)
{
    ASSERT_EQ(Run().fStatus, 0);
    const auto set = [&](const std::string& pName, int pInput, int pOutput) {
        SetTime(In(pName), pInput);
        WriteAll(Out(pName + "-tm.jpg"), std::string("kept"));
        SetTime(Out(pName + "-tm.jpg"), pOutput);
    };
    set("a", 0, 10);  // done
    set("b", 20, 10); // the input is newer
    set("c", 10, 10); // nobody knows
    const sRun run = Run({"--resume"});
    EXPECT_EQ(run.fStatus, 0) << run.fErr;
    EXPECT_EQ(ReadAll(Out("a-tm.jpg")).size(), 4U);
    EXPECT_GT(ReadAll(Out("b-tm.jpg")).size(), 100U);
    EXPECT_GT(ReadAll(Out("c-tm.jpg")).size(), 100U);
    EXPECT_THAT(run.fErr, HasSubstr(Out("a-tm.jpg") + " is done already\n"));
    EXPECT_THAT(run.fErr, HasSubstr("3 pictures: 2 done, 1 done before; "));
}

TEST_F(Batch, ResumeMakesAnewWhatIsOlderThanTheSettings)
{
    WriteAll(fFolder / "look.toml", std::string("exposure = 1.0\n"));
    const std::vector<std::string> more = {"--settings", fFolder / "look.toml", "--resume"};
    ASSERT_EQ(Run(more).fStatus, 0);
    for (const char* name : {"a", "b", "c"}) {
        SetTime(In(name), 0);
        SetTime(Out(std::string(name) + "-tm.jpg"), 10);
    }
    SetTime(fFolder / "look.toml", 5);
    EXPECT_THAT(Run(more).fErr, HasSubstr("0 done, 3 done before"));
    SetTime(fFolder / "look.toml", 15);
    EXPECT_THAT(Run(more).fErr, HasSubstr("3 pictures: 3 done; "));
}

/// Not even the input of another picture, and by no other name.
TEST_F(Batch, AnInputIsNoOutput)
{
    const tBytes before = ReadAll(In("b"));
    fs::create_hard_link(In("b"), fFolder / "in/hard.png");
    fs::create_symlink("b.hdr", fFolder / "in/link.png");
    for (const char* name : {"hard.png", "link.png"})
        for (const char* how : {"--overwrite", "--resume"}) {
            const sRun run = Selvane({"tonemap", In("b"), "--out-dir", fFolder / "in", how, "--name", name});
            EXPECT_EQ(run.fStatus, 2);
            EXPECT_THAT(run.fErr, HasSubstr(std::string(name) + ": is one of the inputs"));
        }
    fs::create_symlink("b.hdr", fFolder / "in/a.png");
    const sRun other =
        Selvane({"tonemap", In("a"), In("b"), "--out-dir", fFolder / "in", "--overwrite", "--name", "{stem}.png"});
    EXPECT_EQ(other.fStatus, 2);
    EXPECT_THAT(other.fErr, HasSubstr("a.png: is one of the inputs"));
    EXPECT_FALSE(fs::exists(fFolder / "in/b.png")) << "nothing was made";
    EXPECT_EQ(ReadAll(In("b")), before);
}

TEST_F(Batch, TwoInputsOfOneOutputAreRefusedBeforeAnyWork)
{
    fs::create_directory(fFolder / "day two");
    Make(fFolder / "day two/a.hdr");
    fs::copy(In("b"), fFolder / "in/a.pic"); // the content decides the kind
    for (const std::string& second : {fFolder / "day two/a.hdr", fFolder / "in/a.pic"})
        for (const char* how : {"--overwrite", "--resume", "-q"}) {
            const sRun run = Selvane({"tonemap", In("a"), second, "--out-dir", fFolder / "out", how});
            EXPECT_EQ(run.fStatus, 2);
            EXPECT_EQ(run.fErr, "selvane: " + Out("a-tm.jpg") + ": " + In("a") + " and " + second +
                                    " would both be written there; --name '{number}-{stem}.{ext}' keeps them apart\n");
            EXPECT_FALSE(fs::exists(fFolder / "out"));
        }
    fs::create_directory(fFolder / "out");
    WriteAll(Out("b-tm.jpg"), std::string("old"));
    fs::create_symlink("b-tm.jpg", Out("a-tm.jpg"));
    const sRun link = Run({"--overwrite"});
    EXPECT_EQ(link.fStatus, 2);
    EXPECT_EQ(link.fErr, "selvane: " + Out("b-tm.jpg") + ": is another output of this run, by a link\n");
    EXPECT_EQ(ReadAll(Out("b-tm.jpg")).size(), 3U);
    fs::remove(Out("a-tm.jpg"));
    fs::remove(Out("b-tm.jpg"));
    const sRun apart = Selvane(
        {"tonemap", In("a"), fFolder / "day two/a.hdr", "--out-dir", fFolder / "out", "--name", "{folder}-{stem}.png"});
    EXPECT_EQ(apart.fStatus, 0) << apart.fErr;
    EXPECT_THAT(Outputs(), ElementsAre("day two-a.png", "in-a.png"));
}

TEST_F(Batch, CommandLinesThatMakeNoSenseHaveStatusTwo)
{
    const std::string out = fFolder / "out";
    const std::vector<std::pair<std::vector<std::string>, std::string>> cases = {
        {{"tonemap", In("a"), In("b")}, "several pictures need --out-dir"},
        {{"tonemap", In("a"), In("b"), "-o", Out("x.png")}, "several pictures need --out-dir"},
        {{"tonemap", In("a"), "-o", Out("x.png"), "--out-dir", out}, "--output does not go with --out-dir"},
        {{"tonemap", In("a"), "--out-dir", out, "--overwrite", "--resume"}, "--overwrite and --resume do not go"},
        {{"tonemap", In("a"), "--out-dir", out, "--force"}, "--force is for one output"},
        {{"tonemap", In("a"), "-o", Out("x.png"), "--resume"}, "--resume and --overwrite go with --out-dir"},
        {{"tonemap", In("a"), In("b"), "--out-dir", out, "--suggest"}, "--suggest takes one picture"},
        {{"tonemap", In("a"), "--out-dir", out, "--name", "{stem}.xyz"}, ".xyz"},
        {{"tonemap", In("a"), "--out-dir", out, "--depth", "16"}, "JPEG"},
        {{"tonemap", In("a"), "--out-dir", out, "--memory", "4X"}, "--memory"},
        {{"tonemap", In("a"), "--out-dir", out, "--jobs", "-1"}, "--jobs"},
    };
    for (const auto& [words, expected] : cases) {
        const sRun run = Selvane(words);
        EXPECT_EQ(run.fStatus, 2) << run.fErr;
        EXPECT_EQ(Lines(run.fErr), 1U) << run.fErr;
        EXPECT_THAT(run.fErr, HasSubstr(expected));
    }
    EXPECT_FALSE(fs::exists(out)) << "nothing was made";
}

TEST_F(Batch, APictureThatIsTooLargeIsRefusedByName)
{
    Make(In("b"), 1600, 1250); // with its share of the suggestion some 190 MiB, and 120 for the small ones
    const sRun run = Run({"--memory", "150M"});
    EXPECT_EQ(run.fStatus, 1);
    EXPECT_THAT(run.fErr, HasSubstr(In("b") + ": the picture needs "));
    EXPECT_THAT(run.fErr, HasSubstr("--memory allows 150 MiB"));
    EXPECT_THAT(Outputs(), ElementsAre("a-tm.jpg", "c-tm.jpg"));
}

/// 400 x 300 pixels become 4000 x 3000: twice 137 MiB of floats, where the picture itself fits.
TEST_F(Batch, APictureWhoseResultIsTooLargeIsRefusedByName)
{
    Make(In("b"), 400, 300);
    ASSERT_EQ(Run({"--memory", "250M"}).fStatus, 0);
    const sRun run = Run({"--memory", "250M", "--resize", "1000%", "--enlarge", "--overwrite"});
    EXPECT_EQ(run.fStatus, 1);
    EXPECT_THAT(run.fErr, HasSubstr(In("b") + ": the picture needs 27"));
    EXPECT_EQ(Lines(run.fErr), 4U) << run.fErr;
}

/// What is cut out, 50 x 400 pixels, becomes 1225 x 9800: twice 137 MiB of floats. The whole picture would become 1225
/// x 1225.
TEST_F(Batch, TheSizeOfAResultIsThatOfWhatIsCutOut)
{
    Make(In("b"), 400, 400);
    const sRun run = Selvane({"tonemap", In("b"), "-o", fFolder / "b.png", "--memory", "250M", "--crop", "50x400+0+0",
                              "--resize", "1225", "--enlarge"});
    EXPECT_EQ(run.fStatus, 1);
    EXPECT_THAT(run.fErr, HasSubstr("the picture needs 277 MiB"));
}

/// 400 x 50 pixels that stand upright as 50 x 400: the same.
TEST_F(Batch, TheSizeOfAResultIsThatOfTheUprightPicture)
{
    const std::string input = fFolder / "turned.jpg", output = fFolder / "b.png";
    const tBytes samples = Samples8(400, 50);
    sStored turned = Rgb8();
    for (const int orientation : {1, 6}) {
        turned.fOrientation = orientation;
        Store(input, samples.data(), 400, 50, turned);
        const sRun run =
            Selvane({"tonemap", "-q", input, "-o", output, "--memory", "250M", "--resize", "1225", "--enlarge"});
        EXPECT_EQ(run.fStatus, orientation == 6 ? 1 : 0) << run.fErr;
        EXPECT_EQ(run.fErr.find("the picture needs 276 MiB") != std::string::npos, orientation == 6) << run.fErr;
    }
}

/// Eight pictures of 2 megapixels, each of which may need 190 MiB: with room for one, the command stays within it.
TEST_F(Batch, TheMemoryIsBounded)
{
    std::vector<std::string> words = {"tonemap", "--out-dir", fFolder / "out", "--overwrite", "-q", "--jobs", "8"};
    for (int i = 0; i < 8; i++) {
        words.push_back(fFolder / ("in/" + std::to_string(i) + ".hdr"));
        Make(words.back(), 1600, 1250);
    }
    std::vector<std::string> narrow = words;
    narrow.insert(narrow.end(), {"--memory", "250M"});
    const sRun bounded = Selvane(narrow);
    ASSERT_EQ(bounded.fStatus, 0) << bounded.fErr;
    const sRun wide = Selvane(words);
    ASSERT_EQ(wide.fStatus, 0) << wide.fErr;
    EXPECT_LT(bounded.fPeak, size_t{250} << 20);
    EXPECT_GT(wide.fPeak, bounded.fPeak + (size_t{24} << 20)) << "the limit matters";
}

/// What is wrong with them is said of each, and neither counts as the other.
TEST_F(Batch, OutputsThatAreLinksToThemselvesAreNotOneFile)
{
    fs::create_directory(fFolder / "out");
    for (const char* name : {"a-tm.jpg", "b-tm.jpg"})
        fs::create_symlink(name, Out(name));
    const sRun run = Run({"--overwrite"});
    EXPECT_EQ(run.fErr.find("another output of this run"), std::string::npos) << run.fErr;
    EXPECT_THAT(run.fErr, HasSubstr("Too many levels of symbolic links"));
}

/// The most threads that the command itself was seen with. Its decoders are other processes.
int SeenThreads(const std::vector<std::string>& pWords)
{
    std::array<int, 2> ends{};
    EXPECT_EQ(::pipe2(ends.data(), O_CLOEXEC), 0);
    std::atomic<bool> ended{false};
    int most = 0;
    std::thread watch([&] {
        pid_t process = 0;
        if (::read(ends[0], &process, sizeof process) != sizeof process) return;
        const fs::path tasks = "/proc/" + std::to_string(process) + "/task";
        while (!ended) {
            std::error_code gone;
            most = std::max(most, static_cast<int>(std::distance(fs::directory_iterator(tasks, gone), {})));
            ::usleep(200);
        }
    });
    const sRun run = Selvane(pWords, [&] {
        const pid_t self = ::getpid();
        if (::write(ends[1], &self, sizeof self) != sizeof self) ::_exit(126);
    });
    ended = true;
    ::close(ends[1]);
    watch.join();
    ::close(ends[0]);
    EXPECT_EQ(run.fStatus, 0) << run.fErr;
    return most;
}

/// The same over some runs: a busy machine may look at a short one too late.
int MostThreads(const std::vector<std::string>& pWords, int pEnough)
{
    int most = 0;
    for (int run = 0; run < 5 && most < pEnough; run++)
        most = std::max(most, SeenThreads(pWords));
    return most;
}

/// A pool of 21 workers, or of one. The libraries of the formats have threads beside them, for each processor.
TEST_F(Batch, EverySubcommandTakesTheNumberOfThreads)
{
    constexpr int kMany = 21;
    for (const char* name : {"a", "b"})
        Make(In(name), 900, 600);
    const std::string out = fFolder / "out";
    const std::vector<std::vector<std::string>> commands = {
        {"tonemap", In("a"), "-o", fFolder / "a.png", "-q"},
        {"tonemap", In("a"), In("b"), "--jobs", "1", "--out-dir", out, "--overwrite", "-q"},
        {"sequence", In("a"), In("b"), "--jobs", "1", "--out-dir", out, "--overwrite", "-q"},
        {"points", In("a"), "-o", fFolder / "p.json", "-q"},
        {"stats", In("a")},
        {"sheet", In("a"), "-o", fFolder / "sheet.png"},
        {"explain", In("a"), "-o", fFolder / "page.html"}};
    for (std::vector<std::string> words : commands) {
        words.insert(words.end(), {"--threads", "1"});
        const int enough = SeenThreads(words) + kMany - 5;
        words.back() = std::to_string(kMany);
        EXPECT_GE(MostThreads(words, enough), enough) << words[0];
    }
}

/// Reads what a terminal shows of a run.
std::string OnATerminal(const std::vector<std::string>& pWords, const char* pNoColor)
{
    const int terminal = ::posix_openpt(O_RDWR | O_NOCTTY);
    EXPECT_GE(terminal, 0);
    ::grantpt(terminal);
    ::unlockpt(terminal);
    const std::string name = ::ptsname(terminal);
    const int open = ::open(name.c_str(), O_RDWR | O_NOCTTY); // so that the terminal stays when the run ends
    std::string shown;
    std::thread reader([&] {
        char bytes[4096];
        for (ssize_t count; (count = ::read(terminal, bytes, sizeof bytes)) > 0;)
            shown.append(bytes, static_cast<size_t>(count));
    });
    Selvane(pWords, [&] {
        ::dup2(::open(name.c_str(), O_RDWR | O_NOCTTY), STDERR_FILENO);
        ::setenv("TERM", "xterm", 1);
        if (pNoColor != nullptr) ::setenv("NO_COLOR", pNoColor, 1);
    });
    ::close(open);
    reader.join();
    ::close(terminal);
    return shown;
}

TEST_F(Batch, ATerminalGetsABar)
{
    Make(In("a"), 2400, 1600); // long enough for a bar inside of one picture
    const std::vector<std::string> several = {"tonemap",     In("a"),     In("b"),         "--jobs", "1",
                                              "--overwrite", "--out-dir", fFolder / "out", "--name", "{stem}.png"};
    const std::string shown = OnATerminal(several, nullptr);
    EXPECT_THAT(shown, HasSubstr("/2 pictures  "));
    EXPECT_THAT(shown, HasSubstr(" megapixels/s"));
    EXPECT_THAT(shown, HasSubstr("\r\x1b[Kselvane: 2 pictures: 2 done; ")) << "the bar is gone at the end";
    EXPECT_THAT(shown, HasSubstr("\x1b[32m"));
    EXPECT_THAT(OnATerminal(several, "1"), Not(HasSubstr("\x1b[32m")));
    const std::string one = OnATerminal({"tonemap", In("a"), "-o", fFolder / "one.png"}, nullptr);
    EXPECT_THAT(one, HasSubstr(" %  "));
    std::vector<std::string> quiet = several;
    quiet.emplace_back("-q");
    EXPECT_EQ(OnATerminal(quiet, nullptr), "");
}

} // namespace
