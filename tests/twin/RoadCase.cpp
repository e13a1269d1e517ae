#include "twin/RoadCase.h"

#include "twin/ReferenceTables.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>

namespace SelvaneTwin
{

namespace
{

using namespace SelvaneTest;

constexpr size_t kMargin = 64; ///< bytes on both sides of the output that nothing may touch

const float kInfinity = std::numeric_limits<float>::infinity();
const float kNaN = std::numeric_limits<float>::quiet_NaN();

/// First and last sample of a buffer that a form reaches, counted from its start.
struct sExtent
{
    std::int64_t low = 0;
    std::int64_t high = -1;

    void Reach(std::int64_t pIndex)
    {
        low = std::min(low, pIndex);
        high = std::max(high, pIndex);
    }
};

bool IsHdr(const sTmImageDesc& pImage)
{
    return pImage.inputDepth == 32;
}

std::int64_t InputAdvance(const sTmImageDesc& pImage)
{
    return std::int64_t(pImage.width) * pImage.samplesPerPixel + pImage.inputRowSamples -
           3 * std::int64_t(pImage.width);
}

sExtent InputExtent(const sTmImageDesc& pImage)
{
    sExtent extent;
    if (IsHdr(pImage)) {
        extent.Reach(4 * std::int64_t(pImage.width) * pImage.height - 1);
        return extent;
    }
    const std::int64_t lastRow = (pImage.height - 1) * InputAdvance(pImage);
    const std::int64_t lastSample = std::int64_t(pImage.width) * pImage.samplesPerPixel - 1;
    for (const std::int64_t row : {std::int64_t(0), lastRow}) {
        extent.Reach(row);
        extent.Reach(row + lastSample);
    }
    return extent;
}

sExtent OutputExtent(const sTmImageDesc& pImage)
{
    sExtent extent;
    if (pImage.bgrOrder != 0) {
        extent.high = std::int64_t(pImage.height) * pImage.outputRowSamples - 1;
        return extent;
    }
    const std::int64_t lastRow = std::int64_t(pImage.height - 1) * pImage.outputRowSamples;
    for (const std::int64_t row : {std::int64_t(0), lastRow}) {
        extent.Reach(row);
        extent.Reach(row + std::int64_t(pImage.width) * pImage.samplesPerPixel - 1);
    }
    return extent;
}

size_t InputSampleBytes(const sTmImageDesc& pImage)
{
    return pImage.inputDepth == 16 ? 2 : 1;
}

size_t OutputSampleBytes(const sTmImageDesc& pImage)
{
    return pImage.outputDepth == 16 ? 2 : 1;
}

/// Three numbers from 0 to 1 for a pixel of a picture.
struct sShade
{
    float r, g, b;
};

sShade Grey(float pValue)
{
    return {pValue, pValue, pValue};
}

/// Position of a pixel and the size of its picture.
struct sPlace
{
    int x, y, width, height;

