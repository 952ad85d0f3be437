#pragma once

#include "foundation/Observable.h"
#include "transfers/download/Destination.h"

#include <filesystem>
#include <optional>

class Settings;

/// The folder that downloads go to: the user's choice, kept in the settings, else the desktop's folder for downloads.
///
/// Lives on the main thread and never looks at the disk.
class DownloadDestination final : public Observable {
    Q_OBJECT

public:
    explicit DownloadDestination(Settings& settings);

    /// The folder the user chose.
    Observed<std::optional<std::filesystem::path>> folder{this};

    /// The folder to use.
    DownloadFolder current() const;

    void choose(std::filesystem::path chosen);

private:
    void load();

    Settings& settings_;
};
