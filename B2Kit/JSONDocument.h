#pragma once

#include "B2Kit/JSONValue.h"

#include <string_view>

// Inside B2Kit: no header that others read includes this one.

/// A parsed text. It lives in the parser of its thread, so a thread has one document at a time.
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
    void releaseLargeParser() const;

    std::size_t byteCount_;
    simdjson::dom::element root_;
};
