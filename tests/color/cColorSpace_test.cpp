#include "color/cColorSpace.h"

#include "color/Numbers.h"
#include "color/cColorUtils.h"
#include "curve/cTransfer.h"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <memory>
#include <new>
#include <string>
#include <type_traits>
#include <vector>

using namespace Vornik;
using namespace SelvaneTest;

namespace
{

// What outside programs compile against.

static_assert(std::is_same_v<std::underlying_type_t<eColorSpaceID>, int> && !std::is_convertible_v<int, eColorSpaceID>);
static_assert(std::is_convertible_v<eColorSpaceID, int>); // unscoped
static_assert(eColorSpace_sRGB == 0 && eColorSpace_AdobeRGB98 == 1 && eColorSpace_ProPhotoRGB == 2);

static_assert(std::is_abstract_v<cColorSpace> && std::has_virtual_destructor_v<cColorSpace>);
static_assert(sizeof(cColorSpace) == 200 && sizeof(cColorSpace_sRGB) == 200 && sizeof(cColorSpace_AdobeRGB98) == 200 &&
              sizeof(cColorSpace_ProPhotoRGB) == 200 && sizeof(cColorSpace_GenericRGB) == 200);

template <class tClass>
constexpr bool kCopies = std::is_copy_constructible_v<tClass> || std::is_copy_assignable_v<tClass>;
static_assert(!kCopies<cColorSpace_sRGB> && !kCopies<cColorSpace_AdobeRGB98> && !kCopies<cColorSpace_ProPhotoRGB> &&
              !kCopies<cColorSpace_GenericRGB> && !std::is_copy_assignable_v<cColorSpace>);

using tReadVector = cVector2 (cColorSpace::*)() const;
using tMatrix = cMatrix33 (cColorSpace::*)();
using tTransfer = cTransfer* (cColorSpace::*)();
static_assert(std::is_same_v<decltype(&cColorSpace::GetWhitePoint), tReadVector>);
static_assert(std::is_same_v<decltype(&cColorSpace::GetWhiteBalance), tReadVector>);
static_assert(std::is_same_v<decltype(&cColorSpace::GetRPrimary), tReadVector>);
static_assert(std::is_same_v<decltype(&cColorSpace::GetGPrimary), tReadVector>);
static_assert(std::is_same_v<decltype(&cColorSpace::GetBPrimary), tReadVector>);
static_assert(std::is_same_v<decltype(&cColorSpace::GetToLinearTransfer), tTransfer>);
static_assert(std::is_same_v<decltype(&cColorSpace::GetFromLinearTransfer), tTransfer>);
static_assert(std::is_same_v<decltype(&cColorSpace::GetToXYZTransform), tMatrix>);
static_assert(std::is_same_v<decltype(&cColorSpace::GetFromXYZTransform), tMatrix>);
static_assert(std::is_same_v<decltype(&cColorSpace::GetToPCSTransform), tMatrix>);
static_assert(std::is_same_v<decltype(&cColorSpace::GetFromPCSTransform), tMatrix>);
using tOwnReadVector = cVector2 (cColorSpace_ProPhotoRGB::*)() const; // declared again in this class
static_assert(std::is_same_v<decltype(&cColorSpace_ProPhotoRGB::GetRPrimary), tOwnReadVector>);
static_assert(std::is_same_v<decltype(&cColorSpace_ProPhotoRGB::GetGPrimary), tOwnReadVector>);
static_assert(std::is_same_v<decltype(&cColorSpace_ProPhotoRGB::GetBPrimary), tOwnReadVector>);

// The slow twin: everything in double, row by row.

using tEight = std::array<double, 8>; // red, green, blue, white; x and y of each

tDoubles SlowInverse(const tDoubles& e)
{
    const double cofactors[9] = {e[4] * e[8] - e[7] * e[5], e[7] * e[2] - e[8] * e[1], e[5] * e[1] - e[4] * e[2],
                                 e[5] * e[6] - e[8] * e[3], e[0] * e[8] - e[6] * e[2], e[3] * e[2] - e[0] * e[5],
                                 e[7] * e[3] - e[4] * e[6], e[1] * e[6] - e[0] * e[7], e[0] * e[4] - e[1] * e[3]};
    const double determinant = e[0] * cofactors[0] + e[1] * cofactors[3] + e[2] * cofactors[6];
    const double reciprocal = 1.0 / determinant;
    tDoubles result;
    for (size_t i = 0; i < 9; i++)
        result[i] = reciprocal * cofactors[i];
    return result;
}

double RowTimes(const tDoubles& pMatrix, size_t pRow, double pX, double pY, double pZ)
{
    double sum = pMatrix[3 * pRow] * pX;
    sum += pMatrix[3 * pRow + 1] * pY;
    sum += pMatrix[3 * pRow + 2] * pZ;
    return sum;
}

tDoubles SlowProduct(const tDoubles& pLeft, const tDoubles& pRight)
{
    tDoubles result;
    for (size_t r = 0; r < 3; r++)
        for (size_t c = 0; c < 3; c++)
            result[3 * r + c] = RowTimes(pLeft, r, pRight[c], pRight[3 + c], pRight[6 + c]);
    return result;
}

const tDoubles kCones = {0.8951, 0.2664, -0.1614, -0.7502, 1.7135, 0.0367, 0.0389, -0.0685, 1.0296};
constexpr double kD50X = 0.96421202494184188;
constexpr double kD50Z = 0.8251882243169657;

tDoubles SlowAdaptation(const double (&pFrom)[3], const double (&pTo)[3])
{
    tDoubles scaled;
    for (size_t k = 0; k < 3; k++) {
        const double to = RowTimes(kCones, k, pTo[0], pTo[1], pTo[2]);
        const double ratio = to / RowTimes(kCones, k, pFrom[0], pFrom[1], pFrom[2]);
        for (size_t c = 0; c < 3; c++)
            scaled[3 * k + c] = ratio * kCones[3 * k + c];
    }
    return SlowProduct(SlowInverse(kCones), scaled);
}

tDoubles SlowToXYZ(const tEight& p)
{
    tDoubles primaries;
    for (size_t c = 0; c < 3; c++) {
        primaries[c] = p[2 * c];
        primaries[3 + c] = p[2 * c + 1];
        primaries[6 + c] = 1.0 - p[2 * c + 1] - p[2 * c];
    }
    const double reciprocal = 1.0 / p[7];
    const double whiteX = p[6] * reciprocal;
    const double whiteZ = (1.0 - p[7] - p[6]) * reciprocal;
    const tDoubles inverse = SlowInverse(primaries);
    tDoubles result;
    for (size_t i = 0; i < 9; i++)
        result[i] = primaries[i] * RowTimes(inverse, i % 3, whiteX, 1.0, whiteZ);
    return result;
}

tDoubles SlowToPCS(const tEight& p)
{
    const double reciprocal = 1.0 / p[7];
    const double white[3] = {p[6] * reciprocal, 1.0, (1.0 - p[7] - p[6]) * reciprocal};
    return SlowProduct(SlowAdaptation(white, {kD50X, 1.0, kD50Z}), SlowToXYZ(p));
}

tBits NarrowedBits(const tDoubles& pNumbers)
{
    tBits bits;
    for (size_t i = 0; i < 9; i++)
        bits[i] = Bits(Rounded(pNumbers[i]));
    return bits;
}

tEight RandomSpace(cRandom& pRandom)
{
    return {pRandom.Between(0.6, 0.75),  pRandom.Between(0.25, 0.35), pRandom.Between(0.15, 0.35),
            pRandom.Between(0.6, 0.85),  pRandom.Between(0.03, 0.16), pRandom.Between(0.01, 0.08),
            pRandom.Between(0.29, 0.36), pRandom.Between(0.3, 0.37)};
}

tEight ToSinglePrecision(tEight p)
{
    for (double& number : p)
        number = static_cast<double>(Rounded(number));
    return p;
}

#define EIGHT(p) p[0], p[1], p[2], p[3], p[4], p[5], p[6], p[7]
#define EIGHT_FLOATS(p)                                                                                                \
    float(p[0]), float(p[1]), float(p[2]), float(p[3]), float(p[4]), float(p[5]), float(p[6]), float(p[7])

// What each fixed space must hold, worked out elsewhere.

struct sFixedSpace
{
    eColorSpaceID fID;
    const char* fName;
    tEight fDecimals;
    tBits fToXYZ, fFromXYZ, fToPCS, fFromPCS;
    tDoubles fToXYZDigits, fToPCSDigits;       ///< to seven decimals, from the single-precision primaries
    uint32_t fToLinearGamma, fFromLinearGamma; ///< bits; 0: the curves of sRGB
};

const sFixedSpace kFixedSpaces[] = {
    {eColorSpace_sRGB,
     "sRGB IEC61966-2.1",
     {0.64, 0.33, 0.3, 0.6, 0.15, 0.06, 0.31271, 0.32902},
     {0x3ed32453, 0x3eb7163b, 0x3e38c806, 0x3e59bd76, 0x3f37163b, 0x3d93d337, 0x3c9e5b3f, 0x3df41d9e, 0x3f734ba0},
     {0x404f6c9b, 0xbfc4c980, 0xbeff4a98, 0xbf781f16, 0x3ff01e79, 0x3d2a34ca, 0x3d63e61b, 0xbe50e848, 0x3f8750a7},
     {0x3edf3e43, 0x3ec52cfe, 0x3e1283e4, 0x3e63d088, 0x3f378731, 0x3d784acf, 0x3c6432d0, 0x3dc6dd2a, 0x3f36d319},
     {0x40489890, 0xbfcf017d, 0xbefb3b2b, 0xbf7a8ef4, 0x3ff5433a, 0x3d0902a8, 0x3d935991, 0xbe6a7b66, 0x3fb3dfeb},
     {0.4123865, 0.3575915, 0.1804505, 0.2126368, 0.7151830, 0.0721802, 0.0193306, 0.1191971, 0.9503727},
     {0.4360219, 0.3851089, 0.1430813, 0.2224752, 0.7169066, 0.0606182, 0.0139281, 0.0971015, 0.7141586},
     0,
     0},
    {eColorSpace_AdobeRGB98,
     "Adobe RGB (1998)",
     {0.64, 0.33, 0.21, 0.71, 0.15, 0.06, 0.31271, 0.32902},
     {0x3f13a085, 0x3e3e03f4, 0x3e40b71d, 0x3e983d89, 0x3f209bb9, 0x3d9a2c17, 0x3cdd70c8, 0x3d90c613, 0x3f7dbde6},
     {0x4002a96f, 0xbf10a45c, 0xbeb080b5, 0xbf781f16, 0x3ff01e79, 0x3d2a34ca, 0x3c5c4e8b, 0xbdf271f2, 0x3f81f695},
     {0x3f1c168b, 0x3e5231da, 0x3e18ce5e, 0x3e9f48c7, 0x3f202c5c, 0x3d817a00, 0x3c9f8d7f, 0x3d7966f3, 0x3f3eacae},
     {0x3ffb35e3, 0xbf1c539d, 0xbeaec803, 0xbf7a8ef4, 0x3ff5433a, 0x3d0902a8, 0x3ceb0b5b, 0xbe100cdf, 0x3faca549},
     {0.5766681, 0.1855619, 0.1881985, 0.2973445, 0.6273761, 0.0752794, 0.0270313, 0.0706903, 0.9911788},
     {0.6097190, 0.2052683, 0.1492247, 0.3111021, 0.6256769, 0.0632210, 0.0194767, 0.0608892, 0.7448224},
     0x3EE8BA2E,
     0x400CCCCD},
    {eColorSpace_ProPhotoRGB,
     "ProPhoto RGB",
     {0.7347, 0.2653, 0.1596, 0.8404, 0.0366, 0.0001, 0.34567, 0.3585},
     {0x3f4c33ec, 0x3e0a6fd5, 0x3d006b82, 0x3e9379a5, 0x3f363d90, 0x38b3a5c8, 0xb30af85f, 0x3258d986, 0x3f533f89},
     {0x3fac484c, 0xbe82df50, 0xbd515b17, 0xbf0b6ab1, 0x3fc10b6f, 0x3ca83925, 0x338339c4, 0xb30e210c, 0x3f9b1dba},
     {0x3f4c33ec, 0x3e0a6fd5, 0x3d006b82, 0x3e9379a5, 0x3f363d90, 0x38b3a5c8, 0xb30af85f, 0x3258d986, 0x3f533f89},
     {0x3fac484c, 0xbe82df50, 0xbd515b17, 0xbf0b6ab1, 0x3fc10b6f, 0x3ca83925, 0x338339c4, 0xb30e210c, 0x3f9b1dba},
     {0.7976673, 0.1351922, 0.0313525, 0.2880375, 0.7118769, 0.0000857, 0.0000000, 0.0000000, 0.8251882},
     {0.7976673, 0.1351922, 0.0313525, 0.2880375, 0.7118769, 0.0000857, 0.0000000, 0.0000000, 0.8251882},
     0x3F0E38E4,
     0x3FE66666},
};

/// The primaries and white of a fixed space as single-precision numbers, each nearest to its decimal.
std::array<float, 8> PrimariesOf(eColorSpaceID pID)
{
    switch (pID) {
    case eColorSpace_sRGB:
        return {0.64f, 0.33f, 0.30f, 0.60f, 0.15f, 0.06f, 0.31271f, 0.32902f};
    case eColorSpace_AdobeRGB98:
        return {0.64f, 0.33f, 0.21f, 0.71f, 0.15f, 0.06f, 0.31271f, 0.32902f};
    default:
        return {0.7347f, 0.2653f, 0.1596f, 0.8404f, 0.0366f, 0.0001f, 0.34567f, 0.3585f};
    }
}

std::array<float, 8> PrimariesOf(const cColorSpace& pSpace)
{
    return {pSpace.fRPrimary.x, pSpace.fRPrimary.y, pSpace.fGPrimary.x,   pSpace.fGPrimary.y,
            pSpace.fBPrimary.x, pSpace.fBPrimary.y, pSpace.fWhitePoint.x, pSpace.fWhitePoint.y};
}

std::unique_ptr<cColorSpace> Make(eColorSpaceID pID)
{
    return std::unique_ptr<cColorSpace>(cColorSpace::FromID(pID));
}

template <class tClass, class tBase>
bool IsA(const tBase& pObject)
{
    return typeid(pObject) == typeid(tClass);
}

template <class tBase>
bool AreAlike(const tBase& pFirst, const tBase& pSecond)
{
    return typeid(pFirst) == typeid(pSecond);
}

uint32_t GammaBits(cTransfer* pTransfer)
{
    auto* gamma = dynamic_cast<cTransferGamma*>(pTransfer);
    return gamma != nullptr ? Bits(gamma->fGamma) : 0;
}

void ExpectSameMatrices(const cColorSpace& pFirst, const cColorSpace& pSecond)
{
    EXPECT_EQ(BitsOf(pFirst.fToXYZ), BitsOf(pSecond.fToXYZ));
    EXPECT_EQ(BitsOf(pFirst.fFromXYZ), BitsOf(pSecond.fFromXYZ));
    EXPECT_EQ(BitsOf(pFirst.fToPCS), BitsOf(pSecond.fToPCS));
    EXPECT_EQ(BitsOf(pFirst.fFromPCS), BitsOf(pSecond.fFromPCS));
}

TEST(cColorSpace, FieldsStandInOrder)
{
    const cColorSpace_GenericRGB space;
    const auto offset = [&](const void* pField) {
        return static_cast<const char*>(pField) -
               reinterpret_cast<const char*>(static_cast<const cColorSpace*>(&space));
    };
    EXPECT_EQ(offset(&space.fRPrimary), 8);
    EXPECT_EQ(offset(&space.fGPrimary), 16);
    EXPECT_EQ(offset(&space.fBPrimary), 24);
    EXPECT_EQ(offset(&space.fWhitePoint), 32);
    EXPECT_EQ(offset(&space.fToLinear), 40);
    EXPECT_EQ(offset(&space.fFromLinear), 48);
    EXPECT_EQ(offset(&space.fToXYZ), 56);
    EXPECT_EQ(offset(&space.fFromXYZ), 92);
    EXPECT_EQ(offset(&space.fToPCS), 128);
    EXPECT_EQ(offset(&space.fFromPCS), 164);
}

/// The place in the virtual table that a pointer to a virtual member holds (Itanium C++ ABI, 2.3); the two forms of the
/// destructor take the first two.
template <class tMember>
long SlotOf(tMember pMember)
{
    long parts[2];
    static_assert(sizeof pMember == sizeof parts);
    std::memcpy(parts, &pMember, sizeof parts);
    return (parts[0] & ~1L) / static_cast<long>(sizeof(void*));
}

TEST(cColorSpace, VirtualOperationsStandInOrder)
{
    EXPECT_EQ(SlotOf(&cColorSpace::Clone), 2);
    EXPECT_EQ(SlotOf(&cColorSpace::GetWhiteBalance), 3);
    EXPECT_EQ(SlotOf(&cColorSpace::IsRawColorSpace), 4);
    EXPECT_EQ(SlotOf(&cColorSpace::GetName), 5);
}

TEST(cColorSpace, NumbersZeroToTwoAreValid)
{
    EXPECT_TRUE(cColorSpace::IsColorSpaceIDValid(eColorSpaceID(0)));
    EXPECT_TRUE(cColorSpace::IsColorSpaceIDValid(eColorSpaceID(1)));
    EXPECT_TRUE(cColorSpace::IsColorSpaceIDValid(eColorSpaceID(2)));
    for (const int number : {3, 4, 100, INT_MAX, -1, -2, INT_MIN})
        EXPECT_FALSE(cColorSpace::IsColorSpaceIDValid(eColorSpaceID(number))) << number;
}

TEST(cColorSpace, AnUnknownNumberGivesNullAndNoException)
{
    for (const int number : {3, 4, INT_MAX, -1, INT_MIN})
        EXPECT_NO_THROW(EXPECT_EQ(cColorSpace::FromID(eColorSpaceID(number)), nullptr)) << number;
}

TEST(cColorSpace, EachNumberGivesItsClass)
{
    EXPECT_TRUE(IsA<cColorSpace_sRGB>(*Make(eColorSpace_sRGB)));
    EXPECT_TRUE(IsA<cColorSpace_AdobeRGB98>(*Make(eColorSpace_AdobeRGB98)));
    EXPECT_TRUE(IsA<cColorSpace_ProPhotoRGB>(*Make(eColorSpace_ProPhotoRGB)));
}

TEST(cColorSpace, FixedSpacesHoldTheirPrimariesNameAndMatrices)
{
    for (const sFixedSpace& fixed : kFixedSpaces) {
        const auto space = Make(fixed.fID);
        EXPECT_STREQ(space->GetName(), fixed.fName);
        EXPECT_EQ(PrimariesOf(*space), PrimariesOf(fixed.fID)) << fixed.fName;
        EXPECT_EQ(BitsOf(space->fToXYZ), fixed.fToXYZ) << fixed.fName;
        EXPECT_EQ(BitsOf(space->fFromXYZ), fixed.fFromXYZ) << fixed.fName;
        EXPECT_EQ(BitsOf(space->fToPCS), fixed.fToPCS) << fixed.fName;
        EXPECT_EQ(BitsOf(space->fFromPCS), fixed.fFromPCS) << fixed.fName;
    }
}

TEST(cColorSpace, FixedSpacesHoldTheirTransfers)
{
    for (const sFixedSpace& fixed : kFixedSpaces) {
        const auto space = Make(fixed.fID);
        EXPECT_EQ(GammaBits(space->fToLinear), fixed.fToLinearGamma) << fixed.fName;
        EXPECT_EQ(GammaBits(space->fFromLinear), fixed.fFromLinearGamma) << fixed.fName;
    }
    const auto sRGB = Make(eColorSpace_sRGB);
    EXPECT_TRUE(IsA<cTransfer_sRGBToLinear>(*sRGB->fToLinear));
    EXPECT_TRUE(IsA<cTransferLinearTo_sRGB>(*sRGB->fFromLinear));
}

/// "%.7f", without the sign of a number that rounds to zero.
std::string SevenDecimals(double pValue)
{
    char text[32];
    std::snprintf(text, sizeof text, "%.7f", pValue);
    return std::strcmp(text, "-0.0000000") == 0 ? "0.0000000" : text;
}

TEST(cColorSpace, MatricesAgreeWithThePublishedDecimals)
{
    for (const sFixedSpace& fixed : kFixedSpaces) {
        const tEight p = ToSinglePrecision(fixed.fDecimals);
        const tDoubles toXYZ = NumbersOf(cColorSpace::RGBToXYZTransform(EIGHT(p)));
        const tDoubles toPCS = NumbersOf(cColorSpace::RGBToPCSTransform(EIGHT(p)));
        for (size_t i = 0; i < 9; i++) {
            EXPECT_EQ(SevenDecimals(toXYZ[i]), SevenDecimals(fixed.fToXYZDigits[i])) << fixed.fName << ' ' << i;
            EXPECT_EQ(SevenDecimals(toPCS[i]), SevenDecimals(fixed.fToPCSDigits[i])) << fixed.fName << ' ' << i;
        }
    }
}

TEST(cColorSpace, AccessorsGiveTheFields)
{
    for (const sFixedSpace& fixed : kFixedSpaces) {
        const auto space = Make(fixed.fID);
        EXPECT_EQ(BitsOf(space->GetRPrimary()), BitsOf(space->fRPrimary));
        EXPECT_EQ(BitsOf(space->GetGPrimary()), BitsOf(space->fGPrimary));
        EXPECT_EQ(BitsOf(space->GetBPrimary()), BitsOf(space->fBPrimary));
        EXPECT_EQ(BitsOf(space->GetWhitePoint()), BitsOf(space->fWhitePoint));
        EXPECT_EQ(BitsOf(space->GetWhiteBalance()), BitsOf(space->fWhitePoint));
        EXPECT_EQ(space->GetToLinearTransfer(), space->fToLinear);
        EXPECT_EQ(space->GetFromLinearTransfer(), space->fFromLinear);
        EXPECT_EQ(BitsOf(space->GetToXYZTransform()), BitsOf(space->fToXYZ));
        EXPECT_EQ(BitsOf(space->GetFromXYZTransform()), BitsOf(space->fFromXYZ));
        EXPECT_EQ(BitsOf(space->GetToPCSTransform()), BitsOf(space->fToPCS));
        EXPECT_EQ(BitsOf(space->GetFromPCSTransform()), BitsOf(space->fFromPCS));
        EXPECT_FALSE(space->IsRawColorSpace());
    }
    cColorSpace_GenericRGB generic({0.7f, 0.3f}, {0.2f, 0.7f}, {0.15f, 0.05f}, {0.31f, 0.33f}, 1.9f);
    EXPECT_EQ(BitsOf(generic.GetRPrimary()), BitsOf(cVector2(0.7f, 0.3f)));
    EXPECT_EQ(BitsOf(generic.GetGPrimary()), BitsOf(cVector2(0.2f, 0.7f)));
    EXPECT_EQ(BitsOf(generic.GetBPrimary()), BitsOf(cVector2(0.15f, 0.05f)));
    EXPECT_EQ(BitsOf(generic.GetWhitePoint()), BitsOf(cVector2(0.31f, 0.33f)));
    EXPECT_EQ(BitsOf(generic.GetWhiteBalance()), BitsOf(cVector2(0.31f, 0.33f)));
    EXPECT_EQ(generic.GetToLinearTransfer(), generic.fToLinear);
    EXPECT_EQ(generic.GetFromLinearTransfer(), generic.fFromLinear);
    EXPECT_EQ(BitsOf(generic.GetToPCSTransform()), BitsOf(generic.fToPCS));
    EXPECT_EQ(BitsOf(generic.GetFromXYZTransform()), BitsOf(generic.fFromXYZ));
    EXPECT_FALSE(generic.IsRawColorSpace());
    const cColorSpace_ProPhotoRGB proPhoto;
    EXPECT_EQ(BitsOf(proPhoto.GetRPrimary()), BitsOf(proPhoto.fRPrimary));
    EXPECT_EQ(BitsOf(proPhoto.GetGPrimary()), BitsOf(proPhoto.fGPrimary));
    EXPECT_EQ(BitsOf(proPhoto.GetBPrimary()), BitsOf(proPhoto.fBPrimary));
}

TEST(cColorSpace, ADerivedSpaceMayGiveAnotherWhiteBalanceButNotAnotherWhitePoint)
{
    class cWarmSpace : public cColorSpace_sRGB
    {
        cVector2 GetWhiteBalance() const override { return {0.4f, 0.4f}; }
    };
    const cWarmSpace warm;
    const cColorSpace& space = warm;
    EXPECT_EQ(space.GetWhiteBalance().x, 0.4f);
    EXPECT_EQ(space.GetWhitePoint().x, 0.31271f);
}

TEST(cColorSpace, DoubleFamiliesHaveTheBitsOfTheChain)
{
    cRandom random(721);
    for (int i = 0; i < 1000; i++) {
        const tEight p = RandomSpace(random);
        ASSERT_EQ(NumbersOf(cColorSpace::RGBToXYZTransform(EIGHT(p))), SlowToXYZ(p));
        ASSERT_EQ(NumbersOf(cColorSpace::RGBToPCSTransform(EIGHT(p))), SlowToPCS(p));
        ASSERT_EQ(NumbersOf(cColorSpace::XYZToRGBTransform(EIGHT(p))), SlowInverse(SlowToXYZ(p)));
        ASSERT_EQ(NumbersOf(cColorSpace::PCSToRGBTransform(EIGHT(p))), SlowInverse(SlowToPCS(p)));
    }
}

TEST(cColorSpace, FloatFamiliesAreTheDoubleOnesNarrowedAtTheEnd)
{
    cRandom random(722);
    for (int i = 0; i < 1000; i++) {
        const tEight p = ToSinglePrecision(RandomSpace(random));
        ASSERT_EQ(BitsOf(cColorSpace::RGBToXYZTransform(EIGHT_FLOATS(p))), NarrowedBits(SlowToXYZ(p)));
        ASSERT_EQ(BitsOf(cColorSpace::RGBToPCSTransform(EIGHT_FLOATS(p))), NarrowedBits(SlowToPCS(p)));
        ASSERT_EQ(BitsOf(cColorSpace::XYZToRGBTransform(EIGHT_FLOATS(p))), NarrowedBits(SlowInverse(SlowToXYZ(p))));
        ASSERT_EQ(BitsOf(cColorSpace::PCSToRGBTransform(EIGHT_FLOATS(p))), NarrowedBits(SlowInverse(SlowToPCS(p))));
    }
}

TEST(cColorSpace, ASpaceFromFourVectorsHoldsTheFloatFamilies)
{
    cRandom random(723);
    for (int i = 0; i < 100; i++) {
        const tEight d = ToSinglePrecision(RandomSpace(random));
        const cColorSpace_GenericRGB space({float(d[0]), float(d[1])}, {float(d[2]), float(d[3])},
                                           {float(d[4]), float(d[5])}, {float(d[6]), float(d[7])}, 2.0f);
        ASSERT_EQ(PrimariesOf(space), (std::array<float, 8>{EIGHT_FLOATS(d)}));
        ASSERT_EQ(BitsOf(space.fToXYZ), NarrowedBits(SlowToXYZ(d)));
        ASSERT_EQ(BitsOf(space.fFromXYZ), NarrowedBits(SlowInverse(SlowToXYZ(d))));
        ASSERT_EQ(BitsOf(space.fToPCS), NarrowedBits(SlowToPCS(d)));
        ASSERT_EQ(BitsOf(space.fFromPCS), NarrowedBits(SlowInverse(SlowToPCS(d))));
    }
}

TEST(cColorSpace, ADoubleChainWorkedOutElsewhere)
{
    const tEight& p = kFixedSpaces[0].fDecimals;
    EXPECT_EQ(NumbersOf(cColorSpace::RGBToPCSTransform(EIGHT(p))),
              (tDoubles{0x1.be7c8852ea5f2p-2, 0x1.8a59fa515f896p-2, 0x1.2507c603b42a6p-3, 0x1.c7a1111107f40p-3,
                        0x1.6f0e6200dbabep-1, 0x1.f0959bae25719p-5, 0x1.c865a5418260cp-7, 0x1.8dba5dd5b2c23p-4,
                        0x1.6da62fd93c498p-1}));
    EXPECT_EQ(NumbersOf(cColorSpace::PCSToRGBTransform(EIGHT(p))),
              (tDoubles{0x1.91311c60a891dp+1, -0x1.9e02f3a6080fdp+0, -0x1.f6764f16a2e45p-2, -0x1.f51de50e3a1a4p-1,
                        0x1.ea8673ed4b980p+0, 0x1.1205439c3041fp-5, 0x1.26b32e90efc9dp-4, -0x1.d4f6db84e0797p-3,
                        0x1.67bfd7fd5d571p+0}));
}

TEST(cColorSpace, OnlyTheExactWhiteSkipsTheAdaptation)
{
    const tEight exact = ToSinglePrecision(kFixedSpaces[2].fDecimals);
    EXPECT_EQ(exact[6], 0.34567001461982727);
    EXPECT_EQ(exact[7], 0.35850000381469727);
    EXPECT_EQ(NumbersOf(cColorSpace::RGBToPCSTransform(EIGHT(exact))), SlowToXYZ(exact));
    EXPECT_EQ(NumbersOf(cColorSpace::PCSToRGBTransform(EIGHT(exact))), SlowInverse(SlowToXYZ(exact)));
    EXPECT_NE(SlowToPCS(exact), SlowToXYZ(exact)); // otherwise this test would hold nothing

    const tEight& decimal = kFixedSpaces[2].fDecimals; // 0.34567 and 0.3585 in double
    EXPECT_EQ(NumbersOf(cColorSpace::RGBToPCSTransform(EIGHT(decimal))), SlowToPCS(decimal));
    EXPECT_NE(SlowToPCS(decimal), SlowToXYZ(decimal));
    for (const size_t changed : {size_t(6), size_t(7)}) { // both coordinates count
        tEight near = exact;
        near[changed] = std::nextafter(near[changed], 1.0);
        EXPECT_EQ(NumbersOf(cColorSpace::RGBToPCSTransform(EIGHT(near))), SlowToPCS(near));
        EXPECT_NE(SlowToPCS(near), SlowToXYZ(near));
    }
}

TEST(cColorSpace, WhiteBecomesD50InThePCS)
{
    for (const sFixedSpace& fixed : kFixedSpaces) {
        float x, y, z;
        const auto space = Make(fixed.fID);
        cColorUtils::RGBLinearToPCS(space.get(), 1.0f, 1.0f, 1.0f, x, y, z);
        EXPECT_NEAR(x, 0.96421202f, 2e-7f) << fixed.fName;
        EXPECT_NEAR(y, 1.0f, 2e-7f) << fixed.fName;
        EXPECT_NEAR(z, 0.82518822f, 2e-7f) << fixed.fName;
    }
}

TEST(cColorSpace, PrimariesOnOneLineGiveZerosAndNoGarbage)
{
    const double zero[9] = {};
    const auto isZero = [&](const tDoubles& pNumbers) { return std::memcmp(pNumbers.data(), zero, sizeof zero) == 0; };
    const tEight line = {0.25, 0.25, 0.5, 0.5, 0.125, 0.125, 0.3125, 0.375};
    EXPECT_TRUE(isZero(NumbersOf(cColorSpace::RGBToXYZTransform(EIGHT(line)))));
    EXPECT_TRUE(isZero(NumbersOf(cColorSpace::XYZToRGBTransform(EIGHT(line)))));
    EXPECT_TRUE(isZero(NumbersOf(cColorSpace::PCSToRGBTransform(EIGHT(line)))));
    for (const double number : NumbersOf(cColorSpace::RGBToPCSTransform(EIGHT(line))))
        EXPECT_EQ(number, 0.0);
}

TEST(cColorSpace, AWhiteOnTheAxisGivesNothingFiniteAndNoException)
{
    tEight p = kFixedSpaces[0].fDecimals;
    p[7] = 0.0;
    for (const double number : NumbersOf(cColorSpace::RGBToXYZTransform(EIGHT(p))))
        EXPECT_FALSE(std::isfinite(number));
    EXPECT_NO_THROW(cColorSpace::PCSToRGBTransform(EIGHT(p)));
}

TEST(cColorSpace, ClonesOfFixedSpacesHaveTransfersOfTheirOwn)
{
    for (const sFixedSpace& fixed : kFixedSpaces) {
        const auto space = Make(fixed.fID);
        const std::unique_ptr<cColorSpace> clone(space->Clone());
        EXPECT_TRUE(AreAlike(*clone, *space));
        EXPECT_EQ(PrimariesOf(*clone), PrimariesOf(*space));
        ExpectSameMatrices(*clone, *space);
        EXPECT_NE(clone->fToLinear, space->fToLinear);
        EXPECT_NE(clone->fFromLinear, space->fFromLinear);
        EXPECT_TRUE(AreAlike(*clone->fToLinear, *space->fToLinear));
        EXPECT_EQ(GammaBits(clone->fFromLinear), GammaBits(space->fFromLinear));
    }
}

TEST(cColorSpace, CloneOfAFixedSpaceIsBuiltAfresh)
{
    cColorSpace_sRGB changed;
    changed.fToXYZ.m00 = 9.0f;
    changed.fRPrimary.x = 9.0f;
    const std::unique_ptr<cColorSpace> clone(changed.Clone());
    ExpectSameMatrices(*clone, *Make(eColorSpace_sRGB));
    EXPECT_EQ(clone->fRPrimary.x, 0.64f);
}

// The generic space.

TEST(cColorSpace_GenericRGB, TheShellIsEmptyWhateverItsMemoryHeld)
{
    alignas(cColorSpace_GenericRGB) unsigned char memory[sizeof(cColorSpace_GenericRGB)];
    std::memset(memory, 0xa5, sizeof memory);
    auto* shell = new (memory) cColorSpace_GenericRGB;
    EXPECT_EQ(shell->fToLinear, nullptr);
    EXPECT_EQ(shell->fFromLinear, nullptr);
    EXPECT_EQ(PrimariesOf(*shell), (std::array<float, 8>{}));
    EXPECT_EQ(BitsOf(shell->fToXYZ), tBits{});
    EXPECT_EQ(BitsOf(shell->fFromPCS), tBits{});
    EXPECT_STREQ(shell->GetName(), "Generic RGB");
    shell->~cColorSpace_GenericRGB();
}

TEST(cColorSpace_GenericRGB, AShellClonesToAShell)
{
    const cColorSpace_GenericRGB shell;
    const std::unique_ptr<cColorSpace> clone(shell.Clone());
    EXPECT_EQ(clone->fToLinear, nullptr);
    EXPECT_EQ(clone->fFromLinear, nullptr);
}

TEST(cColorSpace_GenericRGB, AGammaDecodesAndItsReciprocalEncodes)
{
    for (const float gamma : {1.0f, 1.8f, 2.2f, 2.4f, 3.0f, 0.7f}) {
        const cColorSpace_GenericRGB space({0.64f, 0.33f}, {0.3f, 0.6f}, {0.15f, 0.06f}, {0.31f, 0.33f}, gamma);
        EXPECT_EQ(GammaBits(space.fToLinear), Bits(1.0f / gamma));
        EXPECT_EQ(GammaBits(space.fFromLinear), Bits(gamma));
    }
}

TEST(cColorSpace_GenericRGB, AGammaOfOneLeavesValuesUnchanged)
{
    const cColorSpace_GenericRGB space({0.64f, 0.33f}, {0.3f, 0.6f}, {0.15f, 0.06f}, {0.31f, 0.33f}, 1.0f);
    for (const float value : {0.0f, 0.1f, 0.333f, 0.5f, 1.0f, 2.5f}) {
        EXPECT_EQ(space.fToLinear->Function(value), value);
        EXPECT_EQ(space.fFromLinear->Function(value), value);
    }
}

unsigned short gDecoding[] = {0, 1000, 30000, 65535};
unsigned short gEncoding[] = {0, 50000, 65535};

cColorSpace_GenericRGB* FromTables(const cMatrix33& pToPCS, cVector3 pWhite)
{
    return new cColorSpace_GenericRGB(pToPCS, pWhite, gDecoding, 4, gEncoding, 3);
}

std::array<float, 2> SlowChroma(const float (&pXYZ)[3])
{
    const float sum = pXYZ[1] + pXYZ[2];
    const float reciprocal = 1.0f / (sum + pXYZ[0]);
    return {reciprocal * pXYZ[0], reciprocal * pXYZ[1]};
}

/// Primaries and white out of a matrix to the PCS and the media white.
std::array<float, 8> SlowPrimaries(const tFloats& pToPCS, const float (&pWhite)[3])
{
    const double white[3] = {static_cast<double>(pWhite[0]), static_cast<double>(pWhite[1]),
                             static_cast<double>(pWhite[2])};
    const tDoubles adaptation = SlowAdaptation({kD50X, 1.0, kD50Z}, white);
    std::array<float, 8> result;
    for (size_t j = 0; j < 3; j++) {
        float xyz[3];
        for (size_t k = 0; k < 3; k++)
            xyz[k] =
                static_cast<float>(RowTimes(adaptation, k, static_cast<double>(pToPCS[j]),
                                            static_cast<double>(pToPCS[3 + j]), static_cast<double>(pToPCS[6 + j])));
        const auto chroma = SlowChroma(xyz);
        result[2 * j] = chroma[0];
        result[2 * j + 1] = chroma[1];
    }
    const auto chroma = SlowChroma(pWhite);
    result[6] = chroma[0];
    result[7] = chroma[1];
    return result;
}

TEST(cColorSpace_GenericRGB, TablesRebuildPrimariesAndMatricesBitForBit)
{
    cRandom random(731);
    for (int i = 0; i < 1000; i++) {
        const tEight seed = ToSinglePrecision(RandomSpace(random));
        const cMatrix33 toPCS = cColorSpace::RGBToPCSTransform(EIGHT_FLOATS(seed));
        const float white[3] = {random.FloatBetween(0.9f, 1.0f), random.FloatBetween(0.9f, 1.1f),
                                random.FloatBetween(0.8f, 1.2f)};
        const std::unique_ptr<cColorSpace> space(FromTables(toPCS, {white[0], white[1], white[2]}));
        const std::array<float, 8> p = SlowPrimaries(NumbersOf(toPCS), white);
        ASSERT_EQ(PrimariesOf(*space), p);
        const tEight d = {double(p[0]), double(p[1]), double(p[2]), double(p[3]),
                          double(p[4]), double(p[5]), double(p[6]), double(p[7])};
        ASSERT_EQ(BitsOf(space->fToXYZ), NarrowedBits(SlowToXYZ(d)));
        ASSERT_EQ(BitsOf(space->fFromXYZ), NarrowedBits(SlowInverse(SlowToXYZ(d))));
        ASSERT_EQ(BitsOf(space->fToPCS), NarrowedBits(SlowToPCS(d)));
        ASSERT_EQ(BitsOf(space->fFromPCS), NarrowedBits(SlowInverse(SlowToPCS(d))));
    }
}

TEST(cColorSpace_GenericRGB, TablesOfsRGBGiveItsPrimariesBack)
{
    const auto sRGB = Make(eColorSpace_sRGB);
    const std::unique_ptr<cColorSpace> space(FromTables(sRGB->fToPCS, cColorUtils::xyToXYZ(sRGB->fWhitePoint)));
    const auto expected = PrimariesOf(eColorSpace_sRGB);
    const auto actual = PrimariesOf(*space);
    for (size_t i = 0; i < 8; i++)
        EXPECT_NEAR(actual[i], expected[i], 1e-6f);
    // Worked out elsewhere: red, green, blue and white.
    EXPECT_EQ(BitsOf(space->fRPrimary), (std::array<uint32_t, 2>{0x3f23d70a, 0x3ea8f5c3}));
    EXPECT_EQ(BitsOf(space->fGPrimary), (std::array<uint32_t, 2>{0x3e99999b, 0x3f19999a}));
    EXPECT_EQ(BitsOf(space->fBPrimary), (std::array<uint32_t, 2>{0x3e199999, 0x3d75c28e}));
    EXPECT_EQ(BitsOf(space->fWhitePoint), (std::array<uint32_t, 2>{0x3ea01b86, 0x3ea8754f}));
}

TEST(cColorSpace_GenericRGB, TablesBecomeTheTransfersInOrder)
{
    const std::unique_ptr<cColorSpace> space(FromTables(Make(eColorSpace_sRGB)->fToPCS, {0.95f, 1.0f, 1.09f}));
    ASSERT_TRUE(IsA<cTransfer_Table>(*space->fToLinear));
    ASSERT_TRUE(IsA<cTransfer_Table>(*space->fFromLinear));
    EXPECT_EQ(static_cast<cTransfer_Table*>(space->fToLinear)->fTableSize, 4);
    EXPECT_EQ(static_cast<cTransfer_Table*>(space->fFromLinear)->fTableSize, 3);
    EXPECT_NEAR(space->fToLinear->Function(1.0f / 3.0f), 1000.0f / 65535.0f, 1e-6f);
    EXPECT_NEAR(space->fFromLinear->Function(0.5f), 50000.0f / 65535.0f, 1e-6f);
}

TEST(cColorSpace_GenericRGB, CloneCopiesTheFieldsAsTheyAre)
{
    cColorSpace_GenericRGB space({0.64f, 0.33f}, {0.3f, 0.6f}, {0.15f, 0.06f}, {0.31f, 0.33f}, 2.0f);
    space.fToXYZ.m12 = 7.0f; // no longer what the primaries give
    space.fFromXYZ.m00 = 8.0f;
    space.fToPCS.m22 = 9.0f;
    space.fFromPCS.m01 = 10.0f;
    const std::unique_ptr<cColorSpace> clone(space.Clone());
    EXPECT_TRUE(IsA<cColorSpace_GenericRGB>(*clone));
    EXPECT_EQ(PrimariesOf(*clone), PrimariesOf(space));
    ExpectSameMatrices(*clone, space);
    EXPECT_NE(clone->fToLinear, space.fToLinear);
    EXPECT_EQ(GammaBits(clone->fToLinear), Bits(0.5f));
    EXPECT_NE(clone->fFromLinear, space.fFromLinear);
    EXPECT_EQ(GammaBits(clone->fFromLinear), Bits(2.0f));
}

TEST(cColorSpace_GenericRGB, TheSourceOutlivesItsClone)
{
    const std::unique_ptr<cColorSpace> space(FromTables(Make(eColorSpace_sRGB)->fToPCS, {0.95f, 1.0f, 1.09f}));
    const float before = space->fToLinear->Function(0.4f);
    std::unique_ptr<cColorSpace> clone(space->Clone());
    EXPECT_EQ(clone->fToLinear->Function(0.4f), before);
    clone.reset();
    EXPECT_EQ(space->fToLinear->Function(0.4f), before);
}

} // namespace
