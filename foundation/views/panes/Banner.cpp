#include "foundation/views/panes/Banner.h"

#include "foundation/views/Announcer.h"
#include "foundation/views/Labels.h"
#include "foundation/views/style/SymbolView.h"
#include "foundation/views/tables/NameText.h"

#include <QHBoxLayout>
#include <QPainter>
#include <QPushButton>
#include <QToolButton>

Banner::Banner(QWidget* parent)
    : QFrame(parent)
    , icon_(new MessageIcon(MessageKind::notice, this))
    , text_(makeLabel({}, TextSize::normal, QFont::Normal, this))
    , action_(new QPushButton(this))
    , close_(new QToolButton(this))
{
    registerAlertRole();
    text_->setWordWrap(true);
    text_->setTextInteractionFlags(Qt::TextSelectableByMouse);
    text_->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Preferred);
    close_->setIcon(symbolIcon(Symbol::close));
    close_->setAutoRaise(true);
    close_->setFocusPolicy(Qt::TabFocus);
    close_->setToolTip(tr("Close this message"));
    close_->setAccessibleName(tr("Close this message"));

    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(Spacing::normal, Spacing::small, Spacing::small, Spacing::small);
    row->setSpacing(Spacing::small);
    row->addWidget(icon_);
    row->addWidget(text_, 1);
    row->addWidget(action_);
    row->addWidget(close_);

    connect(action_, &QPushButton::clicked, this, &Banner::actionTriggered);
    connect(close_, &QToolButton::clicked, this, [this] {
        dismiss();
        Q_EMIT closed();
    });
    setVisible(false);
}

void Banner::showMessage(MessageKind kind, const QString& text, const QString& action)
{
    kind_ = kind;
    icon_->setKind(kind);
    sentence_ = text;
    text_->setText(breakable(text));
    action_->setText(action);
    action_->setVisible(!action.isEmpty());
    setAccessibleName(icon_->accessibleName() + QStringLiteral(": ") + text);
    setVisible(true);
    update();
    announce(*this, text);
}

void Banner::dismiss()
{
    setVisible(false);
}

void Banner::setClosable(bool closable)
{
    close_->setVisible(closable);
}

void Banner::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.fillRect(rect(), messageTint(kind_, palette()));
    const QColor edge = mixed(messageColor(kind_, palette()), messageTint(kind_, palette()), 0.35);
    painter.fillRect(QRect(0, height() - 1, width(), 1), edge);
}
