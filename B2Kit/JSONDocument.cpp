#include "B2Kit/JSONDocument.h"

#include "B2Kit/B2Decoding.h"

#include <string>

namespace {

constexpr std::size_t largestDocumentBytes = 64'000'000;

/// A parser takes up to 15 times the bytes of its largest document; one that has grown over 16 MB is not kept.
constexpr std::size_t largestKeptDocumentBytes = 1'048'576;

simdjson::dom::parser& threadParser()
{
    thread_local simdjson::dom::parser parser(largestDocumentBytes);
    return parser;
}

std::string explain(simdjson::error_code error)
{
    switch (error) {
    case simdjson::EMPTY:
        return "the answer is empty";
    case simdjson::CAPACITY:
    case simdjson::MEMALLOC:
        return "the answer is too large";
    case simdjson::DEPTH_ERROR:
        return "the answer is nested too deeply";
    case simdjson::UTF8_ERROR:
    case simdjson::STRING_ERROR:
        return "the answer holds a damaged text";
    case simdjson::NUMBER_ERROR:
        return "the answer holds a damaged number";
    default:
        return "the answer is no valid JSON";
    }
}

} // namespace

JSONDocument::JSONDocument(std::string_view json)
    : byteCount_(json.size())
{
    if (const auto error = threadParser().parse(json.data(), json.size()).get(root_)) {
        releaseLargeParser();
        throw B2DecodingError(explain(error));
    }
}

JSONDocument::~JSONDocument()
{
    releaseLargeParser();
}

void JSONDocument::releaseLargeParser() const
{
    if (byteCount_ > largestKeptDocumentBytes)
        threadParser() = simdjson::dom::parser(largestDocumentBytes);
}
