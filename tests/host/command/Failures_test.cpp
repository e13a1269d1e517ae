// Failures: the lines that the command prints, and the files that remain.

#include "host/command/CommandTest.h"

#include <vips/vips.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <optional>
#include <random>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

using namespace SelvaneTest;
using testing::ElementsAre;
using testing::HasSubstr;

TEST_F(Command, WhatCannotBeReadHasStatusOneAndLeavesNothing)
{
    const tBytes cmyk(4 * 16, 100);
    Store(fFolder / "cmyk.tif", cmyk.data(), 4, 4, {4, VIPS_FORMAT_UCHAR, VIPS_INTERPRETATION_CMYK, {}, 1, {}});
    WriteAll(fFolder / "xyz.hdr", std::string("#?RADIANCE\nFORMAT=32-bit_rle_xyze\n\n-Y 1 +X 1\n...."));
    WriteAll(fFolder / "text.png", std::string("hello"));
    WriteAll(fFolder / "empty.exr", std::string());
    const tBytes png = ReadAll(Png());
    WriteAll(fFolder / "cut.png", tBytes(png.begin(), png.begin() + static_cast<long>(png.size() / 2)));
    const std::vector<std::string> before = fFolder.Names();
    const std::vector<std::pair<std::string, std::string>> cases = {{"missing.hdr", "No such file or directory"},
                                                                    {".", "Is a directory"},
                                                                    {"cmyk.tif", "CMYK"},
                                                                    {"xyz.hdr", "XYZ"},
                                                                    {"text.png", "not a picture"},
                                                                    {"empty.exr", "empty"},
                                                                    {"cut.png", "damaged or cut short"},
                                                                    {"in.png/x", "Not a directory"}};
    for (const auto& [name, words] : cases) {
        const sRun run = Selvane({"tonemap", "--exact", fFolder / name, "-o", Out()});
        ExpectFailure(run, 1, words);
        EXPECT_THAT(run.fErr, HasSubstr(name)) << "the line names the file";
        ExpectFailure(Selvane({"stats", fFolder / name}), 1, words);
        ExpectFailure(Selvane({"equalize", fFolder / name, "-o", Out()}), 1, words);
    }
    EXPECT_EQ(fFolder.Names(), before);
}

TEST_F(Command, WhatCannotBeWrittenHasStatusOneAndKeepsTheOldFile)
{
    WriteAll(Out(), std::string("old"));
    std::filesystem::create_directory(fFolder / "folder.png");
    const std::vector<std::string> before = fFolder.Names();
    ExpectFailure(Selvane({"tonemap", "--exact", Hdr(), "-o", fFolder / "missing/out.png"}), 1,
                  "No such file or directory");
    ExpectFailure(Selvane({"tonemap", "--exact", Hdr(), "-o", fFolder / "in.png/out.png"}), 1, "Not a directory");
    ExpectFailure(Selvane({"tonemap", "--exact", Hdr(), "-o", fFolder / "folder.png"}), 1, "Is a directory");
    // The limit of 2000 bytes for a file acts like a full disk.
    const sRun full = Selvane({"tonemap", "--exact", Hdr(), "-o", Out()}, [] {
        const rlimit limit{2000, RLIM_INFINITY};
        ::setrlimit(RLIMIT_FSIZE, &limit);
    });
    ExpectFailure(full, 1, "out.png: cannot be written: File too large");
    EXPECT_EQ(fFolder.Names(), before);
    EXPECT_EQ(ReadAll(Out()), (tBytes{'o', 'l', 'd'}));
}

/// The result of a run with its own file system.
struct sMounted
{
    std::optional<int> fStatus; ///< exit status; empty if this user may not mount
    std::string fText;          ///< output of the run, then the names in the folder
};

