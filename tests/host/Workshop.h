#ifndef SELVANE_TESTS_HOST_WORKSHOP_H
#define SELVANE_TESTS_HOST_WORKSHOP_H

// Shared parts of the host's tests: temporary folders, generated pictures, and runs of the built command.

#include "picture/Errors.h"
#include "picture/Picture.h"

#include <selvane.h>

#include <functional>
#include <optional>
#include <random>
#include <string>
#include <vector>

namespace SelvaneTest
{

using SelvaneHost::sPicture;
using SelvaneHost::tBytes;

/// A new temporary folder. The destructor removes it with all its files.
class cFolder
{
public:
    cFolder();
    ~cFolder();
    cFolder(const cFolder&) = delete;
    cFolder& operator=(const cFolder&) = delete;

    /// Returns the path of a name in the folder.
    std::string operator/(const std::string& pName) const { return fPath + "/" + pName; }
    const std::string& Path() const { return fPath; }

    /// Returns the names of all entries, sorted, with the hidden ones.
    std::vector<std::string> Names() const;

private:
    std::string fPath;
};

/// Returns the space that the file named. Empty if it named none.
inline std::optional<int> NamedSpace(const sPicture& pPicture)
{
    return pPicture.fColor.fIsNamed ? std::optional(pPicture.fColor.fPrimaries) : std::nullopt;
}

tBytes ReadAll(const std::string& pPath);
void WriteAll(const std::string& pPath, const tBytes& pBytes);
void WriteAll(const std::string& pPath, const std::string& pText);
bool Exists(const std::string& pPath);

/// The result of a run of the command.
struct sRun
{
    int fStatus = -1; ///< exit status; 128 + number for a signal
    std::string fOut;
    std::string fErr;
    size_t fPeak = 0; ///< bytes: the largest resident memory
};

/// Runs the built command with these arguments.
/// @param pPrepare runs in the child process before the command: sets limits, closes streams
sRun Selvane(const std::vector<std::string>& pWords, const std::function<void()>& pPrepare = {});

/// A chunk of a PNG file.
struct sPngChunk
{
    std::string fType;
    tBytes fData;
};

/// Returns all chunks in order.
/// @throws std::runtime_error when the file is no PNG file, is cut, or has a wrong checksum
std::vector<sPngChunk> PngChunks(const tBytes& pFile);

/// Connects standard input to the output of a shell command. For pPrepare of Selvane.
void ReadFrom(const std::string& pCommand);

/// Writes a small file of each kind to the folder. Returns their names and bytes.
std::vector<std::pair<std::string, tBytes>> OneOfEachKind(const cFolder& pFolder);

/// Returns the file with up to eight bytes changed at random. Half of the changes hit the first 200 bytes, which hold
/// the structure.
tBytes Broken(const tBytes& pWhole, std::mt19937& pRandom);

/// Returns the text of the cHostError that an action throws. Empty if it throws none.
template <typename tAction>
std::string Refusal(tAction pAction)
{
    try {
        pAction();
    } catch (const SelvaneHost::cHostError& failure) {
        return failure.what();
    }
    return "";
}

/// Returns whether the long forms of the tests run: SELVANE_LONG is set in the environment.
bool IsLong();

/// Returns the number of line feeds.
size_t Lines(const std::string& pText);

/// Returns interleaved samples of a fixed pattern, from dark to bright with noise.
tBytes Samples8(int pWidth, int pHeight, unsigned pSeed = 1);
std::vector<uint16_t> Samples16(int pWidth, int pHeight, unsigned pSeed = 1);
/// Returns positive floats over about six decades, interleaved.
std::vector<float> Floats(int pWidth, int pHeight, unsigned pSeed = 1);

/// The way in which libvips stores a picture.
struct sStored
{
    int fBands = 3;
    int fFormat = 0;         ///< VipsBandFormat
    int fInterpretation = 0; ///< VipsInterpretation
    tBytes fProfile;         ///< ICC; empty: none
    int fOrientation = 1;
    std::string fXmp;
    std::string fInteroperability = {}; ///< interoperability index in Exif: "R03" for Adobe RGB
};

sStored Rgb8();
sStored Rgb16();

/// Writes samples to a file. The extension decides the kind.
void Store(const std::string& pPath, const void* pSamples, int pWidth, int pHeight, const sStored& pHow);

/// The content of a file, as libvips reads it.
struct sFound
{
    int fWidth = 0;
    int fHeight = 0;
    int fBands = 0;
    int fBits = 0; ///< 8 or 16
    int fOrientation = 1;
    tBytes fPixels;
    tBytes fProfile;
    bool fSaysSrgb = false; ///< a PNG file with chunk sRGB
    std::string fXmp;
};
sFound Look(const std::string& pPath);

/// Returns a Radiance file of flat scanlines.
/// @param pPixels interleaved, four bytes per pixel
tBytes Radiance(int pWidth, int pHeight, const tBytes& pPixels, const std::string& pHeaderLines = "");

/// Returns interleaved exponent pixels, four bytes each, of a scene with a bright spot.
tBytes ExponentPixels(int pWidth, int pHeight);

/// Writes an OpenEXR file of float channels.
/// @param pChannels        name and plane of each channel
/// @param pChromaticities  x and y of red, green and blue; empty: none
void StoreExr(const std::string& pPath, int pWidth, int pHeight,
              const std::vector<std::pair<std::string, std::vector<float>>>& pChannels,
              const std::vector<float>& pChromaticities = {});

} // namespace SelvaneTest

#endif
