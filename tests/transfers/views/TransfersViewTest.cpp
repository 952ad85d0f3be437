#include "transfers/views/TransfersView.h"
#include "foundation/views/panes/Banner.h"
#include "tests/support/QtRun.h"
#include "tests/transfers/TransfersFixture.h"
#include "transfers/views/TransferProblemsSheet.h"

#include <QAbstractItemModelTester>
#include <QClipboard>
#include <QDesktopServices>
#include <QDropEvent>
#include <QHelpEvent>
#include <QMimeData>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>
#include <QTextBrowser>
#include <QToolTip>

#include <algorithm>

using testing::ElementsAre;

namespace {

using Kind = Transfer::Kind;
using State = Transfer::State;

/// A stand-in for the desktop that records the addresses it is asked to open.
class Desktop final : public QObject {
    Q_OBJECT

public:
    Desktop() { QDesktopServices::setUrlHandler(QStringLiteral("file"), this, "open"); }
    ~Desktop() override { QDesktopServices::unsetUrlHandler(QStringLiteral("file")); }

    Q_INVOKABLE void open(const QUrl& address) { opened.push_back(fromQString(address.toLocalFile())); }

    std::vector<std::string> opened;
};

class TransfersViewTest : public TransfersFixture {
protected:
    void SetUp() override
    {
        TransfersFixture::SetUp();
        view.resize(800, 300);
        view.show();
        ASSERT_TRUE(QTest::qWaitForWindowActive(&view));
    }

    /// A row in a state; its work does nothing.
    std::shared_ptr<Transfer> add(std::string name, State state, Kind kind = Kind::download)
    {
        auto transfer = std::make_shared<Transfer>(kind, std::move(name), 1000);
        transfer->localPath = downloads / transfer->displayName;
        transfer->state = std::move(state);
        queue.enqueue(transfer, [](TransferRun) -> Task<> { co_return; });
        QCoreApplication::processEvents();
        return transfer;
    }

    TransferListView& list() { return view.list(); }
    QRect rowRect(int row) { return list().visualRect(list().model()->index(row, 0)); }
    std::vector<TransferButton> buttons(int row)
    {
        const auto& transfer = *queue.transfers->at(static_cast<std::size_t>(row));
        return TransferButtons::placed(rowRect(row), list().layoutDirection(), transfer, list().actionsOf(transfer));
    }
    /// The last one.
    void clickButton(int row)
    {
        QTest::mouseClick(list().viewport(), Qt::LeftButton, {}, buttons(row).back().place.center());
    }

