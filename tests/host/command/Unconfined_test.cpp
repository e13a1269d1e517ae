// The command on a system that refuses the filter of system calls. A filter of the test plays that system.

#include "host/command/CommandTest.h"

#include <cerrno>
#include <linux/prctl.h>
#include <seccomp.h>
#include <stdexcept>
#include <sys/prctl.h>

#ifndef SELVANE_SANITIZED // such a program is never confined

namespace
{

using namespace SelvaneTest;
using testing::HasSubstr;

/// From here on this process, and what it starts, gets this error for a filter.
void RefuseFilters(int pError)
{
    const scmp_filter_ctx filter = ::seccomp_init(SCMP_ACT_ALLOW);
    const uint32_t refusal = SCMP_ACT_ERRNO(static_cast<uint16_t>(pError));
    const bool isMade =
        ::seccomp_rule_add(filter, refusal, SCMP_SYS(seccomp), 0) == 0 &&
        ::seccomp_rule_add(filter, refusal, SCMP_SYS(prctl), 1, SCMP_A0(SCMP_CMP_EQ, uint64_t{PR_SET_SECCOMP})) == 0 &&
        ::seccomp_load(filter) == 0;
    ::seccomp_release(filter);
    if (!isMade) throw std::runtime_error("the test's filter cannot be loaded");
}

TEST_F(Command, WithoutASandboxAPictureIsReadWithAWarning)
{
    ASSERT_EQ(Selvane({"tonemap", "-q", Png(), "-o", Out()}).fStatus, 0);
    const tBytes expected = ReadAll(Out());
    for (const int error : {ENOSYS, EINVAL}) {
        const sRun run = Selvane({"tonemap", "-q", Png(), "-o", Out()}, [&] { RefuseFilters(error); });
        EXPECT_EQ(run.fStatus, 0) << run.fErr;
        EXPECT_EQ(run.fErr, "selvane: warning: " + Png() +
                                ": decoding without a sandbox: the system refuses the filter of system calls: " +
                                SelvaneHost::SystemWords(error) + "\n");
        EXPECT_EQ(ReadAll(Out()), expected);
    }
}

TEST_F(Command, WithoutASandboxARunWarnsOnce)
{
    const sRun run = Selvane({"tonemap", "-q", Png(), Hdr(), "--out-dir", fFolder / "done", "--name", "{ext}.png"},
                             [] { RefuseFilters(ENOSYS); });
    EXPECT_EQ(run.fStatus, 0) << run.fErr;
    EXPECT_EQ(Lines(run.fErr), 1U) << run.fErr;
    EXPECT_THAT(run.fErr, HasSubstr("without a sandbox"));
}

} // namespace

#endif
