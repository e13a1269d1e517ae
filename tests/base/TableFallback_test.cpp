#include "base/Numeric.h"
#include "base/QuickMath.h"
#include "curve/cTransfer.h"
#include "render/Scene.h"

#include <cmath>
#include <cstdint>
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

// Tables are worked out quickly, and the C library is asked where the bounds of the quick value round to two floats.
// pow and exp of this program stand before the system's, for the library too, and can give an answer that shows in a
// table.

namespace
{

std::optional<double> gAnswer; // instead of the system's
int gAsked = 0;

template <class tFunction>
tFunction* OfTheSystem(const char* pName)
{
    return reinterpret_cast<tFunction*>(::dlsym(RTLD_NEXT, pName));
}

} // namespace

extern "C" double pow(double pBase, double pPower) noexcept
{
    static auto* const system = OfTheSystem<double(double, double)>("pow");
    gAsked++;
    return gAnswer ? *gAnswer : system(pBase, pPower);
}

extern "C" double exp(double pX) noexcept
{
    static auto* const system = OfTheSystem<double(double)>("exp");
    gAsked++;
    return gAnswer ? *gAnswer : system(pX);
}

namespace
{

using namespace Vornik;
using namespace SelvaneTest;

constexpr double kAnswer = 0.3141592; // which no table of these tests has
constexpr double kPowerError = 0x1p-42;
constexpr double kExpError = 0x1p-44;
constexpr int kEntries = 65536;

/// Answers with kAnswer for as long as it lives, and counts the questions.
class cAnswering
{
public:
    cAnswering()
    {
        gAsked = 0;
        gAnswer = kAnswer;
    }
    ~cAnswering() { gAnswer.reset(); }
    cAnswering(const cAnswering&) = delete;
    cAnswering& operator=(const cAnswering&) = delete;
};

float Place(int pIndex)
{
    return static_cast<float>(pIndex) * kFromSample16;
}

bool IsCertain(double pValue, double pError)
{
    return static_cast<float>(pValue - pValue * pError) == static_cast<float>(pValue + pValue * pError);
}

/// The whole table of a transfer.
std::unique_ptr<cTransferLUT_I16F32> TableOf(cTransfer& pTransfer)
{
    return std::make_unique<cTransferLUT_I16F32>(&pTransfer);
}

/// Entry i has to be pPlain(i), and where pIsAsked(i) also what the C library answers, through pOfAnswer.
template <class tPlain, class tIsAsked>
int ExpectAskedEntries(cTransfer& pTransfer, float pOfAnswer, tPlain pPlain, tIsAsked pIsAsked)
{
    const auto plain = TableOf(pTransfer);
    std::unique_ptr<cTransferLUT_I16F32> answered;
    int questions = 0;
    {
        const cAnswering answering;
        answered = TableOf(pTransfer);
        questions = gAsked;
    }
    int asked = 0;
    for (int i = 0; i < kEntries; i++) {
        EXPECT_EQ(plain->fLUT[i], pPlain(Place(i))) << i;
        const bool isAsked = pIsAsked(Place(i));
        EXPECT_EQ(answered->fLUT[i], isAsked ? pOfAnswer : plain->fLUT[i]) << i;
        asked += isAsked ? 1 : 0;
    }
    EXPECT_EQ(questions, asked);
    return asked;
}

TEST(TableFallback, PowersAreThoseOfTheSystemWhereTwoFloatsArePossible)
{
    int asked = 0;
    for (int step = 0; step < 30; step++) {
        const float gamma =
            step % 2 == 0 ? 1.0f + 0.06f * static_cast<float>(step) : 1.0f / (1.0f + 0.06f * static_cast<float>(step));
        const double power = 1.0 / static_cast<double>(gamma);
        cTransferGamma transfer(gamma);
        asked += ExpectAskedEntries(
            transfer, static_cast<float>(kAnswer),
            [=](float pX) { return static_cast<float>(std::pow(static_cast<double>(pX), power)); },
            [=](float pX) {
                return pX == 0.0f || !IsCertain(QuickPower(static_cast<double>(pX), power), kPowerError);
            });
    }
    EXPECT_GT(asked, 30 + 2) << "beside the 0 of each table";
}

TEST(TableFallback, TheCurveTo_sRGBIsThatOfTheSystemWhereTwoFloatsArePossible)
{
    cTransferLinearTo_sRGB transfer;
    const int asked = ExpectAskedEntries(
        transfer, static_cast<float>(std::fma(kAnswer, 1.055, -0.055)),
        [](float pX) {
            if (!(pX > 0.0031308f)) return pX * 12.92f;
            return static_cast<float>(std::fma(std::pow(static_cast<double>(pX), 1.0 / 2.4), 1.055, -0.055));
        },
        [](float pX) {
            const double curved = QuickPower(static_cast<double>(pX), 1.0 / 2.4) * 1.055 - 0.055;
            return pX > 0.0031308f && !IsCertain(curved, 4.0 * kPowerError);
        });
    EXPECT_GT(asked, 0);
}

TEST(TableFallback, TheCurveFrom_sRGBIsThatOfTheSystemWhereTwoFloatsArePossible)
{
    cTransfer_sRGBToLinear transfer;
    const auto base = [](float pX) { return (static_cast<double>(pX) + 0.055) * (1.0 / 1.055); };
    ExpectAskedEntries(
        transfer, static_cast<float>(kAnswer),
        [=](float pX) {
            if (!(pX > 0.04045f)) return pX * (1.0f / 12.92f);
            return static_cast<float>(std::pow(base(pX), 2.4));
        },
        [=](float pX) { return pX > 0.04045f && !IsCertain(QuickPower(base(pX), 2.4), kPowerError); });
}

TEST(TableFallback, GammasOutsideTheBoundAskForEveryEntry)
{
    for (const float gamma : {1.0f / 7.5f, 0.0f, -2.0f}) {
        cTransferGamma transfer(gamma);
        const cAnswering answering;
        const auto table = TableOf(transfer);
        EXPECT_EQ(gAsked, kEntries) << gamma;
        EXPECT_EQ(table->fLUT[40000], static_cast<float>(kAnswer));
    }
}

class cSquareRoot : public cTransferGamma
{
public:
    cSquareRoot() : cTransferGamma(2.0f) {}
    cTransfer* Clone() const override { return new cSquareRoot; }
    float Function(float /*pValue*/) override { return 0.75f; }
};

TEST(TableFallback, ADescendantIsAskedForEveryEntry)
{
    cSquareRoot transfer;
    const auto table = TableOf(transfer);
    for (const float entry : table->fLUT)
        ASSERT_EQ(entry, 0.75f);
}

// ---- the tables of the layers ----

/// The exponent that entry pIndex stands for, without compression and adaptation.
double Exponent(int pIndex, float pMin, float pMax)
{
    const auto x = static_cast<float>(pIndex * (1.0 / 65535.0));
    return static_cast<double>(std::fma(pMax - pMin, x, pMin)) * 2.302585092994046;
}

int ExpectAskedEntries(const float (&pTable)[kEntries], float pMin, float pMax)
{
    int asked = 0;
    for (int i = 0; i < kEntries; i++) {
        const double exponent = Exponent(i, pMin, pMax);
        const bool isAsked = !IsCertain(QuickExp(exponent), kExpError);
        const auto plain = static_cast<float>(std::exp(exponent));
        EXPECT_EQ(pTable[i], isAsked ? static_cast<float>(kAnswer) : plain) << i;
        asked += isAsked ? 1 : 0;
    }
    return asked;
}

TEST(TableFallback, LayersAskTheSystemWhereTwoFloatsArePossible)
{
    int asked = 0;
    for (unsigned seed = 1; seed <= 24; seed++) {
        sScene scene(24, 18, 4.0f, seed);
        cTmRenderer& r = *scene.fRenderer;
        sParams params;
        params.fGlobalContrast = 0.0f;
        params.Set(r);
        scene.Render();
        scene.Mark(false, false, true, false);
        int questions = 0;
        {
            const cAnswering answering;
            scene.Render();
            questions = gAsked;
        }
        const int expected = ExpectAskedEntries(r.fGlobalLUT, r.fBaseMin, r.fBaseMax) +
                             ExpectAskedEntries(r.fDetailLUT, r.fDetailMin, r.fDetailMax);
        EXPECT_GE(questions, expected); // and one or two for the exposure
        asked += expected;
    }
    EXPECT_GT(asked, 0);
}

} // namespace
