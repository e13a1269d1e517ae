// The report of a render, and what explain refuses. report.py holds the report against its schema, page.py the page in
// a browser.

#include "host/command/CommandTest.h"
#include "host/explain/Loaded.h"

#include <nlohmann/json.hpp>

#include <array>
#include <iterator>
#include <sstream>

namespace SelvaneTest
{
namespace
{

using testing::HasSubstr;
using tJson = nlohmann::json;

class Report : public Command
{
protected:
    std::string Json() const { return fFolder / "report.json"; }
    std::string Page() const { return fFolder / "page.html"; }

    tJson Read() const
    {
        const tBytes bytes = ReadAll(Json());
        return tJson::parse(bytes.begin(), bytes.end());
    }
};

/// What libselvane reports of a render of in.png in 8 bits.
selvane_report ReportOfRender(selvane* pHandle, const selvane_settings& pSettings)
{
    EXPECT_EQ(selvane_set_settings(pHandle, &pSettings), SELVANE_OK);
    tBytes pixels(size_t{3} * kWidth * kHeight);
    const selvane_target target = TargetOf(kWidth, kHeight, SELVANE_U8, pixels.data());
    EXPECT_EQ(selvane_render(pHandle, &target), SELVANE_OK);
    selvane_report report{};
    report.struct_size = sizeof report;
    EXPECT_EQ(selvane_get_report(pHandle, &report), SELVANE_OK);
    return report;
}

TEST_F(Report, HasTheNumbersOfTheLibrary)
{
    const sRun run =
        Selvane({"tonemap", Png(), "-o", Out(), "--preset", "soft", "--exposure", "0.25", "--report", Json()});
    ASSERT_EQ(run.fStatus, 0) << run.fErr;
    const tHandle handle = Loaded(Png());
    selvane_settings settings = PresetSettings("soft", 0.25F);
    const selvane_report expected = ReportOfRender(handle.get(), settings);

    const tJson report = Read();
    const std::vector<std::tuple<const char*, const char*, float>> numbers = {
        {"scene", "log_luminance_min", expected.log_luminance_min},
        {"scene", "log_luminance_max", expected.log_luminance_max},
        {"scene", "log_luminance_mean", expected.log_luminance_mean},
        {"scene", "percentile_0_1", expected.percentiles[0]},
        {"scene", "percentile_1", expected.percentiles[1]},
        {"scene", "percentile_25", expected.percentiles[2]},
        {"scene", "percentile_50", expected.percentiles[3]},
        {"scene", "percentile_75", expected.percentiles[4]},
        {"scene", "percentile_99", expected.percentiles[5]},
        {"scene", "percentile_99_75", expected.percentiles[6]},
        {"scene", "dynamic_range_stops", expected.dynamic_range_stops},
        {"layers", "base_min", expected.base_min},
        {"layers", "base_max", expected.base_max},
        {"layers", "base_mean", expected.base_mean},
        {"layers", "detail_min", expected.detail_min},
        {"layers", "detail_max", expected.detail_max},
        {"layers", "detail_mean", expected.detail_mean},
        {"points", "black_point", expected.black_point},
        {"points", "white_point", expected.white_point},
        {"points", "clipped_black", expected.clipped_black},
        {"points", "clipped_white", expected.clipped_white}};
    for (const auto& [section, name, value] : numbers)
        EXPECT_EQ(report[section][name].get<float>(), value) << name;
    EXPECT_EQ(report["scene"]["visible_pixels"], expected.visible_pixels);
    EXPECT_EQ(report["suggestion"]["previews"], expected.previews);
    EXPECT_EQ(report["settings"]["asked"]["exposure"].get<float>(), settings.exposure);
    ASSERT_EQ(selvane_suggest(handle.get(), &settings), SELVANE_OK);
    EXPECT_EQ(report["settings"]["suggested"]["contrast"].get<float>(), settings.contrast);
    std::vector<std::string> reasons;
    for (int i = 0; const char* const reason = selvane_reason(handle.get(), i); i++)
        reasons.emplace_back(reason);
    EXPECT_EQ(report["reasons"].get<std::vector<std::string>>(), reasons);
}

/// Settings that stand as they are: the handle of the run keeps what a single render keeps.
TEST_F(Report, HasTheBytesOfEachStage)
{
    const sRun run =
        Selvane({"tonemap", Png(), "-o", Out(), "--manual", "--compression", "30", "--depth", "8", "--report", Json()});
    ASSERT_EQ(run.fStatus, 0) << run.fErr;
    const tHandle handle = Loaded(Png());
    selvane_settings settings;
    selvane_settings_init(&settings);
    settings.automatic = 0;
    settings.compression = 30.0F;
    const selvane_report expected = ReportOfRender(handle.get(), settings);

    const tJson report = Read();
    const std::array<const char*, SELVANE_STAGES> stages = {"read", "split", "map", "points", "write"};
    int64_t sum = 0;
    for (size_t i = 0; i < stages.size(); i++) {
        EXPECT_EQ(report["stage_bytes"][stages[i]], expected.stage_bytes[i]) << stages[i];
        sum += report["stage_bytes"][stages[i]].get<int64_t>();
    }
    EXPECT_EQ(report["stage_bytes"]["map"], 4 * kWidth * kHeight) << "a float of new luminance for each pixel";
    EXPECT_EQ(report["memory"]["library"], sum);
}

TEST_F(Report, ItsCommandLineGivesTheSamePicture)
{
    ASSERT_EQ(Selvane({"tonemap", Hdr(), "-o", Out(), "--preset", "night", "--report", Json(), "-q"}).fStatus, 0);
    const sFound first = Look(Out());
    std::istringstream words(Read()["command"].get<std::string>());
    std::vector<std::string> line{std::istream_iterator<std::string>(words), {}};
    ASSERT_EQ(line[0], "selvane");
    line.erase(line.begin());
    line.insert(line.end(), {"-o", fFolder / "again.png"}); // the last -o counts
    ExpectQuietSuccess(Selvane(line));
    EXPECT_EQ(Look(fFolder / "again.png").fPixels, first.fPixels);
}

TEST_F(Report, SettingsAsTextAreAFileOfSettings)
{
    ASSERT_EQ(Selvane({"tonemap", Hdr(), "-o", Out(), "--report", Json(), "-q"}).fStatus, 0);
    WriteAll(fFolder / "again.toml", Read()["settings"]["text"].get<std::string>());
    ASSERT_EQ(
        Selvane({"tonemap", Hdr(), "-o", fFolder / "again.png", "--settings", fFolder / "again.toml", "-q"}).fStatus,
        0);
    EXPECT_EQ(Look(fFolder / "again.png").fPixels, Look(Out()).fPixels);
}

TEST_F(Report, NamesFilesAndTheirBytes)
{
    ASSERT_EQ(Selvane({"tonemap", Hdr(), "-o", Out(), "--report", Json(), "-q"}).fStatus, 0);
    const tJson report = Read();
    EXPECT_EQ(report["input"]["path"], Hdr());
    EXPECT_EQ(report["input"]["bytes"], ReadAll(Hdr()).size());
    EXPECT_EQ(report["output"]["bytes"], ReadAll(Out()).size());
    EXPECT_EQ(report["input"]["samples"], "shared exponents");
    EXPECT_GT(report["milliseconds"]["render"].get<double>(), 0.0);
    EXPECT_GT(report["milliseconds"]["file_in"].get<double>(), 0.0);
    EXPECT_GT(report["milliseconds"]["file_out"].get<double>(), 0.0);
    EXPECT_GT(report["memory"]["library"], 12 * kWidth * kHeight);
    EXPECT_GT(report["memory"]["peak"], 1 << 20);
}

TEST_F(Report, SaysWhatWasDoneAboutColour)
{
    ASSERT_EQ(Selvane({"tonemap", Hdr(), "-o", Out(), "--color-space", "adobe", "--report", Json(), "-q"}).fStatus, 0);
    EXPECT_THAT(Read()["color"]["input"].get<std::string>(), HasSubstr("Adobe RGB"));
    EXPECT_THAT(Read()["color"]["output"].get<std::string>(), HasSubstr("Adobe RGB"));
}

TEST_F(Report, SettingsThatStandHaveNoSuggestion)
{
    ASSERT_EQ(Selvane({"tonemap", Hdr(), "-o", Out(), "--manual", "--compression", "30", "--report", Json()}).fStatus,
              0);
    EXPECT_TRUE(Read()["settings"]["suggested"].is_null());
    EXPECT_TRUE(Read()["reasons"].empty());
    EXPECT_EQ(Read()["settings"]["used"]["compression"], 30.0);
}

TEST_F(Report, NamesThatAreNoTextAreReplaced)
{
    const std::string odd = fFolder / "a\xFF\"b.hdr";
    WriteAll(odd, ReadAll(Hdr()));
    ASSERT_EQ(Selvane({"tonemap", odd, "-o", Out(), "--report", Json(), "-q"}).fStatus, 0);
    EXPECT_THAT(Read()["input"]["path"].get<std::string>(), HasSubstr("a\xEF\xBF\xBD\"b.hdr"));
}

TEST_F(Report, ReplacesNoPictureOfItsRun)
{
    const tBytes before = ReadAll(Hdr());
    const std::string hard = fFolder / "hard.hdr", link = fFolder / "link.hdr";
    std::filesystem::create_hard_link(Hdr(), hard);
    std::filesystem::create_symlink("in.hdr", link);
    for (const std::string& input : {Hdr(), hard, link}) {
        ExpectFailure(Selvane({"tonemap", Hdr(), "-o", Out(), "--report", input}), 2, input + ": is read in this run");
        ExpectFailure(Selvane({"explain", Hdr(), "-o", Page(), "--report", input}), 2, input + ": is read in this run");
        ExpectFailure(Selvane({"explain", Hdr(), "-o", input}), 2, input + ": is the input itself");
    }
    const std::string page = fFolder / "../" + std::filesystem::path(fFolder.Path()).filename().string() + "/page.html";
    ExpectFailure(Selvane({"tonemap", Hdr(), "-o", Out(), "--report", Out()}), 2, "would be written twice");
    ExpectFailure(Selvane({"explain", Hdr(), "-o", Page(), "--report", Page()}), 2, "would be written twice");
    ExpectFailure(Selvane({"explain", Hdr(), "-o", Page(), "--report", page}), 2, "would be written twice");
    ExpectFailure(Selvane({"tonemap", Hdr(), "-o", Out(), "--report", fFolder / "none/r.json"}), 1, "none/r.json");
    EXPECT_EQ(ReadAll(Hdr()), before);
    EXPECT_FALSE(Exists(Out()));
    EXPECT_FALSE(Exists(Page()));
}

TEST_F(Report, OfThePageHasTheSameNumbersAsOfTheCommand)
{
    ExpectQuietSuccess(Selvane({"explain", Png(), "-o", Page(), "--report", Json(), "--preset", "clear"}));
    const tJson page = Read();
    ASSERT_EQ(Selvane({"tonemap", Png(), "-o", Out(), "--report", Json(), "--preset", "clear", "-q"}).fStatus, 0);
    const tJson command = Read();
    for (const char* part : {"settings", "reasons", "suggestion", "scene", "layers", "points", "color"})
        EXPECT_EQ(page[part], command[part]) << part;
}

/// No byte of a name can end the script or the text that holds it.
TEST_F(Report, HostileNamesStayText)
{
    const std::string odd = fFolder / "<img src=x onerror=alert(1)><!-- $(touch x) '`.hdr";
    WriteAll(odd, ReadAll(Hdr()));
    ExpectQuietSuccess(Selvane({"explain", odd, "-o", Page()}));
    const tBytes bytes = ReadAll(Page());
    const std::string page(bytes.begin(), bytes.end());
    EXPECT_EQ(page.find("<img src=x"), std::string::npos);
    EXPECT_NE(page.find("\\u003cimg src=x"), std::string::npos);
    EXPECT_EQ(page.find("<!--"), std::string::npos);
}

TEST_F(Report, PagesOfOddPicturesAreWritten)
{
    const std::vector<std::pair<const char*, std::vector<unsigned char>>> tones = {
        {"black", {0, 0, 0, 0}}, {"grey", {128, 128, 128, 128}}, {"tiny", {2, 3, 4, 1}}, {"sun", {255, 255, 255, 255}}};
    for (const auto& [name, pixel] : tones) {
        tBytes pixels;
        for (int i = 0; i < 35; i++)
            pixels.insert(pixels.end(), pixel.begin(), pixel.end());
        WriteAll(fFolder / "odd.hdr", Radiance(7, 5, pixels));
        const sRun run = Selvane({"explain", fFolder / "odd.hdr", "-o", Page(), "--report", Json()});
        EXPECT_EQ(run.fStatus, 0) << name << run.fErr;
        EXPECT_EQ(Read()["input"]["width"], 7) << name;
    }
}

} // namespace
} // namespace SelvaneTest
