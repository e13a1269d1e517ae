#include "host/Workshop.h"
#include "write/OutputFile.h"
#include "write/UnfinishedFile.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <csignal>
#include <filesystem>
#include <grp.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace
{

using namespace SelvaneHost;
using SelvaneTest::cFolder;
using SelvaneTest::Exists;
using SelvaneTest::ReadAll;
using SelvaneTest::Refusal;
using SelvaneTest::WriteAll;
using testing::ElementsAre;
using testing::HasSubstr;

const tBytes kContent = {'n', 'e', 'w'};

void Write(const std::string& pPath)
{
    WriteFile(pPath, {kContent});
}

TEST(OutputFile, TheFileIsThereAndNothingElse)
{
    const cFolder folder;
    Write(folder / "picture.png");
    EXPECT_EQ(ReadAll(folder / "picture.png"), kContent);
    EXPECT_THAT(folder.Names(), ElementsAre("picture.png"));
}

struct stat FactsOf(const std::string& pPath)
{
    struct stat facts
    {
    };
    EXPECT_EQ(::stat(pPath.c_str(), &facts), 0);
    return facts;
}

mode_t ModeOf(const std::string& pPath)
{
    return FactsOf(pPath).st_mode & 07777;
}

/// Writes a file over one with these permissions. Returns the permissions of the new file.
mode_t ModeAfterReplacing(mode_t pMode)
{
    const cFolder folder;
    const std::string path = folder / "picture.png";
    WriteAll(path, "old");
    ::chmod(path.c_str(), pMode);
    EXPECT_EQ(ModeOf(path), pMode);
    Write(path);
    EXPECT_EQ(ReadAll(path), kContent);
    return ModeOf(path);
}

TEST(OutputFile, AFileThatIsReplacedKeepsItsPermissions)
{
    for (const mode_t mode : {0640U, 0604U, 0777U, 0400U})
        EXPECT_EQ(ModeAfterReplacing(mode), mode);
}

// Otherwise a picture could become a program that runs with the rights of its owner.
TEST(OutputFile, AFileThatIsReplacedLosesTheBitsThatLendRights)
{
    for (const mode_t mode : {04755U, 02755U, 01755U, 07755U})
        EXPECT_EQ(ModeAfterReplacing(mode), 0755U) << std::oct << mode;
}

TEST(OutputFile, ANewFileGetsThePermissionsOfAnyNewFile)
{
    const cFolder folder;
    const mode_t before = ::umask(027);
    Write(folder / "picture.png");
    ::umask(before);
    EXPECT_EQ(ModeOf(folder / "picture.png"), 0640U);
}

TEST(OutputFile, ASymbolicLinkIsFollowed)
{
    const cFolder folder;
    WriteAll(folder / "real.png", "old");
    std::filesystem::create_symlink("real.png", folder / "link.png");
    Write(folder / "link.png");
    EXPECT_TRUE(std::filesystem::is_symlink(folder / "link.png"));
    EXPECT_EQ(ReadAll(folder / "real.png"), kContent);
}

TEST(OutputFile, TheOtherNameOfAHardLinkKeepsWhatItHeld)
{
    const cFolder folder;
    WriteAll(folder / "picture.png", "old");
    std::filesystem::create_hard_link(folder / "picture.png", folder / "other.png");
    Write(folder / "picture.png");
    EXPECT_EQ(ReadAll(folder / "picture.png"), kContent);
    EXPECT_EQ(ReadAll(folder / "other.png"), (tBytes{'o', 'l', 'd'}));
}

TEST(OutputFile, FailuresAreInTheSystemsWords)
{
    const cFolder folder;
    WriteAll(folder / "file", "x");
    std::filesystem::create_directory(folder / "folder.png");
    std::filesystem::create_symlink("/dev/null", folder / "device.png");
    const std::vector<std::pair<std::string, std::string>> cases = {
        {folder / "missing/picture.png", "No such file or directory"},
        {folder / "file/picture.png", "Not a directory"},
        {folder / "folder.png", "Is a directory"},
        {folder / "device.png", "not a regular file"},
        {folder / std::string(300, 'x') + ".png", "File name too long"},
        {"/proc/picture.png", ""}};
    for (const auto& entry : cases) {
        const std::string& path = entry.first;
        const std::string& words = entry.second;
        const std::string early = Refusal([&] { CheckWritable(path); });
        if (!words.empty()) {
            EXPECT_THAT(early, HasSubstr(words)) << path;
        }
        EXPECT_TRUE(early.empty() || early.starts_with("cannot be written: ")) << early;
    }
    EXPECT_THAT(Refusal([&] { Write(folder / "missing/picture.png"); }), HasSubstr("No such file or directory"));
    EXPECT_THAT(Refusal([&] { Write(folder / "folder.png"); }), HasSubstr("Is a directory"));
    EXPECT_THAT(Refusal([&] { Write("/proc/picture.png"); }), HasSubstr("cannot be written"));
    EXPECT_THAT(folder.Names(), ElementsAre("device.png", "file", "folder.png")) << "nothing is left behind";
    EXPECT_EQ(Refusal([&] { CheckWritable(folder / "file"); }), "");
    EXPECT_EQ(Refusal([&] { CheckWritable(folder / "new.png"); }), "");
}

/// Runs the action in a child process. Returns the wait status.
template <typename tAction>
int InChild(tAction pAction)
{
    const pid_t child = ::fork();
    if (child == 0) ::_exit(pAction());
    int status = 0;
    ::waitpid(child, &status, 0);
    return status;
}

constexpr uid_t kSomebody = 65533; // numbers of users and groups without a name
constexpr uid_t kOwner = 65532;
constexpr gid_t kTheirGroup = 65531;

/// Another user replaces a file of kOwner and kTheirGroup in a folder that is open to all. Returns the new file's
/// facts.
/// @param pGroups further groups of that user
struct stat AfterReplacing(mode_t pMode, const std::vector<gid_t>& pGroups)
{
    const cFolder folder;
    const std::string path = folder / "picture.png";
    ::chmod(folder.Path().c_str(), 0777);
    WriteAll(path, "old");
    EXPECT_EQ(::chown(path.c_str(), kOwner, kTheirGroup), 0);
    ::chmod(path.c_str(), pMode);
    const int status = InChild([&] {
        if (::setgroups(pGroups.size(), pGroups.data()) != 0 || ::setgid(kSomebody) != 0 || ::setuid(kSomebody) != 0)
            return 2;
        return Refusal([&] { Write(path); }).empty() ? 0 : 1;
    });
    EXPECT_EQ(status, 0);
    EXPECT_EQ(ReadAll(path), kContent);
    return FactsOf(path);
}

TEST(OutputFile, AFileThatIsReplacedKeepsOwnerAndGroupWhereTheyCanBeGiven)
{
    if (::getuid() != 0) GTEST_SKIP() << "files of others need root";
    const cFolder folder;
    const std::string path = folder / "picture.png";
    WriteAll(path, "old");
    ASSERT_EQ(::chown(path.c_str(), kOwner, kTheirGroup), 0);
    ::chmod(path.c_str(), 06674);
    Write(path);
    const struct stat facts = FactsOf(path);
    EXPECT_EQ(facts.st_uid, kOwner);
    EXPECT_EQ(facts.st_gid, kTheirGroup);
    EXPECT_EQ(facts.st_mode & 07777, 0674U);
}

TEST(OutputFile, WhereTheGroupCannotBeGivenItsRightsAreDropped)
{
    if (::getuid() != 0) GTEST_SKIP() << "files of others need root";
    const struct stat facts = AfterReplacing(06674, {});
    EXPECT_EQ(facts.st_uid, kSomebody);
    EXPECT_EQ(facts.st_gid, kSomebody);
    EXPECT_EQ(facts.st_mode & 07777, 0604U);
}

TEST(OutputFile, WhereTheOwnerAloneCannotBeGivenTheGroupIsKept)
{
    if (::getuid() != 0) GTEST_SKIP() << "files of others need root";
    const struct stat facts = AfterReplacing(06674, {kTheirGroup});
    EXPECT_EQ(facts.st_uid, kSomebody);
    EXPECT_EQ(facts.st_gid, kTheirGroup);
    EXPECT_EQ(facts.st_mode & 07777, 0674U);
}

TEST(OutputFile, NoRoomKeepsTheOldFileAndLeavesNothing)
{
    const cFolder folder;
    WriteAll(folder / "picture.png", "old");
    const tBytes large(100000, 'x');
    const int status = InChild([&] {
        CatchSignals();
        const rlimit limit{50000, 50000};
        ::setrlimit(RLIMIT_FSIZE, &limit);
        const std::string words = Refusal([&] { WriteFile(folder / "picture.png", {large}); });
        return words == "cannot be written: File too large" ? 0 : 1;
    });
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 0);
    EXPECT_THAT(folder.Names(), ElementsAre("picture.png"));
    EXPECT_EQ(ReadAll(folder / "picture.png"), (tBytes{'o', 'l', 'd'}));
}

