#include "render/RenderOnce.h"

#include "bitmap/cBitmapXYZ32.h"
#include "render/Stages.h"
#include "render/cTmRenderer.h"
#include "yhmv/PackStrip.h"

namespace Vornik
{

namespace
{

/// The tables and numbers of the final stage.
struct sFinalPass
{
    cMatrix33 fFromPCS; ///< XYZ to ProPhoto RGB
    cMatrix33 fToOutput;
    sIntensity fIntensity;
    const unsigned short* fContrast;
    const void* fEncode; ///< entries of the size of a sample
};

/// One row from XYZ and luminance to samples.
template <int tFirst, class tSample>
SELVANE_CLONES void FinalRow(const float* pXYZ, const float* pLuminance, unsigned char* pTo, int pWidth,
                             sFinalPass pPass)
{
    const auto* encode = static_cast<const tSample*>(pPass.fEncode);
    sDecodeStrip strip{};
    for (ptrdiff_t x = 0; x < pWidth; x += kStrip) {
        const int count = StripCount(pWidth, x);
        const float* ahead = pXYZ + 3 * (x + ptrdiff_t{2} * kStrip);
        PrefetchPart<0>(ahead);
        PackStrip(pXYZ + 3 * x, pLuminance == nullptr ? nullptr : pLuminance + x, count, pPass.fFromPCS, strip);
        PrefetchPart<1>(ahead);
        ColorOfHue(strip);
        IntensityOfRange(strip, pPass.fIntensity);
        PrefetchPart<2>(ahead);
        Primaries(strip);
        ThroughContrast(strip, pPass.fContrast);
        PrefetchPart<3>(ahead);
        ThroughMatrix(strip, pPass.fToOutput);
        StoreSamples<tFirst, tSample>(pTo + 3 * x * ptrdiff_t{sizeof(tSample)}, strip, count, encode);
    }
}

using tFinalRow = void (*)(const float*, const float*, unsigned char*, int, sFinalPass);

tFinalRow FinalRowFor(const sSampleRows& pRows)
{
    if (pRows.fBits == 8) return pRows.fRedFirst ? FinalRow<0, unsigned char> : FinalRow<2, unsigned char>;
    return pRows.fRedFirst ? FinalRow<0, unsigned short> : FinalRow<2, unsigned short>;
}

/// The encode table for samples of pBits: itself, or the high bytes of its entries, which take its place.
const void* EncodeTableFor(cTmRenderer& pRenderer, int pBits)
{
    const unsigned short* table = EncodeTable(pRenderer);
    if (pBits != 8) return table;
    auto* bytes = reinterpret_cast<unsigned char*>(pRenderer.fEncodeLUT);
    for (int i = 0; i < kTableSize; i++)
        bytes[i] = static_cast<unsigned char>(table[i] >> 8);
    pRenderer.fEncodeLUTValid = false;
    return bytes;
}

/// @param pLuminance plane of the new luminance; null: the luminance of the input
void DecodeOnce(cTmRenderer& pRenderer, const cMatrix33& pFromPCS, const float* pLuminance, const sSampleRows& pRows)
{
    const cBitmapXYZ32& input = *pRenderer.fInput;
    const sFinalPass pass{
        .fFromPCS = pFromPCS,
        .fToOutput = OutputMatrix(pRenderer),
        .fIntensity = {ExposureScale(pRenderer), InverseRange(pRenderer.fBlack, pRenderer.fWhite), pRenderer.fBlack},
        .fContrast = ContrastSamples(pRenderer),
        .fEncode = EncodeTableFor(pRenderer, pRows.fBits),
    };
    const tFinalRow row = FinalRowFor(pRows);
    for (int y = 0; y < input.fHeight; y++) {
        const float* xyz = input.fData + static_cast<ptrdiff_t>(y) * (input.fStride / 4);
        const float* luminance =
            pLuminance == nullptr ? nullptr : pLuminance + static_cast<ptrdiff_t>(y) * input.fWidth;
        row(xyz, luminance, pRows.fFirst + y * pRows.fRowBytes, input.fWidth, pass);
    }
}

} // namespace

void RenderOnce(cTmRenderer& pRenderer, const sSampleRows* pRows)
{
    bool cancel = false;
    bool cancelled = false;
    AllocateIntermediates(pRenderer);
    const cMatrix33 fromPCS = ProPhotoFromPCS();
    MeasureLuminance(pRenderer, &cancel, &cancelled);
    RunPhase1(pRenderer, nullptr, &cancel, &cancelled);
    const cLuminanceRows plane(pRenderer.fLogLuminance, pRenderer.fBase, pRenderer.fInput->fWidth,
                               pRenderer.fInput->fHeight);
    const bool replaced = RunPhase2(pRenderer, plane, &cancel, &cancelled);
    if (pRows != nullptr) DecodeOnce(pRenderer, fromPCS, replaced ? pRenderer.fLogLuminance : nullptr, *pRows);
}

} // namespace Vornik
