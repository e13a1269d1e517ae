#include "color/cMatrix.h"

#include "color/MatrixProduct.h"
#include "color/Numbers.h"
#include "color/cMatrixD.h"
#include "color/cVector.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <limits>
#include <type_traits>

using namespace Vornik;
using namespace SelvaneTest;

namespace
{

static_assert(std::is_trivially_copyable_v<cVector2> && sizeof(cVector2) == 8 && offsetof(cVector2, y) == 4);
static_assert(std::is_trivially_copyable_v<cVector3> && sizeof(cVector3) == 12 && offsetof(cVector3, z) == 8);
static_assert(std::is_default_constructible_v<cVector2> && std::is_constructible_v<cVector2, float, float>);
static_assert(std::is_default_constructible_v<cVector3> && std::is_constructible_v<cVector3, float, float, float>);

static_assert(std::is_aggregate_v<cMatrix33> && std::is_trivial_v<cMatrix33> && sizeof(cMatrix33) == 36);
static_assert(std::is_aggregate_v<cMatrixD33> && std::is_trivial_v<cMatrixD33> && sizeof(cMatrixD33) == 72);
static_assert(std::is_same_v<decltype(&cMatrix33::GetInverse), bool (cMatrix33::*)(cMatrix33&) const>);
static_assert(std::is_same_v<decltype(&cMatrixD33::GetInverse), bool (cMatrixD33::*)(cMatrixD33&) const>);

template <class tMatrix>
class cMatrices : public testing::Test
{
public:
    using tNumbers = decltype(NumbersOf(tMatrix{}));
    using tNumber = typename tNumbers::value_type;

    static tMatrix Random(cRandom& pRandom)
    {
        tNumbers numbers;
        for (tNumber& number : numbers)
            number = static_cast<tNumber>(pRandom.Between(-2.0, 2.0));
        return MatrixOf(numbers);
    }

    /// Cofactor of row i, column j with its sign, from the cyclic neighbours.
    static tNumber Cofactor(const tNumbers& pNumbers, size_t i, size_t j)
    {
        const auto at = [&](size_t r, size_t c) { return pNumbers[r % 3 * 3 + c % 3]; };
        const tNumber first = at(i + 1, j + 1) * at(i + 2, j + 2);
        const tNumber second = at(i + 1, j + 2) * at(i + 2, j + 1);
        return first - second;
    }

    static tNumbers SlowInverse(const tNumbers& pNumbers)
    {
        tNumber determinant = pNumbers[0] * Cofactor(pNumbers, 0, 0);
        for (size_t c = 1; c < 3; c++)
            determinant += pNumbers[c] * Cofactor(pNumbers, 0, c);
        const tNumber reciprocal = 1 / determinant;
        tNumbers result;
        for (size_t r = 0; r < 3; r++)
            for (size_t c = 0; c < 3; c++)
                result[3 * r + c] = reciprocal * Cofactor(pNumbers, c, r);
        return result;
    }

