#include "localb2/Control.h"

#include "localb2/Content.h"
#include "localb2/Encoding.h"
#include "localb2/Fields.h"

#include <vector>

namespace localb2 {

namespace {

std::string done()
{
    return "{}";
}

std::string faults(Core& core, const Request& request)
{
    if (request.method == "POST")
        core.faults.add(request.body);
    else if (request.method == "DELETE")
        core.faults.clear();
    return core.faults.json();
}

/// Does the same as DELETE, for clients that only know GET and POST.
std::string clearFaults(Core& core, const Request&)
{
    core.faults.clear();
    return core.faults.json();
}

std::string expireTokens(Core& core, const Request& request)
{
    const std::scoped_lock lock(core.mutex);
    const auto kind = Fields(request).optionalText("kind").value_or("all");
    static constexpr std::pair<std::string_view, Token::Kind> kinds[] = {{"account", Token::Kind::account},
        {"upload", Token::Kind::upload}, {"part", Token::Kind::part}, {"download", Token::Kind::download}};
    for (const auto& [name, value] : kinds) {
        if (kind == "all" || kind == name)
            core.tokens.expireAll(value);
    }
    return done();
}

std::string clock(Core& core, const Request& request)
{
    const Fields fields(request);
    if (request.method == "POST")
        core.settings.clockOffset = fields.number("offsetMilliseconds");
    std::string out;
    {
        JSONObject answer(out);
        answer.number("now", core.now());
        answer.number("offsetMilliseconds", core.settings.clockOffset);
    }
    return out;
}

std::string options(Core& core, const Request& request)
{
    const std::scoped_lock lock(core.mutex);
    const Fields fields(request);
    auto& settings = core.settings;
    if (request.method == "POST") {
        settings.areKeysJoined = fields.flag("keysJoined", settings.areKeysJoined);
        settings.areMarkerHashesNull = fields.flag("markerHashesNull", settings.areMarkerHashesNull);
        settings.wrongKeyCode = fields.optionalText("wrongKeyCode").value_or(settings.wrongKeyCode);
        settings.metadataLimit = fields.optionalNumber("metadataLimit").value_or(settings.metadataLimit);
        settings.latencyMilliseconds =
            fields.optionalNumber("latencyMilliseconds").value_or(settings.latencyMilliseconds);
        if (const auto percent = fields.optionalNumber("testModePercent"))
            settings.testModeRate = static_cast<double>(*percent) / 100;
    }
    std::string out;
    {
        JSONObject answer(out);
        answer.boolean("keysJoined", settings.areKeysJoined);
        answer.boolean("markerHashesNull", settings.areMarkerHashesNull);
        answer.text("wrongKeyCode", settings.wrongKeyCode);
        answer.number("metadataLimit", settings.metadataLimit);
        answer.number("latencyMilliseconds", settings.latencyMilliseconds);
        answer.number("testModePercent", static_cast<std::int64_t>(settings.testModeRate * 100));
    }
    return out;
}

std::string requests(Core& core, const Request& request)
{
    if (request.method == "DELETE") {
        core.journal.clear();
        return done();
    }
    return core.journal.requestsJSON(Fields(request).optionalNumber("after").value_or(0));
}

std::string counts(Core& core, const Request& request)
{
    if (request.method == "DELETE") {
        core.journal.clear();
        return done();
    }
    return core.journal.countsJSON();
}

std::string digest(Core& core, const Request& request)
{
    const Fields fields(request);
    const auto bucketName = fields.text("bucket");
    const auto fileName = fields.text("file");
    std::unique_lock lock(core.mutex);
    const auto bucket = core.buckets.byName(bucketName);
    const auto version = bucket ? core.versions.newest(bucket->row, fileName) : std::nullopt;
    if (!version || version->kind != FileVersion::Kind::upload)
        throw Failure(404, "not_found", "No such file: " + bucketName + "/" + fileName);
    SliceReader reader(slicesOf(core, *version, 0, version->length));
    const auto fileID = fileIDOf(bucket->id, *version);
    lock.unlock();
    Digests digests(false);
    std::vector<char> buffer(262'144);
    while (const auto count = reader.read(buffer))
        digests.add(std::span(buffer).first(count));
    std::string out;
    {
        JSONObject answer(out);
        answer.text("sha1", digests.finish().sha1);
        answer.number("length", version->length);
        answer.text("fileId", fileID);
    }
    return out;
}

std::string accounts(Core& core, const Request& request)
{
    const std::scoped_lock lock(core.mutex);
    if (request.method == "POST")
        core.keys.createAccount(Fields(request).optionalText("email").value_or("someone@example.com"));
    std::string out = "{\"accounts\":[";
    for (const auto& account : core.keys.accounts()) {
        const auto key = core.keys.masterKey(account.id);
        if (!key)
            continue;
        out += out.back() == '[' ? "" : ",";
        JSONObject record(out);
        record.text("accountId", account.id);
        record.text("email", account.email);
        record.text("applicationKeyId", key->id);
        record.text("applicationKey", key->secret);
    }
    return out += "]}";
}

std::string keys(Core& core, const Request&)
{
    const std::scoped_lock lock(core.mutex);
    std::string out = "{\"keys\":[";
    for (const auto& account : core.keys.accounts()) {
        for (const auto& key : core.keys.ofAccount(account.id, "")) {
            out += out.back() == '[' ? "" : ",";
            JSONObject record(out);
            record.text("accountId", account.id);
            record.text("keyName", key.name);
            record.text("applicationKeyId", key.id);
            record.text("applicationKey", key.secret);
        }
    }
    return out += "]}";
}

/// A page in a browser can reach a loopback port too, but its request says so.
void refuseWebPages(const Request& request)
{
    const auto* const host = request.header("Host");
    const auto name = host ? std::string_view(*host).substr(0, host->rfind(':')) : std::string_view();
    if (request.header("Origin") || (name != "127.0.0.1" && name != "localhost"))
        throw Failure(403, "access_denied", "Only for programs on this machine");
}

} // namespace

Answer serveControl(Core& core, const Request& request, std::string_view path)
{
    refuseWebPages(request);
    using Handler = std::string (*)(Core&, const Request&);
    static constexpr std::pair<std::string_view, Handler> handlers[] = {
        {"faults", faults},
        {"faults/clear", clearFaults},
        {"expire-tokens", expireTokens},
        {"clock", clock},
        {"options", options},
        {"requests", requests},
        {"counts", counts},
        {"digest", digest},
        {"accounts", accounts},
        {"keys", keys},
    };
    for (const auto& [name, handler] : handlers) {
        if (path == name)
            return {.body = handler(core, request)};
    }
    throw Failure(404, "not_found", "Nothing under /_local/" + std::string(path.substr(0, 100)));
}

} // namespace localb2
