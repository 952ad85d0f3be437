#include "shell/tour/TourHands.h"

#include "async/Timer.h"
#include "foundation/QtText.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QDropEvent>
#include <QMainWindow>
#include <QMenu>
#include <QMenuBar>
#include <QMimeData>
#include <QTest>
#include <QUrl>

namespace TourHands {

void press(QWidget& widget, int key, Qt::KeyboardModifiers modifiers)
{
    // Shortcuts reach the active window only, and a closed popup may have left none.
    if (!widget.isActiveWindow())
        QApplication::setActiveWindow(widget.window());
    QTest::keyClick(&widget, static_cast<Qt::Key>(key), modifiers);
}

void type(QWidget& widget, const QString& text)
{
    QTest::keyClicks(&widget, text);
}

void click(QWidget& widget)
{
    QTest::mouseClick(&widget, Qt::LeftButton);
}

void clickRow(QAbstractItemView& view, const QModelIndex& index, Qt::KeyboardModifiers modifiers)
{
    view.scrollTo(index);
    QTest::mouseClick(view.viewport(), Qt::LeftButton, modifiers, view.visualRect(index).center());
}

void chooseInMenu(const QMainWindow& window, const QString& text)
{
    for (auto* const menu : window.menuBar()->findChildren<QMenu*>(Qt::FindDirectChildrenOnly)) {
        Q_EMIT menu->aboutToShow();
        for (auto* const action : menu->actions()) {
            if (action->text() == text && action->isEnabled()) {
                action->trigger();
                return;
            }
        }
    }
}

void dropFiles(QWidget& widget, const std::vector<std::filesystem::path>& files)
{
    QMimeData data;
    QList<QUrl> urls;
    for (const auto& file : files)
        urls.append(QUrl::fromLocalFile(toQString(file.string())));
    data.setUrls(urls);
    // Under the last row, where no folder takes the files for itself.
    const QPoint place(widget.width() / 2, widget.height() - 4);
    QDragEnterEvent enter(place, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(&widget, &enter);
    QDragMoveEvent move(place, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(&widget, &move);
    QDropEvent drop(place, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(&widget, &drop);
}

Task<bool> until(std::function<bool()> condition)
{
    constexpr std::chrono::seconds patience(15);
    const auto begin = std::chrono::steady_clock::now();
    while (!condition()) {
        if (std::chrono::steady_clock::now() - begin > patience)
            co_return false;
        co_await sleepFor(std::chrono::milliseconds(10));
    }
    co_return true;
}

QModelIndex rowOf(const QAbstractItemModel& rows, const QString& text)
{
    for (int row = 0; row < rows.rowCount(); ++row) {
        const QModelIndex index = rows.index(row, 0);
        if (index.data().toString() == text && index.flags().testFlag(Qt::ItemIsEnabled))
            return index;
    }
    return {};
}

Task<> settle()
{
    co_await sleepFor(std::chrono::milliseconds(60));
}

} // namespace TourHands
