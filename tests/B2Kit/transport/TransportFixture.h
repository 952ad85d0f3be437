#pragma once

#include "B2Kit/B2Error.h"
#include "B2Kit/transport/B2CurlTransport.h"
#include "tests/B2Kit/TestFiles.h"
#include "tests/B2Kit/transport/ScriptedServer.h"
#include "tests/support/RunTask.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <future>

using namespace std::chrono_literals;

/// Keeps the measurements.
class RecordingMetrics final : public B2MetricsSink {
public:
    void record(const B2TransactionMetrics& metrics) override
    {
        const std::lock_guard lock(mutex_);
        all_.push_back(metrics);
    }
    std::vector<B2TransactionMetrics> all()
    {
        const std::lock_guard lock(mutex_);
        return all_;
    }

private:
    std::mutex mutex_;
    std::vector<B2TransactionMetrics> all_;
};

/// A transport and an empty folder.
class TransportFixture : public testing::Test {
protected:
    ~TransportFixture() override { std::filesystem::remove_all(folder); }

    static B2HTTPRequest get(std::string url)
    {
        B2HTTPRequest request;
        request.method = B2HTTPMethod::get;
        request.url = std::move(url);
        return request;
    }
    static B2HTTPRequest post(std::string url, std::string body = {})
    {
        B2HTTPRequest request;
        request.url = std::move(url);
        request.body = std::move(body);
        return request;
    }
    static B2UploadBody memory(std::string bytes) { return std::make_shared<const std::string>(std::move(bytes)); }

    std::filesystem::path write(std::string_view name, std::string_view bytes)
    {
        auto path = folder / name;
        std::ofstream(path, std::ios::binary) << bytes;
        return path;
    }
    static std::string contentOf(const std::filesystem::path& path)
    {
        std::ifstream file(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }
    std::size_t fileCount() const
    {
        return static_cast<std::size_t>(
            std::distance(std::filesystem::directory_iterator(folder), std::filesystem::directory_iterator()));
    }

    /// Runs a task that must end with a network error, and returns that error.
    template <class T>
    static B2TransportError failureOf(Task<T> task)
    {
        return failureOf(StartedTask<T>(std::move(task)));
    }
    template <class T>
    static B2TransportError failureOf(StartedTask<T> task)
    {
        try {
            task.result();
        } catch (const B2TransportError& error) {
            return error;
        }
        throw std::runtime_error("the request did not fail");
    }

    std::shared_ptr<RecordingMetrics> metrics = std::make_shared<RecordingMetrics>();
    B2CurlTransport transport{{.userAgent = "Test/1", .metrics = metrics}};
    const std::filesystem::path folder = makeTemporaryFolder();
};

using Code = B2TransportError::Code;
using Connection = ScriptedServer::Connection;
