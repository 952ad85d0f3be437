#include "foundation/views/style/StylePainting.h"

#include "foundation/views/style/ColorRoles.h"
#include "foundation/views/style/Icons.h"
#include "foundation/views/style/Measures.h"

#include <QPainter>
#include <QPainterPath>
#include <QStyleOption>

#include <algorithm>

namespace {

constexpr double controlRadius = 5;

class Saved {
public:
    explicit Saved(QPainter& painter)
        : painter_(painter)
    {
        painter_.save();
        painter_.setRenderHint(QPainter::Antialiasing);
    }
    ~Saved() { painter_.restore(); }
    Saved(const Saved&) = delete;
    Saved& operator=(const Saved&) = delete;

private:
    QPainter& painter_;
};

// Strokes are centred on their path; half a pixel inside, a one-pixel outline is sharp.
void paintOutlined(QPainter& painter, const QRect& rect, const QColor& fill, const QColor& outline, double radius)
{
    painter.setPen(outline.isValid() ? QPen(outline, 1) : QPen(Qt::NoPen));
    painter.setBrush(fill);
    painter.drawRoundedRect(QRectF(rect).adjusted(0.5, 0.5, -0.5, -0.5), radius, radius);
}

QColor veiled(const QColor& ground, const QColor& veil)
{
    return mixed(QColor(veil.red(), veil.green(), veil.blue()), ground, veil.alphaF());
}

bool has(const QStyleOption& option, QStyle::StateFlag flag)
{
    return option.state.testFlag(flag);
}

bool isHovered(const QStyleOption& option)
{
    return has(option, QStyle::State_MouseOver) && has(option, QStyle::State_Enabled);
}

QColor strongFill(const QStyleOptionButton& option, bool isDestructive)
{
    const QPalette& palette = option.palette;
    const QColor fill = isDestructive ? dangerFill() : palette.color(QPalette::Active, QPalette::Highlight);
    if (has(option, QStyle::State_Sunken)) {
        return mixed(Qt::black, fill, 0.2);
    }
    return isHovered(option) ? mixed(Qt::black, fill, 0.1) : fill;
}

bool isStrong(const QStyleOptionButton& option, bool isDestructive)
{
    return has(option, QStyle::State_Enabled)
        && (isDestructive || option.features.testFlag(QStyleOptionButton::DefaultButton));
}

} // namespace

void paintFocusRing(QPainter& painter, const QRect& rect, const QPalette& palette, double radius)
{
    const Saved saved(painter);
    painter.setPen(QPen(accent(palette), 2));
    painter.setBrush(Qt::NoBrush);
    painter.drawRoundedRect(QRectF(rect).adjusted(1, 1, -1, -1), radius, radius);
}

void paintHairline(QPainter& painter, const QRect& rect, const QPalette& palette)
{
    painter.fillRect(rect, hairline(palette));
}

void paintSymbol(QPainter& painter, Symbol symbol, const QRect& rect, const QColor& color)
{
    const double ratio = painter.device() != nullptr ? painter.device()->devicePixelRatioF() : 1;
    painter.drawPixmap(rect.topLeft(), symbolPixmap(symbol, rect.size(), ratio, color));
}

