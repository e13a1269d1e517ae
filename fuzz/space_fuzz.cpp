// Colour spaces from primaries, from matrices and tables, and the colour operations on any numbers.

#include "Bytes.h"
#include "Ledger.h"
#include "bitmap/cException.h"
#include "color/cColorSpace.h"
#include "color/cColorUtils.h"

#include <algorithm>
#include <new>

namespace
{

using namespace SelvaneFuzz;
using namespace Vornik;

constexpr size_t kMostBytes = 2 << 20;

cVector2 Chromaticity(cBytes& pBytes)
{
    const float x = pBytes.Byte() < 224 ? pBytes.Unit() : pBytes.Float();
    return cVector2(x, pBytes.Byte() < 224 ? pBytes.Unit() : pBytes.Float());
}

cVector3 Color(cBytes& pBytes)
{
    const float x = pBytes.Float();
    const float y = pBytes.Float();
    return cVector3(x, y, pBytes.Float());
}

cMatrix33 Matrix(cBytes& pBytes)
{
    cMatrix33 matrix{};
    for (float* cell : {&matrix.m00, &matrix.m01, &matrix.m02, &matrix.m10, &matrix.m11, &matrix.m12, &matrix.m20,
                        &matrix.m21, &matrix.m22})
        *cell = pBytes.Byte() < 224 ? pBytes.Unit() : pBytes.Float();
    return matrix;
}

/// A transfer table of exactly so many samples, or none.
struct sTable
{
    explicit sTable(cBytes& pBytes)
        : fCount(pBytes.Byte() < 200 ? pBytes.Int(2, 64) : pBytes.Int(-4, 5000)),
          fBlock(static_cast<size_t>(fCount < 0 ? 0 : fCount) * sizeof(unsigned short)),
          fSamples(pBytes.Byte() < 250 ? fBlock.As<unsigned short>() : nullptr)
    {
        pBytes.Fill(fBlock.Data(), std::min<size_t>(fBlock.Size(), 64));
    }

