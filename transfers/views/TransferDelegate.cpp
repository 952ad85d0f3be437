#include "transfers/views/TransferDelegate.h"

#include "foundation/QtText.h"
#include "foundation/views/ColorRoles.h"
#include "foundation/views/Icons.h"
#include "foundation/views/Measures.h"
#include "foundation/views/NameText.h"
#include "foundation/views/StylePainting.h"
#include "transfers/TransferProgress.h"
#include "transfers/TransferTexts.h"

#include <QApplication>
#include <QPainter>

#include <algorithm>
#include <cmath>

namespace {

using Case = Transfer::State::Case;
using Tone = TransferStatus::Tone;

constexpr int iconExtent = 24;
constexpr int smallIconExtent = 16;
constexpr int actionExtent = 28;
constexpr int barHeight = 4;

Symbol stateSymbol(const Transfer& transfer, Tone tone)
{
    switch (transfer.state->which) {
    case Case::waiting:
        return Symbol::clock;
    case Case::running:
        if (tone == Tone::warning)
            return Symbol::warning;
        return transfer.kind == Transfer::Kind::upload ? Symbol::upload : Symbol::download;
    case Case::finished:
        return tone == Tone::warning ? Symbol::warning : Symbol::checkCircle;
    case Case::skipped:
        return Symbol::skip;
    case Case::cancelled:
        return Symbol::cancel;
    case Case::failed:
        return Symbol::error;
    }
    return Symbol::info;
}

Symbol actionSymbol(TransferAction action)
{
    switch (action) {
    case TransferAction::cancel:
        return Symbol::cancel;
    case TransferAction::retry:
        return Symbol::retry;
    case TransferAction::show:
        return Symbol::showInFolder;
    }
    return Symbol::more;
}

/// Rate and time left.
QString paceText(const Transfer& transfer)
{
    const auto now = Transfer::Clock::now();
    QStringList parts;
    if (const auto rate = rateText(transfer, now))
        parts.append(toQString(*rate));
    if (const auto seconds = secondsLeft(transfer, now))
        parts.append(toQString(estimateText(*seconds)));
    return parts.join(QStringLiteral(" · "));
}

} // namespace

/// One row's places and colours.
struct TransferDelegate::Look {
    QStyleOptionViewItem option;
    QRect content;
    QRect text; ///< Name and second line.
    QRect side; ///< Amount, rate and time left.
    QRect bar;  ///< Null while there is none.
    QColor plain;
    QColor secondary;
    bool isSelected = false;

    Look(const QStyleOptionViewItem& row, bool hasBar)
        : option(row)
        , content(row.rect.adjusted(Spacing::normal, 0, -Spacing::normal, 0))
        , isSelected(row.state.testFlag(QStyle::State_Selected))
    {
        const auto& palette = option.palette;
        const auto group = option.state.testFlag(QStyle::State_Active) ? QPalette::Active : QPalette::Inactive;
        plain = palette.color(group, isSelected ? QPalette::HighlightedText : QPalette::Text);
        secondary = isSelected ? plain : secondaryText(palette);

        const QRect button = actionRect(option.rect, Qt::LeftToRight);
        const int lines = option.fontMetrics.height() + 2 + QFontMetrics(smallFont()).height();
        const int height = lines + (hasBar ? Spacing::tight + barHeight : 0);
        const int top = content.top() + (content.height() - height) / 2;
        const int sideWidth = std::clamp(content.width() / 3, 90, 230);
        const int left = content.left() + iconExtent + Spacing::normal;
        side = QRect(button.left() - Spacing::small - sideWidth, top, sideWidth, lines);
        text = QRect(left, top, side.left() - Spacing::normal - left, lines);
        if (hasBar)
            bar = QRect(left, top + lines + Spacing::tight, side.right() - left + 1, barHeight);
    }

    QRect firstLine(QRect lines) const
    {
        lines.setHeight(option.fontMetrics.height());
        return lines;
    }
    QRect secondLine(QRect lines) const
    {
        lines.setTop(lines.bottom() + 1 - QFontMetrics(smallFont()).height());
        return lines;
    }
    QColor colorOf(Tone tone) const
    {
        if (!isSelected && tone == Tone::failure)
            return messageColor(MessageKind::danger, option.palette);
        if (!isSelected && tone == Tone::warning)
            return messageColor(MessageKind::warning, option.palette);
        return secondary;
    }

    static QFont smallFont() { return textFont(TextSize::small); }
    QRect placed(const QRect& rect) const { return QStyle::visualRect(option.direction, option.rect, rect); }
    Qt::Alignment leading() const
    {
        return QStyle::visualAlignment(option.direction, Qt::AlignLeft | Qt::AlignVCenter);
    }
    Qt::Alignment trailing() const
    {
        return QStyle::visualAlignment(option.direction, Qt::AlignRight | Qt::AlignVCenter);
    }
};

TransferDelegate::TransferDelegate(TransferOf transferOf, ActionOf actionOf, QObject* parent)
    : QStyledItemDelegate(parent)
    , transferOf_(std::move(transferOf))
    , actionOf_(std::move(actionOf))
{
}

QSize TransferDelegate::sizeHint(const QStyleOptionViewItem& option, const QModelIndex&) const
{
    const int lines = option.fontMetrics.height() + 2 + QFontMetrics(Look::smallFont()).height();
    return {360, lines + Spacing::tight + barHeight + 2 * Spacing::small};
}

