#pragma once

#include "foundation/TaskScope.h"
#include "shell/Application.h"
#include "shell/tour/TourReport.h"
#include "shell/window/MainWindow.h"

#include <QObject>
#include <QSize>

#include <filesystem>
#include <functional>
#include <string>

/// The common base of the walks through the program: waits for the result of a step, reports it, and finds things in
/// the window.
class TourSteps : public QObject {
    Q_OBJECT

public:
    /// Walks, then tells the end.
    void start();

Q_SIGNALS:
    void finished(int failures);

protected:
    using Condition = std::function<bool()>;

    /// The main window's, whatever screen there is: pictures of two runs can be compared.
    static constexpr QSize windowSize{1180, 760};

    TourSteps(Application& application, MainWindow& window, std::filesystem::path pictures);

    virtual Task<> run() = 0;

    /// Waits for the result of a step, and reports it.
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
    MainWindow& window_;
    TourReport report_;

private:
    TaskScope tasks_;
};
