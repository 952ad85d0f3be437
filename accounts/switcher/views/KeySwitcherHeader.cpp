#include "accounts/switcher/views/KeySwitcherHeader.h"

#include "accounts/switcher/KeySwitcherModel.h"
#include "accounts/switcher/views/KeySwitcherPopover.h"
#include "foundation/QtText.h"
#include "foundation/views/style/ColorRoles.h"
#include "foundation/views/style/Icons.h"
#include "foundation/views/style/Measures.h"
#include "foundation/views/tables/NameText.h"

#include <QEvent>
#include <QPainter>
#include <QPainterPath>

namespace {

constexpr int radius = 6;
constexpr int cardSymbolSize = 24;
constexpr int chevronSize = 16;

QString shown(const std::optional<std::string>& text)
{
    return showableName(toQString(text.value_or("")));
}

} // namespace

KeySwitcherHeader::KeySwitcherHeader(KeySwitcherModel& model, KeySwitcherActions actions, QWidget* parent)
    : QAbstractButton(parent)
    , model_(model)
    , actions_(std::move(actions))
{
    setFocusPolicy(Qt::StrongFocus);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    setAttribute(Qt::WA_Hover);
    setAccessibleDescription(tr("Shows this key and the others you can switch to"));
    connect(this, &QAbstractButton::clicked, this, &KeySwitcherHeader::openPopover);
    connect(&model_, &Observable::changed, this, &KeySwitcherHeader::render);
    render();
}

KeySwitcherPopover* KeySwitcherHeader::popover() const
{
    return popover_;
}

void KeySwitcherHeader::openPopover()
{
    if (popover_)
        return;
    popover_ = new KeySwitcherPopover(actions_, *this);
    popover_->setContent(model_.content());
    popover_->openUnderHeader();
}

void KeySwitcherHeader::render()
{
    if (popover_)
        popover_->setContent(model_.content());
    setContent(model_.header());
}

void KeySwitcherHeader::setContent(const KeySwitcherHeaderContent& content)
{
    if (content == content_)
        return;
    content_ = content;
    const Lines text = lines();
    QStringList parts{text.first, text.second, text.badge};
    parts.removeAll(QString());
    setAccessibleName(tr("Key in use: %1").arg(parts.join(QStringLiteral(", "))));
    parts.append(shown(content_.badgeHelp));
    parts.append(accessibleDescription());
    parts.removeAll(QString());
    // As rich text a tooltip wraps, and no name is read as markup.
    setToolTip(
        QStringLiteral("<qt>%1</qt>").arg(parts.join(u'\n').toHtmlEscaped().replace(u'\n', QStringLiteral("<br>"))));
    updateGeometry();
    update();
}

KeySwitcherHeader::Lines KeySwitcherHeader::lines() const
{
    Lines lines;
    const QString label = showableName(toQString(content_.keyLabel));
    lines.first = content_.account ? shown(content_.account) : label;
    lines.badge = shown(content_.badge);
    if (content_.isConnecting) {
        lines.second = tr("Connecting…");
    } else if (content_.notConnected) {
        lines.second = content_.account ? label : shown(content_.unreadReason);
        lines.isWarning = true;
    } else {
        QStringList parts{label};
        // A name taken from the region already says it.
        if (content_.regionTag && !lines.first.startsWith(toQString(*content_.regionTag)))
            parts.append(shown(content_.regionTag));
        lines.second = parts.join(QStringLiteral(" · "));
    }
    return lines;
}

QSize KeySwitcherHeader::sizeHint() const
{
    const int name = QFontMetrics(textFont(TextSize::normal, QFont::DemiBold)).height();
    const int line = QFontMetrics(textFont(TextSize::small)).height();
    const int more = content_.badge ? 2 : 1;
    return {200, name + more * (line + 2) + 2 * Spacing::small + 2};
}

QSize KeySwitcherHeader::minimumSizeHint() const
{
    return {120, sizeHint().height()};
}

void KeySwitcherHeader::paintEvent(QPaintEvent*)
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

    const auto place = [&](const QRect& area) { return QStyle::visualRect(layoutDirection(), rect(), area); };
    const QRect icon(Spacing::small, Spacing::small + 2, cardSymbolSize, cardSymbolSize);
    painter.drawPixmap(
        place(icon).topLeft(), symbolPixmap(Symbol::key, icon.size(), devicePixelRatioF(), symbolColor(palette())));
    const QRect chevron(width() - chevronSize - Spacing::small, (height() - chevronSize) / 2, chevronSize, chevronSize);
    painter.drawPixmap(place(chevron).topLeft(),
        symbolPixmap(Symbol::chevronDown, chevron.size(), devicePixelRatioF(), secondaryText(palette())));

    const Lines text = lines();
    const int left = icon.right() + 1 + Spacing::small;
    const int textWidth = chevron.left() - left - Spacing::small;
    const auto alignment = QStyle::visualAlignment(layoutDirection(), Qt::AlignLeft) | Qt::AlignVCenter;
    int top = Spacing::small;
    const auto draw = [&](const QString& line, const QFont& font, const QColor& color) {
        const QFontMetrics metrics(font);
        painter.setFont(font);
        painter.setPen(color);
        painter.drawText(place(QRect(left, top, textWidth, metrics.height())),
            static_cast<int>(alignment) | Qt::TextSingleLine, metrics.elidedText(line, Qt::ElideMiddle, textWidth));
        top += metrics.height() + 2;
    };
    const QFont bold = textFont(TextSize::normal, QFont::DemiBold);
    if (text.second.isEmpty() && text.badge.isEmpty())
        top = (height() - QFontMetrics(bold).height()) / 2;
    draw(text.first, bold, palette().color(QPalette::Text));
    const QColor warning = messageColor(MessageKind::warning, palette());
    draw(text.second, textFont(TextSize::small), text.isWarning ? warning : secondaryText(palette()));
    draw(text.badge, textFont(TextSize::small), warning);
}

void KeySwitcherHeader::enterEvent(QEnterEvent* event)
{
    QAbstractButton::enterEvent(event);
    update();
}

void KeySwitcherHeader::leaveEvent(QEvent* event)
{
    QAbstractButton::leaveEvent(event);
    update();
}

void KeySwitcherHeader::changeEvent(QEvent* event)
{
    if (event->type() == QEvent::FontChange)
        updateGeometry();
    QAbstractButton::changeEvent(event);
}
