#include "read/OpenExrReader.h"

#include "picture/Errors.h"
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
#include <cstring>
#include <new>
#include <stdexcept>
#include <string>
#include <vector>

namespace SelvaneHost
{

namespace
{

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
    std::vector<std::string> fNames; // red, green, blue, perhaps alpha; the same name three times for grey
    std::string fLayer;              // with its closing dot; empty for channels outside of layers
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
    return {pPart, {pPrefix + "R", pPrefix + "G", pPrefix + "B"}, pPrefix};
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
        if (Has(channels, "Y")) return {part, {"Y", "Y", "Y"}, ""};
    }
    for (int part = 0; part < pFile.parts(); part++) {
        const std::string layer = FirstColorLayer(pFile.header(part).channels());
        if (!layer.empty()) return ColorSource(part, layer);
    }
    throw cHostError("the picture has no channels R, G and B");
}

/// Adds the alpha channel, if the part has one.
void AddAlpha(const Imf::ChannelList& pChannels, sSource& pSource)
{
    if (Has(pChannels, pSource.fLayer + "A")) pSource.fNames.push_back(pSource.fLayer + "A");
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
    if (!Imf::hasChromaticities(pHeader)) return SetSpace(pPicture, std::nullopt);
    const Imf::Chromaticities& found = Imf::chromaticities(pHeader);
    SetSpaceOf(pPicture, {found.red.x, found.red.y, found.green.x, found.green.y, found.blue.x, found.blue.y});
}

void WarnOfChoices(const sSource& pSource, sPicture& pPicture)
{
    if (!pSource.fLayer.empty())
        pPicture.fWarnings.push_back("the layer \"" + pSource.fLayer.substr(0, pSource.fLayer.size() - 1) +
                                     "\" was taken");
}

/// Describes rows of the picture for the OpenEXR library. A channel that occurs several times is described once, at its
/// first place.
/// @param pLeft,pFirst left edge of the data window, and its row that becomes the picture's row pRow
Imf::FrameBuffer Describe(const sSource& pSource, sPicture& pPicture, int pRow, int pLeft, int pFirst, int pCount)
{
    Imf::FrameBuffer buffer;
    const Imath::Box2i window(Imath::V2i(pLeft, pFirst), Imath::V2i(pLeft + pPicture.fWidth - 1, pFirst + pCount - 1));
    auto* const samples = reinterpret_cast<float*>(Row(pPicture, pRow));
    for (size_t i = 0; i < pSource.fNames.size(); i++) {
        if (buffer.findSlice(pSource.fNames[i]) != nullptr) continue;
        buffer.insert(pSource.fNames[i],
                      Imf::Slice::Make(Imf::FLOAT, samples + i, window, PixelBytes(pPicture), RowBytes(pPicture)));
    }
    return buffer;
}

/// Copies grey, which was read as red, to green and blue.
void SpreadGrey(sPicture& pPicture, int pRow)
{
    auto* sample = reinterpret_cast<float*>(Row(pPicture, pRow));
    for (int x = 0; x < pPicture.fWidth; x++, sample += pPicture.fChannels)
        sample[1] = sample[2] = sample[0];
}

void ReadPixels(Imf::MultiPartInputFile& pFile, const sSource& pSource, sPicture& pPicture)
{
    Imf::InputPart part(pFile, pSource.fPart);
    const Imath::Box2i window = part.header().dataWindow();
    const bool grey = pSource.fNames[0] == pSource.fNames[1];
    const int rows = std::clamp(kSamplesAtOnce / pPicture.fWidth, 1, std::min(kMostRowsAtOnce, pPicture.fHeight));
    pPicture.fPixels.reserve(AllBytes(pPicture)); // touched as the rows arrive
    for (int first = 0; first < pPicture.fHeight; first += rows) {
        const int count = std::min(rows, pPicture.fHeight - first);
        pPicture.fPixels.resize(RowBytes(pPicture) * static_cast<size_t>(first + count));
        part.setFrameBuffer(Describe(pSource, pPicture, first, window.min.x, window.min.y + first, count));
        part.readPixels(window.min.y + first, window.min.y + first + count - 1);
        for (int row = first; grey && row < first + count; row++)
            SpreadGrey(pPicture, row);
    }
}

sPicture ReadParts(const tBytes& pBytes, Imf::MultiPartInputFile& pFile)
{
    sSource source = FindSource(pFile);
    const Imf::Header& header = pFile.header(source.fPart);
    AddAlpha(header.channels(), source);
    CheckSource(header, source);
    const Imath::Box2i window = header.dataWindow();
    sPicture picture;
    SetSize(picture, int64_t{window.max.x} - window.min.x + 1, int64_t{window.max.y} - window.min.y + 1, eFloats,
            static_cast<int>(source.fNames.size()));
    ReadColorSpace(header, picture);
    WarnOfChoices(source, picture);
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
