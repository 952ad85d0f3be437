#pragma once

#include "B2Kit/transport/B2CurlTransport.h"
#include "accounts/ClientFactory.h"
#include "foundation/log/ActivityLog.h"
#include "foundation/settings/Settings.h"
#include "keychain/Keychain.h"
#include "shell/AppContext.h"
#include "shell/CommandLine.h"
#include "shell/Demo.h"
#include "shell/RootModel.h"
#include "transfers/SleepInhibitor.h"
#include "transfers/TransferQueue.h"
#include "transfers/download/DownloadDestination.h"
#include "transfers/resume/ResumeStore.h"

#include <memory>

/// Owns everything that lives as long as the process, in the order of dependence.
///
/// The queue belongs to the process and not to a window, so that transfers outlive the window.
class Application {
public:
    /// @param secret  of the key given on the command line, if one was.
    /// @throws std::runtime_error with a sentence when the demonstration cannot be started.
    Application(const CommandLine& commandLine, std::optional<std::string> secret);
    ~Application();

    /// Stops every task and calls `onEnd` when all have ended, or after three seconds.
    void shutDown(std::function<void()> onEnd);

    std::unique_ptr<Demo> demo;
    std::unique_ptr<Settings> settings;
    std::unique_ptr<ActivityLog> log;
    std::unique_ptr<AppContext> context;
    std::unique_ptr<Keychain> keychain;
    std::unique_ptr<ClientFactory> clients;
    std::unique_ptr<DownloadDestination> destination;
    std::unique_ptr<ResumeStore> resumeStore; ///< Null until it has been opened at the start, and if that fails.
    std::unique_ptr<TransferQueue> queue;
    std::unique_ptr<SleepInhibitor> sleepInhibitor;
    std::unique_ptr<RootModel> root;

private:
    Task<ResumeStore*> openResumeStore();
    /// Makes the store of the user's keys; it is in memory only for the demonstration and for a key from the command
    /// line.
    std::unique_ptr<Keychain> makeKeychain(const CommandLine& commandLine, std::optional<std::string> secret);
};
