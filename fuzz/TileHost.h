#ifndef SELVANE_FUZZ_TILE_HOST_H
#define SELVANE_FUZZ_TILE_HOST_H

#include <cstdint>

namespace SelvaneFuzz
{

/// From now on DivideWork cuts and orders its tiles as this number says: up to eight tiles at any places, some of them
/// empty, in any order, on any slots below the number of workers. Equal numbers give equal cuts.
void CutTiles(uint32_t pNumber);

} // namespace SelvaneFuzz

#endif
