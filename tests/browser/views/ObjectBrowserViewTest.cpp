#include "browser/views/ObjectBrowserView.h"
#include "browser/views/UploadDrops.h"
#include "foundation/LocalPath.h"
#include "foundation/QtText.h"
#include "foundation/log/ActivityLog.h"
#include "foundation/settings/Settings.h"
#include "foundation/views/SearchField.h"
#include "foundation/views/panes/Banner.h"
#include "foundation/views/panes/EmptyState.h"
#include "foundation/views/panes/PathBar.h"
#include "foundation/views/panes/StatusLine.h"
#include "foundation/views/tables/DenseTableView.h"
#include "tests/browser/ListingService.h"
#include "tests/foundation/views/PaneShortcuts.h"
#include "tests/support/QtRun.h"

#include <gmock/gmock.h>

#include <QAbstractButton>
#include <QApplication>
#include <QDropEvent>
#include <QHeaderView>
#include <QLabel>
#include <QMimeData>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <fstream>

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

class ObjectBrowserViewTest : public testing::Test {
protected:
    ObjectBrowserViewTest()
    {
        model.cache = std::make_shared<ListingCache>();
        for (const auto* name : {"a.txt", "photos/2024/x.jpg", "photos/cat.jpg", "videos/v.mp4", "z.txt"})
            service->add("bucket-1", name);
        view.resize(860, 560);
        giveShortcuts(view);
        QObject::connect(
            &view, &ObjectBrowserView::uploadRequested, [this](const QList<QUrl>& files, const std::string& to) {
                for (const auto& file : files)
                    uploads.push_back(to + " < " + localPathOf(file).filename().string());
            });
        QObject::connect(&view, &ObjectBrowserView::downloadRequested, [this](const std::vector<B2FileVersion>& files) {
            for (const auto& file : files)
                downloads.push_back(file.fileName);
        });
    }

    void open(std::shared_ptr<B2Session> session)
    {
        view.show();
        view.activateWindow();
        model.open(std::move(session), {.bucketID = "bucket-1", .bucketName = "holiday"});
        settle();
        view.table().setFocus();
    }
    void open() { open(makeSession(service)); }

    void settle()
    {
        ASSERT_TRUE(spinUntil([this] { return !*model.isLoading; }));
        model.flushChanges();
    }

    void press(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier)
    {
        QTest::keyClick(QApplication::focusWidget() ? QApplication::focusWidget() : &view, key, modifiers);
        settle();
    }

    void choose(int row) { view.table().selectRow(row); }

    std::string currentName() const
    {
        return fromQString(view.table().currentIndex().siblingAtColumn(0).data().toString());
    }