/// Mounts a new file system on the folder pAt, for one run of the command that reads pIn and writes pAt/out.png.
/// @param pOptions options of the mount
/// @param pBefore  shell command that runs after the mount
sMounted OnAFileSystem(const std::string& pAt, const std::string& pIn, const char* pOptions, const std::string& pBefore)
{
    const std::string script = "mount -t tmpfs -o " + std::string(pOptions) + " none '" + pAt + "' || exit 77; " +
                               pBefore + "; '" SELVANE_BINARY "' tonemap '" + pIn + "' -o '" + pAt +
                               "/out.png'; status=\\$?; ls -A '" + pAt + "'; exit \\$status";
    const std::string line = "unshare -rm sh -c \"" + script + "\" 2>&1";
    std::FILE* const pipe = ::popen(line.c_str(), "r");
    if (pipe == nullptr) return {};
    char text[1024] = {};
    const size_t count = std::fread(text, 1, sizeof text - 1, pipe);
    const int status = ::pclose(pipe);
    sMounted mounted{std::nullopt, std::string(text, count)};
    if (WIFEXITED(status) && WEXITSTATUS(status) != 77) mounted.fStatus = WEXITSTATUS(status);
    return mounted;
}

TEST_F(Command, AFullDiskIsReported)
{
    if (std::system("unshare -rm true 2>/dev/null") != 0) GTEST_SKIP() << "no file system of its own";
    const cFolder at;
    const sMounted run =
        OnAFileSystem(at.Path(), Hdr(), "size=64k", "head -c 60000 /dev/zero > '" + at.Path() + "/filler'");
    if (!run.fStatus) GTEST_SKIP() << "no file system of its own: " << run.fText;
    EXPECT_EQ(*run.fStatus, 1);
    EXPECT_THAT(run.fText, HasSubstr("out.png: cannot be written: No space left on device"));
    EXPECT_THAT(run.fText, testing::EndsWith("\nfiller\n")) << "nothing is left";
}

TEST_F(Command, AReadOnlyFolderIsReported)
{
    if (std::system("unshare -rm true 2>/dev/null") != 0) GTEST_SKIP() << "no file system of its own";
    const cFolder at;
    const sMounted run = OnAFileSystem(at.Path(), Hdr(), "ro", ":");
    if (!run.fStatus) GTEST_SKIP() << "no file system of its own: " << run.fText;
    EXPECT_EQ(*run.fStatus, 1);
    EXPECT_THAT(run.fText, testing::EndsWith("out.png: cannot be written: Read-only file system\n"))
        << "nothing is left";
}

TEST_F(Command, AnOutputThatIsTheInputIsRefusedByWhateverName)
{
    std::filesystem::create_symlink("in.png", fFolder / "symbolic.png");
    std::filesystem::create_hard_link(Png(), fFolder / "hard.png");
    const tBytes before = ReadAll(Png());
    const std::vector<std::string> names = {Png(), fFolder / "./in.png", fFolder / "symbolic.png",
                                            fFolder / "hard.png"};
    for (const char* command : {"tonemap", "equalize"}) {
        for (const std::string& output : names) {
            ExpectFailure(Selvane({command, Png(), "-o", output}), 2,
                          output + ": is the input itself; --force replaces it");
            ExpectFailure(Selvane({command, output, "-o", Png()}), 2, "is the input itself");
        }
        const auto fromInput = [&] { ::dup2(::open(Png().c_str(), O_RDONLY), STDIN_FILENO); };
        ExpectFailure(Selvane({command, "/dev/stdin", "-o", Png()}, fromInput), 2, "is the input itself");
    }
    EXPECT_EQ(ReadAll(Png()), before);
    EXPECT_THAT(fFolder.Names(), ElementsAre("hard.png", "in.hdr", "in.png", "symbolic.png"));
}

TEST_F(Command, ForceReplacesTheInput)
{
    const tBytes before = ReadAll(Png());
    const tBytes expected = Entry(Png(), {}, 8).fPixels;
    std::filesystem::create_hard_link(Png(), fFolder / "hard.png");
    ExpectQuietSuccess(Selvane({"tonemap", "--exact", Png(), "-o", Png(), "--force"}));
    EXPECT_EQ(Look(Png()).fPixels, expected);
    EXPECT_EQ(ReadAll(fFolder / "hard.png"), before) << "the other name of a hard link";
    std::filesystem::create_symlink("in.png", fFolder / "symbolic.png");
    ExpectQuietSuccess(Selvane({"equalize", Png(), "-o", fFolder / "symbolic.png", "--force", "--depth", "16"}));
    EXPECT_TRUE(std::filesystem::is_symlink(fFolder / "symbolic.png"));
    EXPECT_EQ(Look(Png()).fBits, 16);
}