    TransfersView view{queue};
    const QAbstractItemModelTester tester{list().model(), QAbstractItemModelTester::FailureReportingMode::Fatal};
};

TEST_F(TransfersViewTest, SaysThatThereIsNothingUntilThereIs)
{
    EXPECT_FALSE(list().isVisible());

    add("a.txt", State::running());

    EXPECT_TRUE(list().isVisible());
    EXPECT_FALSE(list().hasFocus());
    EXPECT_EQ(fromQString(list().model()->index(0, 0).data(Qt::AccessibleTextRole).toString()),
        "a.txt, download, Downloading");
}

TEST_F(TransfersViewTest, RepaintsTheOneRowThatMoves)
{
    for (int i = 0; i < 50; ++i)
        add(std::to_string(i), State::running());
    const auto& moved = queue.transfers->at(7);
    QSignalSpy changes(list().model(), &QAbstractItemModel::dataChanged);

    for (int i = 1; i <= 100; ++i)
        moved->bytesTransferred = i;
    EXPECT_TRUE(spinUntil([&] { return !changes.isEmpty(); }));

    ASSERT_EQ(changes.count(), 1);
    EXPECT_EQ(changes[0][0].toModelIndex().row(), 7);
    EXPECT_EQ(changes[0][1].toModelIndex().row(), 7);
}

TEST_F(TransfersViewTest, CancelsAndRetriesByTheButtonOfARow)
{
    const auto first = add("first", State::running());
    const auto second = add("second", State::running());

    clickButton(1);
    EXPECT_EQ(*first->state, State::running());
    EXPECT_EQ(*second->state, State::cancelled());
    EXPECT_TRUE(list().selectedTransfers().empty()) << "the click went to the button alone";

    clickButton(1);
    EXPECT_EQ(second->attempt(), 1);
    EXPECT_EQ(queue.transfers->size(), 2U);
}

TEST_F(TransfersViewTest, OffersTheButtonOfTheRowThePointerIsOn)
{
    for (int i = 0; i < 2; ++i)
        add(std::to_string(i), State::running());
    const auto hasButton = [&](int row) {
        const auto place = buttons(row).back().place;
        const auto image = list().viewport()->grab(place.adjusted(6, 6, -6, -6)).toImage();
        const auto ground = image.pixel(0, 0);
        for (int x = 0; x < image.width(); ++x) {
            if (image.pixel(x, image.height() / 2) != ground)
                return true;
        }
        return false;
    };
    EXPECT_FALSE(hasButton(0));

    QTest::mouseMove(list().viewport(), rowRect(0).center());
    QCoreApplication::processEvents();

    EXPECT_TRUE(hasButton(0));
    EXPECT_FALSE(hasButton(1));
}

TEST_F(TransfersViewTest, OpenHelpFollowsTheState)
{
    const auto upload = add("a", State::running(), Kind::upload);
    upload->partsCompleted = 1;
    upload->partCount = 2;
    upload->resumableFileID = "4_z1";
    const QPoint place = rowRect(0).center();
    QTest::mouseMove(list().viewport(), place);
    QCoreApplication::processEvents();
    QHelpEvent asked(QEvent::ToolTip, place, list().viewport()->mapToGlobal(place));
    QCoreApplication::sendEvent(list().viewport(), &asked);
    ASSERT_TRUE(QToolTip::text().contains(QStringLiteral("Cancel now")));

    upload->state = State::cancelled();

    EXPECT_TRUE(spinUntil([] { return QToolTip::text().contains(QStringLiteral("Resume goes on")); }));
    QToolTip::hideText();
}

TEST_F(TransfersViewTest, OffersToSkipAChecksumBesideCancel)
{
    const auto byButton = add("a", State::running(), Kind::upload);
    const auto byKey = add("b", State::running(), Kind::upload);
    for (const auto& transfer : {byButton, byKey})
        transfer->isHashing = true;

    const auto offered = buttons(0);
    ASSERT_EQ(offered.size(), 2U);
    EXPECT_FALSE(offered[0].place.intersects(offered[1].place));
    QTest::mouseClick(list().viewport(), Qt::LeftButton, {}, offered[0].place.center());
    EXPECT_TRUE(byButton->skipChecksum->isRaised());
    EXPECT_EQ(*byButton->state, State::running());
    EXPECT_EQ(buttons(0).size(), 1U) << "what was given up is not offered again";

    list().setCurrentIndex(list().model()->index(1, 0));
    QTest::keyClick(&list(), Qt::Key_K, Qt::ControlModifier);
    EXPECT_TRUE(byKey->skipChecksum->isRaised());
}

TEST_F(TransfersViewTest, ShowsWhatFailedOfAFolderAndCopiesIt)
{
    const auto folder = add("photos/", State::failed("2 of 9 files failed"), Kind::upload);
    folder->filesFailed = 2;
    folder->fileProblems = {{"a/<b>.jpg", "It is gone."}, {"c.jpg", "Its name is too long."}};
    view.focusList();

    QTest::keyClick(&list(), Qt::Key_Return);

    const auto* const sheet = view.findChild<TransferProblemsSheet*>();
    ASSERT_NE(sheet, nullptr);
    EXPECT_EQ(sheet->windowTitle(), QStringLiteral("Files That Failed"));
    EXPECT_EQ(fromQString(sheet->findChild<QTextBrowser*>()->toPlainText()),
        "a/<b>.jpg\nIt is gone.\nc.jpg\nIts name is too long.");
    for (auto* const button : sheet->findChildren<QPushButton*>()) {
        if (button->isDefault())
            button->click();
    }
    EXPECT_EQ(
        fromQString(QGuiApplication::clipboard()->text()), "a/<b>.jpg: It is gone.\nc.jpg: Its name is too long.");
}

TEST_F(TransfersViewTest, ShowsWhatWasLeftOutThoughNothingFailed)
{
    const auto folder = add("photos/", State::finished(), Kind::upload);
    folder->fileProblems = {{"link", "It is a link.", FileProblem::Kind::leftOut}};
    view.focusList();

    QTest::keyClick(&list(), Qt::Key_Return);

    const auto* const sheet = view.findChild<TransferProblemsSheet*>();
    ASSERT_NE(sheet, nullptr);
    EXPECT_EQ(sheet->windowTitle(), QStringLiteral("Not Sent"));
    EXPECT_EQ(fromQString(sheet->findChild<QTextBrowser*>()->toPlainText()), "link\nIt is a link.");
}

TEST_F(TransfersViewTest, GoesFromOneFailedRowToTheNext)
{
    for (int i = 0; i < 60; ++i)
        add(std::to_string(i), i == 3 || i == 40 ? State::failed("No.") : State::finished());
    auto* const failed = view.findChild<QPushButton*>(QStringLiteral("nextFailed"));
    ASSERT_TRUE(spinUntil([&] { return failed->isVisible() && failed->text() == QStringLiteral("2 failed"); }));

    for (const int expected : {3, 40, 3}) {
        QTest::mouseClick(failed, Qt::LeftButton);
        EXPECT_EQ(list().currentIndex().row(), expected);
        EXPECT_TRUE(list().viewport()->rect().contains(rowRect(expected)));
    }
    QTest::keyClick(&list(), Qt::Key_F8);
    EXPECT_EQ(list().currentIndex().row(), 40);
    EXPECT_TRUE(list().hasFocus());
}

TEST_F(TransfersViewTest, CancelsTheSelectionByKey)
{
    add("a", State::running());
    add("b", State::finished());
    add("c", State::waiting());
    view.focusList();
    list().selectAll();

    QTest::keyClick(&list(), Qt::Key_Delete);

    std::vector<State::Case> states;
    for (const auto& transfer : *queue.transfers)
        states.push_back(transfer->state->which);
    EXPECT_THAT(states, ElementsAre(State::Case::cancelled, State::Case::finished, State::Case::cancelled));
}

TEST_F(TransfersViewTest, OpensTheFolderOfAFinishedDownloadWhereNoFileManagerAnswers)
{
    Desktop desktop;
    add("failed", State::failed("No."));
    add("done", State::finished());
    view.focusList();

    QTest::keyClick(&list(), Qt::Key_Return);
    EXPECT_TRUE(desktop.opened.empty()) << "the first row has nothing to show";
    QTest::keyClick(&list(), Qt::Key_Down);
    QTest::keyClick(&list(), Qt::Key_Return);

    EXPECT_THAT(desktop.opened, ElementsAre(downloads.string()));
}

TEST_F(TransfersViewTest, KeepsSelectionAndScrollWhileRowsComeAndGo)
{
    for (int i = 0; i < 40; ++i)
        add("row " + std::to_string(i), i % 2 == 0 ? State::finished() : State::running());
    const auto kept = queue.transfers->at(21);
    list().setCurrentIndex(list().model()->index(21, 0));

    QTest::mouseClick(view.findChild<QPushButton*>(QStringLiteral("clearFinished")), Qt::LeftButton);
    QCoreApplication::processEvents();
    add("new", State::running());

    EXPECT_EQ(list().model()->rowCount(), 21);
    EXPECT_THAT(list().selectedTransfers(), ElementsAre(kept));
    EXPECT_EQ(list().currentIndex().row(), 10);
    EXPECT_TRUE(list().viewport()->rect().intersects(rowRect(10)));
}

TEST_F(TransfersViewTest, ShowsWhatWasRefusedUntilItIsClosed)
{
    queue.upload({directory / "gone", directory / "gone too"}, {}, "", nullptr);
    auto* const banner = view.findChild<Banner*>();
    EXPECT_TRUE(spinUntil([&] { return banner->isVisible(); }));
    EXPECT_THAT(fromQString(banner->text()), testing::HasSubstr("\"gone\""));
    EXPECT_THAT(fromQString(banner->text()), testing::EndsWith(" 1 more file was refused; the activity log says why."));

    Q_EMIT banner->closed();

    EXPECT_TRUE(queue.refusals->empty());
}

TEST_F(TransfersViewTest, TakesLocalFilesThatAreDropped)
{
    QMimeData data;
    data.setUrls({QUrl(QStringLiteral("file:///home/me/a.txt")), QUrl(QStringLiteral("https://example.com/b"))});
    QSignalSpy drops(&view, &TransfersView::filesDropped);

    QDragEnterEvent enter({10, 10}, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(&view, &enter);
    EXPECT_TRUE(enter.isAccepted());
    QDropEvent drop({10, 10}, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(&view, &drop);

    ASSERT_EQ(drops.count(), 1);
    EXPECT_EQ(drops[0][0].value<QList<QUrl>>(), (QList<QUrl>{QUrl(QStringLiteral("file:///home/me/a.txt"))}));
}

TEST_F(TransfersViewTest, PaintsOnlyTheRowsInSight)
{
    for (int i = 0; i < 2'000; ++i)
        queue.enqueue(
            std::make_shared<Transfer>(Kind::upload, "row " + std::to_string(i)), [](TransferRun run) -> Task<> {
                run.setState(State::finished());
                co_return;
            });
    EXPECT_TRUE(spinUntil([&] { return queue.activeTransfers().empty() && list().model()->rowCount() == 2'000; }));
    list().grab();

    QElapsedTimer clock;
    clock.start();
    list().scrollToBottom();
    list().grab();

    EXPECT_LT(clock.elapsed(), 250) << "one screen of rows, however many there are";
}

} // namespace

#include "TransfersViewTest.moc"
