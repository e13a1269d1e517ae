#ifndef SELVANE_TESTS_HOST_WORKSHOP_H
#define SELVANE_TESTS_HOST_WORKSHOP_H

// What the command's tests share: a folder of their own, pictures made on the spot, and the command run as a person
// runs it.

#include "picture/Picture.h"

#include <functional>
#include <random>
#include <string>
#include <vector>

namespace SelvaneTest
{

using SelvaneHost::sPicture;
using SelvaneHost::tBytes;

/// A new folder under the system's folder for such, gone with everything in it when the object is.
class cFolder
{
public:
    cFolder();
    ~cFolder();
    cFolder(const cFolder&) = delete;
    cFolder& operator=(const cFolder&) = delete;

    /// The path of a name in the folder.
    std::string operator/(const std::string& pName) const { return fPath + "/" + pName; }
    const std::string& Path() const { return fPath; }

    /// Names of all entries, hidden ones too, sorted.
    std::vector<std::string> Names() const;

private:
    std::string fPath;
};

tBytes ReadAll(const std::string& pPath);
void WriteAll(const std::string& pPath, const tBytes& pBytes);
void WriteAll(const std::string& pPath, const std::string& pText);
bool Exists(const std::string& pPath);

/// How a run of the command ended.
struct sRun
{
    int fStatus = -1; ///< exit status; 128 + number for a signal
    std::string fOut;
    std::string fErr;
    size_t fPeak = 0; ///< bytes: the most memory that it had at once
};

/// Runs the built command with these words.
/// @param pPrepare called in the child before the command takes over: limits, closed streams
sRun Selvane(const std::vector<std::string>& pWords, const std::function<void()>& pPrepare = {});

/// A chunk of a PNG file.
struct sPngChunk
{
    std::string fType;
    tBytes fData;
};

/// All chunks in their order.
/// @throws std::runtime_error for what is no PNG file, is cut, or has a wrong checksum
std::vector<sPngChunk> PngChunks(const tBytes& pFile);

/// Makes standard input the output of a shell command. For the child of Selvane.
void ReadFrom(const std::string& pCommand);

/// A small file of each kind and form that the command reads, by name, as bytes. They are made in the folder.
std::vector<std::pair<std::string, tBytes>> OneOfEachKind(const cFolder& pFolder);

/// Up to eight bytes of the file changed at random. Half of the changes hit the first 200 bytes, where the structure
/// is.
tBytes Broken(const tBytes& pWhole, std::mt19937& pRandom);

/// Whether the long forms are asked for: SELVANE_LONG in the environment.
bool IsLong();

/// Number of lines, each closed by a line feed.
size_t Lines(const std::string& pText);

/// A repeatable pattern of samples in red, green, blue.
tBytes Samples8(int pWidth, int pHeight, unsigned pSeed = 1);
std::vector<uint16_t> Samples16(int pWidth, int pHeight, unsigned pSeed = 1);
/// Positive floats over about six decades, interleaved.
std::vector<float> Floats(int pWidth, int pHeight, unsigned pSeed = 1);

/// How a picture is stored through the picture library.
struct sStored
{
    int fBands = 3;
    int fFormat = 0;         ///< VipsBandFormat
    int fInterpretation = 0; ///< VipsInterpretation
    tBytes fProfile;         ///< ICC, or none
    int fOrientation = 1;
    std::string fXmp;
    std::string fInteroperability = {}; ///< index of that name in Exif: "R03" for Adobe RGB
};

sStored Rgb8();
sStored Rgb16();

/// Writes samples to a file; the extension decides the kind.
void Store(const std::string& pPath, const void* pSamples, int pWidth, int pHeight, const sStored& pHow);

/// What stands in a file, read with the picture library directly.
struct sFound
{
    int fWidth = 0;
    int fHeight = 0;
    int fBands = 0;
    int fBits = 0; ///< 8 or 16
    int fOrientation = 1;
    tBytes fPixels;
    tBytes fProfile;
    bool fSaysSrgb = false; ///< by the sRGB chunk of a PNG file
    std::string fXmp;
};
sFound Look(const std::string& pPath);

/// A Radiance file of flat scanlines: interleaved pixels of four bytes.
tBytes Radiance(int pWidth, int pHeight, const tBytes& pPixels, const std::string& pHeaderLines = "");

/// Interleaved exponent pixels of a small scene with a bright spot, 4 bytes each.
tBytes ExponentPixels(int pWidth, int pHeight);

/// Writes an OpenEXR file of float channels, one name and plane each.
void StoreExr(const std::string& pPath, int pWidth, int pHeight,
              const std::vector<std::pair<std::string, std::vector<float>>>& pChannels,
              const std::vector<float>& pChromaticities = {});

} // namespace SelvaneTest

#endif
