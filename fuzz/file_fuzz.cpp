// Reads any bytes as a picture file.

#include "Bytes.h"
#include "Ledger.h"
#include "picture/Errors.h"
#include "picture/PictureLibrary.h"
#include "read/PictureReader.h"

#include <new>
#include <vips/vips.h>

namespace
{

using namespace SelvaneFuzz;
using namespace SelvaneHost;

constexpr size_t kMostBytes = 16 << 20;

void CheckPicture(const sPicture& pPicture)
{
    Check(pPicture.fWidth > 0 && pPicture.fHeight > 0);
    Check(pPicture.fForm >= eSamples8 && pPicture.fForm <= eFloats);
    Check(pPicture.fChannels == 3 || (pPicture.fChannels == 4 && pPicture.fForm != eExponentPlanes));
    Check(pPicture.fPixels.size() == AllBytes(pPicture));
}

/// Reads every byte, as a renderer does. The sanitizer reports bytes outside the memory of the picture.
unsigned Sum(const tBytes& pBytes)
{
    unsigned sum = 0;
    for (const unsigned char byte : pBytes)
        sum += byte;
    return sum;
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int* /*pCount*/, char*** /*pWords*/)
{
    StartPictureLibrary();
    vips_concurrency_set(1);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t pSize)
{
    const cLedger ledger(kMostBytes);
    try {
        const sPicture picture = ReadPicture(tBytes(pData, pData + pSize));
        CheckPicture(picture);
        volatile unsigned sum = Sum(picture.fPixels);
        (void)sum;
    } catch (const cHostError& failure) {
        Check(failure.what()[0] != '\0');
    } catch (const std::bad_alloc&) { // NOLINT(bugprone-empty-catch): larger than the memory of a run
    }
    return 0;
}
