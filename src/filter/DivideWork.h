#ifndef SELVANE_FILTER_DIVIDE_WORK_H
#define SELVANE_FILTER_DIVIDE_WORK_H

/* The one function that the host supplies, and the record that the function copies. Plain C, C99 and later. */

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/*
 * Header of every record that a parallel stage passes to DivideWork. The payload from offset 16 on belongs to the stage
 * and is passed through unchanged.
 *
 *   offset  0        4          8        12       16 ...
 *           fSlot    fReserved  fStart   fEnd     payload
 */
typedef struct TileRecord
{
    int32_t fSlot;      /* worker slot, 0 to threads - 1; written by DivideWork */
    uint32_t fReserved; /* zero; DivideWork leaves it */
    int32_t fStart;     /* first index of this tile; written by DivideWork */
    int32_t fEnd;       /* one past the last index of this tile; written by DivideWork */
} TileRecord;

/*
 * Runs fn over the indices start to end - 1, in tiles. The host supplies this function, and the dynamic loader finds
 * it. Selvane.so.1 leaves the symbol undefined, has no fallback and takes no pointer for it.
 *
 *   start, end   half-open range of indices (rows or columns); the library always passes start 0
 *   threads      number of workers to use, as the caller of the library gave it; may be below 1
 *   fn           the tile function; takes its record, returns null, throws nothing
 *   record       recordSize bytes that begin with a TileRecord; borrowed, valid only during the call
 *   recordSize   bytes, 56 to 80
 *
 * Rules for the host's function:
 *
 *   1. The symbol is defined in the program or in a library that the loader searches.
 *   2. The tiles are contiguous and cover each index of [start, end) exactly once. Empty tiles are allowed.
 *   3. For each tile, fn gets a private copy of the record's recordSize bytes. fSlot, fStart and fEnd are filled in,
 *   and
 *      the payload is unchanged.
 *   4. fSlot is 0 to threads - 1. Two tiles that run at the same time have different slots, because slots index arrays
 *      that are written without locks. A later tile of the same worker may use the slot again. With threads below 1
 *      the only slot is 0.
 *   5. It returns after every tile has finished. All writes of the tiles are then visible to the caller.
 *   6. It returns nothing.
 *   7. It may run tiles on the calling thread. It is called several times per picture, from the thread that called the
 *      library, and never from inside a tile.
 */
void DivideWork(int start, int end, int threads, void* (*fn)(void*), void* record, size_t recordSize);

#ifdef __cplusplus
}
#endif

#endif