    int fCount;
    cBlock fBlock;
    unsigned short* fSamples;
};

std::unique_ptr<cColorSpace> FromTables(cBytes& pBytes)
{
    const cMatrix33 matrix = Matrix(pBytes);
    const cVector3 white = Color(pBytes);
    const sTable toLinear(pBytes);
    const sTable fromLinear(pBytes);
    return std::make_unique<cColorSpace_GenericRGB>(matrix, white, toLinear.fSamples, toLinear.fCount,
                                                    fromLinear.fSamples, fromLinear.fCount);
}

std::unique_ptr<cColorSpace> FromPrimaries(cBytes& pBytes)
{
    const cVector2 red = Chromaticity(pBytes);
    const cVector2 green = Chromaticity(pBytes);
    const cVector2 blue = Chromaticity(pBytes);
    const cVector2 white = Chromaticity(pBytes);
    return std::make_unique<cColorSpace_GenericRGB>(red, green, blue, white, pBytes.Float());
}

/// Null for a number that names no space.
std::unique_ptr<cColorSpace> FromNumber(cBytes& pBytes)
{
    const auto number = static_cast<eColorSpaceID>(pBytes.AnyInt());
    std::unique_ptr<cColorSpace> space(cColorSpace::FromID(number));
    Check(cColorSpace::IsColorSpaceIDValid(number) == (number >= 0 && number <= 2));
    Check((space != nullptr) == cColorSpace::IsColorSpaceIDValid(number));
    return space;
}

/// A maker that stands twice is taken twice as often.
std::unique_ptr<cColorSpace> Space(cBytes& pBytes)
{
    using tMaker = std::unique_ptr<cColorSpace> (*)(cBytes&);
    constexpr tMaker kMakers[] = {FromNumber, FromPrimaries, FromTables, FromTables};
    return pBytes.Of(kMakers)(pBytes);
}

bool SameBits(float pFirst, float pSecond)
{
    return std::memcmp(&pFirst, &pSecond, sizeof pFirst) == 0 || (pFirst != pFirst && pSecond != pSecond);
}

/// A table's samples lie in 0 to 1; what is read between two of them does so up to rounding.
void CheckTable(cTransfer* pTransfer, float pValue)
{
    if (dynamic_cast<cTransfer_Table*>(pTransfer) == nullptr || pValue != pValue) return;
    const float result = pTransfer->Function(pValue);
    Check(result >= -1e-6f && result <= 1.000001f);
}

void CheckTransfer(cTransfer* pTransfer, float pValue)
{
    const std::unique_ptr<cTransfer> clone(pTransfer->Clone());
    Check(SameBits(clone->Function(pValue), pTransfer->Function(pValue)));
    CheckTable(pTransfer, pValue);
}

void CheckClone(cColorSpace& pSpace, float pValue)
{
    const std::unique_ptr<cColorSpace> clone(pSpace.Clone());
    const cMatrix33 first = pSpace.GetToPCSTransform();
    const cMatrix33 second = clone->GetToPCSTransform();
    Check(std::memcmp(&first, &second, sizeof first) == 0);
    Check(SameBits(clone->GetToLinearTransfer()->Function(pValue), pSpace.GetToLinearTransfer()->Function(pValue)));
    Check(std::strcmp(clone->GetName(), pSpace.GetName()) == 0);
}

/// Rarely: a cache asks for up to 65536 values.
void BuildCache(cBytes& pBytes, cTransfer* pTransfer)
{
    switch (pBytes.Byte()) {
    case 1:
        std::make_unique<cTransferLUT_I8F32>(pTransfer);
        break;
    case 2:
        std::make_unique<cTransferLUT_I16F32>(pTransfer);
        break;
    case 3:
        std::make_unique<cTransferLUT_F32I8>(pTransfer);
        break;
    case 4:
        std::make_unique<cTransferLUT_F32I16>(pTransfer);
        break;
    default:
        break;
    }
}

void UseSpace(cBytes& pBytes, cColorSpace& pSpace)
{
    const float value = pBytes.Float();
    CheckTransfer(pSpace.GetToLinearTransfer(), value);
    CheckTransfer(pSpace.GetFromLinearTransfer(), value);
    CheckClone(pSpace, value);
    pSpace.GetWhiteBalance();
    cMatrix33 inverse{};
    pSpace.GetToXYZTransform().GetInverse(inverse);
    BuildCache(pBytes, pSpace.GetFromLinearTransfer());
}

void UseUtilsOfSpace(cBytes& pBytes, cColorSpace* pSpace, cColorSpace* pOther)
{
    const cVector3 c = Color(pBytes);
    float x = 0.0f;
    float y = 0.0f;
    float z = 0.0f;
    cColorUtils::xyYToRGBLinear(pSpace, c.x, c.y, c.z, x, y, z);
    cColorUtils::xyToRGBLinear(pSpace, c.x, c.y, x, y, z);
    cColorUtils::RGBLinearToXYZ(pSpace, c.x, c.y, c.z, x, y, z);
    cColorUtils::RGBLinearToxy(pSpace, c.x, c.y, c.z, x, y);
    cColorUtils::RGBLinearToPCS(pSpace, c.x, c.y, c.z, x, y, z);
    cColorUtils::UprimeVprimeToRGBLinear(pSpace, c.x, c.y, x, y, z);
    cColorUtils::RGBLinearToRGBLinear(pSpace, pOther, c.x, c.y, c.z, x, y, z);
}

void UseUtils(cBytes& pBytes)
{
    const cVector3 c = Color(pBytes);
    float x = 0.0f;
    float y = 0.0f;
    float z = 0.0f;
    using tConversion = void (*)(float, float, float, float&, float&, float&);
    constexpr tConversion kConversions[] = {
        cColorUtils::xyYToXYZ,       cColorUtils::XYZToxyz,         cColorUtils::XYZToxyY,
        cColorUtils::RGBToHSB,       cColorUtils::HSBToRGB,         cColorUtils::sRGBToLinear,
        cColorUtils::sRGBFromLinear, cColorUtils::ProPhotoToLinear, cColorUtils::ProPhotoFromLinear,
        cColorUtils::sRGBToProPhoto, cColorUtils::ProPhotoTosRGB,   cColorUtils::sRGBToPCS,
        cColorUtils::sRGBFromPCS,    cColorUtils::ProPhotoToPCS,    cColorUtils::ProPhotoFromPCS};
    for (const tConversion conversion : kConversions)
        conversion(c.x, c.y, c.z, x, y, z);
    cColorUtils::RGBToHSB(c);
    cColorUtils::HSBToRGB(c);
    cColorUtils::XYZToxy(c);
}

void Run(cBytes& pBytes)
{
    UseUtils(pBytes);
    const std::unique_ptr<cColorSpace> space = Space(pBytes);
    if (space == nullptr) return;
    UseSpace(pBytes, *space);
    const std::unique_ptr<cColorSpace> other = Space(pBytes);
    if (other != nullptr) UseUtilsOfSpace(pBytes, space.get(), other.get());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t pSize)
{
    const cLedger ledger(kMostBytes);
    cBytes bytes(pData, pSize);
    try {
        Run(bytes);
    } catch (const cException&) {     // NOLINT(bugprone-empty-catch): refused
    } catch (const std::bad_alloc&) { // NOLINT(bugprone-empty-catch): refused
    }
    return 0;
}
