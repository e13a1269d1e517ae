// Conversions of depth and colour: every sample by the rule, worked out here one at a time.

#include "image/cImageUtils.h"

#include "image/Pictures.h"

using namespace Vornik;
using namespace SelvaneTest;

namespace
{

constexpr cMatrix33 kMixing = {0.4124f, -1.3576f, 0.1805f, 0.2126f, 0.7152f, -0.0722f, 1.0193f, 0.1192f, -0.9505f};
constexpr cMatrix33 kMild = {0.3f, 0.5f, 0.15f, 0.2f, 0.6f, 0.1f, 0.05f, 0.15f, 0.75f};

/// Widths around the lengths of vectors and strips.
const std::vector<int> kWidths = {1, 2, 3, 4, 5, 7, 8, 15, 16, 17, 31, 33, 63, 64, 65, 127, 128, 129, 255, 257, 300};

/// Scaling with both ends clamped and the rest truncated; a NaN gives the largest sample.
unsigned Clamped(float pValue, unsigned pLargest)
{
    if (pValue < 0.0f) return 0;
    if (!(pValue <= 1.0f)) return pLargest;
    return static_cast<unsigned>(pValue * static_cast<float>(pLargest));
}

size_t IndexOf(float pValue)
{
    return Clamped(pValue, 65535);
}

float FusedSum(float pM0, float pM1, float pM2, float pV0, float pV1, float pV2)
{
    const float middle = pM1 * pV1;
    const float two = std::fma(pM0, pV0, middle);
    return std::fma(pM2, pV2, two);
}

/// A picture one row high that holds the values, the last pixel filled up with 0.
std::unique_ptr<cBitmapXYZ32> RowOf(const std::vector<float>& pValues)
{
    auto picture = MakePicture<cBitmapXYZ32>(static_cast<int>((pValues.size() + 2) / 3), 1);
    size_t next = 0;
    SetSamples(*picture, [&] { return next < pValues.size() ? pValues[next++] : 0.0f; });
    return picture;
}

/// A picture that holds every value of a sample once.
template <class tBitmap>
std::unique_ptr<tBitmap> AllSamples()
{
    const int count = sizeof(tSampleOf<tBitmap>) == 1 ? 256 : 65536;
    auto picture = MakePicture<tBitmap>((count + 2) / 3, 1);
    int next = 0;
    SetSamples(*picture, [&] { return next++ % count; });
    return picture;
}

TEST(Scaling, AnIntegerSampleIsMultipliedByTheFloatReciprocal)
{
    const float step8 = std::bit_cast<float>(0x3B808081u);
    const float step16 = std::bit_cast<float>(0x37800080u);
    const auto narrow = AllSamples<cBitmapBGR8>();
    const auto wide = AllSamples<cBitmapBGR16>();
    auto narrowFloats = MakePicture<cBitmapXYZ32>(narrow->fWidth, 1);
    auto wideFloats = MakePicture<cBitmapXYZ32>(wide->fWidth, 1);

    cImageUtils::BGR8ToBGR32(narrow.get(), narrowFloats.get());
    cImageUtils::BGR16ToBGR32(wide.get(), wideFloats.get());

    ForEachSample(*narrow, [&](int x, int y, int c) {
        ASSERT_TRUE(Same(At(*narrowFloats, x, y, c), static_cast<float>(At(*narrow, x, y, c)) * step8));
    });
    ForEachSample(*wide, [&](int x, int y, int c) {
        ASSERT_TRUE(Same(At(*wideFloats, x, y, c), static_cast<float>(At(*wide, x, y, c)) * step16));
    });
    EXPECT_EQ(At(*narrowFloats, 85, 0, 0), 1.0f);  // sample 255
    EXPECT_EQ(At(*wideFloats, 21845, 0, 0), 1.0f); // sample 65535
}

TEST(Scaling, EightBitsComeBackUnchanged)
{
    const auto source = AllSamples<cBitmapBGR8>();
    const std::unique_ptr<cBitmapXYZ32> floats(cImageUtils::BGR8ToBGR32(source.get()));
    auto back = MakePicture<cBitmapBGR8>(source->fWidth, 1);
    cImageUtils::BGR32ToBGR8(floats.get(), back.get());
    EXPECT_EQ(BlockOf(*source), BlockOf(*back));
}

TEST(Scaling, SixteenBitsLoseOneStepOn512Values)
{
    const auto source = AllSamples<cBitmapBGR16>();
    const std::unique_ptr<cBitmapXYZ32> floats(cImageUtils::BGR16ToBGR32(source.get()));
    auto back = MakePicture<cBitmapBGR16>(source->fWidth, 1);
    cImageUtils::BGR32ToBGR16(floats.get(), back.get());

    int lost = 0;
    int first = -1;
    for (int i = 0; i < 65536; ++i) {
        const int before = source->fData[i];
        const int after = back->fData[i];
        if (before == after) continue;
        ASSERT_EQ(after, before - 1);
        if (first < 0) first = before;
        ++lost;
    }
    EXPECT_EQ(lost, 512);
    EXPECT_EQ(first, 257);
}

TEST(Scaling, FloatsAreClampedAndTruncated)
{
    const auto source = RowOf(CriticalFloats());
    auto narrow = MakePicture<cBitmapBGR8>(source->fWidth, 1);
    auto wide = MakePicture<cBitmapBGR16>(source->fWidth, 1);
    cImageUtils::BGR32ToBGR8(source.get(), narrow.get());
    cImageUtils::BGR32ToBGR16(source.get(), wide.get());
    ForEachSample(*source, [&](int x, int y, int c) {
        ASSERT_EQ(At(*narrow, x, y, c), Clamped(At(*source, x, y, c), 255)) << At(*source, x, y, c);
        ASSERT_EQ(At(*wide, x, y, c), Clamped(At(*source, x, y, c), 65535)) << At(*source, x, y, c);
    });
}

TEST(Scaling, NamedValues)
{
    const auto source = RowOf({0.5f, 1.0f, 1.0000001f, -0.0f, kNaN, -1e-30f});
    auto narrow = MakePicture<cBitmapBGR8>(2, 1);
    auto wide = MakePicture<cBitmapBGR16>(2, 1);
    cImageUtils::BGR32ToBGR8(source.get(), narrow.get());
    cImageUtils::BGR32ToBGR16(source.get(), wide.get());
    const unsigned char narrowExpected[6] = {127, 255, 255, 0, 255, 0};
    const unsigned short wideExpected[6] = {32767, 65535, 65535, 0, 65535, 0};
    for (int i = 0; i < 6; ++i) {
        EXPECT_EQ(narrow->fData[i], narrowExpected[i]) << i;
        EXPECT_EQ(wide->fData[i], wideExpected[i]) << i;
    }
}

TEST(Depth, SixteenBitsAreDividedBy257)
{
    const auto source = AllSamples<cBitmapBGR16>();
    auto target = MakePicture<cBitmapBGR8>(source->fWidth, 1);
    cImageUtils::Convert(source.get(), target.get());
    for (int i = 0; i < 65536; ++i)
        ASSERT_EQ(target->fData[i], i / 257);
    EXPECT_EQ(target->fData[256], 0);
    EXPECT_EQ(target->fData[257], 1);
    EXPECT_EQ(target->fData[65535], 255);
}

TEST(Depth, AByteIsDoubledAndComesBack)
{
    const auto source = AllSamples<cBitmapBGR8>();
    auto wide = MakePicture<cBitmapBGR16>(source->fWidth, 1);
    auto back = MakePicture<cBitmapBGR8>(source->fWidth, 1);
    cImageUtils::Convert(source.get(), wide.get());
    cImageUtils::Convert(wide.get(), back.get());
    for (int i = 0; i < 256; ++i)
        ASSERT_EQ(wide->fData[i], (i << 8) + i);
    EXPECT_EQ(BlockOf(*source), BlockOf(*back));
}

// ---- Transfers through the colour space's tables --------------------------------------------------------------------

class Transfer : public ::testing::TestWithParam<eColorSpaceID>
{
};

INSTANTIATE_TEST_SUITE_P(Spaces, Transfer,
                         ::testing::Values(eColorSpace_sRGB, eColorSpace_AdobeRGB98, eColorSpace_ProPhotoRGB));

TEST_P(Transfer, EverySampleIsDecodedByItsTableEntry)
{
    const auto narrow = AllSamples<cBitmapBGR8>();
    const auto wide = AllSamples<cBitmapBGR16>();
    narrow->AssignColorSpace(GetParam());
    wide->AssignColorSpace(GetParam());
    const std::unique_ptr<cBitmapXYZ32> narrowFloats(cImageUtils::BGR8ToBGR32Linear(narrow.get()));
    const std::unique_ptr<cBitmapXYZ32> wideFloats(cImageUtils::BGR16ToBGR32Linear(wide.get()));

    const std::unique_ptr<cColorSpace> space(cColorSpace::FromID(GetParam()));
    cTransfer* const toLinear = space->GetToLinearTransfer();
    for (int i = 0; i < 256; ++i) {
        const float expected = toLinear->Function(static_cast<float>(i) * std::bit_cast<float>(0x3B808081u));
        ASSERT_TRUE(Same(narrowFloats->fData[i], expected)) << i;
    }
    for (int i = 0; i < 65536; ++i) {
        const float expected = toLinear->Function(static_cast<float>(i) * std::bit_cast<float>(0x37800080u));
        ASSERT_TRUE(Same(wideFloats->fData[i], expected)) << i;
    }
}

TEST_P(Transfer, AFloatIsEncodedByTheEntryOfItsIndex)
{
    const auto source = RowOf(CriticalFloats());
    const std::unique_ptr<cBitmapBGR8> narrow(cImageUtils::BGR32LinearToBGR8(source.get(), GetParam()));
    const std::unique_ptr<cBitmapBGR16> wide(cImageUtils::BGR32LinearToBGR16(source.get(), GetParam()));

    const std::unique_ptr<cColorSpace> space(cColorSpace::FromID(GetParam()));
    const auto narrowTable = std::make_unique<cTransferLUT_F32I8>(space->GetFromLinearTransfer());
    const auto wideTable = std::make_unique<cTransferLUT_F32I16>(space->GetFromLinearTransfer());
    ForEachSample(*source, [&](int x, int y, int c) {
        const float value = At(*source, x, y, c);
        ASSERT_EQ(At(*narrow, x, y, c), narrowTable->fLUT[IndexOf(value)]) << value;
        ASSERT_EQ(At(*wide, x, y, c), wideTable->fLUT[IndexOf(value)]) << value;
    });
}

TEST(TransferIndex, JustBelowOneIsNotTheLastEntryButNaNIs)
{
    cTransferGamma curve(1.0f);
    const auto table = std::make_unique<cTransferLUT_F32I16>(&curve);
    for (int i = 0; i < 65536; ++i)
        table->fLUT[i] = static_cast<unsigned short>(i);
    constexpr cMatrix33 firstThrice = {1, 0, 0, 1, 0, 0, 1, 0, 0};
    const struct
    {
        float fValue;
        unsigned short fIndex;
    } cases[] = {{0.99999994f, 65534}, {1.0f, 65535}, {1.0000001f, 65535}, {kInfinity, 65535}, {kNaN, 65535}, {0.0f, 0},
                 {-0.0f, 0},           {-1e-45f, 0},  {0.5f, 32767},       {0.25f, 16383}};
    for (const auto& [value, index] : cases) {
        auto source = MakePicture<cBitmapXYZ32>(1, 1);
        auto target = MakePicture<cBitmapBGR16>(1, 1);
        cImageUtils::Fill(source.get(), value, 0.0f, 0.0f);
        cImageUtils::Float3ToBGR16(source.get(), target.get(), table.get(), firstThrice);
        for (int c = 0; c < 3; ++c)
            EXPECT_EQ(target->fData[c], index) << value;
    }
}

TEST(TransferIndex, TheSameRuleHoldsForEightBits)
{
    cTransferGamma curve(1.0f);
    const auto table = std::make_unique<cTransferLUT_F32I8>(&curve);
    for (int i = 0; i < 65536; ++i)
        table->fLUT[i] = static_cast<unsigned char>(i == 65535 ? 1 : i == 65534 ? 2 : i == 0 ? 3 : 4);
    constexpr cMatrix33 firstThrice = {1, 0, 0, 1, 0, 0, 1, 0, 0};
    const struct
    {
        float fValue;
        unsigned char fEntry;
    } cases[] = {{0.99999994f, 2}, {1.0f, 1}, {kInfinity, 1}, {kNaN, 1}, {0.0f, 3}, {-1.0f, 3}, {0.5f, 4}};
    for (const auto& [value, entry] : cases) {
        auto source = MakePicture<cBitmapXYZ32>(1, 1);
        auto target = MakePicture<cBitmapBGR8>(1, 1);
        cImageUtils::Fill(source.get(), value, 0.0f, 0.0f);
        cImageUtils::Float3ToBGR8(source.get(), target.get(), table.get(), firstThrice);
        for (int c = 0; c < 3; ++c)
            EXPECT_EQ(target->fData[c], entry) << value;
    }
}

TEST(TransferIndex, TheIntegerPicturesOwnSpaceIsUsed)
{
    auto source = MakePicture<cBitmapXYZ32>(1, 1);
    cImageUtils::Fill(source.get(), 0.2f);
    auto sRGB = MakePicture<cBitmapBGR16>(1, 1);
    auto proPhoto = MakePicture<cBitmapBGR16>(1, 1);
    proPhoto->AssignColorSpace(eColorSpace_ProPhotoRGB);
    cImageUtils::BGR32LinearToBGR16(source.get(), sRGB.get());
    cImageUtils::BGR32LinearToBGR16(source.get(), proPhoto.get());
    EXPECT_NE(sRGB->fData[0], proPhoto->fData[0]);
}

// ---- Transfer and matrix --------------------------------------------------------------------------------------------

/// A curve whose table reaches below 0 and above 1, so that the matrix meets all signs.
class cWide : public cTransfer
{
public:
    cTransfer* Clone() const override { return new cWide; }
    float Function(float pValue) override { return pValue * pValue * 3.1f - 0.7f; }
};

template <class tBitmap, class tTable, class tOperation>
void ExpectColourToXYZ(const tOperation& pOperation)
{
    cWide curve;
    const auto table = std::make_unique<tTable>(&curve);
    for (const int width : kWidths) {
        auto source = MakePicture<tBitmap>(width, 3, 5);
        auto target = MakePicture<cBitmapXYZ32>(width, 3, 9);
        SetRandom(*source, static_cast<unsigned>(width));
        pOperation(source.get(), target.get(), table.get(), kMixing);
        for (int y = 0; y < 3; ++y)
            for (int x = 0; x < width; ++x) {
                const float b = table->fLUT[At(*source, x, y, 0)];
                const float g = table->fLUT[At(*source, x, y, 1)];
                const float r = table->fLUT[At(*source, x, y, 2)];
                const cMatrix33& m = kMixing;
                ASSERT_TRUE(Same(At(*target, x, y, 0), FusedSum(m.m00, m.m01, m.m02, r, g, b)));
                ASSERT_TRUE(Same(At(*target, x, y, 1), FusedSum(m.m10, m.m11, m.m12, r, g, b)));
                ASSERT_TRUE(Same(At(*target, x, y, 2), FusedSum(m.m20, m.m21, m.m22, r, g, b)));
            }
        ExpectPaddingUntouched(*target);
    }
}

TEST(Float3, EightBitsToXYZGoThroughTableAndFusedMatrix)
{
    ExpectColourToXYZ<cBitmapBGR8, cTransferLUT_I8F32>(
        [](auto* s, auto* t, auto* l, cMatrix33 m) { cImageUtils::BGR8ToFloat3(s, t, l, m); });
}

TEST(Float3, SixteenBitsToXYZGoThroughTableAndFusedMatrix)
{
    ExpectColourToXYZ<cBitmapBGR16, cTransferLUT_I16F32>(
        [](auto* s, auto* t, auto* l, cMatrix33 m) { cImageUtils::BGR16ToFloat3(s, t, l, m); });
}

/// Fills the table so that neighbouring indices give different samples.
template <class tTable>
std::unique_ptr<tTable> DistinctEntries()
{
    cTransferGamma curve(1.0f);
    auto table = std::make_unique<tTable>(&curve);
    for (unsigned i = 0; i < 65536; ++i)
        table->fLUT[i] = static_cast<std::remove_reference_t<decltype(table->fLUT[0])>>(i * 40503u >> 3);
    return table;
}

template <class tBitmap, class tTable, class tOperation>
void ExpectXYZToColour(const tOperation& pOperation)
{
    const auto table = DistinctEntries<tTable>();
    for (const int width : kWidths) {
        auto source = MakePicture<cBitmapXYZ32>(width, 3, 6);
        auto target = MakePicture<tBitmap>(width, 3, 3);
        SetRandom(*source, static_cast<unsigned>(width));
        pOperation(source.get(), target.get(), table.get(), kMild);
        for (int y = 0; y < 3; ++y)
            for (int x = 0; x < width; ++x) {
                const float c0 = At(*source, x, y, 0);
                const float c1 = At(*source, x, y, 1);
                const float c2 = At(*source, x, y, 2);
                const cMatrix33& m = kMild;
                const float r = FusedSum(m.m00, m.m01, m.m02, c0, c1, c2);
                const float g = FusedSum(m.m10, m.m11, m.m12, c0, c1, c2);
                const float b = FusedSum(m.m20, m.m21, m.m22, c0, c1, c2);
                ASSERT_EQ(At(*target, x, y, 0), table->fLUT[IndexOf(b)]);
                ASSERT_EQ(At(*target, x, y, 1), table->fLUT[IndexOf(g)]);
                ASSERT_EQ(At(*target, x, y, 2), table->fLUT[IndexOf(r)]);
            }
        ExpectPaddingUntouched(*target);
    }
}

TEST(Float3, XYZToEightBitsGoesThroughFusedMatrixAndTable)
{
    ExpectXYZToColour<cBitmapBGR8, cTransferLUT_F32I8>(
        [](auto* s, auto* t, auto* l, cMatrix33 m) { cImageUtils::Float3ToBGR8(s, t, l, m); });
}

TEST(Float3, XYZToSixteenBitsGoesThroughFusedMatrixAndTable)
{
    ExpectXYZToColour<cBitmapBGR16, cTransferLUT_F32I16>(
        [](auto* s, auto* t, auto* l, cMatrix33 m) { cImageUtils::Float3ToBGR16(s, t, l, m); });
}

TEST(Float3, EveryTermIsFusedInItsPlace)
{
    // Values whose sums cancel, so that a product rounded elsewhere, or another order, leaves another rest.
    cTransferGamma curve(1.0f);
    const auto table = std::make_unique<cTransferLUT_I8F32>(&curve);
    table->fLUT[0] = 0x1.000002p0f; // blue
    table->fLUT[1] = 0x1.000006p0f; // green
    table->fLUT[2] = 0x1.00000ap0f; // red
    const float x = 0x1.00000ep0f;
    const float y = 0x1.000012p0f;
    const cMatrix33 matrix = {x, -y, 0x1p-24f, x, y, -2.0f, -y, 0x1p-23f, x};
    auto source = MakePicture<cBitmapBGR8>(1, 1);
    auto target = MakePicture<cBitmapXYZ32>(1, 1);
    for (int c = 0; c < 3; ++c)
        source->fData[c] = static_cast<unsigned char>(c);
    cImageUtils::BGR8ToFloat3(source.get(), target.get(), table.get(), matrix);
    const float b = table->fLUT[0];
    const float g = table->fLUT[1];
    const float r = table->fLUT[2];
    EXPECT_TRUE(Same(target->fData[0], std::fma(matrix.m02, b, std::fma(matrix.m00, r, matrix.m01 * g))));
    EXPECT_TRUE(Same(target->fData[1], std::fma(matrix.m12, b, std::fma(matrix.m10, r, matrix.m11 * g))));
    EXPECT_TRUE(Same(target->fData[2], std::fma(matrix.m22, b, std::fma(matrix.m20, r, matrix.m21 * g))));
    EXPECT_FALSE(Same(target->fData[0], (matrix.m00 * r + matrix.m01 * g) + matrix.m02 * b));
    EXPECT_FALSE(Same(target->fData[0], std::fma(matrix.m00, r, std::fma(matrix.m02, b, matrix.m01 * g))));
    EXPECT_FALSE(Same(target->fData[0], std::fma(matrix.m02, b, std::fma(matrix.m01, g, matrix.m00 * r))));
}

// ---- Rows -----------------------------------------------------------------------------------------------------------

/// Runs a conversion over all widths, with rows of different lengths in source and target, and checks each sample.
template <class tFrom, class tTo, class tOperation, class tRule>
void ExpectEachSample(const tOperation& pOperation, const tRule& pRule)
{
    for (const int width : kWidths) {
        auto source = MakePicture<tFrom>(width, 5, 7);
        auto target = MakePicture<tTo>(width, 5, 18);
        SetRandom(*source, static_cast<unsigned>(width));
        const auto before = BlockOf(*source);
        pOperation(source.get(), target.get());
        ForEachSample(*source, [&](int x, int y, int c) {
            ASSERT_EQ(At(*target, x, y, c), pRule(At(*source, x, y, c)))
                << width << ": " << x << ", " << y << ", " << c;
        });
        ExpectPaddingUntouched(*target);
        ASSERT_EQ(BlockOf(*source), before);
    }
}

TEST(Rows, EachConversionFollowsBothStridesAndLeavesThePadding)
{
    ExpectEachSample<cBitmapBGR8, cBitmapXYZ32>([](auto* s, auto* t) { cImageUtils::BGR8ToBGR32(s, t); },
                                                [](unsigned char v) { return static_cast<float>(v) * 0x1.010102p-8f; });
    ExpectEachSample<cBitmapBGR16, cBitmapXYZ32>(
        [](auto* s, auto* t) { cImageUtils::BGR16ToBGR32(s, t); },
        [](unsigned short v) { return static_cast<float>(v) * 0x1.0001p-16f; });
    ExpectEachSample<cBitmapXYZ32, cBitmapBGR8>([](auto* s, auto* t) { cImageUtils::BGR32ToBGR8(s, t); },
                                                [](float v) { return Clamped(v, 255); });
    ExpectEachSample<cBitmapXYZ32, cBitmapBGR16>([](auto* s, auto* t) { cImageUtils::BGR32ToBGR16(s, t); },
                                                 [](float v) { return Clamped(v, 65535); });
    ExpectEachSample<cBitmapBGR16, cBitmapBGR8>([](auto* s, auto* t) { cImageUtils::Convert(s, t); },
                                                [](unsigned short v) { return v / 257; });
    ExpectEachSample<cBitmapBGR8, cBitmapBGR16>([](auto* s, auto* t) { cImageUtils::Convert(s, t); },
                                                [](unsigned char v) { return v * 257; });
}

TEST(Rows, EachTransferFollowsBothStridesAndLeavesThePadding)
{
    cTransfer_sRGBToLinear toLinear;
    cTransferLinearTo_sRGB fromLinear;
    const auto decode8 = std::make_unique<cTransferLUT_I8F32>(&toLinear);
    const auto decode16 = std::make_unique<cTransferLUT_I16F32>(&toLinear);
    const auto encode8 = std::make_unique<cTransferLUT_F32I8>(&fromLinear);
    const auto encode16 = std::make_unique<cTransferLUT_F32I16>(&fromLinear);
    ExpectEachSample<cBitmapBGR8, cBitmapXYZ32>([](auto* s, auto* t) { cImageUtils::BGR8ToBGR32Linear(s, t); },
                                                [&](unsigned char v) { return decode8->fLUT[v]; });
    ExpectEachSample<cBitmapBGR16, cBitmapXYZ32>([](auto* s, auto* t) { cImageUtils::BGR16ToBGR32Linear(s, t); },
                                                 [&](unsigned short v) { return decode16->fLUT[v]; });
    ExpectEachSample<cBitmapXYZ32, cBitmapBGR8>([](auto* s, auto* t) { cImageUtils::BGR32LinearToBGR8(s, t); },
                                                [&](float v) { return encode8->fLUT[IndexOf(v)]; });
    ExpectEachSample<cBitmapXYZ32, cBitmapBGR16>([](auto* s, auto* t) { cImageUtils::BGR32LinearToBGR16(s, t); },
                                                 [&](float v) { return encode16->fLUT[IndexOf(v)]; });
}

// ---- Forms that make their target -----------------------------------------------------------------------------------

TEST(Making, TheTargetHasTheSourcesSizeAndTheSamplesOfTheOtherForm)
{
    auto narrow = MakePicture<cBitmapBGR8>(6, 3);
    auto wide = MakePicture<cBitmapBGR16>(6, 3);
    SetRandom(*narrow, 1);
    SetRandom(*wide, 2);
    const auto expectSame = [](cBitmapXYZ32* pMade, cBitmapXYZ32& pExpected) {
        const std::unique_ptr<cBitmapXYZ32> made(pMade);
        EXPECT_EQ(made->fWidth, 6);
        EXPECT_EQ(made->fHeight, 3);
        ForEachSample(*made, [&](int x, int y, int c) { EXPECT_EQ(At(*made, x, y, c), At(pExpected, x, y, c)); });
    };
    auto expected = MakePicture<cBitmapXYZ32>(6, 3);
    cImageUtils::BGR8ToBGR32(narrow.get(), expected.get());
    expectSame(cImageUtils::BGR8ToBGR32(narrow.get()), *expected);
    cImageUtils::BGR16ToBGR32(wide.get(), expected.get());
    expectSame(cImageUtils::BGR16ToBGR32(wide.get()), *expected);
    cImageUtils::BGR8ToBGR32Linear(narrow.get(), expected.get());
    expectSame(cImageUtils::BGR8ToBGR32Linear(narrow.get()), *expected);
    cImageUtils::BGR16ToBGR32Linear(wide.get(), expected.get());
    expectSame(cImageUtils::BGR16ToBGR32Linear(wide.get()), *expected);
}

TEST(Making, AnIntegerTargetTakesTheColourSpace)
{
    auto source = MakePicture<cBitmapXYZ32>(6, 3);
    SetRandom(*source, 3);
    const std::unique_ptr<cColorSpace> adobe(cColorSpace::FromID(eColorSpace_AdobeRGB98));
    const auto expectSame = [&](auto* pMade, auto pOperation) {
        using tBitmap = std::remove_pointer_t<decltype(pMade)>;
        const std::unique_ptr<tBitmap> made(pMade);
        auto expected = MakePicture<tBitmap>(6, 3);
        expected->AssignColorSpace(eColorSpace_AdobeRGB98);
        pOperation(source.get(), expected.get());
        EXPECT_EQ(made->fWidth, 6);
        EXPECT_EQ(made->fHeight, 3);
        EXPECT_STREQ(made->fColorSpace->GetName(), adobe->GetName());
        ForEachSample(*made, [&](int x, int y, int c) { EXPECT_EQ(At(*made, x, y, c), At(*expected, x, y, c)); });
    };
    expectSame(cImageUtils::BGR32ToBGR8(source.get(), eColorSpace_AdobeRGB98),
               [](auto* s, auto* t) { cImageUtils::BGR32ToBGR8(s, t); });
    expectSame(cImageUtils::BGR32ToBGR16(source.get(), eColorSpace_AdobeRGB98),
               [](auto* s, auto* t) { cImageUtils::BGR32ToBGR16(s, t); });
    expectSame(cImageUtils::BGR32LinearToBGR8(source.get(), eColorSpace_AdobeRGB98),
               [](auto* s, auto* t) { cImageUtils::BGR32LinearToBGR8(s, t); });
    expectSame(cImageUtils::BGR32LinearToBGR16(source.get(), eColorSpace_AdobeRGB98),
               [](auto* s, auto* t) { cImageUtils::BGR32LinearToBGR16(s, t); });
}

TEST(Making, AScalingNeedsNoColourSpace)
{
    auto source = MakePicture<cBitmapXYZ32>(2, 2);
    cImageUtils::Fill(source.get(), 1.0f);
    const std::unique_ptr<cBitmapBGR8> made(cImageUtils::BGR32ToBGR8(source.get(), static_cast<eColorSpaceID>(3)));
    EXPECT_EQ(made->fColorSpace, nullptr);
    EXPECT_EQ(made->fData[0], 255);
}

} // namespace
