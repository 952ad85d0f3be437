#pragma once

#include "foundation/views/panes/Pane.h"
#include "foundation/views/style/Icons.h"
#include "foundation/views/tables/TableState.h"

#include <QTimer>

#include <functional>
#include <initializer_list>
#include <optional>
#include <string>
#include <vector>

class Banner;
class EmptyState;
class KeyedRowsModel;
class LoadingLine;
class QStackedWidget;
class StatusLine;

/// A pane with a table: loading line, banner, the table or what replaces it, and a status line.
///
/// A derived pane passes its rows in its constructor (`build`), shows a page and a failure whenever its model changes,
/// and sets the status line. The columns and the sort of the table are kept in the settings.
class TablePane : public Pane {
    Q_OBJECT

public:
    DenseTableView& table() { return *table_; }

    void takeFocus() override;

    /// Selects the row of a key and scrolls to it, now or once it is listed.
    void reveal(const std::string& key);

protected:
    /// A message in place of the table, in its middle.
    struct Message {
        Symbol symbol = Symbol::info;
        QString title;
        QString text;
        QString firstAction;
        QString secondAction;
    };

    TablePane(Settings& settings, ActivityLog& log, QWidget* parent);

    /// Lays the pane out; to be called in the constructor of the derived pane.
    ///
    /// @param bars  what is above the loading line, from top to bottom.
    void build(KeyedRowsModel& rows, TableDescription description, std::initializer_list<QWidget*> bars);

    bool isTableShown() const;
    void showTable();
    void showBlank();
    void showMessage(const Message& message);
    /// Shows a blank page, and the message if the wait lasts longer than a moment.
    void showWaiting(const Message& message);

    /// Shows why the last request failed, in the banner, unless the user has closed it. Without a
    /// sentence the failure is removed.
    void showFailure(const std::optional<std::string>& sentence, const QString& action);
    /// Counts the failure as closed by the user, because it is shown elsewhere.
    void dismissFailure(const std::optional<std::string>& sentence) { dismissedFailure_ = sentence; }
    /// Shows a remark of the pane in the banner until it is closed; a failure has precedence.
    void showNotice(std::optional<QString> sentence);

    /// The rows selected, from top to bottom. Fast for 100,000.
    std::vector<int> selectedRows() const;
    void selectRow(int row, bool centres = false);
    /// Calls `changeRows`, and keeps the rows in sight where they are when others are inserted above them.
    void keepPlace(const std::function<void()>& changeRows);
    /// To be called when the rows have changed.
    void revealIfListed();

    DenseTableView* const table_;
    LoadingLine* const loading_;
    Banner* const banner_;
    QWidget* const blank_;
    EmptyState* const message_;
    StatusLine* const status_;
    TableState* tableState_ = nullptr; ///< Set by `build`.

private:
    void showPage(QWidget* page);
    void present(const Message& message);
    void renderBanner();

    Settings& settings_;
    ActivityLog& log_;
    KeyedRowsModel* rows_ = nullptr;
    QStackedWidget* pages_;

    QTimer patience_;
    bool isWaiting_ = false;
    Message waitingMessage_;

    std::optional<std::string> failure_;
    QString failureAction_;
    std::optional<std::string> dismissedFailure_;
    std::optional<QString> notice_;
    std::optional<std::string> revealed_; ///< To be selected once it is listed.
};
