#include "read/OpenExrReader.h"

#include "picture/Errors.h"
#include "picture/ExponentPlanes.h"
#include "picture/ProfileMatch.h"
#include "read/OpenExrChunks.h"
#include "read/OpenExrHeaders.h"
#include "read/ReaderSteps.h"

#include <ImfChannelList.h>
#include <ImfChromaticities.h>
#include <ImfFrameBuffer.h>
#include <ImfHeader.h>
#include <ImfIO.h>
#include <ImfInputPart.h>
#include <ImfMultiPartInputFile.h>
#include <ImfPartType.h>
#include <ImfStandardAttributes.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <new>
#include <stdexcept>

namespace SelvaneHost
{

namespace
{

constexpr size_t kChannels = 3;
constexpr int kMostRowsAtOnce = 256;    // a multiple of the rows in a chunk of any compression
constexpr int kSamplesAtOnce = 1 << 24; // floats a channel, for wide pictures

/// The stream from which the OpenEXR library reads the file's bytes.
class cByteStream : public Imf::IStream
{
public:
    explicit cByteStream(const tBytes& pBytes) : Imf::IStream("picture"), fBytes(pBytes) {}

    bool read(char pTarget[], int pCount) override
    {
        if (pCount < 0 || fAt > fBytes.size() || static_cast<size_t>(pCount) > fBytes.size() - fAt)
            throw std::runtime_error("it ends too early");
        std::memcpy(pTarget, fBytes.data() + fAt, static_cast<size_t>(pCount));
        fAt += static_cast<size_t>(pCount);
        return fAt < fBytes.size();
    }

    uint64_t tellg() override { return fAt; }
    void seekg(uint64_t pPosition) override { fAt = pPosition; }

private:
    const tBytes& fBytes;
    uint64_t fAt = 0;
};

/// The channels that become the picture.
struct sSource
{
    int fPart = 0;
    std::array<std::string, kChannels> fNames; // red, green, blue; the same name three times for grey
    std::string fLayer;                        // with its closing dot; empty for channels outside of layers
    std::string fAlpha;                        // name of the alpha channel; it may be missing
};

bool Has(const Imf::ChannelList& pChannels, const std::string& pName)
{
    return pChannels.findChannel(pName) != nullptr;
}

bool HasColor(const Imf::ChannelList& pChannels, const std::string& pPrefix)
{
    return Has(pChannels, pPrefix + "R") && Has(pChannels, pPrefix + "G") && Has(pChannels, pPrefix + "B");
}

sSource ColorSource(int pPart, const std::string& pPrefix)
{
    return {pPart, {pPrefix + "R", pPrefix + "G", pPrefix + "B"}, pPrefix, pPrefix + "A"};
}

/// Returns the name of the first layer with R, G and B, with its closing dot. Empty if there is none.
std::string FirstColorLayer(const Imf::ChannelList& pChannels)
{
    for (auto channel = pChannels.begin(); channel != pChannels.end(); ++channel) {
        const std::string name = channel.name();
        const size_t dot = name.rfind('.');
        if (dot != std::string::npos && HasColor(pChannels, name.substr(0, dot + 1))) return name.substr(0, dot + 1);
    }
    return {};
}

sSource FindSource(const Imf::MultiPartInputFile& pFile)
{
    for (int part = 0; part < pFile.parts(); part++) {
        const Imf::ChannelList& channels = pFile.header(part).channels();
        if (HasColor(channels, "")) return ColorSource(part, "");
        if (Has(channels, "RY") || Has(channels, "BY"))
            throw cHostError(
                "the picture holds luminance with subsampled colour, which cannot be read; save it with the "
                "channels R, G and B");
        if (Has(channels, "Y")) return {part, {"Y", "Y", "Y"}, "", "A"};
    }
    for (int part = 0; part < pFile.parts(); part++) {
        const std::string layer = FirstColorLayer(pFile.header(part).channels());
        if (!layer.empty()) return ColorSource(part, layer);
    }
    throw cHostError("the picture has no channels R, G and B");
}

void CheckSource(const Imf::Header& pHeader, const sSource& pSource)
{
    if (pHeader.hasType() && Imf::isDeepData(pHeader.type()))
        throw cHostError("the picture holds deep samples; flatten it first");
    for (const std::string& name : pSource.fNames) {
        const Imf::Channel& channel = pHeader.channels()[name.c_str()];
        if (channel.xSampling != 1 || channel.ySampling != 1)
            throw cHostError("the picture's channel " + name + " is subsampled, which cannot be read");
    }
}

void ReadColorSpace(const Imf::Header& pHeader, sPicture& pPicture)
{
    if (!Imf::hasChromaticities(pHeader)) return;
    const Imf::Chromaticities& found = Imf::chromaticities(pHeader);
    SetColorSpace(pPicture, {found.red.x, found.red.y, found.green.x, found.green.y, found.blue.x, found.blue.y});
}

void WarnOfChoices(const Imf::Header& pHeader, const sSource& pSource, sPicture& pPicture)
{
    if (!pSource.fLayer.empty())
        pPicture.fWarnings.push_back("the layer \"" + pSource.fLayer.substr(0, pSource.fLayer.size() - 1) +
                                     "\" was taken");
    if (Has(pHeader.channels(), pSource.fAlpha)) WarnOfAlpha(pPicture);
}

/// Memory for some rows of floats in three channels, and its description for the OpenEXR library.
class cRows
{
public:
    cRows(int pWidth, int pHeight)
        : fWidth(pWidth), fCount(std::clamp(kSamplesAtOnce / pWidth, 1, std::min(kMostRowsAtOnce, pHeight)))
    {
        for (std::vector<float>& channel : fSamples)
            channel.resize(static_cast<size_t>(fWidth) * static_cast<size_t>(fCount));
    }

