#include "accounts/ConnectionFailure.h"

#include "B2Kit/B2Error.h"
#include "B2Kit/pipeline/B2RetryPolicy.h"

#include <fmt/format.h>

std::string_view ConnectionFailure::title() const
{
    switch (kind) {
    case Kind::unreachable:
        return "Cannot Reach Backblaze";
    case Kind::keyRejected:
        return "This Key No Longer Works";
    case Kind::keyMissing:
        return "This Key Is Not Stored";
    case Kind::other:
        break;
    }
    return "Could Not Connect";
}

bool ConnectionFailure::canTryAgain() const
{
    return kind == Kind::unreachable || kind == Kind::other;
}

ConnectionFailure connectionFailureFrom(const std::exception_ptr& error)
{
    using Kind = ConnectionFailure::Kind;
    try {
        std::rethrow_exception(error);
    } catch (const B2Error& failure) {
        if (const auto* api = failure.api()) {
            // A problem with the token does not mean that the key is bad.
            if (api->status == 401 && !api->isExpiredAuthorization())
                return {Kind::keyRejected,
                    api->message.empty() ? "Backblaze rejected this key. It has been deleted, or it reached the "
                                           "lifetime it was created with."
                                         : api->message};
            if (api->isRetryable())
                return {
                    Kind::unreachable, fmt::format("Backblaze returned {}. This is usually temporary.", api->status)};
        }
        return {Kind::other, failure.what()};
    } catch (const B2TransportError& failure) {
        return {Kind::unreachable, failure.what()};
    } catch (...) {
        return {Kind::other, describe(error)};
    }
}

ConnectionNotice noticeFor(const ConnectionFailure& failure, const std::string& keyLabel, std::size_t keyCount)
{
    ConnectionNotice notice;
    notice.title = failure.title();
    notice.offersAddKey = true;
    if (failure.canTryAgain()) {
        notice.text =
            fmt::format("{}\nYour keys are untouched. Kestrovan will reconnect with “{}”.", failure.message, keyLabel);
        notice.offersTryAgain = true;
    } else {
        notice.text = fmt::format(
            "{}\nKestrovan is still holding {} key{}. Choose another at the top of the sidebar, or remove “{}”.",
            failure.message, keyCount, keyCount == 1 ? "" : "s", keyLabel);
    }
    return notice;
}
