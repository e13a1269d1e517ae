#ifndef SELVANE_TESTS_BITMAP_FIXTURES_H
#define SELVANE_TESTS_BITMAP_FIXTURES_H

// What the tests of bitmaps share: blocks with a forbidden page behind them, slots of virtual tables, whole blocks
// filled and read back, and two small descendants.

#include "bitmap/cBitmap.h"
#include "bitmap/cBitmapXYZ32.h"
#include "curve/cTransfer.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <random>
#include <stdexcept>
#include <sys/mman.h>
#include <unistd.h>
#include <vector>

namespace SelvaneTest
{

/// Memory that ends at a page which may not be touched: reading or writing one byte past the end kills the test.
class cGuarded
{
public:
    explicit cGuarded(size_t pSize) : fSize(pSize)
    {
        const auto page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
        const size_t body = (pSize + page - 1) / page * page;
        fMappedSize = body + page;
        void* const start = mmap(nullptr, fMappedSize, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (start == MAP_FAILED) throw std::runtime_error("no memory for a guarded block");
        fMapped = static_cast<unsigned char*>(start);
        mprotect(fMapped + body, page, PROT_NONE);
        fData = fMapped + body - pSize;
    }
    ~cGuarded() { munmap(fMapped, fMappedSize); }
    cGuarded(const cGuarded&) = delete;
    cGuarded& operator=(const cGuarded&) = delete;

    template <class tSample>
    tSample* As()
    {
        return reinterpret_cast<tSample*>(fData);
    }
    unsigned char* Bytes() { return fData; }
    size_t Size() const { return fSize; }

    void FillRandom(unsigned pSeed)
    {
        std::mt19937 random(pSeed);
        for (size_t i = 0; i < fSize; ++i)
            fData[i] = static_cast<unsigned char>(random());
    }

private:
    unsigned char* fMapped;
    unsigned char* fData;
    size_t fMappedSize;
    size_t fSize;
};

/// Index of a virtual function in its table, the complete destructor counting as 0 (Itanium C++ ABI).
template <class tFunction>
ptrdiff_t SlotOf(tFunction pFunction)
{
    ptrdiff_t words[2] = {};
    static_assert(sizeof(pFunction) == sizeof(words));
    std::memcpy(words, &pFunction, sizeof(words));
#if defined(__aarch64__)
    const bool isVirtual = (words[1] & 1) != 0;
    const ptrdiff_t offset = words[0];
#else
    const bool isVirtual = (words[0] & 1) != 0;
    const ptrdiff_t offset = words[0] - 1;
#endif
    return isVirtual ? offset / static_cast<ptrdiff_t>(sizeof(void*)) : -1;
}

/// What stands in a slot of an object's virtual table.
inline const void* EntryOf(const void* pObject, ptrdiff_t pSlot)
{
    const void* const* table = nullptr;
    std::memcpy(&table, pObject, sizeof(table));
    return table[pSlot];
}

/// Distance in bytes of a field from the start of its object.
inline ptrdiff_t OffsetOf(const void* pObject, const void* pField)
{
    return static_cast<const char*>(pField) - static_cast<const char*>(pObject);
}

inline size_t Padded(int pPixels)
{
    return (static_cast<size_t>(pPixels) + 3) / 4 * 4;
}

/// Bytes of the whole block of a flat bitmap, padding included.
inline size_t BlockSize(const Vornik::cBitmap& pBitmap)
{
    return Padded(pBitmap.fHeight) * static_cast<size_t>(pBitmap.fStride);
}

template <class tBitmap>
void FillBlock(tBitmap& pBitmap, unsigned char pByte)
{
    std::memset(static_cast<void*>(pBitmap.fData), pByte, BlockSize(pBitmap));
}

/// Fills the whole block with random bytes.
template <class tBitmap>
void RandomBlock(tBitmap& pBitmap, unsigned pSeed)
{
    std::mt19937 random(pSeed);
    auto* bytes = reinterpret_cast<unsigned char*>(pBitmap.fData);
    for (size_t i = 0; i < BlockSize(pBitmap); ++i)
        bytes[i] = static_cast<unsigned char>(random());
}

template <class tBitmap>
std::vector<unsigned char> BytesOf(const tBitmap& pBitmap)
{
    const auto* bytes = reinterpret_cast<const unsigned char*>(pBitmap.fData);
    return std::vector<unsigned char>(bytes, bytes + BlockSize(pBitmap));
}

/// The bits of a float.
inline uint32_t Bits(float pValue)
{
    uint32_t bits = 0;
    std::memcpy(&bits, &pValue, sizeof(bits));
    return bits;
}

/// A colour space that counts its living objects and reports each Clone.
class cCountedSpace : public Vornik::cColorSpace
{
public:
    cCountedSpace()
        : cColorSpace(Vornik::cVector2(0.64f, 0.33f), Vornik::cVector2(0.3f, 0.6f), Vornik::cVector2(0.15f, 0.06f),
                      Vornik::cVector2(0.25f, 0.375f))
    {
        fToLinear = new Vornik::cTransferGamma(0.5f);
        fFromLinear = new Vornik::cTransferGamma(2.0f);
        ++sAlive;
    }
    ~cCountedSpace() override { --sAlive; }
    Vornik::cColorSpace* Clone() const override
    {
        sAliveAtClone = sAlive;
        sFieldAtClone = sWatched != nullptr ? sWatched->fColorSpace : nullptr;
        if (sRefuseClone) throw std::runtime_error("no clone");
        return new cCountedSpace;
    }
    char const* GetName() const override { return "counted"; }

    static inline int sAlive = 0;
    static inline int sAliveAtClone = 0;
    static inline Vornik::cBitmapLDR* sWatched = nullptr;
    static inline Vornik::cColorSpace* sFieldAtClone = nullptr;
    static inline bool sRefuseClone = false;
};

/// A display-referred picture of any depth without pixels of its own.
class cOddLDR : public Vornik::cBitmapLDR
{
public:
    explicit cOddLDR(int pBits, void* pPixels = nullptr) : fBits(pBits), fPixels(pPixels)
    {
        fWidth = 2;
        fHeight = 1;
        fStride = 4 * 3 * (pBits > 8 ? 2 : 1);
    }
    void ToXYZ32(Vornik::cBitmapXYZ32*) override {}
    void ToBGR32Linear(Vornik::cBitmapXYZ32*) override {}
    int GetBitsPerChannel() const override { return fBits; }
    void* GetBitmapArray() override { return fPixels; }

    int fBits;
    void* fPixels;
};

constexpr Vornik::eColorSpaceID kNoSpace = static_cast<Vornik::eColorSpaceID>(3);

} // namespace SelvaneTest

#endif