// Each run writes a whole picture, or prints a line and writes nothing. With SELVANE_LONG there are a thousand runs per
// kind of file.
TEST_F(Command, BrokenFilesEndInAPictureOrInWords)
{
    const cFolder kinds;
    const int rounds = IsLong() ? 1000 : 8;
    std::mt19937 random(23);
    int refused = 0;
    for (const auto& [name, whole] : OneOfEachKind(kinds)) {
        for (int round = 0; round < rounds; round++) {
            WriteAll(fFolder / "broken", Broken(whole, random));
            std::filesystem::remove(Out());
            const sRun run = Selvane({"tonemap", "--exact", fFolder / "broken", "-o", Out()});
            if (run.fStatus == 0) {
                EXPECT_GT(Look(Out()).fWidth, 0) << name;
            } else {
                refused++;
                EXPECT_EQ(run.fStatus, 1) << name << ", round " << round << ": " << run.fErr;
                EXPECT_THAT(run.fErr, testing::EndsWith("\n")) << name;
                EXPECT_THAT(run.fErr, HasSubstr("selvane: ")) << name;
                EXPECT_FALSE(Exists(Out())) << name;
            }
        }
    }
    EXPECT_GT(refused, rounds) << "most of what is broken shows";
    EXPECT_THAT(fFolder.Names(), testing::IsSubsetOf({"broken", "in.hdr", "in.png", "out.png"}));
}

// The command is killed at eight moments. The name then holds the old file or the whole new one.
TEST_F(Command, AKilledRunLeavesNoHalfFile)
{
    constexpr int kSide = 700;
    WriteAll(fFolder / "large.hdr", Radiance(kSide, kSide, ExponentPixels(kSide, kSide)));
    WriteAll(Out(), std::string("old"));
    ExpectQuietSuccess(Selvane({"tonemap", "--exact", fFolder / "large.hdr", "-o", fFolder / "whole.png"}));
    const tBytes whole = ReadAll(fFolder / "whole.png");
    for (int round = 0; round < 8; round++) {
        const pid_t child = ::fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            ::execl(SELVANE_BINARY, "selvane", "tonemap", "--exact", (fFolder / "large.hdr").c_str(), "-o",
                    Out().c_str(), nullptr);
            ::_exit(127);
        }
        ::usleep(static_cast<useconds_t>(40000 * round));
        ::kill(child, round % 2 == 0 ? SIGKILL : SIGTERM);
        int status = 0;
        ::waitpid(child, &status, 0);
        const tBytes left = ReadAll(Out());
        EXPECT_TRUE(left == whole || left == (tBytes{'o', 'l', 'd'})) << left.size();
        if (WIFEXITED(status)) {
            EXPECT_EQ(WEXITSTATUS(status), 0);
            EXPECT_EQ(left, whole);
        }
    }
}

#ifdef SELVANE_CRASHES // A sanitizer takes more memory and must be the first library that is loaded.
/// Limits the child of Selvane to pBytes of address space and 20 seconds, without a core file.
void LimitMemory(rlim_t pBytes)
{
    const rlimit limit{pBytes, pBytes};
    const rlimit noCore{0, 0};
    ::setrlimit(RLIMIT_CORE, &noCore);
    ::setrlimit(RLIMIT_AS, &limit);
    ::alarm(20);
}

/// Returns the start of an OpenEXR file with an attribute of unknown type that claims two gigabytes.
/// @param pBefore attributes before that one
tBytes ExrThatClaims(const std::string& pBefore)
{
    const std::string start("\x76\x2F\x31\x01\x02\0\0\0", 8);
    const std::string claim("note\0strange\0\xF0\xFF\xFF\x7F", 17);
    const std::string whole = start + pBefore + claim;
    tBytes file(whole.begin(), whole.end());
    file.resize(1000);
    return file;
}

TEST_F(Command, AnExrHeaderOfClaimsAloneIsRefusedBeforeItTakesMemory)
{
    // A float that claims 32 bytes, so that the large claim lies inside its value. The OpenEXR library reads four bytes
    // of the float and meets the claim.
    const std::string longNumber("number\0float\0\x20\0\0\0\0\0\0\0", 21);
    for (const std::string& before : {std::string(), longNumber}) {
        WriteAll(fFolder / "claims.exr", ExrThatClaims(before));
        const sRun run = Selvane({"stats", fFolder / "claims.exr"}, [] { LimitMemory(1U << 30); }); // half of the claim
        ExpectFailure(run, 1, "claims.exr: the picture is damaged or cut short");
    }
}

