#pragma once

#include <boost/json/object.hpp>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace localb2 {

struct Request;

/// The fields of a call: those of its JSON body, and those of its query.
///
/// An explicit null counts as absent. A field of the wrong type is refused with `bad_request`.
class Fields {
public:
    /// @throws Failure `bad_json` when the body is no JSON object.
    explicit Fields(const Request& request);
    explicit Fields(boost::json::object object)
        : object_(std::move(object))
    {
    }

    /// @throws Failure when the field is missing, like every getter that does not return an optional.
    std::string text(std::string_view key) const;
    std::optional<std::string> optionalText(std::string_view key) const;
    std::int64_t number(std::string_view key) const;
    std::optional<std::int64_t> optionalNumber(std::string_view key) const;
    bool flag(std::string_view key, bool fallback) const;

    /// Null when absent or null.
    const boost::json::value* find(std::string_view key) const;
    std::optional<Fields> optionalObject(std::string_view key) const;
    const boost::json::array* optionalArray(std::string_view key) const;
    /// Is the field present, even as null?
    bool holds(std::string_view key) const { return object_.contains(key); }

    const boost::json::object& object() const { return object_; }

private:
    boost::json::object object_;
};

} // namespace localb2
