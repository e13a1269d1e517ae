#ifndef SELVANE_TESTS_TRUST_TILEHOST_H
#define SELVANE_TESTS_TRUST_TILEHOST_H

// The host of these tests. DivideWork cuts as the calling thread says, so that several threads can call the library at
// once, each in a manner of its own. What it allocates itself is not under watch.

#include <functional>

namespace SelvaneTest
{

/// How one thread's calls of DivideWork are cut and run.
struct sTiling
{
    bool fThreads = false;                       ///< each slot on a thread of its own; otherwise all on the calling one
    int fRows = 0;                               ///< indices a tile; 0: one tile a slot
    bool fReverse = false;                       ///< the last tile first
    bool fEmpty = false;                         ///< an empty tile before and behind each tile
    std::function<void()> fBeforeTile = nullptr; ///< called on the tile's thread
};

/// Sets the manner of this thread's calls for as long as the object lives.
class cTilingScope
{
public:
    explicit cTilingScope(sTiling pTiling);
    ~cTilingScope();
    cTilingScope(const cTilingScope&) = delete;
    cTilingScope& operator=(const cTilingScope&) = delete;

private:
    sTiling fTiling;
    const sTiling* fBefore;
};

} // namespace SelvaneTest

#endif
