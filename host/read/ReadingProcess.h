#ifndef SELVANE_HOST_READ_READING_PROCESS_H
#define SELVANE_HOST_READ_READING_PROCESS_H

// Decoding in a process of its own. Files come from strangers, and the libraries that decode them are large: whatever a
// file does to the decoder, it can only end it. The process is this program again, with a word of its own behind its
// name. It opens the file, gives up all else (Confinement.h), decodes, and hands the picture over in a file in memory
// (PictureParcel.h).

#include "picture/Picture.h"
#include "picture/ReadOptions.h"

#include <cstdint>
#include <string>

namespace SelvaneHost
{

/// What a file may take to decode.
struct sReadLimits
{
    int64_t fMegapixels = 400; ///< more are refused before a row is unpacked
    uint64_t fBytes = 0;       ///< address space; 0: see HalfOfMemory
    uint64_t fSeconds = 600;   ///< processor time
};

/// The first word of the command line of the process that decodes. No subcommand has it.
constexpr const char* kReadingWord = "decode-for-parent";

/// Makes ReadInProcess start processes from now on. Call it in the program whose main function calls RunReadingProcess.
/// Until then pictures are decoded by the caller itself.
void UseReadingProcesses(const sReadLimits& pLimits);

/// Reads a picture file, in a process of its own if UseReadingProcesses was called. Any thread may call it. Where the
/// system refuses the filter of system calls, the process decodes within its other limits, and the first picture has a
/// warning.
/// @throws cHostError also when the process crashed, took too much or did what it must not
sPicture ReadInProcess(const std::string& pPath, const sReadOptions& pOptions);

/// The main function of the process that decodes.
/// @param pWords the command line behind kReadingWord
/// @return its exit status
int RunReadingProcess(const std::vector<std::string>& pWords);

} // namespace SelvaneHost

#endif
