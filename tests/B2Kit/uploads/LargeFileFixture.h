#pragma once

#include "tests/B2Kit/ClientFixture.h"

#include "B2Kit/files/B2SHA1.h"
#include "B2Kit/uploads/B2LargeUpload.h"
#include "tests/B2Kit/TestFiles.h"

#include <cstdlib>
#include <fstream>

/// A client whose stand-in service accepts large files and keeps the bytes of each part by its number.
class LargeFileFixture : public ClientFixture {
protected:
    static constexpr auto part = "b2_upload_part";
    static constexpr std::int64_t partSize = 5'000'000;

    LargeFileFixture()
    {
        transport->always("b2_get_upload_part_url", [this](const B2HTTPRequest&) {
            const auto number = std::to_string(++targets_);
            return StubTransport::Reply{200,
                R"({"fileId": "4_large", "uploadUrl": "https://pod.example.com/b2api/v4/b2_upload_part/)" + number
                    + R"(", "authorizationToken": "pod-)" + number + "\"}"};
        });
        answerAlways("b2_start_large_file", fileRecord("start"));
        answerAlways("b2_finish_large_file", fileRecord("upload"));
        // The answer of a part is not read.
        answerAlways(part, "");
        transport->onUpload = [this](const auto& request, const auto& body, const auto& onProgress) {
            receive(request, body, onProgress);
        };
    }
    ~LargeFileFixture() override { std::filesystem::remove_all(folder); }

    void answerAlways(const std::string& operation, std::string body)
    {
        transport->always(
            operation, [body = std::move(body)](const B2HTTPRequest&) { return StubTransport::Reply{200, body}; });
    }

    static std::string fileRecord(const std::string& action)
    {
        return R"({"fileId": "4_large", "fileName": "movie.mp4", "contentLength": 12000000, "action": ")" + action
            + "\"}";
    }

    static std::string content(std::int64_t size) { return variedText(static_cast<std::size_t>(size)); }

    std::filesystem::path source() const { return folder / "source"; }

    /// The upload of a file with that text, in parts of 5,000,000 bytes, with every callback recorded.
    B2UploadLargeFileRequest fileUpload(const std::string& text)
    {
        std::ofstream(source(), std::ios::binary) << text;
        B2UploadLargeFileRequest request{.bucketID = "b", .fileName = "movie.mp4", .source = source()};
        request.partSize = partSize;
        request.onHashing = [this, size = text.size()](std::int64_t bytes) {
            if (bytes == static_cast<std::int64_t>(size))
                note("hashed " + std::to_string(bytes));
        };
        request.onStarted = [this](const std::string& id, const std::string&) { note("started " + id); };
        request.onResumeState = [this](int done, int count) {
            note("resume " + std::to_string(done) + "/" + std::to_string(count));
        };
        request.onPartsDone = [this](int done, int count) {
            note("done " + std::to_string(done) + "/" + std::to_string(count));
        };
        request.onPartRetry = [this](const B2PartRetryEvent& event) { note(retryText(event)); };
        request.onProgress = [this](std::int64_t done, std::int64_t total) {
            const std::lock_guard lock(mutex_);
            EXPECT_LE(done, total);
            progress_.push_back(done);
        };
        return request;
    }

    static std::vector<std::string> partsOf(const std::string& text)
    {
        std::vector<std::string> parts;
        for (std::size_t start = 0; start < text.size(); start += partSize)
            parts.push_back(text.substr(start, partSize));
        return parts;
    }

    static std::string finishBody(const std::string& text)
    {
        std::string body;
        for (const auto& bytes : partsOf(text))
            body += (body.empty() ? "\"" : ",\"") + sha1Of(bytes) + "\"";
        return R"({"fileId":"4_large","partSha1Array":[)" + body + "]}";
    }

    /// An answer of `b2_list_parts` with the parts of the text that have these numbers.
    static std::string partsPage(
        const std::string& text, const std::vector<int>& numbers, const std::string& nextPartNumber = "null")
    {
        const auto parts = partsOf(text);
        std::string list;
        for (const int number : numbers) {
            const auto& bytes = parts.at(static_cast<std::size_t>(number) - 1);
            list += (list.empty() ? "" : ",") + (R"({"fileId": "4_large", "partNumber": )" + std::to_string(number))
                + R"(, "contentLength": )" + std::to_string(bytes.size()) + R"(, "contentSha1": ")" + sha1Of(bytes)
                + R"(", "uploadTimestamp": 1})";
        }
        return R"({"parts": [)" + list + R"(], "nextPartNumber": )" + nextPartNumber + "}";
    }

    /// The bytes of the received parts in the order of their numbers.
    std::string received() const
    {
        const std::lock_guard lock(mutex_);
        std::string text;
        for (const auto& [number, bytes] : received_)
            text += bytes;
        return text;
    }
    std::vector<int> sentNumbers() const
    {
        std::vector<int> numbers;
        for (const auto& request : transport->requests(part))
            numbers.push_back(std::stoi(headerOf(request, "X-Bz-Part-Number").value_or("0")));
        return numbers;
    }
    std::vector<std::string> events() const
    {
        const std::lock_guard lock(mutex_);
        return events_;
    }
    std::vector<std::int64_t> progress() const
    {
        const std::lock_guard lock(mutex_);
        return progress_;
    }

    const std::filesystem::path folder = makeTemporaryFolder();

private:
    /// Reads the body as a transport does, reports half of it and checks its digest.
    void receive(const B2HTTPRequest& request, const B2UploadBody& body, const B2Progress& onProgress)
    {
        std::string bytes;
        if (const auto* const memory = std::get_if<std::shared_ptr<const std::string>>(&body)) {
            bytes = **memory;
        } else {
            const auto& range = std::get<B2FileRange>(body);
            bytes.resize(static_cast<std::size_t>(range.length));
            std::ifstream file(range.path, std::ios::binary);
            file.seekg(range.offset);
            file.read(bytes.data(), range.length);
        }
        const auto size = static_cast<std::int64_t>(bytes.size());
        onProgress(size / 2, size);
        EXPECT_EQ(headerOf(request, "X-Bz-Content-Sha1"), sha1Of(bytes));
        const std::lock_guard lock(mutex_);
        received_[std::stoi(headerOf(request, "X-Bz-Part-Number").value_or("0"))] = std::move(bytes);
    }

    void note(std::string event)
    {
        const std::lock_guard lock(mutex_);
        events_.push_back(std::move(event));
    }

    mutable std::mutex mutex_;
    std::atomic<int> targets_ = 0;
    std::map<int, std::string> received_;
    std::vector<std::string> events_;
    std::vector<std::int64_t> progress_;
};