void paintPushButton(QPainter& painter, const QStyleOptionButton& option, bool isDestructive)
{
    const Saved saved(painter);
    const QPalette& palette = option.palette;
    const bool isStrongButton = isStrong(option, isDestructive);
    const bool isPressed = has(option, QStyle::State_Sunken) || has(option, QStyle::State_On);
    if (isStrongButton) {
        paintOutlined(painter, option.rect, strongFill(option, isDestructive), {}, controlRadius);
    } else if (option.features.testFlag(QStyleOptionButton::Flat)) {
        const QColor veil = isPressed ? pressedVeil(palette)
            : isHovered(option)       ? hoverVeil(palette)
                                      : QColor(Qt::transparent);
        paintOutlined(painter, option.rect, veil, {}, controlRadius);
    } else {
        const QColor ground = palette.color(QPalette::Button);
        const QColor fill = isPressed ? veiled(ground, pressedVeil(palette))
            : isHovered(option)       ? veiled(ground, hoverVeil(palette))
                                      : ground;
        paintOutlined(painter, option.rect, fill,
            has(option, QStyle::State_Enabled) ? controlOutline(palette) : hairline(palette), controlRadius);
    }
    if (has(option, QStyle::State_HasFocus)) {
        paintFocusRing(painter, option.rect, palette);
        if (isStrongButton) {
            // On a button of the ring's own colour the ring needs an edge to be seen.
            painter.setPen(QPen(palette.color(QPalette::Active, QPalette::HighlightedText), 1.5));
            painter.setBrush(Qt::NoBrush);
            painter.drawRoundedRect(QRectF(option.rect).adjusted(2.75, 2.75, -2.75, -2.75), 3, 3);
        }
    }
}

QColor pushButtonText(const QStyleOptionButton& option, bool isDestructive)
{
    if (!isStrong(option, isDestructive)) {
        return option.palette.color(QPalette::ButtonText);
    }
    return isDestructive ? QColor(Qt::white) : option.palette.color(QPalette::Active, QPalette::HighlightedText);
}

void paintToolButton(QPainter& painter, const QStyleOption& option)
{
    const Saved saved(painter);
    const bool isPressed = has(option, QStyle::State_Sunken) || has(option, QStyle::State_On);
    if (isPressed || isHovered(option)) {
        paintOutlined(painter, option.rect, isPressed ? pressedVeil(option.palette) : hoverVeil(option.palette), {},
            controlRadius);
    }
}

void paintToolButtonLabel(QPainter& painter, const QStyleOptionToolButton& option)
{
    constexpr int gap = 6;
    const bool isEnabled = has(option, QStyle::State_Enabled);
    const QSize icon = option.icon.isNull() ? QSize(0, 0) : option.iconSize;
    const int iconRoom = option.icon.isNull() ? 0 : icon.width() + gap;
    const QString plain = QString(option.text).remove(u'&');
    const int textWidth = std::min(option.fontMetrics.horizontalAdvance(plain) + 1, option.rect.width() - iconRoom);
    const QRect all(option.rect.left() + (option.rect.width() - iconRoom - textWidth) / 2, option.rect.top(),
        iconRoom + textWidth, option.rect.height());
    if (!option.icon.isNull()) {
        const QRect place(all.left(), all.center().y() - icon.height() / 2 + 1, icon.width(), icon.height());
        option.icon.paint(&painter, QStyle::visualRect(option.direction, all, place), Qt::AlignCenter,
            isEnabled ? QIcon::Normal : QIcon::Disabled);
    }
    const QRect text = QStyle::visualRect(option.direction, all, all.adjusted(iconRoom, 0, 0, 0));
    painter.setFont(option.font);
    painter.setPen(option.palette.color(isEnabled ? QPalette::Active : QPalette::Disabled, QPalette::ButtonText));
    painter.drawText(text, Qt::AlignCenter | Qt::TextHideMnemonic | Qt::TextSingleLine, option.text);
}

void paintGroup(QPainter& painter, const QStyleOption& option)
{
    const Saved saved(painter);
    // The title is above the frame.
    const QRect frame = option.rect.adjusted(0, option.fontMetrics.height() + Spacing::tight, 0, 0);
    paintOutlined(painter, frame, Qt::transparent, hairline(option.palette), controlRadius);
}

void paintField(QPainter& painter, const QStyleOption& option)
{
    const Saved saved(painter);
    const bool isEnabled = has(option, QStyle::State_Enabled);
    paintOutlined(painter, option.rect, option.palette.color(QPalette::Base),
        isEnabled ? controlOutline(option.palette) : hairline(option.palette), controlRadius);
    if (isEnabled && has(option, QStyle::State_HasFocus)) {
        paintFocusRing(painter, option.rect, option.palette);
    }
}

