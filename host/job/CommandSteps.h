#ifndef SELVANE_HOST_JOB_COMMAND_STEPS_H
#define SELVANE_HOST_JOB_COMMAND_STEPS_H

// Steps that several subcommands share.

#include "picture/Errors.h"
#include "picture/Picture.h"
#include "picture/ReadOptions.h"
#include "write/Output.h"
#include "write/PictureWriter.h"

#include <functional>
#include <new>
#include <optional>
#include <string>

namespace SelvaneHost
{

/// Runs an action on a file. Puts the name of the file before the text of any failure, and turns std::bad_alloc into a
/// failure with a text. A cUsageError passes unchanged.
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

/// Takes a line for the standard error stream, without "selvane: ". A warning begins with "warning: ".
using tLine = std::function<void(const std::string&)>;

/// @throws cUsageError for a name that tells no kind, and for a depth that the kind does not hold
void CheckOutputKind(const sOutput& pOutput);

/// Checks before a long computation that the output can be written and is not the input. Two names or links of one file
/// count as the same file.
/// @throws cHostError when the file cannot be written
/// @throws cUsageError when the output is the input, and fForce is not set
void CheckOutput(const std::string& pInput, const sOutput& pOutput);

/// Returns how the output is stored.
/// @param pSpace SELVANE_SRGB to SELVANE_REC2020
/// @param pSettings of the look, as text, for the metadata
sStorage StorageFor(const sOutput& pOutput, const sPicture& pInput, int pSpace, const std::string& pSettings,
                    int pThreads);

/// Starts libvips and reads a file. Tells all warnings except the one about the colour space.
sPicture Read(const std::string& pPath, const sReadOptions& pOptions, const tLine& pLine);

/// Returns the space of the output: the chosen one, or else what the input suggests. For a picture that was read as the
/// engine's entry takes it, a chosen one is that of the input too; without one, tells the warning about its colours.
/// @throws cUsageError when the entry does not know the chosen space
int SpaceOf(sPicture& pPicture, const std::string& pPath, std::optional<int> pChosen, bool pAsEntry,
            const tLine& pLine);

/// Returns a black picture with the size, the alpha channel and the metadata of the input.
sPicture Blank(const sPicture& pInput, eSampleForm pForm);

/// Returns the form of the samples for a file of this depth.
eSampleForm FormFor(int pDepth);

/// Gives linear floats, which are of a picture whose size is still to change, their size and the samples of the file.
void Finish(const sOutput& pOutput, const sStorage& pStorage, sPicture& pPicture);

/// Writes the finished picture and tells what the file does not hold.
void Write(const sPicture& pPicture, const sStorage& pStorage, const std::string& pPath, const tLine& pLine);

} // namespace SelvaneHost

#endif
