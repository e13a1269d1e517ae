#ifndef SELVANE_TESTS_CURVE_RANDOMCURVES_H
#define SELVANE_TESTS_CURVE_RANDOMCURVES_H

// Control points of every kind that a caller may hand over, tame and wild.

#include "curve/cHermiteSpline.h"

#include <cstddef>
#include <limits>
#include <random>
#include <vector>

namespace SelvaneTest
{

enum eCurveKind
{
    eTame,       ///< in the unit square, tangents up to 1
    eWide,       ///< beyond the unit square, tangents that double back
    eCoarse,     ///< abscissae in eighths: many of them equal
    eCrowded,    ///< all abscissae within a few table indices
    eWild,       ///< NaN, infinities, zeros of both signs, huge and tiny numbers among the rest
    eCurveKinds, ///< how many there are
};

class cRandomCurves
{
public:
    explicit cRandomCurves(unsigned pSeed) : fRandom(pSeed) {}

    template <class tValue, size_t tCount>
    tValue Of(const tValue (&pChoices)[tCount])
    {
        return pChoices[Whole(0, static_cast<int>(tCount) - 1)];
    }

    int Whole(int pLeast, int pMost) { return std::uniform_int_distribution<int>(pLeast, pMost)(fRandom); }

    float Between(float pLeast, float pMost)
    {
        return pLeast + (pMost - pLeast) * (static_cast<float>(fRandom() >> 8) * 0x1p-24f);
    }

    float Abscissa(eCurveKind pKind)
    {
        switch (pKind) {
        case eTame:
            return Between(0.0f, 1.0f);
        case eCoarse:
            return static_cast<float>(Whole(-1, 9)) / 8.0f;
        case eCrowded:
            return Between(0.5f, 0.50005f);
        case eWild:
            return Whole(0, 3) == 0 ? Special() : Between(-0.5f, 1.5f);
        default:
            return Between(-0.5f, 1.5f);
        }
    }

    float Ordinate(eCurveKind pKind)
    {
        if (pKind == eTame) return Between(0.0f, 1.0f);
        return pKind == eWild && Whole(0, 5) == 0 ? Special() : Between(-0.5f, 1.5f);
    }

    Vornik::cVector2 Tangent(eCurveKind pKind)
    {
        if (pKind == eWild && Whole(0, 9) == 0) return Vornik::cVector2(Special(), Special());
        const float reach = pKind == eTame ? 1.0f : 8.0f;
        return Vornik::cVector2(Between(-reach, reach), Between(-reach, reach));
    }

    Vornik::cVector2 Point(eCurveKind pKind)
    {
        const float x = Abscissa(pKind);
        return Vornik::cVector2(x, Ordinate(pKind));
    }

    Vornik::sControlPoint Record(eCurveKind pKind)
    {
        Vornik::sControlPoint record;
        record.fPoint = Point(pKind);
        record.fNextTangent = Tangent(pKind);
        record.fPreviousTangent = Tangent(pKind);
        record.fIndex = Whole(-5, 50);
        return record;
    }

    std::vector<Vornik::sControlPoint> Records(eCurveKind pKind, int pCount)
    {
        std::vector<Vornik::sControlPoint> records;
        for (int i = 0; i < pCount; ++i)
            records.push_back(Record(pKind));
        return records;
    }

    /// Now and then a number beyond the named ones.
    Vornik::eSplineInterpolationMode Mode()
    {
        const int modes[] = {0, 1, 2, 3, 1, 4, -1, 77};
        return static_cast<Vornik::eSplineInterpolationMode>(Of(modes));
    }

private:
    float Special()
    {
        using tLimits = std::numeric_limits<float>;
        const float values[] = {tLimits::quiet_NaN(),
                                tLimits::infinity(),
                                -tLimits::infinity(),
                                -0.0f,
                                0.0f,
                                1e30f,
                                -1e30f,
                                tLimits::denorm_min(),
                                40000.0f,
                                1.0f};
        return Of(values);
    }

    std::mt19937 fRandom;
};

} // namespace SelvaneTest

#endif