TEST(OutputFile, AFolderWithoutPermissionIsRefused)
{
    const cFolder folder;
    WriteAll(folder / "picture.png", "old");
    ::chmod(folder.Path().c_str(), 0555);
    const int status = InChild([&] {
        constexpr uid_t kNobody = 65534; // root passes all permissions
        if (::getuid() == 0 && ::setuid(kNobody) != 0) return 2;
        const char* expected = "cannot be written: Permission denied";
        if (Refusal([&] { CheckWritable(folder / "picture.png"); }) != expected) return 3;
        return Refusal([&] { Write(folder / "picture.png"); }) == expected ? 0 : 4;
    });
    ::chmod(folder.Path().c_str(), 0755);
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 0);
    EXPECT_THAT(folder.Names(), ElementsAre("picture.png"));
    EXPECT_EQ(ReadAll(folder / "picture.png"), (tBytes{'o', 'l', 'd'}));
}

// A child writes the file again and again, and gets a signal at some moment. Then the name holds a whole file, and no
// other file remains.
TEST(OutputFile, ASignalLeavesNoUnfinishedFile)
{
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        for (int round = 0; round < 8; round++) {
            const cFolder folder;
            const tBytes large(300000, 'x');
            const pid_t child = ::fork();
            if (child == 0) {
                ::signal(signal, SIG_DFL); // a run in the background may ignore it
                CatchSignals();
                for (;;)
                    WriteFile(folder / "picture.png", {large});
            }
            while (!Exists(folder / "picture.png"))
                ::usleep(200);
            ::usleep(static_cast<useconds_t>(700 * round));
            ::kill(child, signal);
            int status = 0;
            ::waitpid(child, &status, 0);
            ASSERT_TRUE(WIFSIGNALED(status));
            EXPECT_EQ(WTERMSIG(status), signal);
            EXPECT_THAT(folder.Names(), ElementsAre("picture.png"));
            EXPECT_EQ(ReadAll(folder / "picture.png"), large);
        }
    }
}

