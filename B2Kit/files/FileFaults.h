#pragma once

#include "B2Kit/B2Error.h"
#include "B2Kit/files/B2Place.h"

/// Makes the error for a download that could not be written.
///
/// @param destination  where the file was to go; the sentence names it and its folder.
/// @param neededBytes  size of the whole file, or -1 when it is unknown.
B2FileError writeFault(const std::filesystem::path& destination, int systemError, std::int64_t neededBytes);

/// Checks, before anything is asked of the service, that a file can be written at the destination: the folder
/// exists and is writable, the name fits, and no folder has that name.
/// @throws B2FileError
void checkDestination(const B2Place& destination);