    float Order() const { return float(y * width + x + 1) / float(width * height); }
};

sShade Texture(cRandom& pRandom, const sPlace& p)
{
    const float across = float(p.x) / float(p.width);
    const float down = float(p.y) / float(p.height);
    const float wave = 0.5f + 0.4f * std::sin(9.0f * across + 5.0f * down);
    const float noise = pRandom.Between(0.8f, 1.0f);
    return {wave * noise, wave * noise * (0.4f + 0.6f * across), wave * noise * (1.0f - 0.7f * down)};
}

sShade ShadeOf(ePicture pPicture, cRandom& pRandom, const sPlace& pPlace)
{
    switch (pPicture) {
    case ePictureRising:
        return Grey(pPlace.Order());
    case ePictureFalling:
        return Grey(1.0f - pPlace.Order());
    case ePictureFlat:
        return {0.6f, 0.5f, 0.3f};
    case ePictureBlack:
        return Grey(0.0f);
    case ePictureEdge:
        return Grey(2 * pPlace.x < pPlace.width ? pRandom.Between(0.05f, 0.1f) : pRandom.Between(0.8f, 1.0f));
    case ePictureSpark:
        return Grey(pPlace.x == pPlace.width / 2 && pPlace.y == pPlace.height / 2 ? 1.0f : 0.02f);
    case ePictureDark:
        return {pRandom.Between(0.0f, 0.02f), pRandom.Between(0.0f, 0.02f), pRandom.Between(0.0f, 0.02f)};
    case ePictureBright:
        return {pRandom.Between(0.95f, 1.0f), pRandom.Between(0.95f, 1.0f), pRandom.Between(0.95f, 1.0f)};
    case ePicturePrimaries:
        return {float(pRandom.Between(0, 1)), float(pRandom.Between(0, 1)), float(pRandom.Between(0, 1))};
    case ePictureTexture:
        return Texture(pRandom, pPlace);
    default:
        return {pRandom.Between(0.0f, 1.0f), pRandom.Between(0.0f, 1.0f), pRandom.Between(0.0f, 1.0f)};
    }
}

void PutSample(sCase& pCase, std::int64_t pIndex, float pShade)
{
    const size_t bytes = InputSampleBytes(pCase.fImage);
    unsigned char* place = pCase.fInput.data() + pCase.fInputStart + pIndex * std::int64_t(bytes);
    const std::uint16_t wide = static_cast<std::uint16_t>(pShade * 65535.0f);
    if (bytes == 2)
        std::memcpy(place, &wide, 2);
    else
        *place = static_cast<unsigned char>(pShade * 255.0f);
}

void PaintSamples(sCase& pCase, cRandom& pRandom, ePicture pPicture)
{
    const sTmImageDesc& image = pCase.fImage;
    const int last = image.samplesPerPixel - 1;
    for (int y = 0; y < image.height; y++)
        for (int x = 0; x < image.width; x++) {
            const sShade shade = ShadeOf(pPicture, pRandom, {x, y, image.width, image.height});
            const std::int64_t first = y * InputAdvance(image) + std::int64_t(x) * image.samplesPerPixel;
            PutSample(pCase, first + (image.bgrOrder != 0 ? last : 0), shade.r);
            PutSample(pCase, first + (image.bgrOrder != 0 ? 0 : last), shade.b);
            PutSample(pCase, first + last / 2, shade.g);
        }
}

/// The exponents that a picture uses: shade 0 gives the first, shade 1 the last.
struct sExponents
{
    int low;
    int high;
};

sExponents ExponentsOf(ePicture pPicture, cRandom& pRandom)
{
    switch (pPicture) {
    case ePictureDark:
        return {0, pRandom.Between(2, 16)};
    case ePictureBright:
        return {pRandom.Between(225, 254), 255};
    case ePictureFlat:
        return {128, 128};
    case ePicturePrimaries:
        return pRandom.OneIn(2) ? sExponents{1, pRandom.Between(1, 2)} : sExponents{126, 130};
    default:
        return pRandom.OneIn(8) ? sExponents{0, 255}
                                : sExponents{128 - pRandom.Between(0, 30), 128 + pRandom.Between(0, 12)};
    }
}

unsigned char Mantissa(float pShade, float pLargest)
{
    if (!(pLargest > 0.0f)) return 0;
    return static_cast<unsigned char>(255.0f * (pShade / pLargest));
}

void PaintPlanes(sCase& pCase, cRandom& pRandom, ePicture pPicture)
{
    const size_t width = size_t(pCase.fImage.width);
    const sExponents exponents = ExponentsOf(pPicture, pRandom);
    for (size_t y = 0; y < size_t(pCase.fImage.height); y++)
        for (size_t x = 0; x < width; x++) {
            const sPlace place = {int(x), int(y), pCase.fImage.width, pCase.fImage.height};
            const sShade shade = ShadeOf(pPicture, pRandom, place);
            const float largest = std::max({shade.r, shade.g, shade.b});
            // Within one exponent the mantissas of a grey ramp rise too, so that each pixel is a new maximum.
            const float steps = largest * float(exponents.high - exponents.low + 1);
            const float whole = std::floor(std::min(steps, float(exponents.high - exponents.low)));
            unsigned char* row = pCase.fInput.data() + pCase.fInputStart + y * 4 * width;
            row[3 * width + x] = static_cast<unsigned char>(exponents.low + int(whole));
            const float fraction = std::min(1.0f, steps - whole);
            const bool grey = shade.r == shade.g && shade.g == shade.b && pPicture != ePicturePrimaries;
            const unsigned char ramp = static_cast<unsigned char>(128.0f + 127.0f * fraction);
            row[x] = grey && largest > 0.0f ? ramp : Mantissa(shade.r, largest);
            row[width + x] = grey && largest > 0.0f ? ramp : Mantissa(shade.g, largest);
            row[2 * width + x] = grey && largest > 0.0f ? ramp : Mantissa(shade.b, largest);
        }
}

std::vector<float*> Reachable(sTmSliders& pSliders)
{
    return {&pSliders.compression, &pSliders.smoothness, &pSliders.adaptation,
            &pSliders.whiteClip,   &pSliders.blackClip,  &pSliders.radius};
}

} // namespace

std::string sCase::Text() const
{
    char text[1024];
    std::snprintf(
        text, sizeof text,
        "%s: %d x %d, s %d, depth %d -> %d, rows %d -> %d, bgr %d, space %d, workers %d, request %d, tiles %d/%d/%d"
        ", compression %a smoothness %a adaptation %a white %a black %a radius %a wrap %a points %a %a",
        fName.c_str(), fImage.width, fImage.height, fImage.samplesPerPixel, fImage.inputDepth, fImage.outputDepth,
        fImage.inputRowSamples, fImage.outputRowSamples, fImage.bgrOrder, fSpace, fRun.processorCount, fRun.requestType,
        fCutting.fTiles, int(fCutting.fOrder), int(fCutting.fThreads), double(fSliders.compression),
        double(fSliders.smoothness), double(fSliders.adaptation), double(fSliders.whiteClip),
        double(fSliders.blackClip), double(fSliders.radius), double(fSliders.wrapSwitch), double(fSliders.blackPoint),
        double(fSliders.whitePoint));
    return text;
}

void ChooseHost(sCase& pCase, cRandom& pRandom)
{
    pCase.fRun.processorCount = pRandom.Of<int>({1, 1, 2, 2, 5, 5, 3, 8, 300});
    pCase.fRun.reserved = 0x5A5A5A5A;
    pCase.fRun.requestType = pRandom.Of<int>({0, 0, 0, 2, 9, -7, 1});
    pCase.fSpace = pRandom.Between(0, eSpaceCount - 1);
    pCase.fCutting.fTiles = pRandom.Of<int>({0, 0, 1, 3, 17, 200});
    pCase.fCutting.fOrder = pRandom.Of<eTileOrder>({eTilesForward, eTilesReverse, eTilesShuffled});
    pCase.fCutting.fThreads = pCase.fRun.processorCount <= 8 && pRandom.OneIn(4);
    pCase.fCutting.fUneven = pRandom.OneIn(2);
    pCase.fCutting.fSeed = unsigned(pRandom.Between(1, 1 << 30));
}

void ChoosePlainForm(sCase& pCase, int pWidth, int pHeight, int pInputDepth, int pOutputDepth)
{
    pCase.fImage = {pWidth, pHeight, 3, pInputDepth, pOutputDepth, 3 * pWidth, 3 * pWidth, 1};
}

void ChooseForm(sCase& pCase, cRandom& pRandom, int pWidth, int pHeight)
{
    ChoosePlainForm(pCase, pWidth, pHeight, pRandom.Of<int>({8, 16, 32}), pRandom.Of<int>({8, 16}));
    sTmImageDesc& image = pCase.fImage;
    image.samplesPerPixel = pRandom.Of<int>({3, 3, 3, 3, 1, 1, 4, 4, 2, 5, 8});
    image.bgrOrder = pRandom.Of<int>({0, 0, 1, 1, -1, 256});
    const int own = pWidth * image.samplesPerPixel;
    const int row = own + (pRandom.OneIn(2) ? 0 : pRandom.Between(1, 13));
    image.inputRowSamples = (pRandom.OneIn(12) ? -row : row) - own + 3 * pWidth;
    image.outputRowSamples =
        pRandom.Of<int>({own, own, own + 1, own + 5, own - pWidth, 3 * pWidth, (3 * pWidth + 15) / 12 * 12,
                         3 * ((pWidth + 3) & ~3), 5 * own + 7, pRandom.Between(0, 4 * own)});
    if (image.bgrOrder == 0 && pRandom.OneIn(12)) image.outputRowSamples = -image.outputRowSamples;
    if (image.bgrOrder != 0 && image.outputRowSamples < 0) image.outputRowSamples = own;
}

void Paint(sCase& pCase, cRandom& pRandom, ePicture pPicture)
{
    const size_t oddInput = pCase.fImage.inputDepth == 16 && pRandom.OneIn(5) ? 1 : 0;
    const size_t oddOutput = pCase.fImage.outputDepth == 16 && pRandom.OneIn(5) ? 1 : 0;
    const sExtent in = InputExtent(pCase.fImage);
    const size_t inBytes = InputSampleBytes(pCase.fImage);
    pCase.fInput.resize(oddInput + size_t(in.high - in.low + 1) * inBytes);
    pCase.fInputStart = oddInput + size_t(-in.low) * inBytes;
    for (unsigned char& byte : pCase.fInput)
        byte = static_cast<unsigned char>(pRandom.Between(0, 255));
    if (IsHdr(pCase.fImage))
        PaintPlanes(pCase, pRandom, pPicture);
    else
        PaintSamples(pCase, pRandom, pPicture);
    const sExtent out = OutputExtent(pCase.fImage);
    const size_t outBytes = OutputSampleBytes(pCase.fImage);
    pCase.fOutputSize = 2 * kMargin + oddOutput + size_t(out.high - out.low + 1) * outBytes;
    pCase.fOutputStart = kMargin + oddOutput + size_t(-out.low) * outBytes;
}

void ChooseSliders(sCase& pCase, cRandom& pRandom)
{
    sTmSliders& s = pCase.fSliders;
    std::memset(static_cast<void*>(&s), 0x41, sizeof s);
    const auto rest = [&](float pLow, float pHigh) { return pRandom.OneIn(3) ? 0.0f : pRandom.Between(pLow, pHigh); };
    s.compression = rest(-100.0f, 100.0f);
    s.smoothness = rest(-10.0f, 10.0f);
    s.adaptation = pRandom.OneIn(2) ? 0.0f : pRandom.Between(0.0f, 100.0f);
    s.whiteClip = rest(0.0f, 100.0f);
    s.blackClip = rest(0.0f, 10.0f);
    s.radius = rest(-10.0f, 10.0f);
    s.reservedSwitch = pRandom.Of<float>({0.0f, 1.0f, kNaN});
    s.wrapSwitch = pRandom.Of<float>({0.0f, 0.0f, 1.0f, 0.999f, kNaN});
    s.blackPoint = 0.0f;
    s.whitePoint = 0.0f;
}

void ChooseFarSliders(sCase& pCase, cRandom& pRandom)
{
    ChooseSliders(pCase, pRandom);
    sTmSliders& s = pCase.fSliders;
    s.compression = pRandom.Between(-600.0f, 600.0f);
    if (pRandom.OneIn(2)) s.smoothness = pRandom.Between(-300.0f, 40.0f);
    if (pRandom.OneIn(2)) s.adaptation = pRandom.Between(-100.0f, 1000.0f);
    if (pRandom.OneIn(2)) s.whiteClip = pRandom.Between(-500.0f, 4000.0f);
    if (pRandom.OneIn(2)) s.blackClip = pRandom.Between(-50.0f, 150.0f);
    if (pRandom.OneIn(2)) s.radius = pRandom.Between(-60.0f, 21.0f);
}

void ChooseSpecialSliders(sCase& pCase, cRandom& pRandom)
{
    ChooseSliders(pCase, pRandom);
    const int count = pRandom.Between(1, 3);
    for (int i = 0; i < count; i++)
        *pRandom.Of(Reachable(pCase.fSliders)) =
            pRandom.Of<float>({kNaN, -kNaN, kInfinity, -kInfinity, 1e30f, -1e30f, -0.0f, 1e-45f, -1e-45f, 1e6f, -1e6f,
                               -117.5f, 204.0f, 3.4e38f});
    pCase.fSliders.wrapSwitch = pRandom.Of<float>({0.0f, 0.0f, 0.0f, 1.0f, kInfinity});
}

void ChoosePoints(sCase& pCase, cRandom& pRandom)
{
    pCase.fRun.requestType = 1;
    float& black = pCase.fSliders.blackPoint;
    float& white = pCase.fSliders.whitePoint;
    white = std::pow(10.0f, pRandom.Between(-4.0f, 4.0f));
    black = white * pRandom.Between(0.0f, 0.5f);
    const std::vector<std::pair<float, float>> fixed = {
        {0.0f, 0.0f},   {3.0f, 2.0f},           {0.5f, 1.5f},       {1.0f, 1.0f},   {0.0f, 1.0f},      {-1.0f, 0.0f},
        {kNaN, 1.0f},   {0.0f, kNaN},           {-kInfinity, 1.0f}, {0.0f, 1e-40f}, {0.0f, kInfinity}, {-2.0f, 3.0f},
        {1e30f, 2e30f}, {kInfinity, kInfinity}, {-0.0f, -0.0f},     {-5.0f, -3.0f}, {0.25f, 0.25001f},
    };
    if (pRandom.OneIn(2)) {
        const std::pair<float, float> points = pRandom.Of(fixed);
        black = points.first;
        white = points.second;
    }
}

} // namespace SelvaneTwin
