// Conversions between 8 bits, 16 bits and floats.

#include "bitmap_fuzz/Steps.h"
#include "curve/cTransfer.h"
#include "image/cImageUtils.h"

namespace SelvaneFuzz
{

namespace
{

using namespace Vornik;

constexpr tStep kScalings[] = {
    [](cBytes&, sPictures& p) { cImageUtils::BGR8ToBGR32(&p.fBgr8[0], &p.fXyz32[1]); },
    [](cBytes&, sPictures& p) { cImageUtils::BGR32ToBGR8(&p.fXyz32[1], &p.fBgr8[0]); },
    [](cBytes&, sPictures& p) { cImageUtils::BGR16ToBGR32(&p.fBgr16[0], &p.fXyz32[1]); },
    [](cBytes&, sPictures& p) { cImageUtils::BGR32ToBGR16(&p.fXyz32[1], &p.fBgr16[0]); },
    [](cBytes&, sPictures& p) { cImageUtils::Convert(&p.fBgr16[0], &p.fBgr8[1]); },
    [](cBytes&, sPictures& p) { cImageUtils::Convert(&p.fBgr8[0], &p.fBgr16[1]); },
    [](cBytes&, sPictures& p) { p.fBgr16[0].ToBGR8(&p.fBgr8[1]); },
    [](cBytes&, sPictures& p) { p.fBgr16[0].FromBGR8(&p.fBgr8[1]); },
    [](cBytes&, sPictures& p) { cImageUtils::BGR8ToBGR32Linear(&p.fBgr8[0], &p.fXyz32[1]); },
    [](cBytes&, sPictures& p) { p.fBgr8[0].ToXYZ32(&p.fXyz32[1]); },
};

/// Built once: the larger ones ask for 65536 values.
struct sTables
{
    cTransferGamma fGamma{2.2f};
    cTransferLUT_I8F32 fFrom8{&fGamma};
    cTransferLUT_I16F32 fFrom16{&fGamma};
    cTransferLUT_F32I8 fTo8{&fGamma};
    cTransferLUT_F32I16 fTo16{&fGamma};
};

sTables& Tables()
{
    static sTables tables;
    return tables;
}

using tTableConversion = void (*)(sPictures& pPictures, sTables& pTables, const cMatrix33& pMatrix);

constexpr tTableConversion kTableConversions[] = {
    [](sPictures& p, sTables& t, const cMatrix33& m) {
        cImageUtils::BGR8ToFloat3(&p.fBgr8[0], &p.fXyz32[1], &t.fFrom8, m);
    },
    [](sPictures& p, sTables& t, const cMatrix33& m) {
        cImageUtils::BGR16ToFloat3(&p.fBgr16[0], &p.fXyz32[1], &t.fFrom16, m);
    },
    [](sPictures& p, sTables& t, const cMatrix33& m) {
        cImageUtils::Float3ToBGR8(&p.fXyz32[1], &p.fBgr8[0], &t.fTo8, m);
    },
    [](sPictures& p, sTables& t, const cMatrix33& m) {
        cImageUtils::Float3ToBGR16(&p.fXyz32[1], &p.fBgr16[0], &t.fTo16, m);
    },
    [](sPictures& p, sTables& t, const cMatrix33& m) { p.fBgr8[0].ToXYZ32(&p.fXyz32[1], &t.fFrom8, m); },
    [](sPictures& p, sTables& t, const cMatrix33& m) { p.fBgr8[0].FromXYZ32(&p.fXyz32[1], &t.fTo8, m); },
    [](sPictures& p, sTables& t, const cMatrix33& m) { p.fBgr16[0].FromXYZ32(&p.fXyz32[1], &t.fTo16, m); },
};

template <class tPicture>
void Drop(tPicture* pPicture)
{
    const std::unique_ptr<tPicture> owned(pPicture);
}

/// Those that make the picture that they return.
constexpr tStep kMakers[] = {
    [](cBytes&, sPictures& p) { Drop(cImageUtils::BGR8ToBGR32(&p.fBgr8[0])); },
    [](cBytes& b, sPictures& p) { Drop(cImageUtils::BGR32ToBGR8(&p.fXyz32[0], SpaceNumber(b))); },
    [](cBytes&, sPictures& p) { Drop(cImageUtils::BGR16ToBGR32(&p.fBgr16[0])); },
    [](cBytes& b, sPictures& p) { Drop(cImageUtils::BGR32ToBGR16(&p.fXyz32[0], SpaceNumber(b))); },
    [](cBytes&, sPictures& p) { Drop(cImageUtils::BGR8ToBGR32Linear(&p.fBgr8[0])); },
    [](cBytes& b, sPictures& p) { Drop(cImageUtils::BGR32LinearToBGR8(&p.fXyz32[0], SpaceNumber(b))); },
    [](cBytes&, sPictures& p) { Drop(cImageUtils::BGR16ToBGR32Linear(&p.fBgr16[0])); },
    [](cBytes& b, sPictures& p) { Drop(cImageUtils::BGR32LinearToBGR16(&p.fXyz32[0], SpaceNumber(b))); },
    [](cBytes&, sPictures& p) { Drop(cBitmapY8::FromBitmapLDR(&p.fBgr8[0])); },
    [](cBytes&, sPictures& p) { Drop(cBitmapY8::FromBitmapLDR(&p.fBgr16[0])); },
    [](cBytes&, sPictures& p) { Drop(p.fY8[0].Halve()); },
};

/// Each builds a table of 65536 values for its call.
constexpr tStep kSlowConversions[] = {
    [](cBytes&, sPictures& p) { cImageUtils::BGR32LinearToBGR8(&p.fXyz32[1], &p.fBgr8[0]); },
    [](cBytes&, sPictures& p) { cImageUtils::BGR16ToBGR32Linear(&p.fBgr16[0], &p.fXyz32[1]); },
    [](cBytes&, sPictures& p) { cImageUtils::BGR32LinearToBGR16(&p.fXyz32[1], &p.fBgr16[0]); },
    [](cBytes&, sPictures& p) { p.fBgr16[0].ToXYZ32(&p.fXyz32[1]); },
    [](cBytes&, sPictures& p) { p.fBgr8[0].FromXYZ32(&p.fXyz32[1]); },
    [](cBytes&, sPictures& p) { p.fBgr16[0].FromXYZ32(&p.fXyz32[1]); },
    [](cBytes&, sPictures& p) { p.fBgr16[0].ToBGR32Linear(&p.fXyz32[1]); },
};

/// The slow ones come seldom, and a quick one in their place.
void ConvertThroughSpace(cBytes& pBytes, sPictures& pPictures)
{
    const auto number = static_cast<size_t>(pBytes.Int(0, 40));
    if (number < std::size(kSlowConversions))
        kSlowConversions[number](pBytes, pPictures);
    else
        pPictures.fBgr8[0].ToBGR32Linear(&pPictures.fXyz32[1]);
}

} // namespace

void Scale(cBytes& pBytes, sPictures& pPictures)
{
    pBytes.Of(kScalings)(pBytes, pPictures);
}

void ThroughTables(cBytes& pBytes, sPictures& pPictures)
{
    const cMatrix33 matrix = Matrix(pBytes);
    pBytes.Of(kTableConversions)(pPictures, Tables(), matrix);
}

void ThroughSpaces(cBytes& pBytes, sPictures& pPictures)
{
    if (pBytes.Byte() < 64)
        pBytes.Of(kMakers)(pBytes, pPictures);
    else
        ConvertThroughSpace(pBytes, pPictures);
}

} // namespace SelvaneFuzz
