// Borders and pixels that cannot be seen, through the command: they reach the output and weigh in no statistic.

#include "host/command/CommandTest.h"

#include <nlohmann/json.hpp>
#include <vips/vips.h>

#include <cmath>
#include <cstring>
#include <filesystem>
#include <functional>
#include <limits>

namespace
{

using namespace SelvaneTest;

constexpr int kInWidth = 64, kInHeight = 48, kAround = 16; // pixels; even numbers for a resize to one half
constexpr int kHalfAround = kAround / 2;
constexpr int kReach = 3; // pixels of the output on either side that the filter of the resize mixes

using tColor = std::function<tBytes(int pX, int pY)>; // of a pixel

/// 16-bit samples of a file, by pixel.
class cSeen
{
public:
    explicit cSeen(const std::string& pPath) : fFound(Look(pPath)) {}

    int Width() const { return fFound.fWidth; }
    int Height() const { return fFound.fHeight; }

    std::vector<uint16_t> At(int pX, int pY) const
    {
        std::vector<uint16_t> pixel(static_cast<size_t>(fFound.fBands));
        const size_t bytes = 2 * pixel.size();
        std::memcpy(pixel.data(), &fFound.fPixels[bytes * static_cast<size_t>(pY * fFound.fWidth + pX)], bytes);
        return pixel;
    }

private:
    const sFound fFound;
};

class Borders : public Command
{
protected:
    /// The picture inside: three samples and an alpha of 255.
    tBytes Inside(int pX, int pY) const
    {
        const unsigned char* const pixel = &fInside[static_cast<size_t>(3 * (pY * kInWidth + pX))];
        return {pixel[0], pixel[1], pixel[2], 255};
    }

    /// Stores the picture with pAround pixels of border on each side.
    void StoreFramed(const std::string& pName, int pAround, int pBands, const tColor& pBorder) const
    {
        const int width = kInWidth + 2 * pAround, height = kInHeight + 2 * pAround;
        tBytes samples;
        for (int y = 0; y < height; y++)
            for (int x = 0; x < width; x++) {
                const int inX = x - pAround, inY = y - pAround;
                const bool in = inX >= 0 && inX < kInWidth && inY >= 0 && inY < kInHeight;
                const tBytes pixel = in ? Inside(inX, inY) : pBorder(x, y);
                samples.insert(samples.end(), pixel.begin(), pixel.begin() + pBands);
            }
        Store(fFolder / pName, samples.data(), width, height,
              {pBands, VIPS_FORMAT_UCHAR, VIPS_INTERPRETATION_sRGB, {}, 1, {}});
    }

    /// Tone-maps a file to NAME.png of 16 bits. Returns the options that give the same picture again: what the
    /// statistics decided.
    std::string Chosen(const std::string& pInput, const std::string& pName, const std::vector<std::string>& pMore = {})
    {
        std::vector<std::string> words = {"tonemap", fFolder / pInput, "-o", fFolder / pName, "--depth", "16"};
        words.insert(words.end(), pMore.begin(), pMore.end());
        const sRun run = Selvane(words);
        EXPECT_EQ(run.fStatus, 0) << run.fErr;
        const size_t manual = run.fErr.find("--manual");
        EXPECT_NE(manual, std::string::npos) << run.fErr;
        return run.fErr.substr(std::min(manual, run.fErr.size()));
    }

    /// Expects the pixels of a small file in the middle of a larger one, but for pLeftOut at the edges of the small
    /// one.
    void ExpectInside(const std::string& pLarge, const std::string& pSmall, int pAround, int pLeftOut) const
    {
        const cSeen large(fFolder / pLarge), small(fFolder / pSmall);
        ASSERT_EQ(large.Width(), small.Width() + 2 * pAround);
        ASSERT_EQ(large.Height(), small.Height() + 2 * pAround);
        for (int y = pLeftOut; y < small.Height() - pLeftOut; y++)
            for (int x = pLeftOut; x < small.Width() - pLeftOut; x++)
                ASSERT_EQ(large.At(x + pAround, y + pAround), small.At(x, y)) << x << " " << y;
    }

    /// Returns the pixels of the border around the half picture that the filter cannot have mixed with the inside.
    std::vector<std::vector<uint16_t>> BorderOf(const std::string& pName) const
    {
        const cSeen seen(fFolder / pName);
        constexpr int kPure = kHalfAround - kReach;
        std::vector<std::vector<uint16_t>> pixels;
        for (int y = 0; y < seen.Height(); y++)
            for (int x = 0; x < seen.Width(); x++) {
                const bool outside = x < kPure || y < kPure || x >= seen.Width() - kPure || y >= seen.Height() - kPure;
                if (outside) pixels.push_back(seen.At(x, y));
            }
        return pixels;
    }

