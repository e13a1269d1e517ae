#ifndef SELVANE_LIB_SUGGEST_LOOKSETTINGS_H
#define SELVANE_LIB_SUGGEST_LOOKSETTINGS_H

#include "selvane.h"
#include "suggest/Suggest.h"

namespace SelvaneLib
{

constexpr float kEngineContrast = 20.0f; ///< contrast of the entry, at which the setting is 0

/// The settings of a look, complete: automatic 0.
selvane_settings SettingsOf(const sLook& pLook);

} // namespace SelvaneLib

#endif
