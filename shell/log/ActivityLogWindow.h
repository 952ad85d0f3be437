#pragma once

#include "foundation/TaskScope.h"
#include "foundation/log/ActivityLog.h"
#include "foundation/settings/Settings.h"
#include "shell/log/LogTableModel.h"

#include <QWidget>

class QComboBox;
class QLabel;
class QPushButton;
class QTimer;
class QTreeView;
class SearchField;
class TableState;

/// Shows what the program did, to search, copy and export.
class ActivityLogWindow final : public QWidget {
    Q_OBJECT

public:
    ActivityLogWindow(ActivityLog& log, Settings& settings, QWidget* parent = nullptr);

private:
    void buildControls();
    void buildTable();
    void sort();
    void render();
    void applyFilter();
    void copy(const QString& text);
    void exportText();
    void showContextMenu(const QPoint& position);

    ActivityLog& log_;
    Settings& settings_;
    LogTableModel rows_;
    LogFilterModel shown_;
    SearchField* search_;
    QLabel* count_;
    QPushButton* reveal_;
    QComboBox* showing_;
    QComboBox* recording_;
    QPushButton* copy_;
    QPushButton* export_;
    QPushButton* clear_;
    QTreeView* table_;
    TableState* state_ = nullptr;
    QTimer* copiedTimer_;
    TaskScope tasks_;
};