    static tNumbers SlowProduct(const tNumbers& pLeft, const tNumbers& pRight)
    {
        tNumbers result;
        for (size_t r = 0; r < 3; r++) {
            for (size_t c = 0; c < 3; c++) {
                tNumber sum = pLeft[3 * r] * pRight[c];
                for (size_t k = 1; k < 3; k++)
                    sum += pLeft[3 * r + k] * pRight[3 * k + c];
                result[3 * r + c] = sum;
            }
        }
        return result;
    }
};

using tBoth = testing::Types<cMatrix33, cMatrixD33>;
TYPED_TEST_SUITE(cMatrices, tBoth);

template <class tMatrix>
constexpr tMatrix kIdentity = {1, 0, 0, 0, 1, 0, 0, 0, 1};

TYPED_TEST(cMatrices, MembersLieRowByRow)
{
    const TypeParam matrix = {0, 1, 2, 3, 4, 5, 6, 7, 8};
    const auto numbers = NumbersOf(matrix);
    for (size_t i = 0; i < 9; i++)
        EXPECT_EQ(numbers[i], static_cast<typename TestFixture::tNumber>(i));
    EXPECT_EQ(matrix.m01, 1);
    EXPECT_EQ(matrix.m10, 3);
    EXPECT_EQ(matrix.m21, 7);
}

TYPED_TEST(cMatrices, TheIdentityInvertsToItself)
{
    TypeParam inverse = {9, 9, 9, 9, 9, 9, 9, 9, 9};
    EXPECT_TRUE(kIdentity<TypeParam>.GetInverse(inverse));
    EXPECT_EQ(NumbersOf(inverse), NumbersOf(kIdentity<TypeParam>));
}

TYPED_TEST(cMatrices, ADeterminantOfZeroLeavesTheTarget)
{
    const TypeParam singular[] = {{1, 2, 3, 0, 0, 0, 4, 5, 6},
                                  {1, 2, 3, 2, 4, 6, 7, 8, 1},
                                  {},
                                  {-1, 0, 0, 0, 0, 0, 0, 0, 1},
                                  {-1, -1, -1, 0, 0, 0, 0, 0, 0}}; // the last gives -0
    for (const TypeParam& matrix : singular) {
        TypeParam target = {1, 2, 3, 4, 5, 6, 7, 8, 9};
        const auto before = BitsOf(target);
        EXPECT_FALSE(matrix.GetInverse(target));
        EXPECT_EQ(BitsOf(target), before);
    }
}

TYPED_TEST(cMatrices, ThereIsNoToleranceForNearlySingular)
{
    using tLimits = std::numeric_limits<typename TestFixture::tNumber>;
    TypeParam matrix = kIdentity<TypeParam>;
    matrix.m22 = tLimits::denorm_min();
    TypeParam inverse = {};
    EXPECT_TRUE(matrix.GetInverse(inverse)); // the determinant is the smallest number, its reciprocal infinite
    EXPECT_EQ(inverse.m22, tLimits::infinity());
}

TYPED_TEST(cMatrices, ADeterminantOfNaNFillsTheTargetWithNaN)
{
    TypeParam matrix = {1, 2, 3, 4, 5, 6, 7, 8, 10};
    matrix.m01 = std::numeric_limits<typename TestFixture::tNumber>::quiet_NaN();
    TypeParam inverse = kIdentity<TypeParam>;
    EXPECT_TRUE(matrix.GetInverse(inverse));
    for (const auto number : NumbersOf(inverse))
        EXPECT_TRUE(std::isnan(number));
}

TYPED_TEST(cMatrices, InversesHaveTheBitsOfTheAdjugate)
{
    cRandom random(71);
    for (int i = 0; i < 3000; i++) {
        const TypeParam matrix = TestFixture::Random(random);
        TypeParam inverse;
        ASSERT_TRUE(matrix.GetInverse(inverse));
        ASSERT_EQ(BitsOf(inverse), BitsOf(MatrixOf(TestFixture::SlowInverse(NumbersOf(matrix)))));
    }
}

TYPED_TEST(cMatrices, AMatrixMayBeInvertedIntoItself)
{
    cRandom random(72);
    for (int i = 0; i < 100; i++) {
        TypeParam matrix = TestFixture::Random(random);
        TypeParam inverse;
        ASSERT_TRUE(matrix.GetInverse(inverse));
        ASSERT_TRUE(matrix.GetInverse(matrix));
        ASSERT_EQ(BitsOf(matrix), BitsOf(inverse));
    }
}

TYPED_TEST(cMatrices, ProductsAreSummedFromLeftToRightWithoutFusing)
{
    cRandom random(73);
    for (int i = 0; i < 3000; i++) {
        const TypeParam left = TestFixture::Random(random);
        const TypeParam right = TestFixture::Random(random);
        const auto expected = TestFixture::SlowProduct(NumbersOf(left), NumbersOf(right));
        ASSERT_EQ(BitsOf(Multiply(left, right)), BitsOf(MatrixOf(expected)));
        // A vector is the first column of a matrix.
        const auto vector = [&] {
            if constexpr (std::is_same_v<TypeParam, cMatrix33>)
                return Multiply(left, cVector3(right.m00, right.m10, right.m20));
            else
                return Multiply(left, sVectorD3{right.m00, right.m10, right.m20});
        }();
        ASSERT_EQ(Bits(vector.x), Bits(expected[0]));
        ASSERT_EQ(Bits(vector.y), Bits(expected[3]));
        ASSERT_EQ(Bits(vector.z), Bits(expected[6]));
    }
}

TEST(cMatrix33, AnInverseWorkedOutElsewhere)
{
    const cMatrix33 matrix = {0.5f, 0.25f, 0.1f, 0.3f, 0.7f, 0.2f, 0.01f, 0.15f, 0.9f};
    cMatrix33 inverse;
    ASSERT_TRUE(matrix.GetInverse(inverse));
    EXPECT_EQ(BitsOf(inverse), (tBits{0x40222984, 0xbf6306ea, 0xbdacf914, 0xbf90dd68, 0x3ff2b3e4, 0xbe9759f2,
                                      0x3e245307, 0xbe9cc1bb, 0x3f94a60d}));
}

TEST(cMatrixD33, AnInverseWorkedOutElsewhere)
{
    const cMatrixD33 matrix = {0.5, 0.25, 0.1, 0.3, 0.7, 0.2, 0.01, 0.15, 0.9};
    cMatrixD33 inverse;
    ASSERT_TRUE(matrix.GetInverse(inverse));
    EXPECT_EQ(NumbersOf(inverse), (tDoubles{0x1.445306eb3e454p+1, -0x1.c60dd67c8a610p-1, -0x1.59f22983759f0p-4,
                                            -0x1.21bacf914c1bcp+0, 0x1.e567c8a60dd69p+0, -0x1.2eb3e45306eb5p-2,
                                            0x1.48a60dd67c8a7p-3, -0x1.3983759f22984p-2, 0x1.294c1bacf914cp+0}));
}

TEST(cVector, DefaultsAreZeroAndNumbersStandInOrder)
{
    EXPECT_EQ(BitsOf(cVector2()), (std::array<uint32_t, 2>{0, 0}));
    EXPECT_EQ(BitsOf(cVector3()), (std::array<uint32_t, 3>{0, 0, 0}));
    const cVector2 two(1.0f, 2.0f);
    EXPECT_EQ(two.x, 1.0f);
    EXPECT_EQ(two.y, 2.0f);
    const cVector3 three(3.0f, 4.0f, 5.0f);
    EXPECT_EQ(three.x, 3.0f);
    EXPECT_EQ(three.y, 4.0f);
    EXPECT_EQ(three.z, 5.0f);
}

} // namespace
