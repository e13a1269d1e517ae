#ifndef SELVANE_HOST_METADATA_METADATA_H
#define SELVANE_HOST_METADATA_METADATA_H

#include "picture/Bytes.h"

namespace SelvaneHost
{

/// What a picture file says beside its pixels, as raw blocks. An empty block: the file has none.
struct sMetadata
{
    tBytes fExif;
    tBytes fIptc;
    tBytes fXmp;
};

} // namespace SelvaneHost

#endif
