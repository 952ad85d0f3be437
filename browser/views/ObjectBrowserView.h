#pragma once

#include "browser/BrowserModel.h"
#include "browser/views/BrowserTableModel.h"
#include "foundation/views/panes/Pane.h"

#include <QList>
#include <QTimer>
#include <QUrl>
#include <QWidget>

#include <optional>
#include <string>
#include <vector>

class Banner;
class CommandButton;
class DenseTableView;
class EmptyState;
class LoadingLine;
class ModeControl;
class PathBar;
class QPushButton;
class QStackedWidget;
class SearchField;
class Settings;
class StatusLine;
class UploadDrops;

/// The object browser pane: path, table and status line over a `BrowserModel`.
///
/// Offers files to others for transfer and starts none itself. Keeps the columns in the settings.
class ObjectBrowserView final : public Pane {
    Q_OBJECT

public:
    ObjectBrowserView(BrowserModel& model, Settings& settings, QWidget* parent = nullptr);
    ~ObjectBrowserView() override;

    /// The rows selected, from top to bottom.
    std::vector<const BrowserRow*> selected() const;

    DenseTableView& table() { return *table_; }

    /// Takes files and folders in as if they had been dropped on the pane.
    void takeFiles(const QList<QUrl>& urls);

Q_SIGNALS:
    /// Existing files and folders of this computer, for a folder of the bucket shown.
    void uploadRequested(const QList<QUrl>& files, const std::string& prefix);
    /// The user wants to choose files; they go to `takeFiles`.
    void uploadFilesDialogRequested();
    /// The same for a folder.
    void uploadFolderDialogRequested();
    /// The user wants to see what was begun in the bucket and not finished.
    void unfinishedUploadsRequested();
    /// Files and folder rows.
    void downloadRequested(const std::vector<B2FileVersion>& files);

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void showEvent(QShowEvent* event) override;

private:
    enum class Page { table, blank, message };

    void buildPathRow();
    void buildTable();
    void buildLayout();
    void connectCommands();
    void connectParts();
    void connectDrops();

    void render();
    void renderRows();
    void renderPath();
    void renderBanner();
    void renderContent();
    void renderStatus();
    void renderSort();
    void showMessage(
        int symbol, const QString& title, const QString& body, const QString& first = {}, const QString& second = {});
    void showPage(Page page);
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
    void chooseSort(int section, Qt::SortOrder order);
    void loadMoreAtEnd();
    void say(const QString& sentence);

    BrowserModel& model_;
    Settings& settings_;
    BrowserTableModel rows_;
    QWidget* pathRow_ = nullptr;
    std::vector<CommandButton*> navigation_;
    ModeControl* mode_;
    SearchField* filter_;
    PathBar* path_;
    LoadingLine* loading_;
    Banner* banner_;
    QStackedWidget* pages_;
    DenseTableView* table_;
    QWidget* blank_;
    EmptyState* message_;
    StatusLine* status_;
    QPushButton* loadMore_;
    UploadDrops* drops_;
    QTimer patience_; ///< A first listing shorter than this shows no sentence.

    std::optional<QString> notice_; ///< A remark of the view's own, until closed or elsewhere.
    std::optional<std::string> dismissedError_;
    std::string place_; ///< Bucket and folder last rendered.
    std::vector<SortOrder> renderedOrder_;
    void (BrowserModel::*firstAction_)() = nullptr;
};
