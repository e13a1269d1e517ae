#ifndef SELVANE_TESTS_HOST_COMMAND_COMMAND_TEST_H
#define SELVANE_TESTS_HOST_COMMAND_COMMAND_TEST_H

// Base of the tests that run the built command, on pictures made for the test.

#include "entry/vorniklib3.h"
#include "host/Workshop.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>

namespace SelvaneTest
{

constexpr int kWidth = 61;
constexpr int kHeight = 43;

/// A folder with two small pictures, in.hdr and in.png, of kWidth x kHeight pixels.
class Command : public testing::Test
{
protected:
    static void SetUpTestSuite();
    void SetUp() override;

    std::string Hdr() const { return fFolder / "in.hdr"; }
    std::string Png() const { return fFolder / "in.png"; }
    std::string Out() const { return fFolder / "out.png"; }

    cFolder fFolder;
};

/// Expects a failure of one line that holds pWords.
void ExpectFailure(const sRun& pRun, int pStatus, const std::string& pWords);

/// Expects status 0 and no line on the standard error stream.
void ExpectQuietSuccess(const sRun& pRun);

/// What the library's entry makes of a picture.
struct sDirect
{
    tBytes fPixels;
    sTmSliders fSliders{}; ///< with the points that the entry wrote
};

/// Calls the library's entry in this process, with two workers.
sDirect Entry(const std::string& pPath, const sTmSliders& pSliders, int pDepth, int pSpace = 0, int pRequest = 0);

} // namespace SelvaneTest

#endif
