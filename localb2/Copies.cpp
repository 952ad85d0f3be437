#include "localb2/Calls.h"

#include "localb2/Content.h"
#include "localb2/Encoding.h"
#include "localb2/FileTraits.h"

#include <algorithm>

namespace localb2 {

namespace {

constexpr std::int64_t highestLength = 5'000'000'000;

struct Range {
    std::int64_t first = 0;
    std::int64_t length = 0;
    bool isWhole = true;
};

/// The source of a copy, which the client may read.
struct Source {
    Located located;
    Range range;
};

Range rangeOf(const std::optional<std::string>& text, std::int64_t size)
{
    if (!text)
        return {0, size, true};
    const std::string_view range = *text;
    const auto dash = range.find('-');
    if (!range.starts_with("bytes=") || dash == std::string_view::npos)
        throw badRequest("Malformed range: " + text->substr(0, 80));
    const auto first = wholeNumber(range.substr(6, dash - 6));
    const auto last = wholeNumber(range.substr(dash + 1));
    if (!first || !last || *last < *first)
        throw badRequest("Malformed range: " + text->substr(0, 80));
    if (*first >= size)
        throw Failure(416, "range_not_satisfiable", "The range is outside of the source");
    const auto end = std::min(*last, size - 1) + 1;
    return {*first, end - *first, *first == 0 && end == size};
}

Source sourceOf(Core& core, const Caller& caller, const Fields& fields)
{
    const auto fileID = fields.text("sourceFileId");
    auto located = versionByID(core, caller, fileID);
    if (!located || located->version.kind != FileVersion::Kind::upload)
        throw Failure(400, "file_not_present", "Copy source not present: " + fileID);
    if (!located->bucket.isPublic())
        caller.need(Capability::readFiles);
    if (located->version.encryption.mode == Encryption::Mode::customer) {
        const auto given = encryptionOf(fields, "sourceServerSideEncryption");
        if (!given)
            throw badRequest("The source is encrypted with a customer key, which must be given");
        if (given->customerKeyMD5 != located->version.encryption.customerKeyMD5)
            throw Failure(403, "access_denied", "The customer key is not the one of the source");
    }
    const auto range = rangeOf(fields.optionalText("range"), located->version.length);
    if (range.length > highestLength)
        throw Failure(400, "source_too_large", "Copy source too big: " + std::to_string(range.length));
    return {std::move(*located), range};
}

/// Copies bytes into a separate body. Takes no lock.
void copyBytes(std::vector<Slice> slices, Core& core, BodyWriter& writer)
{
    SliceReader reader(std::move(slices));
    std::vector<char> buffer(262'144);
    while (const auto count = reader.read(buffer)) {
        writer.add(std::span(buffer).first(count));
        if (core.stop.isRequested())
            throw Disconnected();
    }
    writer.finish();
}

FileTraits traitsOfCopy(const Fields& fields, const FileVersion& source)
{
    auto traits = traitsOfCall(fields);
    const auto directive = fields.optionalText("metadataDirective").value_or("COPY");
    if (directive == "REPLACE") {
        if (traits.type.empty())
            throw badRequest("contentType is required with metadataDirective REPLACE");
    } else if (directive == "COPY") {
        if (fields.find("contentType") || fields.find("fileInfo"))
            throw badRequest("contentType and fileInfo are not allowed with metadataDirective COPY");
        traits.type = source.type;
        traits.info = infoOfJSON(source.info);
    } else {
        throw badRequest("Unknown metadataDirective: " + directive.substr(0, 40));
    }
    traits.encryption = encryptionOf(fields, "destinationServerSideEncryption");
    return traits;
}

/// The copy shares the bodies of its source.
void shareContent(Core& core, const FileVersion& source, FileVersion& copy)
{
    copy.length = source.length;
    copy.sha1 = source.sha1;
    copy.md5 = source.md5;
    copy.body = source.body;
    if (copy.body)
        core.bodies.addUser(*copy.body);
    core.versions.insert(copy);
    if (copy.body)
        return;
    for (auto part : core.versions.parts(source.sequence)) {
        core.bodies.addUser(part.body);
        part.file = copy.sequence;
        core.versions.insertPart(part);
    }
}

} // namespace

Answer copyFile(Core& core, const Request& request, int apiVersion)
{
    std::unique_lock lock(core.mutex);
    const auto caller = callerOf(core, tokenOf(request), Token::Kind::account);
    const Fields fields(request);
    caller.need(Capability::writeFiles);
    caller.needName(fields.text("fileName"));
    const auto destination = fields.optionalText("destinationBucketId");
    if (destination)
        caller.needBucket(*destination);
    const auto [located, range] = sourceOf(core, caller, fields);
    const auto bucketID = destination.value_or(located.bucket.id);
    const auto bucket = bucketFor(core, caller, bucketID);
    auto copy = versionWith(core, caller, bucket, traitsOfCopy(fields, located.version));
    if (range.isWhole) {
        Change change(core);
        shareContent(core, located.version, copy);
        change.commit();
    } else {
        auto slices = slicesOf(core, located.version, range.first, range.length);
        lock.unlock();
        BodyWriter writer(core.bodies);
        copyBytes(std::move(slices), core, writer);
        lock.lock();
        bucketFor(core, caller, bucketID);
        Change change(core);
        copy.length = range.length;
        copy.sha1 = writer.hashes().sha1;
        copy.md5 = writer.hashes().md5;
        copy.body = core.bodies.store(writer);
        core.versions.insert(copy);
        change.commit();
    }
    Answer answer;
    appendFileRecord(answer.body, copy, styleFor(core, caller, bucket, apiVersion), "copy");
    return answer;
}

Answer copyPart(Core& core, const Request& request)
{
    std::unique_lock lock(core.mutex);
    const auto caller = callerOf(core, tokenOf(request), Token::Kind::account);
    const Fields fields(request);
    const auto fileID = fields.text("largeFileId");
    const auto number = partNumberOf(fields.number("partNumber"));
    caller.need(Capability::writeFiles);
    const auto file = activeUpload(core, caller, fileID).version;
    const auto [located, range] = sourceOf(core, caller, fields);
    if (range.length == 0)
        throw badRequest("A part has at least 1 byte");
    auto slices = slicesOf(core, located.version, range.first, range.length);
    Part part{.file = file.sequence, .number = number, .length = range.length, .started = core.nowInSeconds()};
    lock.unlock();

    BodyWriter writer(core.bodies);
    copyBytes(std::move(slices), core, writer);

    lock.lock();
    activeUpload(core, caller, fileID);
    Change change(core);
    part.finished = core.now();
    part.sha1 = writer.hashes().sha1;
    part.md5 = writer.hashes().md5;
    part.body = core.bodies.store(writer);
    storePart(core, part);
    change.commit();
    Answer answer;
    appendPartRecord(answer.body, part, fileID, file.encryption, part.finished);
    return answer;
}

} // namespace localb2