    /// Whether the drop was taken.
    bool drop(QWidget& target, const QPoint& position, const QList<QUrl>& urls)
    {
        QMimeData data;
        data.setUrls(urls);
        QDragEnterEvent enter(position, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(&target, &enter);
        if (!enter.isAccepted())
            return false;
        QDropEvent dropped(position, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(&target, &dropped);
        return dropped.isAccepted();
    }

    QUrl makeFile(const std::string& name) const
    {
        const auto path = std::filesystem::path(fromQString(directory.path())) / name;
        std::ofstream(path) << "content";
        return urlOfLocalPath(path);
    }

    template <class Widget>
    Widget& child() const
    {
        return *view.findChild<Widget*>();
    }

    QTemporaryDir directory;
    std::shared_ptr<ListingService> service = std::make_shared<ListingService>();
    Settings settings{""};
    ActivityLog log{settings, fromQString(directory.filePath(QStringLiteral("log")))};
    BrowserModel model{settings};
    mutable ObjectBrowserView view{model, settings, log};
    std::vector<std::string> uploads;
    std::vector<std::string> downloads;
};

TEST_F(ObjectBrowserViewTest, IsDrivenByTheKeyboardAlone)
{
    open();
    press(Qt::Key_Home);
    press(Qt::Key_Return);
    EXPECT_EQ(*model.prefix, "photos/");

    press(Qt::Key_Down);
    press(Qt::Key_Down);
    EXPECT_EQ(currentName(), "cat.jpg");
    press(Qt::Key_Space);
    EXPECT_THAT(downloads, IsEmpty());
    press(Qt::Key_Enter);
    EXPECT_THAT(downloads, ElementsAre("photos/cat.jpg"));

    press(Qt::Key_Backspace);
    EXPECT_EQ(*model.prefix, "");
    EXPECT_EQ(currentName(), "photos");
    EXPECT_EQ(view.selected().size(), 1);

    press(Qt::Key_Left, Qt::AltModifier);
    EXPECT_EQ(*model.prefix, "photos/");
    press(Qt::Key_Left, Qt::AltModifier);
    press(Qt::Key_Right, Qt::AltModifier);
    EXPECT_EQ(*model.prefix, "photos/");
    press(Qt::Key_Up, Qt::AltModifier);
    EXPECT_EQ(*model.prefix, "");

    const auto calls = service->calls().size();
    press(Qt::Key_F5);
    press(Qt::Key_R, Qt::ControlModifier);
    EXPECT_EQ(service->calls().size(), calls + 2);
    view.commands().allVersions->toggle(true);
    EXPECT_EQ(*model.mode, BrowserMode::allVersions);
}

TEST_F(ObjectBrowserViewTest, GoesToATypedPath)
{
    open();
    press(Qt::Key_L, Qt::ControlModifier);
    ASSERT_TRUE(child<PathBar>().isEditing());

    QTest::keyClicks(QApplication::focusWidget(), QStringLiteral("/photos/2024"));
    press(Qt::Key_Return);

    EXPECT_EQ(*model.prefix, "photos/2024/");
    EXPECT_THAT(child<PathBar>().shownTitles(),
        ElementsAre(QStringLiteral("holiday"), QStringLiteral("photos"), QStringLiteral("2024")));
    EXPECT_TRUE(view.table().hasFocus());
}

TEST_F(ObjectBrowserViewTest, FiltersAsOneTypesAndSaysWhatItLookedAt)
{
    open();
    press(Qt::Key_F, Qt::ControlModifier);
    QTest::keyClicks(QApplication::focusWidget(), QStringLiteral("TXT"));
    model.flushChanges();
    EXPECT_EQ(view.table().model()->rowCount(), 2);
    EXPECT_EQ(child<StatusLine>().text(), QStringLiteral("2 of 4 items"));

    QTest::keyClicks(QApplication::focusWidget(), QStringLiteral("?"));
    model.flushChanges();
    EXPECT_TRUE(child<EmptyState>().isVisible());
    press(Qt::Key_Escape);
    press(Qt::Key_Escape);

    EXPECT_EQ(view.table().model()->rowCount(), 4);
    EXPECT_TRUE(view.table().hasFocus());
}

TEST_F(ObjectBrowserViewTest, KeepsSelectionAndScrollOverARefresh)
{
    for (int i = 0; i < 500; ++i)
        service->add("bucket-1", "many/" + std::to_string(i));
    open();
    model.navigate("many/");
    settle();
    choose(250);
    view.table().scrollTo(view.table().currentIndex());
    ASSERT_GT(view.table().verticalScrollBar()->value(), 0);
    const int place = view.table().visualRect(view.table().currentIndex()).top();
    service->add("bucket-1", "many/0 a new one at the top");

    press(Qt::Key_F5);

    EXPECT_EQ(currentName(), "250");
    EXPECT_EQ(view.table().visualRect(view.table().currentIndex()).top(), place);
    EXPECT_EQ(view.selected().size(), 1);
}

TEST_F(ObjectBrowserViewTest, LoadsTheNextPagesWhenScrolledToTheEnd)
{
    for (int i = 0; i < 2500; ++i)
        service->add("bucket-1", "many/" + std::to_string(i));
    open();
    model.navigate("many/");
    settle();
    spinUntil([] { return false; }, std::chrono::milliseconds(50));
    EXPECT_EQ(view.table().model()->rowCount(), 1000);
    EXPECT_EQ(child<StatusLine>().text(), QStringLiteral("1,000 items so far"));

    press(Qt::Key_End);
    ASSERT_TRUE(spinUntil([&] { return view.table().model()->rowCount() == 2000; }));
    view.table().verticalScrollBar()->setValue(view.table().verticalScrollBar()->maximum());
    ASSERT_TRUE(spinUntil([&] { return view.table().model()->rowCount() == 2500; }));

    EXPECT_EQ(service->calls().size(), 4);
    EXPECT_EQ(child<StatusLine>().text(), QStringLiteral("1 of 2,500 selected, 9 bytes"));
}

TEST_F(ObjectBrowserViewTest, SortsByAClickAndKeepsTheOrderOfTheBucket)
{
    open();
    auto* const header = view.table().horizontalHeader();
    const auto at = [&](BrowserColumn column) {
        return QPoint(header->sectionViewportPosition(static_cast<int>(column)) + 20, header->height() / 2);
    };

    QTest::mouseClick(header->viewport(), Qt::LeftButton, {}, at(BrowserColumn::size));

    EXPECT_EQ(model.rows.sortOrder->front().key, "size");
    EXPECT_EQ(header->sortIndicatorSection(), static_cast<int>(BrowserColumn::size));
    model.open(*model.session, {.bucketID = "bucket-2", .bucketName = "other"});
    settle();
    EXPECT_EQ(header->sortIndicatorSection(), static_cast<int>(BrowserColumn::name));
}

TEST_F(ObjectBrowserViewTest, TakesDroppedFilesAndFoldersIntoTheFolderUnderThem)
{
    open();
    QTemporaryDir folder(directory.filePath(QStringLiteral("album")));
    const auto albumName = std::filesystem::path(fromQString(folder.path())).filename().string();
    auto* const viewport = view.table().viewport();
    const auto rowAt = [&](int row) { return QPoint(30, view.table().rowViewportPosition(row) + 5); };

    EXPECT_TRUE(drop(*viewport, rowAt(1),
        {makeFile("one.txt"), QUrl::fromLocalFile(folder.path() + u'/'),
            QUrl(QStringLiteral("https://example.com/two"))}));
    EXPECT_TRUE(drop(*viewport, rowAt(2), {makeFile("t\xFFwo.txt")}));
    ASSERT_TRUE(spinUntil([&] { return uploads.size() == 3; }));

    EXPECT_THAT(uploads, ElementsAre("videos/ < one.txt", "videos/ < " + albumName, " < t\xFFwo.txt"));
    EXPECT_THAT(fromQString(child<Banner>().text()), HasSubstr("Couldn't upload \"https://example.com/two\""));
    // Qt cannot find such a name when it removes the directory.
    std::filesystem::remove(std::filesystem::path(fromQString(directory.path())) / "t\xFFwo.txt");
}

TEST_F(ObjectBrowserViewTest, RefusesWhatTheKeyMayNotAndSaysWhy)
{
    const auto session = makeSession(service);
    auto answer = session->authorization;
    answer.storage.allowed.capabilities = {B2Capabilities::listFiles};
    open(std::make_shared<B2Session>(StoredKey{}, session->client, answer));

    EXPECT_FALSE(drop(*view.table().viewport(), {30, 30}, {makeFile("one.txt")}));
    EXPECT_FALSE(view.commands().upload->isEnabled);
    EXPECT_EQ(view.commands().upload->help, QStringLiteral("This key cannot upload files: it lacks writeFiles."));
    view.takeFiles({makeFile("one.txt")});
    EXPECT_EQ(child<Banner>().text(), view.commands().upload->help);
    choose(2);
    press(Qt::Key_Return);
    EXPECT_THAT(downloads, IsEmpty());
    EXPECT_THAT(fromQString(child<Banner>().text()), HasSubstr("lacks readFiles"));

    answer.storage.allowed.capabilities = {};
    open(std::make_shared<B2Session>(StoredKey{}, session->client, answer));
    EXPECT_TRUE(child<EmptyState>().isVisible());
    EXPECT_THAT(fromQString(child<EmptyState>().accessibleDescription()), HasSubstr("it lacks listFiles"));
}

TEST_F(ObjectBrowserViewTest, ShowsAFirstFailureInTheMiddleAndALaterOneAbove)
{
    service->refuseOnce(400, "bad_request", "Not now");
    open();
    EXPECT_TRUE(child<EmptyState>().isVisible());
    EXPECT_FALSE(child<Banner>().isVisible());
    Q_EMIT child<EmptyState>().firstActionTriggered();
    settle();
    EXPECT_TRUE(view.table().isVisible());

    service->refuseOnce(400, "bad_request", "Not now either");
    press(Qt::Key_F5);

    EXPECT_TRUE(view.table().isVisible());
    EXPECT_THAT(fromQString(child<Banner>().text()), HasSubstr("Not now either"));
    EXPECT_EQ(view.table().model()->rowCount(), 4);
}

TEST_F(ObjectBrowserViewTest, SaysThatAnEmptyFolderMayHaveHiddenVersions)
{
    service->add("bucket-1", "gone/x.txt");
    service->add("bucket-1", "gone/x.txt", "hide");
    open();

    model.navigate("gone/");
    settle();
    EXPECT_EQ(child<EmptyState>().accessibleDescription(),
        QStringLiteral("Nothing here. Hidden versions may still exist - switch to All Versions."));
    Q_EMIT child<EmptyState>().firstActionTriggered();
    settle();

    EXPECT_EQ(view.table().model()->rowCount(), 2);
}

TEST_F(ObjectBrowserViewTest, GivesEveryControlAName)
{
    open();
    for (const auto* button : view.findChildren<QAbstractButton*>()) {
        if (button->isVisibleTo(&view) && button->focusPolicy() != Qt::NoFocus)
            EXPECT_FALSE(button->text().isEmpty() && button->accessibleName().isEmpty())
                << button->metaObject()->className();
    }
    EXPECT_FALSE(view.table().accessibleName().isEmpty());
    EXPECT_FALSE(child<SearchField>().accessibleName().isEmpty());
}

} // namespace
