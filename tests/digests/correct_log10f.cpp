// A log10f that is rounded correctly, to be loaded before the C library. Long double has 64 bits and more: no float's
// logarithm comes so near to the middle of two floats that it would be rounded to the wrong side.

#include <cmath>

extern "C" float log10f(float pValue) noexcept
{
    return static_cast<float>(std::log10(static_cast<long double>(pValue)));
}
