#pragma once

#include "foundation/views/panes/PaneToolbarLayout.h"

#include <QToolBar>

#include <functional>
#include <string>
#include <string_view>
#include <vector>

class QMenu;

/// The toolbar of the window: what the pane in front offers, then its commands on itself, then what is the window's
/// own.
///
/// Shows titles and symbols as the user has chosen from its context menu. With too little room it first takes the
/// titles from the lesser commands, then from all; the titles are tooltips then.
class PaneToolBar final : public QToolBar {
    Q_OBJECT

public:
    enum class Labels { titleAndIcon, titleOnly, iconOnly };

    /// The stored text of a label style; an unknown text is `titleAndIcon`.
    static std::string_view labelsText(Labels labels);
    static Labels labelsFrom(std::string_view text);

    explicit PaneToolBar(QWidget* parent = nullptr);

    /// Shows the commands. The keyboard stays on the button of the same command.
    void showCommands(const PaneCommands& commands);

    /// Puts an action of the window behind everything a pane offers.
    void addAtEnd(QAction* action);

    void setLabels(Labels labels);
    Labels labels() const { return labels_; }

    /// The width at which all titles fit.
    int widthWithTitles() const;

Q_SIGNALS:
    /// The user has chosen another label style.
    void labelsChosen(PaneToolBar::Labels labels);

protected:
    void contextMenuEvent(QContextMenuEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    struct Entry {
        PaneToolbarLayout::Slot slot;
        bool hasMenu = false;
        QAction* action = nullptr;
        QMenu* menu = nullptr;
        std::function<void()> run;
        std::vector<PaneCommand> offered = {}; ///< By the button's menu.
    };

    void rebuild(const std::vector<PaneToolbarLayout::Item>& items, std::size_t spacerBefore);
    void addSpacer(QAction* before);
    /// Sets the window's own actions apart.
    void addGap(QAction* before);
    std::optional<PaneToolbarLayout::Slot> focusedSlot() const;
    void addEntry(const PaneToolbarLayout::Item& item);
    void render(Entry& entry, const PaneToolbarLayout::Item& item);
    void keepDressed(QAction* action);
    void dress(QAction* action);
    void fit();
    int widthWith(bool hasTitles, bool hasLesserTitles) const;

    std::vector<Entry> entries_;
    std::vector<QAction*> spacers_;
    std::vector<QAction*> atEnd_;
    std::size_t spacerBefore_ = 0;
    Labels labels_ = Labels::titleAndIcon;
};
