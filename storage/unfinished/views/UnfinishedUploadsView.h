#pragma once

#include "foundation/TaskScope.h"
#include "foundation/views/sheets/Sheet.h"
#include "storage/unfinished/UnfinishedUploadsModel.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

class Banner;
class EmptyState;
class QStackedWidget;
class UnfinishedUploadRow;

/// The unfinished uploads of a bucket, to resume or cancel. Reads them when it first shows.
class UnfinishedUploadsView final : public Sheet {
    Q_OBJECT

public:
    /// Both are empty where nothing can be resumed.
    struct Actions {
        /// Resumes the upload of a file id; returns a sentence when it cannot.
        std::function<Task<std::optional<std::string>>(std::string fileID)> resumeAction;
        /// Is it known which local file the file id comes from?
        std::function<bool(const std::string& fileID)> canResume;
    };

    /// More rows are shown only on demand.
    static constexpr std::size_t rowsAtFirst = 100;

    UnfinishedUploadsView(UnfinishedUploadsModel& model, Actions actions, QWidget* parent = nullptr);

Q_SIGNALS:
    /// The upload is in the queue again.
    void resumed();

protected:
    void showEvent(QShowEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    static Task<> runResume(QPointer<UnfinishedUploadsView> view, std::string fileID);

    QWidget* makeContent();
    QWidget* makeFooter();
    void render();
    void renderRows();
    /// Keeps the focus where Return does nothing until the recheck button is enabled.
    void parkFocus();
    void renderMessage();
    void askToCancel(const UnfinishedUploadsModel::Item& item);
    UnfinishedUploadRow* addRow();

    UnfinishedUploadsModel& model_;
    const Actions actions_;
    QStackedWidget* pages_;
    EmptyState* message_;
    QWidget* rowsPage_;
    QVBoxLayout* rowsLayout_;
    QPushButton* showMore_;
    QLabel* footer_;
    QPushButton* recheck_;
    LoadingLine* loading_;
    std::vector<UnfinishedUploadRow*> rows_;
    std::size_t maxRows_ = rowsAtFirst;
    std::optional<QString> resumeRefusal_; ///< Why the last resume did not begin.
    bool hasAsked_ = false;
    bool isFocusParked_ = false;
    TaskScope tasks_;
};
