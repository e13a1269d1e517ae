#include "read/OpenExrHeaders.h"

#include "read/OpenExrCore.h"

#include <algorithm>
#include <stdexcept>

namespace SelvaneHost
{

namespace
{

/// Walks through the headers of a file, from attribute to attribute, by the sizes that they claim.
class cHeaderWalk
{
public:
    explicit cHeaderWalk(const tBytes& pFile) : fFile(pFile) {}

    /// @throws std::runtime_error when an attribute claims more bytes than the file has left
    void PassAll()
    {
        do
            PassHeader();
        while (HasSeveralParts() && PeekByte() != 0);
    }

private:
    bool HasSeveralParts() const { return fFile.size() >= kFirstHeader && (fFile[5] & 0x10U) != 0; }

    /// Returns the next byte. At the end of the file returns 0, which also ends the headers.
    unsigned char PeekByte() const { return fPlace < fFile.size() ? fFile[fPlace] : 0; }

    /// Passes the attributes and the closing 0. An attribute consists of name, type, size and value.
    void PassHeader()
    {
        while (PeekByte() != 0) {
            PassText();
            PassText();
            Pass(PassSize());
        }
        Pass(1);
    }

    /// Passes a name or a type and its closing 0.
    void PassText()
    {
        while (PeekByte() != 0)
            fPlace++;
        Pass(1);
    }

    uint32_t PassSize()
    {
        uint32_t size = 0;
        for (unsigned shift = 0; shift < 32; shift += 8) {
            size |= static_cast<uint32_t>(PeekByte()) << shift;
            Pass(1);
        }
        return size;
    }

    void Pass(uint32_t pBytes)
    {
        if (pBytes > fFile.size() - fPlace) throw std::runtime_error("an attribute is longer than the file");
        fPlace += pBytes;
    }

    static constexpr size_t kFirstHeader = 8; // after the magic number, the version and its flags

    const tBytes& fFile;
    size_t fPlace = std::min(kFirstHeader, fFile.size());
};

} // namespace

void CheckOpenExrHeaders(const tBytes& pFile)
{
    cHeaderWalk(pFile).PassAll();
    const cOpenExrCore opened(pFile); // compares the sizes of the attributes with their types
}

} // namespace SelvaneHost
