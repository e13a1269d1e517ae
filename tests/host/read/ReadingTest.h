#ifndef SELVANE_TESTS_HOST_READ_READING_TEST_H
#define SELVANE_TESTS_HOST_READ_READING_TEST_H

// Base of the tests that read picture files in this process.

#include "host/Workshop.h"
#include "picture/PictureLibrary.h"
#include "read/PictureReader.h"

#include <cstring>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace SelvaneTest
{

class cReadingTest : public testing::Test
{
protected:
    static void SetUpTestSuite() { SelvaneHost::StartPictureLibrary(); }

    sPicture Read(const std::string& pName) const { return SelvaneHost::ReadPictureFile(fFolder / pName); }

    /// Returns the text with which the reader refuses a file. Empty if it reads the file.
    std::string RefusalOf(const std::string& pName) const
    {
        return Refusal([&] { Read(pName); });
    }

    cFolder fFolder;
};

/// Returns the bytes of samples.
template <typename tSample>
tBytes BytesOf(const std::vector<tSample>& pSamples)
{
    tBytes bytes(pSamples.size() * sizeof(tSample));
    std::memcpy(bytes.data(), pSamples.data(), bytes.size());
    return bytes;
}

} // namespace SelvaneTest

#endif
