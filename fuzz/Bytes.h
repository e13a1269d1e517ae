#ifndef SELVANE_FUZZ_BYTES_H
#define SELVANE_FUZZ_BYTES_H

// What the fuzzer supplies, read from the front: first the choices of a run, one after another, then samples.

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <limits>
#include <memory>
#include <vector>

namespace SelvaneFuzz
{

/// Ends the run as a finding; the stack that libFuzzer prints shows the place.
inline void Check(bool pHolds)
{
    if (!pHolds) std::abort();
}

/// Reads zeros when the bytes are used up.
class cBytes
{
public:
    cBytes(const uint8_t* pData, size_t pSize) : fAt(pData), fLeft(pSize) {}

    size_t Left() const { return fLeft; }

    template <class tValue>
    tValue Raw()
    {
        tValue value{};
        const size_t size = fLeft < sizeof value ? fLeft : sizeof value;
        if (size > 0) std::memcpy(&value, fAt, size);
        fAt += size;
        fLeft -= size;
        return value;
    }

    uint8_t Byte() { return Raw<uint8_t>(); }

    bool Flag() { return (Byte() & 1) != 0; }

    /// pLeast to pMost, at most 65536 values.
    int Int(int pLeast, int pMost)
    {
        const int count = pMost - pLeast + 1;
        return pLeast + (count <= 256 ? Byte() : Raw<uint16_t>()) % count;
    }

    /// One entry of a table.
    template <class tEntry, size_t tCount>
    tEntry& Of(tEntry (&pTable)[tCount])
    {
        static_assert(tCount <= 256);
        return pTable[Byte() % tCount];
    }

    /// Mostly a small number, sometimes any 32 bits.
    int AnyInt()
    {
        const uint8_t kind = Byte();
        return kind < 200 ? kind % 24 : kind < 240 ? -(kind % 8) : Raw<int32_t>();
    }

    /// Whole numbers, tenths, numbers that are known for trouble, or any bits.
    float Float()
    {
        constexpr float kInfinity = std::numeric_limits<float>::infinity();
        constexpr float kNamed[] = {
            0.0f,   -0.0f,   1.0f,      -1.0f,      0.5f,   std::numeric_limits<float>::quiet_NaN(),
            1e30f,  -1e30f,  kInfinity, -kInfinity, 1e-30f, std::numeric_limits<float>::denorm_min(),
            100.0f, 14.285f, 0.999f,    1e9f};
        const uint8_t kind = Byte();
        switch (kind & 3) {
        case 0:
            return static_cast<float>(Raw<int8_t>());
        case 1:
            return static_cast<float>(Raw<int8_t>()) * 0.1f;
        case 2:
            return kNamed[(kind >> 2) % std::size(kNamed)];
        default:
            return Raw<float>();
        }
    }

    /// The unit interval in steps of 1/255.
    float Unit() { return static_cast<float>(Byte()) / 255.0f; }

    /// Fills the block with the bytes that are left, again and again; with zeros when none are.
    void Fill(unsigned char* pBlock, size_t pSize)
    {
        if (pSize == 0) return;
        std::memset(pBlock, 0, pSize);
        if (fLeft == 0) return;
        for (size_t i = 0; i < pSize; i++)
            pBlock[i] = fAt[i % fLeft];
        const size_t used = fLeft < pSize ? fLeft : pSize;
        fAt += used;
        fLeft -= used;
    }

private:
    const uint8_t* fAt;
    size_t fLeft;
};

/// A block from malloc of exactly that size, so that one byte beyond either end is seen. Zero is a size as well.
class cBlock
{
public:
    explicit cBlock(size_t pSize, unsigned char pByte = 0)
        : fSize(pSize), fBytes(static_cast<unsigned char*>(std::malloc(pSize)), std::free)
    {
        if (pSize > 0) std::memset(fBytes.get(), pByte, pSize);
    }

    unsigned char* Data() const { return fBytes.get(); }
    size_t Size() const { return fSize; }
    unsigned char& operator[](size_t pIndex) const { return fBytes.get()[pIndex]; }

    /// The bytes as wider samples: malloc aligns them.
    template <class tSample>
    tSample* As() const
    {
        return reinterpret_cast<tSample*>(fBytes.get());
    }

    bool Equals(const cBlock& pOther) const
    {
        return fSize == pOther.fSize && (fSize == 0 || std::memcmp(Data(), pOther.Data(), fSize) == 0);
    }

private:
    size_t fSize;
    std::unique_ptr<unsigned char, void (*)(void*)> fBytes;
};

} // namespace SelvaneFuzz

#endif
