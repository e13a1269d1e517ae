#ifndef SELVANE_BITMAP_EXPORT_H
#define SELVANE_BITMAP_EXPORT_H

// The former place of base/Export.h, for programs that include it from here.

#include "base/Export.h"

#endif
