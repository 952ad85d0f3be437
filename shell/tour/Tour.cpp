#include "shell/tour/Tour.h"

Tour::Tour(Application& application, Theme& theme, MainWindow& window, std::filesystem::path pictures)
    : TourSteps(application, window, std::move(pictures))
    , theme_(theme)
    , service_(application.demo->endpoint())
{
}

Task<> Tour::run()
{
    using Chapter = Task<> (Tour::*)();
    static constexpr Chapter chapters[] = {
        &Tour::welcomeANewcomer,
        &Tour::connectAndBrowse,
        &Tour::readManyNames,
        &Tour::uploadByDrop,
        &Tour::downloadChecked,
        &Tour::transferFolders,
        &Tour::surviveAKill,
        &Tour::surviveTrouble,
        &Tour::askBeforeQuitting,
        &Tour::switchKeys,
        &Tour::readTheLog,
        &Tour::lookAround,
    };
    for (const auto chapter : chapters)
        co_await (this->*chapter)();
}
