#ifndef SELVANE_TESTS_HOST_COMMAND_LIBRARY_TEST_H
#define SELVANE_TESTS_HOST_COMMAND_LIBRARY_TEST_H

// Base of the tests that compare the command's pixels with libselvane's own.

#include "host/command/CommandTest.h"

#include <selvane.h>

#include <string>
#include <vector>

namespace SelvaneTest
{

/// Returns a record of interleaved samples of three channels, kWidth x kHeight pixels.
selvane_picture Record(int pFormat, const void* pPixels, int pPrimaries, int pTransfer);

/// Returns 16-bit samples of libselvane's own render of a picture, with its suggestion.
/// @param pChannels of the output, 3 or 4
tBytes ByLibrary(const selvane_picture& pPicture, int pSpace, int pChannels = 3);

/// Inserts a chunk into a PNG file.
void AddPngChunk(const std::string& pPath, const std::string& pType, const tBytes& pData);

/// Two small pictures and what the command makes of them, with the suggestion.
class cLibraryTest : public Command
{
protected:
    /// Tone-maps a file into out.png of 16 bits. Returns the lines.
    std::string Run(const std::string& pInput, const std::vector<std::string>& pMore = {});

    const tBytes fEight = Samples8(kWidth, kHeight);
    const std::vector<float> fFloats = Floats(kWidth, kHeight);
};

} // namespace SelvaneTest

#endif
