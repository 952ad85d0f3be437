#include <gmock/gmock.h>

#include <QApplication>
#include <QLocale>

int main(int argc, char** argv)
{
    const QApplication application(argc, argv);
    QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates));
    testing::InitGoogleMock(&argc, argv);
    return RUN_ALL_TESTS();
}
