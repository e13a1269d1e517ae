#include "equalizer/cColorEqRenderer.h"

#include "bitmap/cBitmapBGR16.h"
#include "bitmap/cBitmapBGR8.h"
#include "bitmap/cBitmapU16T.h"
#include "bitmap/cException.h"
#include "color/cColorSpace.h"
#include "curve/cHermiteSpline.h"
#include "curve/cTransfer.h"
#include "support/Allocations.h"
#include "support/Capture.h"
#include "yhmv/Twin.h"
#include "yhmv/cYHMVColorSpace.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <memory>
#include <type_traits>

using namespace Vornik;
using namespace SelvaneTest;

namespace
{

// ---- help ----

struct sMatrix
{
    float fM[9];
    explicit sMatrix(const cMatrix33& pMatrix) { std::memcpy(fM, &pMatrix, sizeof fM); }
};

void ExpectSameMatrix(const cMatrix33& pA, const cMatrix33& pB)
{
    EXPECT_EQ(std::memcmp(&pA, &pB, sizeof pA), 0);
}

size_t SampleCount(const cBitmapBGR16& pPicture)
{
    return static_cast<size_t>(pPicture.fStride / 2) * static_cast<size_t>((pPicture.fHeight + 3) & ~3);
}

void FillWithNoise(cBitmapBGR16& pPicture, unsigned pSeed)
{
    cRandom random(pSeed);
    for (size_t i = 0; i < SampleCount(pPicture); ++i)
        pPicture.fData[i] = static_cast<unsigned short>(random.Word());
}

void FillWith(cBitmapBGR16& pPicture, unsigned short pSample)
{
    std::fill_n(pPicture.fData, SampleCount(pPicture), pSample);
}

// Whether every used sample has this value.
bool IsFilledWith(const cBitmapBGR16& pPicture, unsigned short pSample)
{
    for (int y = 0; y < pPicture.fHeight; ++y) {
        const unsigned short* row = pPicture.fData + static_cast<ptrdiff_t>(y) * (pPicture.fStride / 2);
        if (std::any_of(row, row + 3 * pPicture.fWidth, [=](unsigned short s) { return s != pSample; })) return false;
    }
    return true;
}

bool SameSamples(const cBitmapBGR16& pA, const cBitmapBGR16& pB)
{
    for (int y = 0; y < pA.fHeight; ++y)
        if (std::memcmp(pA.fData + static_cast<ptrdiff_t>(y) * (pA.fStride / 2),
                        pB.fData + static_cast<ptrdiff_t>(y) * (pB.fStride / 2),
                        static_cast<size_t>(pA.fWidth) * 6) != 0)
            return false;
    return true;
}

constexpr unsigned short kScribble = 0xBEEF;

// A renderer with its two pictures, and curves that do something.
struct sScene
{
    cBitmapBGR16 fInput{37, 11, eColorSpace_sRGB};
    cBitmapBGR16 fOutput{37, 11, eColorSpace_AdobeRGB98};
    cHermiteSpline fHue{0.0f, 0.55f, 0.4f, 0.45f, 1.0f, 0.55f};
    cHermiteSpline fSaturation{0.0f, 0.3f, 0.6f, 0.7f, 1.0f, 0.3f};
    cHermiteSpline fLightness{0.0f, 0.6f, 0.5f, 0.4f, 1.0f, 0.6f};
    std::unique_ptr<cColorEqRenderer> fRenderer = std::make_unique<cColorEqRenderer>();

    sScene()
    {
        FillWithNoise(fInput, 41);
        FillWith(fOutput, kScribble);
        fRenderer->SetInput(&fInput);
        fRenderer->SetOutput(&fOutput);
    }