/// Returns the least address space with which the command starts, to a megabyte.
rlim_t LeastMemory()
{
    const auto starts = [](rlim_t pMegabytes) {
        return Selvane({"--version"}, [=] { LimitMemory(pMegabytes << 20); }).fStatus == 0;
    };
    rlim_t tooLittle = 32, enough = 4096; // MiB
    while (enough - tooLittle > 1) {
        const rlim_t middle = (tooLittle + enough) / 2;
        (starts(middle) ? enough : tooLittle) = middle;
    }
    return enough << 20;
}

// Most shortages are reported in a line. If GLib, on which libvips stands, gets no memory for something small, it ends
// the process. Now and then that overflows its stack, or it waits forever. In each case the name holds the old picture
// or the whole new one.
TEST_F(Command, AShortageOfMemoryLeavesNoHalfFile)
{
    constexpr int kSide = 700;
    constexpr rlim_t kStep = 3; // MiB: less than the samples and the file take
    const tBytes samples = Samples8(kSide, kSide);
    Store(fFolder / "large.png", samples.data(), kSide, kSide, Rgb8());
    ExpectQuietSuccess(Selvane({"tonemap", "--exact", fFolder / "large.png", "-o", fFolder / "whole.png"}));
    const tBytes whole = ReadAll(fFolder / "whole.png");
    const rlim_t least = LeastMemory();
    int refused = 0, done = 0;
    for (rlim_t more = 0; more < 400 && done < 3; more += kStep) {
        WriteAll(Out(), std::string("old"));
        const sRun run = Selvane({"tonemap", "--exact", fFolder / "large.png", "-o", Out(), "--threads", "1"},
                                 [&] { LimitMemory(least + (more << 20)); });
        EXPECT_THAT(run.fStatus, testing::AnyOf(0, 1, 128 + SIGTRAP, 128 + SIGABRT, 128 + SIGSEGV, 128 + SIGALRM))
            << run.fErr;
        EXPECT_EQ(ReadAll(Out()), run.fStatus == 0 ? whole : (tBytes{'o', 'l', 'd'})) << run.fErr;
        ASSERT_THAT(fFolder.Names(), ElementsAre("in.hdr", "in.png", "large.png", "out.png", "whole.png"));
        refused += run.fStatus == 1;
        done += run.fStatus == 0;
    }
    EXPECT_GT(refused, 0);
    EXPECT_GT(done, 0);
}

/// Runs the command with one library function replaced by a signal.
/// @param pAtStart action of the signal when the command starts: SIG_DFL, or SIG_IGN as under nohup
sRun Crashing(const char* pFunction, int pSignal, const std::vector<std::string>& pWords,
              void (*pAtStart)(int) = SIG_DFL)
{
    return Selvane(pWords, [&] {
        ::signal(pSignal, pAtStart);
        const rlimit noCore{0, 0};
        ::setrlimit(RLIMIT_CORE, &noCore);
        ::setenv("SELVANE_CRASH", std::to_string(pSignal).c_str(), 1);
        ::setenv("LD_PRELOAD", (std::string(SELVANE_CRASHES) + pFunction + ".so").c_str(), 1);
    });
}

// A library crashes while it encodes, or while the new file is half written. The run ends by that signal, the name
// holds the old file, and no other file remains.
TEST_F(Command, ACrashInALibraryLeavesNoHalfFileAndNoSuccess)
{
    const std::string jpeg = fFolder / "out.jpg";
    WriteAll(jpeg, std::string("old"));
    for (const char* function : {"vips_jpegsave_buffer", "fsync"}) {
        for (const int signal : {SIGSEGV, SIGABRT, SIGBUS, SIGFPE, SIGILL}) {
            const sRun run = Crashing(function, signal, {"tonemap", "--exact", Png(), "-o", jpeg});
            EXPECT_EQ(run.fStatus, 128 + signal) << function << ": " << run.fErr;
            EXPECT_EQ(ReadAll(jpeg), (tBytes{'o', 'l', 'd'})) << function;
            EXPECT_THAT(fFolder.Names(), ElementsAre("in.hdr", "in.png", "out.jpg")) << function;
        }
    }
    ExpectQuietSuccess(Selvane({"tonemap", "--exact", Png(), "-o", jpeg}));
}

