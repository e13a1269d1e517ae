#ifndef SELVANE_HOST_EXPLAIN_EXPLAIN_H
#define SELVANE_HOST_EXPLAIN_EXPLAIN_H

// The subcommand explain.

#include "job/Job.h"

#include <string>

namespace SelvaneHost
{

struct sExplainOptions
{
    sJob fJob;           ///< its output is the page; depth and colour space of the output are not used
    int fSize = 1400;    ///< most pixels of the longer side of the page's pictures
    std::string fReport; ///< JSON file to write; empty: none
    bool fVerbose = false;
};

/// Renders a picture and writes a page that explains the render.
/// @throws cHostError, cUsageError
void RunExplain(const sExplainOptions& pOptions);

} // namespace SelvaneHost

#endif
