#ifndef SELVANE_HOST_SHEET_SHEET_LOOK_H
#define SELVANE_HOST_SHEET_SHEET_LOOK_H

#include "sheet/Sheet.h"

#include <string>
#include <vector>

namespace SelvaneHost
{

/// Reads a look as the command line gives it. The text is split into words as a shell does.
///
///     night                        a preset
///     a.toml, ./a                  a file of settings
///     plain                        the picture without tone mapping
///     night --exposure 0.5         with options of tonemap, "--manual --compression 40" too
///
/// @throws cUsageError
sSheetLook LookOf(const std::string& pText);

/// The picture without tone mapping, and all presets of the library.
std::vector<sSheetLook> UsualLooks();

} // namespace SelvaneHost

#endif
