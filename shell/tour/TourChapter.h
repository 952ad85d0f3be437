#pragma once

#include "shell/CommandLine.h"
#include "shell/tour/TourSteps.h"

/// The part of the tour that runs in a process of its own, because that process is killed, or starts after a kill: it
/// begins the upload of a large file and says when a part of it is stored, goes on with it, or begins with an empty
/// home.
class TourChapter final : public TourSteps {
    Q_OBJECT

public:
    /// Printed by the process when it is time to kill it.
    static constexpr std::string_view partIsStored = "a part is stored";

    TourChapter(Application& application, MainWindow& window, const CommandLine& commandLine);

private:
    Task<> run() override;
    Task<> beginUpload();
    Task<> resumeUpload();
    /// From the welcome to keys of two accounts.
    Task<> connectAsNewcomer();
    Task<> addKey(std::string keyID, std::string secret, bool isFirst);
    void spawnAddKey();
    Task<> manageKeys();
    /// A passphrase for the file that keeps the keys.
    Task<> protectKeys();

    std::string chapter_;
    std::filesystem::path file_;
};