    int Count() const { return fCount; }

    /// Describes the memory for pCount rows from pFirst on. pLeft is the left edge of the data window.
    Imf::FrameBuffer Describe(const std::array<std::string, kChannels>& pNames, int pLeft, int pFirst, int pCount)
    {
        Imf::FrameBuffer buffer;
        const Imath::Box2i window(Imath::V2i(pLeft, pFirst), Imath::V2i(pLeft + fWidth - 1, pFirst + pCount - 1));
        for (size_t i = 0; i < kChannels; i++) {
            if (i == 0 || pNames[i] != pNames[0])
                buffer.insert(pNames[i], Imf::Slice::Make(Imf::FLOAT, fSamples[i].data(), window));
        }
        return buffer;
    }

    const float* Row(size_t pChannel, int pRow) const
    {
        return fSamples[pChannel].data() + static_cast<size_t>(fWidth) * static_cast<size_t>(pRow);
    }

private:
    const int fWidth;
    const int fCount;
    std::array<std::vector<float>, kChannels> fSamples;
};

void ReadPixels(Imf::MultiPartInputFile& pFile, const sSource& pSource, sPicture& pPicture)
{
    Imf::InputPart part(pFile, pSource.fPart);
    const Imath::Box2i window = part.header().dataWindow();
    const bool grey = pSource.fNames[0] == pSource.fNames[1]; // then only the first channel of the rows is filled
    const size_t green = grey ? 0 : 1;
    const size_t blue = grey ? 0 : 2;
    cRows rows(pPicture.fWidth, pPicture.fHeight);
    pPicture.fPixels.reserve(AllBytes(pPicture)); // touched as the rows arrive
    for (int first = 0; first < pPicture.fHeight; first += rows.Count()) {
        const int count = std::min(rows.Count(), pPicture.fHeight - first);
        part.setFrameBuffer(rows.Describe(pSource.fNames, window.min.x, window.min.y + first, count));
        part.readPixels(window.min.y + first, window.min.y + first + count - 1);
        pPicture.fPixels.resize(RowBytes(pPicture) * static_cast<size_t>(first + count));
        for (int row = 0; row < count; row++) {
            ToExponentRow(rows.Row(0, row), rows.Row(green, row), rows.Row(blue, row), 1, pPicture.fWidth,
                          Row(pPicture, first + row));
        }
    }
}

sPicture ReadParts(const tBytes& pBytes, Imf::MultiPartInputFile& pFile)
{
    const sSource source = FindSource(pFile);
    const Imf::Header& header = pFile.header(source.fPart);
    CheckSource(header, source);
    const Imath::Box2i window = header.dataWindow();
    sPicture picture;
    SetSize(picture, int64_t{window.max.x} - window.min.x + 1, int64_t{window.max.y} - window.min.y + 1,
            eExponentPlanes);
    ReadColorSpace(header, picture);
    WarnOfChoices(header, source, picture);
    CheckOpenExrChunks(pBytes, source.fPart); // before the picture takes memory
    ReadPixels(pFile, source, picture);
    return picture;
}

} // namespace

bool LooksLikeOpenExr(const tBytes& pBytes)
{
    return BeginsWith(pBytes, "\x76\x2F\x31\x01");
}

sPicture ReadOpenExr(const tBytes& pBytes)
{
    try {
        CheckOpenExrHeaders(pBytes);
        cByteStream stream(pBytes);
        Imf::MultiPartInputFile file(stream, 0, true);
        return ReadParts(pBytes, file);
    } catch (const cHostError&) {
        throw;
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const std::exception& failure) {
        Damaged(failure.what());
    }
}

} // namespace SelvaneHost
