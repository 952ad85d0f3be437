#include "localb2/Http.h"

#include "localb2/Encoding.h"

#include <algorithm>

namespace localb2 {

const std::string* Request::header(std::string_view name) const
{
    const auto found =
        std::ranges::find_if(headers, [&](const auto& field) { return equalIgnoringCase(field.first, name); });
    return found == headers.end() ? nullptr : &found->second;
}

std::int64_t Answer::length() const
{
    if (slices.empty())
        return static_cast<std::int64_t>(body.size());
    std::int64_t total = 0;
    for (const auto& slice : slices)
        total += slice.length;
    return total;
}

Answer answerTo(const Failure& failure)
{
    Answer answer{.status = failure.status, .type = "application/json;charset=utf-8"};
    {
        JSONObject error(answer.body);
        error.text("code", failure.code);
        error.text("message", failure.message);
        error.number("status", failure.status);
    }
    return answer;
}

Failure badRequest(std::string message)
{
    return {400, "bad_request", std::move(message)};
}

Failure unauthorized()
{
    return {401, "unauthorized", ""};
}

} // namespace localb2
