#include "color/CodePoints.h"

#include "color/Light.h"
#include "color/Space.h"

#include <selvane.h>

#include <algorithm>
#include <iterator>
#include <string>

namespace SelvaneHost
{

namespace
{

struct sCodedPrimaries
{
    int fCode;
    int fPrimaries;
    std::array<float, 8> fChromaticities; // of SELVANE_CUSTOM
    const char* fName;                    // null: the file's own
};

constexpr sCodedPrimaries kPrimaries[] = {
    {kPrimariesBt709, SELVANE_SRGB, {}, "BT.709"},
    {4, SELVANE_CUSTOM, {0.67F, 0.33F, 0.21F, 0.71F, 0.14F, 0.08F, 0.310F, 0.316F}, "BT.470 M"},
    {5, SELVANE_CUSTOM, {0.64F, 0.33F, 0.29F, 0.60F, 0.15F, 0.06F, 0.3127F, 0.3290F}, "BT.601 625"},
    {6, SELVANE_CUSTOM, {0.630F, 0.340F, 0.310F, 0.595F, 0.155F, 0.070F, 0.3127F, 0.3290F}, "BT.601 525"},
    {7, SELVANE_CUSTOM, {0.630F, 0.340F, 0.310F, 0.595F, 0.155F, 0.070F, 0.3127F, 0.3290F}, "SMPTE 240M"},
    {8, SELVANE_CUSTOM, {0.681F, 0.319F, 0.243F, 0.692F, 0.145F, 0.049F, 0.310F, 0.316F}, "film"},
    {kPrimariesBt2020, SELVANE_REC2020, {}, "BT.2020"},
    {11, SELVANE_CUSTOM, {0.680F, 0.320F, 0.265F, 0.690F, 0.150F, 0.060F, 0.314F, 0.351F}, "DCI P3"},
    {kPrimariesP3, SELVANE_DISPLAY_P3, {}, "P3"},
    {22, SELVANE_CUSTOM, {0.630F, 0.340F, 0.295F, 0.605F, 0.155F, 0.077F, 0.3127F, 0.3290F}, "EBU 3213"},
};

struct sCodedTransfer
{
    int fCode;
    int fTransfer;
    float fGamma;             // of SELVANE_TRANSFER_POWER
    double (*fLight)(double); // null: libselvane has the curve
    const char* fName;
};

// BT.601 and BT.2020 have the curve of BT.709; xvYCC and BT.1361 have it for positive light.
constexpr sCodedTransfer kTransfers[] = {
    {1, SELVANE_TRANSFER_REC2020, 0.0F, nullptr, "the curve of BT.709"},
    {4, SELVANE_TRANSFER_POWER, 2.2F, nullptr, "gamma 2.2"},
    {5, SELVANE_TRANSFER_POWER, 2.8F, nullptr, "gamma 2.8"},
    {6, SELVANE_TRANSFER_REC2020, 0.0F, nullptr, "the curve of BT.601"},
    {kTransferLinear, SELVANE_TRANSFER_LINEAR, 0.0F, nullptr, "linear"},
    {11, SELVANE_TRANSFER_REC2020, 0.0F, nullptr, "the curve of xvYCC"},
    {12, SELVANE_TRANSFER_REC2020, 0.0F, nullptr, "the curve of BT.1361"},
    {kTransferSrgb, SELVANE_TRANSFER_SRGB, 0.0F, nullptr, "the curve of sRGB"},
    {14, SELVANE_TRANSFER_REC2020, 0.0F, nullptr, "the curve of BT.2020"},
    {15, SELVANE_TRANSFER_REC2020, 0.0F, nullptr, "the curve of BT.2020"},
    {kTransferPq, SELVANE_TRANSFER_LINEAR, 0.0F, PqLight, "PQ, 203 cd/m2 as white"},
    {kTransferHlg, SELVANE_TRANSFER_LINEAR, 0.0F, HlgLight, "HLG, the signal 0.75 as white"},
};

template <typename tRow>
const tRow* Find(const tRow* pFirst, const tRow* pEnd, int pCode)
{
    const tRow* const row = std::find_if(pFirst, pEnd, [&](const tRow& r) { return r.fCode == pCode; });
    return row == pEnd ? nullptr : row;
}

/// Returns the primaries of a code point, or the file's own where it says none.
std::optional<sCodedPrimaries> PrimariesOf(int pCode, const std::optional<std::array<float, 8>>& pOwn)
{
    if (pCode == kNotSaid && pOwn) return sCodedPrimaries{pCode, SELVANE_CUSTOM, *pOwn, nullptr};
    const sCodedPrimaries* const known = Find(std::begin(kPrimaries), std::end(kPrimaries), pCode);
    return known == nullptr ? std::nullopt : std::optional(*known);
}

std::string WordsOf(const sCodedPrimaries& pPrimaries)
{
    return pPrimaries.fName == nullptr ? "its primaries are its own"
                                       : std::string("its colours are ") + pPrimaries.fName;
}

} // namespace

bool TakeCodePoints(sPicture& pPicture, const sCodePoints& pCodePoints, const std::optional<std::array<float, 8>>& pOwn)
{
    const std::optional<sCodedPrimaries> primaries = PrimariesOf(pCodePoints.fPrimaries, pOwn);
    const sCodedTransfer* const transfer = Find(std::begin(kTransfers), std::end(kTransfers), pCodePoints.fTransfer);
    if (!primaries || transfer == nullptr) return false;
    const bool srgb = primaries->fPrimaries == SELVANE_SRGB && transfer->fTransfer == SELVANE_TRANSFER_SRGB;
    if (srgb && pPicture.fForm != eFloats) {
        SetSpace(pPicture, SELVANE_SRGB);
        return true;
    }
    if (transfer->fLight != nullptr) MakeLinear(pPicture, transfer->fLight);
    SetColor(pPicture, {.fPrimaries = primaries->fPrimaries,
                        .fChromaticities = primaries->fChromaticities,
                        .fTransfer = transfer->fTransfer,
                        .fGamma = transfer->fGamma,
                        .fIsNamed = true,
                        .fWords = WordsOf(*primaries) + ", " + transfer->fName});
    return true;
}

} // namespace SelvaneHost
