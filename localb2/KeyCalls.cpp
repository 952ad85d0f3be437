#include "localb2/Calls.h"

#include "localb2/Encoding.h"

#include <boost/json.hpp>

#include <algorithm>

namespace localb2 {

namespace {

void appendKeyRecord(std::string& out, const Key& key, int apiVersion, bool showsSecret)
{
    JSONObject record(out);
    record.text("accountId", key.accountID);
    if (showsSecret)
        record.text("applicationKey", key.secret);
    record.text("applicationKeyId", key.id);
    if (apiVersion < 4) {
        record.textOrNull("bucketId", key.bucketIDs ? key.bucketIDs->front() : std::string());
    } else if (key.bucketIDs) {
        auto& list = record.value("bucketIds");
        list += '[';
        for (const auto& id : *key.bucketIDs) {
            list += list.back() == '[' ? "" : ",";
            appendQuoted(list, id);
        }
        list += ']';
    } else {
        record.null("bucketIds");
    }
    record.raw("capabilities", key.capabilities.json());
    if (key.expires)
        record.number("expirationTimestamp", *key.expires);
    else
        record.null("expirationTimestamp");
    record.text("keyName", key.name);
    record.textOrNull("namePrefix", key.prefix);
    record.raw("options", R"(["s3"])");
}

void checkKeyName(std::string_view name)
{
    const bool isGood = !name.empty() && name.size() <= 100 && std::ranges::all_of(name, [](char c) {
        return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '-';
    });
    if (!isGood)
        throw badRequest("keyName is 1 to 100 letters, digits and \"-\"");
}

Capabilities capabilitiesOf(const Fields& fields)
{
    const auto* const list = fields.optionalArray("capabilities");
    if (!list || list->empty())
        throw badRequest("capabilities must not be empty");
    Capabilities capabilities;
    for (const auto& value : *list) {
        const auto capability = value.is_string() ? Capabilities::named(value.get_string()) : std::nullopt;
        if (!capability)
            throw badRequest("Unknown capability: " + boost::json::serialize(value).substr(0, 80));
        capabilities.add(*capability);
    }
    return capabilities;
}

std::optional<std::vector<std::string>> bucketsOf(const Call& call)
{
    std::vector<std::string> ids;
    if (call.apiVersion < 4) {
        if (const auto id = call.fields.optionalText("bucketId"))
            ids.push_back(*id);
    } else {
        if (call.fields.find("bucketId"))
            throw badRequest("bucketId is not a field of this version, use bucketIds");
        if (const auto* const list = call.fields.optionalArray("bucketIds")) {
            for (const auto& value : *list) {
                if (!value.is_string())
                    throw badRequest("bucketIds holds text only");
                ids.emplace_back(value.get_string());
            }
        }
    }
    if (ids.empty())
        return std::nullopt;
    for (const auto& id : ids) {
        const auto bucket = call.core.buckets.byID(id);
        if (!bucket || bucket->accountID != call.caller.accountID())
            throw Failure(400, "bad_bucket_id", "Bucket " + id + " does not exist");
    }
    return ids;
}

/// Version 4 serves keys over several buckets, the other versions the rest, unless they are joined.
bool isServedBy(const Call& call, const Key& key)
{
    if (call.apiVersion >= 4)
        return call.core.settings.areKeysJoined || key.isMultiBucket();
    return !key.isMultiBucket();
}

} // namespace

std::string createKey(Call& call)
{
    call.needOwnAccount();
    const auto name = call.fields.text("keyName");
    const auto duration = call.fields.optionalNumber("validDurationInSeconds");
    call.caller.need(Capability::writeKeys);
    checkKeyName(name);
    Key key{.accountID = call.caller.accountID(), .name = name, .capabilities = capabilitiesOf(call.fields)};
    if (duration) {
        if (*duration < 1 || *duration >= 86'400'000)
            throw badRequest("validDurationInSeconds must be from 1 to below 86400000");
        key.expires = call.core.now() + *duration * 1000;
    }
    key.bucketIDs = bucketsOf(call);
    key.prefix = call.fields.optionalText("namePrefix").value_or("");
    if (key.bucketIDs) {
        for (const auto capability :
            {Capability::listKeys, Capability::writeKeys, Capability::deleteKeys, Capability::deleteBuckets}) {
            if (key.capabilities.has(capability))
                throw badRequest("A key restricted to buckets cannot have account-wide capabilities");
        }
    }
    call.core.keys.insert(key);
    std::string out;
    appendKeyRecord(out, key, call.apiVersion, true);
    return out;
}

std::string listKeys(Call& call)
{
    call.needOwnAccount();
    const auto start = call.fields.optionalText("startApplicationKeyId").value_or("");
    auto count = call.fields.optionalNumber("maxKeyCount").value_or(100);
    call.caller.need(Capability::listKeys);
    if (count < 0 || count > 10000)
        throw Failure(400, "out_of_range", "maxKeyCount is at most 10000");
    if (count == 0)
        count = 100;
    std::string out = "{\"keys\":[";
    std::int64_t rows = 0;
    std::string next;
    for (const auto& key : call.core.keys.ofAccount(call.caller.accountID(), start)) {
        if (!isServedBy(call, key))
            continue;
        if (rows == count) {
            next = key.id;
            break;
        }
        out += rows++ > 0 ? "," : "";
        appendKeyRecord(out, key, call.apiVersion, false);
    }
    out += "],\"nextApplicationKeyId\":";
    if (next.empty())
        out += "null";
    else
        appendQuoted(out, next);
    return out += '}';
}

std::string deleteKey(Call& call)
{
    const auto id = call.fields.text("applicationKeyId");
    call.caller.need(Capability::deleteKeys);
    const auto key = call.core.keys.byID(id);
    if (!key || key->isMaster || key->accountID != call.caller.accountID())
        throw badRequest("Application key " + id.substr(0, 80) + " does not exist");
    if (!isServedBy(call, *key))
        throw badRequest("Application key " + id + " is not served by this API version");
    Change change(call.core);
    call.core.keys.erase(id);
    call.core.tokens.eraseOfKey(id);
    change.commit();
    std::string out;
    appendKeyRecord(out, *key, call.apiVersion, false);
    return out;
}

} // namespace localb2
