#ifndef SELVANE_TESTS_SUPPORT_SHA256_H
#define SELVANE_TESTS_SUPPORT_SHA256_H

// Digests of results that are too long to stand in a test.

#include <cstddef>
#include <string>

namespace SelvaneTest
{

/// The SHA-256 (FIPS 180-4) of pSize bytes, as 64 lower-case hexadecimal digits.
std::string Sha256(const void* pData, size_t pSize);

} // namespace SelvaneTest

#endif
