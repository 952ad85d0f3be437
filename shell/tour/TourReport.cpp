#include "shell/tour/TourReport.h"

#include "foundation/QtText.h"

#include <QPixmap>

#include <fmt/format.h>

#include <cstdio>

TourReport::TourReport(std::filesystem::path directory)
    : directory_(std::move(directory))
{
    std::error_code failure;
    std::filesystem::create_directories(directory_, failure);
    if (failure)
        failed("make the folder for the pictures", directory_.string() + ": " + failure.message());
}

void TourReport::passed(const std::string& step)
{
    ++steps_;
    fmt::print("ok      {}\n", step);
    std::fflush(stdout);
}

void TourReport::failed(const std::string& step, const std::string& reason)
{
    ++steps_;
    ++failures_;
    fmt::print("FAILED  {}: {}\n", step, reason);
    std::fflush(stdout);
}

void TourReport::picture(QWidget& window, const std::string& name)
{
    const auto path = directory_ / fmt::format("{:02}-{}.png", ++pictures_, name);
    if (!window.grab().save(toQString(path.string()), "PNG"))
        failed("save the picture " + path.filename().string(), "the folder cannot be written");
}

void TourReport::printSummary() const
{
    fmt::print("{} steps, {} pictures, {}\n", steps_, pictures_,
        failures_ == 0 ? std::string("all passed") : fmt::format("{} failed", failures_));
    std::fflush(stdout);
}
