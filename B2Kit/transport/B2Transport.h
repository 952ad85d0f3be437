#pragma once

#include "B2Kit/files/B2Place.h"
#include "async/Task.h"

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

struct B2HTTPHeader {
    std::string name;
    std::string value;

    bool operator==(const B2HTTPHeader&) const = default;
};

enum class B2HTTPMethod { get, post };

struct B2HTTPRequest {
    B2HTTPMethod method = B2HTTPMethod::post;
    std::string url;
    std::vector<B2HTTPHeader> headers;
    std::string body;                   ///< Of `data` requests; uploads pass their body separately.
    std::chrono::seconds idleLimit{60}; ///< The longest time without a byte; a slow transfer may take longer.

    bool operator==(const B2HTTPRequest&) const = default;
};

struct B2HTTPResponse {
    int status = 0;
    std::vector<B2HTTPHeader> headers;

    /// The first value of a header, its name compared without case.
    std::optional<std::string> header(std::string_view name) const;
};

struct B2DataReply {
    std::string body;
    B2HTTPResponse response;
};

/// A private dot-file beside its destination, removed with this object unless it was placed.
class B2TemporaryFile {
public:
    B2TemporaryFile() = default;
    /// @param descriptor  of the open file, held until the file is placed or gone; -1 without one.
    explicit B2TemporaryFile(B2Place place, int descriptor = -1);
    B2TemporaryFile(B2TemporaryFile&& other) noexcept;
    B2TemporaryFile& operator=(B2TemporaryFile&& other) noexcept;
    ~B2TemporaryFile();

    /// Returns another path in the same folder when the destination exists; nothing to replace it.
    using OtherPath = std::function<std::optional<std::filesystem::path>()>;

    const std::filesystem::path& path() const { return place_.path; }

    /// Writes the content through to the disk, sets the modification date when one is given, and renames the file
    /// onto the destination in one step, so that an existing file there is replaced whole or not at all. Who may read
    /// and write it is as it was for that file; a new one follows the umask. Blocks.
    ///
    /// @param otherPath  if unset, an existing file at the destination is replaced.
    /// @throws B2FileError; the destination is then as it was.
    void placeAt(const B2Place& destination, std::optional<std::chrono::system_clock::time_point> modificationDate,
        const OtherPath& otherPath = {});

private:
    void close();

    B2Place place_;
    int descriptor_ = -1;
};

struct B2DownloadReply {
    B2TemporaryFile file;       ///< The body of a 200 or 206; empty path for any other status.
    std::int64_t byteCount = 0; ///< Bytes in the file.
    std::string sha1;           ///< Of the bytes in the file, computed as they arrived; lowercase hexadecimal.
    std::string errorBody;      ///< The body of any other status.
    B2HTTPResponse response;
};

/// A range of a local file, read as it is sent.
struct B2FileRange {
    std::filesystem::path path;
    std::int64_t offset = 0;
    std::int64_t length = 0;
};

using B2UploadBody = std::variant<std::shared_ptr<const std::string>, B2FileRange>;

/// Bytes done and bytes expected. May be called on any thread; returns quickly.
using B2Progress = std::function<void(std::int64_t done, std::int64_t total)>;

/// Sends one HTTP request. Never maps a status to an error and never repeats anything.
///
/// Called from any executor, resumes on the caller's. A stop request ends a request within 100 ms with `Cancelled`.
/// @throws B2TransportError for the network, B2FileError for a local file, B2Error for an invalid answer.
class B2Transport {
public:
    virtual ~B2Transport() = default;

    virtual Task<B2DataReply> data(B2HTTPRequest request) = 0;

    /// @param destination  where the file will go: the temporary file is made in the same directory.
    virtual Task<B2DownloadReply> download(B2HTTPRequest request, B2Place destination, B2Progress onProgress) = 0;

    /// Sends exactly the body's length; a source that is shorter ends the request with a B2Error.
    virtual Task<B2DataReply> upload(B2HTTPRequest request, B2UploadBody body, B2Progress onProgress) = 0;
};

/// Carries out every wait of the client.
class B2Sleeper {
public:
    virtual ~B2Sleeper() = default;

    /// @throws Cancelled as soon as the task is asked to stop.
    virtual Task<> sleep(double seconds) = 0;
};

/// Waits on the monotonic clock.
class SystemSleeper final : public B2Sleeper {
public:
    Task<> sleep(double seconds) override;
};
