#include "transfers/TransferFailure.h"

#include "B2Kit/B2Error.h"
#include "foundation/log/ActivityLog.h"

#include <fmt/format.h>

#include <array>
#include <string_view>
#include <utility>
#include <variant>

namespace {

using Changed = B2Error::SourceChangedSinceUpload;

struct Cap {
    std::string_view code;
    std::string_view name;
};

constexpr std::array caps{Cap{"storage_cap_exceeded", "storage cap"}, Cap{"cap_exceeded", "storage cap"},
    Cap{"transaction_cap_exceeded", "daily transactions cap"}, Cap{"download_cap_exceeded", "daily download cap"}};

BytesFailure refusalOf(const B2Error& error, BytesFate fate)
{
    if (const auto* refusal = error.api()) {
        for (const auto& cap : caps) {
            if (refusal->code == cap.code)
                return {.cause = fmt::format("The account's {} is reached, so B2 refused the transfer.", cap.name),
                    .fate = fate,
                    .advice = "Raise the cap in the Backblaze console under Caps & Alerts, then try again."};
        }
    }
    return {.cause = error.what(), .fate = fate, .advice = {}, .isServiceMessage = true};
}

BytesFailure failureOf(const std::exception_ptr& failure, BytesFate fate)
{
    try {
        std::rethrow_exception(failure);
    } catch (const B2Error& error) {
        return refusalOf(error, fate);
    } catch (const std::exception& error) {
        return {.cause = error.what(), .fate = fate, .advice = {}};
    } catch (...) {
        return {.cause = "The transfer ended for an unknown reason.", .fate = fate, .advice = {}};
    }
}

std::optional<B2Error> b2ErrorOf(const std::exception_ptr& failure)
{
    try {
        std::rethrow_exception(failure);
    } catch (const B2Error& error) {
        return error;
    } catch (...) {
        return std::nullopt;
    }
}

} // namespace

bool isGoneAtService(const std::exception_ptr& failure)
{
    const auto error = b2ErrorOf(failure);
    return error && error->api() && error->api()->message.contains("No active upload");
}

bool isOfAnotherSource(const std::exception_ptr& failure)
{
    const auto error = b2ErrorOf(failure);
    return error && std::holds_alternative<Changed>(error->which());
}

BytesFate fateOf(const Transfer& upload)
{
    return *upload.resumableFileID ? BytesFate::parts() : upload.fate;
}

BytesFailure uploadFailure(const std::exception_ptr& failure, BytesFate fate)
{
    if (isGoneAtService(failure))
        return {.cause = "The unfinished upload is no longer at B2: it was cancelled or finished elsewhere.",
            .fate = BytesFate::maybe(),
            .advice = "Retry sends the whole file again."};
    auto described = failureOf(failure, fate);
    if (const auto error = b2ErrorOf(failure); isOfAnotherSource(failure)) {
        const bool isFinished = std::get<Changed>(error->which()).isFinished;
        described.isServiceMessage = false;
        described.fate = isFinished ? BytesFate::whole() : BytesFate::parts();
        described.advice =
            isFinished ? "Retry sends the file as it is now." : "\"Unfinished Uploads\" of the bucket removes them.";
    }
    return described;
}

BytesFailure downloadFailure(const std::exception_ptr& failure, const std::string& displayName)
{
    constexpr int notFound = 404;
    if (const auto error = b2ErrorOf(failure); error && error->api() && error->api()->status == notFound)
        return {.cause = fmt::format(
                    "“{}” is no longer there: it was deleted or replaced after the folder was read.", displayName),
            .fate = BytesFate::nothing(),
            .advice = "The files here are untouched."};
    return failureOf(failure, BytesFate::nothing());
}

BytesFailure outsideFailure(const std::string& name)
{
    return {.cause = fmt::format("The name \"{}\" would write outside the destination folder.", name),
        .fate = BytesFate::nothing(),
        .advice = {}};
}

BytesFailure folderDownloadFailure(const std::exception_ptr& failure, BytesFate fate)
{
    return failureOf(failure, fate);
}

std::string failureText(const Transfer& transfer, const BytesFailure& failure)
{
    const bool isUpload = transfer.kind == Transfer::Kind::upload;
    return failureText(isUpload ? BytesOperation::upload : BytesOperation::download, failure);
}

void endAsFailed(const TransferRun& run, ActivityLog& log, const BytesFailure& failure, FailureLine line)
{
    const Transfer& transfer = *run.transfer;
    const auto* const what = transfer.kind == Transfer::Kind::upload ? "Upload" : "Download";
    auto text = failureText(transfer, failure);
    auto message = line.message.value_or(fmt::format("{} of {} failed", what, transfer.displayName));
    log.record({B2LogLevel::error, "transfer", std::move(message), line.detail.value_or(text)});
    run.setState(Transfer::State::failed(std::move(text)));
}
