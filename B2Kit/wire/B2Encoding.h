#pragma once

#include "B2Kit/B2Replication.h"

#include <string>

/// Returns the JSON text of a record, with the keys that it is read with. Absent optional fields are left out.
///
/// Defined for what is sent back or kept: lists of B2LifecycleRule and B2CORSRule, B2RetentionUpdate,
/// B2EncryptionUpdate (both write an absent mode as null, which clears the setting), B2ReplicationConfiguration,
/// B2ReplicationStatus, B2LegalHold, B2FileRetention, B2ServerSideEncryption, B2Readable of these and of
/// B2FileLockConfiguration, B2ApplicationKey and B2FileVersion.
template <class Record>
std::string encodeRecord(const Record& record);

/// Writes a null for a side that is absent, so that the service removes that side.
std::string encodeReplacement(const B2ReplicationConfiguration& configuration);
