#ifndef SELVANE_HOST_PICTURE_BYTES_H
#define SELVANE_HOST_PICTURE_BYTES_H

#include <vector>

namespace SelvaneHost
{

using tBytes = std::vector<unsigned char>;

} // namespace SelvaneHost

#endif