    const tBytes fInside = Samples8(kInWidth, kInHeight);
};

tColor Even(const tBytes& pPixel)
{
    return [=](int, int) { return pPixel; };
}

/// Colours that differ from pixel to pixel, black and white among them, with one alpha.
tColor Wild(unsigned char pAlpha)
{
    return [=](int pX, int pY) {
        const auto value = static_cast<unsigned char>((pX * 151 + pY * 83) % 256);
        return tBytes{value, static_cast<unsigned char>(255 - value), static_cast<unsigned char>(value * 7), pAlpha};
    };
}

TEST_F(Borders, OneOfOneColorIsResizedAndDecidesNothing)
{
    StoreFramed("plain.png", 0, 3, Even({}));
    const tBytes color = {250, 40, 30};
    StoreFramed("framed.png", kAround, 3, Even(color));
    const std::string chosen = Chosen("plain.png", "plain-out.png", {"--resize", "50%"});
    EXPECT_EQ(Chosen("framed.png", "framed-out.png", {"--resize", "50%"}), chosen);
    // The filter works in floats from the same samples at the same phase. It mixes them with the border's only near it.
    ExpectInside("framed-out.png", "plain-out.png", kHalfAround, kReach);
    constexpr int kStep = 257; // of the file's 8 bits
    for (const std::vector<uint16_t>& pixel : BorderOf("framed-out.png"))
        for (size_t c = 0; c < 3; c++)
            ASSERT_NEAR(pixel.at(c), kStep * color[c], kStep / 10.0); // the filter works in floats
}

/// 98 per cent of the pixels are white, or black under alpha 0. Those inside are neither.
TEST_F(Borders, DoNotMakeAPictureNearlyWhiteOrBlack)
{
    constexpr int kWide = 160;
    StoreFramed("white.png", kWide, 3, Even({255, 255, 255}));
    StoreFramed("clear.png", kWide, 4, Even({0, 0, 0, 0}));
    StoreFramed("hidden.png", kWide, 4, [](int pX, int pY) { // no border: its corner can be seen
        return pX + pY == 0 ? tBytes{128, 128, 128, 255} : tBytes{0, 0, 0, 0};
    });
    for (const std::string name : {"white", "clear", "hidden"})
        for (const std::string size : {"100%", "50%"}) {
            const sRun run = Selvane({"tonemap", fFolder / (name + ".png"), "-o", Out(), "--resize", size, "--quiet"});
            ExpectQuietSuccess(run);
        }
    const sRun dark = Selvane({"tonemap", fFolder / "white.png", "-o", Out(), "--exposure", "-15", "--quiet"});
    EXPECT_NE(dark.fErr.find("nearly black"), std::string::npos) << dark.fErr;
}

TEST_F(Borders, DecideNothingOnSheetsAndPages)
{
    std::vector<tBytes> sheets;
    std::vector<std::string> settings;
    for (const int around : {0, kAround}) {
        StoreFramed("picture.png", around, 3, Even({250, 40, 30}));
        const std::string input = fFolder / "picture.png", page = fFolder / "page.html",
                          report = fFolder / "report.json";
        ASSERT_EQ(Selvane({"sheet", input, "-o", Out()}).fStatus, 0);
        sheets.push_back(ReadAll(Out()));
        ASSERT_EQ(Selvane({"explain", input, "-o", page, "--report", report}).fStatus, 0);
        settings.push_back(nlohmann::json::parse(ReadAll(report)).at("settings").dump());
        EXPECT_TRUE(std::filesystem::remove(Out()) && std::filesystem::remove(page));
    }
    EXPECT_TRUE(sheets[0] == sheets[1]);
    EXPECT_EQ(settings[0], settings[1]);
}

TEST_F(Borders, ATransparentOneIsResizedAndDecidesNothing)
{
    StoreFramed("plain.png", 0, 4, Even({}));
    StoreFramed("even.png", kAround, 4, Even({255, 0, 255, 0}));
    StoreFramed("wild.png", kAround, 4, Wild(0));
    const std::string chosen = Chosen("plain.png", "plain-out.png", {"--resize", "50%"});
    for (const std::string name : {"even", "wild"}) {
        EXPECT_EQ(Chosen(name + ".png", name + "-out.png", {"--resize", "50%"}), chosen) << name;
        ExpectInside(name + "-out.png", "plain-out.png", kHalfAround, kReach);
        for (const std::vector<uint16_t>& pixel : BorderOf(name + "-out.png"))
            ASSERT_EQ(pixel.at(3), 0) << name;
        Chosen(name + ".png", name + "-whole.png");
    }
    Chosen("plain.png", "plain-whole.png");
    ExpectInside("even-whole.png", "plain-whole.png", kAround, 0);
    ExpectInside("wild-whole.png", "plain-whole.png", kAround, 0);
}

/// Expects the same alpha everywhere, and the same colours wherever alpha is above 0.
void ExpectSameToTheEye(const std::string& pOne, const std::string& pOther)
{
    const cSeen one(pOne), other(pOther);
    int visible = 0;
    for (int y = 0; y < one.Height(); y++)
        for (int x = 0; x < one.Width(); x++) {
            ASSERT_EQ(one.At(x, y)[3], other.At(x, y)[3]) << x << " " << y;
            if (one.At(x, y)[3] == 0) continue;
            ASSERT_EQ(one.At(x, y), other.At(x, y)) << x << " " << y;
            visible++;
        }
    EXPECT_GT(visible, one.Width() * one.Height() / 2);
    EXPECT_LT(visible, one.Width() * one.Height());
}

/// Whether a pixel of the tests below is hidden: those of two blocks, one at an edge.
bool IsHidden(int pX, int pY)
{
    return (pX < 20 && pY > 30) || (pX > 35 && pX < 50 && pY > 8 && pY < 22);
}

TEST_F(Borders, ColorsUnderAlphaZeroDecideNothing)
{
    const auto store = [&](const std::string& pName, const tColor& pHidden) {
        tBytes samples;
        for (int y = 0; y < kInHeight; y++)
            for (int x = 0; x < kInWidth; x++) {
                const tBytes pixel = IsHidden(x, y) ? pHidden(x, y) : Inside(x, y);
                samples.insert(samples.end(), pixel.begin(), pixel.end());
            }
        Store(fFolder / pName, samples.data(), kInWidth, kInHeight,
              {4, VIPS_FORMAT_UCHAR, VIPS_INTERPRETATION_sRGB, {}, 1, {}});
    };
    store("even.png", Even({90, 90, 90, 0}));
    store("wild.png", Wild(0));
    for (const std::vector<std::string>& more : {std::vector<std::string>{}, {"--resize", "50%"}}) {
        EXPECT_EQ(Chosen("even.png", "even-out.png", more), Chosen("wild.png", "wild-out.png", more));
        ExpectSameToTheEye(fFolder / "even-out.png", fFolder / "wild-out.png");
    }
    store("seen.png", Wild(1)); // the least alpha counts
    EXPECT_NE(Chosen("even.png", "even-out.png"), Chosen("seen.png", "seen-out.png"));
}

TEST_F(Borders, FloatsUnderAlphaZeroDecideNothing)
{
    constexpr float kWild[] = {
        1e38F,  -5.0F,  0.0F, std::numeric_limits<float>::infinity(), std::numeric_limits<float>::quiet_NaN(),
        1e-38F, 7000.0F};
    const auto store = [&](const std::string& pName, bool pWild) {
        std::vector<float> planes[4];
        for (int y = 0; y < kInHeight; y++)
            for (int x = 0; x < kInWidth; x++) {
                const bool hidden = IsHidden(x, y);
                const float value = pWild ? kWild[(x + 3 * y) % 7] : 0.18F;
                for (size_t c = 0; c < 3; c++)
                    planes[c].push_back(hidden ? value : std::exp2(Inside(x, y)[c] * 0.06F - 8.0F));
                planes[3].push_back(hidden ? 0.0F : 1.0F);
            }
        StoreExr(fFolder / pName, kInWidth, kInHeight,
                 {{"R", planes[0]}, {"G", planes[1]}, {"B", planes[2]}, {"A", planes[3]}});
    };
    store("even.exr", false);
    store("wild.exr", true);
    for (const std::vector<std::string>& more : {std::vector<std::string>{}, {"--resize", "50%"}}) {
        EXPECT_EQ(Chosen("even.exr", "even-out.png", more), Chosen("wild.exr", "wild-out.png", more));
        ExpectSameToTheEye(fFolder / "even-out.png", fFolder / "wild-out.png");
    }
}

} // namespace
