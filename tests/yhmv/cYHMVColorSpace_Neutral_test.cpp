#include "yhmv/cYHMVColorSpace.h"

#include "bitmap/cBitmapBGR16.h"
#include "bitmap/cBitmapU16T.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <memory>
#include <vector>

// A large picture asks whether the table of hues is neutral, and works the colours out if it is. A row never asks: it
// looks up. So the two have to agree, for each of the 65536 hues, and also if a host changed the table.

using namespace Vornik;

namespace
{

constexpr int kWidth = 1024;
constexpr int kHeight = 512; // the least picture that asks, 2^19 pixels
constexpr cMatrix33 kMatrix = {2.0339f, -0.7273f, -0.3067f, -0.2288f, 1.2317f, -0.0029f, -0.0085f, -0.1533f, 1.1618f};

// All hues, 8 times each.
void FillRecords(cBitmapU16T& pRecords)
{
    for (int y = 0; y < kHeight; ++y)
        for (int x = 0; x < kWidth; ++x) {
            const uint16_t hue = static_cast<uint16_t>(y * kWidth + x);
            const float fields[] = {0.2f + 0.001f * static_cast<float>(y), 0.01f * static_cast<float>(y % 40), 1.5f};
            auto* record = reinterpret_cast<unsigned char*>(pRecords.GetScanline(y)) + ptrdiff_t{14} * x;
            std::memcpy(record, &fields[0], 4);
            std::memcpy(record + 4, &hue, 2);
            std::memcpy(record + 6, &fields[1], 8);
        }
}

class YHMVToRGBOfManyPixels : public testing::Test
{
protected:
    YHMVToRGBOfManyPixels() : fRecords(kWidth, kHeight, 7), fPicture(kWidth, kHeight, eColorSpace_sRGB)
    {
        FillRecords(fRecords);
        for (size_t i = 0; i < fEncode.size(); ++i) {
            fEncode[i] = static_cast<unsigned short>(i);
            fContrast[i] = static_cast<float>(i) / 65535.0f;
        }
    }

    void ExpectRowsAsLookedUp()
    {
        fSpace->YHMVToRGB(&fRecords, &fPicture, fEncode.data(), 0.5f, 0.0f, 0.0f, kMatrix, fContrast.data(), nullptr);
        std::vector<unsigned short> row(3 * kWidth);
        for (int y = 0; y < kHeight; ++y) {
            fSpace->YHMVToRGB_RowSimple(fRecords.GetScanline(y), row.data(), kWidth, 16, fEncode.data(), 0.5f, 1.0f,
                                        0.0f, kMatrix, fContrast.data());
            const unsigned short* samples = fPicture.fData + ptrdiff_t{y} * (fPicture.fStride / 2);
            ASSERT_EQ(std::memcmp(samples, row.data(), row.size() * 2), 0) << "row " << y;
        }
    }

    std::unique_ptr<cYHMVColorSpace> fSpace = std::make_unique<cYHMVColorSpace>();
    cBitmapU16T fRecords;
    cBitmapBGR16 fPicture;
    std::vector<unsigned short> fEncode = std::vector<unsigned short>(65536);
    std::vector<float> fContrast = std::vector<float>(65536);
};

TEST_F(YHMVToRGBOfManyPixels, NeutralTable)
{
    ExpectRowsAsLookedUp();
}

TEST_F(YHMVToRGBOfManyPixels, OneColourOfTheTableIsAnother)
{
    for (const int hue : {0, 54321, 65535}) {
        fSpace->ComputeHMVToRGBLUT();
        fSpace->fHMVToRGBLUT[hue][1] = 0.75f;
        ExpectRowsAsLookedUp();
    }
}

} // namespace
