// bench_window: shows the program's main window as the program does and ends when it has been painted.

#include "bench/FirstPaint.h"
#include "foundation/ProcessHardening.h"
#include "foundation/views/style/Theme.h"
#include "shell/Application.h"
#include "shell/window/MainWindow.h"

#include <QApplication>

int main(int count, char** words)
{
    hardenProcess();
    Theme::prepareApplication();
    const QApplication qt(count, words);
    QApplication::setApplicationName(QStringLiteral("kestrovan"));
    QApplication::setApplicationDisplayName(QStringLiteral("Kestrovan"));
    const Theme theme;
    Application application(*parseCommandLine({}), std::nullopt);
    MainWindow window(application);
    const FirstPaint firstPaint(window);
    window.show();
    return QApplication::exec();
}
