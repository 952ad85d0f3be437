#include "B2Kit/wire/B2Encoding.h"

#include "B2Kit/wire/B2Fields.h"
#include "B2Kit/wire/JSONObject.h"

#include <concepts>
#include <utility>

namespace {

template <class Record>
    requires B2HasFields<Record>
std::string json(const Record& record);

template <class T>
std::string json(const std::vector<T>& values);

std::string json(const std::string& text)
{
    std::string json;
    appendJSONText(json, text);
    return json;
}

std::string json(std::same_as<bool> auto value)
{
    return value ? "true" : "false";
}

template <class Integer>
    requires std::same_as<Integer, int> || std::same_as<Integer, std::int64_t>
std::string json(Integer value)
{
    return std::to_string(value);
}

template <class Tag>
std::string json(const B2OpenText<Tag>& text)
{
    return json(text.rawValue);
}

std::string json(const std::map<std::string, std::string>& map)
{
    JSONObject object;
    for (const auto& [key, value] : map)
        object.set(key, value);
    return std::move(object).text();
}

std::string json(const std::set<B2Capability>& capabilities)
{
    return json(std::vector<B2Capability>(capabilities.begin(), capabilities.end()));
}

std::string json(B2DefaultRetention::Mode mode)
{
    return mode == B2DefaultRetention::Mode::governance ? "\"governance\"" : "\"compliance\"";
}

std::string json(const B2ReplicationStatus& status)
{
    return json(status.text());
}

/// The service's wrapper around a value that a key may lack the right to read.
std::string wrapped(bool isAuthorized, const std::string& value)
{
    return std::move(JSONObject().set("isClientAuthorizedToRead", isAuthorized).setRaw("value", value)).text();
}

std::string json(B2LegalHold hold)
{
    switch (hold) {
    case B2LegalHold::on:
        return wrapped(true, "\"on\"");
    case B2LegalHold::off:
        return wrapped(true, "\"off\"");
    case B2LegalHold::unset:
        return wrapped(true, "null");
    case B2LegalHold::unknown:
        break;
    }
    return wrapped(false, "null");
}

template <class T>
std::string json(const B2Readable<T>& readable)
{
    return readable.isKnown() ? wrapped(true, json(*readable.value())) : wrapped(false, "null");
}

template <class T>
std::string json(const std::vector<T>& values)
{
    std::string list = "[";
    for (const auto& value : values) {
        if (list.size() > 1)
            list += ',';
        list += json(value);
    }
    return list += ']';
}

template <class Value>
void add(JSONObject& object, std::string_view key, const Value& value)
{
    object.setRaw(key, json(value));
}

template <class Value>
void add(JSONObject& object, std::string_view key, const std::optional<Value>& value)
{
    if (value)
        add(object, key, *value);
}

template <class Record>
    requires B2HasFields<Record>
std::string json(const Record& record)
{
    JSONObject object;
    std::apply(
        [&](const auto&... field) { (add(object, field.key, record.*field.member), ...); }, B2Fields<Record>::list);
    return std::move(object).text();
}

template <class Value>
void addOrNull(JSONObject& object, std::string_view key, const std::optional<Value>& value)
{
    object.setRaw(key, value ? json(*value) : "null");
}

std::string json(const B2RetentionUpdate& update)
{
    JSONObject object;
    addOrNull(object, "mode", update.mode);
    add(object, "period", update.period);
    return std::move(object).text();
}

std::string json(const B2EncryptionUpdate& update)
{
    JSONObject object;
    addOrNull(object, "mode", update.mode);
    add(object, "algorithm", update.algorithm);
    return std::move(object).text();
}

} // namespace

template <class Record>
std::string encodeRecord(const Record& record)
{
    return json(record);
}

std::string encodeReplacement(const B2ReplicationConfiguration& configuration)
{
    JSONObject object;
    addOrNull(object, "asReplicationSource", configuration.asReplicationSource);
    addOrNull(object, "asReplicationDestination", configuration.asReplicationDestination);
    return std::move(object).text();
}

template std::string encodeRecord(const B2ApplicationKey&);
template std::string encodeRecord(const B2EncryptionUpdate&);
template std::string encodeRecord(const B2FileRetention&);
template std::string encodeRecord(const B2FileVersion&);
template std::string encodeRecord(const B2LegalHold&);
template std::string encodeRecord(const B2Readable<B2FileLockConfiguration>&);
template std::string encodeRecord(const B2Readable<B2FileRetention>&);
template std::string encodeRecord(const B2Readable<B2ServerSideEncryption>&);
template std::string encodeRecord(const B2ReplicationConfiguration&);
template std::string encodeRecord(const B2ReplicationStatus&);
template std::string encodeRecord(const B2RetentionUpdate&);
template std::string encodeRecord(const B2ServerSideEncryption&);
template std::string encodeRecord(const std::vector<B2CORSRule>&);
template std::string encodeRecord(const std::vector<B2LifecycleRule>&);
