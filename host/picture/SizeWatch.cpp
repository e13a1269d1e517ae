#include "picture/SizeWatch.h"

#include <utility>

namespace SelvaneHost
{

namespace
{

thread_local cSizeWatch* gWatch = nullptr; // the innermost of this thread

} // namespace

cSizeWatch::cSizeWatch(tWatch pWatch) : fWatch(std::move(pWatch)), fOuter(std::exchange(gWatch, this)) {}

cSizeWatch::~cSizeWatch()
{
    gWatch = fOuter;
}

void cSizeWatch::Tell(const sPicture& pPicture)
{
    if (gWatch == nullptr || !gWatch->fWatch) return;
    const tWatch watch = std::exchange(gWatch->fWatch, nullptr);
    watch(pPicture);
}

} // namespace SelvaneHost
