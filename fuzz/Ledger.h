#ifndef SELVANE_FUZZ_LEDGER_H
#define SELVANE_FUZZ_LEDGER_H

// Memory of a run: a bound on each allocation, and the blocks that the library never gives back, which are the decode
// table of the entry and the texts of an exception. The ledger frees them after the run, so that the leak check sees
// every other loss.

#include <cstddef>

namespace SelvaneFuzz
{

/// Lives as long as one run.
class cLedger
{
public:
    /// @param pMostBytes an allocation of more bytes at once fails: null from malloc, std::bad_alloc from operator new
    explicit cLedger(size_t pMostBytes);
    ~cLedger();
    cLedger(const cLedger&) = delete;
    cLedger& operator=(const cLedger&) = delete;

    /// Decode tables that the library has made in this run.
    size_t DecodeTables() const;
};

} // namespace SelvaneFuzz

#endif
