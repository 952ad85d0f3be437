#pragma once

#include "foundation/settings/Settings.h"

#include <QObject>
#include <QSize>
#include <QWidget>

#include <string>

/// Remembers a window's size, place and state under a key of the settings and restores them before it is first shown,
/// so that it comes up where it was left. Wayland places windows itself; there the size and the state come back.
///
/// Lives as a child of its window.
class StagedWindow final : public QObject {
    Q_OBJECT

public:
    /// @param firstSize  what the window gets when nothing is stored.
    StagedWindow(QWidget& window, Settings& settings, std::string key, QSize firstSize);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void save();

    QWidget& window_;
    Settings& settings_;
    const std::string key_;
};