TEST(OutputFile, ANameThatMustBeNewIsNotReplaced)
{
    const cFolder folder;
    WriteAll(folder / "there.png", "old");
    EXPECT_EQ(Refusal([&] { WriteFile(folder / "there.png", {kContent}, true); }), "cannot be written: File exists");
    EXPECT_EQ(ReadAll(folder / "there.png"), (tBytes{'o', 'l', 'd'}));
    WriteFile(folder / "new.png", {kContent}, true);
    EXPECT_EQ(ReadAll(folder / "new.png"), kContent);
    std::filesystem::create_symlink("nowhere", folder / "link.png");
    EXPECT_EQ(Refusal([&] { WriteFile(folder / "link.png", {kContent}, true); }), "cannot be written: File exists");
    EXPECT_THAT(folder.Names(), ElementsAre("link.png", "new.png", "there.png"));
}

/// Of many threads that write one new name, one does.
TEST(OutputFile, OneOfManyMakesANewName)
{
    const cFolder folder;
    std::atomic<int> made{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < 16; i++)
        threads.emplace_back([&] {
            if (Refusal([&] { WriteFile(folder / "new.png", {kContent}, true); }).empty()) made++;
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(made.load(), 1);
    EXPECT_THAT(folder.Names(), ElementsAre("new.png"));
}

TEST(OutputFile, ManyThreadsWriteAtOnce)
{
    const cFolder folder;
    std::vector<std::thread> threads;
    std::vector<std::string> names;
    for (int i = 0; i < 16; i++) {
        names.push_back(std::string("picture") + static_cast<char>('a' + i));
        threads.emplace_back([&folder, i, name = names.back()] {
            for (int round = 0; round < 10; round++)
                WriteFile(folder / name, {tBytes(70000, static_cast<unsigned char>(i))});
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(folder.Names(), names);
    for (size_t i = 0; i < names.size(); i++)
        EXPECT_EQ(ReadAll(folder / names[i]), tBytes(70000, static_cast<unsigned char>(i)));
}

TEST(OutputFile, ASignalLeavesNoUnfinishedFileOfManyThreads)
{
    for (int round = 0; round < 20; round++) {
        const cFolder folder;
        const tBytes large(100000, 'x');
        const pid_t child = ::fork();
        if (child == 0) {
            ::signal(SIGTERM, SIG_DFL);
            CatchSignals();
            std::vector<std::thread> threads;
            for (int i = 0; i < 8; i++)
                threads.emplace_back([&, i] {
                    for (;;)
                        WriteFile(folder / std::to_string(i), {large});
                });
            threads[0].join();
        }
        while (!Exists(folder / "0"))
            ::usleep(200);
        ::usleep(static_cast<useconds_t>(900 * round));
        ::kill(child, SIGTERM);
        int status = 0;
        ::waitpid(child, &status, 0);
        ASSERT_TRUE(WIFSIGNALED(status));
        EXPECT_EQ(WTERMSIG(status), SIGTERM);
        for (const std::string& name : folder.Names()) {
            EXPECT_EQ(name.size(), 1U) << name;
            EXPECT_EQ(ReadAll(folder / name), large);
        }
    }
}

} // namespace
