#include "foundation/views/ElidedLabel.h"

#include "foundation/views/tables/NameText.h"

#include <QEvent>
#include <QHelpEvent>
#include <QPainter>
#include <QStyle>
#include <QToolTip>

ElidedLabel::ElidedLabel(const QString& text, QWidget* parent)
    : QWidget(parent)
{
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    setText(text);
}

void ElidedLabel::setText(const QString& text)
{
    if (text == text_) {
        return;
    }
    text_ = text;
    shown_ = showableName(text);
    setAccessibleName(shown_);
    updateGeometry();
    update();
}

QString ElidedLabel::shownText() const
{
    const int width = contentsRect().width();
    return elision_ == Qt::ElideMiddle ? elidedName(shown_, fontMetrics(), width)
                                       : fontMetrics().elidedText(shown_, elision_, width);
}

void ElidedLabel::setSecondary(bool secondary)
{
    setForegroundRole(secondary ? QPalette::PlaceholderText : QPalette::WindowText);
}

void ElidedLabel::setAlignment(Qt::Alignment alignment)
{
    alignment_ = alignment;
    update();
}

void ElidedLabel::setElision(Qt::TextElideMode elision)
{
    elision_ = elision;
    update();
}

QSize ElidedLabel::sizeHint() const
{
    return {fontMetrics().horizontalAdvance(shown_) + 1, fontMetrics().height()};
}

QSize ElidedLabel::minimumSizeHint() const
{
    return {fontMetrics().horizontalAdvance(QStringLiteral("mmm…")), fontMetrics().height()};
}

bool ElidedLabel::event(QEvent* event)
{
    if (event->type() == QEvent::ToolTip && toolTip().isEmpty()) {
        if (shownText() != shown_) {
            QToolTip::showText(static_cast<QHelpEvent*>(event)->globalPos(), shown_.toHtmlEscaped(), this);
        } else {
            event->ignore();
        }
        return true;
    }
    return QWidget::event(event);
}

void ElidedLabel::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    const auto flags = static_cast<int>(QStyle::visualAlignment(layoutDirection(), alignment_)) | Qt::TextSingleLine;
    style()->drawItemText(&painter, contentsRect(), flags, palette(), isEnabled(), shownText(), foregroundRole());
}

void ElidedLabel::changeEvent(QEvent* event)
{
    if (event->type() == QEvent::FontChange) {
        updateGeometry();
    }
    QWidget::changeEvent(event);
}
