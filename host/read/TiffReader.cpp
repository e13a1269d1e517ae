#include "read/TiffReader.h"

#include "color/Interpret.h"
#include "read/FloatTiff.h"
#include "read/ReaderSteps.h"
#include "read/TiffCheck.h"
#include "read/VipsReader.h"

#include <algorithm>
#include <string_view>
#include <vips/vips.h>

namespace SelvaneHost
{

namespace
{

using namespace std::literals;

constexpr std::string_view kMarks[] = {"II*\0"sv, "MM\0*"sv, "II+\0"sv, "MM\0+"sv}; // both byte orders; + is BigTIFF

} // namespace

bool LooksLikeTiff(const tBytes& pBytes)
{
    return std::ranges::any_of(kMarks, [&](std::string_view mark) { return BeginsWith(pBytes, mark); });
}

sPicture ReadTiff(const tBytes& pBytes, const sReadOptions& pOptions)
{
    CheckTiff(pBytes);
    if (HoldsFloatsOfOtherSizes(pBytes)) {
        sColorNotes notes;
        sPicture picture = ReadFloatTiff(pBytes, notes);
        Interpret(picture, notes, pOptions);
        return picture;
    }
    return ReadThroughVips({vips_tiffload_buffer}, pBytes, pOptions);
}

} // namespace SelvaneHost
