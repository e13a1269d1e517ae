// Prints one line a result, a name and a 64-bit hash of its bytes, over a wide set of made pictures. The lines are the
// same from every compiler, at every optimisation level, on every processor, for any number of workers and any cut of
// the tiles. Needs nothing but the library and the C++ runtime.
//
//   digests [WORKERS [SEED]]      workers (default 1) and the seed that cuts and orders the tiles (default 0: even,
//   forward)
//
// Names that begin with "libm/" depend on the system's own pow, exp, expf or cos; the others on arithmetic alone.

#include "bitmap/cBitmapBGR16.h"
#include "bitmap/cBitmapBGR8.h"
#include "bitmap/cBitmapXYZ32.h"
#include "bitmap/cBitmapY8.h"
#include "color/cColorSpace.h"
#include "color/cColorUtils.h"
#include "curve/cHermiteSpline.h"
#include "entry/vorniklib3.h"
#include "equalizer/cColorEqRenderer.h"
#include "filter/DivideWork.h"
#include "filter/cBilateral.h"
#include "image/cImageUtils.h"
#include "render/cTmRenderer.h"
#include "support/ArmLogarithms.h"
#include "yhmv/cYHMVColorSpace.h"

#include <algorithm>
#include <cinttypes>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace
{

using namespace Vornik;

/// A generator of our own, since the standard distributions differ between libraries.
class cRandom
{
public:
    explicit cRandom(uint64_t pSeed) : fState(pSeed * 0x9E3779B97F4A7C15u + 1) {}

    uint32_t Next()
    {
        fState = fState * 6364136223846793005u + 1442695040888963407u;
        return static_cast<uint32_t>(fState >> 33);
    }

    /// 0 to 1, a multiple of 2^-24.
    float Unit() { return static_cast<float>(Next() >> 7) * 0x1p-24f; }

    int Below(int pEnd) { return static_cast<int>(Next() % static_cast<uint32_t>(pEnd)); }

private:
    uint64_t fState;
};

int gWorkers = 1;
unsigned gSeed = 0;

struct sTile
{
    int fStart;
    int fEnd;
};

/// Even tiles in order for seed 0, otherwise cut and ordered at random, some of them empty.
std::vector<sTile> Cut(int pStart, int pEnd, int pSlots)
{
    static unsigned sCall = 0;
    cRandom random(gSeed * 1000003u + ++sCall);
    const int count = gSeed == 0 ? pSlots : pSlots + random.Below(20);
    std::vector<int> edges{pStart, std::max(pStart, pEnd)};
    for (int i = 1; i < count; i++)
        edges.push_back(gSeed == 0 ? pStart + static_cast<int>(int64_t{pEnd - pStart} * i / count)
                                   : pStart + random.Below(std::max(1, pEnd - pStart)));
    std::sort(edges.begin(), edges.end());
    std::vector<sTile> tiles;
    for (size_t i = 0; i + 1 < edges.size(); i++)
        tiles.push_back({edges[i], edges[i + 1]});
    if (gSeed != 0)
        for (size_t i = tiles.size(); i > 1; i--)
            std::swap(tiles[i - 1], tiles[static_cast<size_t>(random.Below(static_cast<int>(i)))]);
    return tiles;
}

/// FNV-1a, 64 bits.
class cHash
{
public:
    cHash& Add(const void* pBytes, size_t pSize)
    {
        const auto* bytes = static_cast<const unsigned char*>(pBytes);
        for (size_t i = 0; i < pSize; i++)
            fValue = (fValue ^ bytes[i]) * 0x100000001B3u;
        return *this;
    }
    /// Floats by value: all NaNs count alike, since the sign of one that arithmetic made is the processor's own.
    cHash& AddFloats(const float* pValues, size_t pCount)
    {
        for (size_t i = 0; i < pCount; i++) {
            uint32_t bits = 0x7FC00000u;
            if (pValues[i] == pValues[i]) std::memcpy(&bits, pValues + i, sizeof bits);
            Add(&bits, sizeof bits);
        }
        return *this;
    }
    void Print(const std::string& pName) const { std::printf("%s %016" PRIx64 "\n", pName.c_str(), fValue); }

private:
    uint64_t fValue = 0xCBF29CE484222325u;
};

// ---- The entry -----------------------------------------------------------------------------------------------------

/// Where a sample stands in its picture.
struct sPlace
{
    float fAcross; ///< 0 to 1
    float fDown;   ///< 0 to 1
    float fOrder;  ///< grows from pixel to pixel, 0 to 1
};

/// What a made picture shows: a sample of it, 0 to 1, and the exponent byte of a 32-bit pixel with that sample.
struct sSubject
{
    const char* fName;
    float (*fSample)(const sPlace& pPlace, cRandom& pRandom);
    int (*fExponent)(float pSample, cRandom& pRandom);
};

sPlace PlaceOf(int pX, int pY, int pWidth, int pHeight)
{
    return {static_cast<float>(pX) / static_cast<float>(pWidth), static_cast<float>(pY) / static_cast<float>(pHeight),
            static_cast<float>(pY * pWidth + pX + 1) / static_cast<float>(pWidth * pHeight + 1)};
}

int Exponent(float pSample, cRandom& /*pRandom*/)
{
    return 126 + static_cast<int>(pSample * 16.0f);
}

int WideExponent(float pSample, cRandom& pRandom)
{
    return Exponent(pSample, pRandom) + pRandom.Below(24) - 12;
}

int NoExponent(float /*pSample*/, cRandom& /*pRandom*/)
{
    return 0;
}

float Noise(const sPlace& /*pPlace*/, cRandom& pRandom)
{
    return pRandom.Unit();
}

/// Each pixel is a new maximum.
float Gradient(const sPlace& pPlace, cRandom& /*pRandom*/)
{
    return pPlace.fOrder;
}

/// A dark room with a window.
float Window(const sPlace& pPlace, cRandom& pRandom)
{
    const float u = pPlace.fAcross;
    const float v = pPlace.fDown;
    return (u > 0.6f && v < 0.5f ? 0.9f - 0.1f * v : 0.05f + 0.1f * u * v) + 0.02f * pRandom.Unit();
}

float Flat(const sPlace& /*pPlace*/, cRandom& /*pRandom*/)
{
    return 0.5f;
}

float Black(const sPlace& /*pPlace*/, cRandom& /*pRandom*/)
{
    return 0.0f;
}

constexpr sSubject kNoise{"noise", Noise, WideExponent};
constexpr sSubject kWindow{"window", Window, Exponent};
constexpr sSubject kSubjects[] = {
    kNoise, {"gradient", Gradient, Exponent}, kWindow, {"flat", Flat, Exponent}, {"black", Black, NoExponent}};

std::vector<unsigned char> MakeInput(const sSubject& pSubject, int pDepth, int pWidth, int pHeight, uint64_t pSeed)
{
    cRandom random(pSeed);
    std::vector<unsigned char> bytes;
    std::vector<unsigned char> planes(static_cast<size_t>(4 * pWidth));
    for (int y = 0; y < pHeight; y++) {
        for (int x = 0; x < pWidth; x++)
            for (int s = 0; s < 3; s++) {
                const float value = pSubject.fSample(PlaceOf(x, y, pWidth, pHeight), random);
                const auto code = static_cast<unsigned>(value * 65535.0f);
                if (pDepth == 8)
                    bytes.push_back(static_cast<unsigned char>(code >> 8));
                else if (pDepth == 16) {
                    bytes.push_back(static_cast<unsigned char>(code & 255));
                    bytes.push_back(static_cast<unsigned char>(code >> 8));
                } else {
                    planes[static_cast<size_t>(s * pWidth + x)] = static_cast<unsigned char>(code >> 8);
                    planes[static_cast<size_t>(3 * pWidth + x)] =
                        static_cast<unsigned char>(pSubject.fExponent(value, random));
                }
            }
        if (pDepth == 32) bytes.insert(bytes.end(), planes.begin(), planes.end());
    }
    return bytes;
}

/// Sliders by number: 0 neutral, the others spread over and beyond their ranges.
sTmSliders Sliders(int pNumber)
{
    sTmSliders sliders{};
    if (pNumber == 0) return sliders;
    cRandom random(static_cast<uint64_t>(pNumber));
    const auto between = [&](float pLow, float pHigh) { return pLow + (pHigh - pLow) * random.Unit(); };
    sliders.compression = between(-140.0f, 140.0f);
    sliders.smoothness = between(-12.0f, 12.0f);
    sliders.adaptation = between(-20.0f, 120.0f);
    sliders.whiteClip = between(0.0f, 60.0f);
    sliders.blackClip = between(0.0f, 5.0f);
    sliders.radius = between(-12.0f, 12.0f);
    sliders.wrapSwitch = random.Below(2) == 0 ? 0.0f : 1.0f;
    return sliders;
}

void PrintCall(const std::string& pName, sTmImageDesc pImage, int pSpace, sTmSliders pSliders,
               const std::vector<unsigned char>& pInput)
{
    std::vector<unsigned char> output(static_cast<size_t>(pImage.width * pImage.height * 3 * pImage.outputDepth / 8));
    sTmRunSettings run{gWorkers, 0, 0};
    const int32_t result = cpp_tm_selvane(&pImage, &run, pSpace, &pSliders, pInput.data(), output.data());
    cHash()
        .Add(&result, sizeof result)
        .Add(output.data(), output.size())
        .AddFloats(&pSliders.blackPoint, 2)
        .Print(pName);
}

void PrintEntry(const sSubject& pSubject, int pDepth, int pOutputDepth, int pSpace, int pSliders, int pWidth,
                int pHeight)
{
    char name[120];
    std::snprintf(name, sizeof name, "libm/entry/%s/%dx%d/in%d/out%d/space%d/sliders%d", pSubject.fName, pWidth,
                  pHeight, pDepth, pOutputDepth, pSpace, pSliders);
    PrintCall(name, {pWidth, pHeight, 3, pDepth, pOutputDepth, 3 * pWidth, 3 * pWidth, pSliders % 2}, pSpace,
              Sliders(pSliders), MakeInput(pSubject, pDepth, pWidth, pHeight, static_cast<uint64_t>(pSliders) + 7));
}

void PrintEntries()
{
    int number = 0;
    for (const sSubject& subject : kSubjects)
        for (int depth : {8, 16, 32})
            for (int outputDepth : {8, 16})
                for (int space = 0; space < 3; space++, number++)
                    PrintEntry(subject, depth, outputDepth, space, number % 3 == 0 ? 0 : number, 17 + number % 40,
                               11 + number % 23);
    for (int size : {1, 2, 3, 4, 5, 130})
        PrintEntry(kNoise, 32, 16, 0, size, size, 7 - size % 5);
    PrintEntry(kWindow, 32, 16, 0, 0, 400, 300);
}

// ---- Logarithms ----------------------------------------------------------------------------------------------------

/// A pixel of three samples with a shared exponent.
struct sSharedPixel
{
    unsigned char fSamples[3];
    unsigned char fExponent;
};

/// The luminance of each is one of kArmLogarithms, in the colour space of its row.
constexpr sSharedPixel kArmPixels[3][4] = {
    {{{8, 155, 252}, 143}, {{187, 114, 85}, 157}, {{122, 124, 193}, 115}, {{113, 128, 174}, 101}},
    {{{31, 185, 44}, 143}, {{204, 83, 207}, 157}, {{163, 105, 179}, 115}, {{110, 129, 198}, 101}},
    {{{136, 125, 215}, 143}, {{189, 104, 99}, 157}, {{212, 4, 76}, 116}, {{129, 127, 220}, 101}}};

/// A picture of stripes, one a pixel of the row.
std::vector<unsigned char> Stripes(const sSharedPixel (&pPixels)[4], int pStripe, int pHeight)
{
    std::vector<unsigned char> row;
    for (int plane = 0; plane < 4; plane++)
        for (const sSharedPixel& pixel : pPixels)
            row.insert(row.end(), static_cast<size_t>(pStripe), plane < 3 ? pixel.fSamples[plane] : pixel.fExponent);
    std::vector<unsigned char> picture;
    for (int y = 0; y < pHeight; y++)
        picture.insert(picture.end(), row.begin(), row.end());
    return picture;
}

/// The logarithms that the renderer takes of these luminances.
void PrintLogarithms(const std::string& pName, const std::vector<float>& pLuminances)
{
    const int count = static_cast<int>(pLuminances.size());
    cBitmapXYZ32 picture(count, 1);
    for (int i = 0; i < count; i++)
        std::fill_n(picture.fData + 3 * i, 3, pLuminances[static_cast<size_t>(i)]);
    std::vector<float> logarithms(pLuminances.size());
    bool cancel = false;
    bool cancelled = false;
    float extremes[] = {INFINITY, 0.0f};
    CalcMinMaxLog_tile(0, 0, 1, &picture, logarithms.data(), count, &cancel, &cancelled, extremes, extremes + 1,
                       0x1p-149f);
    cHash().AddFloats(logarithms.data(), logarithms.size()).AddFloats(extremes, 2).Print(pName);
}

/// A positive float of every 4096 neighbours.
std::vector<float> StratifiedFloats()
{
    std::vector<float> values;
    cRandom random(41);
    for (uint32_t first = 0; first < 0x7F800000u; first += 4096) {
        const uint32_t bits = first + 1 + random.Next() % 4095;
        std::memcpy(&values.emplace_back(), &bits, sizeof bits);
    }
    return values;
}

void PrintLogarithms()
{
    std::vector<float> luminances;
    for (const SelvaneTest::sArmLogarithm& known : SelvaneTest::kArmLogarithms)
        std::memcpy(&luminances.emplace_back(), &known.fValue, sizeof known.fValue);
    PrintLogarithms("log10/arm", luminances);
    PrintLogarithms("log10/strata", StratifiedFloats());
    constexpr int kStripe = 5;
    constexpr int kHeight = 7;
    for (int space = 0; space < 3; space++)
        for (int sliders : {0, space + 1})
            PrintCall("libm/entry/arm/space" + std::to_string(space) + "/sliders" + std::to_string(sliders),
                      {4 * kStripe, kHeight, 3, 32, 16, 12 * kStripe, 12 * kStripe, 0}, space, Sliders(sliders),
                      Stripes(kArmPixels[space], kStripe, kHeight));
}

// ---- The classes ---------------------------------------------------------------------------------------------------

std::vector<float> Plane(int pCount, float pLow, float pHigh, uint64_t pSeed)
{
    cRandom random(pSeed);
    std::vector<float> plane(static_cast<size_t>(pCount));
    for (float& value : plane)
        value = pLow + (pHigh - pLow) * random.Unit();
    return plane;
}

void PrintFilters()
{
    for (const auto& [width, height] : {std::pair{1, 1}, {7, 3}, {64, 48}, {131, 70}, {300, 211}})
        for (int wrap : {0, 1}) {
            std::vector<float> input = Plane(width * height, -4.0f, 3.0f, 5);
            std::vector<float> output(input.size());
            bool cancel = false;
            bool cancelled = false;
            cBilateral::Filter_Fast(&cancel, &cancelled, gWorkers, input.data(), output.data(), width, height,
                                    0.025f * static_cast<float>(width) + 0.5f, 0.32f, -4.0f, 3.0f, 0.7f, wrap != 0);
            cHash()
                .AddFloats(output.data(), output.size())
                .Print("filter/fast/" + std::to_string(width) + "/wrap" + std::to_string(wrap));
        }
    for (float sigma : {0.3f, 1.0f, 2.5f, 17.0f, 400.0f}) {
        std::vector<float> plane = Plane(150 * 90, -1.0f, 1.0f, 6);
        cBilateral::FastGaussianBlur(gWorkers, plane.data(), plane.data(), 150, 90, sigma);
        cHash().AddFloats(plane.data(), plane.size()).Print("filter/blur/" + std::to_string(sigma));
    }
}

void PrintCurves()
{
    cRandom random(11);
    for (int mode = 0; mode < 4; mode++)
        for (int points = 2; points < 7; points++) {
            std::vector<sControlPoint> controls(static_cast<size_t>(points));
            for (sControlPoint& point : controls) {
                const auto unit = [&] { return 1.4f * random.Unit() - 0.2f; };
                point.fPoint = cVector2{unit(), unit()};
                point.fNextTangent = cVector2{unit(), unit()};
                point.fPreviousTangent = cVector2{unit(), unit()};
                point.fIndex = 0;
            }
            cHermiteSpline curve;
            curve.SetControlPoints(static_cast<eSplineInterpolationMode>(mode), points, controls.data());
            curve.AddPoint(0.37f, 0.61f);
            cHash()
                .AddFloats(curve.GetLUT16f(), 65537)
                .Add(curve.GetLUT16i(), 65536 * sizeof(unsigned short))
                .AddFloats(curve.GetLUT8f(), 256)
                .Add(curve.GetLUT8i(), 256)
                .Print("curve/mode" + std::to_string(mode) + "/points" + std::to_string(points));
        }
}

/// Spaces from made primaries, and from the numbers of a profile.
void PrintGenericSpaces()
{
    cHash primaries;
    cHash profiles;
    cRandom random(29);
    const auto near = [&](float pX, float pY) {
        const float x = pX + 0.05f * random.Unit();
        return cVector2(x, pY + 0.05f * random.Unit()); // in this order
    };
    const auto add = [](cHash& pHash, const cColorSpace& pSpace) {
        pHash.AddFloats(&pSpace.fToXYZ.m00, 9)
            .AddFloats(&pSpace.fFromXYZ.m00, 9)
            .AddFloats(&pSpace.fToPCS.m00, 9)
            .AddFloats(&pSpace.fFromPCS.m00, 9);
    };
    for (int i = 0; i < 500; i++) {
        const cVector2 red = near(0.62f, 0.30f);
        const cVector2 green = near(0.25f, 0.60f);
        const cVector2 blue = near(0.12f, 0.04f);
        const cColorSpace_GenericRGB made(red, green, blue, near(0.30f, 0.31f), 2.2f);
        add(primaries, made);
        unsigned short table[] = {0, 65535};
        const cVector3 white(0.9f + 0.1f * random.Unit(), 1.0f, 1.0f);
        const cColorSpace_GenericRGB read(made.fToPCS, white, table, 2, table, 2);
        add(profiles, read);
    }
    primaries.Print("color/generic/primaries");
    profiles.Print("color/generic/profiles");
}

void PrintColours()
{
    for (int id = 0; id < 3; id++) {
        const std::unique_ptr<cColorSpace> space(cColorSpace::FromID(static_cast<eColorSpaceID>(id)));
        cHash()
            .AddFloats(&space->fToXYZ.m00, 9)
            .AddFloats(&space->fFromXYZ.m00, 9)
            .AddFloats(&space->fToPCS.m00, 9)
            .AddFloats(&space->fFromPCS.m00, 9)
            .Print("color/matrices/" + std::to_string(id));
        const auto to = std::make_unique<cTransferLUT_I16F32>(space->GetToLinearTransfer());
        const auto from = std::make_unique<cTransferLUT_F32I16>(space->GetFromLinearTransfer());
        cHash()
            .AddFloats(to->fLUT, 65536)
            .Add(from->fLUT, sizeof from->fLUT)
            .Print("libm/color/transfers/" + std::to_string(id));
    }
    PrintGenericSpaces();
    cHash hsb;
    cHash fixed;
    cRandom random(13);
    for (int i = 0; i < 5000; i++) {
        const cVector3 colour{1.4f * random.Unit() - 0.2f, 1.4f * random.Unit() - 0.2f, random.Unit()}; // in this order
        const cVector3 there = cColorUtils::RGBToHSB(colour);
        const cVector3 back = cColorUtils::HSBToRGB(cVector3(900.0f * colour.x, colour.y, colour.z));
        const cVector3 pcs = cColorUtils::sRGBToPCS(colour);
        hsb.AddFloats(&there.x, 1)
            .AddFloats(&there.y, 1)
            .AddFloats(&there.z, 1)
            .AddFloats(&back.x, 1)
            .AddFloats(&back.y, 1)
            .AddFloats(&back.z, 1);
        fixed.AddFloats(&pcs.x, 1).AddFloats(&pcs.y, 1).AddFloats(&pcs.z, 1);
    }
    hsb.Print("color/hsb");
    fixed.Print("libm/color/fixed");
}

void FillPicture(cBitmapXYZ32& pPicture, uint64_t pSeed)
{
    cRandom random(pSeed);
    for (int y = 0; y < pPicture.fHeight; y++)
        for (int i = 0; i < 3 * pPicture.fWidth; i++)
            pPicture.fData[y * (pPicture.fStride / 4) + i] = 1.5f * random.Unit() - 0.2f;
}

void AddPicture(cHash& pHash, const cBitmapXYZ32& pPicture)
{
    for (int y = 0; y < pPicture.fHeight; y++)
        pHash.AddFloats(pPicture.fData + y * (pPicture.fStride / 4), static_cast<size_t>(3 * pPicture.fWidth));
}

void AddPicture(cHash& pHash, const cBitmapBGR16& pPicture)
{
    for (int y = 0; y < pPicture.fHeight; y++)
        pHash.Add(pPicture.fData + y * (pPicture.fStride / 2), static_cast<size_t>(6 * pPicture.fWidth));
}

/// Through tables and matrices, both depths.
void PrintConversions(int pWidth)
{
    const cMatrix33 matrix{0.9f, -0.2f, 0.1f, 0.15f, 0.8f, 0.1f, -0.05f, 0.3f, 0.7f};
    cBitmapXYZ32 picture(pWidth, 9);
    cBitmapXYZ32 back(pWidth, 9);
    FillPicture(picture, static_cast<uint64_t>(pWidth) + 100);
    cBitmapBGR16 sixteen(pWidth, 9, eColorSpace_AdobeRGB98);
    cBitmapBGR8 eight(pWidth, 9, eColorSpace_sRGB);
    cColorSpace* space = sixteen.GetColorSpace();
    const auto to16 = std::make_unique<cTransferLUT_F32I16>(space->GetFromLinearTransfer());
    const auto to8 = std::make_unique<cTransferLUT_F32I8>(space->GetFromLinearTransfer());
    const auto from16 = std::make_unique<cTransferLUT_I16F32>(space->GetToLinearTransfer());
    const auto from8 = std::make_unique<cTransferLUT_I8F32>(space->GetToLinearTransfer());
    cHash hash;
    cImageUtils::Float3ToBGR16(&picture, &sixteen, to16.get(), matrix);
    AddPicture(hash, sixteen);
    cImageUtils::Float3ToBGR8(&picture, &eight, to8.get(), matrix);
    cImageUtils::BGR8ToFloat3(&eight, &back, from8.get(), matrix);
    AddPicture(hash, back);
    cImageUtils::BGR16ToFloat3(&sixteen, &back, from16.get(), matrix);
    AddPicture(hash, back);
    cImageUtils::BGR8ToBGR32Linear(&eight, &back);
    AddPicture(hash, back);
    cImageUtils::BGR32LinearToBGR16(&picture, &sixteen);
    AddPicture(hash, sixteen);
    hash.Print("libm/conversions/" + std::to_string(pWidth));
}

void PrintPictures()
{
    for (const int width : {1, 8, 131})
        PrintConversions(width);
    for (int width : {1, 5, 67, 259}) {
        cBitmapXYZ32 picture(width, 31);
        FillPicture(picture, static_cast<uint64_t>(width));
        cBitmapBGR16 sixteen(width, 31, eColorSpace_AdobeRGB98);
        cBitmapBGR8 eight(width, 31, eColorSpace_ProPhotoRGB);
        cHash hash;
        cImageUtils::BGR32ToBGR16(&picture, &sixteen);
        AddPicture(hash, sixteen);
        cImageUtils::Convert(&sixteen, &eight);
        const std::unique_ptr<cBitmapY8> grey(cBitmapY8::FromBitmapLDR(&eight));
        for (int y = 0; y < 31; y++)
            hash.Add(grey->fData + y * grey->fStride, static_cast<size_t>(width));
        cImageUtils::ColorTransform(&picture, cMatrix33{0.5f, 0.3f, 0.1f, -0.2f, 0.9f, 0.3f, 0.01f, -0.07f, 1.3f});
        AddPicture(hash, picture);
        double difference[3];
        float mean[3];
        cBitmapXYZ32 normal(&picture);
        cImageUtils::Normalize(&normal, width % 2 == 0);
        AddPicture(hash, normal);
        cImageUtils::Diff(&picture, &normal, difference[0], difference[1], difference[2]);
        cImageUtils::Mean(&picture, mean[0], mean[1], mean[2]);
        hash.Add(difference, sizeof difference).AddFloats(mean, 3).Print("image/" + std::to_string(width));

        cHash equalized;
        const auto owned = std::make_unique<cColorEqRenderer>();
        cColorEqRenderer& renderer = *owned;
        cBitmapBGR16 output(width, 31, eColorSpace_sRGB);
        renderer.SetInput(&sixteen);
        renderer.SetOutput(&output);
        cHermiteSpline bent(0.0f, 0.5f, 0.4f, 0.7f, 1.0f, 0.5f);
        renderer.SetHueCurves(&bent, &bent, &bent);
        renderer.Render();
        AddPicture(equalized, output);
        equalized.Print("libm/equalizer/" + std::to_string(width));
    }
}

} // namespace

