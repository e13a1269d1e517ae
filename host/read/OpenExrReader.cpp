#include "read/OpenExrReader.h"

#include "color/Interpret.h"
#include "picture/Errors.h"
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

/// The names that programs give to red, green, blue and alpha.
constexpr std::array<std::array<const char*, 4>, 4> kColorNames = {
    {{"R", "G", "B", "A"}, {"r", "g", "b", "a"}, {"red", "green", "blue", "alpha"}, {"Red", "Green", "Blue", "Alpha"}}};

/// Returns the colours behind a prefix, with alpha if there is some. Empty if there are none.
std::vector<std::string> ColorsOf(const Imf::ChannelList& pChannels, const std::string& pPrefix)
{
    for (const auto& names : kColorNames) {
        std::vector<std::string> found;
        for (const char* name : names)
            if (Has(pChannels, pPrefix + name)) found.push_back(pPrefix + name);
        const bool colors = found.size() >= 3 && found[2] == pPrefix + names[2];
        if (colors) return found;
    }
    return {};
}

/// Returns the first layer with colours, with its closing dot. Empty if there is none.
std::string FirstColorLayer(const Imf::ChannelList& pChannels)
{
    for (auto channel = pChannels.begin(); channel != pChannels.end(); ++channel) {
        const std::string name = channel.name();
        const size_t dot = name.rfind('.');
        if (dot == std::string::npos) continue;
        std::string prefix = name.substr(0, dot + 1);
        if (!ColorsOf(pChannels, prefix).empty()) return prefix;
    }
    return {};
}

std::string NameOfPart(const Imf::Header& pHeader)
{
    return pHeader.hasName() ? pHeader.name() : std::string();
}

/// Lists the channels of all parts for a refusal: "A, depth.Z".
std::string AllChannels(const Imf::MultiPartInputFile& pFile)
{
    constexpr size_t kMostListed = 20;
    std::string list;
    size_t count = 0;
    for (int part = 0; part < pFile.parts(); part++) {
        const std::string name = NameOfPart(pFile.header(part));
        const Imf::ChannelList& channels = pFile.header(part).channels();
        for (auto channel = channels.begin(); channel != channels.end(); ++channel) {
            if (count++ == kMostListed) return list + " and more";
            list += (list.empty() ? "" : ", ") + (name.empty() ? name : name + "/") + channel.name();
        }
    }
    return list.empty() ? "none" : list;
}

[[noreturn]] void RefuseChannels(const Imf::MultiPartInputFile& pFile, const std::string& pWords)
{
    throw cHostError("the picture " + pWords + "; its channels are " + AllChannels(pFile));
}

/// Returns grey and perhaps alpha of a part behind a prefix. Empty if there is none.
std::vector<std::string> GreyOf(const Imf::MultiPartInputFile& pFile, int pPart, const std::string& pPrefix)
{
    const Imf::ChannelList& channels = pFile.header(pPart).channels();
    const std::string grey = pPrefix + "Y", alpha = pPrefix + "A";
    if (!Has(channels, grey)) return {};
    if (Has(channels, pPrefix + "RY") || Has(channels, pPrefix + "BY"))
        RefuseChannels(pFile, "holds luminance with subsampled colour, which cannot be read; save it with the channels "
                              "R, G and B");
    std::vector<std::string> names(3, grey);
    if (Has(channels, alpha)) names.push_back(alpha);
    return names;
}

/// Returns the colours or the grey of a part behind a prefix.
sSource SourceAt(const Imf::MultiPartInputFile& pFile, int pPart, const std::string& pPrefix)
{
    sSource source{pPart, ColorsOf(pFile.header(pPart).channels(), pPrefix), pPrefix};
    if (source.fNames.empty()) source.fNames = GreyOf(pFile, pPart, pPrefix);
    return source;
}

/// Returns the layer of this name: a part, or channels behind "NAME.".
sSource FindLayer(const Imf::MultiPartInputFile& pFile, const std::string& pLayer)
{
    for (int part = 0; part < pFile.parts(); part++) {
        sSource source = SourceAt(pFile, part, pLayer + ".");
        if (source.fNames.empty() && NameOfPart(pFile.header(part)) == pLayer) source = SourceAt(pFile, part, "");
        if (!source.fNames.empty()) return source;
    }
    RefuseChannels(pFile, "has no layer \"" + pLayer + "\" of colours or grey");
}

sSource FindSource(const Imf::MultiPartInputFile& pFile)
{
    for (int part = 0; part < pFile.parts(); part++) {
        sSource source = SourceAt(pFile, part, "");
        if (!source.fNames.empty()) return source;
    }
    for (int part = 0; part < pFile.parts(); part++) {
        const std::string layer = FirstColorLayer(pFile.header(part).channels());
        if (!layer.empty()) return SourceAt(pFile, part, layer);
    }
    RefuseChannels(pFile, "has no channels R, G and B");
}

void CheckSource(const Imf::MultiPartInputFile& pFile, const sSource& pSource)
{
    const Imf::Header& header = pFile.header(pSource.fPart);
    if (header.hasType() && Imf::isDeepData(header.type()))
        RefuseChannels(pFile, "holds deep samples; flatten it first");
    for (const std::string& name : pSource.fNames) {
        const Imf::Channel& channel = header.channels()[name.c_str()];
        if (channel.xSampling != 1 || channel.ySampling != 1)
            RefuseChannels(pFile, "has a subsampled channel, " + name + ", which cannot be read");
    }
}

sColorNotes NotesOf(const Imf::Header& pHeader)
{
    sColorNotes notes;
    if (Imf::hasWhiteLuminance(pHeader)) notes.fWhiteLuminance = Imf::whiteLuminance(pHeader);
    if (!Imf::hasChromaticities(pHeader)) return notes;
    const Imf::Chromaticities& found = Imf::chromaticities(pHeader);
    notes.fChromaticities = {found.red.x,  found.red.y,  found.green.x, found.green.y,
                             found.blue.x, found.blue.y, found.white.x, found.white.y};
    return notes;
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

sPicture ReadParts(const tBytes& pBytes, Imf::MultiPartInputFile& pFile, const sReadOptions& pOptions)
{
    const sSource source = pOptions.fLayer.empty() ? FindSource(pFile) : FindLayer(pFile, pOptions.fLayer);
    const Imf::Header& header = pFile.header(source.fPart);
    CheckSource(pFile, source);
    const Imath::Box2i window = header.dataWindow();
    sPicture picture;
    SetSize(picture, int64_t{window.max.x} - window.min.x + 1, int64_t{window.max.y} - window.min.y + 1, eFloats,
            static_cast<int>(source.fNames.size()));
    if (pOptions.fLayer.empty()) WarnOfChoices(source, picture);
    CheckOpenExrChunks(pBytes, source.fPart); // before the picture takes memory
    ReadPixels(pFile, source, picture);
    Interpret(picture, NotesOf(header), pOptions);
    return picture;
}

} // namespace

bool LooksLikeOpenExr(const tBytes& pBytes)
{
    return BeginsWith(pBytes, "\x76\x2F\x31\x01");
}

sPicture ReadOpenExr(const tBytes& pBytes, const sReadOptions& pOptions)
{
    try {
        CheckOpenExrHeaders(pBytes);
        cByteStream stream(pBytes);
        Imf::MultiPartInputFile file(stream, 0, true);
        return ReadParts(pBytes, file, pOptions);
    } catch (const cHostError&) {
        throw;
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const std::exception& failure) {
        Damaged(failure.what());
    }
}

} // namespace SelvaneHost
