#include "foundation/views/sheets/RunSheet.h"
#include "foundation/QtText.h"
#include "tests/foundation/views/Scene.h"

#include <gmock/gmock.h>

#include <QClipboard>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPointer>
#include <QProgressBar>
#include <QPushButton>

using testing::HasSubstr;

namespace {

QPushButton* buttonOf(const QWidget& sheet, const QString& caption)
{
    for (auto* const button : sheet.findChildren<QPushButton*>()) {
        if (button->text() == caption && !button->isHidden())
            return button;
    }
    return nullptr;
}

/// A sheet over a window, about items whose end the test decides.
class RunSheetTest : public ::testing::Test {
protected:
    using Reason = std::optional<std::string>;

    void open(int count, ItemRun::UponStop uponStop = ItemRun::UponStop::cancel)
    {
        auto wait = [](OneShot<Reason> end, int* begun) -> Task<Reason> {
            ++*begun;
            co_return co_await end.wait();
        };
        std::vector<ItemRun::Item> items;
        for (int i = 0; i < count; ++i) {
            ends.emplace_back();
            items.push_back(
                {"key " + std::to_string(i), [this, wait, end = ends.back()] { return wait(end, &begun); }, uponStop});
        }
        const Question question{.title = "Delete Keys?", .text = "They are gone for good.", .verb = "Delete Keys"};
        present(window);
        sheet = new RunSheet(question, std::make_unique<ItemRun>(std::move(items)),
            {"Deleting keys…", {"key", "keys", "deleted"}}, &window);
        sheet->open();
        QApplication::processEvents();
    }
    void begin()
    {
        buttonOf(*sheet, text("Delete Keys"))->click();
        ASSERT_TRUE(QTest::qWaitFor([&] { return begun > 0; }));
    }
    bool hasMoved(int done) const
    {
        return QTest::qWaitFor([&] { return sheet->findChild<QProgressBar*>()->value() == done; });
    }
    bool isShowingResult() const
    {
        return QTest::qWaitFor([&] { return buttonOf(*sheet, text("Close")) != nullptr; });
    }
    bool says(const QString& sentence) const
    {
        for (const auto* const label : sheet->findChildren<QLabel*>()) {
            if (!label->isHidden() && label->text().remove(QChar(0x200b)).contains(sentence))
                return true;
        }
        return false;
    }

    QWidget window;
    QPointer<RunSheet> sheet;
    std::vector<OneShot<Reason>> ends;
    int begun = 0;
};

} // namespace

TEST_F(RunSheetTest, ClosesWhenEverythingWasDoneAndRunsNothingWhenTurnedDown)
{
    open(1);
    QTest::keyClick(sheet, Qt::Key_Escape);
    EXPECT_TRUE(QTest::qWaitFor([&] { return !sheet; }));

    ends.clear();
    open(2);
    begin();
    EXPECT_FALSE(buttonOf(*sheet, text("Delete Keys"))) << "asked and answered";
    ends[0].set(std::nullopt);
    ASSERT_TRUE(hasMoved(1));
    ends[1].set(std::nullopt);
    EXPECT_TRUE(QTest::qWaitFor([&] { return !sheet; }));
}

TEST_F(RunSheetTest, EscapeStopsTheRunAndTheSheetStaysUntilItHasEnded)
{
    open(3, ItemRun::UponStop::letEnd);
    begin();
    QTest::keyClick(sheet, Qt::Key_Escape);
    QApplication::processEvents();
    ASSERT_TRUE(sheet && sheet->isVisible());
    EXPECT_TRUE(says(text("Stopping…")));
    QTest::keyClick(sheet, Qt::Key_Escape);
    ASSERT_TRUE(sheet && sheet->isVisible());

    ends[0].set("The service is busy.");
    ASSERT_TRUE(isShowingResult());
    EXPECT_TRUE(says(text("Stopped. No key was deleted. “key 0” could not be deleted. The service is busy.")));
    EXPECT_EQ(buttonOf(*sheet, text("Delete Keys")), nullptr);
    QTest::keyClick(sheet, Qt::Key_Escape);
    EXPECT_TRUE(QTest::qWaitFor([&] { return !sheet; }));
}

TEST_F(RunSheetTest, ListsWhatWasNotDoneToBeCopied)
{
    open(3);
    begin();
    ends[0].set("The service is busy.");
    ends[1].set(std::nullopt);
    ends[2].set("It is in use.");
    ASSERT_TRUE(isShowingResult());

    EXPECT_TRUE(says(text("1 of 3 keys was deleted. 2 could not be deleted.")));
    const auto* const list = sheet->findChild<QPlainTextEdit*>();
    ASSERT_TRUE(list);
    EXPECT_FALSE(list->accessibleName().isEmpty());
    EXPECT_THAT(fromQString(list->toPlainText()), HasSubstr("key 2: It is in use."));
    ASSERT_TRUE(QTest::qWaitFor([&] { return buttonOf(*sheet, text("Copy List")) != nullptr; }));
    buttonOf(*sheet, text("Copy List"))->click();
    EXPECT_THAT(fromQString(QApplication::clipboard()->text()), HasSubstr("key 0: The service is busy.\n"));
    buttonOf(*sheet, text("Close"))->click();
    EXPECT_TRUE(QTest::qWaitFor([&] { return !sheet; }));
}

TEST(QuestionSheetTest, ATypedNameTurnsTheVerbOn)
{
    QWidget window;
    present(window);
    const QPointer sheet = new QuestionSheet({.title = "Delete Bucket?",
                                                 .consequences = {"Every file is gone."},
                                                 .verb = "Delete Bucket",
                                                 .typedName = "a b"},
        &window);
    sheet->open();
    auto* const verb = buttonOf(*sheet, text("Delete Bucket"));
    auto* const field = sheet->findChild<QLineEdit*>();
    ASSERT_TRUE(verb && field);
    EXPECT_FALSE(verb->isEnabled());
    EXPECT_EQ(verb->toolTip(), text("Type “a b” to confirm."));
    QTest::keyClicks(field, text("a B"));
    EXPECT_FALSE(verb->isEnabled());
    field->setText(text("a b"));
    EXPECT_TRUE(verb->isEnabled());
    QTest::keyClick(sheet, Qt::Key_Escape);
    EXPECT_TRUE(QTest::qWaitFor([&] { return !sheet; }));
}
