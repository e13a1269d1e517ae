#ifndef SELVANE_HOST_PICTURE_PICTURE_LIBRARY_H
#define SELVANE_HOST_PICTURE_PICTURE_LIBRARY_H

namespace SelvaneHost
{

/// Starts libvips, blocks the loaders that it calls untrusted, and suppresses its log lines. Call it once, before
/// anything is read or written.
/// @throws cHostError when libvips does not start
void StartPictureLibrary();

} // namespace SelvaneHost

#endif
