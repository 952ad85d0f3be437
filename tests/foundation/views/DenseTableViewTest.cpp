#include "foundation/views/tables/DenseTableView.h"

#include "foundation/views/style/ColorRoles.h"
#include "foundation/views/style/Icons.h"
#include "foundation/views/tables/NameDelegate.h"
#include "foundation/views/tables/TableColumns.h"

#include "tests/foundation/views/Scene.h"

#include <QAbstractTableModel>
#include <QContextMenuEvent>
#include <QElapsedTimer>
#include <QHeaderView>
#include <QMenu>
#include <QScrollBar>
#include <QSignalSpy>

namespace {

/// Rows with name and size, and the permanent names of the columns.
class FilesModel final : public QAbstractTableModel {
public:
    explicit FilesModel(QStringList names)
        : names_(std::move(names))
    {
    }

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
    QVariant data(const QModelIndex& index, int role) const override;

    void append(const QString& name);

private:
    QStringList names_;
};

int FilesModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(names_.size());
}

int FilesModel::columnCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : 3;
}

QVariant FilesModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    static const QStringList ids{text("name"), text("size"), text("added")};
    static const QStringList titles{text("Name"), text("Size"), text("Added")};
    if (orientation != Qt::Horizontal) {
        return {};
    }
    return role == TableRole::columnID ? ids.at(section)
        : role == Qt::DisplayRole      ? QVariant(titles.at(section))
                                       : QVariant();
}

QVariant FilesModel::data(const QModelIndex& index, int role) const
{
    if (role == Qt::DisplayRole) {
        return index.column() == 0 ? names_.at(index.row()) : QString::number(index.row());
    }
    if (role == TableRole::symbol && index.column() == 0) {
        return static_cast<int>(Symbol::file);
    }
    return role == Qt::TextAlignmentRole && index.column() == 1 ? QVariant(int(Qt::AlignRight)) : QVariant();
}

void FilesModel::append(const QString& name)
{
    beginInsertRows({}, rowCount(), rowCount());
    names_.append(name);
    endInsertRows();
}

class DenseTableViewTest : public ::testing::Test {
protected:
    DenseTableViewTest()
    {
        view.setModel(&model);
        view.setItemDelegateForColumn(0, new NameDelegate(&view));
        view.resize(600, 300);
        present(view);
        view.setFocus();
        select(0);
    }

