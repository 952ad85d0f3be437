#include "shell/tour/Tour.h"

Tour::Tour(Application& application, Theme& theme, MainWindow& window, std::filesystem::path pictures)
    : TourSteps(application, window, std::move(pictures))
    , theme_(theme)
    , service_(application.demo->endpoint())
{
}

Task<> Tour::run()
{
    co_await welcomeANewcomer();
    co_await connectAndBrowse();
    co_await readManyNames();
    co_await uploadByDrop();
    co_await downloadChecked();
    co_await transferFolders();
    co_await surviveAKill();
    co_await surviveTrouble();
    co_await askBeforeQuitting();
    co_await switchKeys();
    co_await readTheLog();
    co_await lookAround();
}
