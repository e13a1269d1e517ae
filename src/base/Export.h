#ifndef SELVANE_BASE_EXPORT_H
#define SELVANE_BASE_EXPORT_H

// Marks the symbols that Selvane.so.1 exports. All others are hidden.
#define SELVANE_API __attribute__((visibility("default")))

#endif
