#include "foundation/PlatformNoise.h"
#include "foundation/ProcessHardening.h"
#include "foundation/QtText.h"
#include "foundation/views/ContextMenuKey.h"
#include "foundation/views/style/Theme.h"
#include "shell/Application.h"
#include "shell/CommandLine.h"
#include "shell/SignalWatch.h"
#include "shell/SingleInstance.h"
#include "shell/tour/Tour.h"
#include "shell/tour/TourChapter.h"
#include "shell/window/MainWindow.h"

#include <QApplication>
#include <QIcon>

#include <cstdlib>
#include <iostream>
#include <memory>

namespace {

/// Lets a tour run without a display: the windows are then drawn in memory.
void chooseDisplay(const CommandLine& commandLine)
{
    const bool hasDisplay = std::getenv("DISPLAY") || std::getenv("WAYLAND_DISPLAY");
    if (commandLine.tour && !hasDisplay && !std::getenv("QT_QPA_PLATFORM"))
        setenv("QT_QPA_PLATFORM", "offscreen", 1);
    if (commandLine.tour)
        hidePlatformLimits();
}

/// Shows the window to a user who has started the program a second time.
void present(QWidget& window, const QString& token)
{
    // Qt has no other way to pass a token on; it takes the variable away again.
    if (!token.isEmpty() && QGuiApplication::platformName().startsWith(QStringLiteral("wayland")))
        qputenv("XDG_ACTIVATION_TOKEN", token.toUtf8());
    window.setWindowState(window.windowState() & ~Qt::WindowMinimized);
    window.show();
    window.raise();
    window.activateWindow();
}

/// Is another program running already that has been asked to show its window? Tells the user, too, when it does not
/// answer; `result` is then the failure.
bool hasJoinedRunningProgram(SingleInstance& instance, const QString& token, int& result)
{
    switch (instance.claim(token)) {
    case SingleInstance::Role::first:
    case SingleInstance::Role::alone:
        return false;
    case SingleInstance::Role::second:
        std::cout << "Kestrovan is already running; its window was brought to the front.\n";
        result = 0;
        break;
    case SingleInstance::Role::unanswered:
        std::cerr << "Kestrovan is already running, but does not answer.\n";
        result = 1;
        break;
    }
    return true;
}

int runProgram(const CommandLine& commandLine, std::optional<std::string> secret, bool isHardened, Theme& theme,
    SingleInstance& instance)
{
    Application application(commandLine, std::move(secret));
    if (!isHardened)
        application.log->record({B2LogLevel::warning, "app", "Could not keep the memory of this process to itself",
            "After a crash, or to a debugger, it may show the secrets of the keys in use."});
    auto window = std::make_unique<MainWindow>(application);
    SignalWatch signals;
    const auto leave = [&application, &instance] {
        // A start from now on finds no window here.
        instance.release();
        application.shutDown([] { QCoreApplication::quit(); });
    };
    QObject::connect(&instance, &SingleInstance::activated, window.get(),
        [&window](const QString& token) { present(*window, token); });
    QObject::connect(window.get(), &MainWindow::quitConfirmed, window.get(), leave);
    // An interrupt from the terminal and the end of the login session leave no time for questions.
    QObject::connect(&signals, &SignalWatch::received, window.get(), leave);
    window->show();

    std::unique_ptr<TourSteps> tour;
    int tourResult = 0;
    if (commandLine.tour) {
        if (commandLine.tourChapter.empty())
            tour = std::make_unique<Tour>(application, theme, *window, *commandLine.tour);
        else
            tour = std::make_unique<TourChapter>(application, *window, commandLine);
        QObject::connect(tour.get(), &TourSteps::finished, window.get(), [&](int failures) {
            tourResult = failures == 0 ? 0 : 1;
            leave();
        });
        tour->start();
    }
    const int result = QApplication::exec();
    tour.reset();
    // Windows save their size when they close; that must reach the disk before the process ends.
    window.reset();
    constexpr std::chrono::seconds patience(2);
    application.log->flush(patience);
    application.settings->flush(patience);
    return result != 0 ? result : tourResult;
}

} // namespace

int main(int argc, char** argv)
{
    bool isHardened = true;
#if !defined(__SANITIZE_ADDRESS__) && !__has_feature(address_sanitizer) && !__has_feature(thread_sanitizer)
    isHardened = hardenProcess();
#endif
    const auto commandLine = parseCommandLine({argv + 1, argv + argc});
    if (!commandLine) {
        std::cerr << commandLine.error() << '\n';
        return 2;
    }
    if (commandLine->wantsHelp) {
        std::cout << helpText();
        return 0;
    }
    if (commandLine->wantsVersion) {
        std::cout << "Kestrovan " KESTROVAN_VERSION "\n";
        return 0;
    }
    std::optional<std::string> secret;
    if (commandLine->keyID) {
        secret = readApplicationKey(*commandLine->keyID);
        if (!secret) {
            std::cerr << "There is no secret for the key " << *commandLine->keyID << ". Put it into the variable "
                      << applicationKeyVariable << ", or start Kestrovan from a terminal to be asked for it.\n";
            return 2;
        }
    }
    chooseDisplay(*commandLine);
    const auto token = activationToken();

    Theme::prepareApplication();
    QApplication qt(argc, argv);
    QApplication::setApplicationName(QStringLiteral("kestrovan"));
    QApplication::setApplicationDisplayName(QStringLiteral("Kestrovan"));
    QApplication::setApplicationVersion(QStringLiteral(KESTROVAN_VERSION));
    QGuiApplication::setDesktopFileName(QStringLiteral("com.zantro.kestrovan"));
    QGuiApplication::setWindowIcon(QIcon(QStringLiteral(":/kestrovan/com.zantro.kestrovan.svg")));
    QGuiApplication::setQuitOnLastWindowClosed(false);
    const ContextMenuKey contextMenuKey(qt);
    SingleInstance instance(sessionBusIfAny());
    if (int result = 0; commandLine->mayJoinRunningProgram() && hasJoinedRunningProgram(instance, token, result))
        return result;
    Theme theme;
    try {
        return runProgram(*commandLine, std::move(secret), isHardened, theme, instance);
    } catch (const std::exception& error) {
        std::cerr << error.what() << '\n';
        return 1;
    }
}
