#ifndef SELVANE_HOST_COMMAND_COMMAND_STEPS_H
#define SELVANE_HOST_COMMAND_COMMAND_STEPS_H

// The steps that the subcommands share: check, read, make room, write.

#include "picture/Errors.h"
#include "picture/Picture.h"
#include "write/OutputFile.h"
#include "write/PictureWriter.h"

#include <new>
#include <optional>
#include <string>

namespace SelvaneHost
{

/// Gives every failure inside the name of the file that it is about, and a lack of memory its words.
template <typename tAction>
auto About(const std::string& pPath, tAction pAction)
{
    try {
        return pAction();
    } catch (const cUsageError&) {
        throw;
    } catch (const cHostError& failure) {
        throw cHostError(pPath + ": " + failure.what());
    } catch (const std::bad_alloc&) {
        throw cHostError(pPath + ": not enough memory for this picture");
    }
}

/// @throws cUsageError for 16 bits in a JPEG file
void CheckDepth(std::optional<int> pAsked, const std::string& pOutput);

/// Looks early whether the output may be written: it can, and it is not the input by whatever name or link, unless that
/// is wanted.
/// @throws cHostError, cUsageError for the input itself
void CheckOutput(const std::string& pInput, const std::string& pOutput, bool pForce);

/// What was asked for; otherwise 8 for a JPEG file and for an input of 8 bits, and 16 for everything deeper.
int DepthFor(std::optional<int> pAsked, eFileKind pKind, eSampleForm pInput);

/// Starts the picture library and reads a file; its warnings are reported, but for the one about the colour space.
sPicture Read(const std::string& pPath);

/// The space that was chosen, or the file's; sRGB, with the reader's warning if it has one, where neither says.
Vornik::eColorSpaceID SpaceOf(const sPicture& pPicture, const std::string& pPath,
                              std::optional<Vornik::eColorSpaceID> pChosen);

/// An output picture of the input's size, with the input's metadata.
sPicture Blank(const sPicture& pInput, int pDepth);

} // namespace SelvaneHost

#endif
