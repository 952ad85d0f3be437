#pragma once

#include "keychain/MemoryKeychain.h"

#include <QTemporaryDir>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace localb2 {
class Service;
}

/// A self-contained service with a small account, on a fresh directory that is removed at the end.
///
/// Settings, log, downloads and keys of the demonstration live in that directory or in memory; nothing of the user's
/// is touched.
class Demo {
public:
    /// Starts the service. Blocks for some tens of milliseconds, before any window is shown.
    /// @throws std::runtime_error with a sentence when it cannot be started.
    Demo();
    ~Demo();

    std::string endpoint() const;
    localb2::Service& service() { return *service_; }

    /// Adds the demonstration's keys: the master keys of two accounts, and the first one's other keys, one of them
    /// expired.
    void addKeysTo(MemoryKeychain& keychain) const;

    /// The first key to connect with, which may do everything.
    std::string firstKeyID() const;

    /// The secrets of those keys, so that a tour can check that they appear nowhere.
    std::vector<std::string> secrets() const;

    std::filesystem::path settingsFile() const;
    std::filesystem::path logDirectory() const;
    std::filesystem::path resumeFile() const;
    std::filesystem::path markDirectory() const;
    std::filesystem::path downloads() const;
    /// A directory for files to upload.
    std::filesystem::path scratch() const;

private:
    std::filesystem::path root() const;

    QTemporaryDir directory_;
    std::unique_ptr<localb2::Service> service_;
};
