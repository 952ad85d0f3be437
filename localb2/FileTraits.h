#pragma once

#include "localb2/Access.h"
#include "localb2/Fields.h"

#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace localb2 {

/// The properties of a new version other than its bytes.
struct FileTraits {
    std::string name;
    std::string type;
    std::map<std::string, std::string> info;
    std::optional<Encryption> encryption;
    std::optional<Retention> retention;
    std::optional<LegalHold> hold;
};

/// @throws Failure `bad_request` for a name that no file may have.
void checkFileName(std::string_view name);

/// Reads them from the headers of an upload.
FileTraits traitsOfUpload(const Request& request);

/// A part must come with the customer key that its file was started with.
void checkPartEncryption(const Request& request, const Encryption& ofFile);

/// Reads them from the JSON of a start or copy; `type` and `info` only if present.
FileTraits traitsOfCall(const Fields& fields);
std::map<std::string, std::string> infoOf(const Fields& fields);
std::optional<Encryption> encryptionOf(const Fields& fields, std::string_view key);
Retention retentionOf(const Fields& fields);
LegalHold legalHoldOf(std::string_view text);

/// Checks limits and rights, applies the bucket's defaults, and makes the version, which has no sequence yet.
FileVersion versionWith(const Core& core, const Caller& caller, const Bucket& bucket, const FileTraits& traits);

std::map<std::string, std::string> infoOfJSON(std::string_view json);
std::string infoJSON(const std::map<std::string, std::string>& info);

/// `b2/x-auto` becomes a type by the name's extension.
std::string resolvedType(std::string_view type, std::string_view name);

} // namespace localb2
