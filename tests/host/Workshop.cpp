#include "host/Workshop.h"

#include "picture/Color.h"

#include <ImfChannelList.h>
#include <ImfChromaticities.h>
#include <ImfFrameBuffer.h>
#include <ImfHeader.h>
#include <ImfOutputFile.h>
#include <ImfStandardAttributes.h>
#include <vips/vips.h>
#include <zlib.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <stdexcept>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace SelvaneTest
{

namespace
{

void Must(bool pHolds, const std::string& pWhat)
{
    if (!pHolds) throw std::runtime_error(pWhat + ": " + vips_error_buffer());
}

/// A temporary file for the output of a child process.
class cCaptured
{
public:
    cCaptured() : fFile(std::tmpfile()) { Must(fFile != nullptr, "tmpfile"); }
    ~cCaptured() { std::fclose(fFile); }
    cCaptured(const cCaptured&) = delete;
    cCaptured& operator=(const cCaptured&) = delete;
    int Descriptor() const { return ::fileno(fFile); }
    std::string Text() const
    {
        std::string text;
        char piece[4096];
        for (;;) {
            const ssize_t count = ::pread(Descriptor(), piece, sizeof piece, static_cast<off_t>(text.size()));
            if (count <= 0) return text;
            text.append(piece, static_cast<size_t>(count));
        }
    }

private:
    std::FILE* fFile;
};

/// Returns the profile of an iCCP chunk: a name, a 0, the method 0, the deflated profile.
tBytes Inflated(const tBytes& pChunk)
{
    const auto name = std::find(pChunk.begin(), pChunk.end(), '\0') - pChunk.begin();
    tBytes profile(10000);
    uLongf size = profile.size();
    Must(uncompress(profile.data(), &size, pChunk.data() + name + 2, pChunk.size() - static_cast<size_t>(name) - 2) ==
             Z_OK,
         "iCCP");
    profile.resize(size);
    return profile;
}

/// Reads the colour chunks of a PNG file, because libvips drops some profiles.
void LookAtPngColors(const tBytes& pFile, sFound& pFound)
{
    for (const sPngChunk& chunk : PngChunks(pFile)) {
        if (chunk.fType == "iCCP") pFound.fProfile = Inflated(chunk.fData);
        if (chunk.fType == "sRGB") pFound.fSaysSrgb = true;
    }
}

/// Inserts a profile after the header chunk of a PNG file.
void PutPngIcc(const std::string& pPath, const tBytes& pProfile)
{
    uLongf size = compressBound(pProfile.size());
    std::string data = std::string("iCCPa profile") + std::string(2 + size, '\0');
    Must(compress(reinterpret_cast<Bytef*>(data.data()) + 15, &size, pProfile.data(), pProfile.size()) == Z_OK,
         "deflate");
    data.resize(15 + size);
    const uLong sum = crc32(0, reinterpret_cast<const Bytef*>(data.data()), static_cast<uInt>(data.size()));
    const auto number = [](uLong value) {
        std::string bytes;
        for (int shift = 24; shift >= 0; shift -= 8)
            bytes += static_cast<char>(value >> shift);
        return bytes;
    };
    const std::string chunk = number(data.size() - 4) + data + number(sum);
    tBytes file = ReadAll(pPath);
    file.insert(file.begin() + 33, chunk.begin(), chunk.end());
    WriteAll(pPath, file);
}

} // namespace

cFolder::cFolder()
{
    std::string pattern = (std::filesystem::temp_directory_path() / "selvane-test-XXXXXX").string();
    Must(::mkdtemp(pattern.data()) != nullptr, "mkdtemp");
    fPath = pattern;
}

cFolder::~cFolder()
{
    std::error_code ignored;
    std::filesystem::remove_all(fPath, ignored);
}

std::vector<std::string> cFolder::Names() const
{
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(fPath))
        names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}

