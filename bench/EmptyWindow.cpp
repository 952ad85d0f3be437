// bench_empty_window: shows an empty Qt window and ends when it has been painted.

#include "bench/FirstPaint.h"

#include <QApplication>
#include <QMainWindow>

int main(int count, char** words)
{
    const QApplication application(count, words);
    QMainWindow window;
    window.resize(1180, 760);
    const FirstPaint firstPaint(window);
    window.show();
    return QApplication::exec();
}
