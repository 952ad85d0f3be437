#include "localb2/BucketRules.h"

#include "localb2/Encoding.h"
#include "localb2/Http.h"

#include <boost/json.hpp>

#include <algorithm>
#include <array>
#include <set>

namespace localb2 {

namespace {

bool isLetterOrDigit(char c)
{
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

bool isIPv4Form(std::string_view name)
{
    return std::ranges::count(name, '.') == 3
        && std::ranges::all_of(name, [](char c) { return c == '.' || (c >= '0' && c <= '9'); });
}

const boost::json::array& rules(const Fields& fields, std::string_view key)
{
    const auto& list = *fields.optionalArray(key);
    if (list.size() > 100)
        throw badRequest(std::string(key) + " holds at most 100 rules");
    return list;
}

Fields ruleOf(const boost::json::value& value)
{
    if (!value.is_object())
        throw badRequest("a rule must be an object");
    return Fields(value.get_object());
}

void checkStrings(const Fields& rule, std::string_view key, bool isRequired)
{
    const auto* const list = rule.optionalArray(key);
    if (isRequired && (!list || list->empty()))
        throw badRequest("a CORS rule needs " + std::string(key));
    if (list && !std::ranges::all_of(*list, [](const auto& value) { return value.is_string(); }))
        throw badRequest(std::string(key) + " holds text only");
}

void checkOrigins(const boost::json::array& origins)
{
    for (const auto& value : origins) {
        const std::string_view origin = value.get_string();
        const bool isScheme = origin == "https" || origin == "http";
        const bool isAll = origin == "*";
        const bool isHost = origin.contains("://") && std::ranges::count(origin, '*') <= 1;
        if ((isAll && origins.size() > 1) || (!isAll && !isScheme && !isHost))
            throw badRequest("Bad allowedOrigins entry: " + std::string(origin));
    }
}

} // namespace

void checkBucketName(std::string_view name)
{
    const bool isGood = name.size() >= 6 && name.size() <= 63
        && std::ranges::all_of(name, [](char c) { return isLetterOrDigit(c) || c == '-' || c == '.'; })
        && !lowerCased(name).starts_with("b2-") && !name.contains("..") && name.front() != '.' && name.back() != '.'
        && !isIPv4Form(name);
    if (!isGood)
        throw Failure(400, "invalid_bucket_name",
            "Bucket names are 6 to 63 letters, digits, \"-\" and \".\", and do not begin with \"b2-\"");
}

void checkBucketType(std::string_view type)
{
    if (type != "allPublic" && type != "allPrivate")
        throw badRequest("Invalid bucketType: " + std::string(type));
}

std::string checkedBucketInfo(const Fields& fields)
{
    const auto info = fields.optionalObject("bucketInfo");
    if (info->object().size() > 10)
        throw badRequest("bucketInfo holds at most 10 entries");
    for (const auto& [name, value] : info->object()) {
        const bool isGood = !name.empty() && name.size() <= 50
            && std::ranges::all_of(
                std::string_view(name), [](char c) { return isLetterOrDigit(c) || c == '-' || c == '_'; });
        if (!isGood)
            throw badRequest("Bad bucketInfo name: " + std::string(name).substr(0, 60));
        if (!value.is_string() || value.get_string().size() > 2048)
            throw badRequest("Bad bucketInfo value of " + std::string(name));
        // It becomes a header of downloads.
        if (equalIgnoringCase(name, "Cache-Control")
            && std::ranges::any_of(value.get_string(), [](char c) { return static_cast<unsigned char>(c) < 32; }))
            throw badRequest("Bad bucketInfo value of " + std::string(name));
    }
    return boost::json::serialize(info->object());
}

std::string checkedLifecycleRules(const Fields& fields)
{
    const auto& list = rules(fields, "lifecycleRules");
    std::set<std::string> prefixes;
    for (const auto& value : list) {
        const auto rule = ruleOf(value);
        if (!prefixes.insert(rule.text("fileNamePrefix")).second)
            throw badRequest("Two lifecycle rules have the same fileNamePrefix");
        bool hasDays = false;
        for (const auto* const key : {"daysFromUploadingToHiding", "daysFromHidingToDeleting",
                 "daysFromStartingToCancelingUnfinishedLargeFiles"}) {
            const auto days = rule.optionalNumber(key);
            if (days && *days < 1)
                throw badRequest(std::string(key) + " must be positive");
            hasDays = hasDays || days;
        }
        if (!hasDays)
            throw badRequest("A lifecycle rule needs a number of days");
    }
    return boost::json::serialize(list);
}

std::string checkedCORSRules(const Fields& fields)
{
    static constexpr std::array<std::string_view, 9> operations = {"b2_download_file_by_name", "b2_download_file_by_id",
        "b2_upload_file", "b2_upload_part", "s3_delete", "s3_get", "s3_head", "s3_post", "s3_put"};
    const auto& list = rules(fields, "corsRules");
    std::set<std::string> names;
    for (const auto& value : list) {
        const auto rule = ruleOf(value);
        const auto name = rule.text("corsRuleName");
        const bool isGood = name.size() >= 6 && name.size() <= 63 && !lowerCased(name).starts_with("b2-")
            && std::ranges::all_of(name, [](char c) { return isLetterOrDigit(c) || c == '-'; });
        if (!isGood || !names.insert(name).second)
            throw badRequest("Bad corsRuleName: " + name.substr(0, 80));
        checkStrings(rule, "allowedOrigins", true);
        checkStrings(rule, "allowedOperations", true);
        checkStrings(rule, "allowedHeaders", false);
        checkStrings(rule, "exposeHeaders", false);
        checkOrigins(*rule.optionalArray("allowedOrigins"));
        for (const auto& operation : *rule.optionalArray("allowedOperations")) {
            if (std::ranges::find(operations, std::string_view(operation.get_string())) == operations.end())
                throw badRequest("Unknown CORS operation");
        }
        const auto age = rule.number("maxAgeSeconds");
        if (age < 0 || age > 86'400)
            throw badRequest("maxAgeSeconds must be from 0 to 86400");
    }
    return boost::json::serialize(list);
}

} // namespace localb2
