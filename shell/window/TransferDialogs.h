#pragma once

#include "B2Kit/B2File.h"

#include <QList>
#include <QObject>
#include <QUrl>

#include <string>
#include <vector>

class Application;
class QFileDialog;
class QWidget;

/// Opens the dialogs about uploads, the download folder and unfinished uploads over the main window, and queues the
/// transfers that the browser requests.
class TransferDialogs final : public QObject {
    Q_OBJECT

public:
    TransferDialogs(Application& application, QWidget& window);

public Q_SLOTS:
    /// Uploads files and folders under names that begin with the prefix, into the bucket shown.
    void upload(const QList<QUrl>& urls, const std::string& prefix);
    void download(const std::vector<B2FileVersion>& files);
    void chooseFilesToUpload();
    void chooseFolderToUpload();
    void chooseDownloadFolder();
    /// Shows the unfinished uploads of the bucket in the browser, until the session changes.
    void showUnfinishedUploads();

Q_SIGNALS:
    void uploadChosen(const QList<QUrl>& urls);
    /// Something was queued.
    void queued();

private:
    QFileDialog* makeUploadDialog(const QString& title);

    Application& application_;
    QWidget& window_;
};
