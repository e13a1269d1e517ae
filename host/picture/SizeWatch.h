#ifndef SELVANE_HOST_PICTURE_SIZE_WATCH_H
#define SELVANE_HOST_PICTURE_SIZE_WATCH_H

#include "picture/Picture.h"

#include <functional>

namespace SelvaneHost
{

/// Is told the size of the first picture that gets one on this thread, while the object exists: that of the picture
/// that is read, before any of its rows takes memory. It may wait until there is memory, or throw to refuse the
/// picture.
class cSizeWatch
{
public:
    /// Takes a picture with its size and form. May be empty: then nobody is told.
    using tWatch = std::function<void(const sPicture&)>;

    explicit cSizeWatch(tWatch pWatch);
    ~cSizeWatch();
    cSizeWatch(const cSizeWatch&) = delete;
    cSizeWatch& operator=(const cSizeWatch&) = delete;

    /// For what sets the size of a picture.
    static void Tell(const sPicture& pPicture);

private:
    tWatch fWatch;
    cSizeWatch* const fOuter;
};

} // namespace SelvaneHost

#endif
