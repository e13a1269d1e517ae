#ifndef SELVANE_BASE_EXPORT_H
#define SELVANE_BASE_EXPORT_H

// Marks what Selvane.so.1 hands out; everything else is hidden.
#define SELVANE_API __attribute__((visibility("default")))

#endif
