#pragma once

#include "browser/BrowserRow.h"

#include <QWidget>

class QToolButton;

/// The two listings of a bucket as one control of two segments.
class ModeControl final : public QWidget {
    Q_OBJECT

public:
    explicit ModeControl(QWidget* parent = nullptr);

    void setMode(BrowserMode mode);

Q_SIGNALS:
    /// The user chose a mode.
    void modeChosen(BrowserMode mode);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QToolButton* makeSegment(BrowserMode mode);

    QToolButton* current_;
    QToolButton* allVersions_;
};
