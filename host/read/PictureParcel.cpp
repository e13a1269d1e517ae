#include "read/PictureParcel.h"

#include "picture/Errors.h"

#include <algorithm>
#include <bit>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <fcntl.h>
#include <new>
#include <type_traits>
#include <unistd.h>

namespace SelvaneHost
{

namespace
{

constexpr size_t kPiece = size_t{16} << 20;      // bytes that are moved at once
constexpr size_t kMostBlock = size_t{256} << 20; // bytes of a text or of a block of metadata
constexpr uint32_t kMostTexts = 1000;

[[noreturn]] void Torn()
{
    throw cHostError("the process that decodes it sent no whole picture");
}

/// Writes values one after the other.
class cSender
{
public:
    explicit cSender(int pFile) : fFile(pFile) {}

    template <class tValue>
    void operator()(const tValue& pValue)
    {
        static_assert(std::is_trivially_copyable_v<tValue>);
        Write(&pValue, sizeof pValue);
    }
    void operator()(const std::string& pText) { Block(pText.data(), pText.size()); }
    void operator()(const tBytes& pBytes) { Block(pBytes.data(), pBytes.size()); }
    void operator()(const std::vector<std::string>& pTexts)
    {
        (*this)(static_cast<uint32_t>(std::min<size_t>(pTexts.size(), kMostTexts)));
        for (size_t i = 0; i < std::min<size_t>(pTexts.size(), kMostTexts); i++)
            (*this)(pTexts[i]);
    }

    void Write(const void* pBytes, size_t pSize)
    {
        const auto* at = static_cast<const unsigned char*>(pBytes);
        while (pSize > 0) {
            const ssize_t count = ::write(fFile, at, std::min(pSize, kPiece));
            if (count < 0 && errno == EINTR) continue;
            if (count < 0) throw cHostError("cannot be handed over: " + SystemWords(errno));
            at += count;
            pSize -= static_cast<size_t>(count);
        }
    }

private:
    void Block(const void* pBytes, size_t pSize)
    {
        (*this)(static_cast<uint64_t>(pSize));
        Write(pBytes, pSize);
    }

    const int fFile;
};

/// Reads values one after the other. What does not make sense ends it.
class cReceiver
{
public:
    explicit cReceiver(int pFile) : fFile(pFile) {}

    template <class tValue>
    void operator()(tValue& pValue)
    {
        static_assert(std::is_trivially_copyable_v<tValue> && !std::is_same_v<tValue, bool>);
        Read(&pValue, sizeof pValue);
    }
    void operator()(bool& pValue)
    {
        unsigned char byte = 0;
        (*this)(byte);
        pValue = byte != 0;
    }
    void operator()(std::string& pText)
    {
        pText.resize(BlockSize());
        Read(pText.data(), pText.size());
    }
    void operator()(tBytes& pBytes)
    {
        pBytes.resize(BlockSize());
        Read(pBytes.data(), pBytes.size());
    }
    void operator()(std::vector<std::string>& pTexts)
    {
        uint32_t count = 0;
        (*this)(count);
        if (count > kMostTexts) Torn();
        pTexts.resize(count);
        for (std::string& text : pTexts)
            (*this)(text);
    }

    /// Reads into memory that is there, and gives the file's own back piece by piece.
    void Read(void* pBytes, size_t pSize)
    {
        auto* at = static_cast<unsigned char*>(pBytes);
        while (pSize > 0) {
            const ssize_t count = ::read(fFile, at, std::min(pSize, kPiece));
            if (count < 0 && errno == EINTR) continue;
            if (count <= 0) Torn();
            at += count;
            pSize -= static_cast<size_t>(count);
            fDone += count;
            ::fallocate(fFile, FALLOC_FL_PUNCH_HOLE | FALLOC_FL_KEEP_SIZE, 0, fDone & ~off_t{4095});
        }
    }

    /// Bytes that are left.
    size_t Rest() const
    {
        const off_t end = ::lseek(fFile, 0, SEEK_END);
        ::lseek(fFile, fDone, SEEK_SET);
        return static_cast<size_t>(std::max<off_t>(end - fDone, 0));
    }

private:
    size_t BlockSize()
    {
        uint64_t size = 0;
        (*this)(size);
        if (size > kMostBlock || size > Rest()) Torn();
        return static_cast<size_t>(size);
    }

    const int fFile;
    off_t fDone = 0;
};

/// Everything of a picture but its samples, in the order in which both sides take it.
template <class tSide, class tPicture>
void Facts(tSide& pSide, tPicture& pPicture)
{
    pSide(pPicture.fWidth);
    pSide(pPicture.fHeight);
    pSide(pPicture.fForm);
    pSide(pPicture.fChannels);
    pSide(pPicture.fColor.fPrimaries);
    pSide(pPicture.fColor.fChromaticities);
    pSide(pPicture.fColor.fTransfer);
    pSide(pPicture.fColor.fGamma);
    pSide(pPicture.fColor.fOutput);
    pSide(pPicture.fColor.fIsNamed);
    pSide(pPicture.fColor.fWords);
    pSide(pPicture.fMetadata.fExif);
    pSide(pPicture.fMetadata.fIptc);
    pSide(pPicture.fMetadata.fXmp);
    pSide(pPicture.fWarnings);
    pSide(pPicture.fColorSpaceWarning);
}

/// libselvane checks the colours; here only what the host itself computes with.
void CheckFacts(const sPicture& pPicture)
{
    const auto form = static_cast<unsigned>(pPicture.fForm);
    if (form > eFloats || pPicture.fChannels < 3 || pPicture.fChannels > 4) Torn();
    if (pPicture.fColor.fOutput < 0 || pPicture.fColor.fOutput >= kSpaces) Torn();
    if (pPicture.fForm == eExponentPlanes && pPicture.fChannels != 3) Torn();
    sPicture checked;
    SetSize(checked, pPicture.fWidth, pPicture.fHeight, pPicture.fForm, pPicture.fChannels);
}

sPicture TakePicture(cReceiver& pFrom)
{
    sPicture picture;
    Facts(pFrom, picture);
    CheckFacts(picture);
    if (pFrom.Rest() != AllBytes(picture)) Torn();
    picture.fPixels.resize(AllBytes(picture));
    pFrom.Read(picture.fPixels.data(), picture.fPixels.size());
    return picture;
}

} // namespace

void SendPicture(int pFile, sPicture pPicture)
{
    cSender to(pFile);
    to(eParcelPicture);
    Facts(to, pPicture);
    to.Write(pPicture.fPixels.data(), pPicture.fPixels.size());
}

void SendFailure(int pFile, eParcel pKind, const std::string& pText)
{
    if (::ftruncate(pFile, 0) != 0 || ::lseek(pFile, 0, SEEK_SET) != 0) return;
    cSender to(pFile);
    to(pKind);
    to(pText);
}

sPicture ReceivePicture(int pFile)
{
    ::lseek(pFile, 0, SEEK_SET);
    cReceiver from(pFile);
    uint32_t kind = 0;
    from(kind);
    if (kind == eParcelPicture) return TakePicture(from);
    std::string text;
    from(text);
    if (kind == eParcelNoMemory) throw std::bad_alloc();
    if (kind == eParcelUsage) throw cUsageError(OneLine(text));
    if (kind == eParcelFailure) throw cHostError(OneLine(text));
    Torn();
}

} // namespace SelvaneHost
