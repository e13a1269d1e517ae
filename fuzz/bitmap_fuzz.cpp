// Bitmaps, their exchange of rows with a host, and the picture operations on them, in any order and with any sizes. The
// operations stand in bitmap_fuzz/, a file a kind.

#include "Ledger.h"
#include "bitmap/cException.h"
#include "bitmap_fuzz/Steps.h"

#include <new>

namespace
{

using namespace SelvaneFuzz;

constexpr size_t kMostBytes = 12 << 20; // a tile is smaller, so that no set of tiles breaks off
constexpr int kMostSteps = 16;

/// A step that stands twice is taken twice as often.
constexpr tStep kSteps[] = {ExchangeRows,  ExchangeRows,  CopyRectangles, CopyRectangles,   Scale,
                            ThroughTables, ThroughSpaces, Calculate,      FillOrUseChannel, Measure,
                            BuildFrom,     AssignSpace,   UseMemory};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t pSize)
{
    const cLedger ledger(kMostBytes);
    cBytes bytes(pData, pSize);
    sPictures pictures(bytes);
    for (int steps = 0; steps < kMostSteps && bytes.Left() > 0; steps++) {
        try {
            bytes.Of(kSteps)(bytes, pictures);
        } catch (const Vornik::cException&) { // NOLINT(bugprone-empty-catch): refused
        } catch (const std::bad_alloc&) {     // NOLINT(bugprone-empty-catch): refused
        }
    }
    return 0;
}
