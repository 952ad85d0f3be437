#pragma once

#include "B2Kit/B2Client.h"
#include "tests/B2Kit/StubTransport.h"
#include "tests/support/RunTask.h"

#include <gmock/gmock.h>
#include <optional>

/// Records the waits and does not wait.
class RecordingSleeper final : public B2Sleeper {
public:
    Task<> sleep(double seconds) override
    {
        {
            const std::lock_guard lock(mutex_);
            waits_.push_back(seconds);
        }
        co_await checkCancelled();
    }
    std::vector<double> waits() const
    {
        const std::lock_guard lock(mutex_);
        return waits_;
    }

private:
    mutable std::mutex mutex_;
    std::vector<double> waits_;
};

/// Keeps each event as "level category: message | detail".
class RecordingLog final : public B2LogSink {
public:
    void log(B2LogEvent event) override
    {
        auto line = std::string(displayName(event.level)) + " " + event.category + ": " + event.message;
        if (event.detail)
            line += " | " + *event.detail;
        const std::lock_guard lock(mutex_);
        lines_.push_back(std::move(line));
    }
    /// The lines except those of the level "Debug".
    std::vector<std::string> lines() const
    {
        const std::lock_guard lock(mutex_);
        std::vector<std::string> lines;
        for (const auto& line : lines_) {
            if (!line.starts_with("Debug"))
                lines.push_back(line);
        }
        return lines;
    }
    std::vector<std::string> allLines() const
    {
        const std::lock_guard lock(mutex_);
        return lines_;
    }

private:
    mutable std::mutex mutex_;
    std::vector<std::string> lines_;
};

/// A client on a scripted transport. Jitter is always half a second.
class ClientFixture : public testing::Test {
protected:
    ClientFixture()
    {
        transport->always("b2_authorize_account",
            [this](const B2HTTPRequest&) { return StubTransport::Reply{200, authorization(++authorizations)}; });
    }

    /// The answer of `b2_authorize_account` with the token "token-{number}".
    std::string authorization(int number) const
    {
        return R"({"accountId": "account", "authorizationToken": "token-)" + std::to_string(number)
            + R"(", "apiInfo": {"storageApi": {"apiUrl": ")" + apiURL + R"(", "downloadUrl": ")" + downloadURL
            + R"(", "recommendedPartSize": 100000000, "absoluteMinimumPartSize": 5000000, "allowed": )"
            + R"({"capabilities": ["listFiles"], "buckets": )" + allowedBuckets + "}}}}";
    }

    static std::string tokenOf(const B2HTTPRequest& request) { return headerOf(request, "Authorization").value_or(""); }

    static std::optional<std::string> headerOf(const B2HTTPRequest& request, std::string_view name)
    {
        return B2HTTPResponse{.headers = request.headers}.header(name);
    }

    std::vector<std::string> bodiesOf(const std::string& operation) const
    {
        std::vector<std::string> bodies;
        for (const auto& request : transport->requests(operation))
            bodies.push_back(request.body);
        return bodies;
    }

    /// "backing off {part}: {attempt}/{limit} {seconds} {reason}" or "recovered {part}".
    static std::string retryText(const B2PartRetryEvent& event)
    {
        if (const auto* const recovered = std::get_if<B2PartRecovered>(&event))
            return "recovered " + std::to_string(recovered->partNumber);
        const auto& retry = std::get<B2PartBackingOff>(event);
        const auto wait = std::to_string(retry.delaySeconds);
        return "backing off " + std::to_string(retry.partNumber) + ": " + std::to_string(retry.attempt) + "/"
            + std::to_string(retry.maxAttempts) + " " + wait.substr(0, wait.find('.') + 2) + " " + retry.reason;
    }

    /// Runs the task and returns the text of its failure, or "nothing" when it succeeds.
    template <class T>
    static std::string failureOf(Task<T> task)
    {
        try {
            run(std::move(task));
            return "nothing";
        } catch (const std::exception& error) {
            return error.what();
        }
    }

    std::string apiURL = "https://api.example.com";
    std::string downloadURL = "https://files.example.com/";
    std::string allowedBuckets = "null";
    std::atomic<int> authorizations = 0;
    std::shared_ptr<StubTransport> transport = std::make_shared<StubTransport>();
    std::shared_ptr<RecordingSleeper> sleeper = std::make_shared<RecordingSleeper>();
    std::shared_ptr<RecordingLog> log = std::make_shared<RecordingLog>();
    std::shared_ptr<B2Client> client = B2Client::make({.credentials = {"key-id", "secret"},
        .transport = transport,
        .sleeper = sleeper,
        .jitter = [] { return 0.5; },
        .log = log,
        .accountEndpoint = "https://account.example.com"});
};
