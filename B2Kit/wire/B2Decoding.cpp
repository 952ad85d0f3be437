#include "B2Kit/wire/B2Decoding.h"

#include "B2Kit/wire/B2Fields.h"
#include "B2Kit/wire/JSONDocument.h"
#include "B2Kit/wire/JSONValue.h"

#include <algorithm>
#include <array>
#include <bitset>
#include <charconv>
#include <limits>
#include <map>
#include <optional>
#include <set>
#include <tuple>
#include <utility>
#include <vector>

namespace {

// Records whose JSON is not simply their fields.
void readValue(const JSONValue& json, B2Authorization::StorageAPI& api);
void readValue(const JSONValue& json, std::optional<B2DefaultRetention::Mode>& mode);
void readValue(const JSONValue& json, B2DefaultRetention::Period& period);
void readValue(const JSONValue& json, B2LegalHold& hold);
void readValue(const JSONValue& json, std::optional<B2ReplicationStatus>& status);
void readValue(const JSONValue& json, std::optional<B2BucketReplication>& replication);
void readValue(const JSONValue& json, B2ApplicationKey& key);
void readValue(const JSONValue& json, B2CreatedApplicationKey& created);

void readValue(const JSONValue& json, std::string& text)
{
    text = json.text();
}

void readValue(const JSONValue& json, bool& value)
{
    value = json.boolean();
}

void readValue(const JSONValue& json, std::int64_t& value)
{
    value = json.integer();
}

void readValue(const JSONValue& json, int& value)
{
    const auto integer = json.integer();
    if (integer < std::numeric_limits<int>::min() || integer > std::numeric_limits<int>::max())
        json.fail("the number is too large");
    value = static_cast<int>(integer);
}

template <class Tag>
void readValue(const JSONValue& json, B2OpenText<Tag>& text)
{
    text.rawValue = json.text();
}

void readValue(const JSONValue& json, std::map<std::string, std::string>& map)
{
    map.clear();
    for (const auto& [key, value] : json.object()) {
        std::string_view text;
        // Names the map and not the key, which is the user's text.
        if (value.get_string().get(text) != simdjson::SUCCESS)
            json.fail("expected only texts as values");
        map.insert_or_assign(map.end(), std::string(key), text);
    }
}

template <class Record>
    requires B2HasFields<Record>
void readValue(const JSONValue& json, Record& record);

template <class T>
void readValue(const JSONValue& json, std::vector<T>& values);

template <class T>
void readValue(const JSONValue& json, std::optional<T>& value)
{
    readValue(json, value.emplace(T()));
}

template <class T>
void readValue(const JSONValue& json, std::vector<T>& values)
{
    // A list that only claims to be long must not get the memory for it.
    constexpr std::size_t largestReserve = 10'000;
    const auto list = json.list();
    values.clear();
    values.reserve(std::min(list.size(), largestReserve));
    std::size_t index = 0;
    for (const auto element : list)
        readValue(json.at(index++, element), values.emplace_back());
}

void readValue(const JSONValue& json, std::set<B2Capability>& capabilities)
{
    capabilities.clear();
    std::size_t index = 0;
    for (const auto element : json.list())
        capabilities.emplace(std::string(json.at(index++, element).text()));
}

/// The wrapper around a value that the key may lack the right to read.
struct Wrapper {
    bool isAuthorized = true;
    std::optional<JSONValue> value; ///< Unset when it is missing or null.
};

Wrapper readWrapper(const JSONValue& json)
{
    Wrapper wrapper;
    for (const auto& [key, element] : json.object()) {
        const auto value = json.at(key, element);
        if (value.isNull())
            continue;
        if (key == "isClientAuthorizedToRead")
            wrapper.isAuthorized = value.boolean();
        else if (key == "value")
            wrapper.value.emplace(json.at("value", element));
    }
    return wrapper;
}

template <class T>
void readValue(const JSONValue& json, std::optional<B2Readable<T>>& readable)
{
    const auto wrapper = readWrapper(json);
    if (!wrapper.isAuthorized || !wrapper.value) {
        readable = B2Readable<T>::notAuthorized();
        return;
    }
    T value;
    readValue(*wrapper.value, value);
    readable = B2Readable<T>::known(std::move(value));
}

bool looksLikeURL(std::string_view text)
{
    const auto isPlain = [](char character) { return character > ' ' && character != 0x7f; };
    const auto scheme = text.starts_with("https://") ? 8U : text.starts_with("http://") ? 7U : 0U;
    return scheme > 0 && text.size() > scheme && text[scheme] != '/' && std::ranges::all_of(text, isPlain);
}

template <class Record, class Value>
void readField(const JSONValue& json, Record& record, const B2Field<Record, Value>& field)
{
    auto& value = record.*field.member;
    if (field.presence != B2Presence::required && json.isNull())
        return;
    if (field.isURL && !looksLikeURL(json.text()))
        json.fail("expected an address that starts with https");
    if (field.presence != B2Presence::tolerant)
        return readValue(json, value);
    try {
        readValue(json, value);
    } catch (const B2DecodingError&) {
        value = Record().*field.member;
    }
}

/// The properties of each field for `readFields`, by its position in the list.
template <class Record>
struct FieldTable {
    using Read = void (*)(const JSONValue& json, Record& record);

