#pragma once

#include <QToolBar>

/// The commands of the focused pane: groups of actions with icon and text, separated, or moved to the far end.
///
/// When it is too narrow for the texts, it shows only icons, with the texts as tooltips; actions of
/// `QAction::LowPriority` are always icons.
class PaneToolBar final : public QToolBar {
    Q_OBJECT

public:
    explicit PaneToolBar(QWidget* parent = nullptr);

    /// Adds actions that belong together, a separator before them unless they are the first.
    void addGroup(const QList<QAction*>& actions);

    /// Moves the following actions to the far end.
    void addSpacer();

    /// The width at which the texts still fit.
    int widthWithTexts() const { return widthWithTexts_; }

protected:
    void actionEvent(QActionEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    void fit();

    int widthWithTexts_ = 0;
};
