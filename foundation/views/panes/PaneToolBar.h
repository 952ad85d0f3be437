#pragma once

#include <QToolBar>

/// What the focused pane offers: groups of actions with icon and text, apart by a separator or pushed to the far end.
///
/// Too narrow for the texts, it shows icons alone, with the texts as tooltips; actions of `QAction::LowPriority` are
/// always icons.
class PaneToolBar final : public QToolBar {
    Q_OBJECT

public:
    explicit PaneToolBar(QWidget* parent = nullptr);

    /// Adds actions that belong together, a separator before them unless they are the first.
    void addGroup(const QList<QAction*>& actions);

    /// Pushes what follows to the far end.
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
