// "-" as the name of what sheet, explain and --report write. The pictures of tonemap are among the tests of outputs.

#include "host/command/CommandTest.h"

#include <nlohmann/json.hpp>

#include <fcntl.h>
#include <unistd.h>

namespace
{

using namespace SelvaneTest;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

class StandardOutput : public Command
{
protected:
    /// Runs in the folder, where a file that is called "-" would be seen.
    sRun Run(const std::vector<std::string>& pWords) const
    {
        return Selvane(pWords, [&] {
            if (::chdir(fFolder.Path().c_str()) != 0) ::_exit(126);
        });
    }
};

TEST_F(StandardOutput, GetsTheSheet)
{
    const std::vector<std::string> words = {"sheet", Png(), "--look", "plain", "--look", "soft", "-o"};
    const auto with = [&](std::vector<std::string> pMore) {
        pMore.insert(pMore.begin(), words.begin(), words.end());
        return Run(pMore);
    };
    ExpectQuietSuccess(with({"sheet.png"}));
    const sRun run = with({"-", "--format", "png"});
    ExpectQuietSuccess(run);
    EXPECT_TRUE(tBytes(run.fOut.begin(), run.fOut.end()) == ReadAll(fFolder / "sheet.png"));
    ExpectFailure(with({"-"}), 2, "standard output needs a kind of file: --format");
    EXPECT_THAT(fFolder.Names(), ElementsAre("in.hdr", "in.png", "sheet.png"));
}

TEST_F(StandardOutput, GetsThePage)
{
    const sRun run = Run({"explain", Png(), "-o", "-"});
    ExpectQuietSuccess(run);
    EXPECT_THAT(run.fOut, StartsWith("<!doctype html>\n"));
    EXPECT_THAT(run.fOut, EndsWith("</html>\n"));
    EXPECT_THAT(run.fOut, HasSubstr("\"report_version\":1"));
    EXPECT_THAT(fFolder.Names(), ElementsAre("in.hdr", "in.png"));
    const auto toFull = [] { ::dup2(::open("/dev/full", O_WRONLY), STDOUT_FILENO); };
    ExpectFailure(Selvane({"explain", Png(), "-o", "-"}, toFull), 1, "No space left");
}

TEST_F(StandardOutput, GetsTheReport)
{
    const sRun run = Run({"tonemap", "-q", Png(), "-o", "out.png", "--report", "-"});
    ExpectQuietSuccess(run);
    EXPECT_EQ(nlohmann::json::parse(run.fOut)["output"]["path"], "out.png");
    EXPECT_THAT(fFolder.Names(), ElementsAre("in.hdr", "in.png", "out.png"));
    ExpectFailure(Run({"explain", Png(), "-o", "-", "--report", "-"}), 2, "-: would be written twice");
    const auto fromHdr = [&] { ReadFrom("cat " + Png()); };
    ExpectQuietSuccess(Selvane({"tonemap", "-q", "-", "-o", Out(), "--report", "-"}, fromHdr));
}

} // namespace
