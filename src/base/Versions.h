#ifndef SELVANE_BASE_VERSIONS_H
#define SELVANE_BASE_VERSIONS_H

// SELVANE_CLONES compiles a loop in several versions, internal. The loader picks the version for its processor. All
// versions give the same bits. A cloned function is in an unnamed namespace and processes a whole row or strip. It
// calls only SELVANE_INLINE functions: any other helper would be compiled for plain x86-64 only.

#if defined(SELVANE_VERSIONS)
#define SELVANE_CLONES __attribute__((target_clones("default", "arch=x86-64-v3", "arch=x86-64-v4")))
#else
#define SELVANE_CLONES
#endif

#define SELVANE_INLINE inline __attribute__((always_inline))

#endif
