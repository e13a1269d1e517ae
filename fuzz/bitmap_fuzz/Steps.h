#ifndef SELVANE_FUZZ_BITMAP_FUZZ_STEPS_H
#define SELVANE_FUZZ_BITMAP_FUZZ_STEPS_H

// What a run does with its pictures. Each step reads its choices from the bytes. It may throw what the library throws.

#include "bitmap_fuzz/Pictures.h"

namespace SelvaneFuzz
{

using tStep = void (*)(cBytes&, sPictures&);

/// HostRows.cpp: rows of a host are read or written.
void ExchangeRows(cBytes& pBytes, sPictures& pPictures);

/// Rectangles.cpp: a part of one picture is copied to another.
void CopyRectangles(cBytes& pBytes, sPictures& pPictures);

/// Conversions.cpp: between depths, by scaling alone, through a transfer table, or through the pictures' colour spaces.
void Scale(cBytes& pBytes, sPictures& pPictures);
void ThroughTables(cBytes& pBytes, sPictures& pPictures);
void ThroughSpaces(cBytes& pBytes, sPictures& pPictures);

/// Arithmetic.cpp: operations on samples, fills, one channel, and measures.
void Calculate(cBytes& pBytes, sPictures& pPictures);
void FillOrUseChannel(cBytes& pBytes, sPictures& pPictures);
void Measure(cBytes& pBytes, sPictures& pPictures);

/// Construction.cpp: pictures from a host's block, and changes of the colour space.
void BuildFrom(cBytes& pBytes, sPictures& pPictures);
void AssignSpace(cBytes& pBytes, sPictures& pPictures);

/// Memory.cpp: blocks, sets of tiles and the guarded copy, with any sizes.
void UseMemory(cBytes& pBytes, sPictures& pPictures);

} // namespace SelvaneFuzz

#endif
