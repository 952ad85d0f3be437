#pragma once

#include "B2Kit/wire/JSONValue.h"

#include <memory>
#include <string_view>

// Inside B2Kit: no header that others read includes this one.

/// A parsed text. It borrows one of a few kept parsers, whichever thread it is on: a parser takes several times the
/// memory of its document, so one for each thread would be many too many.
class JSONDocument {
public:
    /// @throws B2DecodingError for a text that is no JSON, above 64 MB, or nested deeper than 1,024 levels.
    explicit JSONDocument(std::string_view json);
    JSONDocument(const JSONDocument&) = delete;
    JSONDocument& operator=(const JSONDocument&) = delete;
    ~JSONDocument();

    /// Borrows the document.
    JSONValue root() const { return JSONValue(root_); }

private:
    std::unique_ptr<simdjson::dom::parser> parser_;
    simdjson::dom::element root_;
};