TEST_F(Command, APictureOfMoreMegapixelsThanAllowedIsRefused)
{
    const std::string large = fFolder / "large.png";
    Store(large, Samples8(1250, 1000).data(), 1250, 1000, Rgb8());
    ExpectFailure(
        Selvane({"stats", large, "--max-megapixels", "1"}), 1,
        "a picture of 1250 x 1000 pixels is too large: the most is 1 megapixels; --max-megapixels allows more");
    ExpectQuietSuccess(Selvane({"stats", large, "--max-megapixels", "2"}));
    ExpectFailure(Selvane({"stats", large, "--max-megapixels", "0"}), 2, "--max-megapixels");
}

// A library that crashes while it reads ends the process that decodes, and no other.
TEST_F(Command, ACrashOfTheDecoderIsALineAndStatusOne)
{
    WriteAll(Out(), std::string("old"));
    for (const int signal : {SIGSEGV, SIGBUS, SIGFPE, SIGILL})
        ExpectFailure(Crashing("vips_pngload_buffer", signal, {"tonemap", "--exact", Png(), "-o", Out()}), 1,
                      "in.png: cannot be decoded: the decoder crashed (" + std::string(::strsignal(signal)));
    for (const int signal : {SIGABRT, SIGTRAP}) // GLib's ways to say that memory ran out
        ExpectFailure(Crashing("vips_pngload_buffer", signal, {"tonemap", "--exact", Png(), "-o", Out()}), 1,
                      "in.png: cannot be decoded: not enough memory for this picture, or it is damaged");
    for (const int signal : {SIGXCPU, SIGKILL})
        ExpectFailure(Crashing("vips_pngload_buffer", signal, {"tonemap", "--exact", Png(), "-o", Out()}), 1,
                      "in.png: takes too long or too much memory to decode");
    EXPECT_EQ(ReadAll(Out()), (tBytes{'o', 'l', 'd'}));
    EXPECT_THAT(fFolder.Names(), ElementsAre("in.hdr", "in.png", "out.png"));
}

/// Returns every signal that ends a process by default ("Term" and "Core" in signal(7)) and can be caught.
std::vector<int> EndingSignals()
{
    std::vector<int> signals = {SIGHUP,    SIGINT,  SIGQUIT,   SIGILL,  SIGTRAP, SIGABRT, SIGBUS,
                                SIGFPE,    SIGUSR1, SIGSEGV,   SIGUSR2, SIGPIPE, SIGALRM, SIGTERM,
                                SIGSTKFLT, SIGXCPU, SIGVTALRM, SIGPROF, SIGIO,   SIGPWR,  SIGSYS};
    for (int signal = SIGRTMIN; signal <= SIGRTMAX; signal++)
        signals.push_back(signal);
    return signals;
}

// The signal arrives when the new file is written and not yet renamed.
TEST_F(Command, EverySignalThatEndsTheRunRemovesTheUnfinishedFile)
{
    WriteAll(Out(), std::string("old"));
    for (const int signal : EndingSignals()) {
        const sRun run = Crashing("fsync", signal, {"tonemap", "--exact", Png(), "-o", Out()});
        EXPECT_EQ(run.fStatus, 128 + signal) << run.fErr;
        EXPECT_EQ(ReadAll(Out()), (tBytes{'o', 'l', 'd'})) << signal;
        ASSERT_THAT(fFolder.Names(), ElementsAre("in.hdr", "in.png", "out.png")) << signal;
    }
}

// Two signals belong to the C library, and no program may handle them. Two others are ignored from the start, as under
// nohup.
TEST_F(Command, SignalsThatAreIgnoredDoNotStopTheRun)
{
    for (const int signal : {32, 33}) {
        ExpectQuietSuccess(Crashing("fsync", signal, {"tonemap", "--exact", Png(), "-o", Out()}));
        EXPECT_GT(Look(Out()).fWidth, 0) << signal;
        std::filesystem::remove(Out());
    }
    for (const int signal : {SIGHUP, SIGUSR1}) {
        ExpectQuietSuccess(Crashing("fsync", signal, {"tonemap", "--exact", Png(), "-o", Out()}, SIG_IGN));
        EXPECT_GT(Look(Out()).fWidth, 0) << signal;
        std::filesystem::remove(Out());
    }
    EXPECT_THAT(fFolder.Names(), ElementsAre("in.hdr", "in.png"));
}
#endif

} // namespace
