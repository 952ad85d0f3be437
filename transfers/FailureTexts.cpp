#include "transfers/FailureTexts.h"

#include "B2Kit/B2Error.h"

#include <fmt/format.h>

#include <array>
#include <string_view>
#include <variant>

namespace {

struct Cap {
    std::string_view code;
    std::string_view name;
};

constexpr std::array caps{Cap{"storage_cap_exceeded", "storage cap"}, Cap{"cap_exceeded", "storage cap"},
    Cap{"transaction_cap_exceeded", "daily transactions cap"}, Cap{"download_cap_exceeded", "daily download cap"}};

constexpr std::string_view nothingKept = "nothing was kept of it";

bool isGoneAtService(const B2Error& error)
{
    return error.api() && error.api()->message.find("No active upload") != std::string::npos;
}

/// @param kept  what has become of the bytes that were moved, as a clause.
std::string textOf(const B2Error& error, std::string_view kept = nothingKept)
{
    if (const auto* refusal = error.api()) {
        for (const auto& cap : caps) {
            if (refusal->code == cap.code)
                return fmt::format("The account's {} is reached, so B2 refused the transfer and {}. "
                                   "Raise the cap in the Backblaze console under Caps & Alerts, then try again.",
                    cap.name, kept);
        }
    }
    return error.what();
}

} // namespace

std::string failureText(const std::exception_ptr& failure)
{
    try {
        std::rethrow_exception(failure);
    } catch (const B2Error& error) {
        return textOf(error);
    } catch (const std::exception& error) {
        return error.what();
    } catch (...) {
        return "The transfer ended for an unknown reason.";
    }
}

std::string uploadFailureText(const std::exception_ptr& failure)
{
    try {
        std::rethrow_exception(failure);
    } catch (const B2FileError& error) {
        return std::string(error.what()) + " Nothing was stored.";
    } catch (...) {
        return failureText(failure);
    }
}

bool isResumable(const std::exception_ptr& failure)
{
    try {
        std::rethrow_exception(failure);
    } catch (const B2Error& error) {
        return !std::holds_alternative<B2Error::SourceChangedSinceUpload>(error.which()) && !isGoneAtService(error);
    } catch (...) {
        return true;
    }
}

std::string resumableFailureText(const std::exception_ptr& failure)
{
    try {
        std::rethrow_exception(failure);
    } catch (const B2Error& error) {
        if (isGoneAtService(error))
            return "The unfinished upload is no longer at B2: it was cancelled or finished elsewhere. Retry sends the "
                   "whole file anew.";
        if (std::holds_alternative<B2Error::SourceChangedSinceUpload>(error.which()))
            return std::string(error.what())
                + " The parts already sent stay stored until they are removed from the bucket's unfinished uploads.";
        return textOf(error, "the parts already sent stay stored");
    } catch (...) {
        return failureText(failure) + " The parts already sent stay stored.";
    }
}

std::string downloadFailureText(const std::exception_ptr& failure, const std::string& displayName)
{
    try {
        std::rethrow_exception(failure);
    } catch (const B2Error& error) {
        constexpr int notFound = 404;
        if (error.api() && error.api()->status == notFound)
            return fmt::format("“{}” is no longer there: it was deleted or replaced after the folder was read. "
                               "Nothing was downloaded, and the files here are untouched.",
                displayName);
        return textOf(error);
    } catch (...) {
        return failureText(failure);
    }
}
