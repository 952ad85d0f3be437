#include "foundation/PlatformNoise.h"

#include <gmock/gmock.h>

#include <QApplication>
#include <QLocale>

int main(int argc, char** argv)
{
    // No test asks a file manager of the person who runs it.
    qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent");
    hidePlatformLimits();
    const QApplication application(argc, argv);
    QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates));
    testing::InitGoogleMock(&argc, argv);
    return RUN_ALL_TESTS();
}
