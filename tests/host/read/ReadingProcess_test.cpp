// The process that decodes, stopped while it decodes and looked at from outside.

#include "host/command/CommandTest.h"

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

#ifdef SELVANE_CRASHES // a sanitizer must be the first library that is loaded

namespace
{

using namespace SelvaneTest;
using testing::ContainsRegex;

/// Returns a file of a process under /proc. Empty if there is none.
std::string Facts(pid_t pProcess, const std::string& pName)
{
    std::ifstream file("/proc/" + std::to_string(pProcess) + "/" + pName);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// The command, whose decoder stops itself when libvips is to read the PNG file. The destructor ends both.
class cStopped
{
public:
    cStopped(const std::string& pInput, const std::string& pOutput) : fCommand(::fork())
    {
        if (fCommand == 0) {
            ::setenv("SELVANE_CONFIG", "", 1);
            ::setenv("SELVANE_CRASH", std::to_string(SIGSTOP).c_str(), 1);
            ::setenv("LD_PRELOAD", SELVANE_CRASHES "vips_pngload_buffer.so", 1);
            ::execl(SELVANE_BINARY, "selvane", "tonemap", "--quiet", pInput.c_str(), "-o", pOutput.c_str(), nullptr);
            ::_exit(127);
        }
    }
    ~cStopped()
    {
        const pid_t decoder = Child();
        ::kill(fCommand, SIGKILL);
        if (decoder > 0) ::kill(decoder, SIGKILL);
        ::waitpid(fCommand, nullptr, 0);
    }
    cStopped(const cStopped&) = delete;
    cStopped& operator=(const cStopped&) = delete;

    pid_t Command() const { return fCommand; }

    /// Waits for the decoder to stop. Returns its number, or 0 if it does not within 20 seconds.
    pid_t Decoder() const
    {
        for (int i = 0; i < 2000; i++) {
            const pid_t decoder = Child();
            if (decoder > 0 && Facts(decoder, "status").find("State:\tT") != std::string::npos) return decoder;
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        return 0;
    }

private:
    pid_t Child() const
    {
        const std::string number = std::to_string(fCommand);
        return std::atoi(Facts(fCommand, "task/" + number + "/children").c_str());
    }

    const pid_t fCommand;
};

TEST_F(Command, TheDecoderIsConfinedWhileItDecodes)
{
    const cStopped stopped(Png(), Out());
    const pid_t decoder = stopped.Decoder();
    ASSERT_GT(decoder, 0);
    EXPECT_THAT(Facts(decoder, "status"), ContainsRegex("\nSeccomp:\t2\n")) << "a filter";
    EXPECT_THAT(Facts(stopped.Command(), "status"), ContainsRegex("\nSeccomp:\t0\n")) << "of the decoder alone";
    const std::string limits = Facts(decoder, "limits");
    EXPECT_THAT(limits, ContainsRegex("Max address space +[0-9]+ +[0-9]+ "));
    EXPECT_THAT(limits, ContainsRegex("Max cpu time +[0-9]+ +[0-9]+ "));
    EXPECT_THAT(limits, ContainsRegex("Max core file size +0 +0 "));
}

TEST_F(Command, TheDecoderEndsWithTheCommand)
{
    const cStopped stopped(Png(), Out());
    const pid_t decoder = stopped.Decoder();
    ASSERT_GT(decoder, 0);
    ::kill(stopped.Command(), SIGKILL);
    bool ended = false;
    for (int i = 0; i < 2000 && !ended; i++) {
        const std::string status = Facts(decoder, "status");
        ended = status.empty() || status.find("State:\tZ") != std::string::npos;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    EXPECT_TRUE(ended);
    if (!ended) ::kill(decoder, SIGKILL);
}

} // namespace

#endif
