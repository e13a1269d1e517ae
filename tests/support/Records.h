#ifndef SELVANE_TESTS_SUPPORT_RECORDS_H
#define SELVANE_TESTS_SUPPORT_RECORDS_H

// The records of the library byte by byte: those that it hands to DivideWork, and the pixels of its compact pictures.
//
// The offsets are written down here for themselves. Nothing is taken from the library's headers, so a test fails when
// the library moves a field. Bytes that belong to no field of a DivideWork record are zero. Pointers have 8 bytes, and
// a field may stand at an address that is no multiple of its size.

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>
#include <vector>

namespace SelvaneTest
{

/// Where a field begins in its record. Its type says how many bytes it has.
template <class tValue>
struct sField
{
    size_t fOffset;
};

template <class tValue>
tValue GetField(const unsigned char* pRecord, sField<tValue> pField)
{
    tValue value;
    std::memcpy(&value, pRecord + pField.fOffset, sizeof value);
    return value;
}

template <class tValue>
void SetField(unsigned char* pRecord, sField<tValue> pField, std::type_identity_t<tValue> pValue)
{
    std::memcpy(pRecord + pField.fOffset, &pValue, sizeof pValue);
}

/// The offsets of several fields.
template <class... tValues>
std::vector<size_t> OffsetsOf(sField<tValues>... pFields)
{
    return {pFields.fOffset...};
}

/// The first bytes of every record that DivideWork gets. The library leaves them zero.
namespace TileHeader
{
inline constexpr sField<int32_t> kSlot{0};      ///< the worker's slot, written by DivideWork
inline constexpr sField<uint32_t> kReserved{4}; ///< zero, written by nobody
inline constexpr sField<int32_t> kStart{8};     ///< first index of the tile, written by DivideWork
inline constexpr sField<int32_t> kEnd{12};      ///< one past the last index of the tile, written by DivideWork
inline constexpr size_t kBytes = 16;
} // namespace TileHeader

/// CalcMinMaxLog_tile_threaded: logarithms and extremes of the luminance.
namespace MinMaxRecord
{
inline constexpr sField<const void*> kPicture{16};       ///< the XYZ picture, a cBitmapXYZ32
inline constexpr sField<const float*> kLogLuminance{24}; ///< the result, a float a pixel
inline constexpr sField<int32_t> kWidth{32};             ///< pixels
inline constexpr sField<const bool*> kCancel{40};        ///< the caller asks to stop
inline constexpr sField<const bool*> kCancelled{48};     ///< the library has stopped
inline constexpr sField<const float*> kSlotMin{56};      ///< smallest luminance, a float a worker slot
inline constexpr sField<const float*> kSlotMax{64};      ///< largest luminance, a float a worker slot
inline constexpr sField<float> kFloor{72};               ///< smaller luminances count as this one
inline constexpr size_t kBytes = 80;
} // namespace MinMaxRecord

/// Filter_Fast_Interpolate_tile_threaded: the slicing step of the grid filter.
namespace SliceRecord
{
inline constexpr sField<int32_t> kWidth{16};       ///< pixels
inline constexpr sField<float> kSpaceSampling{20}; ///< pixels a cell
inline constexpr sField<float> kRangeSampling{24}; ///< units a cell
inline constexpr sField<float> kRangeMin{28};      ///< lowest value
inline constexpr sField<int32_t> kMargin{32};      ///< cells before the first sample, always 3
inline constexpr sField<int32_t> kCellsX{36};      ///< cells of the grid in x
inline constexpr sField<int32_t> kCellsY{40};      ///< cells of the grid in y
inline constexpr sField<const float*> kGrid{48};   ///< value and weight of each cell
inline constexpr sField<const float*> kInput{56};  ///< the plane that was filtered
inline constexpr sField<const float*> kOutput{64}; ///< the result
inline constexpr size_t kBytes = 72;
} // namespace SliceRecord

/// Filter_Ref_Process_tile_threaded: the reference filter.
namespace ReferenceRecord
{
inline constexpr sField<int32_t> kWidth{16};           ///< pixels
inline constexpr sField<int32_t> kHeight{20};          ///< pixels
inline constexpr sField<int32_t> kKernelSize{24};      ///< pixels along a side of the window
inline constexpr sField<float> kLimit{28};             ///< largest difference in value that counts
inline constexpr sField<float> kScale{32};             ///< from a difference to an index of the range table
inline constexpr sField<const float*> kInput{40};      ///< the plane that is filtered
inline constexpr sField<const float*> kRangeTable{48}; ///< 256 weights by difference
inline constexpr sField<const float*> kKernel{56};     ///< weights by distance, a float a pixel of the window
inline constexpr sField<const float*> kResult{64};     ///< the result
inline constexpr size_t kBytes = 72;
} // namespace ReferenceRecord

/// FastGaussianBlur_Filter1_tile_threaded for rows and FastGaussianBlur_Filter2_tile_threaded for columns.
namespace BlurRecord
{
inline constexpr sField<int32_t> kWidth{16};              ///< pixels
inline constexpr sField<int32_t> kHeight{20};             ///< pixels
inline constexpr sField<int32_t> kRadius{24};             ///< of the box, in pixels
inline constexpr sField<float> kEdgeFraction{28};         ///< what an end sample of the box does not count
inline constexpr sField<const float*> kNormalisation{32}; ///< sum of the weights, a float a place of the line
inline constexpr sField<const float*> kSource{40};        ///< the plane that is read
inline constexpr sField<const float*> kDest{48};          ///< the plane that is written
inline constexpr size_t kBytes = 56;
} // namespace BlurRecord

/// Whether one of the records has so many bytes.
inline bool IsRecordSize(size_t pBytes)
{
    return pBytes == MinMaxRecord::kBytes || pBytes == SliceRecord::kBytes || pBytes == ReferenceRecord::kBytes ||
           pBytes == BlurRecord::kBytes;
}

/// A pixel of a compact picture.
namespace YHMVPixel
{
inline constexpr sField<float> kLuminance{0}; ///< Y
inline constexpr sField<uint16_t> kHue{4};    ///< H, 65536 hues a turn
inline constexpr sField<float> kSmallest{6};  ///< M, the smallest primary
inline constexpr sField<float> kLargest{10};  ///< V, the largest primary
inline constexpr int kBytes = 14;
inline constexpr int kPlanes = 7; ///< words of 16 bits, as a cBitmapU16T counts them
} // namespace YHMVPixel

/// A pixel of a compact picture without luminance.
namespace HMVPixel
{
inline constexpr sField<uint16_t> kHue{0};   ///< H, 65536 hues a turn
inline constexpr sField<float> kSmallest{2}; ///< M, the smallest primary
inline constexpr sField<float> kLargest{6};  ///< V, the largest primary
inline constexpr int kBytes = 10;
inline constexpr int kPlanes = 5; ///< words of 16 bits, as a cBitmapU16T counts them
} // namespace HMVPixel

} // namespace SelvaneTest

#endif
