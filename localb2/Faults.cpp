#include "localb2/Faults.h"

#include "localb2/Encoding.h"
#include "localb2/Fields.h"
#include "localb2/Http.h"

#include <boost/json.hpp>

#include <algorithm>
#include <array>

namespace localb2 {

namespace {

constexpr std::array<std::string_view, 12> kindNames = {"status", "resetRequest", "resetAnswer", "stall", "trickle",
    "truncate", "garble", "corrupt", "headers", "loseReply", "expireTokens", "capReached"};

std::string_view nameOf(Fault::Kind kind)
{
    return kindNames[static_cast<std::size_t>(kind)];
}

Fault faultOf(const Fields& fields)
{
    const auto kind = std::ranges::find(kindNames, fields.text("kind"));
    if (kind == kindNames.end())
        throw badRequest("unknown kind of fault: " + fields.text("kind"));
    Fault fault;
    fault.kind = static_cast<Fault::Kind>(kind - kindNames.begin());
    fault.operation = fields.optionalText("operation").value_or("*");
    fault.after = fields.optionalNumber("after").value_or(0);
    fault.count = fields.optionalNumber("count");
    if (const auto* const probability = fields.find("probability")) {
        if (!probability->is_number())
            throw badRequest("probability must be a number");
        fault.probability = probability->to_number<double>();
    }
    fault.nameContains = fields.optionalText("nameContains").value_or("");
    fault.status =
        static_cast<int>(fields.optionalNumber("status").value_or(fault.kind == Fault::Kind::status ? 503 : 200));
    fault.code = fields.optionalText("code").value_or("service_unavailable");
    fault.message = fields.optionalText("message").value_or("");
    if (const auto* const retryAfter = fields.find("retryAfter"))
        fault.retryAfter =
            retryAfter->is_string() ? std::string(retryAfter->get_string()) : boost::json::serialize(*retryAfter);
    fault.body = fields.optionalText("body");
    fault.contentType = fields.optionalText("contentType").value_or("");
    fault.at = fields.optionalNumber("at").value_or(0);
    fault.milliseconds = fields.optionalNumber("milliseconds").value_or(0);
    fault.bytesPerSecond = fields.optionalNumber("bytesPerSecond").value_or(1);
    fault.isInRequest = fields.optionalText("in").value_or("answer") == "request";
    fault.which = fields.optionalText("which").value_or("storage");
    if (const auto headers = fields.optionalObject("headers")) {
        for (const auto& [name, value] : headers->object())
            fault.headers.emplace_back(
                name, value.is_string() ? std::optional(std::string(value.get_string())) : std::nullopt);
    }
    return fault;
}

} // namespace

const Fault* FaultPlan::first(Fault::Kind kind) const
{
    const auto found = std::ranges::find(faults_, kind, &Fault::kind);
    return found == faults_.end() ? nullptr : &*found;
}

const Fault* FaultPlan::first(Fault::Kind kind, bool isInRequest) const
{
    const auto found = std::ranges::find_if(
        faults_, [&](const Fault& fault) { return fault.kind == kind && fault.isInRequest == isInRequest; });
    return found == faults_.end() ? nullptr : &*found;
}

std::string FaultPlan::kinds() const
{
    std::string kinds;
    for (const auto& fault : faults_) {
        kinds += kinds.empty() ? "" : ",";
        kinds += nameOf(fault.kind);
    }
    return kinds;
}

void Faults::add(std::string_view json)
{
    boost::system::error_code error;
    const auto value = boost::json::parse(json, error);
    if (error || (!value.is_array() && !value.is_object()))
        throw Failure(400, "bad_json", "Faults are a JSON list of objects, or one object");
    std::vector<Fault> added;
    if (value.is_object()) {
        added.push_back(faultOf(Fields(value.get_object())));
    } else {
        for (const auto& element : value.get_array()) {
            if (!element.is_object())
                throw badRequest("each fault is an object");
            added.push_back(faultOf(Fields(element.get_object())));
        }
    }
    const std::scoped_lock lock(mutex_);
    faults_.insert(faults_.end(), added.begin(), added.end());
}

void Faults::clear()
{
    const std::scoped_lock lock(mutex_);
    faults_.clear();
    random_.seed(20260305);
}

std::string Faults::json() const
{
    const std::scoped_lock lock(mutex_);
    std::string out;
    {
        JSONObject answer(out);
        auto& list = answer.value("faults");
        list += '[';
        for (const auto& fault : faults_) {
            list += list.back() == '[' ? "" : ",";
            JSONObject record(list);
            record.text("kind", nameOf(fault.kind));
            record.text("operation", fault.operation);
            record.number("after", fault.after);
            if (fault.count)
                record.number("count", *fault.count);
            record.number("seen", fault.seen);
            record.number("hits", fault.hits);
        }
        list += ']';
    }
    return out;
}

FaultPlan Faults::match(std::string_view operation, std::string_view path, std::string_view fileName)
{
    const std::scoped_lock lock(mutex_);
    std::vector<Fault> striking;
    for (auto& fault : faults_) {
        const bool isDownload = fault.operation == "download" && operation.starts_with("b2_download_file");
        if (fault.operation != "*" && fault.operation != operation && !isDownload)
            continue;
        // The path of an upload holds random letters, which may form a word.
        if (!(fileName.empty() ? path : fileName).contains(fault.nameContains))
            continue;
        if (fault.seen++ < fault.after || (fault.count && fault.hits >= *fault.count))
            continue;
        if (fault.probability < 1 && std::uniform_real_distribution<>(0, 1)(random_) >= fault.probability)
            continue;
        ++fault.hits;
        striking.push_back(fault);
    }
    return FaultPlan(std::move(striking));
}

} // namespace localb2
