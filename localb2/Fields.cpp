#include "localb2/Fields.h"

#include "localb2/Encoding.h"
#include "localb2/Http.h"

#include <boost/json.hpp>

namespace localb2 {

namespace {

Failure wrongType(std::string_view key, std::string_view expected)
{
    return badRequest("field " + std::string(key) + " must be " + std::string(expected));
}

} // namespace

Fields::Fields(const Request& request)
{
    for (const auto& [key, value] : request.query)
        object_[key] = value;
    if (request.body.empty())
        return;
    boost::system::error_code error;
    auto value = boost::json::parse(request.body, error);
    if (error)
        throw Failure(400, "bad_json", "The body is not valid JSON: " + error.message());
    if (!value.is_object())
        throw Failure(400, "bad_json", "The body is not a JSON object");
    for (auto& [key, member] : value.get_object())
        object_[key] = std::move(member);
}

const boost::json::value* Fields::find(std::string_view key) const
{
    const auto* const value = object_.if_contains(key);
    return value && !value->is_null() ? value : nullptr;
}

std::optional<std::string> Fields::optionalText(std::string_view key) const
{
    const auto* const value = find(key);
    if (!value)
        return std::nullopt;
    const auto* const text = value->if_string();
    if (!text)
        throw wrongType(key, "a string");
    return std::string(*text);
}

std::string Fields::text(std::string_view key) const
{
    auto text = optionalText(key);
    if (!text)
        throw badRequest("required field " + std::string(key) + " cannot be null");
    return std::move(*text);
}

std::optional<std::int64_t> Fields::optionalNumber(std::string_view key) const
{
    const auto* const value = find(key);
    if (!value)
        return std::nullopt;
    if (const auto* const number = value->if_int64())
        return *number;
    // A query carries digits as text.
    const auto* const text = value->if_string();
    const auto number = text ? wholeNumber(*text) : std::nullopt;
    if (!number)
        throw wrongType(key, "a whole number");
    return number;
}

std::int64_t Fields::number(std::string_view key) const
{
    const auto number = optionalNumber(key);
    if (!number)
        throw badRequest("required field " + std::string(key) + " cannot be null");
    return *number;
}

bool Fields::flag(std::string_view key, bool fallback) const
{
    const auto* const value = find(key);
    if (!value)
        return fallback;
    if (const auto* const flag = value->if_bool())
        return *flag;
    const auto* const text = value->if_string();
    if (!text || (*text != "true" && *text != "false"))
        throw wrongType(key, "true or false");
    return *text == "true";
}

std::optional<Fields> Fields::optionalObject(std::string_view key) const
{
    const auto* const value = find(key);
    if (!value)
        return std::nullopt;
    if (!value->is_object())
        throw wrongType(key, "an object");
    return Fields(value->get_object());
}

const boost::json::array* Fields::optionalArray(std::string_view key) const
{
    const auto* const value = find(key);
    if (!value)
        return nullptr;
    if (!value->is_array())
        throw wrongType(key, "a list");
    return &value->get_array();
}

} // namespace localb2
