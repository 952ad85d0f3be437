#include "B2Kit/wire/JSONDocument.h"

#include "B2Kit/wire/B2Decoding.h"

#include <bit>
#include <string>

namespace {

constexpr std::size_t largestDocumentBytes = 64'000'000;

/// A parser takes up to 15 times the bytes of its largest document; one that has grown beyond 16 MB is not kept.
constexpr std::size_t largestKeptDocumentBytes = 1'048'576;

using Parser = simdjson::dom::parser;

/// Keeps idle parsers for the next documents. Thread-safe.
class IdleParsers {
public:
    /// Takes the parser used last.
    std::unique_ptr<Parser> take()
    {
        const std::lock_guard lock(mutex_);
        if (parsers_.empty())
            return std::make_unique<Parser>(largestDocumentBytes);
        auto parser = std::move(parsers_.back());
        parsers_.pop_back();
        return parser;
    }

    void giveBack(std::unique_ptr<Parser> parser)
    {
        constexpr std::size_t mostParsers = 2;
        const std::lock_guard lock(mutex_);
        if (parsers_.size() < mostParsers && parser->capacity() <= largestKeptDocumentBytes)
            parsers_.push_back(std::move(parser));
    }

private:
    std::mutex mutex_;
    std::vector<std::unique_ptr<Parser>> parsers_;
};

IdleParsers& idleParsers()
{
    // Leaked on purpose: tasks may still end while static objects are destroyed.
    static auto* const idle = new IdleParsers;
    return *idle;
}

/// The capacity for a document. A parser would grow to exactly its size, and again with every slightly longer page.
void grow(Parser& parser, std::size_t byteCount)
{
    constexpr std::size_t smallest = 65'536;
    const auto wanted = std::max(std::bit_ceil(byteCount), smallest);
    if (parser.capacity() < byteCount && wanted <= largestDocumentBytes)
        static_cast<void>(parser.allocate(wanted)); // Parsing fails if there is too little.
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
    : parser_(idleParsers().take())
{
    grow(*parser_, json.size());
    if (const auto error = parser_->parse(json.data(), json.size()).get(root_)) {
        idleParsers().giveBack(std::move(parser_));
        throw B2DecodingError(explain(error));
    }
}

JSONDocument::~JSONDocument()
{
    idleParsers().giveBack(std::move(parser_));
}
