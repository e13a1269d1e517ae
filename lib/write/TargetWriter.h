#ifndef SELVANE_LIB_WRITE_TARGETWRITER_H
#define SELVANE_LIB_WRITE_TARGETWRITER_H

// The last stage: from XYZ and the new luminance to the samples of a target.

#include "color/cMatrix.h"
#include "picture/Layout.h"
#include "picture/Picture.h"
#include "selvane.h"
#include "yhmv/DecodeStrip.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace SelvaneLib
{

/// Numbers and tables that all pixels share.
struct sFinalPass
{
    Vornik::cMatrix33 fFromXYZ;  ///< to ProPhoto RGB
    Vornik::cMatrix33 fToTarget; ///< from ProPhoto RGB
    Vornik::sIntensity fIntensity;
    const unsigned short* fContrast;
    const float (*fHueTable)[3]; ///< null: neutral hue curves
    const float* fLightness;     ///< with fHueTable
};

/// The tables for a kind of target. They do not depend on the picture.
class cTargetTables
{
public:
    /// Makes the tables for this target unless they stand already.
    void Prepare(const selvane_target& pTarget);

    std::vector<uint8_t> fBytes;
    std::vector<uint16_t> fSamples; ///< 16-bit integers, halves, and for dithering
    std::vector<float> fFloats;

private:
    int fFormat = 0;
    int fSpace = -1;
    int fLinear = 0;
};

/// Bytes of the record in the first release, before custom chromaticities.
inline constexpr size_t kFirstTargetSize = offsetof(selvane_target, channel_stride) + sizeof(ptrdiff_t);

/// @throws cFailure that names the field
void CheckTarget(const selvane_target& pTarget);

/// Writes one row. pLuminance has the new luminance; null: the luminance of the input.
void WriteTargetRow(const selvane_target& pTarget, const sLayout& pLayout, const cTargetTables& pTables,
                    const sFinalPass& pPass, const cPicture& pPicture, const float* pLuminance, int pRow);

/// Writes one row of the picture as it is. Samples are cut off at 0 and 1.
/// @param pFromXYZ to the linear samples of the target
/// @param pFactor of the light, finite
void WritePlainRow(const selvane_target& pTarget, const sLayout& pLayout, const cTargetTables& pTables,
                   const Vornik::cMatrix33& pFromXYZ, double pFactor, const cPicture& pPicture, int pRow);

} // namespace SelvaneLib

#endif
