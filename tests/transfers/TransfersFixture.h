#pragma once

#include "foundation/QtText.h"
#include "foundation/log/ActivityLog.h"
#include "foundation/settings/Settings.h"
#include "tests/support/QtRun.h"
#include "transfers/TransferQueue.h"
#include "transfers/download/DownloadDestination.h"

#include <QTemporaryDir>

#include <gmock/gmock.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

inline void writeFile(const std::filesystem::path& file, std::string_view content)
{
    std::ofstream(file, std::ios::binary) << content;
}

inline std::string readFile(const std::filesystem::path& file)
{
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

inline std::vector<std::string> namesIn(const std::filesystem::path& folder)
{
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder))
        names.push_back(entry.path().filename().string());
    return names;
}

/// A fresh directory, settings in memory and a log whose lines can be read.
class TransfersFixture : public testing::Test {
protected:
    using State = Transfer::State;
    using Case = State::Case;

    void SetUp() override
    {
        ActivityLog::setShared(&log);
        std::filesystem::create_directory(downloads);
        destination.choose(downloads);
    }
    void TearDown() override
    {
        // Running work still writes to the log.
        qtRun(queue.stopAll());
        log.flush(std::chrono::seconds(5));
        ActivityLog::setShared(nullptr);
    }

    std::vector<std::string> lines() const
    {
        std::vector<std::string> all;
        for (const auto& entry : log.entries())
            all.push_back(entry.message);
        return all;
    }

    QTemporaryDir temporary;
    const std::filesystem::path directory = fromQString(temporary.path());
    const std::filesystem::path downloads = directory / "downloads";
    Settings settings{std::filesystem::path()};
    ActivityLog log{settings, directory / "log"};
    DownloadDestination destination{settings};
    TransferQueue queue{settings, log, destination};
};
