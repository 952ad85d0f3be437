#pragma once

#include <cstdint>
#include <exception>
#include <filesystem>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace localb2 {

using Headers = std::vector<std::pair<std::string, std::string>>;

/// A refusal, as the body of an error answer shows it.
struct Failure : std::exception {
    Failure(int httpStatus, std::string errorCode, std::string text)
        : status(httpStatus)
        , code(std::move(errorCode))
        , message(std::move(text))
    {
    }
    const char* what() const noexcept override { return message.c_str(); }

    int status;
    std::string code;
    std::string message;
};

/// The peer closed the connection; there is nobody to answer.
struct Disconnected : std::exception {
    const char* what() const noexcept override { return "The connection ended."; }
};

/// The body of an upload, read as it arrives.
class BodyReader {
public:
    virtual ~BodyReader() = default;

    /// Fills part of the buffer; 0 at the end.
    ///
    /// @throws Disconnected, or Failure when the body comes too slowly.
    virtual std::size_t read(std::span<char> buffer) = 0;
};

struct Request {
    std::string method;
    std::string path; ///< As sent, percent-encoded.
    std::map<std::string, std::string> query;
    Headers headers;
    std::optional<std::uint64_t> contentLength;
    std::string body;             ///< The body of a JSON call.
    BodyReader* upload = nullptr; ///< The body of an upload.

    /// Finds a header by its name in any case; null when absent.
    const std::string* header(std::string_view name) const;
};

/// A range of bytes of an answer: in memory, or in a file.
struct Slice {
    std::string data;
    std::filesystem::path file;
    std::int64_t offset = 0;
    std::int64_t length = 0;
};

struct Answer {
    int status = 200;
    std::string type = "application/json;charset=UTF-8";
    Headers headers;
    std::string body;
    /// Sent in place of `body` when not empty.
    std::vector<Slice> slices;
    bool isBodyLeftOut = false; ///< HEAD.
    bool endsConnection = false;

    std::int64_t length() const;
};

/// The JSON answer of a refusal.
Answer answerTo(const Failure& failure);

Failure badRequest(std::string message);
/// The refusal of a valid token that lacks a right the call needs. Gives no reason, like the real service.
Failure unauthorized();

} // namespace localb2
