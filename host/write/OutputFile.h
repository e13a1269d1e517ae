#ifndef SELVANE_HOST_WRITE_OUTPUT_FILE_H
#define SELVANE_HOST_WRITE_OUTPUT_FILE_H

#include <span>
#include <string>
#include <vector>

namespace SelvaneHost
{

/// Checks whether the file can be written. Call it before a long computation. "-" is standard output.
/// @throws cHostError when the folder is missing or closed, or when the name belongs to a folder or device
/// @throws cUsageError when standard output is a terminal
void CheckWritable(const std::string& pPath);

/// Writes the pieces, one after the other. "-" is standard output. Any other name stands for a file: the pieces go to a
/// new one in the same folder, which is synced and renamed. After a failure
/// or a signal that ends the program, the new file is gone and the name still holds the old file.
///
/// A symbolic link is followed. Other hard links to the same file keep the old content.
///
/// The new file gets the permissions of the file that it replaces, without set-user-ID, set-group-ID and sticky bits.
/// It also gets that file's owner and group if this user may give files to them. If the group cannot be given, the
/// group's permissions are dropped.
///
/// Several threads may write files at once.
/// @param pMustBeNew a file of that name is never replaced, also not one that another program made a moment before
/// @throws cHostError with the system's text
void WriteFile(const std::string& pPath, const std::vector<std::span<const unsigned char>>& pPieces,
               bool pMustBeNew = false);

} // namespace SelvaneHost

#endif