    void SetCurves() { fRenderer->SetHueCurves(&fHue, &fSaturation, &fLightness); }
};

// The whole road by hand. The curves are the renderer's own copies' equals.
void RenderByHand(cBitmapLDR& pInput, cBitmapLDR& pOutput, cHermiteSpline& pHue, cHermiteSpline& pSaturation,
                  cHermiteSpline& pLightness)
{
    cBitmapU16T records(pInput.fWidth, pInput.fHeight, 5);
    cYHMVColorSpace::RGBToHMV(nullptr, nullptr, &pInput, &records);
    const auto table = std::make_unique<cYHMVColorSpace>();
    table->UpdateHMVToRGBLUT(pSaturation.GetLUT16f(), pHue.GetLUT16i());

    cColorSpace_ProPhotoRGB work;
    const sMatrix from(pOutput.GetColorSpace()->GetFromPCSTransform());
    const sMatrix to(work.GetToPCSTransform());
    float product[9];
    for (int r = 0; r < 3; ++r)
        for (int c = 0; c < 3; ++c)
            product[3 * r + c] =
                from.fM[3 * r] * to.fM[c] + from.fM[3 * r + 1] * to.fM[3 + c] + from.fM[3 * r + 2] * to.fM[6 + c];
    cMatrix33 matrix;
    std::memcpy(&matrix, product, sizeof matrix);

    std::vector<unsigned short> encode(65536);
    for (int i = 0; i < 65536; ++i) {
        const float x = static_cast<float>(i) * FromBits(0x37800080);
        encode[static_cast<size_t>(i)] =
            TwinLow16(pOutput.GetColorSpace()->GetFromLinearTransfer()->Function(x) * 65535.0f);
    }
    table->HMVToRGB(&records, &pOutput, encode.data(), matrix, pLightness.GetLUT16f());
}

// ---- the object ----

TEST(EqualizerObject, FieldsStandInTheirOrder)
{
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Winvalid-offsetof"
    EXPECT_EQ(offsetof(cColorEqRenderer, fInput), 8u); // behind the table of virtual operations
    EXPECT_EQ(offsetof(cColorEqRenderer, fOutput), 16u);
    EXPECT_EQ(offsetof(cColorEqRenderer, fYHMVSpace), 24u);
    EXPECT_EQ(offsetof(cColorEqRenderer, fHMV), 32u);
    EXPECT_EQ(offsetof(cColorEqRenderer, fHHCurve), 40u);
    EXPECT_EQ(offsetof(cColorEqRenderer, fHSCurve), 48u);
    EXPECT_EQ(offsetof(cColorEqRenderer, fHLCurve), 56u);
    EXPECT_EQ(offsetof(cColorEqRenderer, fEncodeLUT), 64u);
    EXPECT_EQ(offsetof(cColorEqRenderer, fEncodeLUTValid), 131136u);
    EXPECT_EQ(offsetof(cColorEqRenderer, fPrepareNeeded), 131137u);
    EXPECT_EQ(offsetof(cColorEqRenderer, fFinalNeeded), 131138u);
    EXPECT_EQ(offsetof(cColorEqRenderer, fWorkToPCS), 131140u);
    EXPECT_EQ(offsetof(cColorEqRenderer, fPCSToWork), 131176u);
    EXPECT_EQ(sizeof(cColorEqRenderer), 131216u);
#pragma GCC diagnostic pop
}

TEST(EqualizerObject, OnlyTheDestructorIsVirtualAndNothingIsCopied)
{
    EXPECT_TRUE(std::has_virtual_destructor_v<cColorEqRenderer>);
    EXPECT_FALSE(std::is_copy_constructible_v<cColorEqRenderer>);
    EXPECT_FALSE(std::is_copy_assignable_v<cColorEqRenderer>);
    // A table with the two destructors and no more: another descendant's first own operation comes third.
    struct sDescendant : cColorEqRenderer
    {
        virtual void Third() {}
    };
    void (sDescendant::*third)() = &sDescendant::Third;
    ptrdiff_t slot = 0;
    std::memcpy(&slot, &third, sizeof slot);
    EXPECT_EQ(slot, static_cast<ptrdiff_t>(1 + 2 * sizeof(void*))); // a pointer to member holds 1 + the slot's offset
}

void ExpectNeutralCurve(cHermiteSpline* pCurve)
{
    ASSERT_NE(pCurve, nullptr);
    EXPECT_EQ(pCurve->GetInterpolationMode(), eSplineFlatTangents);
    ASSERT_EQ(pCurve->GetPointCount(), 2);
    EXPECT_EQ(pCurve->GetPointAt(0).x, 0.0f);
    EXPECT_EQ(pCurve->GetPointAt(0).y, 0.5f);
    EXPECT_EQ(pCurve->GetPointAt(1).x, 1.0f);
    EXPECT_EQ(pCurve->GetPointAt(1).y, 0.5f);
}

TEST(EqualizerObject, BeginsNeutralWithBothStagesMarked)
{
    const auto renderer = std::make_unique<cColorEqRenderer>();
    EXPECT_EQ(renderer->fInput, nullptr);
    EXPECT_EQ(renderer->fOutput, nullptr);
    EXPECT_EQ(renderer->fHMV, nullptr);
    EXPECT_FALSE(renderer->fEncodeLUTValid);
    EXPECT_TRUE(renderer->fPrepareNeeded);
    EXPECT_TRUE(renderer->fFinalNeeded);
    ExpectNeutralCurve(renderer->fHHCurve);
    ExpectNeutralCurve(renderer->fHSCurve);
    ExpectNeutralCurve(renderer->fHLCurve);
    cColorSpace_ProPhotoRGB work;
    ExpectSameMatrix(renderer->fWorkToPCS, work.GetToPCSTransform());
    ExpectSameMatrix(renderer->fPCSToWork, work.GetFromPCSTransform());
    const auto neutral = std::make_unique<cYHMVColorSpace>();
    EXPECT_EQ(std::memcmp(renderer->fYHMVSpace->fHMVToRGBLUT, neutral->fHMVToRGBLUT, sizeof neutral->fHMVToRGBLUT), 0);
}

TEST(EqualizerObject, AFailedConstructionKeepsNothing)
{
    SKIP_UNLESS_ALLOCATIONS_ARE_COUNTED();
    const cAllocationScope scope;
    EXPECT_GE(FailEachAllocation([] { delete new cColorEqRenderer; }),
              15); // itself, table, and three curves of five blocks each
    EXPECT_EQ(scope.Held(), 0);
}

TEST(EqualizerObject, MembersGoInTheirOrderAndThePicturesStay)
{
    SKIP_UNLESS_ALLOCATIONS_ARE_COUNTED();
    sScene scene;
    scene.fRenderer->Render();
    cColorEqRenderer* renderer = scene.fRenderer.release();
    const void* const members[] = {renderer->fYHMVSpace, renderer->fHMV,     renderer->fHHCurve,
                                   renderer->fHLCurve,   renderer->fHSCurve, renderer};
    const std::vector<void*> deleted = DeletedBy([=] { delete renderer; });
    auto at = deleted.begin();
    for (const void* member : members) {
        at = std::find(at, deleted.end(), member);
        ASSERT_NE(at, deleted.end()) << "member " << member;
    }
    EXPECT_EQ(scene.fInput.fWidth, 37);
    EXPECT_EQ(scene.fOutput.fWidth, 37);
}

// ---- setters ----

void ClearFlags(cColorEqRenderer& pRenderer)
{
    pRenderer.fPrepareNeeded = pRenderer.fFinalNeeded = false;
    pRenderer.fEncodeLUTValid = true;
}

void ExpectFlags(const cColorEqRenderer& pRenderer, bool pPrepare, bool pFinal, bool pEncodeValid)
{
    EXPECT_EQ(pRenderer.fPrepareNeeded, pPrepare);
    EXPECT_EQ(pRenderer.fFinalNeeded, pFinal);
    EXPECT_EQ(pRenderer.fEncodeLUTValid, pEncodeValid);
}

TEST(EqualizerSetters, EachMarksWhatItChanges)
{
    sScene scene;
    cColorEqRenderer& renderer = *scene.fRenderer;
    ClearFlags(renderer);
    renderer.SetInput(&scene.fOutput);
    EXPECT_EQ(renderer.fInput, &scene.fOutput);
    ExpectFlags(renderer, true, true, false);

    ClearFlags(renderer);
    renderer.SetOutput(&scene.fInput);
    EXPECT_EQ(renderer.fOutput, &scene.fInput);
    ExpectFlags(renderer, false, true, false);

    ClearFlags(renderer);
    renderer.OutputColorSpaceChanged();
    ExpectFlags(renderer, false, true, false);

    ClearFlags(renderer);
    renderer.FinalRenderingNeeded();
    ExpectFlags(renderer, false, true, true);

    ClearFlags(renderer);
    renderer.AllRenderingNeeded();
    ExpectFlags(renderer, true, true, true);
}

TEST(EqualizerSetters, ANullPictureIsRefusedAndChangesNothing)
{
    sScene scene;
    cColorEqRenderer& renderer = *scene.fRenderer;
    ClearFlags(renderer);
    EXPECT_FAILURE(renderer.SetInput(nullptr), cArgumentNullException, "Argument pInput is null.",
                   "cColorEqRenderer.cpp", "Vornik::cColorEqRenderer::SetInput(Vornik::cBitmapLDR*)");
    EXPECT_FAILURE(renderer.SetOutput(nullptr), cArgumentNullException, "Argument pOutput is null.",
                   "cColorEqRenderer.cpp", "Vornik::cColorEqRenderer::SetOutput(Vornik::cBitmapLDR*)");
    EXPECT_EQ(renderer.fInput, &scene.fInput);
    EXPECT_EQ(renderer.fOutput, &scene.fOutput);
    ExpectFlags(renderer, false, false, true);
}

// What is thrown is the address of an object, which belongs to nobody.
template <class tException, class tCall>
bool ThrowsPointer(tCall pCall)
{
    try {
        pCall();
    } catch (tException* exception) {
        delete exception;
        return true;
    } catch (...) {
    }
    return false;
}

TEST(EqualizerFailures, OwnChecksThrowAPointer)
{
    cColorEqRenderer renderer;
    cHermiteSpline curve;
    EXPECT_TRUE(ThrowsPointer<cArgumentNullException>([&] { renderer.SetInput(nullptr); }));
    EXPECT_TRUE(ThrowsPointer<cArgumentNullException>([&] { renderer.SetOutput(nullptr); }));
    EXPECT_TRUE(ThrowsPointer<cArgumentNullException>([&] { renderer.SetHueCurves(nullptr, &curve, &curve); }));
    EXPECT_TRUE(ThrowsPointer<cArgumentNullException>([&] { renderer.SetHueCurves(&curve, nullptr, &curve); }));
    EXPECT_TRUE(ThrowsPointer<cArgumentNullException>([&] { renderer.SetHueCurves(&curve, &curve, nullptr); }));
    const auto expectRefused = [&] {
        renderer.fPrepareNeeded = false;
        renderer.fFinalNeeded = true;
        EXPECT_TRUE(ThrowsPointer<cInvalidOperationException>([&] { renderer.Render(); }));
        EXPECT_FALSE(renderer.fPrepareNeeded);
        EXPECT_TRUE(renderer.fFinalNeeded);
    };
    cBitmapBGR16 input(5, 4, eColorSpace_sRGB);
    cBitmapBGR16 wider(6, 4, eColorSpace_sRGB);
    cBitmapBGR16 higher(5, 5, eColorSpace_sRGB);
    expectRefused();
    renderer.SetInput(&input);
    expectRefused();
    renderer.SetOutput(&wider);
    expectRefused();
    renderer.SetOutput(&higher);
    expectRefused();
}

TEST(EqualizerRender, ARequestBeforeThePreparationKeepsTheOldRecords)
{
    sScene scene;
    cColorEqRenderer& renderer = *scene.fRenderer;
    renderer.Render();
    const cBitmapU16T* old = renderer.fHMV;
    ASSERT_NE(old, nullptr);
    renderer.fPrepareNeeded = true;
    bool cancel = true;
    bool cancelled = false;
    renderer.Render(&cancel, &cancelled);
    EXPECT_TRUE(cancelled);
    EXPECT_TRUE(renderer.fPrepareNeeded);
    EXPECT_EQ(renderer.fHMV, old);
}

TEST(EqualizerRender, TheTwoStagesCanBeCalledOnTheirOwn)
{
    sScene scene;
    cColorEqRenderer& renderer = *scene.fRenderer;
    renderer.Render();
    const std::vector<unsigned short> whole(scene.fOutput.fData,
                                            scene.fOutput.fData + scene.fOutput.fHeight * (scene.fOutput.fStride / 2));
    FillWith(scene.fOutput, kScribble);
    bool cancel = false;
    bool cancelled = false;
    renderer.PrepareForRendering(&cancel, &cancelled);
    EXPECT_TRUE(IsFilledWith(scene.fOutput, kScribble));
    renderer.FinalRendering(&cancel, &cancelled);
    EXPECT_FALSE(cancelled);
    for (int y = 0; y < scene.fOutput.fHeight; y++) {
        const int first = y * (scene.fOutput.fStride / 2);
        for (int i = first; i < first + 3 * scene.fOutput.fWidth; i++)
            ASSERT_EQ(scene.fOutput.fData[i], whole[static_cast<size_t>(i)]) << i;
    }
}

// ---- curves ----

TEST(EqualizerCurves, ANullCurveIsRefusedInOrderBeforeAnythingChanges)
{
    sScene scene;
    cColorEqRenderer& renderer = *scene.fRenderer;
    ClearFlags(renderer);
    const cHermiteSpline* held[] = {renderer.fHHCurve, renderer.fHSCurve, renderer.fHLCurve};
    const char* signature = "Vornik::cColorEqRenderer::SetHueCurves(constVornik::cHermiteSpline*,";
    EXPECT_FAILURE(renderer.SetHueCurves(nullptr, &scene.fSaturation, &scene.fLightness), cArgumentNullException,
                   "Argument pHHCurve is null.", "cColorEqRenderer.cpp", signature);
    EXPECT_FAILURE(renderer.SetHueCurves(&scene.fHue, nullptr, &scene.fLightness), cArgumentNullException,
                   "Argument pHSCurve is null.", "cColorEqRenderer.cpp", signature);
    EXPECT_FAILURE(renderer.SetHueCurves(&scene.fHue, &scene.fSaturation, nullptr), cArgumentNullException,
                   "Argument pHLCurve is null.", "cColorEqRenderer.cpp", signature);
    EXPECT_FAILURE(renderer.SetHueCurves(nullptr, nullptr, nullptr), cArgumentNullException,
                   "Argument pHHCurve is null.", "cColorEqRenderer.cpp", signature);
    EXPECT_FAILURE(renderer.SetHueCurves(&scene.fHue, nullptr, nullptr), cArgumentNullException,
                   "Argument pHSCurve is null.", "cColorEqRenderer.cpp", signature);
    EXPECT_EQ(renderer.fHHCurve, held[0]);
    EXPECT_EQ(renderer.fHSCurve, held[1]);
    EXPECT_EQ(renderer.fHLCurve, held[2]);
    ExpectFlags(renderer, false, false, true);
}

TEST(EqualizerCurves, EqualCurvesAreKeptAndMarkNothing)
{
    cColorEqRenderer renderer;
    const cHermiteSpline same(*renderer.fHHCurve);
    const cHermiteSpline* held[] = {renderer.fHHCurve, renderer.fHSCurve, renderer.fHLCurve};
    ClearFlags(renderer);
    renderer.SetHueCurves(&same, &same, &same);
    EXPECT_EQ(renderer.fHHCurve, held[0]);
    EXPECT_EQ(renderer.fHSCurve, held[1]);
    EXPECT_EQ(renderer.fHLCurve, held[2]);
    ExpectFlags(renderer, false, false, true);
}

TEST(EqualizerCurves, OneThatDiffersIsCopiedAndMarksTheFinalStage)
{
    const cHermiteSpline other(0.0f, 0.5f, 1.0f, 0.6f);
    for (int changed = 0; changed < 3; ++changed) {
        cColorEqRenderer renderer;
        const cHermiteSpline same(*renderer.fHHCurve);
        cHermiteSpline** const held[] = {&renderer.fHHCurve, &renderer.fHSCurve, &renderer.fHLCurve};
        const cHermiteSpline* before[] = {renderer.fHHCurve, renderer.fHSCurve, renderer.fHLCurve};
        ClearFlags(renderer);
        renderer.SetHueCurves(changed == 0 ? &other : &same, changed == 1 ? &other : &same,
                              changed == 2 ? &other : &same);
        for (int i = 0; i < 3; ++i) {
            EXPECT_EQ(*held[i] != before[i], i == changed);
            EXPECT_NE(*held[i], &other);
        }
        EXPECT_TRUE(**held[changed] == other);
        ExpectFlags(renderer, false, true, true);
    }
}

TEST(EqualizerCurves, TheOldCurveGoes)
{
    SKIP_UNLESS_ALLOCATIONS_ARE_COUNTED();
    cColorEqRenderer renderer;
    const cHermiteSpline other(0.0f, 0.5f, 1.0f, 0.6f);
    renderer.SetHueCurves(&other, &other, &other);
    const cHermiteSpline third(0.0f, 0.5f, 1.0f, 0.7f);
    const cAllocationScope scope;
    renderer.SetHueCurves(&third, &third, &third);
    EXPECT_EQ(scope.Held(), 0);
}

// A copy takes six blocks: itself, four tables, the points. One that fails leaves its curve; those before it stay
// changed.
TEST(EqualizerCurves, AFailedCopyLeavesThatCurveAndKeepsTheOnesBefore)
{
    SKIP_UNLESS_ALLOCATIONS_ARE_COUNTED();
    const cHermiteSpline other(0.0f, 0.5f, 1.0f, 0.6f);
    for (int number = 0; number < 18; ++number) {
        const auto renderer = std::make_unique<cColorEqRenderer>();
        cHermiteSpline** const held[] = {&renderer->fHHCurve, &renderer->fHSCurve, &renderer->fHLCurve};
        const cHermiteSpline* before[] = {renderer->fHHCurve, renderer->fHSCurve, renderer->fHLCurve};
        ClearFlags(*renderer);
        {
            const cAllocationScope scope(number);
            EXPECT_THROW(renderer->SetHueCurves(&other, &other, &other), std::bad_alloc);
            EXPECT_EQ(scope.Held(), 0);
        }
        for (int i = 0; i < 3; ++i)
            EXPECT_EQ(*held[i] != before[i], i < number / 6) << number << ' ' << i;
        ExpectFlags(*renderer, false, number >= 6, true);
    }
}

// ---- rendering ----

TEST(EqualizerRender, ChecksComeInOrder)
{
    sScene scene;
    cBitmapBGR16 narrow(36, 11, eColorSpace_sRGB), low(37, 10, eColorSpace_sRGB), small(36, 10, eColorSpace_sRGB);
    const char* signature = "Vornik::cColorEqRenderer::Render(bool*,bool*)";
    cColorEqRenderer& renderer = *scene.fRenderer;

    renderer.fInput = nullptr;
    EXPECT_FAILURE(renderer.Render(), cInvalidOperationException, "Input image is not set.", "cColorEqRenderer.cpp",
                   signature);
    renderer.fOutput = nullptr;
    EXPECT_FAILURE(renderer.Render(), cInvalidOperationException, "Input image is not set.", "cColorEqRenderer.cpp",
                   signature);
    renderer.fInput = &scene.fInput;
    EXPECT_FAILURE(renderer.Render(), cInvalidOperationException, "Output image is not set.", "cColorEqRenderer.cpp",
                   signature);
    renderer.fOutput = &narrow;
    EXPECT_FAILURE(renderer.Render(), cInvalidOperationException,
                   "The input and output images do not have the same width.", "cColorEqRenderer.cpp", signature);
    renderer.fOutput = &small;
    EXPECT_FAILURE(renderer.Render(), cInvalidOperationException,
                   "The input and output images do not have the same width.", "cColorEqRenderer.cpp", signature);
    renderer.fOutput = &low;
    EXPECT_FAILURE(renderer.Render(), cInvalidOperationException,
                   "The input and output images do not have the same height.", "cColorEqRenderer.cpp", signature);
}

TEST(EqualizerRender, ARefusedCallLeavesTheFlags)
{
    sScene scene;
    cColorEqRenderer& renderer = *scene.fRenderer;
    for (const bool marked : {false, true}) {
        renderer.fPrepareNeeded = marked;
        renderer.fFinalNeeded = !marked;
        renderer.fEncodeLUTValid = marked;
        renderer.fOutput = nullptr;
        EXPECT_TRUE(ThrowsPointer<cInvalidOperationException>([&] { renderer.Render(); }));
        ExpectFlags(renderer, marked, !marked, marked);
        EXPECT_EQ(renderer.fHMV, nullptr);
    }
}

TEST(EqualizerRender, EqualsTheStepsByHandForBothDepthsAndAllSpaces)
{
    CaptureStderr([] { // the 8-bit bitmap leaves a line there when it goes
        for (const eColorSpaceID from : {eColorSpace_sRGB, eColorSpace_AdobeRGB98, eColorSpace_ProPhotoRGB})
            for (const eColorSpaceID to : {eColorSpace_sRGB, eColorSpace_AdobeRGB98, eColorSpace_ProPhotoRGB}) {
                sScene scene;
                cBitmapBGR8 bytes(37, 11, from);
                cRandom random(42);
                for (int i = 0; i < bytes.fStride * 11; ++i)
                    bytes.fData[i] = static_cast<unsigned char>(random.Word());
                cBitmapBGR16 out(37, 11, to), expected(37, 11, to);
                scene.SetCurves();
                scene.fRenderer->SetInput(&bytes);
                scene.fRenderer->SetOutput(&out);
                scene.fRenderer->Render();
                RenderByHand(bytes, expected, scene.fHue, scene.fSaturation, scene.fLightness);
                EXPECT_TRUE(SameSamples(out, expected));
                EXPECT_FALSE(IsFilledWith(out, out.fData[0]));
            }
    });
}

TEST(EqualizerRender, EightBitOutputTakesTheHighBytes)
{
    CaptureStderr([] {
        sScene scene;
        scene.SetCurves();
        cBitmapBGR8 bytes(37, 11, eColorSpace_AdobeRGB98);
        scene.fRenderer->SetOutput(&bytes);
        scene.fRenderer->Render();
        cBitmapBGR16 expected(37, 11, eColorSpace_AdobeRGB98);
        RenderByHand(scene.fInput, expected, scene.fHue, scene.fSaturation, scene.fLightness);
        for (int y = 0; y < 11; ++y)
            for (int n = 0; n < 3 * 37; ++n)
                ASSERT_EQ(bytes.fData[y * bytes.fStride + n], expected.fData[y * (expected.fStride / 2) + n] >> 8);
    });
}

TEST(EqualizerRender, ASecondCallDoesNothing)
{
    SKIP_UNLESS_ALLOCATIONS_ARE_COUNTED();
    sScene scene;
    scene.fRenderer->Render();
    ExpectFlags(*scene.fRenderer, false, false, true);
    EXPECT_FALSE(IsFilledWith(scene.fOutput, kScribble));
    FillWith(scene.fOutput, kScribble);
    FillWithNoise(scene.fInput, 77);
    const cAllocationScope scope;
    scene.fRenderer->Render();
    EXPECT_EQ(scope.Tried(), 0);
    EXPECT_TRUE(IsFilledWith(scene.fOutput, kScribble));
    const cHermiteSpline same(*scene.fRenderer->fHHCurve);
    scene.fRenderer->SetHueCurves(&same, &same, &same);
    scene.fRenderer->Render();
    EXPECT_TRUE(IsFilledWith(scene.fOutput, kScribble));
}

// The records of the first picture are used again although its samples have changed since.
TEST(EqualizerRender, ACurveOrAnOutputRunsTheFinalStageAlone)
{
    sScene scene;
    scene.fRenderer->Render();
    const cBitmapU16T* records = scene.fRenderer->fHMV;
    cBitmapBGR16 expected(37, 11, eColorSpace_ProPhotoRGB);
    RenderByHand(scene.fInput, expected, scene.fHue, scene.fSaturation, scene.fLightness);

    FillWithNoise(scene.fInput, 77);
    scene.SetCurves();
    cBitmapBGR16 out(37, 11, eColorSpace_ProPhotoRGB);
    scene.fRenderer->SetOutput(&out);
    EXPECT_FALSE(scene.fRenderer->fEncodeLUTValid);
    scene.fRenderer->Render();
    EXPECT_EQ(scene.fRenderer->fHMV, records);
    EXPECT_TRUE(SameSamples(out, expected));
}

TEST(EqualizerRender, ANewInputRunsBothStages)
{
    SKIP_UNLESS_ALLOCATIONS_ARE_COUNTED();
    sScene scene;
    scene.SetCurves();
    scene.fRenderer->Render();
    cBitmapBGR16 other(12, 5, eColorSpace_ProPhotoRGB), out(12, 5, eColorSpace_sRGB), expected(12, 5, eColorSpace_sRGB);
    FillWithNoise(other, 78);
    const cAllocationScope scope;
    scene.fRenderer->SetInput(&other);
    scene.fRenderer->SetOutput(&out);
    scene.fRenderer->Render();
    EXPECT_EQ(scope.Held(), 0); // the old records are gone
    EXPECT_EQ(scene.fRenderer->fHMV->fWidth, 12);
    EXPECT_EQ(scene.fRenderer->fHMV->fPlanes, HMVPixel::kPlanes);
    RenderByHand(other, expected, scene.fHue, scene.fSaturation, scene.fLightness);
    EXPECT_TRUE(SameSamples(out, expected));
}

TEST(EqualizerRender, AnOutputsNewColourSpaceIsSeenOnceItIsTold)
{
    sScene scene;
    scene.fRenderer->Render();
    scene.fOutput.AssignColorSpace(eColorSpace_ProPhotoRGB);
    scene.fRenderer->OutputColorSpaceChanged();
    scene.fRenderer->Render();
    cBitmapBGR16 expected(37, 11, eColorSpace_ProPhotoRGB);
    cHermiteSpline neutral(*scene.fRenderer->fHHCurve);
    RenderByHand(scene.fInput, expected, neutral, neutral, neutral);
    EXPECT_TRUE(SameSamples(scene.fOutput, expected));
}

// What is left is the rounding of the tables and of the hue. The hue loses up to one of 65535 steps, six steps of a
// primary; the matrix adds its rows' absolute values to that, at most 3.1 for these spaces; index and encoding lose up
// to one step each, the last one times the steepest slope of a decoding, 2.4.
TEST(EqualizerRender, NeutralCurvesKeepThePicture)
{
    for (const eColorSpaceID space : {eColorSpace_sRGB, eColorSpace_AdobeRGB98, eColorSpace_ProPhotoRGB}) {
        cBitmapBGR16 input(256, 64, space), output(256, 64, space);
        FillWithNoise(input, 43);
        cColorEqRenderer renderer;
        renderer.SetInput(&input);
        renderer.SetOutput(&output);
        renderer.Render();
        cTransfer& decode = *input.GetColorSpace()->GetToLinearTransfer();
        for (size_t i = 0; i < 256 * 3 * 64; ++i) {
            const float before = decode.Function(static_cast<float>(input.fData[i]) / 65535.0f);
            const float after = decode.Function(static_cast<float>(output.fData[i]) / 65535.0f);
            ASSERT_LE(std::fabs(before - after) * 65535.0f, 6.0f * 3.1f + 1.0f + 2.4f) << "sample " << i;
        }
    }
}

// ---- the inputs of the final stage ----

// An encoding that leaves the unit interval.
class cWildTransfer : public cTransfer
{
public:
    cTransfer* Clone() const override { return new cWildTransfer; }
    float Function(float pX) override
    {
        const int i = static_cast<int>(pX * 65535.0f + 0.5f);
        const float values[] = {2.0f, -1.0f, kNaN, 1e30f, kInfinity, 0.999999f, 1.0f, pX};
        return values[i % 8];
    }
};

TEST(EqualizerInputs, TheEncodeTableSaturatesTo32BitsAndKeeps16)
{
    sScene scene;
    delete scene.fOutput.fColorSpace->fFromLinear;
    scene.fOutput.fColorSpace->fFromLinear = new cWildTransfer;
    cMatrix33 matrix;
    unsigned short *encode, *hue;
    float *saturation, *lightness;
    scene.fRenderer->PreprocessCurvesAndTransforms(matrix, encode, saturation, lightness, hue);
    const unsigned short expected[] = {65534, 0, 0, 65535, 65535, 65534, 65535};
    for (int i = 0; i < 7; ++i)
        EXPECT_EQ(encode[800 + i], expected[i]) << i;
    EXPECT_EQ(encode[807], static_cast<unsigned short>(static_cast<float>(807) * FromBits(0x37800080) * 65535.0f));
}

TEST(EqualizerInputs, TablesAreTheRenderersAndTheCurves)
{
    sScene scene;
    scene.SetCurves();
    cColorEqRenderer& renderer = *scene.fRenderer;
    cMatrix33 matrix;
    unsigned short *encode = nullptr, *hue = nullptr;
    float *saturation = nullptr, *lightness = nullptr;
    renderer.PreprocessCurvesAndTransforms(matrix, encode, saturation, lightness, hue);
    EXPECT_EQ(encode, renderer.fEncodeLUT);
    EXPECT_EQ(saturation, renderer.fHSCurve->GetLUT16f());
    EXPECT_EQ(lightness, renderer.fHLCurve->GetLUT16f());
    EXPECT_EQ(hue, renderer.fHHCurve->GetLUT16i());
    EXPECT_TRUE(renderer.fEncodeLUTValid);
}

TEST(EqualizerInputs, AValidEncodeTableIsKept)
{
    sScene scene;
    cColorEqRenderer& renderer = *scene.fRenderer;
    renderer.fEncodeLUTValid = true;
    std::fill_n(renderer.fEncodeLUT, 65536, static_cast<unsigned short>(0x1234));
    renderer.Render();
    EXPECT_TRUE(IsFilledWith(scene.fOutput, 0x1234));
}

// ---- pictures without a colour space ----

TEST(EqualizerColourSpace, AnOutputWithoutOneIsRefusedBeforeAnyStage)
{
    sScene scene;
    cBitmapBGR16 bare(37, 11, static_cast<eColorSpaceID>(9));
    FillWith(bare, kScribble);
    cColorEqRenderer& renderer = *scene.fRenderer;
    renderer.SetOutput(&bare);
    const auto expectRefused = [&] {
        EXPECT_FAILURE(renderer.Render(), cInvalidOperationException, "Color space is not set.", "cColorEqRenderer.cpp",
                       "Vornik::cColorEqRenderer::Render(bool*,bool*)");
        EXPECT_THROW(renderer.Render(), cInvalidOperationException); // an object
        EXPECT_EQ(renderer.fHMV, nullptr);
        ExpectFlags(renderer, true, true, false);
        EXPECT_TRUE(IsFilledWith(bare, kScribble));
    };
    expectRefused();
    cColorSpace_GenericRGB shell; // a space without transfers
    bare.AssignColorSpace(&shell);
    expectRefused();

    renderer.fInput = nullptr; // the four checks of its own come first
    EXPECT_TRUE(ThrowsPointer<cInvalidOperationException>([&] { renderer.Render(); }));
}

TEST(EqualizerColourSpace, AnOutputWithoutOneIsRefusedWhateverIsMarked)
{
    sScene scene;
    cColorEqRenderer& renderer = *scene.fRenderer;
    renderer.Render();
    cBitmapBGR16 bare(37, 11, static_cast<eColorSpaceID>(9));
    cBitmapBGR16 other(37, 11, eColorSpace_sRGB);
    cColorSpace_GenericRGB shell; // a space without transfers
    other.AssignColorSpace(&shell);
    for (cBitmapBGR16* output : {&bare, &other})
        for (const bool final : {false, true}) {
            renderer.fOutput = output; // the encode table of the output before stands
            renderer.fFinalNeeded = final;
            bool cancel = true;
            bool cancelled = false;
            EXPECT_THROW(renderer.Render(&cancel, &cancelled), cInvalidOperationException) << "a request to stop";
            EXPECT_THROW(renderer.Render(), cInvalidOperationException);
            EXPECT_FALSE(cancelled);
            ExpectFlags(renderer, false, final, true);
        }
}

TEST(EqualizerColourSpace, AnInputWithoutOneReportsThroughTheConversion)
{
    sScene scene;
    cBitmapBGR16 bare(37, 11, static_cast<eColorSpaceID>(9));
    cColorEqRenderer& renderer = *scene.fRenderer;
    renderer.Render();
    renderer.SetInput(&bare);
    EXPECT_FAILURE(renderer.Render(), cInvalidOperationException, "Color space is not set.", "cYHMVColorSpace.cpp",
                   "Vornik::cYHMVColorSpace::RGBToHMV(");
    EXPECT_THROW(renderer.Render(), cInvalidOperationException); // an object
    EXPECT_EQ(renderer.fHMV, nullptr);
    ExpectFlags(renderer, true, true, false);
}

// ---- memory ----

TEST(EqualizerMemory, AFailedPreparationStartsOver)
{
    SKIP_UNLESS_ALLOCATIONS_ARE_COUNTED();
    sScene scene;
    cColorEqRenderer& renderer = *scene.fRenderer;
    renderer.Render();
    for (long number = 0;; ++number) {
        renderer.AllRenderingNeeded();
        FillWith(scene.fOutput, kScribble);
        const cAllocationScope scope(number);
        try {
            renderer.Render();
        } catch (const std::bad_alloc&) {
            EXPECT_EQ(renderer.fHMV, nullptr);
            ExpectFlags(renderer, true, true, true);
            EXPECT_TRUE(IsFilledWith(scene.fOutput, kScribble));
            continue;
        }
        EXPECT_LE(scope.Tried(), number);
        EXPECT_GE(number, 3); // records, tiles or transfer table, working space
        break;
    }
    ExpectFlags(renderer, false, false, true);
    EXPECT_FALSE(IsFilledWith(scene.fOutput, kScribble));
}

TEST(EqualizerMemory, ARepeatedFinalStageAllocatesNothing)
{
    SKIP_UNLESS_ALLOCATIONS_ARE_COUNTED();
    sScene scene;
    scene.fRenderer->Render();
    scene.fRenderer->FinalRenderingNeeded();
    const cAllocationScope scope;
    scene.fRenderer->Render();
    EXPECT_EQ(scope.Tried(), 0);
}

// ---- cancelling ----

TEST(EqualizerCancel, BeforePreparationNothingIsAllocated)
{
    SKIP_UNLESS_ALLOCATIONS_ARE_COUNTED();
    sScene scene;
    bool cancel = true, cancelled = false;
    const cAllocationScope scope;
    scene.fRenderer->Render(&cancel, &cancelled);
    EXPECT_TRUE(cancelled);
    EXPECT_TRUE(cancel);
    EXPECT_EQ(scope.Tried(), 0);
    EXPECT_EQ(scene.fRenderer->fHMV, nullptr);
    ExpectFlags(*scene.fRenderer, true, true, false);
    EXPECT_TRUE(IsFilledWith(scene.fOutput, kScribble));
}

// A decoding that sets the flag when it is asked for, so in the middle of the preparation.
class cCancellingTransfer : public cTransfer
{
public:
    explicit cCancellingTransfer(bool* pCancel) : fCancel(pCancel) {}
    cTransfer* Clone() const override { return new cCancellingTransfer(fCancel); }
    float Function(float pX) override
    {
        *fCancel = true;
        return pX;
    }

private:
    bool* fCancel;
};

TEST(EqualizerCancel, AfterPreparationTheWholeStageRunsAgain)
{
    sScene scene;
    bool cancel = false, cancelled = false;
    delete scene.fInput.fColorSpace->fToLinear;
    scene.fInput.fColorSpace->fToLinear = new cCancellingTransfer(&cancel);
    scene.fRenderer->Render(&cancel, &cancelled);
    EXPECT_TRUE(cancelled);
    EXPECT_NE(scene.fRenderer->fHMV, nullptr);
    ExpectFlags(*scene.fRenderer, true, true, false);
    EXPECT_TRUE(IsFilledWith(scene.fOutput, kScribble));

    scene.fRenderer->Render();
    ExpectFlags(*scene.fRenderer, false, false, true);
    EXPECT_FALSE(IsFilledWith(scene.fOutput, kScribble));
}

TEST(EqualizerCancel, BetweenTheHueTableAndThePixels)
{
    sScene scene;
    cColorEqRenderer& renderer = *scene.fRenderer;
    renderer.Render();
    FillWith(scene.fOutput, kScribble);
    scene.SetCurves();
    bool cancel = true, cancelled = false;
    renderer.Render(&cancel, &cancelled);
    EXPECT_TRUE(cancelled);
    ExpectFlags(renderer, false, true, true);
    EXPECT_TRUE(IsFilledWith(scene.fOutput, kScribble));
    const auto expected = std::make_unique<cYHMVColorSpace>();
    expected->UpdateHMVToRGBLUT(scene.fSaturation.GetLUT16f(), scene.fHue.GetLUT16i());
    EXPECT_EQ(std::memcmp(renderer.fYHMVSpace->fHMVToRGBLUT, expected->fHMVToRGBLUT, sizeof expected->fHMVToRGBLUT), 0);

    renderer.Render();
    ExpectFlags(renderer, false, false, true);
    EXPECT_FALSE(IsFilledWith(scene.fOutput, kScribble));
}

// pCancelled is never cleared: a caller who passes it set finds the stage done, and marked all the same.
TEST(EqualizerCancel, AnOldAcknowledgementStopsAfterPreparationAndKeepsTheMarks)
{
    sScene scene;
    cColorEqRenderer& renderer = *scene.fRenderer;
    bool cancel = false, cancelled = true;
    renderer.Render(&cancel, &cancelled);
    ExpectFlags(renderer, true, true, false);
    renderer.fPrepareNeeded = false;
    renderer.Render(&cancel, &cancelled);
    ExpectFlags(renderer, false, true, true);
    EXPECT_FALSE(IsFilledWith(scene.fOutput, kScribble));
    EXPECT_TRUE(cancelled);
    EXPECT_FALSE(cancel);
}

} // namespace
