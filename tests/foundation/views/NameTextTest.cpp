#include "foundation/views/tables/NameText.h"

#include "foundation/views/ElidedLabel.h"

#include "tests/foundation/views/Scene.h"

#include <QHelpEvent>
#include <QToolTip>

namespace {

const QFontMetrics& metrics()
{
    static const QFontMetrics value(QApplication::font());
    return value;
}

TEST(NameTextTest, AShortenedNameFitsAndKeepsItsExtension)
{
    const QString name = text("Annual report with the corrections of the board and the auditors.sqlite3");
    for (int width = 60; width < metrics().horizontalAdvance(name); width += 7) {
        SCOPED_TRACE(width);
        const QString shown = elidedName(name, metrics(), width);

        EXPECT_LE(metrics().horizontalAdvance(shown), width);
        EXPECT_TRUE(shown.contains(QChar(0x2026)));
        if (width > 120) {
            EXPECT_TRUE(shown.endsWith(text(".sqlite3"))) << qPrintable(shown);
            EXPECT_TRUE(shown.startsWith(u'A'));
        }
    }
    EXPECT_EQ(elidedName(name, metrics(), 4000), name);
}

TEST(NameTextTest, TheLongestNameIsShortenedToo)
{
    const QString name = QString(1020, u'w') + text(".jpg");

    const QString shown = elidedName(name, metrics(), 300);

    EXPECT_LE(metrics().horizontalAdvance(shown), 300);
    EXPECT_GT(metrics().horizontalAdvance(shown), 250);
    EXPECT_TRUE(shown.endsWith(text(".jpg")));
}

TEST(NameTextTest, MisleadingCharactersAreMadeVisible)
{
    // Shown as it is, the first would read "harmless exe.txt".
    EXPECT_EQ(showableName(text("harmless \u202etxt.exe")), text("harmless \ufffdtxt.exe"));
    EXPECT_EQ(showableName(text("two\nlines\u2028\x1b[31m")), text("two\ufffdlines\ufffd\ufffd[31m"));
    EXPECT_EQ(showableName(text("صورة العائلة 🏔.png")), text("صورة العائلة 🏔.png"));
}

TEST(NameTextTest, OnlyAWordTooLongForALineMayBreakAndNeverWithinALetter)
{
    const QString usual = text("“Office”  has 0044a1b2c3d4e5f0000000007\nand");
    EXPECT_EQ(breakable(usual), usual);

    const QString family = text("👨‍👩‍👧");
    const QString name = text("Remove “") + family.repeated(40) + text("”?");
    QString broken = breakable(name);
    EXPECT_EQ(broken.count(family), 40);
    EXPECT_GT(broken.count(QChar(0x200b)), 10);
    EXPECT_EQ(broken.remove(QChar(0x200b)), name);
}

TEST(NameTextTest, AnExtensionIsShortAndNotTheWholeName)
{
    EXPECT_EQ(extensionOf(text("a.tar.gz")), text(".gz"));
    EXPECT_EQ(extensionOf(text(".bashrc")), QString());
    EXPECT_EQ(extensionOf(text("Mr. Smith writes a letter")), QString());
    EXPECT_EQ(extensionOf(text("ends.")), QString());
}

TEST(ElidedLabelTest, ShowsWhatFitsAndHasAllOfItForScreenReaders)
{
    const QString name = text("a very long name of a picture that was taken in the mountains.jpeg");
    ElidedLabel label(name);
    label.resize(150, 20);
    present(label);

    EXPECT_NE(label.shownText(), name);
    EXPECT_TRUE(label.shownText().endsWith(text(".jpeg")));
    EXPECT_EQ(label.accessibleName(), name);
    EXPECT_EQ(label.text(), name);

    QHelpEvent help(QEvent::ToolTip, QPoint(5, 5), label.mapToGlobal(QPoint(5, 5)));
    QApplication::sendEvent(&label, &help);
    EXPECT_EQ(QToolTip::text(), name);

    label.resize(900, 20);
    EXPECT_EQ(label.shownText(), name);
}

} // namespace
