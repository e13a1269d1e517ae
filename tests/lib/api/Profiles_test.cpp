// The ICC profiles, read byte by byte as ICC.1:2010 describes them.

#include "Formulas.h"
#include "Pictures.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <map>
#include <string>

namespace SelvaneTest
{
namespace
{

class cProfile
{
public:
    cProfile(int pSpace, int pLinear)
    {
        EXPECT_EQ(selvane_profile(pSpace, pLinear, &fBytes, &fSize), SELVANE_OK);
        const uint32_t count = Word(128);
        for (uint32_t i = 0; i < count && i < 100; i++) {
            const size_t at = 132 + size_t{12} * i;
            fTags[Four(at)] = {Word(at + 4), Word(at + 8)};
        }
    }

    struct sTag
    {
        size_t fFirst;
        size_t fSize;
    };

    uint32_t Word(size_t pAt) const
    {
        EXPECT_LE(pAt + 4, fSize);
        if (pAt + 4 > fSize) return 0;
        return uint32_t{fBytes[pAt]} << 24 | uint32_t{fBytes[pAt + 1]} << 16 | uint32_t{fBytes[pAt + 2]} << 8 |
               fBytes[pAt + 3];
    }
    uint32_t Half(size_t pAt) const
    {
        EXPECT_LE(pAt + 2, fSize);
        return pAt + 2 > fSize ? 0 : uint32_t{fBytes[pAt]} << 8 | fBytes[pAt + 1];
    }
    std::string Four(size_t pAt) const { return {reinterpret_cast<const char*>(fBytes) + pAt, 4}; }
    double Fixed(size_t pAt) const { return static_cast<int32_t>(Word(pAt)) / 65536.0; }

    tVector XYZ(const std::string& pTag) const
    {
        const size_t at = fTags.at(pTag).fFirst;
        EXPECT_EQ(Four(at), "XYZ ");
        return {Fixed(at + 8), Fixed(at + 12), Fixed(at + 16)};
    }

    /// A curve at 0 to 1: a gamma, a table or a parametric one.
    double Curve(const std::string& pTag, double pX) const
    {
        const size_t at = fTags.at(pTag).fFirst;
        if (Four(at) == "curv") return Sampled(at, pX);
        EXPECT_EQ(Four(at), "para");
        const double g = Fixed(at + 12);
        if (Half(at + 8) == 0) return std::pow(pX, g);
        EXPECT_EQ(Half(at + 8), 3u);
        const double a = Fixed(at + 16), b = Fixed(at + 20), c = Fixed(at + 24), d = Fixed(at + 28);
        return pX >= d ? std::pow(a * pX + b, g) : c * pX;
    }

