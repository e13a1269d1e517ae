#ifndef SELVANE_HOST_SHEET_SHEET_H
#define SELVANE_HOST_SHEET_SHEET_H

// The subcommand sheet: one picture in several looks, side by side.

#include "job/Job.h"

#include <string>
#include <vector>

namespace SelvaneHost
{

/// A cell of a sheet.
struct sSheetLook
{
    std::string fName;       ///< what the cell is called
    std::string fWords = {}; ///< what it does, after the name; may be empty
    bool fPlain = false;     ///< the picture without tone mapping
    sLook fLook = {};
};

struct sSheetOptions
{
    sJob fJob;                      ///< its output is the sheet, its look is not used
    std::vector<sSheetLook> fLooks; ///< of the cells, at least one
    int fSize = 480;                ///< most pixels of the longer side of a cell's picture
    bool fVerbose = false;
};

/// Renders a small picture of each look and writes the sheet.
/// @throws cHostError, cUsageError
void RunSheet(const sSheetOptions& pOptions);

} // namespace SelvaneHost

#endif
