#include "bitmap/cBitmapXYZ32.h"
#include "color/cColorSpace.h"
#include "entry/Call.h"
#include "render/cTmRenderer.h"
#include "support/Host.h"
#include "support/Records.h"

#include <gtest/gtest.h>

#include <malloc.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <functional>
#include <map>

using namespace Vornik;
using namespace SelvaneTest;

namespace
{

const cBitmapXYZ32* PictureOf(const sDivideCall& pDivide)
{
    return static_cast<const cBitmapXYZ32*>(GetField(pDivide.fRecord.data(), MinMaxRecord::kPicture));
}

/// The XYZ picture that the entry builds, read when the first record reaches the work splitter.
std::vector<float> XYZOf(const std::function<void()>& pRun)
{
    std::vector<float> xyz;
    sCutting cutting;
    cutting.fBeforeCall = [&](const sDivideCall& pDivide) {
        if (pDivide.fFunction != &CalcMinMaxLog_tile_threaded) return;
        const cBitmapXYZ32* const bitmap = PictureOf(pDivide);
        for (int y = 0; y < bitmap->fHeight; y++)
            xyz.insert(xyz.end(), bitmap->fData + y * (bitmap->fStride / 4),
                       bitmap->fData + y * (bitmap->fStride / 4) + 3 * bitmap->fWidth);
    };
    const cHostScope host(cutting);
    pRun();
    return xyz;
}

std::vector<float> XYZOf(sCall& pCall)
{
    return XYZOf([&] { EXPECT_EQ(pCall.Run().fResult, 1); });
}

struct sRGB
{
    float fRed;
    float fGreen;
    float fBlue;
};

cMatrix33 ToPCS(int pSpace)
{
    const std::unique_ptr<cColorSpace> space(cColorSpace::FromID(static_cast<eColorSpaceID>(pSpace)));
    return space->GetToPCSTransform();
}

void ExpectPixel(const std::vector<float>& pXYZ, size_t pPixel, int pSpace, const sRGB& pLinear)
{
    const cMatrix33 m = ToPCS(pSpace);
    const auto row = [&](float pA, float pB, float pC) {
        return std::fma(pC, pLinear.fBlue, std::fma(pA, pLinear.fRed, pB * pLinear.fGreen));
    };
    ASSERT_LT(3 * pPixel + 2, pXYZ.size());
    EXPECT_EQ(pXYZ[3 * pPixel], row(m.m00, m.m01, m.m02)) << pPixel;
    EXPECT_EQ(pXYZ[3 * pPixel + 1], row(m.m10, m.m11, m.m12)) << pPixel;
    EXPECT_EQ(pXYZ[3 * pPixel + 2], row(m.m20, m.m21, m.m22)) << pPixel;
}

float Decoded8(int pCode, double pGamma)
{
    return static_cast<float>(std::pow(pCode / 256.0, pGamma));
}

float Decoded16(int pCode, double pGamma)
{
    return static_cast<float>(std::pow(pCode / 65536.0, pGamma));
}

TEST(Reading, EveryCodeOfEightBitsDecodesByThePlainGamma)
{
    for (int space = 0; space < 3; space++) {
        sCall call(256, 1, 8, 8);
        for (int x = 0; x < 256; x++) {
            call.fInput[static_cast<size_t>(3 * x)] = static_cast<unsigned char>(x);
            call.fInput[static_cast<size_t>(3 * x + 1)] = static_cast<unsigned char>(255 - x);
            call.fInput[static_cast<size_t>(3 * x + 2)] = static_cast<unsigned char>(x ^ 85);
        }
        call.fColorSpace = space;
        const std::vector<float> xyz = XYZOf(call);
        const double gamma = space == 2 ? 1.8 : 2.2;
        for (int x = 0; x < 256; x++)
            ExpectPixel(xyz, static_cast<size_t>(x), space,
                        {Decoded8(x, gamma), Decoded8(255 - x, gamma), Decoded8(x ^ 85, gamma)});
    }
}

TEST(Reading, EveryCodeOfSixteenBitsDecodesByThePlainGamma)
{
    sCall call(256, 256, 16, 8);
    for (int code = 0; code < 65536; code++)
        for (int s = 0; s < 3; s++) {
            const auto sample = static_cast<uint16_t>(s == 1 ? 65535 - code : code);
            std::memcpy(call.fInput.data() + 2 * (3 * code + s), &sample, 2);
        }
    for (int space = 0; space < 3; space++) {
        call.fColorSpace = space;
        const std::vector<float> xyz = XYZOf(call);
        const double gamma = space == 2 ? 1.8 : 2.2;
        for (int code = 0; code < 65536; code++)
            ExpectPixel(xyz, static_cast<size_t>(code), space,
                        {Decoded16(code, gamma), Decoded16(65535 - code, gamma), Decoded16(code, gamma)});
    }
}

/// At which end of a buffer a page begins that must not be touched. At the other end is room up to the next such page.
enum eGuard
{
    eGuardBehind,
    eGuardBefore
};

/// A buffer between two pages that must not be touched, right at one of them.
class cGuarded
{
public:
    explicit cGuarded(size_t pSize, eGuard pGuard = eGuardBehind)
        : fInner((pSize + kPage - 1) / kPage * kPage), fOffset(pGuard == eGuardBehind ? fInner - pSize : 0)
    {
        fBlock = static_cast<unsigned char*>(
            mmap(nullptr, fInner + 2 * kPage, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
        mprotect(fBlock + kPage, fInner, PROT_READ | PROT_WRITE);
    }
    ~cGuarded() { munmap(fBlock, fInner + 2 * kPage); }
    cGuarded(const cGuarded&) = delete;
    cGuarded& operator=(const cGuarded&) = delete;

    unsigned char* Data() { return fBlock + kPage + fOffset; }

private:
    static constexpr size_t kPage = 4096;
    size_t fInner;
    size_t fOffset;
    unsigned char* fBlock;
};

struct sLayout
{
    int fStep;
    int fPadding; ///< samples behind the last pixel of a row
    int fBlueFirst;
};

const sLayout kLayouts[] = {{3, 0, 0}, {3, 5, 0}, {3, 0, 1}, {3, 2, 1}, {1, 0, 0}, {1, 3, 0}, {1, 0, 1}, {4, 0, 0},
                            {4, 3, 0}, {4, 0, 1}, {4, 1, 1}, {2, 0, 0}, {2, 1, 1}, {5, 0, 0}, {8, 3, 1}};

/// inputRowSamples that makes the reader advance by the row's true length.
int RowSamples(const sLayout& pLayout, int pWidth)
{
    return pWidth * pLayout.fStep + pLayout.fPadding - (pWidth * pLayout.fStep - 3 * pWidth);
}

template <class tSample>
void ExpectLayoutRead(const sLayout& pLayout)
{
    const int width = 7;
    const int height = 5;
    const int row = width * pLayout.fStep + pLayout.fPadding;
    const size_t samples = static_cast<size_t>(row) * (height - 1) + static_cast<size_t>(width * pLayout.fStep);
    cGuarded input(samples * sizeof(tSample));
    std::mt19937 random(3);
    std::vector<tSample> values(samples);
    for (tSample& value : values)
        value = static_cast<tSample>(random());
    std::memcpy(input.Data(), values.data(), samples * sizeof(tSample));
    sCall call(width, height, 8 * static_cast<int>(sizeof(tSample)), 16);
    call.fImage.samplesPerPixel = pLayout.fStep;
    call.fImage.bgrOrder = pLayout.fBlueFirst;
    call.fImage.inputRowSamples = RowSamples(pLayout, width);
    std::vector<float> xyz;
    {
        sCutting cutting;
        cutting.fBeforeCall = [&](const sDivideCall& pDivide) {
            if (pDivide.fFunction != &CalcMinMaxLog_tile_threaded) return;
            const cBitmapXYZ32* const bitmap = PictureOf(pDivide);
            for (int y = 0; y < height; y++)
                xyz.insert(xyz.end(), bitmap->fData + y * (bitmap->fStride / 4),
                           bitmap->fData + y * (bitmap->fStride / 4) + 21);
        };
        const cHostScope host(cutting);
        call.fRun.requestType = 9;
        CaptureStderr(
            [&] { EXPECT_EQ(cpp_tm_selvane(&call.fImage, &call.fRun, 0, &call.fSliders, input.Data(), nullptr), 1); });
    }
    const int last = pLayout.fStep - 1;
    const int red = pLayout.fBlueFirst != 0 ? last : 0;
    const int blue = pLayout.fBlueFirst != 0 ? 0 : last;
    const auto decode = [&](int pAt) {
        const int code = values[static_cast<size_t>(pAt)];
        return sizeof(tSample) == 1 ? Decoded8(code, 2.2) : Decoded16(code, 2.2);
    };
    for (int y = 0; y < height; y++)
        for (int x = 0; x < width; x++) {
            const int at = y * row + x * pLayout.fStep;
            ExpectPixel(xyz, static_cast<size_t>(y * width + x), 0,
                        {decode(at + red), decode(at + last / 2), decode(at + blue)});
        }
}

TEST(Reading, AnyStepAndOrderReadsItsSamplesAndNotAByteMore)
{
    for (const sLayout& layout : kLayouts) {
        SCOPED_TRACE(testing::Message() << "step " << layout.fStep << " padding " << layout.fPadding << " blue first "
                                        << layout.fBlueFirst);
        ExpectLayoutRead<uint8_t>(layout);
        ExpectLayoutRead<uint16_t>(layout);
    }
}

/// Offsets inside a pixel, for any step: red, green, blue. Half of a negative number is rounded down.
std::array<int, 3> SampleOffsets(int pStep, int pBlueFirst)
{
    const int last = pStep - 1;
    const int half = static_cast<int>(std::floor(last / 2.0));
    return {pBlueFirst != 0 ? last : 0, half, pBlueFirst != 0 ? 0 : last};
}

/// The samples that a layout touches, relative to the host's pointer.
struct sTouched
{
    int fLowest = 0;
    int fHighest = 0;

    void Add(int pSample)
    {
        fLowest = std::min(fLowest, pSample);
        fHighest = std::max(fHighest, pSample);
    }
    size_t Count() const { return static_cast<size_t>(fHighest - fLowest) + 1; }
};

// The buffer holds exactly the samples that are read, those before the host's pointer too.
template <class tSample>
void ExpectBackwardRead(int pStep, int pBlueFirst, eGuard pGuard)
{
    const int width = 3;
    const int height = 2;
    const int row = width * pStep + 8 - 3 * width; // inputRowSamples 8
    const std::array<int, 3> offsets = SampleOffsets(pStep, pBlueFirst);
    sTouched touched;
    for (int y = 0; y < height; y++)
        for (int x = 0; x < width; x++)
            for (const int offset : offsets)
                touched.Add(y * row + x * pStep + offset);
    std::vector<tSample> values(touched.Count());
    for (size_t i = 0; i < values.size(); i++)
        values[i] = static_cast<tSample>(40 + 3 * i);
    cGuarded input(values.size() * sizeof(tSample), pGuard);
    std::memcpy(input.Data(), values.data(), values.size() * sizeof(tSample));

    sCall odd(width, height, 8 * static_cast<int>(sizeof(tSample)), 8);
    odd.fImage.samplesPerPixel = pStep;
    odd.fImage.inputRowSamples = 8;
    odd.fImage.bgrOrder = pBlueFirst;
    odd.fRun.requestType = 9;
    sCall plain(width, height, 8 * static_cast<int>(sizeof(tSample)), 8);
    plain.fRun.requestType = 9;
    for (int y = 0; y < height; y++)
        for (int x = 0; x < width; x++)
            for (size_t channel = 0; channel < 3; channel++) {
                const int at = y * row + x * pStep + offsets[channel] - touched.fLowest;
                std::memcpy(plain.fInput.data() + (3 * static_cast<size_t>(width * y + x) + channel) * sizeof(tSample),
                            &values[static_cast<size_t>(at)], sizeof(tSample));
            }
    const unsigned char* const start = input.Data() - touched.fLowest * static_cast<int>(sizeof(tSample));
    const std::vector<float> read = XYZOf([&] {
        CaptureStderr([&] { EXPECT_EQ(cpp_tm_selvane(&odd.fImage, &odd.fRun, 0, &odd.fSliders, start, nullptr), 1); });
    });
    EXPECT_EQ(read.size(), 18u);
    EXPECT_EQ(read, XYZOf(plain)) << pStep;
}

// Steps that are not above 0 are taken as they stand. Red first and a step of 0, the blue sample and the green one lie
// one before the red one; a step of -2 puts them three and two before it.
TEST(Reading, StepsNotAboveZeroGoBackwardsAndReadNotAByteMore)
{
    for (const int step : {0, -1, -2, -5})
        for (const int blueFirst : {0, 1})
            for (const eGuard guard : {eGuardBehind, eGuardBefore}) {
                SCOPED_TRACE(testing::Message() << "step " << step << " blue first " << blueFirst);
                ExpectBackwardRead<uint8_t>(step, blueFirst, guard);
                ExpectBackwardRead<uint16_t>(step, blueFirst, guard);
            }
}

/// Addresses without memory behind them until they are touched.
class cSparse
{
public:
    explicit cSparse(size_t pSize) : fSize(pSize)
    {
        void* const block =
            mmap(nullptr, pSize, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
        fBlock = block == MAP_FAILED ? nullptr : static_cast<unsigned char*>(block);
    }
    ~cSparse()
    {
        if (fBlock != nullptr) munmap(fBlock, fSize);
    }
    cSparse(const cSparse&) = delete;
    cSparse& operator=(const cSparse&) = delete;

    unsigned char* Data() { return fBlock; }

private:
    size_t fSize;
    unsigned char* fBlock;
};

// Rows 2^30 samples apart: the fourth begins at 3 * 2^30, which fits no 32-bit number.
TEST(Reading, RowsMayLieBeyondTwoToThe31Samples)
{
    const int rowSamples = 1 << 30;
    for (const int depth : {8, 16}) {
        sCall plain(2, 4, depth, 8);
        const std::vector<float> expected = XYZOf(plain);
        const size_t sample = static_cast<size_t>(depth) / 8;
        cSparse input((size_t{3} * rowSamples + 6) * sample);
        ASSERT_NE(input.Data(), nullptr);
        for (size_t y = 0; y < 4; y++)
            std::memcpy(input.Data() + y * rowSamples * sample, plain.fInput.data() + 6 * y * sample, 6 * sample);
        sCall sparse(2, 4, depth, 8);
        sparse.fImage.inputRowSamples = rowSamples;
        sparse.fRun.requestType = 9;
        const std::vector<float> read = XYZOf([&] {
            CaptureStderr([&] {
                EXPECT_EQ(cpp_tm_selvane(&sparse.fImage, &sparse.fRun, 0, &sparse.fSliders, input.Data(), nullptr), 1);
            });
        });
        EXPECT_EQ(read, expected);
    }
}

TEST(Reading, SixteenBitSamplesMayStandAtOddAddresses)
{
    sCall even(8, 4, 16, 8);
    const std::vector<float> expected = XYZOf(even);
    sCall odd(8, 4, 16, 8);
    odd.fInput.insert(odd.fInput.begin(), 0);
    odd.fRun.requestType = 0;
    std::vector<unsigned char> output(odd.fOutput.size());
    CaptureStderr([&] {
        EXPECT_EQ(cpp_tm_selvane(&odd.fImage, &odd.fRun, 0, &odd.fSliders, odd.fInput.data() + 1, output.data()), 1);
    });
    EXPECT_EQ(output, even.fOutput);
}

TEST(Reading, ExponentPlanesAreMantissasTimesPowersOfTwo)
{
    // every exponent with mantissas of its own
    cGuarded input(256 * 4 * 2);
    unsigned char* bytes = input.Data();
    for (int y = 0; y < 2; y++)
        for (int x = 0; x < 256; x++) {
            unsigned char* row = bytes + y * 4 * 256;
            row[x] = static_cast<unsigned char>(y == 0 ? 255 : x);
            row[256 + x] = static_cast<unsigned char>(x * 7);
            row[512 + x] = static_cast<unsigned char>(255 - x);
            row[768 + x] = static_cast<unsigned char>(x);
        }
    sCall call(256, 2, 32, 16);
    call.fInput.assign(bytes, bytes + 2048);
    call.fColorSpace = 1;
    call.fImage.samplesPerPixel = 1; // not used by the reading
    call.fImage.inputRowSamples = -7;
    const std::vector<float> xyz = XYZOf(call);
    for (int y = 0; y < 2; y++)
        for (int x = 0; x < 256; x++) {
            const auto scale = static_cast<float>(std::ldexp(1.0, x - 136));
            const auto channel = [&](int pPlane) {
                return x == 0 ? 0.0f : static_cast<float>(bytes[y * 1024 + pPlane * 256 + x]) * scale;
            };
            ExpectPixel(xyz, static_cast<size_t>(y * 256 + x), 1, {channel(0), channel(1), channel(2)});
        }
}

TEST(Reading, ExponentPlanesAreReadToTheLastByteAndNoFurther)
{
    for (int width : {1, 3, 17, 64}) {
        cGuarded input(static_cast<size_t>(width) * 4 * 3);
        std::memset(input.Data(), 130, static_cast<size_t>(width) * 4 * 3);
        sCall call(width, 3, 32, 8);
        CaptureStderr([&] {
            EXPECT_EQ(cpp_tm_selvane(&call.fImage, &call.fRun, 0, &call.fSliders, input.Data(), call.fOutput.data()),
                      1);
        });
    }
}

/// The finished picture, samples red first, compact.
template <class tSample>
std::vector<tSample> Picture(int pWidth, int pHeight)
{
    sCall call(pWidth, pHeight, 32, 8 * static_cast<int>(sizeof(tSample)));
    call.Run();
    std::vector<tSample> samples(call.fOutput.size() / sizeof(tSample));
    std::memcpy(samples.data(), call.fOutput.data(), call.fOutput.size());
    return samples;
}

/// The same picture written with another layout into a buffer of 0xA5 bytes.
template <class tSample>
std::vector<tSample> Written(int pWidth, int pHeight, int pStep, int pRowSamples, int pBlueFirst, size_t pSamples)
{
    sCall call(pWidth, pHeight, 32, 8 * static_cast<int>(sizeof(tSample)));
    call.fImage.samplesPerPixel = pStep;
    call.fImage.outputRowSamples = pRowSamples;
    call.fImage.bgrOrder = pBlueFirst;
    cGuarded output(pSamples * sizeof(tSample));
    std::memset(output.Data(), 0xA5, pSamples * sizeof(tSample));
    CaptureStderr([&] {
        EXPECT_EQ(cpp_tm_selvane(&call.fImage, &call.fRun, 0, &call.fSliders, call.fInput.data(), output.Data()), 1);
    });
    std::vector<tSample> samples(pSamples);
    std::memcpy(samples.data(), output.Data(), pSamples * sizeof(tSample));
    return samples;
}

template <class tSample>
class Writing : public testing::Test
{
};
using tDepths = testing::Types<uint8_t, uint16_t>;
TYPED_TEST_SUITE(Writing, tDepths);

TYPED_TEST(Writing, ThreeSamplesInEitherOrderWithPaddedRows)
{
    using tSample = TypeParam;
    const auto untouched = static_cast<tSample>(0xA5A5);
    for (int width : {1, 4, 5, 8, 11}) {
        const int height = 6;
        const std::vector<tSample> picture = Picture<tSample>(width, height);
        for (int padding : {0, 1, 4})
            for (int blueFirst : {0, 1}) {
                const int row = 3 * width + padding;
                const std::vector<tSample> written =
                    Written<tSample>(width, height, 3, row, blueFirst, static_cast<size_t>(row * height));
                for (int y = 0; y < height; y++)
                    for (int i = 0; i < 3 * width; i++) {
                        const int source = blueFirst != 0 ? i - i % 3 + 2 - i % 3 : i;
                        const bool compactBlock = blueFirst != 0 && width % 4 == 0;
                        if (compactBlock && padding != 0)
                            continue; // one block move: the rows of the host are longer than those of the picture
                        ASSERT_EQ(written[static_cast<size_t>(y * row + i)],
                                  picture[static_cast<size_t>(y * 3 * width + source)])
                            << width << " " << padding << " " << blueFirst << " " << y << " " << i;
                    }
                if (blueFirst == 0 && padding != 0) {
                    EXPECT_EQ(written[static_cast<size_t>(3 * width)], untouched) << "padding is the host's";
                }
            }
    }
}

TYPED_TEST(Writing, BlueFirstRowsShorterThanThePictureStayUnpadded)
{
    using tSample = TypeParam;
    const std::vector<tSample> full = Written<tSample>(5, 4, 3, 15, 1, 60);
    const std::vector<tSample> narrow = Written<tSample>(5, 4, 3, 9, 1, 36);
    for (size_t y = 0; y < 4; y++)
        for (size_t i = 0; i < 9; i++)
            EXPECT_EQ(narrow[9 * y + i], full[15 * y + i]);
}

TYPED_TEST(Writing, ACompactPictureIsOneBlockMoveWhateverTheRowsOfTheHost)
{
    using tSample = TypeParam;
    // width 4: the picture has no padding, so 6 * 10 samples go over in one piece
    const std::vector<tSample> full = Written<tSample>(4, 6, 3, 12, 1, 72);
    const std::vector<tSample> moved = Written<tSample>(4, 6, 3, 10, 1, 60);
    EXPECT_EQ(std::memcmp(moved.data(), full.data(), 60 * sizeof(tSample)), 0);
}

TYPED_TEST(Writing, RowsLongerThanTheBlockCopyWhatLiesInside)
{
    using tSample = TypeParam;
    // 4 x 4 pixels: a block of 48 samples; the host asks for 4 rows of 20 in one piece
    const std::vector<tSample> full = Written<tSample>(4, 4, 3, 12, 1, 48);
    const std::vector<tSample> longer = Written<tSample>(4, 4, 3, 20, 1, 80);
    EXPECT_EQ(std::memcmp(longer.data(), full.data(), 48 * sizeof(tSample)), 0);
    for (size_t i = 48; i < 80; i++)
        EXPECT_EQ(longer[i], static_cast<tSample>(0xA5A5)) << i;
}

TYPED_TEST(Writing, OneSampleAPixelRedFirstTakesThePicturesSamplesAsTheyStand)
{
    using tSample = TypeParam;
    const std::vector<tSample> blueFirst = Written<tSample>(8, 4, 3, 24, 1, 96);
    const std::vector<tSample> grey = Written<tSample>(8, 4, 1, 8, 0, 32);
    for (size_t y = 0; y < 4; y++)
        for (size_t x = 0; x < 8; x++)
            EXPECT_EQ(grey[8 * y + x], blueFirst[24 * y + x]);
}

TYPED_TEST(Writing, FourSamplesAPixelRedFirstStrideThroughTheBlockAndStopAtItsEnd)
{
    using tSample = TypeParam;
    // 4 x 4 pixels without padding: the block is rows of 12 samples, 48 in all
    const std::vector<tSample> block = Written<tSample>(4, 4, 3, 12, 1, 48);
    const std::vector<tSample> four = Written<tSample>(4, 4, 4, 16, 0, 64);
    for (int y = 0; y < 4; y++)
        for (int x = 0; x < 4; x++) {
            const int n = 4 * x;
            const auto expected = [&](int pSource) {
                const int source = 12 * y + pSource;
                return source < 48 ? block[static_cast<size_t>(source)] : static_cast<tSample>(0xA5A5);
            };
            const auto written = [&](int pTarget) { return four[static_cast<size_t>(16 * y + pTarget)]; };
            EXPECT_EQ(written(n), expected(n + 3)) << y << " " << x;
            EXPECT_EQ(written(n + 1), expected(n + 1));
            EXPECT_EQ(written(n + 2), static_cast<tSample>(0xA5A5)) << "the third sample is never written";
            EXPECT_EQ(written(n + 3), expected(n));
        }
}

/// Writes with a step that is not above 0, into a buffer that holds exactly the samples that are written, those before
/// the host's pointer too. The block of 4 x 4 pixels has no padding: rows of 12 samples, 48 in all.
template <class tSample>
void ExpectBackwardWrite(int pStep, eGuard pGuard)
{
    const std::vector<tSample> block = Written<tSample>(4, 4, 3, 12, 1, 48);
    const int half = SampleOffsets(pStep, 0)[1];
    const int row = 17;
    std::map<int, int> sources; // by target; the later of two writes stands
    sTouched touched;
    const auto take = [&](int pTarget, int pSource) {
        if (pSource < 0 || pSource >= 48) return; // the host's sample stays as it was
        sources[pTarget] = pSource;
        touched.Add(pTarget);
    };
    for (int y = 0; y < 4; y++)
        for (int x = 0; x < 4; x++) {
            const int n = x * pStep;
            take(row * y + n, 12 * y + n + pStep - 1);
            take(row * y + n + half, 12 * y + n + half);
            take(row * y + n + pStep - 1, 12 * y + n);
        }
    cGuarded output(touched.Count() * sizeof(tSample), pGuard);
    std::memset(output.Data(), 0xA5, touched.Count() * sizeof(tSample));
    sCall call(4, 4, 32, 8 * static_cast<int>(sizeof(tSample)));
    call.fImage.samplesPerPixel = pStep;
    call.fImage.outputRowSamples = row;
    unsigned char* const start = output.Data() - touched.fLowest * static_cast<int>(sizeof(tSample));
    CaptureStderr(
        [&] { EXPECT_EQ(cpp_tm_selvane(&call.fImage, &call.fRun, 0, &call.fSliders, call.fInput.data(), start), 1); });
    for (int at = touched.fLowest; at <= touched.fHighest; at++) {
        tSample written{};
        std::memcpy(&written, start + at * static_cast<int>(sizeof(tSample)), sizeof written);
        const auto source = sources.find(at);
        const auto expected =
            source == sources.end() ? static_cast<tSample>(0xA5A5) : block[static_cast<size_t>(source->second)];
        EXPECT_EQ(written, expected) << at;
    }
}

TYPED_TEST(Writing, StepsNotAboveZeroGoBackwardsAndWriteNotASampleMore)
{
    for (const int step : {0, -1, -2, -4, -9})
        for (const eGuard guard : {eGuardBehind, eGuardBefore}) {
            SCOPED_TRACE(step);
            ExpectBackwardWrite<TypeParam>(step, guard);
        }
}

// Red first and a step of -2: the first pixel's three sources are three, two and none before the block.
TYPED_TEST(Writing, ASampleFromBeforeTheBlockLeavesTheHostsAsItWas)
{
    using tSample = TypeParam;
    const std::vector<tSample> block = Written<tSample>(4, 4, 3, 12, 1, 48);
    std::vector<tSample> buffer(64, static_cast<tSample>(0xA5A5));
    sCall call(4, 4, 32, 8 * static_cast<int>(sizeof(tSample)));
    call.fImage.samplesPerPixel = -2;
    call.fImage.outputRowSamples = 12;
    CaptureStderr([&] {
        EXPECT_EQ(cpp_tm_selvane(&call.fImage, &call.fRun, 0, &call.fSliders, call.fInput.data(),
                                 reinterpret_cast<unsigned char*>(buffer.data() + 10)),
                  1);
    });
    EXPECT_EQ(buffer[10], static_cast<tSample>(0xA5A5)) << "red, from -3";
    EXPECT_EQ(buffer[10 - 2], static_cast<tSample>(0xA5A5)) << "green, from -2, and red of the second pixel, from -5";
    EXPECT_EQ(buffer[10 - 3], block[0]) << "blue, from 0";
}

TYPED_TEST(Writing, TheOutputMayBeTheMemoryOfTheInput)
{
    using tSample = TypeParam;
    const int depth = 8 * static_cast<int>(sizeof(tSample));
    for (const int blueFirst : {0, 1}) {
        sCall apart(23, 9, depth, depth);
        apart.fImage.bgrOrder = blueFirst;
        apart.Run();
        sCall shared(23, 9, depth, depth);
        shared.fImage.bgrOrder = blueFirst;
        unsigned char* const buffer = shared.fInput.data();
        CaptureStderr(
            [&] { EXPECT_EQ(cpp_tm_selvane(&shared.fImage, &shared.fRun, 0, &shared.fSliders, buffer, buffer), 1); });
        EXPECT_EQ(shared.fInput, apart.fOutput);
    }
}

/// Fills what the heap hands out, and what it takes back, with a pattern as long as it lives.
class cScribblingHeap
{
public:
    cScribblingHeap() { mallopt(M_PERTURB, 0x5A); }
    ~cScribblingHeap() { mallopt(M_PERTURB, 0); }
    cScribblingHeap(const cScribblingHeap&) = delete;
    cScribblingHeap& operator=(const cScribblingHeap&) = delete;
};

// 8 x 29: three padded rows behind the last. Rows of 30 samples, in one piece, reach 27 * 6 samples behind the picture.
TYPED_TEST(Writing, PaddedRowsBehindThePictureAreZero)
{
    using tSample = TypeParam;
    const cScribblingHeap heap;
    const std::vector<tSample> full = Written<tSample>(8, 29, 3, 24, 1, 24 * 29);
    const std::vector<tSample> longer = Written<tSample>(8, 29, 3, 30, 1, 30 * 29);
    EXPECT_EQ(std::memcmp(longer.data(), full.data(), full.size() * sizeof(tSample)), 0);
    for (size_t i = 24 * 29; i < 24 * 32; i++)
        ASSERT_EQ(longer[i], 0) << i;
    for (size_t i = 24 * 32; i < 30 * 29; i++)
        ASSERT_EQ(longer[i], static_cast<tSample>(0xA5A5)) << "behind the padded rows too: " << i;
}

// 5 x 3: a row of the picture is 15 samples and 9 of padding, the fourth row is padding.
TYPED_TEST(Writing, PaddingBehindThePixelsOfARowIsZero)
{
    using tSample = TypeParam;
    const cScribblingHeap heap;
    const std::vector<tSample> full = Written<tSample>(5, 3, 3, 15, 1, 45);
    const std::vector<tSample> longer = Written<tSample>(5, 3, 3, 30, 1, 90);
    for (size_t y = 0; y < 3; y++)
        for (size_t i = 0; i < 30; i++) {
            const size_t row = y + i / 24;
            const bool pixels = row < 3 && i % 24 < 15;
            ASSERT_EQ(longer[30 * y + i], pixels ? full[15 * row + i % 24] : tSample{0}) << y << " " << i;
        }
}

TYPED_TEST(Writing, StepsAboveThreeMeetZerosBehindThePixels)
{
    using tSample = TypeParam;
    const cScribblingHeap heap;
    // 5 x 3 pixels: a block of 4 rows of 24 samples, of which 3 x 15 are pixels
    const std::vector<tSample> picture = Written<tSample>(5, 3, 3, 15, 1, 45);
    const std::vector<tSample> eight = Written<tSample>(5, 3, 8, 40, 0, 120);
    for (int y = 0; y < 3; y++)
        for (int x = 0; x < 5; x++) {
            const int source = 24 * y + 8 * x; // of the last sample of the host's pixel
            const bool pixels = source / 24 < 3 && source % 24 < 15;
            const tSample expected = source >= 96 ? static_cast<tSample>(0xA5A5)
                                     : pixels     ? picture[static_cast<size_t>(source / 24 * 15 + source % 24)]
                                                  : tSample{0};
            ASSERT_EQ(eight[static_cast<size_t>(40 * y + 8 * x + 7)], expected) << y << " " << x;
        }
}

TYPED_TEST(Writing, RowsMayLieBeyondTwoToThe31Samples)
{
    using tSample = TypeParam;
    const int rowSamples = 1 << 30;
    const std::vector<tSample> plain = Picture<tSample>(2, 4);
    cSparse output((size_t{3} * rowSamples + 6) * sizeof(tSample));
    ASSERT_NE(output.Data(), nullptr);
    sCall call(2, 4, 32, 8 * static_cast<int>(sizeof(tSample)));
    call.fImage.outputRowSamples = rowSamples;
    CaptureStderr([&] {
        EXPECT_EQ(cpp_tm_selvane(&call.fImage, &call.fRun, 0, &call.fSliders, call.fInput.data(), output.Data()), 1);
    });
    for (size_t y = 0; y < 4; y++)
        EXPECT_EQ(
            std::memcmp(output.Data() + y * rowSamples * sizeof(tSample), plain.data() + 6 * y, 6 * sizeof(tSample)), 0)
            << y;
}

} // namespace
