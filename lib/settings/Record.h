#ifndef SELVANE_LIB_SETTINGS_RECORD_H
#define SELVANE_LIB_SETTINGS_RECORD_H

// Records that grow. Each begins with struct_size, the size that the caller's header gave it:
//
//     first size        the record of the first release; nothing smaller is a record
//     below ours        an older caller: the missing end gets defaults, and is not written
//     above ours        a newer caller: the end that we do not know has to be zero, which means the usual choice

#include "api/Failure.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

namespace SelvaneLib
{

/// Copies a caller's record into one of our size.
/// @param pFrom borrowed; struct_size bytes of it are read, and no more
/// @param pDefaults what the caller does not give
/// @param pFirstSize size of the record in the first release, in bytes
/// @throws cFailure for null, a size below pFirstSize and an unknown end that is not zero
template <typename tRecord>
tRecord TakeRecord(const tRecord* pFrom, const tRecord& pDefaults, size_t pFirstSize = sizeof(tRecord))
{
    Require(pFrom != nullptr, "the record is null");
    const size_t size = pFrom->struct_size;
    Require(size >= pFirstSize, "struct_size is too small: set it to the size of the record");
    Require(size <= (size_t{1} << 20), "struct_size is too large: set it to the size of the record");
    const unsigned char* const bytes = reinterpret_cast<const unsigned char*>(pFrom);
    if (size > sizeof(tRecord))
        Require(std::all_of(bytes + sizeof(tRecord), bytes + size, [](unsigned char b) { return b == 0; }),
                "the record has fields that this version of the library does not know");
    tRecord record = pDefaults;
    std::memcpy(&record, bytes, std::min(size, sizeof(tRecord)));
    record.struct_size = sizeof(tRecord);
    return record;
}

/// Checks a caller's record before it is filled.
/// @throws cFailure for null and a size below pFirstSize
template <typename tRecord>
void CheckRecord(const tRecord* pTo, size_t pFirstSize = sizeof(tRecord))
{
    Require(pTo != nullptr, "the record is null");
    Require(pTo->struct_size >= pFirstSize, "struct_size is too small: set it to the size of the record");
    Require(pTo->struct_size <= (size_t{1} << 20), "struct_size is too large: set it to the size of the record");
}

/// Fills a caller's record, which keeps its struct_size. What we do not know of it becomes zero.
/// @throws cFailure as CheckRecord
template <typename tRecord>
void GiveRecord(const tRecord& pRecord, tRecord* pTo, size_t pFirstSize = sizeof(tRecord))
{
    CheckRecord(pTo, pFirstSize);
    const size_t size = pTo->struct_size;
    unsigned char* const bytes = reinterpret_cast<unsigned char*>(pTo);
    std::memcpy(bytes, &pRecord, std::min(size, sizeof(tRecord)));
    if (size > sizeof(tRecord)) std::memset(bytes + sizeof(tRecord), 0, size - sizeof(tRecord));
    pTo->struct_size = size;
}

} // namespace SelvaneLib

#endif