void paintCheckMark(QPainter& painter, const QStyleOption& option, bool isRound)
{
    const Saved saved(painter);
    const QPalette& palette = option.palette;
    const bool isEnabled = has(option, QStyle::State_Enabled);
    const bool isOn = has(option, QStyle::State_On) || has(option, QStyle::State_NoChange);
    const double radius = isRound ? option.rect.height() / 2.0 : 3.5;
    const QColor mark = isEnabled ? palette.color(QPalette::Active, QPalette::HighlightedText)
                                  : palette.color(QPalette::Disabled, QPalette::Text);
    if (isOn) {
        const QColor fill = isEnabled ? palette.color(QPalette::Active, QPalette::Highlight) : hairline(palette);
        // On a selected row, which has the same colour, the box needs an edge.
        const QColor edge = has(option, QStyle::State_Selected) ? mark : QColor();
        paintOutlined(painter, option.rect, fill, edge, radius);
    } else {
        const QColor ground = palette.color(QPalette::Base);
        const QColor outline = mixed(palette.color(QPalette::Active, QPalette::Text), ground, isEnabled ? 0.5 : 0.2);
        paintOutlined(
            painter, option.rect, isHovered(option) ? veiled(ground, hoverVeil(palette)) : ground, outline, radius);
    }
    const QRectF box(option.rect);
    if (has(option, QStyle::State_NoChange)) {
        painter.fillRect(QRectF(box.left() + 4, box.center().y() - 0.75, box.width() - 8, 1.5), mark);
    } else if (isOn && isRound) {
        painter.setPen(Qt::NoPen);
        painter.setBrush(mark);
        painter.drawEllipse(box.center(), 3, 3);
    } else if (isOn) {
        paintSymbol(painter, Symbol::check, option.rect.adjusted(2, 2, -2, -2), mark);
    }
}

void paintHeaderSection(QPainter& painter, const QStyleOptionHeader& option)
{
    const QPalette& palette = option.palette;
    const QRect rect = option.rect;
    painter.fillRect(rect, palette.color(QPalette::Base));
    if (isHovered(option) || has(option, QStyle::State_Sunken)) {
        painter.fillRect(rect, has(option, QStyle::State_Sunken) ? pressedVeil(palette) : hoverVeil(palette));
    }
    if (option.orientation == Qt::Horizontal) {
        paintHairline(painter, {rect.left(), rect.bottom(), rect.width(), 1}, palette);
        const bool isLast =
            option.position == QStyleOptionHeader::End || option.position == QStyleOptionHeader::OnlyOneSection;
        if (!isLast) {
            const int x = option.direction == Qt::RightToLeft ? rect.left() : rect.right();
            paintHairline(painter, {x, rect.top() + 6, 1, rect.height() - 12}, palette);
        }
    }
}

void paintItemBackground(QPainter& painter, const QStyleOptionViewItem& option)
{
    const auto group = !has(option, QStyle::State_Enabled) ? QPalette::Disabled
        : has(option, QStyle::State_Active)                ? QPalette::Active
                                                           : QPalette::Inactive;
    if (option.backgroundBrush.style() != Qt::NoBrush) {
        painter.fillRect(option.rect, option.backgroundBrush);
    }
    if (has(option, QStyle::State_Selected)) {
        painter.fillRect(option.rect, option.palette.color(group, QPalette::Highlight));
    } else if (isHovered(option)) {
        painter.fillRect(option.rect, hoverVeil(option.palette));
    }
}

