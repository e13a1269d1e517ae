#include "Ledger.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>
#include <vector>

#include "bitmap/cException.h"

namespace
{

size_t gMostBytes = SIZE_MAX;
unsigned char gFill = 0;
std::vector<void*> gTables;
std::vector<char*> gTexts;

template <class tBlock>
void FreeAll(std::vector<tBlock>& pBlocks)
{
    for (tBlock block : pBlocks)
        std::free(block);
    pBlocks.clear();
}

} // namespace

namespace SelvaneFuzz
{

cLedger::cLedger(size_t pMostBytes)
{
    gMostBytes = pMostBytes;
}

cLedger::~cLedger()
{
    gMostBytes = SIZE_MAX;
    FreeAll(gTables);
    FreeAll(gTexts);
}

size_t cLedger::DecodeTables() const
{
    return gTables.size();
}

} // namespace SelvaneFuzz

// The linker leads calls of these functions here (--wrap): __wrap_f stands for f, __real_f is f itself.
extern "C" {
void* __real_malloc(size_t pSize);
void* __real__Znwm(size_t pSize);
void* __real__Znam(size_t pSize);
float* __real__ZN6Vornik14NewDecodeTableEid(int pInputDepth, double pGamma);
void __real__ZN6Vornik10cExceptionC2ERKPKcS4_S4_iS4_S4_S4_(Vornik::cException* pThis, const char* const& pType,
                                                           const char* const& pDescription, const char* const& pMessage,
                                                           int pLine, const char* const& pFile,
                                                           const char* const& pTimeStamp, const char* const& pFuncSig);

// Filled with another byte each time: two runs that are compared show what reaches a result without having been
// written.
void* __wrap_malloc(size_t pSize)
{
    void* const block = pSize > gMostBytes ? nullptr : __real_malloc(pSize);
    return block == nullptr ? nullptr : std::memset(block, ++gFill, pSize);
}

void* __wrap__Znwm(size_t pSize)
{
    if (pSize > gMostBytes) throw std::bad_alloc();
    return __real__Znwm(pSize);
}

void* __wrap__Znam(size_t pSize)
{
    if (pSize > gMostBytes) throw std::bad_alloc();
    return __real__Znam(pSize);
}

float* __wrap__ZN6Vornik14NewDecodeTableEid(int pInputDepth, double pGamma)
{
    float* const table = __real__ZN6Vornik14NewDecodeTableEid(pInputDepth, pGamma);
    gTables.push_back(table);
    return table;
}

void __wrap__ZN6Vornik10cExceptionC2ERKPKcS4_S4_iS4_S4_S4_(Vornik::cException* pThis, const char* const& pType,
                                                           const char* const& pDescription, const char* const& pMessage,
                                                           int pLine, const char* const& pFile,
                                                           const char* const& pTimeStamp, const char* const& pFuncSig)
{
    __real__ZN6Vornik10cExceptionC2ERKPKcS4_S4_iS4_S4_S4_(pThis, pType, pDescription, pMessage, pLine, pFile,
                                                          pTimeStamp, pFuncSig);
    for (char* text : {pThis->fType, pThis->fDescription, pThis->fFile, pThis->fTimeStamp, pThis->fFuncSig})
        gTexts.push_back(text);
}
}
