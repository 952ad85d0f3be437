#include "browser/views/UploadDrops.h"

#include "async/Executor.h"
#include "browser/actions/DroppedItems.h"
#include "browser/views/BrowserTableModel.h"
#include "foundation/LocalPath.h"
#include "foundation/QtText.h"
#include "foundation/views/DropFrame.h"
#include "foundation/views/style/StylePainting.h"
#include "foundation/views/tables/DenseTableView.h"

#include <QDropEvent>
#include <QMimeData>
#include <QPainter>
#include <QPointer>
#include <QUrl>

#include <filesystem>
#include <utility>

namespace {

/// Inspects one drop after another, so that they are uploaded in the order they came.
class FileLooker final : public Actor {
public:
    FileLooker()
        : Actor(executor_)
    {
    }

    static FileLooker& shared()
    {
        static auto* const looker = new FileLooker;
        return *looker;
    }

    Task<DroppedItems> look(std::vector<std::filesystem::path> paths, std::vector<std::string> elsewhere)
    {
        co_return sortDropped(paths, std::move(elsewhere));
    }

private:
    // A disk that does not answer must not block an actor.
    SerialExecutor executor_{WorkerPool::blocking()};
};

Task<> sortOut(QPointer<UploadDrops> drops, QList<QUrl> urls, std::string bucketID, std::string prefix)
{
    std::vector<std::filesystem::path> paths;
    std::vector<std::string> elsewhere;
    for (const auto& url : urls) {
        if (url.isLocalFile())
            paths.push_back(localPathOf(url));
        else
            elsewhere.push_back(fromQString(url.toDisplayString()));
    }
    const auto items = co_await FileLooker::shared().look(std::move(paths), std::move(elsewhere));
    if (!drops)
        co_return;
    QList<QUrl> files;
    for (const auto& path : items.toUpload)
        files.append(urlOfLocalPath(path));
    if (!files.isEmpty())
        Q_EMIT drops->filesDropped(files, bucketID, prefix);
    if (const auto sentence = leftOutText(items); sentence && drops)
        Q_EMIT drops->leftOut(toQString(*sentence));
}

} // namespace

UploadDrops::UploadDrops(DenseTableView& table, const BrowserTableModel& rows, QObject* parent)
    : QObject(parent)
    , table_(table)
    , rows_(rows)
    , frame_(new DropFrame(table.viewport()))
{
    table.setAcceptDrops(true);
    watch(*table.viewport());
}

void UploadDrops::watch(QWidget& place)
{
    place.setAcceptDrops(true);
    place.installEventFilter(this);
}

void UploadDrops::setPlace(std::string bucketID, std::string prefix)
{
    bucketID_ = std::move(bucketID);
    prefix_ = std::move(prefix);
}

void UploadDrops::take(const QList<QUrl>& urls, std::string prefix)
{
    tasks_.start(sortOut(this, urls, bucketID_, std::move(prefix)));
}

int UploadDrops::folderUnder(const QObject* watched, const QDropEvent& drag) const
{
    if (watched != table_.viewport())
        return -1;
    const int row = table_.rowAt(drag.position().toPoint().y());
    return row >= 0 && rows_.row(row).kind == RowKind::folder ? row : -1;
}

void UploadDrops::showTarget(QWidget& place, int row)
{
    frame_->setParent(&place);
    frame_->setGeometry(
        row < 0 ? place.rect() : QRect(0, table_.rowViewportPosition(row), place.width(), table_.rowHeight(row)));
    frame_->show();
    frame_->raise();
}

bool UploadDrops::eventFilter(QObject* watched, QEvent* event)
{
    switch (event->type()) {
    case QEvent::DragEnter:
    case QEvent::DragMove: {
        auto& drag = static_cast<QDropEvent&>(*event);
        if (!isEnabled_ || !drag.mimeData()->hasUrls()) {
            drag.ignore();
            return true;
        }
        showTarget(static_cast<QWidget&>(*watched), folderUnder(watched, drag));
        drag.setDropAction(Qt::CopyAction);
        drag.accept();
        return true;
    }
    case QEvent::DragLeave:
        frame_->hide();
        return true;
    case QEvent::Drop: {
        auto& drop = static_cast<QDropEvent&>(*event);
        frame_->hide();
        if (!isEnabled_ || !drop.mimeData()->hasUrls())
            return true;
        const int row = folderUnder(watched, drop);
        drop.setDropAction(Qt::CopyAction);
        drop.accept();
        take(drop.mimeData()->urls(), row < 0 ? prefix_ : rows_.row(row).file.fileName);
        return true;
    }
    default:
        return false;
    }
}
