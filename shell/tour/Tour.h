#pragma once

#include "foundation/TaskScope.h"
#include "foundation/views/Theme.h"
#include "shell/Application.h"
#include "shell/tour/ServiceControl.h"
#include "shell/tour/TourReport.h"
#include "shell/views/MainWindow.h"

#include <QObject>

#include <filesystem>
#include <functional>
#include <string>

/// Walks through the program as a person would, with real events on the real window and a real service, checks what
/// happens, compares bytes with what the service holds, and keeps pictures.
class Tour final : public QObject {
    Q_OBJECT

public:
    /// @param application  of a demonstration.
    Tour(Application& application, Theme& theme, MainWindow& window, std::filesystem::path pictures);

    void start();

Q_SIGNALS:
    void finished(int failures);

private:
    using Condition = std::function<bool()>;

    Task<> run();
    Task<> connectAndBrowse();
    Task<> readManyNames();
    Task<> uploadByDrop();
    Task<> downloadChecked();
    Task<> surviveTrouble();
    Task<> askBeforeQuitting();
    Task<> switchKeys();
    Task<> readTheLog();
    Task<> lookAround();

    /// Waits for what a step should bring, and reports it.
    Task<bool> check(std::string step, Condition condition);
    void report(const std::string& step, bool didPass, const std::string& reason);
    Task<> picture(QWidget& window, std::string name);

    Task<> showBucket(std::string name);
    void openFolder(const std::string& name);
    QModelIndex row(const std::string& name) const;
    std::shared_ptr<Transfer> transfer(const std::string& remoteName) const;
    bool hasEnded(const std::string& remoteName, Transfer::State::Case how) const;
    bool isListed() const;

    Application& application_;
    Theme& theme_;
    MainWindow& window_;
    TourReport report_;
    ServiceControl service_;
    TaskScope tasks_;
};
