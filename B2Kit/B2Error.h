#pragma once

#include <cstdint>
#include <exception>
#include <filesystem>
#include <string>
#include <variant>

/// A refusal by the service.
struct B2APIError {
    int status = 0;
    std::string code;
    std::string message;

    bool operator==(const B2APIError&) const = default;

    /// The token has expired or is unknown; another authorization helps.
    bool isExpiredAuthorization() const;
    /// Busy or out of order for the moment: 408, 429, and 500 and above.
    bool isRetryable() const;
    /// The call's bucket does not exist, or no longer does.
    bool isBadBucketID() const;
};

/// The client's only error for the service. `what()` is the text for the user.
class B2Error : public std::exception {
public:
    struct InvalidResponse {
        std::string text;
        bool operator==(const InvalidResponse&) const = default;
    };
    struct FileTooLargeForSingleUpload {
        std::int64_t bytes = 0;
        bool operator==(const FileTooLargeForSingleUpload&) const = default;
    };
    struct FileTooSmallForLargeUpload {
        std::int64_t bytes = 0;
        bool operator==(const FileTooSmallForLargeUpload&) const = default;
    };
    struct PartCountExceeded {
        std::int64_t needed = 0;
        std::int64_t maximum = 0;
        bool operator==(const PartCountExceeded&) const = default;
    };
    struct MissingPart {
        int partNumber = 0;
        bool operator==(const MissingPart&) const = default;
    };
    struct ChecksumMismatch {
        std::string expected;
        std::string actual;
        bool operator==(const ChecksumMismatch&) const = default;
    };
    struct InvalidURL {
        std::string text;
        bool operator==(const InvalidURL&) const = default;
    };
    struct SourceChangedSinceUpload {
        int partNumber = 0;
        bool isFinished = false; ///< The upload was finished with the content it began with.
        bool operator==(const SourceChangedSinceUpload&) const = default;
    };
    struct ClientUnavailable {
        bool operator==(const ClientUnavailable&) const = default;
    };

    using Case = std::variant<B2APIError, InvalidResponse, FileTooLargeForSingleUpload, FileTooSmallForLargeUpload,
        PartCountExceeded, MissingPart, ChecksumMismatch, InvalidURL, SourceChangedSinceUpload, ClientUnavailable>;

    // Every case converts: `throw B2Error(B2Error::InvalidURL{text})`.
    explicit B2Error(Case which);

    /// Makes the error for a refused authorization. When the service rejected the key, `what()` is about the key and
    /// not about the call that needed it.
    static B2Error ofAuthorization(B2APIError refusal);

    const Case& which() const noexcept { return case_; }
    /// The service's refusal, or null for another case.
    const B2APIError* api() const noexcept { return std::get_if<B2APIError>(&case_); }
    const char* what() const noexcept override { return description_.c_str(); }

    bool operator==(const B2Error& other) const { return case_ == other.case_; }

private:
    Case case_;
    std::string description_;
};

/// A request that got no answer from the network. A cancelled transfer throws `Cancelled` instead.
class B2TransportError : public std::exception {
public:
    /// `timedOut` and `connectionLost` mean that the request had begun to go out.
    enum class Code { timedOut, cannotFindHost, cannotConnect, connectionLost, insecureConnection, badURL, other };

    B2TransportError(Code code, std::string description);

    Code code() const noexcept { return code_; }
    /// A sentence for the user: what did not happen, and why.
    const char* what() const noexcept override { return description_.c_str(); }

private:
    Code code_;
    std::string description_;
};

/// A local file could not be read or written. Never retried: the service cannot help.
class B2FileError : public std::exception {
public:
    enum class Operation { read, write, replace };

    /// @param systemError  the `errno` of the failed operation, or 0 with a `reason`.
    /// @param reason       the whole sentence, where the system's error alone says too little.
    B2FileError(Operation operation, std::filesystem::path path, int systemError, std::string reason = {});

    const std::filesystem::path& path() const noexcept { return path_; }
    int systemError() const noexcept { return systemError_; }
    /// A sentence that names the file and the reason; for a full disk also the sizes.
    const char* what() const noexcept override { return description_.c_str(); }

private:
    std::filesystem::path path_;
    int systemError_;
    std::string description_;
};
