#ifndef SELVANE_HOST_PICTURE_PICTURE_LIBRARY_H
#define SELVANE_HOST_PICTURE_PICTURE_LIBRARY_H

namespace SelvaneHost
{

/// Starts libvips, blocks the loaders that it calls untrusted, and suppresses its log lines. Call it before
/// anything is read or written; further calls do nothing. Any thread may call it.
/// @throws cHostError when libvips does not start
void StartPictureLibrary();

} // namespace SelvaneHost

#endif
