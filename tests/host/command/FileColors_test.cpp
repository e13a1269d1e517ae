// What HEIF, AVIF and JPEG XL files say of their colours, and EXR files that hold no picture of red, green and blue,
// through the command.

#include "host/command/LibraryTest.h"
#include "host/read/Encoded.h"

#include <ImfChannelList.h>
#include <ImfDeepFrameBuffer.h>
#include <ImfDeepScanLineOutputFile.h>
#include <ImfFrameBuffer.h>
#include <ImfHeader.h>
#include <ImfOutputFile.h>
#include <ImfPartType.h>
#include <ImfRgbaFile.h>
#include <lcms2.h>

#include <algorithm>
#include <array>
#include <cmath>

namespace
{

using namespace SelvaneTest;
using testing::HasSubstr;
using testing::Not;

class FileColors : public cLibraryTest
{
};

/// Light of a PQ signal, 203 cd/m2 as 1 (SMPTE ST 2084, EOTF).
double Pq(double pSignal)
{
    const double power = std::pow(pSignal, 1 / 78.84375);
    return 10000.0 / 203.0 *
           std::pow(std::max(power - 0.8359375, 0.0) / (18.8515625 - 18.6875 * power), 1 / 0.1593017578125);
}

// ---- Profiles in HEIF and AVIF ---------------------------------------------------------------------------------

/// A profile of colorants and one power.
class cProfile
{
public:
    explicit cProfile(double pGamma)
    {
        const cmsCIExyY white = {0.3127, 0.3290, 1.0};
        const cmsCIExyYTRIPLE primaries = {{0.66, 0.31, 1.0}, {0.24, 0.66, 1.0}, {0.14, 0.05, 1.0}};
        cmsToneCurve* const curve = cmsBuildGamma(nullptr, pGamma);
        cmsToneCurve* const curves[3] = {curve, curve, curve};
        cmsHPROFILE made = cmsCreateRGBProfile(&white, &primaries, curves);
        cmsFreeToneCurve(curve);
        cmsUInt32Number size = 0;
        cmsSaveProfileToMem(made, nullptr, &size);
        fBytes.resize(size);
        cmsSaveProfileToMem(made, fBytes.data(), &size);
        cmsCloseProfile(made);
        fStored = cmsOpenProfileFromMem(fBytes.data(), size);
    }
    ~cProfile() { cmsCloseProfile(fStored); }
    cProfile(const cProfile&) = delete;
    cProfile& operator=(const cProfile&) = delete;

    const tBytes& Bytes() const { return fBytes; }

    /// Sets the primaries of the stored colorants, whose sum is white, and the stored power.
    void Describe(selvane_picture& pPicture) const
    {
        cmsCIEXYZ white{};
        float* next = pPicture.chromaticities;
        for (const cmsTagSignature tag : {cmsSigRedColorantTag, cmsSigGreenColorantTag, cmsSigBlueColorantTag}) {
            const auto* const color = static_cast<const cmsCIEXYZ*>(cmsReadTag(fStored, tag));
            white = {white.X + color->X, white.Y + color->Y, white.Z + color->Z};
            next = PutXy(*color, next);
        }
        PutXy(white, next);
        const auto* const curve = static_cast<const cmsToneCurve*>(cmsReadTag(fStored, cmsSigGreenTRCTag));
        pPicture.gamma =
            static_cast<float>(std::log(static_cast<double>(cmsEvalToneCurveFloat(curve, 0.5F))) / std::log(0.5));
    }

private:
    static float* PutXy(const cmsCIEXYZ& pColor, float* pTo)
    {
        const double sum = pColor.X + pColor.Y + pColor.Z;
        *pTo++ = static_cast<float>(pColor.X / sum);
        *pTo++ = static_cast<float>(pColor.Y / sum);
        return pTo;
    }

