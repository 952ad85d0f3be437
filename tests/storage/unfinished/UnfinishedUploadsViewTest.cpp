#include "tests/storage/unfinished/StorageFixture.h"

#include "foundation/views/panes/EmptyState.h"
#include "storage/unfinished/views/UnfinishedUploadRow.h"
#include "storage/unfinished/views/UnfinishedUploadsView.h"

#include <QLabel>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>

#include <algorithm>

namespace {

using testing::ElementsAre;

class UnfinishedUploadsViewTest : public StorageFixture {
protected:
    void SetUp() override
    {
        StorageFixture::SetUp();
        begun = startFile("Films/just begun.mov");
    }

    QList<UnfinishedUploadRow*> rows() const
    {
        QList<UnfinishedUploadRow*> visible;
        for (auto* const row : view.findChildren<UnfinishedUploadRow*>()) {
            if (row->isVisible())
                visible.append(row);
        }
        return visible;
    }
    static QPushButton* button(const QWidget& where, const QString& text)
    {
        for (auto* const candidate : where.findChildren<QPushButton*>()) {
            if (candidate->text() == text && candidate->isVisible())
                return candidate;
        }
        return nullptr;
    }
    bool says(const QString& text) const
    {
        return std::ranges::any_of(view.findChildren<QLabel*>(),
            [&](const QLabel* label) { return label->isVisible() && label->text() == text; });
    }
    void open()
    {
        view.open();
        ASSERT_TRUE(QTest::qWaitForWindowActive(&view));
        ASSERT_TRUE(spinUntil([&] { return *model.hasLoaded && rows().size() == 2; }));
    }

    std::string begun;
    std::optional<std::string> refusal;
    std::vector<std::string> resumed;
    UnfinishedUploadsView view{model,
        {.resumeAction = [this](std::string fileID) -> Task<std::optional<std::string>> {
             resumed.push_back(std::move(fileID));
             co_return refusal;
         },
            .canResume = [this](const std::string& fileID) { return fileID == begun; }}};
};

TEST_F(UnfinishedUploadsViewTest, ResumesWithTheKeyboardAndSaysWhyItCannot)
{
    refusal = "\"just begun.mov\" is gone.";
    open();
    EXPECT_TRUE(spinUntil([&] { return says(QStringLiteral("10 MB stored across 2 unfinished uploads")); }));
    EXPECT_EQ(button(*rows().at(0), QStringLiteral("Resume")), nullptr) << "its source is not known";
    auto* const resume = button(*rows().at(1), QStringLiteral("Resume"));
    ASSERT_TRUE(resume);

    resume->setFocus();
    QTest::keyClick(resume, Qt::Key_Space);
    EXPECT_TRUE(spinUntil([&] { return says(toQString(*refusal)); }));

    refusal.reset();
    QSignalSpy queued(&view, &UnfinishedUploadsView::resumed);
    model.inFlightFileIDs = [&] { return std::set{begun}; };
    QTest::keyClick(resume, Qt::Key_Space);
    EXPECT_TRUE(spinUntil([&] { return rows().size() == 1; })) << "it is on its way and no longer unfinished";
    EXPECT_THAT(resumed, ElementsAre(begun, begun));
    EXPECT_EQ(queued.count(), 1);
}

TEST_F(UnfinishedUploadsViewTest, KeepsTheKeyboardOnRecheckWhileTheSizesAreRead)
{
    open();
    auto* const recheck = button(view, QStringLiteral("Recheck Sizes"));
    ASSERT_TRUE(spinUntil([&] { return recheck->isEnabled(); }));
    recheck->setFocus();
    plant(R"({"kind": "stall", "operation": "b2_list_parts", "milliseconds": 300})");

    QTest::keyClick(recheck, Qt::Key_Return);
    ASSERT_TRUE(spinUntil([&] { return !recheck->isEnabled(); }));
    QTest::keyClick(view.focusWidget(), Qt::Key_Return);
    EXPECT_TRUE(view.isVisible());
    EXPECT_TRUE(spinUntil([&] { return recheck->isEnabled(); }));

    EXPECT_EQ(view.focusWidget(), recheck);
    EXPECT_TRUE(resumed.empty());
}

TEST_F(UnfinishedUploadsViewTest, AsksBeforeItCancelsAndEndsWithNothingAbandoned)
{
    open();
    for (int left = 2; left > 0; --left) {
        auto* const cancel = button(*rows().front(), QStringLiteral("Cancel Upload"));
        ASSERT_TRUE(cancel);
        cancel->click();
        auto* sheet = view.findChild<Sheet*>(QStringLiteral("cancelQuestion"));
        ASSERT_TRUE(sheet);
        sheet->reject();
        EXPECT_FALSE(model.items->front().isCancelling);
        QCoreApplication::sendPostedEvents(sheet, QEvent::DeferredDelete);

        cancel->click();
        sheet = view.findChild<Sheet*>(QStringLiteral("cancelQuestion"));
        ASSERT_TRUE(sheet);
        button(*sheet, QStringLiteral("Cancel Upload"))->click();
        ASSERT_TRUE(spinUntil([&] { return rows().size() == left - 1; }));
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
    EXPECT_TRUE(says(QStringLiteral("Nothing Abandoned")));
}

TEST_F(UnfinishedUploadsViewTest, OffersToReadAgainAfterAFailureAndNoCancelWithoutTheRight)
{
    model.open(restrictedSession(B2Capabilities::writeFiles), films);
    plant(R"({"kind": "status", "operation": "b2_list_unfinished_large_files", "count": 1, "status": 400,
              "code": "bad_request", "message": "refused by the test"})");
    view.open();
    ASSERT_TRUE(spinUntil([&] { return says(QStringLiteral("Could not read unfinished uploads")); }));

    button(view, QStringLiteral("Try Again"))->click();
    ASSERT_TRUE(spinUntil([&] { return rows().size() == 2; }));
    auto* const cancel = button(*rows().front(), QStringLiteral("Cancel Upload"));
    EXPECT_FALSE(cancel->isEnabled());
    EXPECT_EQ(cancel->toolTip(), QStringLiteral("This key cannot cancel uploads: it lacks writeFiles"));
    EXPECT_TRUE(spinUntil([&] { return button(view, QStringLiteral("Recheck Sizes"))->isEnabled(); }));
    QTest::keyClick(&view, Qt::Key_Escape);
    EXPECT_FALSE(view.isVisible());
}

} // namespace
