#pragma once

#include "B2Kit/B2Client.h"
#include "B2Kit/B2Error.h"
#include "B2Kit/pipeline/B2ClientTools.h"
#include "B2Kit/wire/B2Decoding.h"
#include "B2Kit/wire/B2URL.h"

#include <string>
#include <string_view>

// Inside B2Kit: calls whose body and answer are JSON objects.

struct B2JSONCall {
    std::string_view operation; ///< The call's name; a literal.
    std::string body;           ///< The same in every attempt.
    std::string_view version = b2APIVersion;
    bool* mayHaveBeenDone = nullptr;                     ///< As in `B2Call`.
    bool (*expectsRefusal)(const B2APIError&) = nullptr; ///< As in `B2Call`.
};

/// Is it a refusal of the service with that code?
inline bool isRefusal(const B2Error& error, std::string_view code)
{
    return error.api() && error.api()->code == code;
}

/// Is the failure such a refusal?
inline bool isRefusal(const std::exception_ptr& failure, std::string_view code)
{
    try {
        std::rethrow_exception(failure);
    } catch (const B2Error& error) {
        return isRefusal(error, code);
    } catch (...) {
        return false;
    }
}

/// @throws B2Error (`InvalidResponse`) that names the operation, when the text is not the record.
template <class Answer>
Answer decodeAnswer(std::string_view operation, std::string_view body)
{
    try {
        return decodeRecord<Answer>(body);
    } catch (const B2DecodingError& error) {
        throw B2Error(B2Error::InvalidResponse{std::string(operation) + ": " + error.what()});
    }
}

template <class Answer>
Task<Answer> B2Client::callJSON(B2JSONCall call)
{
    const auto operation = call.operation;
    const auto reply = co_await postJSON(std::move(call));
    try {
        co_return decodeAnswer<Answer>(operation, reply.body);
    } catch (const B2Error& error) {
        // The pipeline has logged a success, so the unreadable answer needs a line of its own.
        tools_->log->error("api", std::string(operation) + " failed: its answer could not be read", error.what());
        throw;
    }
}
