#pragma once

#include "foundation/TaskScope.h"

#include <QList>
#include <QObject>
#include <QUrl>

#include <string>

class BrowserTableModel;
class DenseTableView;
class QDropEvent;
class QWidget;

/// Files and folders dragged in from a file manager: into a folder's row, or anywhere else into the present folder.
///
/// The dropped paths are inspected off the main thread; `filesDropped` and `leftOut` follow.
class UploadDrops final : public QObject {
    Q_OBJECT

public:
    /// @param rows  those of the table.
    UploadDrops(DenseTableView& table, const BrowserTableModel& rows, QObject* parent);

    /// Takes drops on another widget, for the present folder.
    void watch(QWidget& place);
    /// Drops are refused while the key cannot upload.
    void setEnabled(bool isEnabled) { isEnabled_ = isEnabled; }
    /// Sets the folder that drops go to.
    void setPlace(std::string bucketID, std::string prefix);
    /// Handles items dropped on the path bar, or chosen in a dialog, like a drop on the table.
    void take(const QList<QUrl>& urls, std::string prefix);

Q_SIGNALS:
    /// @param bucketID  the bucket that was shown at the time of the drop.
    /// @param prefix    the folder in it.
    void filesDropped(const QList<QUrl>& files, const std::string& bucketID, const std::string& prefix);
    /// Some items cannot be uploaded, as the sentence says.
    void leftOut(const QString& sentence);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    /// The row of the folder under the drag, or -1.
    int folderUnder(const QObject* watched, const QDropEvent& drag) const;
    void showTarget(QWidget& place, int row);

    DenseTableView& table_;
    const BrowserTableModel& rows_;
    QWidget* frame_;
    bool isEnabled_ = true;
    std::string bucketID_;
    std::string prefix_;
    TaskScope tasks_;
};
