#include "shell/window/TransferDialogs.h"

#include "foundation/LocalPath.h"
#include "foundation/QtText.h"
#include "foundation/settings/SettingsKeys.h"
#include "shell/Application.h"
#include "storage/unfinished/views/UnfinishedUploadsView.h"

#include <QDir>
#include <QFile>
#include <QFileDialog>

#include <filesystem>
#include <string>
#include <tuple>

namespace {

/// Returns where the dialogs for uploads open: the folder of the last upload, if it still exists.
QString uploadFolder(const Settings& settings)
{
    const auto stored = settings.bytes(SettingsKeys::uploadFolder).value_or("");
    const QString folder = QFile::decodeName(QByteArray::fromStdString(stored));
    return QDir::isAbsolutePath(folder) && QDir(folder).exists() ? folder : QDir::homePath();
}

/// The dialog's own folder does not help: it does not change when a path is typed.
void keepUploadFolder(Settings& settings, const QList<QUrl>& chosen)
{
    auto path = chosen.isEmpty() ? std::filesystem::path() : localPathOf(chosen.front());
    // A chosen folder may end with a "/".
    if (!path.has_filename())
        path = path.parent_path();
    if (path.is_absolute())
        settings.setBytes(SettingsKeys::uploadFolder, path.parent_path().string());
}

} // namespace

TransferDialogs::TransferDialogs(Application& application, QWidget& window)
    : QObject(&window)
    , application_(application)
    , window_(window)
{
}

void TransferDialogs::upload(const QList<QUrl>& urls, const std::string& prefix)
{
    const auto& browser = application_.root->browser;
    if (!*browser.session || !*browser.bucket || urls.isEmpty())
        return;
    std::vector<std::filesystem::path> files;
    for (const QUrl& url : urls)
        files.push_back(localPathOf(url));
    application_.root->notices.dismiss("upload");
    application_.queue->upload(std::move(files), **browser.bucket, prefix, *browser.session);
    Q_EMIT queued();
}

void TransferDialogs::download(const std::vector<B2FileVersion>& files)
{
    const auto& browser = application_.root->browser;
    if (!*browser.session || !*browser.bucket || files.empty())
        return;
    application_.queue->download(files, **browser.bucket, *browser.session);
    Q_EMIT queued();
}

QFileDialog* TransferDialogs::makeUploadDialog(const QString& title)
{
    auto* const dialog = new QFileDialog(&window_, title);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setLabelText(QFileDialog::Accept, tr("Upload"));
    dialog->setDirectory(uploadFolder(*application_.settings));
    auto place = [&browser = application_.root->browser] {
        const auto& bucket = *browser.bucket;
        return std::tuple(*browser.session, bucket ? bucket->bucketID : std::string(), *browser.prefix);
    };
    // Qt's own dialog, used where the desktop has none, never emits urlsSelected.
    connect(dialog, &QFileDialog::accepted, this, [this, dialog, place, shown = place()] {
        keepUploadFolder(*application_.settings, dialog->selectedUrls());
        // A switch of keys may have completed while the dialog was open.
        if (place() == shown)
            Q_EMIT uploadChosen(dialog->selectedUrls());
        else
            application_.root->notices.post({.id = "upload",
                .kind = Notice::Kind::warning,
                .text = "Nothing was uploaded, because another folder was opened in the meantime. Choose the files "
                        "again."});
    });
    return dialog;
}

void TransferDialogs::chooseFilesToUpload()
{
    auto* const dialog = makeUploadDialog(tr("Upload"));
    dialog->setFileMode(QFileDialog::ExistingFiles);
    dialog->open();
}

void TransferDialogs::chooseFolderToUpload()
{
    auto* const dialog = makeUploadDialog(tr("Upload Folder"));
    dialog->setFileMode(QFileDialog::Directory);
    dialog->open();
}

void TransferDialogs::chooseDownloadFolder()
{
    auto* const dialog = new QFileDialog(&window_, tr("Save Downloads To"));
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setFileMode(QFileDialog::Directory);
    dialog->setOption(QFileDialog::ShowDirsOnly);
    dialog->setDirectory(toQString(application_.destination->current().path.string()));
    // Qt's own dialog emits no urlsSelected.
    connect(dialog, &QDialog::accepted, this, [this, dialog] {
        const auto chosen = dialog->selectedUrls();
        if (!chosen.isEmpty() && chosen.front().isLocalFile())
            application_.destination->choose(localPathOf(chosen.front()));
    });
    dialog->open();
}

void TransferDialogs::showUnfinishedUploads()
{
    auto& root = *application_.root;
    auto& unfinished = root.unfinishedUploads;
    if (!*root.browser.session || !*root.browser.bucket)
        return;
    unfinished.open(*root.browser.session, **root.browser.bucket);
    UnfinishedUploadsView::Actions actions;
    if (application_.resumeStore) {
        auto& resumes = root.unfinishedResumes;
        actions.resumeAction = [&resumes, &unfinished](std::string fileID) {
            return resumes.resume(std::move(fileID), *unfinished.bucket, *unfinished.session);
        };
        actions.canResume = [&resumes](const std::string& fileID) { return resumes.canResume(fileID); };
    }
    auto* const sheet = new UnfinishedUploadsView(unfinished, std::move(actions), &window_);
    sheet->setAttribute(Qt::WA_DeleteOnClose);
    connect(sheet, &UnfinishedUploadsView::resumed, this, &TransferDialogs::queued);
    // Rows of one account must not be shown over another.
    connect(&root, &Observable::changed, sheet, [&root, sheet, session = *unfinished.session] {
        if (*root.keyStore.session != session)
            sheet->reject();
    });
    sheet->open();
}
