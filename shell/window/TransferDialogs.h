#pragma once

#include <QList>
#include <QObject>
#include <QUrl>

class Application;
class QFileDialog;
class QWidget;

/// Asks, over the main window, what to upload, where downloads go, and what becomes of unfinished uploads.
class TransferDialogs final : public QObject {
    Q_OBJECT

public:
    TransferDialogs(Application& application, QWidget& window);

public Q_SLOTS:
    void chooseFilesToUpload();
    void chooseFolderToUpload();
    void chooseDownloadFolder();
    /// Shows those of the bucket that stands open, until the session changes.
    void showUnfinishedUploads();

Q_SIGNALS:
    void uploadChosen(const QList<QUrl>& urls);
    void resumed();

private:
    QFileDialog* makeUploadDialog(const QString& title);

    Application& application_;
    QWidget& window_;
};
