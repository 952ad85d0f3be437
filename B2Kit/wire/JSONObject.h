#pragma once

#include <concepts>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// Writes the text of one JSON object, field after field in the order of the calls.
///
/// Texts are UTF-8 and stay raw except for quotes, backslashes and control characters; other bytes become U+FFFD.
/// Nothing checks that a key is set only once.
class JSONObject {
public:
    JSONObject& set(std::string_view key, std::string_view value);
    JSONObject& set(std::string_view key, std::int64_t value);
    JSONObject& set(std::string_view key, int value) { return set(key, std::int64_t{value}); }
    // A template, since a pointer to characters would otherwise convert to bool.
    JSONObject& set(std::string_view key, std::same_as<bool> auto value)
    {
        return setRaw(key, value ? "true" : "false");
    }
    JSONObject& set(std::string_view key, const std::vector<std::string>& values);
    JSONObject& set(std::string_view key, const std::map<std::string, std::string>& values);

    /// Leaves the field out when there is no value.
    template <class Value>
    JSONObject& setIfPresent(std::string_view key, const std::optional<Value>& value)
    {
        return value ? set(key, *value) : *this;
    }

    JSONObject& setNull(std::string_view key) { return setRaw(key, "null"); }

    /// @param json  a complete JSON value, inserted as it is.
    JSONObject& setRaw(std::string_view key, std::string_view json);

    /// Returns the object's text; the writer must not be used again.
    std::string text() &&;

private:
    void startField(std::string_view key);

    std::string text_ = "{";
};

/// Appends a text as a JSON string, with its quotes.
void appendJSONText(std::string& json, std::string_view text);
