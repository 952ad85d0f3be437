#include "foundation/PlatformNoise.h"
#include "foundation/views/style/Theme.h"

#include <QApplication>

#include <gtest/gtest.h>

int main(int argc, char** argv)
{
    ::testing::InitGoogleTest(&argc, argv);
    hidePlatformLimits();
    Theme::prepareApplication();
    const QApplication application(argc, argv);
    const Theme theme;
    return RUN_ALL_TESTS();
}