    const unsigned char* fBytes = nullptr;
    size_t fSize = 0;
    std::map<std::string, sTag> fTags;

private:
    double Sampled(size_t pAt, double pX) const
    {
        const uint32_t count = Word(pAt + 8);
        if (count == 0) return pX;
        if (count == 1) return std::pow(pX, Half(pAt + 12) / 256.0);
        const double place = pX * (count - 1);
        const auto low = static_cast<size_t>(std::min<double>(place, count - 2));
        const double share = place - static_cast<double>(low);
        return ((1 - share) * Half(pAt + 12 + 2 * low) + share * Half(pAt + 14 + 2 * low)) / 65535.0;
    }
};

template <class tTest>
void ForEachProfile(const tTest& pTest)
{
    for (int space = SELVANE_SRGB; space <= SELVANE_REC2020; space++)
        for (const int linear : {0, 1}) {
            SCOPED_TRACE("space " + std::to_string(space) + (linear != 0 ? ", linear" : ""));
            pTest(cProfile(space, linear), space, linear);
        }
}

TEST(Profiles, HaveTheHeaderOfADisplayProfile)
{
    ForEachProfile([](const cProfile& pProfile, int, int) {
        EXPECT_EQ(pProfile.Word(0), pProfile.fSize);
        EXPECT_EQ(pProfile.Four(12), "mntr");
        EXPECT_EQ(pProfile.Four(16), "RGB ");
        EXPECT_EQ(pProfile.Four(20), "XYZ ");
        EXPECT_EQ(pProfile.Four(36), "acsp");
        EXPECT_GE(pProfile.Word(8) >> 24, 2u);
        EXPECT_NEAR(pProfile.Fixed(68), 0.9642, 1e-4); // the illuminant: D50
        EXPECT_NEAR(pProfile.Fixed(72), 1.0, 1e-4);
        EXPECT_NEAR(pProfile.Fixed(76), 0.8249, 1e-4);
    });
}

/// Tags lie behind the table, inside the profile, at multiples of 4, and over each other only as a whole.
TEST(Profiles, HaveATableOfTags)
{
    ForEachProfile([](const cProfile& pProfile, int, int) {
        for (const char* name : {"desc", "cprt", "wtpt", "rXYZ", "gXYZ", "bXYZ", "rTRC", "gTRC", "bTRC"})
            EXPECT_EQ(pProfile.fTags.count(name), 1u) << name;
        const size_t end = 132 + 12 * pProfile.fTags.size();
        EXPECT_EQ(pProfile.Word(128), pProfile.fTags.size()) << "no tag twice";
        for (const auto& [name, tag] : pProfile.fTags) {
            EXPECT_GE(tag.fFirst, end) << name;
            EXPECT_LE(tag.fFirst + tag.fSize, pProfile.fSize) << name;
            EXPECT_EQ(tag.fFirst % 4, 0u) << name;
            for (const auto& [other, second] : pProfile.fTags) {
                const bool apart =
                    tag.fFirst + tag.fSize <= second.fFirst || second.fFirst + second.fSize <= tag.fFirst;
                EXPECT_TRUE(apart || tag.fFirst == second.fFirst) << name << " and " << other;
            }
        }
    });
}

TEST(Profiles, NameTheirSpace)
{
    const char* const names[] = {"sRGB", "Adobe RGB (1998)", "ProPhoto", "Display P3", "Rec. 2020"};
    ForEachProfile([&](const cProfile& pProfile, int pSpace, int pLinear) {
        const cProfile::sTag tag = pProfile.fTags.at("desc");
        std::string text(reinterpret_cast<const char*>(pProfile.fBytes + tag.fFirst), tag.fSize);
        text.erase(std::remove(text.begin(), text.end(), '\0'), text.end()); // UTF-16 of plain letters
        const bool isOurs = pSpace > SELVANE_PROPHOTO || pLinear != 0;
        EXPECT_TRUE(!isOurs || text.find(names[pSpace]) != std::string::npos) << text;
        EXPECT_EQ(text.find("linear") != std::string::npos, pLinear != 0) << text;
    });
}

/// The sum of the colorants is white, D50; each is the column of the space's matrix.
TEST(Profiles, HaveTheColorantsOfTheirSpace)
{
    ForEachProfile([](const cProfile& pProfile, int pSpace, int) {
        const tVector columns[] = {pProfile.XYZ("rXYZ"), pProfile.XYZ("gXYZ"), pProfile.XYZ("bXYZ")};
        const tMatrix matrix = ToXYZ(kChromaticities[pSpace]);
        for (size_t k = 0; k < 3; k++) {
            double sum = 0;
            for (size_t color = 0; color < 3; color++) {
                sum += columns[color][k];
                EXPECT_NEAR(columns[color][k], matrix[k][color], 1.5e-3) << color << ", " << k;
            }
            EXPECT_NEAR(sum, kD50[k], 4e-4) << k;
        }
    });
}

TEST(Profiles, HaveTheCurveOfTheirSpace)
{
    ForEachProfile([](const cProfile& pProfile, int pSpace, int pLinear) {
        for (const char* name : {"rTRC", "gTRC", "bTRC"})
            for (int i = 0; i <= 1000; i++) {
                const double linear = i / 1000.0;
                const double sample = pLinear != 0 ? linear : EncodeIn(pSpace, linear);
                ASSERT_NEAR(pProfile.Curve(name, sample), linear, 6e-4) << name << " at " << sample;
            }
    });
}

/// The adaptation in a profile of version 4 takes the space's white to D50.
TEST(Profiles, AdaptTheirWhite)
{
    ForEachProfile([](const cProfile& pProfile, int pSpace, int) {
        if (pProfile.Word(8) >> 24 < 4) return;
        ASSERT_EQ(pProfile.fTags.count("chad"), 1u);
        const size_t at = pProfile.fTags.at("chad").fFirst;
        EXPECT_EQ(pProfile.Four(at), "sf32");
        const tMatrix expected = ToD50(FromChromaticity(kChromaticities[pSpace][6], kChromaticities[pSpace][7]));
        for (size_t i = 0; i < 9; i++)
            EXPECT_NEAR(pProfile.Fixed(at + 8 + 4 * i), expected[i / 3][i % 3], 5e-4) << i;
    });
}

TEST(Profiles, StayWhereTheyAre)
{
    ForEachProfile([](const cProfile& pProfile, int pSpace, int pLinear) {
        const cProfile again(pSpace, pLinear);
        EXPECT_EQ(again.fBytes, pProfile.fBytes);
        EXPECT_EQ(again.fSize, pProfile.fSize);
    });
}

} // namespace
} // namespace SelvaneTest
