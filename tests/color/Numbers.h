#ifndef SELVANE_TESTS_COLOR_NUMBERS_H
#define SELVANE_TESTS_COLOR_NUMBERS_H

// Matrices as arrays, numbers as bits, and random ones.

#include "color/cMatrix.h"
#include "color/cMatrixD.h"
#include "color/cVector.h"

#include <array>
#include <bit>
#include <cstdint>
#include <random>

namespace SelvaneTest
{

using tFloats = std::array<float, 9>;
using tDoubles = std::array<double, 9>;
using tBits = std::array<uint32_t, 9>;

inline uint32_t Bits(float pValue)
{
    return std::bit_cast<uint32_t>(pValue);
}

inline uint64_t Bits(double pValue)
{
    return std::bit_cast<uint64_t>(pValue);
}

inline float FromBits(uint32_t pBits)
{
    return std::bit_cast<float>(pBits);
}

inline tFloats NumbersOf(const Vornik::cMatrix33& pMatrix)
{
    return std::bit_cast<tFloats>(pMatrix);
}

inline tDoubles NumbersOf(const Vornik::cMatrixD33& pMatrix)
{
    return std::bit_cast<tDoubles>(pMatrix);
}

inline Vornik::cMatrix33 MatrixOf(const tFloats& pNumbers)
{
    return std::bit_cast<Vornik::cMatrix33>(pNumbers);
}

inline Vornik::cMatrixD33 MatrixOf(const tDoubles& pNumbers)
{
    return std::bit_cast<Vornik::cMatrixD33>(pNumbers);
}

inline tBits BitsOf(const Vornik::cMatrix33& pMatrix)
{
    return std::bit_cast<tBits>(pMatrix);
}

inline std::array<uint64_t, 9> BitsOf(const Vornik::cMatrixD33& pMatrix)
{
    return std::bit_cast<std::array<uint64_t, 9>>(pMatrix);
}

inline std::array<uint32_t, 2> BitsOf(Vornik::cVector2 pVector)
{
    return {Bits(pVector.x), Bits(pVector.y)};
}

inline std::array<uint32_t, 3> BitsOf(Vornik::cVector3 pVector)
{
    return {Bits(pVector.x), Bits(pVector.y), Bits(pVector.z)};
}

/// The nearest float. It goes through memory: g++ 12 at -O3 may leave out the rounding of a double that is narrowed and
/// widened again.
inline float Rounded(double pValue)
{
    volatile float rounded = static_cast<float>(pValue);
    return rounded;
}

/// Evenly spread numbers, the same in every run and with every C++ library.
class cRandom
{
public:
    explicit cRandom(unsigned pSeed) : fEngine(pSeed) {}

    double Between(double pLow, double pHigh)
    {
        return pLow + (pHigh - pLow) * (static_cast<double>(fEngine()) * 0x1p-32);
    }
    float FloatBetween(float pLow, float pHigh)
    {
        return Rounded(Between(static_cast<double>(pLow), static_cast<double>(pHigh)));
    }

private:
    std::mt19937 fEngine;
};

} // namespace SelvaneTest

#endif
