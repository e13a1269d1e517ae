#include "entry/vorniklib3.h"

#include "bitmap/cBitmapBGR16.h"
#include "bitmap/cBitmapBGR8.h"
#include "bitmap/cBitmapXYZ32.h"
#include "bitmap/cException.h"
#include "color/cColorSpace.h"
#include "entry/PixelExchange.h"
#include "entry/SliderScales.h"
#include "render/RenderOnce.h"
#include "render/cTmRenderer.h"

#include <cstddef>
#include <cstdio>
#include <memory>
#include <new>
#include <optional>

// The entry creates the objects of a call, renders once, writes the results and releases the objects in a fixed order.

static_assert(sizeof(sTmImageDesc) == 32 && offsetof(sTmImageDesc, bgrOrder) == 28);
static_assert(sizeof(sTmRunSettings) == 12 && offsetof(sTmRunSettings, requestType) == 8);
static_assert(sizeof(sTmSliders) == 76 && offsetof(sTmSliders, reservedSwitch) == 44 &&
              offsetof(sTmSliders, wrapSwitch) == 60 && offsetof(sTmSliders, blackPoint) == 68 &&
              offsetof(sTmSliders, whitePoint) == 72);

namespace Vornik
{

namespace
{

enum eResult : int32_t
{
    eResultDone = 1,
    eResultFailure = -1,
    eResultBadDepth = -2,
    eResultOutOfMemory = -4,
};

constexpr int32_t kRequestRender = 1;  // render with the host's points
constexpr int32_t kRequestMeasure = 9; // measure only

/// The objects of one call. They are released in reverse order: renderer, colour space, 16-bit picture, 8-bit picture,
/// linear picture.
struct sCall
{
    std::unique_ptr<cBitmapXYZ32> fLinear;
    std::unique_ptr<cBitmapBGR8> fPicture8;
    std::unique_ptr<cBitmapBGR16> fPicture16;
    std::unique_ptr<cColorSpace> fColorSpace;
    std::unique_ptr<cTmRenderer> fRenderer;
};

/// Returns null for an unknown number.
std::unique_ptr<cColorSpace> NewColorSpace(int32_t pColorSpace)
{
    switch (pColorSpace) {
    case eColorSpace_sRGB:
        return std::make_unique<cColorSpace_sRGB>();
    case eColorSpace_AdobeRGB98:
        return std::make_unique<cColorSpace_AdobeRGB98>();
    case eColorSpace_ProPhotoRGB:
        return std::make_unique<cColorSpace_ProPhotoRGB>();
    default:
        return nullptr;
    }
}

// Required: sRGB input is decoded by a plain power too, although sRGB output is encoded by the sRGB curve.
double DecodeGamma(int32_t pColorSpace)
{
    return pColorSpace == eColorSpace_ProPhotoRGB ? 1.8 : 2.2;
}

eColorSpaceID OutputColorSpaceID(int32_t pColorSpace)
{
    return cColorSpace::IsColorSpaceIDValid(static_cast<eColorSpaceID>(pColorSpace))
               ? static_cast<eColorSpaceID>(pColorSpace)
               : eColorSpace_sRGB;
}

void SetParams(cTmRenderer& pRenderer, const sTmSliders& pSliders, int32_t pRequestType)
{
    const bool accepted =
        pSliders.whitePoint > 0.0f && pSliders.blackPoint <= pSliders.whitePoint && pRequestType == kRequestRender;
    pRenderer.SetToneMappingParams(
        /* pGlobalContrast */ GlobalContrast(pSliders.compression),
        /* pAdaptation */ Share(0.04, pSliders.adaptation),
        /* pContrastFollowsGlobal */ true,
        /* pContrast */ 20.0f,
        /* pUseAutoExposure */ true,
        /* pExposureEV */ 0.0f,
        /* pSpatialSize */ SpatialSize(pSliders.radius),
        /* pRangeSize */ RangeSize(pSliders.smoothness),
        /* pBaseBlur */ 0.0f,
        /* pWrapX */ pSliders.wrapSwitch == 1.0f,
        /* pReservedFlagA */ pSliders.reservedSwitch == 1.0f,
        /* pReservedFlagB */ false,
        /* pWhiteClip */ Share(0.05, pSliders.whiteClip),
        /* pBlackClip */ pSliders.blackClip, pRequestType,
        /* pBlack */ accepted ? pSliders.blackPoint : 0.0f,
        /* pWhite */ accepted ? pSliders.whitePoint : 0.0f);
}

bool IsDepthKnown(int32_t pInputDepth)
{
    return pInputDepth == 8 || pInputDepth == 16 || pInputDepth == 32;
}

/// Reads the host's picture into XYZ. Ends the process if the host named an unknown colour space.
void ReadPicture(sCall& pCall, const sTmImageDesc& pImage, int32_t pColorSpace, const unsigned char* pInput)
{
    // Required: the table is never freed.
    const float* table =
        pImage.inputDepth == 32 ? nullptr : NewDecodeTable(pImage.inputDepth, DecodeGamma(pColorSpace));
    pCall.fLinear = std::make_unique<cBitmapXYZ32>(pImage.width, pImage.height);
    if (pCall.fColorSpace == nullptr) __builtin_trap();
    const cMatrix33 toXYZ = pCall.fColorSpace->GetToPCSTransform();
    if (pImage.inputDepth == 32)
        ReadExponentPlanes(pImage, pInput, toXYZ, *pCall.fLinear);
    else
        ReadSamples(pImage, pInput, table, toXYZ, *pCall.fLinear);
}

/// Returns null if the output depth is neither 8 nor 16.
cBitmapLDR* NewOutput(sCall& pCall, const sTmImageDesc& pImage, eColorSpaceID pColorSpace)
{
    if (pImage.outputDepth == 8) {
        pCall.fPicture8 = std::make_unique<cBitmapBGR8>(pImage.width, pImage.height, pColorSpace);
        return pCall.fPicture8.get();
    }
    if (pImage.outputDepth == 16) {
        pCall.fPicture16 = std::make_unique<cBitmapBGR16>(pImage.width, pImage.height, pColorSpace);
        return pCall.fPicture16.get();
    }
    return nullptr;
}

void ReportPoints(cTmRenderer& pRenderer, sTmSliders& pSliders)
{
    float black = 0.0f;
    float white = 0.0f;
    pRenderer.GetRequestedStats(&black, &white);
    pSliders.blackPoint = black;
    pSliders.whitePoint = white;
}

sSampleRows PictureRows(const sCall& pCall)
{
    return pCall.fPicture8 != nullptr ? PictureRows(*pCall.fPicture8) : PictureRows(*pCall.fPicture16);
}

void WritePicture(const sCall& pCall, const sTmImageDesc& pImage, unsigned char* pOutput)
{
    if (pCall.fPicture8 != nullptr)
        WriteSamples(pImage, *pCall.fPicture8, pOutput);
    else
        WriteSamples(pImage, *pCall.fPicture16, pOutput);
}

/// Renders, and hands the samples to the host unless it only measures.
void RenderTo(sCall& pCall, const sTmImageDesc& pImage, int32_t pRequestType, unsigned char* pOutput)
{
    if (pRequestType == kRequestMeasure) return RenderOnce(*pCall.fRenderer, nullptr);
    const std::optional<sSampleRows> host = HostRows(pImage, pOutput);
    const sSampleRows rows = host ? *host : PictureRows(pCall);
    RenderOnce(*pCall.fRenderer, &rows);
    if (!host) WritePicture(pCall, pImage, pOutput);
}

eResult ToneMap(const sTmImageDesc& pImage, const sTmRunSettings& pRun, int32_t pColorSpace, sTmSliders& pSliders,
                const unsigned char* pInput, unsigned char* pOutput)
{
    sCall call;
    call.fColorSpace = NewColorSpace(pColorSpace);
    if (!IsDepthKnown(pImage.inputDepth)) return eResultBadDepth;
    ReadPicture(call, pImage, pColorSpace, pInput);
    call.fRenderer = std::make_unique<cTmRenderer>();
    cBitmapLDR* output = NewOutput(call, pImage, OutputColorSpaceID(pColorSpace));
    call.fRenderer->SetInput(call.fLinear.get());
    call.fRenderer->SetNbProc(pRun.processorCount);
    if (output != nullptr) call.fRenderer->SetOutput(output);
    SetParams(*call.fRenderer, pSliders, pRun.requestType);
    if (output == nullptr) call.fRenderer->Render(); // refuses, by a pointer to an exception
    RenderTo(call, pImage, pRun.requestType, pOutput);
    if (pRun.requestType != kRequestRender) ReportPoints(*call.fRenderer, pSliders);
    return eResultDone;
}

/// Makes a string of an exception printable. It is null if its copy found no memory.
const char* Printable(const char* pText)
{
    return pText != nullptr ? pText : "(null)";
}

void Report(const cException& pException)
{
    std::fprintf(
        stderr,
        "Unexpected error with cpp_tm_selvane: Message=%s  Type=%s  Description=%s  Function=%s  File=%s  Line=%d  "
        "Timestamp=%s\n",
        Printable(pException.GetMessage()), Printable(pException.GetType()), Printable(pException.GetDescription()),
        Printable(pException.GetFuncSig()), Printable(pException.GetFile()), pException.GetLine(),
        Printable(pException.GetTimeStamp()));
}

} // namespace

} // namespace Vornik

int32_t cpp_tm_selvane(const sTmImageDesc* pImage, const sTmRunSettings* pRun, int32_t pColorSpace,
                       sTmSliders* pSliders, const unsigned char* pInput, unsigned char* pOutput)
{
    using namespace Vornik;
    try {
        return ToneMap(*pImage, *pRun, pColorSpace, *pSliders, pInput, pOutput);
    } catch (const std::bad_alloc&) {
        return eResultOutOfMemory;
    } catch (const cOutOfMemoryException&) {
        return eResultOutOfMemory;
    } catch (const cException& exception) {
        Report(exception);
        return eResultFailure;
    }
}