QRect TransferDelegate::actionRect(const QRect& row, Qt::LayoutDirection direction)
{
    const QRect place(row.right() + 1 - Spacing::small - actionExtent, row.top() + (row.height() - actionExtent) / 2,
        actionExtent, actionExtent);
    return QStyle::visualRect(direction, row, place);
}

QString TransferDelegate::actionHelp(TransferAction action, const Transfer& transfer)
{
    switch (action) {
    case TransferAction::cancel:
        return toQString(cancelHelp(transfer));
    case TransferAction::retry:
        return toQString(retryLabel(transfer));
    case TransferAction::show:
        return tr("Show");
    }
    return {};
}

void TransferDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const
{
    const auto transfer = transferOf_(index);
    if (!transfer)
        return;
    QStyleOptionViewItem row = option;
    initStyleOption(&row, index);
    const bool hasFocus = row.state.testFlag(QStyle::State_HasFocus);
    row.state.setFlag(QStyle::State_HasFocus, false);
    const auto* style = row.widget ? row.widget->style() : QApplication::style();
    style->drawPrimitive(QStyle::PE_PanelItemViewItem, &row, painter, row.widget);

    const auto fraction = fractionDone(*transfer);
    const bool isRunning = transfer->state->is(Case::running);
    const Look look(row, isRunning && *transfer->byteCount > 0);
    painter->save();
    paintName(*painter, look, *transfer);
    paintStatus(*painter, look, *transfer);
    if (!look.bar.isNull()) {
        QStyleOptionProgressBar bar;
        bar.rect = look.placed(look.bar);
        bar.direction = row.direction;
        bar.palette = row.palette;
        bar.state = QStyle::State_Enabled;
        bar.maximum = 1000;
        bar.progress = static_cast<int>(std::lround(fraction.value_or(0) * 1000));
        if (look.isSelected)
            bar.palette.setColor(QPalette::Highlight, look.plain);
        paintProgress(*painter, bar);
    }

    const bool isHovered = row.state.testFlag(QStyle::State_MouseOver);
    if (const auto action = actionOf_(*transfer); action && (isHovered || look.isSelected || hasFocus))
        paintAction(*painter, look, *action);
    if (hasFocus)
        paintFocusRing(*painter, row.rect, row.palette);
    painter->restore();
}

void TransferDelegate::paintAction(QPainter& painter, const Look& look, TransferAction action) const
{
    const auto& palette = look.option.palette;
    const QRect place = actionRect(look.option.rect, look.option.direction);
    const auto* const widget = look.option.widget;
    if (widget && place.contains(widget->mapFromGlobal(QCursor::pos()))) {
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        painter.setBrush(
            look.isSelected ? mixed(look.plain, palette.color(QPalette::Highlight), 0.25) : pressedVeil(palette));
        painter.drawRoundedRect(place, 5, 5);
    }
    const int inset = (actionExtent - smallIconExtent) / 2;
    paintSymbol(painter, actionSymbol(action), place.adjusted(inset, inset, -inset, -inset),
        look.isSelected ? look.plain : symbolColor(palette));
}

void TransferDelegate::paintName(QPainter& painter, const Look& look, const Transfer& transfer) const
{
    const QString name = showableName(toQString(transfer.displayName));
    const QRect icon(
        look.content.left(), look.content.top() + (look.content.height() - iconExtent) / 2, iconExtent, iconExtent);
    paintSymbol(
        painter, fileSymbol(name), look.placed(icon), look.isSelected ? look.plain : symbolColor(look.option.palette));

    const QRect line = look.firstLine(look.text);
    painter.setFont(look.option.font);
    painter.setPen(look.plain);
    painter.drawText(look.placed(line), static_cast<int>(look.leading()) | Qt::TextSingleLine,
        elidedName(name, look.option.fontMetrics, line.width()));
}

void TransferDelegate::paintStatus(QPainter& painter, const Look& look, const Transfer& transfer) const
{
    constexpr int symbolExtent = 14;
    const QString pace = paceText(transfer);
    // Without a pace its place is free for the status.
    QRect line = look.secondLine(pace.isEmpty() ? look.text.united(look.side) : look.text);
    const auto status = statusOf(transfer);
    const QColor color = look.colorOf(status.tone);
    const QRect symbol(line.left(), line.top() + (line.height() - symbolExtent) / 2, symbolExtent, symbolExtent);
    const bool isVerified = status.tone == Tone::verified && !look.isSelected;
    paintSymbol(painter, stateSymbol(transfer, status.tone), look.placed(symbol),
        isVerified ? messageColor(MessageKind::notice, look.option.palette) : color);

    line.setLeft(symbol.right() + 1 + Spacing::tight);
    auto text = toQString(status.text);
    if (const auto place = placeText(transfer))
        text += QStringLiteral(" · ") + showableName(toQString(*place));
    painter.setFont(Look::smallFont());
    painter.setPen(color);
    painter.drawText(look.placed(line), static_cast<int>(look.leading()) | Qt::TextSingleLine,
        painter.fontMetrics().elidedText(text, Qt::ElideRight, line.width()));

    painter.setFont(tabularFont(Look::smallFont()));
    painter.setPen(look.secondary);
    const auto drawFigures = [&](const QRect& rect, const QString& figures) {
        painter.drawText(look.placed(rect), static_cast<int>(look.trailing()) | Qt::TextSingleLine,
            painter.fontMetrics().elidedText(figures, Qt::ElideRight, rect.width()));
    };
    drawFigures(look.firstLine(look.side), toQString(amountText(transfer)));
    drawFigures(look.secondLine(look.side), pace);
}
