#include "render/Scene.h"
#include "support/Host.h"

#include "yhmv/cYHMVColorSpace.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>

using namespace Vornik;
using namespace SelvaneTest;

namespace
{

/// The key that a final stage takes, read back from the field that remembers it.
float KeyOf(float pContrast, bool pFollows, float pGlobalContrast)
{
    sScene scene(2, 2);
    scene.Render();
    cTmRenderer& r = *scene.fRenderer;
    r.fContrast = pContrast;
    r.fContrastFollowsGlobal = pFollows;
    r.fGlobalContrast = pGlobalContrast;
    scene.Mark(false, false, false, true);
    scene.Render();
    return r.fContrastKey;
}

float Key(double pContrast, double pGlobalContrast)
{
    const double perPoint = 0.0034999999999999996;
    const auto base = static_cast<float>((pContrast + 100.0) * 0.005);
    return std::min(1.0f, static_cast<float>(std::fma(pGlobalContrast, perPoint, static_cast<double>(base))));
}

TEST(FinalRendering, TheContrastKeyRisesWithTheGlobalContrast)
{
    EXPECT_EQ(KeyOf(-100.0f, false, 50.0f), 0.0f);
    EXPECT_EQ(KeyOf(100.0f, false, 50.0f), 1.0f);
    EXPECT_EQ(KeyOf(20.0f, false, 50.0f), static_cast<float>(120.0 * 0.005));
    EXPECT_EQ(KeyOf(20.0f, true, -5.0f), static_cast<float>(120.0 * 0.005)) << "a negative contrast leaves it alone";
    for (float global : {0.0f, 7.0f, 40.0f, 47.0f, 73.0f})
        EXPECT_EQ(KeyOf(20.0f, true, global), Key(20.0, static_cast<double>(global))) << global;
    EXPECT_EQ(KeyOf(20.0f, true, 1000.0f), 1.0f) << "1 at most";
    EXPECT_EQ(KeyOf(20.0f, true, -0.0f), static_cast<float>(120.0 * 0.005)) << "not below 0";
}

TEST(FinalRendering, TheContrastTableIsTheCurveAtTheKeyInDouble)
{
    sScene scene(2, 2);
    scene.Render();
    cContrastCurve curve;
    // the renderer's own key frames, copied out
    cTmRenderer& r = *scene.fRenderer;
    curve.SetKeyFrames(eSplineManualTangents, 2, 5, r.fContrastCurve->GetKeyFrames());
    curve.InterpolateControlPoints(Key(20.0, 47.0));
    const unsigned short* table = curve.GetLUT16i();
    for (int i = 0; i < 65536; i++)
        ASSERT_EQ(r.fContrastLUT[i], static_cast<float>(table[i] * (1.0 / 65535.0))) << i;
    EXPECT_EQ(r.fContrastLUT[65535], 1.0f);
}

TEST(FinalRendering, TheContrastTableIsBuiltOnceAKey)
{
    sScene scene(2, 2);
    scene.Render();
    cTmRenderer& r = *scene.fRenderer;
    r.fContrastLUT[5] = 0.123f;
    scene.Mark(false, false, false, true);
    scene.Render();
    EXPECT_EQ(r.fContrastLUT[5], 0.123f) << "the same key";
    r.fContrast = 21.0f;
    scene.Mark(false, false, false, true);
    scene.Render();
    EXPECT_NE(r.fContrastLUT[5], 0.123f) << "another key";
}

TEST(FinalRendering, AnInvalidatedContrastCurveIsFilledAgainThoughTheKeyIsTheSame)
{
    sScene scene(2, 2);
    scene.Render();
    cTmRenderer& r = *scene.fRenderer;
    r.fContrastCurve->InvalidateLUTs();
    ASSERT_FALSE(r.fContrastCurve->fLUT16iValid);
    r.fContrastLUT[5] = 0.123f;
    scene.Mark(false, false, false, true);
    scene.Render();
    EXPECT_TRUE(r.fContrastCurve->fLUT16iValid);
    EXPECT_EQ(r.fContrastLUT[5], 0.123f);
}

/// A transfer without a value.
class cNoTransfer : public cTransfer
{
public:
    cTransfer* Clone() const override { return new cNoTransfer; }
    float Function(float) override { throw 7; }
};

/// An output that asks to stop when the decoder reads its depth.
class cLateRequest : public cBitmapBGR16
{
public:
    cLateRequest(int pWidth, int pHeight, bool& pCancel)
        : cBitmapBGR16(pWidth, pHeight, eColorSpace_sRGB), fCancel(pCancel)
    {
    }