    tBytes fBytes;
    cmsHPROFILE fStored = nullptr;
};

TEST_F(FileColors, AProfileInHeifAndAvifIsRead)
{
    const cProfile profile(1.8);
    sStored how = Rgb8();
    how.fProfile = profile.Bytes();
    for (const std::string name : {"a.avif", "a.heic"}) {
        Store(fFolder / name, fEight.data(), kWidth, kHeight, how);
        const std::vector<uint16_t> words = DecodedHeif(fFolder / name, 8);
        const tBytes samples(words.begin(), words.end());
        selvane_picture record = Record(SELVANE_U8, samples.data(), SELVANE_CUSTOM, SELVANE_TRANSFER_POWER);
        profile.Describe(record);
        const std::string lines = Run(name);
        EXPECT_THAT(
            lines,
            HasSubstr(name + ": its profile \"RGB built-in\" was read as primaries and curves; the output is in sRGB"));
        EXPECT_THAT(lines, Not(HasSubstr("warning")));
        EXPECT_EQ(Look(Out()).fPixels, ByLibrary(record, SELVANE_SRGB)) << name;
        const selvane_picture ignorant = Record(SELVANE_U8, samples.data(), SELVANE_SRGB, SELVANE_TRANSFER_ENGINE);
        EXPECT_NE(Look(Out()).fPixels, ByLibrary(ignorant, SELVANE_SRGB)) << name;
    }
}

TEST_F(FileColors, AProfileOfAKnownSpaceInHeifAndAvifIsThatSpace)
{
    sStored how = Rgb8();
    how.fProfile = SelvaneHost::StoredProfile(SELVANE_DISPLAY_P3);
    for (const std::string name : {"a.avif", "a.heic"}) {
        Store(fFolder / name, fEight.data(), kWidth, kHeight, how);
        const std::vector<uint16_t> words = DecodedHeif(fFolder / name, 8);
        const tBytes samples(words.begin(), words.end());
        EXPECT_THAT(Run(name), HasSubstr(name + ": its colours are Display P3; the output is in Display P3"));
        EXPECT_EQ(Look(Out()).fPixels,
                  ByLibrary(Record(SELVANE_U8, samples.data(), SELVANE_DISPLAY_P3, SELVANE_TRANSFER_SRGB),
                            SELVANE_DISPLAY_P3))
            << name;
    }
}

/// Files of 8 bits with code points and a profile, in both kinds.
class CodedHeif : public FileColors
{
protected:
    /// Writes both files, and expects of each what libheif decodes, read as the record says.
    template <typename tRecord>
    void Expect(const sCodedColors& pColors, const std::string& pWords, bool pWarns, tRecord pRecord)
    {
        StoreAvif(fFolder / "a.avif", kWidth, kHeight, {fEight.begin(), fEight.end()}, 8, pColors);
        StoreHeic(fFolder / "a.heic", kWidth, kHeight, fEight, pColors);
        for (const std::string name : {"a.avif", "a.heic"}) {
            const std::vector<uint16_t> words = DecodedHeif(fFolder / name, 8);
            const std::string lines = Run(name);
            EXPECT_THAT(lines, HasSubstr(pWords)) << name;
            EXPECT_EQ(lines.find("warning") != std::string::npos, pWarns) << lines;
            EXPECT_EQ(Look(Out()).fPixels, pRecord(tBytes(words.begin(), words.end()))) << name;
        }
    }

