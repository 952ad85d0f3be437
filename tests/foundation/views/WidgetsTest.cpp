#include "foundation/views/ContextMenuKey.h"
#include "foundation/views/SearchField.h"
#include "foundation/views/panes/Banner.h"
#include "foundation/views/panes/EmptyState.h"
#include "foundation/views/panes/LoadingLine.h"
#include "foundation/views/sheets/Sheet.h"
#include "foundation/views/style/Style.h"

#include "tests/foundation/views/Scene.h"

#include <QAction>
#include <QButtonGroup>
#include <QLabel>
#include <QPushButton>
#include <QRadioButton>
#include <QSignalSpy>
#include <QToolButton>
#include <QVBoxLayout>

namespace {

Style& style()
{
    return *qobject_cast<Style*>(QApplication::style());
}

TEST(LoadingLineTest, ShowsOnlyWhenLoadingTakesLongerThanAFifthOfASecond)
{
    LoadingLine line;
    line.resize(300, 2);
    present(line);

    line.setLoading(true);
    QTest::qWait(120);
    EXPECT_FALSE(line.isShowing());
    line.setLoading(false);
    QTest::qWait(150);
    EXPECT_FALSE(line.isShowing());

    line.setLoading(true);
    EXPECT_TRUE(QTest::qWaitFor([&] { return line.isShowing(); }, 1000));
    EXPECT_TRUE(line.isMoving());
    line.hide();
    EXPECT_FALSE(line.isMoving());
    line.show();
    EXPECT_TRUE(line.isMoving());
    line.setLoading(false);
    EXPECT_FALSE(line.isShowing());
    EXPECT_FALSE(line.isMoving());
}

TEST(LoadingLineTest, DoesNotMoveWhereAnimationsAreOff)
{
    style().setAnimated(false);
    LoadingLine line;
    present(line);

    line.setLoading(true);
    EXPECT_TRUE(QTest::qWaitFor([&] { return line.isShowing(); }, 1000));
    EXPECT_FALSE(line.isMoving());
    style().setAnimated(true);
}

TEST(BannerTest, SaysItsKindAndOffersItsAction)
{
    Banner banner;
    banner.showMessage(MessageKind::danger, text("Couldn't list \"photos\"."), text("Try Again"));
    QSignalSpy triggered(&banner, &Banner::actionTriggered);
    QSignalSpy closed(&banner, &Banner::closed);
    EXPECT_EQ(banner.accessibleName(), text("Error: Couldn't list \"photos\"."));
    EXPECT_TRUE(banner.isVisible());

    banner.findChild<QPushButton*>()->click();
    EXPECT_EQ(triggered.size(), 1);
    EXPECT_TRUE(banner.isVisible());
    banner.findChild<QToolButton*>()->click();
    EXPECT_EQ(closed.size(), 1);
    EXPECT_FALSE(banner.isVisible());

    banner.showMessage(MessageKind::notice, text("Done."));
    EXPECT_FALSE(banner.findChild<QPushButton*>()->isVisible());
}

TEST(EmptyStateTest, StaysNarrowAndCentredInAWidePlace)
{
    EmptyState state;
    state.showText(Symbol::cloud, text("No files"), QString(300, u'm').replace(10, 1, u' '));
    state.setActions(text("Upload Files…"));
    state.resize(1180, 500);
    present(state);

    int buttons = 0;
    for (auto* child : state.findChildren<QWidget*>()) {
        if (child->isVisible()) {
            const QRect place(child->mapTo(&state, QPoint()), child->size());
            EXPECT_LE(child->width(), EmptyState::maximumContentWidth);
            EXPECT_TRUE(state.rect().contains(place));
        }
        buttons += qobject_cast<QPushButton*>(child) != nullptr && child->isVisible() ? 1 : 0;
    }
    EXPECT_EQ(buttons, 1);
    const auto* button = state.findChild<QPushButton*>();
    EXPECT_NEAR(button->mapTo(&state, button->rect().center()).x(), 590, 3);
}

TEST(BannerTest, ALongNameWrapsAndTheEndOfTheSentenceIsSeen)
{
    const QString sentence = text("Couldn't switch to “") + QString(100, u'L') + text("”. Still connected with “")
        + QString(100, u'N') + text("”.");
    QWidget window;
    auto* const banner = new Banner;
    auto* const state = new EmptyState;
    auto* const column = new QVBoxLayout(&window);
    column->addWidget(banner);
    column->addWidget(state, 1);
    banner->showMessage(MessageKind::warning, sentence, text("Try Again"));
    state->showText(Symbol::key, QString(100, u'N'), sentence);
    window.resize(620, 600);
    window.show();
    QApplication::processEvents();

    EXPECT_EQ(window.width(), 620);
    EXPECT_EQ(banner->text(), sentence);
    for (const auto* const label : window.findChildren<QLabel*>()) {
        if (!label->wordWrap())
            continue;
        const QRect needed = label->fontMetrics().boundingRect(
            QRect(0, 0, label->contentsRect().width(), 10000), Qt::TextWordWrap, label->text());
        EXPECT_LE(needed.width(), label->contentsRect().width());
        EXPECT_LE(needed.height(), label->contentsRect().height()) << qPrintable(label->text());
    }
}

TEST(SearchFieldTest, EscapeEmptiesTheFieldAndThenLeavesIt)
{
    SearchField field(text("Find"));
    present(field);
    QSignalSpy left(&field, &SearchField::left);
    field.setText(text("abc"));

    QTest::keyClick(&field, Qt::Key_Escape);
    EXPECT_TRUE(field.text().isEmpty());
    EXPECT_TRUE(left.isEmpty());
    QTest::keyClick(&field, Qt::Key_Escape);
    EXPECT_EQ(left.size(), 1);
}

class SheetTest : public ::testing::Test {
protected:
    void open()
    {
        sheet.open();
        QApplication::setActiveWindow(&sheet);
        QApplication::processEvents();
    }

