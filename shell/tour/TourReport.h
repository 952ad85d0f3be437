#pragma once

#include <QWidget>

#include <filesystem>
#include <string>

/// Prints a line a step, and keeps the pictures of a tour.
class TourReport {
public:
    /// @param directory  created when it is missing; pictures of the same name are replaced.
    explicit TourReport(std::filesystem::path directory);

    void passed(const std::string& step);
    void failed(const std::string& step, const std::string& reason);

    /// Saves what the window shows, as "{number}-{name}.png".
    void picture(QWidget& window, const std::string& name);

    const std::filesystem::path& directory() const { return directory_; }
    int failureCount() const { return failures_; }
    void printSummary() const;

private:
    std::filesystem::path directory_;
    int steps_ = 0;
    int failures_ = 0;
    int pictures_ = 0;
};
