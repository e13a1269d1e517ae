#ifndef SELVANE_HOST_COMMAND_STREAMS_H
#define SELVANE_HOST_COMMAND_STREAMS_H

namespace SelvaneHost
{

/// Opens /dev/null for each closed standard stream. Otherwise the next file that the program opens gets the number of
/// that stream, and printed lines end up in it.
void OpenStandardStreams();

/// Writes out what standard output still holds.
/// @throws cHostError when the stream takes no more bytes
void FlushStandardOutput();

} // namespace SelvaneHost

#endif
