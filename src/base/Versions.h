#ifndef SELVANE_BASE_VERSIONS_H
#define SELVANE_BASE_VERSIONS_H

// Several compiled versions of one plain loop, internal. The loader picks the one for its processor; the bits are the
// same in all. A cloned function stands in an unnamed namespace, is a whole row or strip, and calls nothing but
// SELVANE_INLINE functions: a helper left out of line would be compiled for plain x86-64 only.

#if defined(SELVANE_VERSIONS)
#define SELVANE_CLONES __attribute__((target_clones("default", "arch=x86-64-v3", "arch=x86-64-v4")))
#else
#define SELVANE_CLONES
#endif

#define SELVANE_INLINE inline __attribute__((always_inline))

#endif
