#pragma once

#include "B2Kit/wire/JSONValue.h"

#include <memory>
#include <string_view>

// Inside B2Kit: no public header includes this one.

/// A parsed text. Borrows one of a few parsers that all threads share: a parser takes several times the memory of its
/// document, so one for each thread would be far too many.
class JSONDocument {
public:
    /// @throws B2DecodingError for a text that is not JSON, above 64 MB, or nested deeper than 1,024 levels.
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
