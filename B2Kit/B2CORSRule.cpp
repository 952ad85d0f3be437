#include "B2Kit/B2CORSRule.h"

#include "B2Kit/wire/B2Text.h"

#include <algorithm>
#include <array>
#include <ranges>
#include <set>
#include <string_view>
#include <utility>

namespace {

constexpr std::array<std::pair<const char*, const char*>, 9> operationLabels{{
    {"b2_download_file_by_name", "Download by name"},
    {"b2_download_file_by_id", "Download by file id"},
    {"b2_upload_file", "Upload a file"},
    {"b2_upload_part", "Upload a large-file part"},
    {"s3_get", "Get an object"},
    {"s3_head", "Read object headers"},
    {"s3_put", "Put an object"},
    {"s3_post", "Post an object, as an HTML form does"},
    {"s3_delete", "Delete an object"},
}};

bool isASCIILetter(char character)
{
    return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z');
}

bool isNameCharacter(char character)
{
    return isASCIILetter(character) || (character >= '0' && character <= '9') || character == '-';
}

std::ptrdiff_t characterCount(std::string_view text)
{
    return std::ranges::count_if(text, [](char byte) { return (static_cast<unsigned char>(byte) & 0xc0) != 0x80; });
}

std::optional<std::string> nameMessage(std::string_view name)
{
    const auto count = characterCount(name);
    if (count < B2CORSLimits::minimumNameLength || count > B2CORSLimits::maximumNameLength)
        return "A rule name is between 6 and 63 characters.";
    if (!std::ranges::all_of(name, isNameCharacter))
        return "A rule name can only contain letters, numbers and hyphens.";
    if (name.starts_with("b2-") || name.starts_with("B2-"))
        return "A rule name cannot start with “b2-”.";
    return std::nullopt;
}

bool hasStarAmongOthers(const std::vector<std::string>& texts)
{
    return texts.size() > 1 && std::ranges::count(texts, "*") > 0;
}

} // namespace

std::string B2CORSOperation::label() const
{
    const auto* const found =
        std::ranges::find_if(operationLabels, [this](const auto& known) { return known.first == rawValue; });
    return found == operationLabels.end() ? rawValue : found->second;
}

std::span<const B2CORSOperation> B2CORSOperation::all()
{
    static const auto operations = [] {
        std::vector<B2CORSOperation> known;
        known.reserve(operationLabels.size());
        for (const auto& [raw, label] : operationLabels)
            known.emplace_back(raw);
        return known;
    }();
    return operations;
}

std::optional<std::string> B2CORSRule::validationMessage() const
{
    const auto name = trimmed(corsRuleName);
    if (name.empty())
        return std::nullopt;
    if (auto message = nameMessage(name))
        return message;
    if (allowedOrigins.empty())
        return "A rule needs at least one origin.";
    if (hasStarAmongOthers(allowedOrigins))
        return "“*” must be the only origin if it is used at all.";
    if (std::ranges::count(allowedOrigins, "https") > 1)
        return "There can be at most one “https” origin.";
    if (allowedHeaders && hasStarAmongOthers(*allowedHeaders))
        return "“*” must be the only allowed header if it is used at all.";
    if (allowedOperations.empty())
        return "A rule needs at least one operation, or it permits nothing.";
    if (maxAgeSeconds > B2CORSLimits::maximumAgeSeconds)
        return "Cache duration is between 0 and 86400 seconds.";
    return std::nullopt;
}

std::optional<std::string> validationMessage(std::span<const B2CORSRule> rules)
{
    if (rules.size() > B2CORSLimits::maximumRuleCount)
        return "B2 allows at most 100 CORS rules on a bucket.";
    std::set<std::string> names;
    for (const auto& rule : rules) {
        if (!names.insert(trimmed(rule.corsRuleName)).second)
            return "Two rules have the same name.";
    }
    return std::nullopt;
}