tBytes ReadAll(const std::string& pPath)
{
    std::ifstream file(pPath, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

void WriteAll(const std::string& pPath, const tBytes& pBytes)
{
    std::ofstream file(pPath, std::ios::binary);
    file.write(reinterpret_cast<const char*>(pBytes.data()), static_cast<std::streamsize>(pBytes.size()));
    Must(file.good(), "write " + pPath);
}

void WriteAll(const std::string& pPath, const std::string& pText)
{
    WriteAll(pPath, tBytes(pText.begin(), pText.end()));
}

bool Exists(const std::string& pPath)
{
    return std::filesystem::exists(pPath);
}

sRun Selvane(const std::vector<std::string>& pWords, const std::function<void()>& pPrepare)
{
    const cCaptured out;
    const cCaptured err;
    std::vector<char*> words{const_cast<char*>(SELVANE_BINARY)};
    for (const std::string& word : pWords)
        words.push_back(const_cast<char*>(word.c_str()));
    words.push_back(nullptr);
    const pid_t child = ::fork();
    Must(child >= 0, "fork");
    if (child == 0) {
        ::dup2(out.Descriptor(), STDOUT_FILENO);
        ::dup2(err.Descriptor(), STDERR_FILENO);
        ::setenv("SELVANE_CONFIG", "", 1); // the defaults of the person who tests are none of the tests'
        if (pPrepare) pPrepare();
        ::execv(words[0], words.data());
        ::_exit(127);
    }
    int status = 0;
    rusage used{};
    Must(::wait4(child, &status, 0, &used) == child, "wait4");
    const int code = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    return {code, out.Text(), err.Text(), static_cast<size_t>(used.ru_maxrss) << 10};
}

std::vector<sPngChunk> PngChunks(const tBytes& pFile)
{
    const std::string mark = "\x89PNG\r\n\x1A\n";
    Must(pFile.size() > 8 && std::equal(mark.begin(), mark.end(), reinterpret_cast<const char*>(pFile.data())), "PNG");
    const auto number = [&](size_t pAt) {
        Must(pAt + 4 <= pFile.size(), "a PNG file that is cut");
        return size_t{pFile[pAt]} << 24 | size_t{pFile[pAt + 1]} << 16 | size_t{pFile[pAt + 2]} << 8 | pFile[pAt + 3];
    };
    std::vector<sPngChunk> chunks;
    for (size_t at = 8; at < pFile.size();) {
        const size_t size = number(at);
        const size_t sum = number(at + 8 + size);
        const unsigned char* const type = pFile.data() + at + 4;
        Must(crc32(0, type, static_cast<uInt>(4 + size)) == sum, "checksum");
        chunks.push_back({{type, type + 4}, {type + 4, type + 4 + size}});
        at += 12 + size;
    }
    return chunks;
}

void ReadFrom(const std::string& pCommand)
{
    std::FILE* const pipe = ::popen(pCommand.c_str(), "r");
    if (pipe == nullptr || ::dup2(::fileno(pipe), STDIN_FILENO) < 0) ::_exit(126);
}

std::vector<std::pair<std::string, tBytes>> OneOfEachKind(const cFolder& pFolder)
{
    const tBytes eight = Samples8(24, 20);
    const std::vector<uint16_t> sixteen = Samples16(24, 20);
    const std::vector<float> plane(24 * 20, 3.0F);
    sStored profiled = Rgb8();
    profiled.fProfile = SelvaneHost::StoredProfile(SELVANE_ADOBE_RGB);
    Store(pFolder / "8.png", eight.data(), 24, 20, profiled);
    Store(pFolder / "16.png", sixteen.data(), 24, 20, Rgb16());
    Store(pFolder / "8.tif", eight.data(), 24, 20, profiled);
    Store(pFolder / "16.tif", sixteen.data(), 24, 20, Rgb16());
    Store(pFolder / "8.jpg", eight.data(), 24, 20, profiled);
    StoreExr(pFolder / "zip.exr", 24, 20, {{"R", plane}, {"G", plane}, {"B", plane}});
    WriteAll(pFolder / "flat.hdr", Radiance(24, 20, ExponentPixels(24, 20)));
    std::vector<std::pair<std::string, tBytes>> files;
    for (const std::string& name : pFolder.Names())
        files.emplace_back(name, ReadAll(pFolder / name));
    return files;
}

tBytes Broken(const tBytes& pWhole, std::mt19937& pRandom)
{
    tBytes broken = pWhole;
    for (size_t changes = 1 + pRandom() % 8; changes > 0; changes--) {
        const size_t span = pRandom() % 2 == 0 ? std::min<size_t>(broken.size(), 200) : broken.size();
        const size_t place = pRandom() % span;
        broken[place] = static_cast<unsigned char>(pRandom());
    }
    return broken;
}

bool IsLong()
{
    return std::getenv("SELVANE_LONG") != nullptr;
}

size_t Lines(const std::string& pText)
{
    return static_cast<size_t>(std::count(pText.begin(), pText.end(), '\n'));
}

tBytes Samples8(int pWidth, int pHeight, unsigned pSeed)
{
    std::mt19937 random(pSeed);
    tBytes samples(static_cast<size_t>(3 * pWidth * pHeight));
    for (size_t i = 0; i < samples.size(); i++)
        samples[i] = static_cast<unsigned char>((random() & 31) + i * 200 / samples.size());
    return samples;
}

std::vector<uint16_t> Samples16(int pWidth, int pHeight, unsigned pSeed)
{
    std::mt19937 random(pSeed);
    std::vector<uint16_t> samples(static_cast<size_t>(3 * pWidth * pHeight));
    for (size_t i = 0; i < samples.size(); i++)
        samples[i] = static_cast<uint16_t>((random() & 0x1FFF) + i * 50000 / samples.size());
    return samples;
}

std::vector<float> Floats(int pWidth, int pHeight, unsigned pSeed)
{
    std::mt19937 random(pSeed);
    std::vector<float> floats(static_cast<size_t>(3 * pWidth * pHeight));
    for (float& value : floats)
        value = std::exp2(static_cast<float>(random() % 20000) * 0.001F - 10.0F);
    return floats;
}

sStored Rgb8()
{
    return {3, VIPS_FORMAT_UCHAR, VIPS_INTERPRETATION_sRGB, {}, 1, {}};
}

sStored Rgb16()
{
    return {3, VIPS_FORMAT_USHORT, VIPS_INTERPRETATION_RGB16, {}, 1, {}};
}

void Store(const std::string& pPath, const void* pSamples, int pWidth, int pHeight, const sStored& pHow)
{
    const auto format = static_cast<VipsBandFormat>(pHow.fFormat);
    const size_t size = vips_format_sizeof(format) * static_cast<size_t>(pWidth * pHeight * pHow.fBands);
    VipsImage* const pixels = vips_image_new_from_memory_copy(pSamples, size, pWidth, pHeight, pHow.fBands, format);
    Must(pixels != nullptr, "picture in memory");
    VipsImage* image = nullptr;
    Must(vips_copy(pixels, &image, "interpretation", pHow.fInterpretation, nullptr) == 0, "copy");
    const bool png = pPath.ends_with(".png");
    if (!pHow.fProfile.empty() && !png)
        vips_image_set_blob_copy(image, VIPS_META_ICC_NAME, pHow.fProfile.data(), pHow.fProfile.size());
    if (!pHow.fXmp.empty()) vips_image_set_blob_copy(image, VIPS_META_XMP_NAME, pHow.fXmp.data(), pHow.fXmp.size());
    if (!pHow.fInteroperability.empty())
        vips_image_set_string(image, "exif-ifd4-InteroperabilityIndex", pHow.fInteroperability.c_str());
    if (pHow.fOrientation != 1) vips_image_set_int(image, VIPS_META_ORIENTATION, pHow.fOrientation);
    Must(vips_image_write_to_file(image, pPath.c_str(), nullptr) == 0, "store " + pPath);
    if (!pHow.fProfile.empty() && png) PutPngIcc(pPath, pHow.fProfile);
    g_object_unref(image);
    g_object_unref(pixels);
}

sFound Look(const std::string& pPath)
{
    VipsImage* const image = vips_image_new_from_file(pPath.c_str(), nullptr);
    Must(image != nullptr, "look at " + pPath);
    sFound found;
    found.fWidth = vips_image_get_width(image);
    found.fHeight = vips_image_get_height(image);
    found.fBands = vips_image_get_bands(image);
    found.fBits = vips_image_get_format(image) == VIPS_FORMAT_UCHAR ? 8 : 16;
    found.fOrientation = vips_image_get_orientation(image);
    const void* block = nullptr;
    size_t size = 0;
    if (vips_image_get_typeof(image, VIPS_META_ICC_NAME) != 0 &&
        vips_image_get_blob(image, VIPS_META_ICC_NAME, &block, &size) == 0)
        found.fProfile.assign(static_cast<const unsigned char*>(block),
                              static_cast<const unsigned char*>(block) + size);
    if (vips_image_get_typeof(image, VIPS_META_XMP_NAME) != 0 &&
        vips_image_get_blob(image, VIPS_META_XMP_NAME, &block, &size) == 0)
        found.fXmp.assign(static_cast<const char*>(block), size);
    const tBytes file = ReadAll(pPath);
    if (file[0] == 0x89) LookAtPngColors(file, found);
    void* const pixels = vips_image_write_to_memory(image, &size);
    Must(pixels != nullptr, "pixels of " + pPath);
    found.fPixels.assign(static_cast<unsigned char*>(pixels), static_cast<unsigned char*>(pixels) + size);
    g_free(pixels);
    g_object_unref(image);
    return found;
}

tBytes Radiance(int pWidth, int pHeight, const tBytes& pPixels, const std::string& pHeaderLines)
{
    const std::string header = "#?RADIANCE\n" + pHeaderLines + "FORMAT=32-bit_rle_rgbe\n\n-Y " +
                               std::to_string(pHeight) + " +X " + std::to_string(pWidth) + "\n";
    tBytes file(header.begin(), header.end());
    file.insert(file.end(), pPixels.begin(), pPixels.end());
    return file;
}

tBytes ExponentPixels(int pWidth, int pHeight)
{
    std::mt19937 random(7);
    tBytes pixels;
    for (int y = 0; y < pHeight; y++) {
        for (int x = 0; x < pWidth; x++) {
            const double distance = std::hypot(x - pWidth * 0.7, y - pHeight * 0.3);
            const auto exponent = static_cast<unsigned char>(124 + 20.0 / (1.0 + distance) + 2 * (x / 7 % 2));
            for (int i = 0; i < 3; i++)
                pixels.push_back(static_cast<unsigned char>(140 + 30 * i + static_cast<int>(random() % 40)));
            pixels.push_back(exponent);
        }
    }
    return pixels;
}

void StoreExr(const std::string& pPath, int pWidth, int pHeight,
              const std::vector<std::pair<std::string, std::vector<float>>>& pChannels,
              const std::vector<float>& pChromaticities)
{
    Imf::Header header(pWidth, pHeight);
    Imf::FrameBuffer buffer;
    for (const auto& [name, plane] : pChannels) {
        header.channels().insert(name, Imf::Channel(Imf::FLOAT));
        buffer.insert(name, Imf::Slice(Imf::FLOAT, const_cast<char*>(reinterpret_cast<const char*>(plane.data())),
                                       sizeof(float), sizeof(float) * static_cast<size_t>(pWidth)));
    }
    if (!pChromaticities.empty()) {
        const std::vector<float>& c = pChromaticities;
        Imf::addChromaticities(header,
                               Imf::Chromaticities({c[0], c[1]}, {c[2], c[3]}, {c[4], c[5]}, {0.3127F, 0.329F}));
    }
    Imf::OutputFile file(pPath.c_str(), header);
    file.setFrameBuffer(buffer);
    file.writePixels(pHeight);
}

} // namespace SelvaneTest
