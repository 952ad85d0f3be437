#pragma once

#include "shell/Demo.h"

#include <QProcess>

#include <filesystem>
#include <string>

/// A second process of this program that walks a chapter of the tour against the demonstration's service, with its own
/// home in the demonstration's directory. It finds no secret service, so nothing of the user's is read or changed.
class TourProcess {
public:
    struct Chapter {
        std::string name;
        std::string home; ///< Chapters with the same one find what an earlier one has left there.
        std::filesystem::path file;
        std::filesystem::path pictures;
        bool hasKey = true; ///< Is given the demonstration's first key; otherwise it begins without any.
    };

    TourProcess(const Demo& demo, const Chapter& chapter);
    /// Kills it if it still runs.
    ~TourProcess();

    /// Has it printed the text yet?
    bool hasSaid(std::string_view text);
    void kill() { process_.kill(); }
    bool hasEnded() const { return process_.state() == QProcess::NotRunning; }
    bool hasSucceeded() const;
    /// The steps it has failed at.
    std::string failures();

private:
    void read();

    QProcess process_;
    std::string said_;
};
