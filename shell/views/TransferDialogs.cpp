#include "shell/views/TransferDialogs.h"

#include "foundation/LocalPath.h"
#include "foundation/QtText.h"
#include "shell/Application.h"
#include "storage/views/UnfinishedUploadsView.h"

#include <QFileDialog>

#include <string>
#include <tuple>

TransferDialogs::TransferDialogs(Application& application, QWidget& window)
    : QObject(&window)
    , application_(application)
    , window_(window)
{
}

QFileDialog* TransferDialogs::makeUploadDialog(const QString& title)
{
    auto* const dialog = new QFileDialog(&window_, title);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setLabelText(QFileDialog::Accept, tr("Upload"));
    dialog->setDirectory(uploadsFrom_);
    auto place = [&browser = application_.root->browser] {
        const auto& bucket = *browser.bucket;
        return std::tuple(*browser.session, bucket ? bucket->bucketID : std::string(), *browser.prefix);
    };
    // Qt's own dialog, used where the desktop has none, never emits urlsSelected.
    connect(dialog, &QFileDialog::accepted, this, [this, dialog, place, shown = place()] {
        uploadsFrom_ = dialog->directory().absolutePath();
        // A switch of key that had begun before may have ended under the dialog.
        if (place() == shown)
            Q_EMIT uploadChosen(dialog->selectedUrls());
        else
            application_.root->remark =
                "Nothing was uploaded, because another folder was opened meanwhile. Choose the files again.";
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
    if (!root.openUnfinishedUploads())
        return;
    UnfinishedUploadsView::Actions actions;
    if (application_.resumeStore) {
        actions.resumeAction = [&root](std::string fileID) { return root.resumeUpload(std::move(fileID)); };
        actions.canResume = [&root](const std::string& fileID) { return root.canResume(fileID); };
    }
    auto* const sheet = new UnfinishedUploadsView(root.unfinishedUploads, std::move(actions), &window_);
    sheet->setAttribute(Qt::WA_DeleteOnClose);
    connect(sheet, &UnfinishedUploadsView::resumed, this, &TransferDialogs::resumed);
    // Rows of one account must not stand over another.
    connect(&root, &Observable::changed, sheet, [&root, sheet, session = *root.unfinishedUploads.session] {
        if (*root.keyStore.session != session)
            sheet->reject();
    });
    sheet->open();
}
