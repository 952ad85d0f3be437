#include "transfers/views/TransferDelegate.h"

#include "foundation/QtText.h"
#include "foundation/views/style/ColorRoles.h"
#include "foundation/views/style/Icons.h"
#include "foundation/views/style/Measures.h"
#include "foundation/views/style/StylePainting.h"
#include "foundation/views/tables/NameText.h"
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
constexpr int barHeight = 4;

Symbol stateSymbol(const Transfer& transfer, Tone tone)
{
    switch (transfer.state->which) {
    case Case::waiting:
        return Symbol::clock;
    case Case::running:
        if (tone == Tone::retrying)
            return Symbol::clock;
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

Symbol kindSymbol(const Transfer& transfer, const QString& name)
{
    return isFolder(transfer) ? Symbol::folder : fileSymbol(name);
}

} // namespace

/// One row's places and colours.
struct TransferDelegate::Look {
    QStyleOptionViewItem option;
    QRect content;
    QRect text; ///< Both lines, with the figures at their ends.
    QRect bar;  ///< Null while there is none.
    std::vector<TransferButton> buttons;
    QColor plain;
    QColor secondary;
    QColor selection; ///< Background of a selected row.
    bool isSelected = false;

    Look(const QStyleOptionViewItem& row, bool hasBar, std::vector<TransferButton> itsButtons)
        : option(row)
        , content(row.rect.adjusted(Spacing::normal, 0, -Spacing::normal, 0))
        , buttons(std::move(itsButtons))
        , isSelected(row.state.testFlag(QStyle::State_Selected))
    {
        const auto& palette = option.palette;
        const auto group = option.state.testFlag(QStyle::State_Active) ? QPalette::Active : QPalette::Inactive;
        plain = palette.color(group, isSelected ? QPalette::HighlightedText : QPalette::Text);
        selection = palette.color(group, QPalette::Highlight);
        secondary = isSelected ? plain : secondaryText(palette);

        // The place of one button stays free in every row, so that amounts line up.
        int end = option.rect.right() + 1 - Spacing::small - TransferButtons::extent;
        for (const auto& button : buttons)
            end = std::min(end, placed(button.place).left());
        const int lines = option.fontMetrics.height() + 2 + QFontMetrics(smallFont()).height();
        const int height = lines + (hasBar ? Spacing::tight + barHeight : 0);
        const int top = content.top() + (content.height() - height) / 2;
        const int left = content.left() + iconExtent + Spacing::normal;
        text = QRect(left, top, end - Spacing::small - left, lines);
        if (hasBar)
            bar = QRect(left, top + lines + Spacing::tight, text.width(), barHeight);
    }

    /// Draws figures at the end of a line.
    /// @returns the rest of the line.
    QRect drawFigures(QPainter& painter, const QRect& line, const QString& figures) const
    {
        if (figures.isEmpty())
            return line;
        painter.setFont(tabularFont(smallFont()));
        painter.setPen(secondary);
        const int width = std::min(painter.fontMetrics().horizontalAdvance(figures) + 1, line.width() / 2);
        painter.drawText(placed(QRect(line.right() + 1 - width, line.top(), width, line.height())),
            static_cast<int>(trailing()) | Qt::TextSingleLine,
            painter.fontMetrics().elidedText(figures, Qt::ElideRight, width));
        return line.adjusted(0, 0, -(width + Spacing::normal), 0);
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
        if (!isSelected && (tone == Tone::warning || tone == Tone::retrying))
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

TransferDelegate::TransferDelegate(TransferOf transferOf, ActionsOf actionsOf, QObject* parent)
    : QStyledItemDelegate(parent)
    , transferOf_(std::move(transferOf))
    , actionsOf_(std::move(actionsOf))
{
}

QSize TransferDelegate::sizeHint(const QStyleOptionViewItem& option, const QModelIndex&) const
{
    const int lines = option.fontMetrics.height() + 2 + QFontMetrics(Look::smallFont()).height();
    return {360, lines + Spacing::tight + barHeight + 2 * Spacing::small};
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

    const bool hasBar = transfer->state->is(Case::running) && *transfer->byteCount > 0 && !*transfer->isScanning;
    const Look look(row, hasBar, TransferButtons::placed(row.rect, row.direction, *transfer, actionsOf_(*transfer)));
    painter->save();
    paintName(*painter, look, *transfer);
    paintStatus(*painter, look, *transfer);
    if (hasBar)
        paintBar(*painter, look, *transfer);
    paintButtons(*painter, look, *transfer, row.state.testFlag(QStyle::State_MouseOver) || look.isSelected || hasFocus);
    if (hasFocus)
        paintFocusRing(*painter, row.rect, row.palette);
    painter->restore();
}

void TransferDelegate::paintBar(QPainter& painter, const Look& look, const Transfer& transfer) const
{
    QStyleOptionProgressBar bar;
    bar.rect = look.placed(look.bar);
    bar.direction = look.option.direction;
    bar.palette = look.option.palette;
    bar.state = QStyle::State_Enabled;
    bar.maximum = 1000;
    bar.progress = static_cast<int>(std::lround(fractionDone(transfer).value_or(0) * bar.maximum));
    if (look.isSelected) {
        // Drawn on the selection's background, in its text colour.
        bar.palette.setColor(QPalette::Highlight, look.plain);
        for (const auto role : {QPalette::Base, QPalette::Window})
            bar.palette.setColor(role, look.selection);
        for (const auto role : {QPalette::Text, QPalette::WindowText})
            bar.palette.setColor(role, look.plain);
    }
    paintProgress(painter, bar);
}

void TransferDelegate::paintButtons(
    QPainter& painter, const Look& look, const Transfer& transfer, bool hasAttention) const
{
    const auto* const widget = look.option.widget;
    const QPoint pointer = widget ? widget->mapFromGlobal(QCursor::pos()) : QPoint(-1, -1);
    for (const auto& button : look.buttons) {
        if (button.hasText || hasAttention)
            TransferButtons::paint(painter, button, transfer,
                {look.option.palette, look.plain, look.selection, look.isSelected, button.place.contains(pointer)});
    }
}

void TransferDelegate::paintName(QPainter& painter, const Look& look, const Transfer& transfer) const
{
    const QString name = showableName(toQString(transfer.displayName));
    const QRect icon(
        look.content.left(), look.content.top() + (look.content.height() - iconExtent) / 2, iconExtent, iconExtent);
    paintSymbol(painter, kindSymbol(transfer, name), look.placed(icon),
        look.isSelected ? look.plain : symbolColor(look.option.palette));

    const QRect line = look.drawFigures(painter, look.firstLine(look.text), toQString(amountText(transfer)));
    painter.setFont(look.option.font);
    painter.setPen(look.plain);
    painter.drawText(look.placed(line), static_cast<int>(look.leading()) | Qt::TextSingleLine,
        elidedName(name, look.option.fontMetrics, line.width()));
}

void TransferDelegate::paintStatus(QPainter& painter, const Look& look, const Transfer& transfer) const
{
    constexpr int symbolExtent = 14;
    QRect line =
        look.drawFigures(painter, look.secondLine(look.text), toQString(paceText(transfer, Transfer::Clock::now())));
    const auto status = statusOf(transfer);
    const QColor color = look.colorOf(status.tone);
    const QRect symbol(line.left(), line.top() + (line.height() - symbolExtent) / 2, symbolExtent, symbolExtent);
    const bool isVerified = status.tone == Tone::verified && !look.isSelected;
    paintSymbol(painter, stateSymbol(transfer, status.tone), look.placed(symbol),
        isVerified ? messageColor(MessageKind::notice, look.option.palette) : color);

    line.setLeft(symbol.right() + 1 + Spacing::tight);
    const QString text = showableName(toQString(secondLine(transfer)));
    painter.setFont(Look::smallFont());
    painter.setPen(color);
    painter.drawText(look.placed(line), static_cast<int>(look.leading()) | Qt::TextSingleLine,
        painter.fontMetrics().elidedText(text, Qt::ElideRight, line.width()));
}