    static constexpr std::size_t count = std::tuple_size_v<decltype(B2Fields<Record>::list)>;

    template <std::size_t index>
    static void read(const JSONValue& json, Record& record)
    {
        readField(json, record, std::get<index>(B2Fields<Record>::list));
    }

    static constexpr auto keys = std::apply(
        [](const auto&... field) { return std::array<std::string_view, count>{field.key...}; }, B2Fields<Record>::list);
    static constexpr auto readers = []<std::size_t... index>(std::index_sequence<index...>) {
        return std::array<Read, count>{&FieldTable::read<index>...};
    }(std::make_index_sequence<count>());
    static constexpr auto isRequired = std::apply(
        [](const auto&... field) { return std::array<bool, count>{(field.presence == B2Presence::required)...}; },
        B2Fields<Record>::list);
};

/// Reads all fields in one pass over the object; if a key occurs twice, the last one counts.
template <class Record>
void readFields(const JSONValue& json, Record& record)
{
    using Table = FieldTable<Record>;
    std::bitset<Table::count> seen;
    for (const auto& [key, value] : json.object()) {
        const auto index = static_cast<std::size_t>(std::ranges::find(Table::keys, key) - Table::keys.begin());
        if (index == Table::count)
            continue;
        Table::readers[index](json.at(Table::keys[index], value), record);
        seen.set(index);
    }
    for (std::size_t index = 0; index < Table::count; ++index) {
        if (Table::isRequired[index] && !seen[index])
            json.failMissing(Table::keys[index]);
    }
}

template <class Record>
    requires B2HasFields<Record>
void readValue(const JSONValue& json, Record& record)
{
    readFields(json, record);
}

std::optional<JSONValue> findValue(const JSONValue& json, std::string_view key)
{
    simdjson::dom::element element;
    if (json.object().at_key(key).get(element) != simdjson::SUCCESS || element.is_null())
        return std::nullopt;
    return json.at(key, element);
}

void readValue(const JSONValue& json, B2Authorization::StorageAPI& api)
{
    const auto storage = findValue(json, "storageApi");
    if (!storage)
        json.failMissing("storageApi");
    readFields(*storage, api);
}

void readValue(const JSONValue& json, std::optional<B2DefaultRetention::Mode>& mode)
{
    const auto text = json.text();
    mode.reset();
    if (text == "governance")
        mode = B2DefaultRetention::Mode::governance;
    else if (text == "compliance")
        mode = B2DefaultRetention::Mode::compliance;
}

void readValue(const JSONValue& json, B2DefaultRetention::Period& period)
{
    if (!json.isText())
        return readFields(json, period);
    // The service has also been seen to write "30 days".
    const auto text = json.text();
    const auto blank = text.find(' ');
    const auto number = text.substr(0, blank);
    const auto unit = blank == std::string_view::npos ? std::string_view() : text.substr(blank + 1);
    const auto [end, error] = std::from_chars(number.data(), number.data() + number.size(), period.duration);
    if (error != std::errc() || end != number.data() + number.size() || unit.empty() || unit.contains(' '))
        json.fail("expected a number and a unit");
    period.unit = unit;
}

void readValue(const JSONValue& json, B2LegalHold& hold)
{
    const auto wrapper = readWrapper(json);
    const auto text = wrapper.value && wrapper.value->isText() ? wrapper.value->text() : std::string_view();
    if (!wrapper.isAuthorized)
        hold = B2LegalHold::unknown;
    else if (text == "on")
        hold = B2LegalHold::on;
    else if (text == "off")
        hold = B2LegalHold::off;
    else
        hold = B2LegalHold::unset;
}

void readValue(const JSONValue& json, std::optional<B2ReplicationStatus>& status)
{
    status = B2ReplicationStatus::fromText(std::string(json.text()));
}

void readValue(const JSONValue& json, std::optional<B2BucketReplication>& replication)
{
    const auto wrapper = readWrapper(json);
    if (!wrapper.isAuthorized) {
        replication = B2BucketReplication::unknown();
    } else if (!wrapper.value) {
        replication = B2BucketReplication::unconfigured();
    } else {
        B2ReplicationConfiguration configuration;
        readValue(*wrapper.value, configuration);
        replication = B2BucketReplication::configured(std::move(configuration));
    }
}

void readValue(const JSONValue& json, B2ApplicationKey& key)
{
    readFields(json, key);
    if (findValue(json, "bucketIds"))
        return;
    // Up to version 3 of the API a key has at most one bucket.
    if (const auto bucketID = findValue(json, "bucketId"))
        key.bucketIDs = {std::string(bucketID->text())};
}

void readValue(const JSONValue& json, B2CreatedApplicationKey& created)
{
    readFields(json, created);
    readValue(json, created.key);
}

/// The answer to `b2_list_buckets` holds the list under one key.
void readAnswer(const JSONValue& json, std::vector<B2Bucket>& buckets)
{
    const auto list = findValue(json, "buckets");
    if (!list)
        json.failMissing("buckets");
    readValue(*list, buckets);
}

template <class Record>
void readAnswer(const JSONValue& json, Record& record)
{
    readValue(json, record);
}

} // namespace