    QPushButton* cancel() const
    {
        for (auto* button : sheet.findChildren<QPushButton*>()) {
            if (button->text() == text("Cancel")) {
                return button;
            }
        }
        return nullptr;
    }

    QWidget window;
    Sheet sheet{text("Delete 3 Versions?"), text("They are gone for good."), &window};
};

TEST_F(SheetTest, ADestructiveButtonStandsApartAndIsNeverTheDefault)
{
    QPushButton* verb = sheet.setDestructiveVerb(text("Delete 3 Versions"));
    QSignalSpy pressed(&sheet, &Sheet::verbTriggered);
    QSignalSpy rejected(&sheet, &QDialog::rejected);
    open();

    EXPECT_FALSE(verb->isDefault());
    EXPECT_FALSE(verb->autoDefault());
    EXPECT_TRUE(cancel()->isDefault());
    EXPECT_GT(cancel()->x() - verb->geometry().right(), 40);
    QTest::keyClick(&sheet, Qt::Key_Return);
    EXPECT_TRUE(pressed.isEmpty());
    EXPECT_EQ(rejected.size(), 1);
}

TEST_F(SheetTest, EnterPressesTheButtonThatHasTheFocusElseTheDefaultOne)
{
    auto* const verb = sheet.setDestructiveVerb(text("Delete 3 Versions"));
    auto* const tool = new QToolButton;
    tool->setFocusPolicy(Qt::StrongFocus);
    sheet.addWide(tool);
    QSignalSpy pressed(&sheet, &Sheet::verbTriggered);
    QSignalSpy used(tool, &QToolButton::clicked);
    QSignalSpy closed(&sheet, &QDialog::finished);
    sheet.open();

    for (auto* const button : std::initializer_list<QAbstractButton*>{tool, verb}) {
        button->setFocus();
        QTest::keyClick(button, Qt::Key_Return);
    }
    EXPECT_EQ(used.size(), 1);
    EXPECT_EQ(pressed.size(), 1);
    EXPECT_TRUE(closed.isEmpty());
    verb->clearFocus();
    QTest::keyClick(&sheet, Qt::Key_Return);
    EXPECT_EQ(sheet.result(), QDialog::Rejected);
    EXPECT_EQ(closed.size(), 1);
}

TEST_F(SheetTest, TheFirstFieldHasTheFocusReturnIsTheVerbAndEscapeCancels)
{
    auto* name = new QLineEdit;
    sheet.addRow(text("Name:"), name, text("6 to 63 characters."));
    sheet.setVerb(text("Create Bucket"));
    QSignalSpy pressed(&sheet, &Sheet::verbTriggered);
    QSignalSpy rejected(&sheet, &QDialog::rejected);
    open();

    EXPECT_EQ(sheet.windowModality(), Qt::WindowModal);
    EXPECT_GE(sheet.width(), 480);
    EXPECT_LE(sheet.width(), 600);
    EXPECT_TRUE(name->hasFocus());
    EXPECT_EQ(name->accessibleName(), text("Name"));
    EXPECT_EQ(name->accessibleDescription(), text("6 to 63 characters."));
    QTest::keyClick(name, Qt::Key_Return);
    EXPECT_EQ(pressed.size(), 1);
    QTest::keyClick(&sheet, Qt::Key_Escape);
    EXPECT_EQ(rejected.size(), 1);
}

TEST(ContextMenuKeyTest, ShiftF10AsksAsTheMenuKeyDoes)
{
    class Field final : public QWidget {
    public:
        int asked = 0;

    protected:
        void contextMenuEvent(QContextMenuEvent* event) override
        {
            EXPECT_EQ(event->reason(), QContextMenuEvent::Keyboard);
            ++asked;
        }
    };
    const ContextMenuKey menuKey(*QCoreApplication::instance());
    Field field;
    field.setFocusPolicy(Qt::StrongFocus);
    field.show();
    field.activateWindow();
    field.setFocus();
    ASSERT_TRUE(QTest::qWaitFor([&] { return QApplication::focusWidget() == &field; }));
    QTest::keyClick(&field, Qt::Key_F10);
    EXPECT_EQ(field.asked, 0);
    QTest::keyClick(&field, Qt::Key_F10, Qt::ShiftModifier);
    EXPECT_EQ(field.asked, 1);
}

TEST_F(SheetTest, ADisabledVerbSaysWhyAndWorkLocksTheRows)
{
    auto* name = new QLineEdit;
    sheet.addRow(text("Name:"), name);
    QPushButton* verb = sheet.setVerb(text("Create Bucket"));
    open();

    sheet.setVerbEnabled(false, text("Type a name first."));
    EXPECT_FALSE(verb->isEnabled());
    EXPECT_EQ(verb->toolTip(), text("Type a name first."));
    EXPECT_EQ(verb->accessibleDescription(), text("Type a name first."));

    sheet.setVerbEnabled(true);
    sheet.setBusy(true, text("Creating \"archive\"…"));
    EXPECT_FALSE(name->isEnabled());
    EXPECT_FALSE(verb->isEnabled());
    EXPECT_TRUE(cancel()->isEnabled());
    sheet.setVerbEnabled(true);
    EXPECT_FALSE(verb->isEnabled());
    sheet.setBusy(false);
    EXPECT_TRUE(name->isEnabled());
    EXPECT_TRUE(verb->isEnabled());
}

} // namespace
