#pragma once

#include "B2Kit/B2Download.h"
#include "B2Kit/transport/B2Transport.h"

#include <cstdint>
#include <string>

// Inside B2Kit: the headers of a download.

/// @param deliveredBytes  length of the body that arrived.
B2FileMetadata metadataFrom(const B2HTTPResponse& response, std::int64_t deliveredBytes);

/// Returns why the bytes cannot be checked, or nothing when they can.
std::optional<B2ChecksumSkipReason> reasonNotToCheck(const B2FileMetadata& metadata, bool verifies);

/// @param actualSHA1  of the bytes that arrived, lowercase.
/// @throws B2Error (`ChecksumMismatch`) when it is not the published one.
B2ChecksumOutcome checkedAgainst(const B2FileMetadata& metadata, const std::string& actualSHA1);
