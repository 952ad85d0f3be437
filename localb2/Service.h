#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace localb2 {

/// The key that opens a whole account.
struct MasterKey {
    std::string keyID;
    std::string applicationKey;

    bool operator==(const MasterKey&) const = default;
};

/// A key that a seed or a client has made.
struct ApplicationKey {
    std::string name;
    std::string keyID;
    std::string applicationKey;

    bool operator==(const ApplicationKey&) const = default;
};

/// A certificate chain and its private key, both PEM files.
struct TLSFiles {
    std::filesystem::path certificate;
    std::filesystem::path privateKey;
};

/// How a service is started.
struct ServiceOptions {
    /// Where everything is kept; created (0700) when absent. One running service a directory.
    std::filesystem::path directory;
    std::uint16_t port = 0; ///< 0 takes any free port.
    /// What a fresh directory is filled with: empty, "demo", "big:N" (N versions) or the path of a seed file.
    /// A directory that already holds an account is left as it is.
    std::string seed;
    std::chrono::milliseconds latency{0};           ///< Wait before each answer.
    std::int64_t recommendedPartSize = 100'000'000; ///< What accounts are told, in bytes.
    bool reckonsMD5 = true;      ///< Without, `contentMd5` is null, and taking a body in costs a third of the time.
    std::optional<TLSFiles> tls; ///< HTTPS in place of HTTP.
};

/// A Backblaze B2 service of one's own, on a loopback address, with its accounts in one directory.
///
/// Speaks the native API (v1 to v4) and downloads over HTTP; `docs/local-service.md` tells what is covered and how
/// faults, clock and history are scripted under `/_local/`. What an answer called done survives a killed process.
/// Memory does not grow with the size of files.
class Service {
public:
    /// Opens the directory and serves from threads of its own until destroyed.
    ///
    /// @throws std::runtime_error, with a sentence, when the directory, port, seed or certificate is no good.
    explicit Service(ServiceOptions options);

    /// Breaks open connections and waits for their threads, which takes milliseconds.
    ~Service();

    Service(const Service&) = delete;
    Service& operator=(const Service&) = delete;

    /// Without a trailing slash: `http://127.0.0.1:41234`.
    std::string url() const;

    std::uint16_t port() const;

    /// Of the first account. The same after a restart on the same directory.
    MasterKey masterKey() const;

    /// Of every account, the first account's first.
    std::vector<MasterKey> masterKeys() const;

    /// The other keys of the first account, by id.
    std::vector<ApplicationKey> applicationKeys() const;

private:
    struct Parts;
    std::unique_ptr<Parts> parts_;
};

} // namespace localb2
