#ifndef SELVANE_LIB_SETTINGS_NUMBER_TEXT_H
#define SELVANE_LIB_SETTINGS_NUMBER_TEXT_H

#include <string>

namespace SelvaneLib
{

/// Returns the shortest decimal text that reads back as the same float, also by way of a double. It has a dot or an
/// exponent, as TOML wants of a float: "0.5", "-10.0", "1e+30". NaN and infinities are "nan", "inf", "-inf".
std::string NumberText(float pValue);

} // namespace SelvaneLib

#endif
