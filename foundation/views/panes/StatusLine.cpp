#include "foundation/views/panes/StatusLine.h"

#include "foundation/views/ElidedLabel.h"
#include "foundation/views/Labels.h"
#include "foundation/views/style/StylePainting.h"

#include <QHBoxLayout>
#include <QPainter>

StatusLine::StatusLine(QWidget* parent)
    : QWidget(parent)
    , text_(new ElidedLabel({}, this))
    , detail_(makeSecondaryLabel({}, TextSize::small, this))
{
    text_->setFont(textFont(TextSize::small));
    text_->setSecondary(true);
    text_->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
    detail_->setWordWrap(false);
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(Spacing::normal, 5, Spacing::normal, Spacing::tight);
    row->setSpacing(Spacing::large);
    row->addWidget(text_, 1);
    row->addWidget(detail_);
}

void StatusLine::setText(const QString& text)
{
    text_->setText(text);
    setAccessibleName(text);
}

QString StatusLine::text() const
{
    return text_->text();
}

void StatusLine::setDetail(const QString& detail)
{
    detail_->setText(detail);
}

void StatusLine::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    paintHairline(painter, QRect(0, 0, width(), 1), palette());
}
