#include "B2Kit/B2Authorization.h"
#include "B2Kit/B2Bucket.h"
#include "B2Kit/B2Error.h"
#include "B2Kit/B2File.h"
#include "B2Kit/B2Key.h"
#include "B2Kit/uploads/B2Upload.h"
#include "B2Kit/wire/B2Decoding.h"
#include "B2Kit/wire/B2Encoding.h"

#include <cstdlib>
#include <cstring>

namespace {

template <class Record>
std::optional<Record> decode(std::string_view json)
{
    try {
        return decodeRecord<Record>(json);
    } catch (const B2DecodingError& error) {
        if (std::strlen(error.what()) > 200)
            std::abort();
        return std::nullopt;
    }
}

/// What was read can be kept and read again.
template <class Record>
void decodeAndKeep(std::string_view json)
{
    const auto record = decode<Record>(json);
    if (record && decode<Record>(encodeRecord(*record)) != record)
        std::abort();
}

void deriveTexts(const B2FileVersion& version)
{
    version.id();
    version.lastModified();
    version.largeFileSHA1();
    version.usesCustomerKey();
}

void deriveTexts(const B2Bucket& bucket)
{
    bucket.fileLockSummary();
    validationMessage(bucket.corsRules);
    for (const auto& rule : bucket.corsRules)
        rule.validationMessage();
    if (bucket.replication && bucket.replication->configuration())
        bucket.replication->configuration()->summary(std::nullopt);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string_view json(reinterpret_cast<const char*>(data), size);
    decodeAndKeep<B2ApplicationKey>(json);
    decodeAndKeep<B2FileVersion>(json);
    decode<B2APIError>(json);
    decode<B2Authorization>(json);
    decode<B2CancelledLargeFile>(json);
    decode<B2CopiedPart>(json);
    decode<B2CreatedApplicationKey>(json);
    decode<B2DeletedFileVersion>(json);
    decode<B2DownloadAuthorization>(json);
    decode<B2KeysPage>(json);
    decode<B2LegalHoldResult>(json);
    decode<B2Part>(json);
    decode<B2PartsPage>(json);
    decode<B2UnfinishedLargeFilesPage>(json);
    decode<B2UploadPartTarget>(json);
    decode<B2UploadTarget>(json);
    decode<std::vector<B2Bucket>>(json);
    if (const auto bucket = decode<B2Bucket>(json))
        deriveTexts(*bucket);
    if (const auto page = decode<B2FileListPage>(json))
        for (const auto& version : page->files)
            deriveTexts(version);
    return 0;
}
