#include "B2Kit/pipeline/B2RetryPolicy.h"

#include "async/Cancelled.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <fmt/format.h>

namespace {

/// Calls `visit` with the failure as its own type; an object of a foreign type counts as a plain exception.
template <class Visit>
auto visitFailure(const std::exception_ptr& failure, Visit visit)
{
    try {
        std::rethrow_exception(failure);
    } catch (const Cancelled& cancelled) {
        return visit(cancelled);
    } catch (const B2Error& error) {
        return visit(error);
    } catch (const B2FileError& error) {
        return visit(error);
    } catch (const std::exception& error) {
        return visit(error);
    } catch (...) {
        return visit(std::exception());
    }
}

template <class... Cases>
struct Overloaded : Cases... {
    using Cases::operator()...;
};

bool containsWithoutCase(std::string_view text, std::string_view lowercaseWord)
{
    const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; };
    return !std::ranges::search(text, lowercaseWord, {}, lower).empty();
}

} // namespace

double backoffSeconds(const B2RetryPolicy& policy, int exponent, double jitter)
{
    const double term = policy.baseDelaySeconds * std::pow(policy.multiplier, std::max(exponent, 0));
    // Written so that a NaN jitter adds nothing.
    const double addition = jitter > 0 ? std::min(jitter, 1.0) : 0.0;
    return std::min(term, policy.maxDelaySeconds) + addition;
}

std::optional<double> parseRetryAfter(const std::optional<std::string>& header)
{
    if (!header)
        return std::nullopt;
    std::string_view text = *header;
    if (text.starts_with('+'))
        text.remove_prefix(1);
    double value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    // "nan" and "inf" parse too, but are not delays.
    if (error != std::errc() || end != text.data() + text.size() || !std::isfinite(value))
        return std::nullopt;
    return value;
}

std::optional<double> retryAfterSeconds(const B2RetryPolicy& policy, const std::optional<std::string>& header)
{
    const auto asked = parseRetryAfter(header);
    return asked ? std::optional(std::clamp(*asked, 0.0, policy.maxRetryAfterSeconds)) : std::nullopt;
}

std::string formatWait(double seconds)
{
    return seconds < 10 ? fmt::format("{:.1f}s", seconds) : fmt::format("{:.0f}s", std::round(seconds));
}

bool isRetryableConnectionFailure(const std::exception_ptr& failure)
{
    return visitFailure(failure,
        Overloaded{
            [](const Cancelled&) { return false; },
            [](const B2Error&) { return false; },
            [](const B2FileError&) { return false; },
            [](const std::exception&) { return true; },
        });
}

bool isRetryableTransferFailure(const std::exception_ptr& failure)
{
    return visitFailure(failure,
        Overloaded{
            [](const Cancelled&) { return false; },
            [](const B2Error& error) {
                return error.api() && (error.api()->isRetryable() || error.api()->isExpiredAuthorization());
            },
            [](const B2FileError&) { return false; },
            [](const std::exception&) { return true; },
        });
}

bool isCancellation(const std::exception_ptr& failure)
{
    return visitFailure(
        failure, Overloaded{[](const Cancelled&) { return true; }, [](const std::exception&) { return false; }});
}

std::string shortReason(const std::exception_ptr& failure)
{
    const auto reason = [](const B2Error& error) -> std::string {
        const auto* const refusal = error.api();
        if (!refusal)
            return error.what();
        // The normal answer of a storage unit that is full or busy.
        if (refusal->code == "service_unavailable" && containsWithoutCase(refusal->message, "tome"))
            return "B2 storage busy";
        return fmt::format("B2 {} {}", refusal->status, refusal->code);
    };
    return visitFailure(
        failure, Overloaded{reason, [](const std::exception& error) -> std::string { return error.what(); }});
}

std::string describe(const std::exception_ptr& failure)
{
    return visitFailure(failure, [](const std::exception& error) -> std::string { return error.what(); });
}
