#ifndef SELVANE_LIB_RENDER_EQUALIZE_H
#define SELVANE_LIB_RENDER_EQUALIZE_H

// The engine's colour equalizer on finished pictures of any layout.

#include "picture/Layout.h"
#include "pool/Run.h"
#include "selvane.h"

#include <cstdint>

namespace SelvaneLib
{

/// Bytes that Equalize takes while it runs.
int64_t EqualizeBytes(const sLayout& pFrom, const sLayout& pTo);

/// Applies the three curves over hue. All records have been checked: integers of one size, and a target with the curve
/// of its space. The bytes are those of Vornik::cColorEqRenderer.
void Equalize(const selvane_picture& pPicture, const sLayout& pFrom, const selvane_settings& pSettings,
              const selvane_target& pTarget, const sLayout& pTo, cRun& pRun);

} // namespace SelvaneLib

#endif
