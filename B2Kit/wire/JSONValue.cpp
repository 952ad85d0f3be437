#include "B2Kit/wire/JSONValue.h"

#include "B2Kit/wire/B2Decoding.h"

#include <cmath>

std::string_view JSONValue::text() const
{
    std::string_view text;
    if (element_.get_string().get(text) != simdjson::SUCCESS)
        fail("expected a text");
    return text;
}

bool JSONValue::boolean() const
{
    bool value = false;
    if (element_.get_bool().get(value) != simdjson::SUCCESS)
        fail("expected true or false");
    return value;
}

std::int64_t JSONValue::integer() const
{
    std::int64_t value = 0;
    if (element_.get_int64().get(value) == simdjson::SUCCESS)
        return value;
    constexpr double exactLimit = 9007199254740992.0; // 2^53
    double number = 0;
    if (element_.is_double() && element_.get_double().get(number) == simdjson::SUCCESS && std::abs(number) <= exactLimit
        && std::trunc(number) == number)
        return static_cast<std::int64_t>(number);
    fail("expected a whole number");
}

simdjson::dom::object JSONValue::object() const
{
    simdjson::dom::object object;
    if (element_.get_object().get(object) != simdjson::SUCCESS)
        fail("expected an object");
    return object;
}

simdjson::dom::array JSONValue::list() const
{
    simdjson::dom::array list;
    if (element_.get_array().get(list) != simdjson::SUCCESS)
        fail("expected a list");
    return list;
}

void JSONValue::fail(std::string_view problem) const
{
    auto text = path();
    if (!text.empty())
        text += ": ";
    throw B2DecodingError(text.append(problem));
}

void JSONValue::failMissing(std::string_view key) const
{
    at(key, element_).fail("missing");
}

std::string JSONValue::path() const
{
    if (!parent_)
        return {};
    auto path = parent_->path();
    if (key_.empty())
        return path.append("[").append(std::to_string(index_)).append("]");
    if (!path.empty())
        path += '.';
    return path.append(key_);
}
