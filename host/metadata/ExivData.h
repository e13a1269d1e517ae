#ifndef SELVANE_HOST_METADATA_EXIV_DATA_H
#define SELVANE_HOST_METADATA_EXIV_DATA_H

// Blocks of metadata as lists of entries, by Exiv2, and back. For the sources of this project that change entries.

#include "metadata/Metadata.h"

#include <exiv2/exiv2.hpp>
#include <string>
#include <vector>

namespace SelvaneHost
{

/// Entries of all three kinds.
struct sExivData
{
    Exiv2::ExifData fExif;
    Exiv2::IptcData fIptc;
    Exiv2::XmpData fXmp;
    Exiv2::ByteOrder fOrder = Exiv2::littleEndian; ///< of the Exif block, which maker notes may rely on
};

/// The project's names in XMP.
constexpr const char* kXmpNamespace = "http://selvane.invalid/ns/1.0/";
constexpr const char* kXmpPrefix = "selvane";

/// Prepares Exiv2: its XMP toolkit for several threads, the project's namespace, and no output of its own. May be
/// called any number of times, on any thread.
void StartExiv();

/// Runs an action of Exiv2 on metadata. Whatever it throws becomes a warning of one line, and so does the first error
/// that Exiv2 only logs.
/// @param pWhat begins the warning, "its metadata are damaged"
/// @return whether the action ran to its end
template <typename tAction>
bool WithExiv(const char* pWhat, std::vector<std::string>& pWarnings, tAction pAction);

/// Returns the entries of the blocks. A block that cannot be read gives none, and a warning.
sExivData Decoded(const sMetadata& pMetadata, std::vector<std::string>& pWarnings);

/// Returns the entries as blocks. Empty lists give empty blocks. A list that cannot be written gives none, and a
/// warning. The largest entries of Exif data beyond 64 kB are left out, which also gives a warning.
sMetadata Encoded(const sExivData& pData, std::vector<std::string>& pWarnings);

/// Returns XMP entries as a packet.
/// @throws Exiv2::Error
tBytes XmpPacket(const Exiv2::XmpData& pXmp);

/// Forgets, and then returns, the first error that Exiv2 has logged on this thread. Empty if it has logged none.
std::string TakeExivError();

template <typename tAction>
bool WithExiv(const char* pWhat, std::vector<std::string>& pWarnings, tAction pAction)
{
    StartExiv();
    TakeExivError();
    std::string reason;
    bool done = false;
    try {
        pAction();
        done = true;
        reason = TakeExivError();
    } catch (const std::exception& failure) {
        reason = failure.what();
    }
    if (!reason.empty()) pWarnings.push_back(std::string(pWhat) + " (" + reason + ")");
    return done;
}

} // namespace SelvaneHost

#endif
