#include "batch/Memory.h"

#include "picture/Errors.h"

#include <selvane.h>

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>
#include <utility>

namespace SelvaneHost
{

namespace
{

constexpr uint64_t kMiB = uint64_t{1} << 20;
constexpr double kMostBytes = 0x1p62;

/// What the unit stands for; 0 for none that is known.
double UnitOf(const std::string& pUnit)
{
    if (pUnit.empty()) return 1.0;
    if (pUnit.size() > 1) return 0.0;
    const size_t power =
        std::string("KMGT").find(static_cast<char>(std::toupper(static_cast<unsigned char>(pUnit[0]))));
    return power == std::string::npos ? 0.0 : std::exp2(10.0 * static_cast<double>(power + 1));
}

std::string InMegabytes(uint64_t pBytes)
{
    return std::to_string((pBytes + kMiB - 1) / kMiB) + " MiB";
}

/// What libselvane's handle takes.
uint64_t HandleBytes(const sPicture& pInput)
{
    selvane_picture picture;
    selvane_picture_init(&picture);
    picture.width = pInput.fWidth;
    picture.height = pInput.fHeight;
    picture.format = SELVANE_F32; // whatever the form: alpha of floats is the largest
    picture.channels = pInput.fChannels;
    uint64_t bytes = 0;
    if (selvane_estimate_memory(&picture, &bytes) != SELVANE_OK)
        throw cHostError("a picture of this size is too large");
    return bytes;
}

} // namespace

uint64_t BytesOf(const std::string& pText)
{
    double number = 0.0;
    const auto [end, error] = std::from_chars(pText.data(), pText.data() + pText.size(), number);
    const double unit = UnitOf(std::string(end, pText.data() + pText.size()));
    const double bytes = number * unit;
    if (error != std::errc() || unit == 0.0 || !(bytes < kMostBytes))
        throw cUsageError("--memory " + pText + ": write a size such as 800M or 2.5G");
    if (!(bytes >= static_cast<double>(kMiB))) throw cUsageError("--memory " + pText + ": the least is 1M");
    return static_cast<uint64_t>(bytes);
}

uint64_t NeededBytes(const sPicture& pInput, uint64_t pFileBytes, int pDepth, std::optional<uint64_t> pResized)
{
    const uint64_t pixels = static_cast<uint64_t>(pInput.fWidth) * static_cast<uint64_t>(pInput.fHeight);
    const uint64_t floats = static_cast<uint64_t>(pInput.fChannels) * sizeof(float); // of a pixel
    const uint64_t samples = static_cast<uint64_t>(pInput.fChannels) * static_cast<uint64_t>(pDepth / 8);
    const uint64_t input =
        pInput.fForm == eExponentPlanes ? AllBytes(pInput) : pixels * floats; // integers become light
    const uint64_t rendered = pixels * (pResized ? floats : samples);
    const uint64_t reading = pFileBytes + 2 * input; // a step may copy the samples
    const uint64_t rendering = input + HandleBytes(pInput) + rendered;
    const uint64_t resizing = pResized ? rendered + 2 * *pResized * floats : 0; // the filter's result is copied
    const uint64_t writing = 3 * pResized.value_or(pixels) * samples;           // samples, encoder, file
    return std::max({reading, rendering, resizing, writing});
}

cMemoryGate::cRoom::cRoom(cRoom&& pOther) noexcept
    : fGate(std::exchange(pOther.fGate, nullptr)), fBytes(std::exchange(pOther.fBytes, 0))
{
}

cMemoryGate::cRoom& cMemoryGate::cRoom::operator=(cRoom&& pOther) noexcept
{
    std::swap(fGate, pOther.fGate);
    std::swap(fBytes, pOther.fBytes);
    return *this;
}

void cMemoryGate::cRoom::GiveBack()
{
    if (fGate == nullptr) return;
    {
        const std::lock_guard lock(fGate->fMutex);
        fGate->fFree += fBytes;
    }
    fGate->fFreed.notify_all();
    fGate = nullptr;
}

cMemoryGate::cRoom cMemoryGate::Take(uint64_t pBytes)
{
    if (pBytes > fBytes)
        throw cHostError("the picture needs " + InMegabytes(pBytes) + " of memory, and --memory allows " +
                         InMegabytes(fBytes));
    std::unique_lock lock(fMutex);
    fFreed.wait(lock, [&] { return fFree >= pBytes; });
    fFree -= pBytes;
    return {*this, pBytes};
}

} // namespace SelvaneHost
