#include "bitmap/cBitmap.h"

#include "bitmap/cBitmapBGR16.h"
#include "bitmap/cBitmapBGR8.h"
#include "bitmap/cBitmapU16T.h"
#include "bitmap/cBitmapXYZ32.h"
#include "bitmap/cBitmapXYZ32T.h"
#include "bitmap/cBitmapY32.h"
#include "bitmap/cBitmapY8.h"
#include "support/Capture.h"

#include "Fixtures.h"

#include <gtest/gtest.h>

#include <new>
#include <type_traits>

using namespace Vornik;
using namespace SelvaneTest;

namespace
{

/// One bitmap of every class.
struct sAll
{
    cBitmap fRoot;
    cBitmapBGR8 fBGR8{5, 6, eColorSpace_sRGB};
    cBitmapBGR16 fBGR16{5, 6, eColorSpace_sRGB};
    cBitmapXYZ32 fXYZ32{5, 6};
    cBitmapXYZ32T fXYZ32T{5, 6};
    cBitmapY32 fY32{5, 6};
    cBitmapY8 fY8{5, 6};
    cBitmapU16T fU16T{5, 6, 7};
};

TEST(cBitmap, TheConstructorLeavesTheFieldsAlone)
{
    alignas(cBitmap) unsigned char memory[sizeof(cBitmap)];
    std::memset(memory, 0x5A, sizeof(memory));
    cBitmap* const bitmap = new (memory) cBitmap;
    int fields[3];
    std::memcpy(fields, memory + sizeof(void*), sizeof(fields));
    for (const int field : fields)
        EXPECT_EQ(field, 0x5A5A5A5A);
    bitmap->~cBitmap();
}

TEST(cBitmap, FieldsStandInTheirOrder)
{
    sAll all;
    const cBitmap& root = all.fRoot;
    EXPECT_EQ(OffsetOf(&root, &root.fWidth), 8);
    EXPECT_EQ(OffsetOf(&root, &root.fHeight), 12);
    EXPECT_EQ(OffsetOf(&root, &root.fStride), 16);
    EXPECT_EQ(OffsetOf(&all.fBGR8, &all.fBGR8.fColorSpace), 24);
    EXPECT_EQ(OffsetOf(&all.fBGR8, &all.fBGR8.fData), 32);
    EXPECT_EQ(OffsetOf(&all.fBGR16, &all.fBGR16.fColorSpace), 24);
    EXPECT_EQ(OffsetOf(&all.fBGR16, &all.fBGR16.fData), 32);
    EXPECT_EQ(OffsetOf(&all.fXYZ32, &all.fXYZ32.fData), 24);
    EXPECT_EQ(OffsetOf(&all.fY32, &all.fY32.fData), 24);
    EXPECT_EQ(OffsetOf(&all.fY8, &all.fY8.fData), 24);
    EXPECT_EQ(OffsetOf(&all.fXYZ32T, &all.fXYZ32T.fTiles), 24);
    EXPECT_EQ(OffsetOf(&all.fXYZ32T, &all.fXYZ32T.fTileCount), 32);
    EXPECT_EQ(OffsetOf(&all.fXYZ32T, &all.fXYZ32T.fTileHeight), 36);
    EXPECT_EQ(OffsetOf(&all.fU16T, &all.fU16T.fPlanes), 20); // behind fStride, before the tiles
    EXPECT_EQ(OffsetOf(&all.fU16T, &all.fU16T.fTiles), 24);
    EXPECT_EQ(OffsetOf(&all.fU16T, &all.fU16T.fTileCount), 32);
    EXPECT_EQ(OffsetOf(&all.fU16T, &all.fU16T.fTileHeight), 36);
}

TEST(cBitmap, FieldsHaveTheirTypesAndClassesTheirSizes)
{
    static_assert(sizeof(cBitmap) == 24 && sizeof(cBitmapLDR) == 32);
    static_assert(sizeof(cBitmapBGR8) == 40 && sizeof(cBitmapBGR16) == 40);
    static_assert(sizeof(cBitmapXYZ32) == 32 && sizeof(cBitmapY32) == 32 && sizeof(cBitmapY8) == 32);
    static_assert(sizeof(cBitmapXYZ32T) == 40 && sizeof(cBitmapU16T) == 40);
    static_assert(std::is_same_v<decltype(cBitmap::fStride), int>);
    static_assert(std::is_same_v<decltype(cBitmapLDR::fColorSpace), cColorSpace*>);
    static_assert(std::is_same_v<decltype(cBitmapBGR8::fData), unsigned char*>);
    static_assert(std::is_same_v<decltype(cBitmapBGR16::fData), unsigned short*>);
    static_assert(std::is_same_v<decltype(cBitmapXYZ32::fData), float*>);
    static_assert(std::is_same_v<decltype(cBitmapY32::fData), float*>);
    static_assert(std::is_same_v<decltype(cBitmapY8::fData), unsigned char*>);
    static_assert(std::is_same_v<decltype(cBitmapXYZ32T::fTiles), void**>);
    static_assert(std::is_same_v<decltype(cBitmapU16T::fTiles), void**>);
    static_assert(std::is_same_v<decltype(&cBitmapLDR::GetBitmapArray), void* (cBitmapLDR::*)()>);
    static_assert(std::is_same_v<decltype(&cBitmapBGR8::GetBGR8), void* (cBitmapBGR8::*)()>);
    static_assert(std::is_same_v<decltype(&cBitmapBGR16::GetImageData), unsigned short* (cBitmapBGR16::*)()>);
    static_assert(std::is_same_v<decltype(&cBitmapXYZ32::GetImageData), float* (cBitmapXYZ32::*)()>);
    static_assert(std::is_same_v<decltype(&cBitmap::GetStride), int (cBitmap::*)()>);
    static_assert(std::is_same_v<decltype(&cBitmap::GetWidth), int (cBitmap::*)()>);
    static_assert(std::is_same_v<decltype(&cBitmap::GetHeight), int (cBitmap::*)()>);
    static_assert(std::is_same_v<decltype(&cBitmapLDR::GetBitsPerChannel), int (cBitmapLDR::*)() const>);
}

TEST(cBitmap, ClassesDeriveAsTheyShould)
{
    static_assert(std::is_base_of_v<cBitmap, cBitmapLDR> && std::is_abstract_v<cBitmapLDR>);
    static_assert(std::is_base_of_v<cBitmapLDR, cBitmapBGR8> && std::is_base_of_v<cBitmapLDR, cBitmapBGR16>);
    static_assert(std::is_base_of_v<cBitmap, cBitmapXYZ32> && !std::is_base_of_v<cBitmapLDR, cBitmapXYZ32>);
    static_assert(std::is_base_of_v<cBitmap, cBitmapXYZ32T> && std::is_base_of_v<cBitmap, cBitmapU16T>);
    static_assert(std::is_base_of_v<cBitmap, cBitmapY32> && std::is_base_of_v<cBitmap, cBitmapY8>);
    static_assert(std::has_virtual_destructor_v<cBitmap>);
}

template <class tBitmap>
constexpr bool kNotCopied = !std::is_copy_constructible_v<tBitmap> && !std::is_copy_assignable_v<tBitmap> &&
                            !std::is_move_constructible_v<tBitmap> && !std::is_move_assignable_v<tBitmap>;

TEST(cBitmap, NoBitmapIsCopiedOrAssigned)
{
    static_assert(kNotCopied<cBitmapBGR8> && kNotCopied<cBitmapBGR16> && kNotCopied<cBitmapXYZ32>);
    static_assert(kNotCopied<cBitmapXYZ32T> && kNotCopied<cBitmapY32> && kNotCopied<cBitmapY8> &&
                  kNotCopied<cBitmapU16T>);
}

TEST(cBitmap, VirtualFunctionsStandInTheirOrder)
{
    EXPECT_EQ(SlotOf(&cBitmap::GetStride), 2);
    EXPECT_EQ(SlotOf(&cBitmap::SwapWidthHeight), 3);
    EXPECT_EQ(SlotOf(&cBitmap::GetWidth), -1);
    EXPECT_EQ(SlotOf(&cBitmap::GetHeight), -1);
    EXPECT_EQ(SlotOf(&cBitmapLDR::ToXYZ32), 4);
    EXPECT_EQ(SlotOf(&cBitmapLDR::ToBGR32Linear), 5);
    EXPECT_EQ(SlotOf(&cBitmapLDR::GetBitsPerChannel), 6);
    EXPECT_EQ(SlotOf(&cBitmapLDR::GetBitmapArray), 7);
    EXPECT_EQ(SlotOf(&cBitmapLDR::GetColorSpace), -1);
    EXPECT_EQ(SlotOf(&cBitmapLDR::GetWhiteBalance), -1);
    EXPECT_EQ(SlotOf(static_cast<void (cBitmapBGR8::*)(cBitmapXYZ32*)>(&cBitmapBGR8::ToXYZ32)), 4);
    EXPECT_EQ(SlotOf(&cBitmapBGR8::GetBitmapArray), 7);
    EXPECT_EQ(SlotOf(&cBitmapBGR8::GetBGR8), -1);
    EXPECT_EQ(SlotOf(&cBitmapBGR16::ToXYZ32), 4);
    EXPECT_EQ(SlotOf(&cBitmapBGR16::GetBitmapArray), 7);
    EXPECT_EQ(SlotOf(&cBitmapBGR16::GetImageData), 8);
    EXPECT_EQ(SlotOf(&cBitmapXYZ32::GetImageData), -1);
}

TEST(cBitmap, OnlyTheSixteenBitClassOverridesGetStride)
{
    sAll all;
    const void* const own = EntryOf(&all.fRoot, 2);
    EXPECT_EQ(EntryOf(&all.fBGR8, 2), own);
    EXPECT_NE(EntryOf(&all.fBGR16, 2), own);
    EXPECT_EQ(EntryOf(&all.fXYZ32, 2), own);
    EXPECT_EQ(EntryOf(&all.fXYZ32T, 2), own);
    EXPECT_EQ(EntryOf(&all.fY32, 2), own);
    EXPECT_EQ(EntryOf(&all.fY8, 2), own);
    EXPECT_EQ(EntryOf(&all.fU16T, 2), own);
    EXPECT_EQ(all.fBGR16.GetStride(), 48);
    EXPECT_EQ(all.fBGR8.GetStride(), 24);
    EXPECT_EQ(all.fXYZ32.GetStride(), 96);
}

TEST(cBitmap, SwapWidthHeightThrowsForEveryClass)
{
    sAll all;
    const void* const own = EntryOf(&all.fRoot, 3);
    cBitmap* const bitmaps[] = {&all.fRoot,   &all.fBGR8, &all.fBGR16, &all.fXYZ32,
                                &all.fXYZ32T, &all.fY32,  &all.fY8,    &all.fU16T};
    for (cBitmap* bitmap : bitmaps) {
        EXPECT_EQ(EntryOf(bitmap, 3), own);
        EXPECT_FAILURE(bitmap->SwapWidthHeight(), cInvalidOperationException,
                       "SwapWidthHeight() is not implemented for this class.", "cBitmap.cpp",
                       "virtual void Vornik::cBitmap::SwapWidthHeight()");
    }
}

TEST(cBitmap, WidthAndHeightAreNotPadded)
{
    cBitmapY8 bitmap(5, 6);
    EXPECT_EQ(bitmap.GetWidth(), 5);
    EXPECT_EQ(bitmap.GetHeight(), 6);
    EXPECT_EQ(bitmap.GetStride(), 8);
}

TEST(cBitmapLDR, StartsWithoutAColourSpaceAndDeletesTheOneItHas)
{
    const int before = cCountedSpace::sAlive;
    {
        cOddLDR bitmap(12);
        EXPECT_EQ(bitmap.GetColorSpace(), nullptr);
        bitmap.fColorSpace = new cCountedSpace;
        EXPECT_EQ(bitmap.GetColorSpace(), bitmap.fColorSpace);
        EXPECT_EQ(cCountedSpace::sAlive, before + 1);
    }
    EXPECT_EQ(cCountedSpace::sAlive, before);
}

TEST(cBitmapLDR, AssignColorSpaceByObjectDeletesFirstAndClonesThen)
{
    cCountedSpace space;
    cOddLDR bitmap(8);
    bitmap.fColorSpace = new cCountedSpace;
    cCountedSpace::sWatched = &bitmap;
    cCountedSpace::sFieldAtClone = &space;
    bitmap.AssignColorSpace(&space);
    cCountedSpace::sWatched = nullptr;
    EXPECT_EQ(cCountedSpace::sAliveAtClone, 1); // the old one was gone
    EXPECT_EQ(cCountedSpace::sFieldAtClone, nullptr);
    EXPECT_EQ(cCountedSpace::sAlive, 2);
    EXPECT_NE(bitmap.fColorSpace, nullptr);
    EXPECT_NE(bitmap.fColorSpace, &space);
}

TEST(cBitmapLDR, AFailedCloneLeavesNoColourSpace)
{
    cCountedSpace space;
    cOddLDR bitmap(8);
    bitmap.AssignColorSpace(&space);
    cCountedSpace::sRefuseClone = true;
    EXPECT_THROW(bitmap.AssignColorSpace(&space), std::runtime_error);
    cCountedSpace::sRefuseClone = false;
    EXPECT_EQ(bitmap.fColorSpace, nullptr);
    EXPECT_EQ(cCountedSpace::sAlive, 1);
}

TEST(cBitmapLDR, AssignColorSpaceByNumberReplacesOrKeeps)
{
    cBitmapBGR8 bitmap(1, 1, eColorSpace_sRGB);
    bitmap.AssignColorSpace(eColorSpace_ProPhotoRGB);
    cColorSpace* const space = bitmap.fColorSpace;
    EXPECT_STREQ(space->GetName(), "ProPhoto RGB");
    EXPECT_NO_THROW(bitmap.AssignColorSpace(kNoSpace));
    EXPECT_NO_THROW(bitmap.AssignColorSpace(static_cast<eColorSpaceID>(-1)));
    EXPECT_EQ(bitmap.fColorSpace, space);
    EXPECT_STREQ(space->GetName(), "ProPhoto RGB");

    cCountedSpace counted;
    bitmap.AssignColorSpace(&counted);
    bitmap.AssignColorSpace(eColorSpace_AdobeRGB98);
    EXPECT_EQ(cCountedSpace::sAlive, 1);
    EXPECT_STREQ(bitmap.GetColorSpace()->GetName(), "Adobe RGB (1998)");
}

TEST(cBitmapLDR, GetWhiteBalanceIsTheColourSpacesWhite)
{
    cCountedSpace space;
    cBitmapBGR16 bitmap(1, 1, &space);
    float first = 0.0f, second = 0.0f;
    bitmap.GetWhiteBalance(&first, &second);
    EXPECT_EQ(first, 0.25f);
    EXPECT_EQ(second, 0.375f);
}

TEST(cBitmapLDR, GetWhiteBalanceWithoutAColourSpaceThrows)
{
    cBitmapBGR8 bitmap(1, 1, kNoSpace);
    float first = 3.0f, second = 4.0f;
    EXPECT_FAILURE(bitmap.GetWhiteBalance(&first, &second), cInvalidOperationException, "Color space is not set.",
                   "cBitmap.cpp", "void Vornik::cBitmapLDR::GetWhiteBalance(float*, float*)");
    EXPECT_EQ(first, 3.0f);
    EXPECT_EQ(second, 4.0f);
}

} // namespace
