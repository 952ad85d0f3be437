#include "shell/views/KeyCard.h"

#include "foundation/views/ColorRoles.h"
#include "foundation/views/Icons.h"
#include "foundation/views/Measures.h"

#include <QPainter>
#include <QPainterPath>

namespace {

constexpr int radius = 6;
constexpr int symbolSize = 24;

} // namespace

KeyCard::KeyCard(QWidget* parent)
    : QAbstractButton(parent)
{
    setFocusPolicy(Qt::StrongFocus);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    setAttribute(Qt::WA_Hover);
}

void KeyCard::show(const Content& content)
{
    if (content == content_)
        return;
    const bool changesHeight = content.badge.isEmpty() != content_.badge.isEmpty();
    content_ = content;
    QStringList parts{content.account, content.key, content.region, content.badge};
    parts.removeAll(QString());
    setAccessibleName(tr("Key in use: %1").arg(parts.join(QStringLiteral(", "))));
    setToolTip(parts.join(u'\n'));
    if (changesHeight)
        updateGeometry();
    update();
}

QSize KeyCard::sizeHint() const
{
    const int name = QFontMetrics(textFont(TextSize::normal, QFont::DemiBold)).height();
    const int line = QFontMetrics(textFont(TextSize::small)).height();
    const int lines = content_.badge.isEmpty() ? 1 : 2;
    return {200, name + lines * (line + 2) + 2 * Spacing::small + 2};
}

QSize KeyCard::minimumSizeHint() const
{
    return {120, sizeHint().height()};
}

void KeyCard::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF frame = QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5);
    QPainterPath outline;
    outline.addRoundedRect(frame, radius, radius);
    painter.fillPath(outline, palette().color(QPalette::Base));
    if (underMouse() || isDown())
        painter.fillPath(outline, isDown() ? pressedVeil(palette()) : hoverVeil(palette()));
    painter.setPen(hasFocus() ? QPen(accent(palette()), 2) : QPen(hairline(palette()), 1));
    painter.drawPath(outline);

    const bool isRightToLeft = layoutDirection() == Qt::RightToLeft;
    const auto place = [&](const QRect& area) { return QStyle::visualRect(layoutDirection(), rect(), area); };
    const QRect icon(Spacing::small, Spacing::small + 2, symbolSize, symbolSize);
    painter.drawPixmap(
        place(icon).topLeft(), symbolPixmap(Symbol::key, icon.size(), devicePixelRatioF(), symbolColor(palette())));

    const int left = icon.right() + 1 + Spacing::small;
    const int chevron = 16;
    const int textWidth = width() - left - chevron - 2 * Spacing::small;
    painter.drawPixmap(
        place(QRect(width() - chevron - Spacing::small, (height() - chevron) / 2, chevron, chevron)).topLeft(),
        symbolPixmap(Symbol::chevronDown, {chevron, chevron}, devicePixelRatioF(), secondaryText(palette())));

    const auto alignment = (isRightToLeft ? Qt::AlignRight : Qt::AlignLeft) | Qt::AlignVCenter | Qt::AlignAbsolute;
    int top = Spacing::small;
    const auto line = [&](const QString& text, const QFont& font, const QColor& color, Qt::TextElideMode mode) {
        const QFontMetrics metrics(font);
        painter.setFont(font);
        painter.setPen(color);
        painter.drawText(
            place(QRect(left, top, textWidth, metrics.height())), alignment, metrics.elidedText(text, mode, textWidth));
        top += metrics.height() + 2;
    };
    line(
        content_.account, textFont(TextSize::normal, QFont::DemiBold), palette().color(QPalette::Text), Qt::ElideRight);
    QStringList second{content_.key, content_.region};
    second.removeAll(QString());
    line(second.join(QStringLiteral(" · ")), textFont(TextSize::small), secondaryText(palette()), Qt::ElideMiddle);
    if (!content_.badge.isEmpty())
        line(content_.badge, textFont(TextSize::small), messageColor(MessageKind::warning, palette()), Qt::ElideRight);
}

void KeyCard::enterEvent(QEnterEvent* event)
{
    QAbstractButton::enterEvent(event);
    update();
}

void KeyCard::leaveEvent(QEvent* event)
{
    QAbstractButton::leaveEvent(event);
    update();
}
