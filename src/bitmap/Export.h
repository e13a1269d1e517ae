#ifndef SELVANE_BITMAP_EXPORT_H
#define SELVANE_BITMAP_EXPORT_H

// The former path of base/Export.h, kept for programs that include it.

#include "base/Export.h"

#endif
