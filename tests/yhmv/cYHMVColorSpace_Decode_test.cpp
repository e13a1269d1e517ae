#include "yhmv/cYHMVColorSpace.h"

#include "bitmap/cBitmapBGR16.h"
#include "bitmap/cBitmapBGR8.h"
#include "bitmap/cBitmapU16T.h"
#include "support/Capture.h"
#include "yhmv/Twin.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <functional>
#include <memory>
#include <sys/mman.h>
#include <unistd.h>
#include <utility>

#if defined(__x86_64__)
#include <xmmintrin.h>
#endif

using namespace Vornik;
using namespace SelvaneTest;

namespace
{

// ProPhoto RGB to sRGB primaries, roughly: rows with both signs.
constexpr cMatrix33 kMatrix = {2.0339f, -0.7273f, -0.3067f, -0.2288f, 1.2317f, -0.0029f, -0.0085f, -0.1533f, 1.1618f};
constexpr cMatrix33 kIdentity = {1, 0, 0, 0, 1, 0, 0, 0, 1};

// The object and the tables of a row decoder.
struct sTables
{
    std::unique_ptr<cYHMVColorSpace> fSpace = std::make_unique<cYHMVColorSpace>();
    std::vector<unsigned short> fEncode = std::vector<unsigned short>(65536);
    std::vector<float> fContrast = std::vector<float>(65536);
    std::vector<float> fLightness = std::vector<float>(65536, 0.5f);

    // Every index shows in the result.
    sTables()
    {
        for (size_t i = 0; i < 65536; ++i) {
            fEncode[i] = static_cast<unsigned short>(i);
            fContrast[i] = static_cast<float>(i) / 65535.0f;
        }
    }

    // Tables in which every entry is another, with some values that no curve gives.
    explicit sTables(cRandom& pRandom) : sTables()
    {
        for (size_t i = 0; i < 65536; ++i) {
            fEncode[i] = static_cast<unsigned short>(i * 40503u);
            fContrast[i] = i % 512 == 7 ? pRandom.Extreme() : pRandom.Between(-0.1f, 1.1f);
            fLightness[i] = i % 512 == 9 ? pRandom.Extreme() : pRandom.Unit();
        }
        std::vector<float> saturation(65536);
        std::vector<unsigned short> shift(65536);
        for (size_t i = 0; i < 65536; ++i) {
            saturation[i] = pRandom.Unit();
            shift[i] = static_cast<unsigned short>(pRandom.Word());
        }
        fSpace->UpdateHMVToRGBLUT(saturation.data(), shift.data());
    }
};

// Ordinary records, and such whose fields are at values where rules change, or any bits.
sTwinRecord AnyRecord(cRandom& pRandom)
{
    const int kind = pRandom.Below(8);
    sTwinRecord r;
    r.H = static_cast<uint16_t>(pRandom.Word());
    if (kind < 6) {
        r.Y = pRandom.Between(-0.05f, 1.2f);
        r.V = pRandom.Between(0.1f, 2.0f);
        r.M = kind == 0 ? r.V : pRandom.Between(-0.2f, r.V);
    } else {
        const bool bits = kind == 6;
        r.Y = bits ? pRandom.AnyBits() : pRandom.Extreme();
        r.M = bits ? pRandom.AnyBits() : pRandom.Extreme();
        r.V = bits ? pRandom.AnyBits() : pRandom.Extreme();
    }
    return r;
}

enum eWorker
{
    eRowSimple,
    eRowRef,
    eHMVRowRef,
    eWorkers, // how many there are
};

constexpr eWorker kWorkers[] = {eRowSimple, eRowRef, eHMVRowRef};
static_assert(std::size(kWorkers) == eWorkers);

size_t RecordBytes(eWorker pWorker)
{
    return pWorker == eHMVRowRef ? HMVPixel::kBytes : YHMVPixel::kBytes;
}

// The numbers of a call.
struct sNumbers
{
    float fScale = 1.0f;
    float fInvRange = 1.0f;
    float fBlack = 0.0f;
    cMatrix33 fMatrix = kMatrix;
};

void RunWorker(eWorker pWorker, sTables& t, const sNumbers& p, const void* pRow, void* pDest, int pWidth, int pBits)
{
    const auto* row = static_cast<const unsigned short*>(pRow);
    if (pWorker == eRowSimple)
        t.fSpace->YHMVToRGB_RowSimple(row, pDest, pWidth, pBits, t.fEncode.data(), p.fScale, p.fInvRange, p.fBlack,
                                      p.fMatrix, t.fContrast.data());
    else if (pWorker == eRowRef)
        t.fSpace->YHMVToRGB_RowRef(row, pDest, pWidth, pBits, t.fEncode.data(), p.fScale, p.fMatrix, t.fContrast.data(),
                                   t.fLightness.data());
    else
        t.fSpace->HMVToRGB_RowRef(row, pDest, pWidth, pBits, t.fEncode.data(), p.fMatrix, t.fLightness.data());
}

sTwinDecoder TwinOf(eWorker pWorker, const sTables& t, const sNumbers& p)
{
    sTwinDecoder twin;
    twin.fTable = t.fSpace->fHMVToRGBLUT;
    twin.fEncodeLUT = t.fEncode.data();
    twin.fContrastLUT = pWorker == eHMVRowRef ? nullptr : t.fContrast.data();
    twin.fHLLUT = t.fLightness.data();
    twin.fHasRange = pWorker == eRowSimple;
    twin.fScale = p.fScale;
    twin.fInvRange = p.fInvRange;
    twin.fBlack = p.fBlack;
    twin.fMatrix = p.fMatrix;
    return twin;
}

// The three samples that one record gives, in the order R, G, B.
std::vector<int> DecodeOne(eWorker pWorker, sTables& t, const sNumbers& p, const sTwinRecord& pRecord)
{
    unsigned short row[YHMVPixel::kPlanes];
    unsigned char* bytes = reinterpret_cast<unsigned char*>(row);
    pWorker == eHMVRowRef ? WriteHMV(bytes, pRecord) : WriteYHMV(bytes, pRecord);
    unsigned short bgr[3] = {};
    RunWorker(pWorker, t, p, row, bgr, 1, 16);
    return {bgr[2], bgr[1], bgr[0]};
}

// ---- rows against the slow form ----

struct sRow
{
    std::vector<sTwinRecord> fRecords;
    std::vector<unsigned short> fBytes;