    void select(int row)
    {
        view.selectionModel()->setCurrentIndex(
            model.index(row, 0), QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
    }

    void press(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier)
    {
        QTest::keyClick(&view, key, modifiers);
    }

    FilesModel model{{text("alpha.txt"), text("beta.txt"), text("beta two.txt"), text("gamma.txt"), text("Zeta.txt")}};
    DenseTableView view;
};

TEST_F(DenseTableViewTest, EnterOpensAndBackspaceGoesUp)
{
    QSignalSpy opened(&view, &DenseTableView::opened);
    QSignalSpy up(&view, &DenseTableView::goUp);

    press(Qt::Key_Down);
    press(Qt::Key_Return);
    ASSERT_EQ(opened.size(), 1);
    EXPECT_EQ(opened.at(0).at(0).toModelIndex(), model.index(1, 0));
    QTest::keyClick(&view, Qt::Key_Enter, Qt::KeypadModifier);
    EXPECT_EQ(opened.size(), 2);
    press(Qt::Key_Return, Qt::AltModifier);
    EXPECT_EQ(opened.size(), 2);

    press(Qt::Key_Backspace);
    press(Qt::Key_Up, Qt::AltModifier);
    EXPECT_EQ(up.size(), 2);
    EXPECT_EQ(view.currentIndex().row(), 1);
}

TEST_F(DenseTableViewTest, KeysMoveByWholeRows)
{
    press(Qt::Key_End);
    EXPECT_EQ(view.currentIndex().row(), 4);
    press(Qt::Key_Right);
    EXPECT_EQ(view.currentIndex().row(), 4);
    press(Qt::Key_Home);
    EXPECT_EQ(view.currentIndex().row(), 0);
    press(Qt::Key_End, Qt::ShiftModifier);
    EXPECT_EQ(view.selectionModel()->selectedRows().size(), 5);
}

TEST_F(DenseTableViewTest, LettersFindTheNextNameThatStartsWithThem)
{
    QTest::keyClicks(&view, text("beta t"));
    EXPECT_EQ(view.currentIndex().row(), 2);

    QTest::qWait(QApplication::keyboardInputInterval() + 50);
    QTest::keyClicks(&view, text("z"));
    EXPECT_EQ(view.currentIndex().row(), 4);

    QTest::qWait(QApplication::keyboardInputInterval() + 50);
    QTest::keyClicks(&view, text("b"));
    EXPECT_EQ(view.currentIndex().row(), 1);
    QTest::keyClicks(&view, text("b"));
    EXPECT_EQ(view.currentIndex().row(), 2);
}

TEST_F(DenseTableViewTest, ColumnsKeepTheirStateThroughText)
{
    QHeaderView* header = view.horizontalHeader();
    header->resizeSection(1, 96);
    header->resizeSection(2, 133);
    header->moveSection(2, 1);
    header->setSectionHidden(2, true);
    const QString state = columnState(*header);

    DenseTableView other;
    other.setModel(&model);
    other.resize(600, 300);
    present(other);
    other.restoreState(state);

    EXPECT_EQ(columnState(*other.horizontalHeader()), state);
    EXPECT_TRUE(other.horizontalHeader()->isSectionHidden(2));
    EXPECT_EQ(other.horizontalHeader()->visualIndex(2), 1);
    EXPECT_EQ(other.horizontalHeader()->sectionSize(1), 96);
    other.horizontalHeader()->setSectionHidden(2, false);
    EXPECT_EQ(other.horizontalHeader()->sectionSize(2), 133);
}

TEST_F(DenseTableViewTest, ADamagedStateLeavesAUsableTable)
{
    for (const char* state : {"", ";;; ", "name hidden", "size -5; size 99999999; nothing 80; sort; sort nowhere down",
             "size size size hidden; \xf0\x9f\x8f\x94"}) {
        SCOPED_TRACE(state);
        view.restoreState(text(state));
        EXPECT_FALSE(view.horizontalHeader()->isSectionHidden(0));
        EXPECT_GE(view.horizontalHeader()->sectionSize(0), 100);
        EXPECT_LE(view.horizontalHeader()->sectionSize(1), 4000);
    }
}

TEST_F(DenseTableViewTest, TheHeadersMenuHidesAndShowsAllButTheFirstColumn)
{
    QSignalSpy changed(&view, &DenseTableView::stateChanged);
    QMenu* menu = makeColumnsMenu(*view.horizontalHeader());
    ASSERT_EQ(menu->actions().size(), 3);
    EXPECT_FALSE(menu->actions().at(0)->isEnabled());

    menu->actions().at(1)->trigger();
    EXPECT_TRUE(view.isColumnHidden(1));
    EXPECT_FALSE(changed.isEmpty());
    menu->actions().at(1)->trigger();
    EXPECT_FALSE(view.isColumnHidden(1));
    delete menu;
}

TEST_F(DenseTableViewTest, TheNameTakesTheRemainingWidth)
{
    EXPECT_EQ(view.horizontalHeader()->length(), view.viewport()->width());
    view.resize(760, 300);
    QApplication::processEvents();
    EXPECT_EQ(view.horizontalHeader()->length(), view.viewport()->width());
    view.setColumnHidden(1, true);
    EXPECT_EQ(view.horizontalHeader()->length(), view.viewport()->width());
}

TEST_F(DenseTableViewTest, SelectionAndScrollSurviveNewRows)
{
    for (int row = 0; row < 200; ++row) {
        model.append(text("more"));
    }
    select(120);
    view.verticalScrollBar()->setValue(1234);

    model.append(text("one more"));
    QApplication::processEvents();

    EXPECT_EQ(view.currentIndex().row(), 120);
    EXPECT_TRUE(view.selectionModel()->isRowSelected(120));
    EXPECT_EQ(view.verticalScrollBar()->value(), 1234);
}

TEST_F(DenseTableViewTest, TheFocusIsVisibleWhetherTheRowIsSelectedOrNot)
{
    const QColor ring = accent(view.palette());
    view.selectionModel()->clearSelection();
    ASSERT_TRUE(view.currentIndex().isValid());
    const int withFocus = countOf(view.viewport()->grab().toImage(), ring);
    view.clearFocus();
    EXPECT_GT(withFocus, countOf(view.viewport()->grab().toImage(), ring) + 500);

    view.setFocus();
    select(1);
    const QImage selected = view.viewport()->grab().toImage();
    view.clearFocus();
    EXPECT_NE(selected, view.viewport()->grab().toImage());
}

TEST_F(DenseTableViewTest, TheKeyboardsMenuOpensBesideTheRow)
{
    QSignalSpy asked(&view, &DenseTableView::menuRequested);
    select(3);

    QContextMenuEvent event(QContextMenuEvent::Keyboard, QPoint(1, 1), view.viewport()->mapToGlobal(QPoint(1, 1)));
    QApplication::sendEvent(view.viewport(), &event);

    ASSERT_EQ(asked.size(), 1);
    const QPoint at = view.viewport()->mapFromGlobal(asked.at(0).at(0).toPoint());
    EXPECT_TRUE(view.visualRect(model.index(3, 0)).contains(at)) << at.x() << ' ' << at.y();
}

TEST_F(DenseTableViewTest, AHundredThousandRowsPaintWithinAFrame)
{
    QStringList names;
    for (int row = 0; row < 100'000; ++row) {
        names.append(
            QStringLiteral("%1 a rather long name of a file that has to be shortened in its middle.jpeg").arg(row));
    }
    FilesModel many(names);
    view.setModel(&many);
    QApplication::processEvents();

    QElapsedTimer time;
    time.start();
    constexpr int frames = 40;
    for (int frame = 0; frame < frames; ++frame) {
        view.verticalScrollBar()->setValue(view.verticalScrollBar()->maximum() / frames * frame);
        view.viewport()->grab();
    }

    // Far more than it takes and far less than anyone notices, even under a sanitizer.
    EXPECT_LT(time.elapsed() / frames, 50);
    view.setModel(&model);
}

} // namespace