template <class Record>
Record decodeRecord(std::string_view json)
{
    const JSONDocument document(json);
    Record record;
    readAnswer(document.root(), record);
    return record;
}

template B2APIError decodeRecord<B2APIError>(std::string_view);
template B2ApplicationKey decodeRecord<B2ApplicationKey>(std::string_view);
template B2Authorization decodeRecord<B2Authorization>(std::string_view);
template B2Bucket decodeRecord<B2Bucket>(std::string_view);
template B2CancelledLargeFile decodeRecord<B2CancelledLargeFile>(std::string_view);
template B2CopiedPart decodeRecord<B2CopiedPart>(std::string_view);
template B2CreatedApplicationKey decodeRecord<B2CreatedApplicationKey>(std::string_view);
template B2DeletedFileVersion decodeRecord<B2DeletedFileVersion>(std::string_view);
template B2DownloadAuthorization decodeRecord<B2DownloadAuthorization>(std::string_view);
template B2FileListPage decodeRecord<B2FileListPage>(std::string_view);
template B2FileVersion decodeRecord<B2FileVersion>(std::string_view);
template B2KeysPage decodeRecord<B2KeysPage>(std::string_view);
template B2LegalHoldResult decodeRecord<B2LegalHoldResult>(std::string_view);
template B2Part decodeRecord<B2Part>(std::string_view);
template B2PartsPage decodeRecord<B2PartsPage>(std::string_view);
template B2UnfinishedLargeFilesPage decodeRecord<B2UnfinishedLargeFilesPage>(std::string_view);
template B2UploadPartTarget decodeRecord<B2UploadPartTarget>(std::string_view);
template B2UploadTarget decodeRecord<B2UploadTarget>(std::string_view);
template std::vector<B2Bucket> decodeRecord<std::vector<B2Bucket>>(std::string_view);
