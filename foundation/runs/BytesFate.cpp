#include "foundation/runs/BytesFate.h"

#include "foundation/Texts.h"

#include <fmt/format.h>

#include <string_view>

namespace {

std::string filesText(const BytesFate& fate, std::string_view verb)
{
    if (fate.total == 0)
        return fmt::format("{} {}.", countText(fate.done, "file was", "files were"), verb);
    return fmt::format(
        "{} of {} {} {}.", fate.done, countText(fate.total, "file", "files"), fate.done == 1 ? "was" : "were", verb);
}

void append(std::string& text, std::string_view sentence)
{
    if (sentence.empty())
        return;
    if (!text.empty()) {
        constexpr std::string_view ends = ".!?";
        text += ends.contains(text.back()) ? " " : ". ";
    }
    text += sentence;
}

} // namespace

std::string fateText(BytesOperation operation, const BytesFate& fate)
{
    const bool isUpload = operation == BytesOperation::upload;
    const std::string verb = isUpload ? "stored" : "saved";
    switch (fate.kind) {
    case BytesFate::Kind::nothing:
        return "Nothing was " + verb + ".";
    case BytesFate::Kind::maybe:
        return "It may have been " + verb + " all the same.";
    case BytesFate::Kind::parts:
        return isUpload ? "The parts already sent stay stored and billed." : "The parts already received stay saved.";
    case BytesFate::Kind::whole:
        return isUpload ? "B2 holds it as it was when it was read." : "All of it was saved.";
    case BytesFate::Kind::files:
        return filesText(fate, verb);
    }
    return {};
}

std::string failureText(BytesOperation operation, const BytesFailure& failure)
{
    using Kind = BytesFate::Kind;
    const bool isExpected = failure.fate.kind == Kind::nothing || failure.fate.kind == Kind::parts;
    auto text = failure.cause;
    if (!failure.isServiceMessage || !isExpected)
        append(text, fateText(operation, failure.fate));
    append(text, failure.advice);
    return text;
}
