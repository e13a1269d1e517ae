// A picture on its way between two processes.

#include "host/Workshop.h"
#include "read/PictureParcel.h"

#include <cstring>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

namespace
{

using namespace SelvaneHost;
using SelvaneTest::Refusal;

constexpr const char* kTorn = "the process that decodes it sent no whole picture";

class PictureParcel : public testing::Test
{
protected:
    PictureParcel() : fFile(::memfd_create("test", 0)) {}
    ~PictureParcel() override { ::close(fFile); }

    static sPicture Picture()
    {
        sPicture picture;
        AllocatePixels(picture, 5, 3, eFloats, 4);
        for (size_t i = 0; i < picture.fPixels.size(); i++)
            picture.fPixels[i] = static_cast<unsigned char>(i);
        picture.fColor = {.fPrimaries = 100,
                          .fChromaticities = {0.1F, 0.2F, 0.3F, 0.4F, 0.5F, 0.6F, 0.7F, 0.8F},
                          .fTransfer = 3,
                          .fGamma = 2.2F,
                          .fOutput = 4,
                          .fIsNamed = true,
                          .fWords = "was read so"};
        picture.fMetadata.fExif = {1, 2, 3};
        picture.fMetadata.fXmp = {4};
        picture.fWarnings = {"one", "two"};
        picture.fColorSpaceWarning = "three";
        return picture;
    }

    tBytes Bytes() const
    {
        tBytes bytes(static_cast<size_t>(::lseek(fFile, 0, SEEK_END)));
        EXPECT_EQ(::pread(fFile, bytes.data(), bytes.size(), 0), static_cast<ssize_t>(bytes.size()));
        return bytes;
    }

    /// What the receiver says of these bytes.
    static std::string Said(const tBytes& pBytes)
    {
        const int file = ::memfd_create("test", 0);
        EXPECT_EQ(::write(file, pBytes.data(), pBytes.size()), static_cast<ssize_t>(pBytes.size()));
        const std::string text = Refusal([&] { ReceivePicture(file); });
        ::close(file);
        return text;
    }

    const int fFile;
};

TEST_F(PictureParcel, EverythingArrives)
{
    SendPicture(fFile, Picture());
    const sPicture got = ReceivePicture(fFile), sent = Picture();
    EXPECT_EQ(got.fWidth, 5);
    EXPECT_EQ(got.fHeight, 3);
    EXPECT_EQ(got.fForm, eFloats);
    EXPECT_EQ(got.fChannels, 4);
    EXPECT_EQ(got.fPixels, sent.fPixels);
    EXPECT_EQ(got.fColor.fPrimaries, 100);
    EXPECT_EQ(got.fColor.fChromaticities, sent.fColor.fChromaticities);
    EXPECT_EQ(got.fColor.fTransfer, 3);
    EXPECT_EQ(got.fColor.fGamma, 2.2F);
    EXPECT_EQ(got.fColor.fOutput, 4);
    EXPECT_TRUE(got.fColor.fIsNamed);
    EXPECT_EQ(got.fColor.fWords, "was read so");
    EXPECT_EQ(got.fMetadata.fExif, (tBytes{1, 2, 3}));
    EXPECT_TRUE(got.fMetadata.fIptc.empty());
    EXPECT_EQ(got.fMetadata.fXmp, (tBytes{4}));
    EXPECT_EQ(got.fWarnings, sent.fWarnings);
    EXPECT_EQ(got.fColorSpaceWarning, "three");
}

TEST_F(PictureParcel, AFailureArrivesAsTheSameFailure)
{
    SendFailure(fFile, eParcelFailure, "two\nlines");
    EXPECT_EQ(Refusal([&] { ReceivePicture(fFile); }), "two lines");
    SendFailure(fFile, eParcelUsage, "words");
    EXPECT_THROW(ReceivePicture(fFile), cUsageError);
    SendFailure(fFile, eParcelNoMemory, "");
    EXPECT_THROW(ReceivePicture(fFile), std::bad_alloc);
}

TEST_F(PictureParcel, AFailureBehindHalfAPictureCounts)
{
    SendPicture(fFile, Picture());
    SendFailure(fFile, eParcelFailure, "late");
    EXPECT_EQ(Refusal([&] { ReceivePicture(fFile); }), "late");
}

TEST_F(PictureParcel, WhatIsCutAnywhereIsRefused)
{
    SendPicture(fFile, Picture());
    const tBytes whole = Bytes();
    for (size_t size = 0; size < whole.size(); size++)
        EXPECT_EQ(Said({whole.begin(), whole.begin() + static_cast<ptrdiff_t>(size)}), kTorn) << size;
    tBytes longer = whole;
    longer.push_back(0);
    EXPECT_EQ(Said(longer), kTorn);
}

// The first fields are kind, width, height, form and channels, four bytes each.
TEST_F(PictureParcel, SizesAndKindsThatLieAreRefused)
{
    SendPicture(fFile, Picture());
    const tBytes whole = Bytes();
    const auto with = [&](size_t pField, int32_t pValue) {
        tBytes bytes = whole;
        std::memcpy(bytes.data() + 4 * pField, &pValue, sizeof pValue);
        return Said(bytes);
    };
    EXPECT_EQ(with(0, 9), kTorn);
    EXPECT_EQ(with(1, 6), kTorn);
    EXPECT_EQ(with(1, 0), "the picture has no pixels");
    EXPECT_EQ(with(1, -5), "the picture has no pixels");
    EXPECT_THAT(with(2, 0x7FFFFFFF), testing::HasSubstr("is too large"));
    EXPECT_EQ(with(3, 4), kTorn);
    EXPECT_EQ(with(3, -1), kTorn);
    EXPECT_EQ(with(3, eExponentPlanes), kTorn); // has no alpha
    EXPECT_EQ(with(4, 2), kTorn);
    EXPECT_EQ(with(4, 5), kTorn);
}

// A text that claims more bytes than the file has takes no memory for them.
TEST_F(PictureParcel, ATextThatClaimsTooMuchIsRefused)
{
    tBytes bytes(12);
    const uint32_t kind = eParcelFailure;
    std::memcpy(bytes.data(), &kind, sizeof kind);
    for (const uint64_t size : {uint64_t{1}, uint64_t{1} << 27, uint64_t{1} << 40, ~uint64_t{0}}) {
        std::memcpy(bytes.data() + 4, &size, sizeof size);
        EXPECT_EQ(Said(bytes), kTorn) << size;
    }
}

} // namespace
