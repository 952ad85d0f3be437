#pragma once

#include <QAction>
#include <QList>
#include <QObject>

#include <vector>

class BrowserModel;
struct BrowserRow;

/// What the object browser offers: one action each for toolbar, context menu and keyboard.
///
/// An action that is off says why in its tooltip.
class BrowserCommands final : public QObject {
    Q_OBJECT

public:
    explicit BrowserCommands(QObject* parent);

    QAction* const back;
    QAction* const forward;
    QAction* const up;
    QAction* const refresh;
    QAction* const open;
    QAction* const upload;
    QAction* const uploadFolder;
    QAction* const download;
    QAction* const unfinishedUploads;
    QAction* const copyName;
    QAction* const copyPath;
    QAction* const editPath;
    QAction* const filter;
    QAction* const allVersions;

    QList<QAction*> all() const;

    /// Switches each on or off for the model and the rows selected.
    void update(const BrowserModel& model, const std::vector<const BrowserRow*>& selected);
};
