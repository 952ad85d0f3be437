#pragma once

#include "browser/BrowserModel.h"
#include "browser/views/BrowserTableModel.h"
#include "foundation/views/tables/TablePane.h"

#include <QList>
#include <QUrl>

#include <string>
#include <vector>

class CommandButton;
class ModeControl;
class PathBar;
class QPushButton;
class SearchField;
class UploadDrops;

/// The object browser pane: path, table and status line over a `BrowserModel`.
///
/// Offers files to others for transfer and starts none itself.
class ObjectBrowserView final : public TablePane {
    Q_OBJECT

public:
    ObjectBrowserView(BrowserModel& model, Settings& settings, ActivityLog& log, QWidget* parent = nullptr);
    ~ObjectBrowserView() override;

    /// The rows selected, from top to bottom.
    std::vector<const BrowserRow*> selected() const;

    /// Handles files and folders as if they had been dropped on the pane.
    void takeFiles(const QList<QUrl>& urls);

Q_SIGNALS:
    /// Files and folders of this computer are to be uploaded into a folder of the bucket shown.
    void uploadRequested(const QList<QUrl>& files, const std::string& prefix);
    /// The user wants to choose files, which are then passed to `takeFiles`.
    void uploadFilesDialogRequested();
    /// The same for a folder.
    void uploadFolderDialogRequested();
    /// The user wants to see the unfinished uploads to the bucket.
    void unfinishedUploadsRequested();
    /// Files and folders are to be downloaded.
    void downloadRequested(const std::vector<B2FileVersion>& files);

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void showEvent(QShowEvent* event) override;

private:
    void buildPathRow();
    void buildTable();
    void buildLoadMore();
    void connectCommands();
    void connectParts();
    void connectDrops();

    void render();
    void renderPath();
    void renderBanner();
    void renderContent();
    void renderStatus();
    void selectArrival();
    QString placeName() const;

    void goTo(const QString& path);
    void openRow(const QModelIndex& index);
    void updateCommands(const std::vector<const BrowserRow*>& selected);
    void addNavigation(PaneCommands& commands);
    void addTransfers(PaneCommands& commands, const std::vector<const BrowserRow*>& selected);
    void download();
    void copySelected(bool wholePath);
    void showMenu(const QPoint& position);
    void loadMoreAtEnd();

    BrowserModel& model_;
    BrowserTableModel rows_;
    QWidget* pathRow_ = nullptr;
    std::vector<CommandButton*> navigation_;
    ModeControl* mode_;
    SearchField* filter_;
    PathBar* path_;
    QPushButton* loadMore_;
    UploadDrops* drops_;

    std::string place_; ///< Bucket and folder last rendered.
    void (BrowserModel::*firstAction_)() = nullptr;
};
