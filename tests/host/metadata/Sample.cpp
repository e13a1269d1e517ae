#include "host/metadata/Sample.h"

#include <ImfChannelList.h>
#include <ImfFloatAttribute.h>
#include <ImfFrameBuffer.h>
#include <ImfHeader.h>
#include <ImfOutputFile.h>
#include <ImfStandardAttributes.h>
#include <vips/vips.h>

#include <array>
#include <cstdio>
#include <stdexcept>

namespace SelvaneTest
{

namespace
{

std::string Quoted(const std::string& pWord)
{
    std::string quoted(1, '\'');
    for (const char letter : pWord) {
        if (letter == '\'') quoted += "'\\'";
        quoted += letter;
    }
    quoted += '\'';
    return quoted;
}

std::string OutputOf(const std::string& pCommand)
{
    std::FILE* const pipe = ::popen(pCommand.c_str(), "r");
    if (pipe == nullptr) throw std::runtime_error("popen");
    std::string text;
    std::array<char, 4096> piece{};
    for (size_t count = 0; (count = std::fread(piece.data(), 1, piece.size(), pipe)) > 0;)
        text.append(piece.data(), count);
    ::pclose(pipe);
    return text;
}

std::vector<std::string> Split(const std::string& pText, char pAt)
{
    std::vector<std::string> parts;
    size_t first = 0;
    for (size_t at = pText.find(pAt); at != std::string::npos; at = pText.find(pAt, first)) {
        parts.push_back(pText.substr(first, at - first));
        first = at + 1;
    }
    parts.push_back(pText.substr(first));
    return parts;
}

void Put(tBytes& pTo, unsigned pValue, int pBytes)
{
    for (int i = 0; i < pBytes; i++)
        pTo.push_back(static_cast<unsigned char>(pValue >> (8 * i)));
}

void PutEntry(tBytes& pTo, unsigned pTag, unsigned pType, unsigned pCount, unsigned pValue)
{
    Put(pTo, pTag, 2);
    Put(pTo, pType, 2);
    Put(pTo, pCount, 4);
    Put(pTo, pValue, 4);
}

/// An Exif block with a maker and a note of his: two directories of one and two entries.
tBytes ExifWithNote()
{
    const std::string maker("Selvane Works\0", 14), note(kMakerNote);
    tBytes block = {'I', 'I', '*', 0, 8, 0, 0, 0};
    const auto makerAt = 8U + 2 + 2 * 12 + 4, exifAt = makerAt + 14, noteAt = exifAt + 2 + 12 + 4;
    Put(block, 2, 2);
    PutEntry(block, 0x010F, 2, 14, makerAt);
    PutEntry(block, 0x8769, 4, 1, exifAt);
    Put(block, 0, 4);
    block.insert(block.end(), maker.begin(), maker.end());
    Put(block, 1, 2);
    PutEntry(block, 0x927C, 7, static_cast<unsigned>(note.size()), noteAt);
    Put(block, 0, 4);
    block.insert(block.end(), note.begin(), note.end());
    return block;
}

VipsImage* Made(int pFailed, VipsImage* pImage)
{
    if (pFailed != 0) throw std::runtime_error(std::string("libvips: ") + vips_error_buffer());
    return pImage;
}

/// An sRGB picture of 8 bits.
VipsImage* Plain(int pWidth, int pHeight)
{
    const tBytes samples = Samples8(pWidth, pHeight);
    VipsImage* const pixels =
        vips_image_new_from_memory_copy(samples.data(), samples.size(), pWidth, pHeight, 3, VIPS_FORMAT_UCHAR);
    VipsImage* image = nullptr;
    Made(vips_copy(pixels, &image, "interpretation", VIPS_INTERPRETATION_sRGB, nullptr), image);
    g_object_unref(pixels);
    return image;
}

void StorePlainExr(const std::string& pPath, int pWidth, int pHeight, const Imf::Header& pHeader)
{
    std::vector<float> samples = Floats(pWidth, pHeight);
    Imf::OutputFile file(pPath.c_str(), pHeader);
    Imf::FrameBuffer buffer;
    const char* const names[] = {"R", "G", "B"};
    for (size_t i = 0; i < 3; i++)
        buffer.insert(names[i], Imf::Slice(Imf::FLOAT, reinterpret_cast<char*>(samples.data() + i), 12,
                                           12 * static_cast<size_t>(pWidth)));
    file.setFrameBuffer(buffer);
    file.writePixels(pHeight);
}

Imf::Header ExrHeader(int pWidth, int pHeight)
{
    Imf::Header header(pWidth, pHeight);
    for (const char* name : {"R", "G", "B"})
        header.channels().insert(name, Imf::Channel(Imf::FLOAT));
    return header;
}

void StoreExrWithAttributes(const std::string& pPath)
{
    Imf::Header header = ExrHeader(64, 48);
    Imf::addOwner(header, "(c) A. Painter");
    Imf::addExpTime(header, 0.008F);
    Imf::addAperture(header, 5.6F);
    Imf::addIsoSpeed(header, 400.0F);
    Imf::addCapDate(header, "2021:03:04 05:06:07");
    Imf::addUtcOffset(header, -7200.0F);
    Imf::addLatitude(header, -33.5F);
    Imf::addLongitude(header, 151.25F);
    Imf::addAltitude(header, 35.0F);
    StorePlainExr(pPath, 64, 48, header);
}

/// A JPEG with all that the sample holds; the other formats copy it from here.
void StoreSource(const cFolder& pFolder)
{
    StorePlain(pFolder / "source.jpg");
    StorePlain(pFolder / "thumbnail.jpg", 16, 12);
    WriteAll(pFolder / "note.exif", ExifWithNote());
    Exiftool({"-q", "-overwrite_original", "-exif<=" + (pFolder / "note.exif"), pFolder / "source.jpg"});
    Exiftool({"-q",
              "-overwrite_original",
              "-n",
              "-IFD0:Copyright=(c) A. Painter",
              "-IFD0:Model=Model 1",
              "-IFD0:XResolution=300",
              "-IFD0:YResolution=300",
              "-IFD0:ResolutionUnit=2",
              "-IFD0:Orientation=1",
              "-ExifIFD:DateTimeOriginal=2021:03:04 05:06:07",
              "-ExifIFD:OffsetTimeOriginal=+02:00",
              "-ExifIFD:ExposureTime=0.008",
              "-ExifIFD:FNumber=5.6",
              "-ExifIFD:ISO=400",
              "-ExifIFD:ColorSpace=65535",
              "-ExifIFD:ExifImageWidth=9999",
              "-ExifIFD:ExifImageHeight=8888",
              "-ExifIFD:LensModel=Lens 50 mm",
              "-GPS:GPSLatitude=33.5",
              "-GPS:GPSLatitudeRef=S",
              "-GPS:GPSLongitude=151.25",
              "-GPS:GPSLongitudeRef=E",
              "-GPS:GPSAltitude=35",
              "-IPTC:City=Sydney",
              "-IPTC:Keywords=harbour",
              "-IPTC:Keywords=dusk",
              "-XMP-dc:Title=A harbour",
              "-XMP-dc:Rights=(c) A. Painter",
              "-XMP-photoshop:State=New South Wales",
              "-XMP-iptcExt:LocationShownCity=Sydney",
              "-XMP-exif:GPSLatitude=-33.5",
              "-XMP-tiff:Orientation=6",
              "-ThumbnailImage<=" + (pFolder / "thumbnail.jpg"),
              pFolder / "source.jpg"});
}

} // namespace

std::string Exiftool(const std::vector<std::string>& pWords)
{
    std::string command = "exiftool";
    for (const std::string& word : pWords)
        command.append(1, ' ').append(Quoted(word));
    std::string text = OutputOf(command + " 2>/dev/null");
    if (text.ends_with('\n')) text.pop_back();
    return text;
}

std::vector<std::vector<std::string>> TagsOf(const std::vector<std::string>& pPaths,
                                             const std::vector<std::string>& pTags)
{
    std::vector<std::string> words = {"-T", "-f", "-n", "-U", "-a", "-q"};
    for (const std::string& tag : pTags)
        words.push_back(std::string(1, '-').append(tag));
    words.insert(words.end(), pPaths.begin(), pPaths.end());
    std::vector<std::vector<std::string>> rows;
    for (const std::string& line : Split(Exiftool(words), '\n'))
        rows.push_back(Split(line, '\t'));
    return rows;
}

std::string TagOf(const std::string& pPath, const std::string& pTag)
{
    return TagsOf({pPath}, {pTag}).at(0).at(0);
}

void StorePlain(const std::string& pPath, int pWidth, int pHeight)
{
    if (pPath.ends_with(".exr")) return StorePlainExr(pPath, pWidth, pHeight, ExrHeader(pWidth, pHeight));
    vips_operation_block_set("VipsForeignSaveJxl", FALSE); // libvips calls it untrusted
    VipsImage* const image = Plain(pWidth, pHeight);
    const bool jpeg = pPath.ends_with(".jpg"); // libvips would add Exif data of its own
    const int failed = jpeg ? vips_jpegsave(image, pPath.c_str(), "strip", TRUE, nullptr)
                            : vips_image_write_to_file(image, pPath.c_str(), nullptr);
    Made(failed, image);
    g_object_unref(image);
}

void StoreWithMetadata(const std::string& pPath)
{
    if (pPath.ends_with(".exr")) return StoreExrWithAttributes(pPath);
    static const cFolder folder; // the source is made once
    if (!Exists(folder / "source.jpg")) StoreSource(folder);
    StorePlain(pPath);
    Exiftool({"-q", "-m", "-overwrite_original", "-tagsFromFile", folder / "source.jpg", "-exif:all", "-makernotes",
              "-iptc:all", "-xmp:all", "-thumbnailimage", pPath});
}

} // namespace SelvaneTest
