#pragma once

#include "foundation/settings/Settings.h"

#include <QObject>
#include <QSize>
#include <QWidget>

#include <string>

/// Remembers a window's size, place and state under a key of the settings and restores them before it is first shown,
/// so that it appears where it was left. Wayland places windows itself; there only size and state are restored.
///
/// Lives as a child of its window.
class StagedWindow final : public QObject {
    Q_OBJECT

public:
    /// @param firstSize  the size when none is stored.
    StagedWindow(QWidget& window, Settings& settings, std::string key, QSize firstSize);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void save();

    QWidget& window_;
    Settings& settings_;
    const std::string key_;
};
