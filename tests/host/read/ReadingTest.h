#ifndef SELVANE_TESTS_HOST_READ_READING_TEST_H
#define SELVANE_TESTS_HOST_READ_READING_TEST_H

// Base of the tests that read picture files in this process.

#include "host/Workshop.h"
#include "picture/ExponentPlanes.h"
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

/// Returns the planes that interleaved floats become.
inline tBytes PlanesOf(const std::vector<float>& pFloats, int pWidth)
{
    tBytes planes(pFloats.size() / 3 * 4);
    for (size_t row = 0; row * static_cast<size_t>(pWidth) * 3 < pFloats.size(); row++) {
        const float* const first = pFloats.data() + row * static_cast<size_t>(pWidth) * 3;
        SelvaneHost::ToExponentRow(first, first + 1, first + 2, 3, pWidth,
                                   planes.data() + row * static_cast<size_t>(pWidth) * 4);
    }
    return planes;
}

} // namespace SelvaneTest

#endif