    sRow(eWorker pWorker, std::vector<sTwinRecord> pRecords)
        : fRecords(std::move(pRecords)), fBytes(fRecords.size() * RecordBytes(pWorker) / 2)
    {
        unsigned char* at = reinterpret_cast<unsigned char*>(fBytes.data());
        for (const sTwinRecord& r : fRecords) {
            pWorker == eHMVRowRef ? WriteHMV(at, r) : WriteYHMV(at, r);
            at += RecordBytes(pWorker);
        }
    }

    sRow(cRandom& pRandom, eWorker pWorker, int pWidth) : sRow(pWorker, AnyRecords(pRandom, pWidth)) {}

private:
    static std::vector<sTwinRecord> AnyRecords(cRandom& pRandom, int pWidth)
    {
        std::vector<sTwinRecord> records(static_cast<size_t>(pWidth));
        for (sTwinRecord& r : records)
            r = AnyRecord(pRandom);
        return records;
    }
};

void ExpectRowLikeTwin(eWorker pWorker, sTables& t, const sNumbers& p, const sRow& pRow, int pBits)
{
    const size_t count = pRow.fRecords.size();
    const size_t sample = pBits == 8 ? 1 : 2;
    std::vector<unsigned char> dest(count * 3 * sample + 8, 0xA5);
    RunWorker(pWorker, t, p, pRow.fBytes.data(), dest.data(), static_cast<int>(count), pBits);
    const sTwinDecoder twin = TwinOf(pWorker, t, p);
    for (size_t x = 0; x < count; ++x) {
        uint16_t rgb[3];
        TwinDecode(twin, pRow.fRecords[x], pWorker == eRowRef, rgb);
        for (size_t k = 0; k < 3; ++k) {
            uint16_t stored = 0;
            std::memcpy(&stored, dest.data() + (3 * x + k) * sample, sample);
            const int expected = pBits == 8 ? rgb[2 - k] / 256 : rgb[2 - k];
            ASSERT_EQ(stored, expected) << "worker " << pWorker << " width " << count << " pixel " << x << " sample "
                                        << k << " Y " << pRow.fRecords[x].Y << " M " << pRow.fRecords[x].M << " V "
                                        << pRow.fRecords[x].V;
        }
    }
    for (size_t n = count * 3 * sample; n < dest.size(); ++n)
        ASSERT_EQ(dest[n], 0xA5) << "written past the row at width " << count;
}

sNumbers AnyNumbers(cRandom& pRandom)
{
    sNumbers p;
    p.fScale = pRandom.Between(0.1f, 2.0f);
    p.fInvRange = pRandom.Below(2) == 0 ? 1.0f : pRandom.Between(0.3f, 3.0f);
    p.fBlack = pRandom.Between(-0.1f, 0.3f);
    if (pRandom.Below(4) == 0) p.fScale = pRandom.Extreme();
    if (pRandom.Below(4) == 0) p.fInvRange = pRandom.Extreme();
    if (pRandom.Below(4) == 0) p.fBlack = pRandom.Extreme();
    if (pRandom.Below(8) == 0) (&p.fMatrix.m00)[pRandom.Below(9)] = pRandom.Extreme();
    return p;
}

TEST(RowDecoders, EqualTheFormulaBitForBitAtEveryWidth)
{
    cRandom random(21);
    sTables tables(random);
    for (int width = 0; width <= 300; ++width)
        for (const eWorker worker : kWorkers)
            for (const int bits : {8, 16})
                ExpectRowLikeTwin(worker, tables, AnyNumbers(random), sRow(random, worker, width), bits);
}

// Many ordinary pixels with plain tables: a rounding in another place shows in about one of a thousand.
TEST(RowDecoders, EqualTheFormulaOverManyPixels)
{
    cRandom random(22);
    sTables noisy(random);
    sTables plain;
    plain.fLightness = noisy.fLightness;
    for (const eWorker worker : kWorkers)
        for (int i = 0; i < 12; ++i) {
            sNumbers numbers;
            numbers.fScale = random.Between(0.3f, 1.0f);
            numbers.fInvRange = i % 2 == 0 ? 1.0f : random.Between(0.5f, 1.0f);
            numbers.fBlack = random.Between(0.0f, 0.1f);
            ExpectRowLikeTwin(worker, i % 4 < 2 ? plain : noisy, numbers, sRow(random, worker, 20000), 16);
        }
}

TEST(RowDecoders, AWidthBelowOneWritesNothing)
{
    sTables tables;
    for (const eWorker worker : kWorkers)
        for (const int width : {0, -1, -1000000}) {
            unsigned short row[8] = {};
            unsigned short dest[3] = {0xA5A5, 0xA5A5, 0xA5A5};
            RunWorker(worker, tables, {}, row, dest, width, 16);
            EXPECT_EQ(dest[0], 0xA5A5);
        }
}

TEST(RowDecoders, AnyOtherDepthThan8WritesWholeSamples)
{
    cRandom random(23);
    sTables tables(random);
    for (const eWorker worker : kWorkers)
        for (const int bits : {0, 7, 12, -8})
            ExpectRowLikeTwin(worker, tables, {}, sRow(random, worker, 5), bits);
}

// Memory that ends at a page nobody may touch.
class cGuardedPage
{
public:
    cGuardedPage() : fPage(static_cast<size_t>(sysconf(_SC_PAGESIZE)))
    {
        void* block = mmap(nullptr, 5 * fPage, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        fBlock = static_cast<unsigned char*>(block);
        mprotect(fBlock + 4 * fPage, fPage, PROT_NONE);
    }
    ~cGuardedPage() { munmap(fBlock, 5 * fPage); }
    cGuardedPage(const cGuardedPage&) = delete;
    cGuardedPage& operator=(const cGuardedPage&) = delete;
    unsigned char* Last(size_t pBytes) const { return fBlock + 4 * fPage - pBytes; }

private:
    size_t fPage;
    unsigned char* fBlock;
};

TEST(RowDecoders, TouchNothingBeyondTheLastRecordAndTheLastSample)
{
    cRandom random(24);
    sTables tables(random);
    const cGuardedPage from, to;
    for (const eWorker worker : kWorkers)
        for (const int width : {1, 2, 3, 5, 8, 17, 127, 128, 129, 300})
            for (const int bits : {8, 16}) {
                const sRow row(random, worker, width);
                unsigned char* source = from.Last(row.fBytes.size() * 2);
                std::memcpy(source, row.fBytes.data(), row.fBytes.size() * 2);
                const size_t bytes = static_cast<size_t>(width) * 3 * static_cast<size_t>(bits) / 8;
                RunWorker(worker, tables, {}, source, to.Last(bytes), width, bits);
            }
}

// ---- the rule of the index ----

TEST(RowDecoders, IndicesAreClampedToTheUnitInterval)
{
    sTables t;
    sNumbers p;
    p.fMatrix = kIdentity;
    const struct
    {
        float fValue;
        int fIndex;
    } rows[] = {{0.0f, 0},     {-0.0f, 0},         {-1.0f, 0},    {-3e38f, 0}, {0.5f, 32767}, {1.0f, 65535},
                {1.5f, 65535}, {kInfinity, 65535}, {kNaN, 65535}, {1e-5f, 0},  {1.6e-5f, 1},  {0.999995f, 65534}};
    for (const auto& row : rows) { // a grey: c = L * M
        EXPECT_EQ(DecodeOne(eRowSimple, t, p, {1.0f, 0, row.fValue, row.fValue})[1], row.fIndex) << row.fValue;
        t.fContrast[32768] = row.fValue; // and once more behind the matrix
        EXPECT_EQ(DecodeOne(eRowSimple, t, p, {1.0f, 0, 0.50001f, 0.50001f})[2], row.fIndex) << row.fValue;
        t.fContrast[32768] = 32768.0f / 65535.0f;
    }
}

TEST(RowDecoders, EightBitsAreTheHighByte)
{
    sTables t;
    for (unsigned short& entry : t.fEncode)
        entry = 0x12FF;
    for (const eWorker worker : kWorkers) {
        unsigned short row[YHMVPixel::kPlanes] = {};
        unsigned char dest[3] = {};
        RunWorker(worker, t, {}, row, dest, 1, 8);
        EXPECT_EQ(dest[0], 0x12);
        EXPECT_EQ(dest[2], 0x12);
    }
}

TEST(RowDecoders, BlueComesFirst)
{
    sTables t;
    sNumbers p;
    p.fMatrix = kIdentity;
    unsigned char bytes[HMVPixel::kBytes];
    WriteHMV(bytes, {0, 0, 0.0f, 1.0f}); // pure red
    unsigned short row[HMVPixel::kPlanes];
    std::memcpy(row, bytes, sizeof row);
    unsigned short dest[3];
    RunWorker(eHMVRowRef, t, p, row, dest, 1, 16);
    EXPECT_EQ(dest[0], 0);
    EXPECT_EQ(dest[1], 0);
    EXPECT_EQ(dest[2], 65535);
}

// ---- luminance ----

TEST(RowSimple, ARangeOfExactlyOneTakesTheScaleAndKeepsNegativeLuminance)
{
    sTables t;
    sNumbers p;
    p.fMatrix = kIdentity;
    p.fScale = 0.25f;
    p.fBlack = 0.5f;
    EXPECT_EQ(DecodeOne(eRowSimple, t, p, {1.0f, 0, 1.0f, 1.0f})[0], 16383);
    // -1 * 0.25 * (M = V = -1): a luminance clamped at 0 would give black.
    EXPECT_EQ(DecodeOne(eRowSimple, t, p, {-1.0f, 0, -1.0f, -1.0f})[0], 16383);
}

TEST(RowSimple, AnyOtherRangeTakesBlackAndWhite)
{
    sTables t;
    sNumbers p;
    p.fMatrix = kIdentity;
    p.fScale = 100.0f;
    p.fBlack = 0.25f;
    p.fInvRange = 2.0f;
    EXPECT_EQ(DecodeOne(eRowSimple, t, p, {0.5f, 0, 1.0f, 1.0f})[0], 32767);
}

TEST(RowSimple, BelowBlackAndNaNAreBlackInTheRangeBranch)
{
    sTables t;
    t.fContrast[0] = 0.5f; // not black itself: the curve's value at 0
    sNumbers p;
    p.fMatrix = kIdentity;
    p.fBlack = 0.25f;
    p.fInvRange = 2.0f;
    for (const float Y : {0.2f, -3.0f, -kInfinity, kNaN})
        for (const int H : {0, 20000, 50000})
            EXPECT_EQ(DecodeOne(eRowSimple, t, p, {Y, static_cast<uint16_t>(H), 0.1f, 2.0f})[0], 32767) << Y;
}

TEST(RowSimple, ANaNLuminanceIsWhiteInTheScaleBranch)
{
    sTables t;
    sNumbers p;
    p.fMatrix = kIdentity;
    EXPECT_EQ(DecodeOne(eRowSimple, t, p, {kNaN, 0, 0.1f, 2.0f})[0], 65535);
}

TEST(RowDecoders, TheMarkerOfNoColourIsBlack)
{
    sTables t;
    for (const eWorker worker : kWorkers)
        for (const int sample : DecodeOne(worker, t, {}, {1000.0f, 1234, 0.0f, FromBits(0x00800000)}))
            EXPECT_EQ(sample, 0);
}

// ---- the hue-lightness term ----

TEST(HueLightness, OneHalfChangesNothing)
{
    sTables t;
    sNumbers p;
    p.fMatrix = kIdentity;
    EXPECT_EQ(DecodeOne(eHMVRowRef, t, p, {0, 0, 0.25f, 0.5f}), (std::vector<int>{32767, 16383, 16383}));
    EXPECT_EQ(DecodeOne(eRowRef, t, p, {1.0f, 0, 0.25f, 0.5f}), (std::vector<int>{32767, 16383, 16383}));
}

TEST(HueLightness, APureColourIsDoubledAndCut)
{
    sTables t;
    sNumbers p;
    p.fMatrix = kIdentity;
    t.fLightness[0] = 1.0f;
    EXPECT_EQ(DecodeOne(eHMVRowRef, t, p, {0, 0, 0.0f, 0.25f})[0], 32767);
    EXPECT_EQ(DecodeOne(eHMVRowRef, t, p, {0, 0, 0.0f, 0.75f})[0], 65535);
    t.fLightness[0] = 0.0f;
    EXPECT_EQ(DecodeOne(eHMVRowRef, t, p, {0, 0, 0.0f, 0.75f})[0], 0);
}

TEST(HueLightness, AGreyIgnoresIt)
{
    sTables t;
    sNumbers p;
    p.fMatrix = kIdentity;
    t.fLightness[0] = 1.0f;
    EXPECT_EQ(DecodeOne(eHMVRowRef, t, p, {0, 0, 0.25f, 0.25f})[0], 16383);
    EXPECT_EQ(DecodeOne(eRowRef, t, p, {1.0f, 0, 0.25f, 0.25f})[0], 16383);
}

TEST(HueLightness, TheHMVDecoderClampsBeforeTheMatrix)
{
    sTables t;
    sNumbers p;
    p.fMatrix = {0.5f, 0, 0, 0, 0.5f, 0, 0, 0, 0.5f};
    EXPECT_EQ(DecodeOne(eHMVRowRef, t, p, {0, 0, -1.0f, 4.0f}), (std::vector<int>{32767, 0, 0}));
    EXPECT_EQ(DecodeOne(eHMVRowRef, t, p, {0, 0, kNaN, 1.0f}), (std::vector<int>{32767, 32767, 32767}));
}

// ---- black pixels ----

// The HMV decoder may replace a black pixel's V, to spare the processor subnormal numbers, only where no sample shows
// it.

// Without 0, which has no paleness: its intensity is NaN, and the whole strip stays as it is.
constexpr float kBlackV[] = {0x1p-126f, 0x1p-149f,       0x1.8p-140f, 0x1p-100f,
                             0x1p-90f,  0x1.fffffep-81f, 0x1p-80f,    0x1.000002p-80f};

// Black records of many hues with pOthers ordinary ones between them. They fill a strip and a half: in a first strip
// that is not full, what follows the records may keep them as they are.
std::vector<sTwinRecord> BlackRecords(cRandom& pRandom, int pOthers)
{
    std::vector<sTwinRecord> records(200);
    for (size_t n = 0; n < records.size(); ++n)
        records[n] = {0.0f, static_cast<uint16_t>(pRandom.Word()), n % 3 == 0 ? -0.0f : 0.0f,
                      kBlackV[n % std::size(kBlackV)]};
    for (int i = 0; i < pOthers; ++i)
        records[static_cast<size_t>(pRandom.Below(200))] = {0.0f, static_cast<uint16_t>(pRandom.Word()),
                                                            pRandom.Between(-0.2f, 0.4f), pRandom.Between(0.5f, 1.5f)};
    return records;
}

// Tables whose entry for index 0 is like no other.
sTables TablesWithABlackOfTheirOwn()
{
    sTables tables;
    std::replace(tables.fEncode.begin(), tables.fEncode.end(), static_cast<unsigned short>(777),
                 static_cast<unsigned short>(778));
    tables.fEncode[0] = 777;
    return tables;
}

TEST(BlackPixels, EqualTheFormulaAmongOthersWithNeutralAndWithBentCurves)
{
    cRandom random(31);
    sTables neutral = TablesWithABlackOfTheirOwn();
    sTables bent(random);
    for (float& lightness : bent.fLightness)
        lightness = random.Unit(); // curves give no other
    bent.fEncode[0] = 777;
    for (int i = 0; i < 40; ++i)
        for (sTables* tables : {&neutral, &bent})
            for (const int bits : {8, 16})
                ExpectRowLikeTwin(eHMVRowRef, *tables, {}, sRow(eHMVRowRef, BlackRecords(random, i % 4)), bits);
}

TEST(BlackPixels, WithNoExtentAtAllEqualTheFormula)
{
    cRandom random(35);
    sTables tables = TablesWithABlackOfTheirOwn();
    std::vector<sTwinRecord> records = BlackRecords(random, 3);
    for (size_t n = 0; n < records.size(); n += 9)
        records[n].V = 0.0f;
    ExpectRowLikeTwin(eHMVRowRef, tables, {}, sRow(eHMVRowRef, std::move(records)), 16);
}

TEST(BlackPixels, WithCurvesAndMatricesOfAnyUseTheyAreBlack)
{
    cRandom random(32);
    sTables tables = TablesWithABlackOfTheirOwn();
    for (float& lightness : tables.fLightness)
        lightness = 0x1p15f;
    for (auto& color : tables.fSpace->fHMVToRGBLUT)
        for (float& channel : color)
            channel = 0x1p16f;
    sNumbers numbers;
    numbers.fMatrix = {0x1p16f, 0x1p16f, 0x1p16f, 0x1p16f, 0x1p16f, 0x1p16f, 0x1p16f, 0x1p16f, 0x1p16f};
    std::vector<sTwinRecord> records;
    for (int n = 0; n < 256; ++n)
        records.push_back({0.0f, static_cast<uint16_t>(257 * n), 0.0f, n % 2 == 0 ? 0x1p-126f : 0x1.fffffep-81f});
    const sRow row(eHMVRowRef, std::move(records));
    unsigned short dest[768] = {};
    RunWorker(eHMVRowRef, tables, numbers, row.fBytes.data(), dest, 256, 16);
    for (const unsigned short sample : dest)
        EXPECT_EQ(sample, 777);
    ExpectRowLikeTwin(eHMVRowRef, tables, numbers, sRow(eHMVRowRef, BlackRecords(random, 0)), 16);
}

// Where a number is huge. A row of one of them is enough for the formula to give light.
struct sHuge
{
    bool fColor;
    bool fLightness;
    bool fMatrix;
};

void MakeHuge(sHuge pHuge, int pExponent, sTables& pTables, sNumbers& pNumbers)
{
    const float huge = std::ldexp(1.0f, pExponent);
    if (pHuge.fColor)
        for (size_t h = 0; h < 65536; ++h)
            pTables.fSpace->fHMVToRGBLUT[h][h % 3] = h % 2 == 0 ? huge : -huge;
    if (pHuge.fLightness)
        for (size_t h = 0; h < 65536; ++h)
            pTables.fLightness[h] = h % 5 == 0 ? -huge : huge;
    if (pHuge.fMatrix)
        for (int i = 0; i < 9; ++i)
            (&pNumbers.fMatrix.m00)[i] = i % 4 == 3 ? -huge : huge;
}

// How many of the formula's samples are not those of index 0.
int LightSamples(const sTables& pTables, const sNumbers& pNumbers, const std::vector<sTwinRecord>& pRecords)
{
    int light = 0;
    for (const sTwinRecord& record : pRecords) {
        uint16_t rgb[3];
        TwinDecode(TwinOf(eHMVRowRef, pTables, pNumbers), record, false, rgb);
        for (const uint16_t sample : rgb)
            light += sample != pTables.fEncode[0] ? 1 : 0;
    }
    return light;
}

TEST(BlackPixels, WithHugeCurvesOrMatricesTheyAreAsLightAsTheFormulaSays)
{
    cRandom random(33);
    const std::vector<sTwinRecord> records = BlackRecords(random, 0);
    for (const sHuge huge :
         {sHuge{true, false, false}, {false, true, false}, {false, false, true}, {true, true, true}}) {
        int light = 0;
        for (int exponent = 10; exponent < 128; ++exponent) {
            sTables tables = TablesWithABlackOfTheirOwn();
            sNumbers numbers;
            MakeHuge(huge, exponent, tables, numbers);
            ExpectRowLikeTwin(eHMVRowRef, tables, numbers, sRow(eHMVRowRef, records), 16);
            light += LightSamples(tables, numbers, records);
        }
        EXPECT_GT(light, 100) << "no black of these would show a replaced V";
    }
}

// Record 72 has V = 2^-126: with a huge number it is black, and would not be with a larger V.
TEST(BlackPixels, OneHugeNumberInAStripIsEnoughToKeepThem)
{
    cRandom random(34);
    for (int exponent = 64; exponent < 110; exponent += 5)
        for (int place = 0; place < 4; ++place) { // a channel of the colour, or the lightness
            sTables tables = TablesWithABlackOfTheirOwn();
            const std::vector<sTwinRecord> records = BlackRecords(random, 0);
            const uint16_t hue = records[72].H;
            const float huge = std::ldexp(1.0f, exponent);
            if (place < 3)
                tables.fSpace->fHMVToRGBLUT[hue][place] = huge;
            else
                tables.fLightness[hue] = huge;
            sNumbers numbers;
            numbers.fMatrix = kIdentity;
            ExpectRowLikeTwin(eHMVRowRef, tables, numbers, sRow(eHMVRowRef, records), 16);
        }
}

TEST(BlackPixels, OneHugeEntryOfTheMatrixIsEnoughToKeepThem)
{
    cRandom random(36);
    sTables tables = TablesWithABlackOfTheirOwn();
    for (int entry = 0; entry < 9; ++entry) {
        sNumbers numbers;
        numbers.fMatrix = kIdentity;
        (&numbers.fMatrix.m00)[entry] = 0x1p100f;
        ExpectRowLikeTwin(eHMVRowRef, tables, numbers, sRow(eHMVRowRef, BlackRecords(random, 0)), 16);
    }
}

#if defined(__x86_64__)
// A processor sets a flag when it meets a subnormal operand or makes a subnormal result. Two whole strips: what stands
// in the rest of a short one is computed with too.
TEST(BlackPixels, TakeNoArithmeticOnSubnormalNumbers)
{
    if (!__builtin_cpu_supports("fma")) GTEST_SKIP() << "fused steps are a function of the C library's here";
    sTables tables;
    const sRow row(eHMVRowRef, std::vector<sTwinRecord>(256, {0.0f, 12345, 0.0f, 0x1p-126f}));
    unsigned short dest[768];
    constexpr unsigned kSubnormalFlags = 0x12; // denormal operand, underflow
    const unsigned before = _mm_getcsr();
    _mm_setcsr(before & ~0x3Fu);
    RunWorker(eHMVRowRef, tables, {}, row.fBytes.data(), dest, 256, 16);
    const unsigned flags = _mm_getcsr() & kSubnormalFlags;
    _mm_setcsr(before);
    EXPECT_EQ(flags, 0u);
}
#endif

// ---- whole pictures ----

template <class tFill>
void FillRecords(cBitmapU16T& pRecords, tFill pFill)
{
    const int bytes = 2 * pRecords.fPlanes;
    for (int y = 0; y < pRecords.fHeight; ++y)
        for (int x = 0; x < pRecords.fWidth; ++x)
            pFill(reinterpret_cast<unsigned char*>(pRecords.GetScanline(y)) + bytes * x);
}

// Decodes into the picture and compares each row with the worker's; pStep is the row distance in bytes.
void ExpectRowsOfWorker(eWorker pWorker, sTables& t, const sNumbers& p, const cBitmapU16T& pInput, cBitmapLDR& pOutput,
                        int pStep)
{
    const int bits = pOutput.GetBitsPerChannel();
    const size_t bytes = static_cast<size_t>(pInput.fWidth) * 3 * (bits == 8 ? 1 : 2);
    for (int y = 0; y < pInput.fHeight; ++y) {
        std::vector<unsigned char> expected(bytes);
        RunWorker(pWorker, t, p, pInput.GetScanline(y), expected.data(), pInput.fWidth, bits);
        const auto* row = static_cast<unsigned char*>(pOutput.GetBitmapArray()) + static_cast<ptrdiff_t>(y) * pStep;
        EXPECT_EQ(std::memcmp(row, expected.data(), bytes), 0) << "row " << y;
    }
}

void DecodeYHMV(sTables& t, const cBitmapU16T& pInput, cBitmapLDR& pOutput, float pScale, float pBlack, float pWhite)
{
    t.fSpace->YHMVToRGB(&pInput, &pOutput, t.fEncode.data(), pScale, pBlack, pWhite, kMatrix, t.fContrast.data(),
                        nullptr);
}

// The 8-bit bitmap leaves a line on the error stream when it goes.
void Quietly(const std::function<void()>& pCall)
{
    CaptureStderr(pCall);
}

TEST(BitmapYHMVToRGB, TheRangeIsWorkedOutOnce)
{
    cRandom random(31);
    sTables t(random);
    cBitmapU16T input(37, 5, YHMVPixel::kPlanes);
    FillRecords(input, [&](unsigned char* pAt) { WriteYHMV(pAt, AnyRecord(random)); });
    cBitmapBGR16 output(37, 5, eColorSpace_sRGB);
    const struct
    {
        float fBlack, fWhite, fInvRange;
    } rows[] = {{0.0f, 1.0f, 1.0f}, {0.5f, 1.5f, 1.0f},      {0.1f, 0.7f, 1.0f / (0.7f - 0.1f)},
                {0.5f, 0.5f, 1.0f}, {0.7f, 0.1f, 1.0f},      {kNaN, 1.0f, 1.0f},
                {0.0f, kNaN, 1.0f}, {0.0f, kInfinity, 0.0f}, {-1.0f, 3.0f, 0.25f}};
    for (const auto& row : rows) {
        DecodeYHMV(t, input, output, 0.8f, row.fBlack, row.fWhite);
        const sNumbers numbers = {0.8f, row.fInvRange, row.fBlack, kMatrix};
        ExpectRowsOfWorker(eRowSimple, t, numbers, input, output, output.fStride);
    }
}

TEST(BitmapYHMVToRGB, BothDepthsAndSeveralTiles)
{
    Quietly([] {
        cRandom random(32);
        sTables t(random);
        cBitmapU16T input(20000, 41, YHMVPixel::kPlanes);
        ASSERT_GT(input.fTileCount, 1);
        FillRecords(input, [&](unsigned char* pAt) { WriteYHMV(pAt, AnyRecord(random)); });
        cBitmapBGR8 bytes(20000, 41, eColorSpace_sRGB);
        cBitmapBGR16 words(20000, 41, eColorSpace_sRGB);
        DecodeYHMV(t, input, bytes, 0.8f, 0.0f, 1.0f);
        DecodeYHMV(t, input, words, 0.8f, 0.0f, 1.0f);
        const sNumbers numbers = {0.8f, 1.0f, 0.0f, kMatrix};
        ExpectRowsOfWorker(eRowSimple, t, numbers, input, bytes, bytes.fStride);
        ExpectRowsOfWorker(eRowSimple, t, numbers, input, words, words.fStride);
    });
}

TEST(BitmapHMVToRGB, BothDepths)
{
    Quietly([] {
        cRandom random(33);
        sTables t(random);
        cBitmapU16T input(131, 6, HMVPixel::kPlanes);
        FillRecords(input, [&](unsigned char* pAt) { WriteHMV(pAt, AnyRecord(random)); });
        cBitmapBGR8 bytes(131, 6, eColorSpace_sRGB);
        cBitmapBGR16 words(131, 6, eColorSpace_sRGB);
        t.fSpace->HMVToRGB(&input, &bytes, t.fEncode.data(), kMatrix, t.fLightness.data());
        t.fSpace->HMVToRGB(&input, &words, t.fEncode.data(), kMatrix, t.fLightness.data());
        ExpectRowsOfWorker(eHMVRowRef, t, {}, input, bytes, bytes.fStride);
        ExpectRowsOfWorker(eHMVRowRef, t, {}, input, words, words.fStride);
    });
}

// The size is the input's; the stride is in bytes, and cut to whole samples with 16 bits.
TEST(BitmapDecoders, RowsFollowTheOutputsStride)
{
    Quietly([] {
        cRandom random(34);
        sTables t(random);
        cBitmapU16T yhmv(5, 4, 7), hmv(5, 4, HMVPixel::kPlanes);
        FillRecords(yhmv, [&](unsigned char* pAt) { WriteYHMV(pAt, AnyRecord(random)); });
        FillRecords(hmv, [&](unsigned char* pAt) { WriteHMV(pAt, AnyRecord(random)); });
        cBitmapBGR8 bytes(16, 8, eColorSpace_sRGB);
        cBitmapBGR16 words(16, 8, eColorSpace_sRGB);
        bytes.fStride = 17;
        words.fStride = 35;
        const sNumbers numbers = {0.8f, 1.0f, 0.0f, kMatrix};
        DecodeYHMV(t, yhmv, bytes, 0.8f, 0.0f, 1.0f);
        ExpectRowsOfWorker(eRowSimple, t, numbers, yhmv, bytes, 17);
        DecodeYHMV(t, yhmv, words, 0.8f, 0.0f, 1.0f);
        ExpectRowsOfWorker(eRowSimple, t, numbers, yhmv, words, 34);
        t.fSpace->HMVToRGB(&hmv, &bytes, t.fEncode.data(), kMatrix, t.fLightness.data());
        ExpectRowsOfWorker(eHMVRowRef, t, numbers, hmv, bytes, 17);
        t.fSpace->HMVToRGB(&hmv, &words, t.fEncode.data(), kMatrix, t.fLightness.data());
        ExpectRowsOfWorker(eHMVRowRef, t, numbers, hmv, words, 34);
    });
}

// An output larger than the records keeps what lies beyond them.
TEST(BitmapDecoders, TheSizeIsTheInputs)
{
    cRandom random(36);
    sTables t(random);
    cBitmapU16T yhmv(5, 4, 7), hmv(5, 4, HMVPixel::kPlanes);
    FillRecords(yhmv, [&](unsigned char* pAt) { WriteYHMV(pAt, AnyRecord(random)); });
    FillRecords(hmv, [&](unsigned char* pAt) { WriteHMV(pAt, AnyRecord(random)); });
    cBitmapBGR16 output(16, 8, eColorSpace_sRGB);
    for (const bool luminance : {false, true}) {
        std::memset(output.fData, 0xA5, static_cast<size_t>(output.fStride) * 8);
        if (luminance)
            DecodeYHMV(t, yhmv, output, 1.0f, 0.0f, 1.0f);
        else
            t.fSpace->HMVToRGB(&hmv, &output, t.fEncode.data(), kMatrix, t.fLightness.data());
        for (int y = 0; y < 8; ++y)
            for (int n = y < 4 ? 15 : 0; n < 48; ++n)
                ASSERT_EQ(output.fData[y * 48 + n], 0xA5A5) << y << ' ' << n;
    }
}

TEST(BitmapDecoders, PaddingIsNotTouched)
{
    cRandom random(35);
    sTables t(random);
    cBitmapU16T input(5, 3, YHMVPixel::kPlanes);
    FillRecords(input, [&](unsigned char* pAt) { WriteYHMV(pAt, AnyRecord(random)); });
    cBitmapBGR16 output(5, 3, eColorSpace_sRGB);
    std::memset(output.fData, 0xA5, static_cast<size_t>(output.fStride) * 4);
    DecodeYHMV(t, input, output, 1.0f, 0.0f, 1.0f);
    for (int y = 0; y < 4; ++y)
        for (int n = y < 3 ? 15 : 0; n < output.fStride / 2; ++n)
            ASSERT_EQ(output.fData[y * (output.fStride / 2) + n], 0xA5A5) << y << ' ' << n;
}

} // namespace
