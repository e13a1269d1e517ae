#ifndef SELVANE_HOST_WRITE_OUTPUT_FILE_H
#define SELVANE_HOST_WRITE_OUTPUT_FILE_H

// The file that a run leaves: whole, or as it was before.

#include <span>
#include <string>
#include <vector>

namespace SelvaneHost
{

/// Looks early whether the file could be written, so that nobody waits for a picture that cannot be stored.
/// @throws cHostError in words when its folder is missing or closed, or the name belongs to a folder or device
void CheckWritable(const std::string& pPath);

/// Puts the pieces, one after the other, under the name: they go to a new file in the same folder, which is synced and
/// then renamed. On any failure, and on signals that end the program, that file is removed, and what the name held
/// before stays. A symbolic link is followed; another name of the same file, a hard link, keeps what it held.
///
/// A file that is replaced passes on its permissions without set-user-ID, set-group-ID and sticky bits, and its owner
/// and group where this user may give files to them; where not to the group, its permissions are dropped.
/// @throws cHostError in the system's words
void WriteFile(const std::string& pPath, const std::vector<std::span<const unsigned char>>& pPieces);

/// Makes every signal that would end the program, those of a crash too, remove an unfinished file first, and a file
/// that grows beyond the limit an error instead of an end. The program still ends by the signal; only those that the C
/// library keeps to itself, 32 and 33, do not end it any more. Once, at the start.
void CatchSignals();

} // namespace SelvaneHost

#endif
