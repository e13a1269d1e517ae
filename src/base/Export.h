#ifndef SELVANE_BASE_EXPORT_H
#define SELVANE_BASE_EXPORT_H

// Marks the symbols that Selvane.so.1 exports. All others are hidden. Another build of the sources may define it empty.
#ifndef SELVANE_API
#define SELVANE_API __attribute__((visibility("default")))
#endif

#endif
