#ifndef SELVANE_TESTS_SUPPORT_HOST_H
#define SELVANE_TESTS_SUPPORT_HOST_H

// The host of the tests: a DivideWork whose cutting, order and threads a test chooses, and which can write down its
// calls.

#include <cstddef>
#include <functional>
#include <vector>

namespace SelvaneTest
{

enum eTileOrder
{
    eTilesForward,
    eTilesReverse,
    eTilesShuffled,
};

/// One call of DivideWork, as it came in.
struct sDivideCall
{
    int fStart;
    int fEnd;
    int fThreads;
    void* (*fFunction)(void*);
    std::vector<unsigned char> fRecord; ///< the record's bytes before any tile ran
};

/// How DivideWork cuts a range and runs the tiles.
struct sCutting
{
    int fTiles = 0; ///< number of tiles; 0: as many as workers; larger than the range: some are empty
    eTileOrder fOrder = eTilesForward;
    bool fThreads = false; ///< run the slots on threads of their own instead of one after another
    unsigned fSeed = 1;    ///< for eTilesShuffled and for uneven cuts
    bool fUneven = false;  ///< cut at random places
    std::function<void(const sDivideCall&)> fBeforeCall = nullptr; ///< called before the first tile of a call
    std::function<void()> fBeforeTile = nullptr;                   ///< called before each tile, on the tile's thread
    std::function<void()> fAfterCall = nullptr;                    ///< called after the last tile of a call
};

/// Sets the cutting for as long as the object lives, and collects the calls made meanwhile.
class cHostScope
{
public:
    explicit cHostScope(sCutting pCutting = {});
    ~cHostScope();
    cHostScope(const cHostScope&) = delete;
    cHostScope& operator=(const cHostScope&) = delete;

    const std::vector<sDivideCall>& Calls() const;
};

} // namespace SelvaneTest

#endif
