#include "read/TiffCheck.h"

#include "picture/Errors.h"
#include "read/ReaderSteps.h"

#include <algorithm>
#include <array>

namespace SelvaneHost
{

namespace
{

/// The sizes in which TIFF and BigTIFF differ, in bytes.
struct sForm
{
    size_t fOffsetBytes;    // size of an offset or a count
    size_t fDirectoryPlace; // place of the first directory's offset
    size_t fCountBytes;     // size of the number of entries
    size_t fEntryBytes;     // size of an entry
};

constexpr sForm kClassic = {4, 4, 2, 12};
constexpr sForm kBig = {8, 8, 8, 20};

// Bytes of one value, by field type; 0 for an unknown type.
constexpr std::array<size_t, 19> kTypeBytes = {0, 1, 1, 2, 4, 8, 1, 1, 2, 4, 8, 4, 8, 4, 0, 0, 8, 8, 8};

constexpr uint64_t kCompressionTag = 259;
constexpr std::array<uint64_t, 6> kCodecs = {1, 5, 7, 8, 32773, 32946}; // none, LZW, JPEG, deflate, PackBits, deflate

/// The numbers of a file, in its byte order.
class cNumbers
{
public:
    explicit cNumbers(const tBytes& pFile) : fFile(pFile), fBigEndian(!pFile.empty() && pFile[0] == 'M') {}

    bool Inside(uint64_t pOffset, uint64_t pSize) const
    {
        return pOffset <= fFile.size() && pSize <= fFile.size() - pOffset;
    }

    /// Returns the number at an offset. If it lies beyond the end, all bits are 1.
    uint64_t At(uint64_t pOffset, size_t pBytes) const
    {
        if (!Inside(pOffset, pBytes)) return ~uint64_t{0};
        uint64_t value = 0;
        for (size_t i = 0; i < pBytes; i++)
            value = value << 8 | fFile[pOffset + (fBigEndian ? i : pBytes - 1 - i)];
        return value;
    }

private:
    const tBytes& fFile;
    const bool fBigEndian;
};

/// Returns the number in an entry. If the entry does not hold exactly one number, all bits are 1.
uint64_t ValueOf(const cNumbers& pNumbers, const sForm& pForm, uint64_t pEntry)
{
    const uint64_t type = pNumbers.At(pEntry + 2, 2);
    const size_t bytes = type < kTypeBytes.size() ? kTypeBytes[type] : 0;
    if (bytes == 0 || bytes > pForm.fOffsetBytes || pNumbers.At(pEntry + 4, pForm.fOffsetBytes) != 1)
        return ~uint64_t{0};
    return pNumbers.At(pEntry + 4 + pForm.fOffsetBytes, bytes);
}

void CheckCodec(uint64_t pCodec)
{
    if (std::find(kCodecs.begin(), kCodecs.end(), pCodec) != kCodecs.end()) return;
    throw cHostError("the picture is packed in a way that is not read (compression " + std::to_string(pCodec) +
                     "); save it unpacked or with LZW, deflate, PackBits or JPEG");
}

[[noreturn]] void Cut()
{
    Damaged("its directory leads beyond its end");
}

bool EntryIsCut(const cNumbers& pNumbers, const sForm& pForm, uint64_t pEntry)
{
    const uint64_t type = pNumbers.At(pEntry + 2, 2);
    const uint64_t count = pNumbers.At(pEntry + 4, pForm.fOffsetBytes);
    const uint64_t bytes = type < kTypeBytes.size() ? kTypeBytes[type] : 0;
    if (bytes == 0 || count <= pForm.fOffsetBytes / bytes)
        return false; // an unknown type, or the value fits in the entry
    const uint64_t offset = pNumbers.At(pEntry + 4 + pForm.fOffsetBytes, pForm.fOffsetBytes);
    return count > UINT64_MAX / bytes || !pNumbers.Inside(offset, count * bytes);
}

} // namespace

void CheckTiff(const tBytes& pFile)
{
    const cNumbers numbers(pFile);
    const sForm& form = numbers.At(2, 2) == 43 ? kBig : kClassic;
    const uint64_t directory = numbers.At(form.fDirectoryPlace, form.fOffsetBytes);
    const uint64_t count = numbers.At(directory, form.fCountBytes);
    if (count > pFile.size() / form.fEntryBytes) Cut();
    const uint64_t first = directory + form.fCountBytes;
    if (!numbers.Inside(first, count * form.fEntryBytes)) Cut();
    for (uint64_t i = 0; i < count; i++) {
        const uint64_t entry = first + i * form.fEntryBytes;
        if (EntryIsCut(numbers, form, entry)) Cut();
        if (numbers.At(entry, 2) == kCompressionTag) CheckCodec(ValueOf(numbers, form, entry));
    }
}

} // namespace SelvaneHost