void paintProgress(QPainter& painter, const QStyleOptionProgressBar& option)
{
    const Saved saved(painter);
    const int height = std::min(4, option.rect.height());
    const QRectF groove(option.rect.left(), option.rect.center().y() - height / 2 + 1, option.rect.width(), height);
    painter.setPen(Qt::NoPen);
    painter.setBrush(hairline(option.palette));
    painter.drawRoundedRect(groove, height / 2.0, height / 2.0);
    const double span = static_cast<double>(option.maximum) - option.minimum;
    if (span <= 0) {
        return;
    }
    const double done = std::clamp((static_cast<double>(option.progress) - option.minimum) / span, 0.0, 1.0);
    if (done <= 0) {
        return;
    }
    QRectF bar = groove;
    bar.setWidth(std::max(groove.width() * done, static_cast<double>(height)));
    if (option.direction == Qt::RightToLeft) {
        bar.moveRight(groove.right());
    }
    painter.setBrush(has(option, QStyle::State_Enabled) ? accent(option.palette) : controlOutline(option.palette));
    painter.drawRoundedRect(bar, height / 2.0, height / 2.0);
}

void paintScrollBar(QPainter& painter, const QStyleOptionSlider& option, const QRect& handle)
{
    const Saved saved(painter);
    painter.fillRect(option.rect, option.palette.color(QPalette::Base));
    if (option.minimum >= option.maximum) {
        return;
    }
    const bool isHeld =
        has(option, QStyle::State_Sunken) && option.activeSubControls.testFlag(QStyle::SC_ScrollBarSlider);
    const double strength = isHeld ? 0.55 : isHovered(option) ? 0.45 : 0.3;
    painter.setPen(Qt::NoPen);
    painter.setBrush(mixed(option.palette.color(QPalette::Text), option.palette.color(QPalette::Base), strength));
    const QRectF bar = QRectF(handle).adjusted(3, 3, -3, -3);
    painter.drawRoundedRect(bar, 3, 3);
}

void paintTab(QPainter& painter, const QStyleOptionTab& option)
{
    const QRect rect = option.rect;
    if (has(option, QStyle::State_Selected)) {
        painter.fillRect(QRect(rect.left() + 4, rect.bottom() - 1, rect.width() - 8, 2), accent(option.palette));
    } else if (isHovered(option)) {
        painter.fillRect(rect, hoverVeil(option.palette));
    }
}

void paintSpinBox(QPainter& painter, const QStyleOptionSpinBox& option, const QRect& up, const QRect& down)
{
    paintField(painter, option);
    const auto arrow = [&](const QRect& rect, QStyle::SubControl part, QAbstractSpinBox::StepEnabledFlag step,
                           bool upward) {
        const bool isEnabled = option.stepEnabled.testFlag(step);
        const Saved saved(painter);
        if (option.activeSubControls == part && isEnabled && isHovered(option)) {
            paintOutlined(painter, rect.adjusted(1, 2, -3, -2), hoverVeil(option.palette), {}, 3);
        }
        QRect box(0, 0, 8, 8);
        box.moveCenter(rect.center());
        painter.translate(QRectF(box).center());
        painter.rotate(upward ? 180 : 0);
        painter.translate(-QRectF(box).center());
        paintSymbol(painter, Symbol::chevronDown, box,
            isEnabled ? symbolColor(option.palette) : option.palette.color(QPalette::Disabled, QPalette::Text));
    };
    if (option.buttonSymbols != QAbstractSpinBox::NoButtons) {
        arrow(up, QStyle::SC_SpinBoxUp, QAbstractSpinBox::StepUpEnabled, true);
        arrow(down, QStyle::SC_SpinBoxDown, QAbstractSpinBox::StepDownEnabled, false);
    }
}

void paintComboBox(QPainter& painter, const QStyleOptionComboBox& option, const QRect& arrow)
{
    if (option.editable) {
        paintField(painter, option);
    } else {
        QStyleOptionButton button;
        button.QStyleOption::operator=(option);
        button.features = option.frame ? QStyleOptionButton::None : QStyleOptionButton::Flat;
        button.state.setFlag(QStyle::State_On, false);
        paintPushButton(painter, button, false);
    }
    QRect box(0, 0, 12, 12);
    box.moveCenter(arrow.center());
    paintSymbol(painter, Symbol::chevronDown, box,
        has(option, QStyle::State_Enabled) ? symbolColor(option.palette)
                                           : option.palette.color(QPalette::Disabled, QPalette::Text));
}
