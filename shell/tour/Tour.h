#pragma once

#include "foundation/views/style/Theme.h"
#include "shell/tour/ServiceControl.h"
#include "shell/tour/TourSteps.h"

/// Walks through the program as a person would, with real events on the real window and a real service, checks what
/// happens, compares bytes with what the service holds, and keeps pictures.
class Tour final : public TourSteps {
    Q_OBJECT

public:
    /// @param application  of a demonstration.
    Tour(Application& application, Theme& theme, MainWindow& window, std::filesystem::path pictures);

private:
    Task<> run() override;
    Task<> connectAndBrowse();
    Task<> readManyNames();
    Task<> uploadByDrop();
    Task<> downloadChecked();
    Task<> transferFolders();
    Task<> surviveAKill();
    Task<> welcomeANewcomer();
    Task<> surviveTrouble();
    Task<> askBeforeQuitting();
    Task<> switchKeys();
    Task<> readTheLog();
    Task<> lookAround();

    Theme& theme_;
    ServiceControl service_;
};
