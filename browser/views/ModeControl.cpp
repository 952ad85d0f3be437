#include "browser/views/ModeControl.h"

#include "browser/BrowserTexts.h"
#include "foundation/QtText.h"
#include "foundation/views/style/ColorRoles.h"

#include <QButtonGroup>
#include <QHBoxLayout>
#include <QPainter>
#include <QToolButton>

ModeControl::ModeControl(QWidget* parent)
    : QWidget(parent)
    , current_(makeSegment(BrowserMode::current))
    , allVersions_(makeSegment(BrowserMode::allVersions))
{
    setAccessibleName(tr("What is listed"));
    setToolTip(QString::fromUtf8(BrowserHelp::mode));
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    auto* const group = new QButtonGroup(this);
    auto* const segments = new QHBoxLayout(this);
    segments->setContentsMargins(2, 2, 2, 2);
    segments->setSpacing(2);
    for (auto* segment : {current_, allVersions_}) {
        group->addButton(segment);
        segments->addWidget(segment);
    }
    setMode(BrowserMode::current);
}

QToolButton* ModeControl::makeSegment(BrowserMode mode)
{
    auto* const segment = new QToolButton(this);
    segment->setText(toQString(modeName(mode)));
    segment->setCheckable(true);
    segment->setAutoRaise(true);
    segment->setFocusPolicy(Qt::TabFocus);
    segment->setAccessibleDescription(QString::fromUtf8(BrowserHelp::mode));
    connect(segment, &QToolButton::clicked, this, [this, mode] { Q_EMIT modeChosen(mode); });
    return segment;
}

void ModeControl::setMode(BrowserMode mode)
{
    (mode == BrowserMode::current ? current_ : allVersions_)->setChecked(true);
}

void ModeControl::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(hairline(palette()));
    painter.setBrush(Qt::NoBrush);
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), 6, 6);
}
