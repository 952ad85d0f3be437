#include "foundation/views/panes/PaneToolBar.h"

#include "foundation/views/style/Measures.h"
#include "foundation/views/style/StylePainting.h"

#include <QAction>
#include <QActionEvent>
#include <QLayout>
#include <QPainter>
#include <QToolButton>

PaneToolBar::PaneToolBar(QWidget* parent)
    : QToolBar(parent)
{
    setMovable(false);
    setFloatable(false);
    setIconSize(QSize(16, 16));
    setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    setContextMenuPolicy(Qt::PreventContextMenu);
}

void PaneToolBar::addGroup(const QList<QAction*>& group)
{
    if (!actions().isEmpty() && !actions().constLast()->property("spacer").toBool()) {
        addSeparator();
    }
    addActions(group);
}

void PaneToolBar::addSpacer()
{
    auto* spacer = new QWidget(this);
    spacer->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Preferred);
    addWidget(spacer)->setProperty("spacer", true);
}

void PaneToolBar::actionEvent(QActionEvent* event)
{
    QToolBar::actionEvent(event);
    QAction* action = event->action();
    if (auto* button = qobject_cast<QToolButton*>(widgetForAction(action)); button != nullptr) {
        // Tool bars keep their buttons out of the tab order by default, but every command must be reachable by key.
        button->setFocusPolicy(Qt::TabFocus);
        const QString shortcut = action->shortcut().toString(QKeySequence::NativeText);
        const QString tip = action->toolTip();
        button->setToolTip(shortcut.isEmpty() ? tip : tr("%1 (%2)").arg(tip, shortcut));
        button->setAccessibleName(action->text().remove(u'&'));
    }
    fit();
}

void PaneToolBar::resizeEvent(QResizeEvent* event)
{
    QToolBar::resizeEvent(event);
    fit();
}

void PaneToolBar::fit()
{
    int width = layout()->contentsMargins().left() + layout()->contentsMargins().right();
    for (QAction* action : actions()) {
        auto* widget = widgetForAction(action);
        if (widget == nullptr || !action->isVisible()) {
            continue;
        }
        width += layout()->spacing();
        if (auto* button = qobject_cast<QToolButton*>(widget); button != nullptr) {
            const bool hasText = action->priority() != QAction::LowPriority;
            width += 26 + (hasText ? fontMetrics().horizontalAdvance(action->iconText()) + 10 : 0);
        } else {
            width += widget->sizeHint().width();
        }
    }
    widthWithTexts_ = width;
    const auto wanted = width > this->width() ? Qt::ToolButtonIconOnly : Qt::ToolButtonTextBesideIcon;
    if (wanted != toolButtonStyle()) {
        setToolButtonStyle(wanted);
    }
}

void PaneToolBar::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    paintHairline(painter, QRect(0, height() - 1, width(), 1), palette());
}