    static tBytes As(const tBytes& pSamples, int pPrimaries, int pSpace)
    {
        return ByLibrary(Record(SELVANE_U8, pSamples.data(), pPrimaries, SELVANE_TRANSFER_ENGINE), pSpace);
    }
};

/// A profile can only approach PQ.
TEST_F(CodedHeif, PqCountsBeforeAProfile)
{
    const tBytes profile = SelvaneHost::StoredProfile(SELVANE_ADOBE_RGB);
    Expect(
        {9, 16, profile}, "BT.2020, PQ, 203 cd/m2 as white; the output is in sRGB", false, [](const tBytes& pSamples) {
            std::vector<float> light;
            for (const unsigned char sample : pSamples)
                light.push_back(static_cast<float>(Pq(sample / 255.0)));
            return ByLibrary(Record(SELVANE_F32, light.data(), SELVANE_REC2020, SELVANE_TRANSFER_LINEAR), SELVANE_SRGB);
        });
}

/// As in a PNG file with the same code points and the same profile.
TEST_F(CodedHeif, PqWithoutPrimariesGivesWayToAProfile)
{
    const tBytes profile = SelvaneHost::StoredProfile(SELVANE_ADOBE_RGB);
    const auto adobe = [](const tBytes& pSamples) { return As(pSamples, SELVANE_ADOBE_RGB, SELVANE_ADOBE_RGB); };
    Expect({2, 16, profile}, "", false, adobe);
    sStored how = Rgb8();
    how.fProfile = profile;
    Store(fFolder / "a.png", fEight.data(), kWidth, kHeight, how);
    AddPngChunk(fFolder / "a.png", "cICP", {2, 16, 0, 1});
    EXPECT_THAT(Run("a.png"), Not(HasSubstr("warning")));
    EXPECT_EQ(Look(Out()).fPixels, adobe(fEight));
}

TEST_F(CodedHeif, CodePointsWithoutPrimariesAreAWarning)
{
    for (const int transfer : {13, 16})
        Expect({2, transfer}, "what it says of its colours cannot be used; it is taken as sRGB", true,
               [](const tBytes& pSamples) { return As(pSamples, SELVANE_SRGB, SELVANE_SRGB); });
    Expect({2, 2}, "", false, [](const tBytes& pSamples) { return As(pSamples, SELVANE_SRGB, SELVANE_SRGB); });
}

// ---- Primaries in JPEG XL --------------------------------------------------------------------------------------

constexpr std::array<float, 8> kOwn = {0.66F, 0.31F, 0.24F, 0.66F, 0.14F, 0.05F, 0.3457F, 0.3585F};

JxlColorEncoding OwnColors(JxlTransferFunction pTransfer, double pGamma = 0.0)
{
    JxlColorEncoding colors = JxlColors(JXL_PRIMARIES_CUSTOM, pTransfer, pGamma);
    colors.white_point = JXL_WHITE_POINT_CUSTOM;
    double* const points[4] = {colors.primaries_red_xy, colors.primaries_green_xy, colors.primaries_blue_xy,
                               colors.white_point_xy};
    for (size_t i = 0; i < 8; i++)
        points[i / 2][i % 2] = std::round(static_cast<double>(kOwn[i]) * 1e6) / 1e6;
    return colors;
}

selvane_picture OwnRecord(int pFormat, const void* pPixels, int pTransfer, float pGamma = 0.0F)
{
    selvane_picture record = Record(pFormat, pPixels, SELVANE_CUSTOM, pTransfer);
    record.gamma = pGamma;
    std::copy(kOwn.begin(), kOwn.end(), record.chromaticities);
    return record;
}

TEST_F(FileColors, PrimariesOfItsOwnInJpegXlAreRead)
{
    const std::vector<uint16_t> sixteen = Samples16(kWidth, kHeight);
    StoreJxl(fFolder / "curve.jxl", sixteen, kWidth, kHeight, OwnColors(JXL_TRANSFER_FUNCTION_SRGB));
    StoreJxl(fFolder / "power.jxl", sixteen, kWidth, kHeight, OwnColors(JXL_TRANSFER_FUNCTION_GAMMA, 0.5));
    StoreJxl(fFolder / "bt709.jxl", sixteen, kWidth, kHeight, OwnColors(JXL_TRANSFER_FUNCTION_709));
    StoreJxl(fFolder / "light.jxl", fFloats, kWidth, kHeight, OwnColors(JXL_TRANSFER_FUNCTION_LINEAR));
    const auto expect = [&](const std::string& pName, const selvane_picture& pRecord) {
        const std::string lines = Run(pName);
        EXPECT_THAT(lines, HasSubstr(pName + ": its primaries are its own"));
        EXPECT_THAT(lines, HasSubstr("; the output is in sRGB"));
        EXPECT_THAT(lines, Not(HasSubstr("warning")));
        EXPECT_EQ(Look(Out()).fPixels, ByLibrary(pRecord, SELVANE_SRGB)) << pName;
    };
    expect("curve.jxl", OwnRecord(SELVANE_U16, sixteen.data(), SELVANE_TRANSFER_SRGB));
    expect("power.jxl", OwnRecord(SELVANE_U16, sixteen.data(), SELVANE_TRANSFER_POWER, 2.0F));
    expect("bt709.jxl", OwnRecord(SELVANE_U16, sixteen.data(), SELVANE_TRANSFER_REC2020));
    expect("light.jxl", OwnRecord(SELVANE_F32, fFloats.data(), SELVANE_TRANSFER_LINEAR));
}

TEST_F(FileColors, KnownPrimariesUnderAnotherWhiteInJpegXlAreRead)
{
    JxlColorEncoding colors = JxlColors(JXL_PRIMARIES_SRGB, JXL_TRANSFER_FUNCTION_SRGB);
    colors.white_point = JXL_WHITE_POINT_CUSTOM;
    colors.white_point_xy[0] = 0.3457;
    colors.white_point_xy[1] = 0.3585;
    StoreJxl(fFolder / "white.jxl", fEight, kWidth, kHeight, colors);
    selvane_picture record = Record(SELVANE_U8, fEight.data(), SELVANE_CUSTOM, SELVANE_TRANSFER_SRGB);
    const float numbers[8] = {0.64F, 0.33F, 0.30F, 0.60F, 0.15F, 0.06F, 0.3457F, 0.3585F};
    std::copy(std::begin(numbers), std::end(numbers), record.chromaticities);
    EXPECT_THAT(Run("white.jxl"), HasSubstr("its primaries are its own"));
    const tBytes found = Look(Out()).fPixels, expected = ByLibrary(record, SELVANE_SRGB);
    ASSERT_EQ(found.size(), expected.size());
    for (size_t i = 0; i < found.size(); i += 2) { // libjxl has its own digits of the primaries
        const int seen = found[i] | found[i + 1] << 8, right = expected[i] | expected[i + 1] << 8;
        ASSERT_NEAR(seen, right, 60) << i;
    }
}

TEST_F(FileColors, PqWithPrimariesOfItsOwnInJpegXlIsLight)
{
    const std::vector<uint16_t> sixteen = Samples16(kWidth, kHeight);
    StoreJxl(fFolder / "pq.jxl", sixteen, kWidth, kHeight, OwnColors(JXL_TRANSFER_FUNCTION_PQ));
    std::vector<float> light;
    for (const uint16_t sample : sixteen)
        light.push_back(static_cast<float>(Pq(static_cast<double>(static_cast<float>(sample) / 65535.0F))));
    EXPECT_THAT(Run("pq.jxl"),
                HasSubstr("pq.jxl: its primaries are its own, PQ, 203 cd/m2 as white; the output is in sRGB"));
    EXPECT_EQ(Look(Out()).fPixels,
              ByLibrary(OwnRecord(SELVANE_F32, light.data(), SELVANE_TRANSFER_LINEAR), SELVANE_SRGB));
}

TEST_F(FileColors, AGammaOfFloatsInJpegXlIsRead)
{
    StoreJxl(fFolder / "power.jxl", fFloats, kWidth, kHeight, OwnColors(JXL_TRANSFER_FUNCTION_GAMMA, 0.5));
    EXPECT_THAT(Run("power.jxl"), HasSubstr("its primaries are its own, gamma 2; the output is in sRGB"));
    EXPECT_EQ(Look(Out()).fPixels,
              ByLibrary(OwnRecord(SELVANE_F32, fFloats.data(), SELVANE_TRANSFER_POWER, 2.0F), SELVANE_SRGB));
    StoreJxl(fFolder / "srgb.jxl", fFloats, kWidth, kHeight,
             JxlColors(JXL_PRIMARIES_SRGB, JXL_TRANSFER_FUNCTION_GAMMA, 0.5));
    selvane_picture record = Record(SELVANE_F32, fFloats.data(), SELVANE_SRGB, SELVANE_TRANSFER_POWER);
    record.gamma = 2.0F;
    EXPECT_THAT(Run("srgb.jxl"), HasSubstr("its primaries are those of sRGB, gamma 2; the output is in sRGB"));
    EXPECT_EQ(Look(Out()).fPixels, ByLibrary(record, SELVANE_SRGB));
}

TEST_F(FileColors, ACurveInJpegXlThatIsNotKnownIsAWarning)
{
    StoreJxl(fFolder / "film.jxl", fEight, kWidth, kHeight, OwnColors(JXL_TRANSFER_FUNCTION_DCI));
    EXPECT_THAT(Run("film.jxl"), HasSubstr("warning: " + (fFolder / "film.jxl") +
                                           ": what it says of its colours cannot be used; it is taken as sRGB"));
}

// ---- EXR files without a picture of red, green and blue ----------------------------------------------------------

/// Writes a deep file: one sample a pixel.
void StoreDeep(const std::string& pPath, const std::vector<std::string>& pNames)
{
    Imf::Header header(kWidth, kHeight);
    header.setType(Imf::DEEPSCANLINE);
    header.compression() = Imf::ZIPS_COMPRESSION;
    std::vector<unsigned> counts(static_cast<size_t>(kWidth * kHeight), 1);
    std::vector<float> samples(counts.size(), 0.5F);
    std::vector<char*> pointers;
    for (float& sample : samples)
        pointers.push_back(reinterpret_cast<char*>(&sample));
    Imf::DeepFrameBuffer buffer;
    buffer.insertSampleCountSlice(
        Imf::Slice(Imf::UINT, reinterpret_cast<char*>(counts.data()), sizeof(unsigned), sizeof(unsigned) * kWidth));
    for (const std::string& name : pNames) {
        header.channels().insert(name, Imf::Channel(Imf::FLOAT));
        buffer.insert(name, Imf::DeepSlice(Imf::FLOAT, reinterpret_cast<char*>(pointers.data()), sizeof(char*),
                                           sizeof(char*) * kWidth, sizeof(float)));
    }
    Imf::DeepScanLineOutputFile file(pPath.c_str(), header);
    file.setFrameBuffer(buffer);
    file.writePixels(kHeight);
}

TEST_F(FileColors, ADeepExrIsRefusedWithItsChannels)
{
    StoreDeep(fFolder / "deep.exr", {"R", "G", "B", "A", "Z"});
    ExpectFailure(Selvane({"tonemap", fFolder / "deep.exr", "-o", Out()}), 1,
                  "deep.exr: the picture holds deep samples; flatten it first; its channels are A, B, G, R, Z");
    StoreDeep(fFolder / "depth.exr", {"Z", "ZBack"});
    ExpectFailure(Selvane({"tonemap", fFolder / "depth.exr", "-o", Out()}), 1,
                  "depth.exr: the picture has no channels R, G and B; its channels are Z, ZBack");
    EXPECT_FALSE(Exists(Out()));
}

TEST_F(FileColors, ASubsampledExrIsRefusedWithItsChannels)
{
    const std::vector<Imf::Rgba> pixels(size_t{64} * 48, Imf::Rgba(0.5F, 0.25F, 0.125F));
    {
        Imf::RgbaOutputFile file((fFolder / "luma.exr").c_str(), 64, 48, Imf::WRITE_YCA);
        file.setFrameBuffer(pixels.data(), 1, 64);
        file.writePixels(48);
    }
    ExpectFailure(Selvane({"tonemap", fFolder / "luma.exr", "-o", Out()}), 1,
                  "luma.exr: the picture holds luminance with subsampled colour, which cannot be read; save it with "
                  "the channels R, G and B; its channels are A, BY, RY, Y");
    EXPECT_FALSE(Exists(Out()));
}

TEST_F(FileColors, AnExrWithASubsampledColorIsRefusedWithItsChannels)
{
    Imf::Header header(64, 48);
    const std::vector<float> plane(size_t{64} * 48, 0.5F);
    Imf::FrameBuffer buffer;
    for (const char* name : {"R", "G", "B"}) {
        const int step = *name == 'B' ? 2 : 1;
        header.channels().insert(name, Imf::Channel(Imf::FLOAT, step, step));
        buffer.insert(name, Imf::Slice(Imf::FLOAT, const_cast<char*>(reinterpret_cast<const char*>(plane.data())),
                                       sizeof(float), sizeof(float) * 64, step, step));
    }
    {
        Imf::OutputFile file((fFolder / "blue.exr").c_str(), header);
        file.setFrameBuffer(buffer);
        file.writePixels(48);
    }
    ExpectFailure(Selvane({"tonemap", fFolder / "blue.exr", "-o", Out()}), 1,
                  "blue.exr: the picture has a subsampled channel, B, which cannot be read; its channels are B, G, R");
}

} // namespace
