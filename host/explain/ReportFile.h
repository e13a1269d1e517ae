#ifndef SELVANE_HOST_EXPLAIN_REPORT_FILE_H
#define SELVANE_HOST_EXPLAIN_REPORT_FILE_H

// The report of a render as JSON: all numbers, for programs and for the page of `selvane explain`. report.schema.json
// says what each means; an install has it in share/selvane.

#include "job/Develop.h"
#include "picture/Picture.h"

#include <cstdint>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>
#include <vector>

namespace SelvaneHost
{

/// A file and its size.
struct sFileFacts
{
    std::string fPath;
    std::optional<int64_t> fBytes; ///< empty: no regular file
};

/// What a run knows of itself.
struct sRunFacts
{
    sFileFacts fInput;
    int fWidth = 0; ///< of the picture that was developed
    int fHeight = 0;
    eSampleForm fForm = eSamples8;
    int fChannels = 3;
    std::optional<sFileFacts> fOutput; ///< empty: no picture was written
    std::string fCommand;              ///< gives the same picture again
    std::string fColorIn;              ///< how the samples became light
    std::string fColorOut;             ///< space of the render
    std::vector<std::string> fWarnings;
    double fReadMilliseconds = 0.0;
    double fRenderMilliseconds = 0.0;
    double fWriteMilliseconds = 0.0;
    sDeveloped fDeveloped;
};

/// @return the size of a regular file; empty for anything else
std::optional<int64_t> FileBytes(const std::string& pPath);

nlohmann::ordered_json ReportOf(const sRunFacts& pFacts);

/// Writes the report.
/// @throws cHostError
void WriteReport(const sRunFacts& pFacts, const std::string& pPath);

/// JSON as text. Bytes that are no UTF-8, as in names of files, become the sign for that.
std::string JsonText(const nlohmann::ordered_json& pJson, int pIndent);

/// The schema of the report, report.schema.json.
extern const char* const kReportSchema;

} // namespace SelvaneHost

#endif
