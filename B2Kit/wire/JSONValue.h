#pragma once

#include <simdjson.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

// Inside B2Kit: no public header includes this one.

/// A value of a parsed document that knows its place, so that an error can name it.
///
/// Borrows its parent value and the document: both outlive it. The accessors throw B2DecodingError for a value of
/// another type.
class JSONValue {
public:
    explicit JSONValue(simdjson::dom::element document)
        : element_(document)
    {
    }

    /// The value of a key of this object.
    JSONValue at(std::string_view key, simdjson::dom::element value) const { return JSONValue(value, this, key, 0); }
    /// An element of this list.
    JSONValue at(std::size_t index, simdjson::dom::element value) const { return JSONValue(value, this, {}, index); }

    bool isNull() const { return element_.is_null(); }
    bool isText() const { return element_.is_string(); }

    std::string_view text() const;
    bool boolean() const;
    /// Accepts a fraction of zeros too, within the range where the number is exact.
    std::int64_t integer() const;
    simdjson::dom::object object() const;
    simdjson::dom::array list() const;

    /// @param problem  a few words, such as "expected a text".
    [[noreturn]] void fail(std::string_view problem) const;
    [[noreturn]] void failMissing(std::string_view key) const;

private:
    JSONValue(simdjson::dom::element element, const JSONValue* parent, std::string_view key, std::size_t index)
        : element_(element)
        , parent_(parent)
        , key_(key)
        , index_(index)
    {
    }

    /// "files[12].fileName"; empty for the document.
    std::string path() const;

    simdjson::dom::element element_;
    const JSONValue* parent_ = nullptr;
    std::string_view key_; ///< Empty for an element of a list.
    std::size_t index_ = 0;
};