extern "C" void DivideWork(int start, int end, int threads, void* (*fn)(void*), void* record, size_t recordSize)
{
    const int slots = std::max(1, threads);
    const std::vector<sTile> tiles = Cut(start, end, slots);
    std::vector<std::thread> workers;
    const auto run = [&](int pSlot) {
        std::vector<unsigned char> copy(recordSize);
        for (size_t i = static_cast<size_t>(pSlot); i < tiles.size(); i += static_cast<size_t>(slots)) {
            std::memcpy(copy.data(), record, recordSize);
            TileRecord header{pSlot, 0, tiles[i].fStart, tiles[i].fEnd};
            std::memcpy(copy.data(), &header, sizeof header);
            fn(copy.data());
        }
    };
    for (int slot = 1; slot < slots; slot++)
        workers.emplace_back(run, slot);
    run(0);
    for (std::thread& worker : workers)
        worker.join();
}

int main(int pCount, char** pWords)
{
    if (pCount > 1) gWorkers = std::atoi(pWords[1]);
    if (pCount > 2) gSeed = static_cast<unsigned>(std::atoi(pWords[2]));
    PrintEntries();
    PrintFilters();
    PrintCurves();
    PrintColours();
    PrintPictures();
    PrintLogarithms();
    return std::fflush(stdout) == 0 ? 0 : 1;
}
