// What a process that decodes may do, and what ends it. Each case runs in a child process.

#include "host/Workshop.h"
#include "read/Confinement.h"
#include "read/PictureReader.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <pthread.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#ifndef SELVANE_SANITIZED // sanitizers need more of the system than a decoder

namespace
{

using SelvaneHost::ForbidAllButReading;
using SelvaneHost::LimitResources;

constexpr int kUnavailable = 99;

/// Returns the wait status of a child that ends with what the action returns.
int InChild(const std::function<int()>& pAction)
{
    const pid_t child = ::fork();
    if (child == 0) ::_exit(pAction());
    int status = 0;
    EXPECT_EQ(::waitpid(child, &status, 0), child);
    return status;
}

/// The same behind the filter, with a file in memory to write to.
int Confined(const std::function<int(int pFile)>& pAction)
{
    return InChild([&] {
        const int file = ::memfd_create("test", 0);
        return ForbidAllButReading({file}) ? pAction(file) : kUnavailable;
    });
}

void ExpectExit(int pStatus, int pCode)
{
    ASSERT_TRUE(WIFEXITED(pStatus)) << "signal " << WTERMSIG(pStatus);
    EXPECT_EQ(WEXITSTATUS(pStatus), pCode);
}

void ExpectSignal(int pStatus, int pSignal)
{
    ASSERT_TRUE(WIFSIGNALED(pStatus)) << "status " << WEXITSTATUS(pStatus);
    EXPECT_EQ(WTERMSIG(pStatus), pSignal);
}

TEST(Confinement, ReadingMemoryThreadsAndItsFileRemain)
{
    ExpectExit(Confined([](int pFile) {
                   void* const memory = std::malloc(size_t{64} << 20);
                   if (memory == nullptr) return 1;
                   std::free(memory);
                   if (::write(pFile, "abc", 3) != 3 || ::lseek(pFile, 0, SEEK_SET) != 0) return 2;
                   char bytes[3];
                   if (::read(pFile, bytes, 3) != 3 || bytes[2] != 'c') return 3;
                   pthread_t thread{};
                   if (::pthread_create(
                           &thread, nullptr, [](void* pArgument) { return pArgument; }, bytes) != 0)
                       return 4;
                   void* result = nullptr;
                   ::pthread_join(thread, &result);
                   return result == bytes ? 0 : 5;
               }),
               0);
}

TEST(Confinement, AFileIsNotOpenedAndTheProcessGoesOn)
{
    ExpectExit(Confined([](int) {
                   if (::open("/etc/passwd", O_RDONLY) >= 0 || errno != EACCES) return 1;
                   if (::open("/tmp/selvane-new", O_CREAT | O_WRONLY, 0600) >= 0 || errno != EACCES) return 2;
                   return ::access("/etc/passwd", F_OK) == 0 ? 3 : 0;
               }),
               0);
}

TEST(Confinement, MemoryIsNeverExecutable)
{
    ExpectExit(Confined([](int) {
                   void* const made =
                       ::mmap(nullptr, 4096, PROT_READ | PROT_WRITE | PROT_EXEC, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
                   if (made != MAP_FAILED) return 1;
                   void* const plain =
                       ::mmap(nullptr, 4096, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
                   if (plain == MAP_FAILED) return 2;
                   return ::mprotect(plain, 4096, PROT_READ | PROT_EXEC) == 0 ? 3 : 0;
               }),
               0);
}

TEST(Confinement, AnythingElseEndsTheProcess)
{
    ExpectSignal(Confined([](int) { return ::socket(AF_INET, SOCK_STREAM, 0) >= 0 ? 1 : 2; }), SIGSYS);
    ExpectSignal(Confined([](int) { return ::fork() >= 0 ? 1 : 2; }), SIGSYS);
    ExpectSignal(Confined([](int) { return ::execl("/bin/true", "true", nullptr); }), SIGSYS);
    ExpectSignal(Confined([](int) { return ::kill(::getppid(), 0); }), SIGSYS);
    ExpectSignal(Confined([](int) { return ::write(STDIN_FILENO, "x", 1) > 0 ? 1 : 2; }), SIGSYS);
    ExpectSignal(Confined([](int) { return ::rename("/tmp/a", "/tmp/b"); }), SIGSYS);
}

TEST(Confinement, MemoryAndTimeEnd)
{
    ExpectExit(InChild([] {
                   LimitResources(uint64_t{3} << 30, 60);
                   const std::unique_ptr<char, decltype(&std::free)> memory(
                       static_cast<char*>(std::malloc(size_t{3} << 30)), std::free);
                   return memory == nullptr ? 0 : 1;
               }),
               0);
    ExpectSignal(InChild([] {
                     LimitResources(uint64_t{4} << 30, 1);
                     while (::getppid() != 0) {
                     }
                     return 0;
                 }),
                 SIGKILL); // the soft and the hard limit are one: the kernel looks at the hard one first
}

TEST(Confinement, ATighterLimitOfTheUserStays)
{
    ExpectExit(InChild([] {
                   const rlimit tight{5, 5};
                   ::setrlimit(RLIMIT_CPU, &tight);
                   LimitResources(uint64_t{4} << 30, 60);
                   rlimit found{};
                   ::getrlimit(RLIMIT_CPU, &found);
                   return static_cast<int>(found.rlim_cur);
               }),
               5);
}

} // namespace

#endif
