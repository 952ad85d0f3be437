#include "foundation/views/panes/PathBar.h"

#include "tests/foundation/views/Scene.h"

#include <QDropEvent>
#include <QLineEdit>
#include <QMenu>
#include <QMimeData>
#include <QSignalSpy>
#include <QToolButton>

namespace {

class PathBarTest : public ::testing::Test {
protected:
    PathBarTest()
    {
        bar.setSegments({{text("archive"), text(""), Symbol::bucketPrivate}, {text("photos"), text("photos/"), {}},
            {text("2024"), text("photos/2024/"), {}}, {text("mountains & lakes"), text("photos/2024/m/"), {}},
            {text("July"), text("photos/2024/m/July/"), {}}});
        bar.resize(800, 36);
        present(bar);
    }

    QToolButton* button(const char* name) const
    {
        for (auto* child : bar.findChildren<QToolButton*>()) {
            if (child->isVisible() && child->accessibleName() == text(name)) {
                return child;
            }
        }
        return nullptr;
    }

    PathBar bar;
    QSignalSpy navigated{&bar, &PathBar::navigate};
};

TEST_F(PathBarTest, FoldsTheMiddleWhenNarrow)
{
    EXPECT_EQ(bar.shownTitles().size(), 5);

    bar.resize(300, 36);

    const QStringList shown = bar.shownTitles();
    EXPECT_EQ(shown.constFirst(), text("archive"));
    EXPECT_EQ(shown.at(1), text("…"));
    EXPECT_EQ(shown.constLast(), text("July"));
    EXPECT_LT(shown.size(), 5);
    for (auto* child : bar.findChildren<QToolButton*>()) {
        EXPECT_TRUE(!child->isVisible() || bar.rect().contains(child->geometry()))
            << qPrintable(child->accessibleName());
    }

    QTest::mouseClick(button("Folders between"), Qt::LeftButton);
    auto* menu = bar.findChild<QMenu*>();
    ASSERT_FALSE(menu->actions().isEmpty());
    EXPECT_EQ(menu->actions().constFirst()->text(), text("photos"));
    menu->actions().constFirst()->trigger();
    menu->close();
    EXPECT_EQ(navigated.takeFirst().constFirst().toString(), text("photos/"));
}

TEST_F(PathBarTest, ASingleLongNameIsShortenedToFitTheBar)
{
    bar.setSegments({{QString(63, u'b'), text(""), Symbol::bucketPublic}, {QString(500, u'x'), text("x/"), {}}});
    bar.resize(320, 36);

    for (const char* ignored : {"b", "x"}) {
        Q_UNUSED(ignored)
        for (auto* child : bar.findChildren<QToolButton*>()) {
            EXPECT_TRUE(!child->isVisible() || bar.rect().contains(child->geometry()));
        }
    }
    EXPECT_EQ(bar.shownTitles().constLast().size(), 500);
}

TEST_F(PathBarTest, AStepIsReachedByMouseAndKeys)
{
    QTest::mouseClick(button("2024"), Qt::LeftButton);
    EXPECT_EQ(navigated.takeFirst().constFirst().toString(), text("photos/2024/"));
    EXPECT_EQ(button("mountains & lakes")->text(), text("mountains && lakes"));
    EXPECT_TRUE(button("July")->font().bold());
    EXPECT_FALSE(button("2024")->font().bold());

    button("July")->setFocus();
    QTest::keyClick(button("July"), Qt::Key_Left);
    EXPECT_TRUE(button("mountains & lakes")->hasFocus());
    QTest::keyClick(button("mountains & lakes"), Qt::Key_Return);
    EXPECT_EQ(navigated.takeFirst().constFirst().toString(), text("photos/2024/m/"));
}

TEST_F(PathBarTest, ReturnGoesToTheTypedPathAndEscapeRestoresTheSteps)
{
    bar.beginEditing();
    auto* field = bar.findChild<QLineEdit*>();
    ASSERT_TRUE(bar.isEditing());
    EXPECT_EQ(field->text(), text("photos/2024/m/July/"));
    EXPECT_TRUE(field->hasFocus());

    QTest::keyClicks(field, text("music/"));
    QTest::keyClick(field, Qt::Key_Return);
    EXPECT_EQ(navigated.takeFirst().constFirst().toString(), text("music/"));
    EXPECT_FALSE(bar.isEditing());

    bar.beginEditing();
    QTest::keyClick(field, Qt::Key_Escape);
    EXPECT_FALSE(bar.isEditing());
    EXPECT_TRUE(button("July")->isVisible());
    EXPECT_TRUE(navigated.isEmpty());
}

TEST_F(PathBarTest, FilesDroppedOnAStepAreReportedWithItsPath)
{
    QSignalSpy dropped(&bar, &PathBar::dropped);
    QMimeData files;
    files.setUrls({QUrl::fromLocalFile(text("/home/me/a.txt"))});
    QToolButton* step = button("photos");

    QDragEnterEvent enter(QPoint(4, 4), Qt::CopyAction, &files, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(step, &enter);
    EXPECT_TRUE(enter.isAccepted());
    QDropEvent drop(QPointF(4, 4), Qt::CopyAction, &files, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(step, &drop);

    ASSERT_EQ(dropped.size(), 1);
    EXPECT_EQ(dropped.at(0).at(0).value<QList<QUrl>>(), files.urls());
    EXPECT_EQ(dropped.at(0).at(1).toString(), text("photos/"));

    QMimeData words;
    words.setText(text("words"));
    QDragEnterEvent refused(QPoint(4, 4), Qt::CopyAction, &words, Qt::LeftButton, Qt::NoModifier);
    refused.ignore();
    QApplication::sendEvent(step, &refused);
    EXPECT_FALSE(refused.isAccepted());
}

} // namespace