    int GetBitsPerChannel() const override
    {
        fCancel = true;
        return 16;
    }

private:
    bool& fCancel;
};

TEST(FinalRendering, ARequestThatComesDuringThePixelsIsNotSeen)
{
    sScene scene(20, 10);
    scene.Render();
    cLateRequest output(20, 10, scene.fCancel);
    scene.fRenderer->SetOutput(&output);
    scene.Render();
    EXPECT_TRUE(scene.fCancel);
    EXPECT_FALSE(scene.fCancelled);
    EXPECT_EQ(scene.Marks(), "----");
    for (int y = 0; y < 10; y++)
        EXPECT_EQ(std::memcmp(output.fData + y * (output.fStride / 2),
                              scene.fOutput.fData + y * (scene.fOutput.fStride / 2), 20 * 3 * sizeof(unsigned short)),
                  0);
}

TEST(FinalRendering, AnExceptionFromTheTransferLeavesTheMarks)
{
    sScene scene(2, 2);
    cBitmapBGR16 output(2, 2, eColorSpace_sRGB);
    delete output.GetColorSpace()->fFromLinear;
    output.GetColorSpace()->fFromLinear = new cNoTransfer;
    scene.fRenderer->SetOutput(&output);
    EXPECT_THROW(scene.Render(), int);
    EXPECT_EQ(scene.Marks(), "---F");
    EXPECT_FALSE(scene.fRenderer->fEncodeLUTValid);
}

TEST(FinalRendering, TheEncodeTableIsTheOutputsTransferTruncated)
{
    for (int space = 0; space < 3; space++) {
        sScene scene(2, 2);
        cBitmapBGR16 output(2, 2, static_cast<eColorSpaceID>(space));
        scene.fRenderer->SetOutput(&output);
        scene.Render();
        cTransfer* transfer = output.GetColorSpace()->GetFromLinearTransfer();
        for (int i = 0; i < 65536; i++) {
            const float encoded = transfer->Function(static_cast<float>(i) * (1.0f / 65535.0f)) * 65535.0f;
            ASSERT_EQ(scene.fRenderer->fEncodeLUT[i], static_cast<unsigned short>(encoded)) << space << " " << i;
        }
    }
}

/// A transfer whose values leave the unit interval.
class cWild : public cTransfer
{
public:
    cTransfer* Clone() const override { return new cWild; }
    float Function(float pValue) override
    {
        if (pValue < 0.2f) return -3.0f;
        if (pValue < 0.4f) return std::numeric_limits<float>::quiet_NaN();
        if (pValue < 0.6f) return 1e30f;
        return 3.0f;
    }
};

TEST(FinalRendering, EncodedValuesSaturateToThirtyTwoBitsAndKeepTheLowSixteen)
{
    sScene scene(2, 2);
    cBitmapBGR16 output(2, 2, eColorSpace_sRGB);
    cColorSpace* space = output.GetColorSpace();
    delete space->fFromLinear;
    space->fFromLinear = new cWild;
    scene.fRenderer->SetOutput(&output);
    scene.Render();
    EXPECT_EQ(scene.fRenderer->fEncodeLUT[0], 0) << "negative";
    EXPECT_EQ(scene.fRenderer->fEncodeLUT[20000], 0) << "NaN";
    EXPECT_EQ(scene.fRenderer->fEncodeLUT[30000], 0xFFFF) << "beyond 32 bits: their low half";
    EXPECT_EQ(scene.fRenderer->fEncodeLUT[65535], static_cast<unsigned short>(3u * 65535u));
}

TEST(FinalRendering, TheEncodeTableStaysUntilInputOutputOrSpaceChange)
{
    sScene scene(2, 2);
    scene.Render();
    cTmRenderer& r = *scene.fRenderer;
    const auto rebuilt = [&](const std::function<void()>& pCall) {
        r.fEncodeLUT[100] = 1;
        pCall();
        r.FinalRenderingNeeded();
        scene.Render();
        return r.fEncodeLUT[100] != 1;
    };
    EXPECT_FALSE(rebuilt([] {}));
    EXPECT_TRUE(rebuilt([&] { r.OutputColorSpaceChanged(); }));
    EXPECT_TRUE(rebuilt([&] { r.SetOutput(&scene.fOutput); }));
    EXPECT_TRUE(rebuilt([&] { r.SetInput(&scene.fInput); }));
}

/// What the decoder makes of the scene's compact picture with the numbers given.
std::vector<unsigned short> Decoded(sScene& pScene, float pScale, float pBlack, float pWhite)
{
    cTmRenderer& r = *pScene.fRenderer;
    cBitmapBGR16 output(pScene.fInput.fWidth, pScene.fInput.fHeight, eColorSpace_sRGB);
    const cMatrix33 a = output.GetColorSpace()->GetFromPCSTransform();
    const cMatrix33 b = r.fWorkToPCS;
    const float* l = &a.m00;
    const float* m = &b.m00;
    float p[9];
    for (int i = 0; i < 3; i++)
        for (int j = 0; j < 3; j++)
            p[3 * i + j] = l[3 * i] * m[j] + l[3 * i + 1] * m[3 + j] + l[3 * i + 2] * m[6 + j];
    r.fYHMVSpace->YHMVToRGB(r.fYHMV, &output, r.fEncodeLUT, pScale, pBlack, pWhite,
                            cMatrix33{p[0], p[1], p[2], p[3], p[4], p[5], p[6], p[7], p[8]}, r.fContrastLUT, nullptr);
    std::vector<unsigned short> samples;
    for (int y = 0; y < output.fHeight; y++)
        samples.insert(samples.end(), output.fData + y * (output.fStride / 2),
                       output.fData + y * (output.fStride / 2) + 3 * output.fWidth);
    return samples;
}

TEST(FinalRendering, BlackAndWhiteRuleUnlessTheirDifferenceIsOne)
{
    sScene scene(30, 20);
    scene.Render();
    cTmRenderer& r = *scene.fRenderer;
    EXPECT_EQ(scene.Samples(), Decoded(scene, 123.0f, r.fBlack, r.fWhite)) << "the scale has no effect here";
    r.fBlack = 0.5f;
    r.fWhite = 1.5f;
    scene.Mark(false, false, false, true);
    scene.Render();
    EXPECT_EQ(scene.Samples(), Decoded(scene, r.fExposure, 0.5f, 1.5f)) << "a difference of exactly 1: exposure";
    EXPECT_NE(scene.Samples(), Decoded(scene, 2.0f * r.fExposure, 0.5f, 1.5f));
}

TEST(FinalRendering, TheScaleIsTwoToTheStopsTimesTheAutomaticExposure)
{
    sScene scene(30, 20);
    scene.Render();
    cTmRenderer& r = *scene.fRenderer;
    r.fBlack = 0.0f;
    r.fWhite = 1.0f;
    for (bool automatic : {true, false})
        for (float stops : {0.0f, -1.5f, 0.7f}) {
            r.fUseAutoExposure = automatic;
            r.fExposureEV = stops;
            scene.Mark(false, false, false, true);
            scene.Render();
            const auto scale = static_cast<float>(std::exp2(static_cast<double>(stops)) *
                                                  (automatic ? static_cast<double>(r.fExposure) : 1.0));
            EXPECT_EQ(scene.Samples(), Decoded(scene, scale, 0.0f, 1.0f)) << automatic << stops;
        }
}

TEST(FinalRendering, SaturationActsAndLightnessDoesNot)
{
    sScene scene(30, 20);
    scene.Render();
    const std::vector<unsigned short> neutral = scene.Samples();
    cTmRenderer& r = *scene.fRenderer;
    const cHermiteSpline flat(*r.fHHCurve);
    cHermiteSpline low(flat);
    low.MovePoint(0, 0.0f, 0.25f);
    low.MovePoint(1, 1.0f, 0.25f);
    r.SetHueCurves(&flat, &flat, &low);
    scene.Render();
    EXPECT_EQ(scene.Samples(), neutral) << "hue to lightness is not used on this road";
    r.SetHueCurves(&flat, &low, &flat);
    scene.Render();
    EXPECT_NE(scene.Samples(), neutral);
    r.SetHueCurves(&low, &flat, &flat);
    scene.Render();
    EXPECT_NE(scene.Samples(), neutral);
}

TEST(FinalRendering, TheStageSplitsNoWorkAndCanRunAgain)
{
    sScene scene(30, 20);
    scene.fRenderer->SetNbProc(4);
    scene.Render();
    const std::vector<unsigned short> first = scene.Samples();
    const cHostScope host;
    scene.Mark(false, false, true, true);
    scene.Render();
    EXPECT_EQ(host.Calls().size(), 0u);
    EXPECT_EQ(scene.Samples(), first);
}

} // namespace
