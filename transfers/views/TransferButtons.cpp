#include "transfers/views/TransferButtons.h"

#include "foundation/QtText.h"
#include "foundation/views/style/ColorRoles.h"
#include "foundation/views/style/Icons.h"
#include "foundation/views/style/Measures.h"
#include "foundation/views/style/StylePainting.h"
#include "transfers/TransferTexts.h"

#include <QFontMetrics>
#include <QPainter>
#include <QStyle>

#include <algorithm>
#include <ranges>

namespace {

constexpr int symbolExtent = 16;
constexpr int cornerRadius = 5;
/// In a row narrower than this a word would take the place of the name.
constexpr int widthForWords = 480;

bool isWord(TransferAction action)
{
    return action == TransferAction::skipChecksum || action == TransferAction::details;
}

Symbol symbolOf(TransferAction action)
{
    switch (action) {
    case TransferAction::skipChecksum:
        return Symbol::skip;
    case TransferAction::details:
        return Symbol::more;
    case TransferAction::cancel:
        return Symbol::cancel;
    case TransferAction::retry:
        return Symbol::retry;
    case TransferAction::show:
        return Symbol::showInFolder;
    }
    return Symbol::more;
}

} // namespace

std::vector<TransferButton> TransferButtons::placed(const QRect& row, Qt::LayoutDirection direction,
    const Transfer& transfer, const std::vector<TransferAction>& actions)
{
    const QFontMetrics metrics(textFont(TextSize::small));
    const int wordHeight = std::min(metrics.height() + Spacing::small, extent);
    std::vector<TransferButton> buttons;
    int end = row.right() + 1 - Spacing::small;
    for (const auto action : actions | std::views::reverse) {
        const bool hasText = isWord(action) && row.width() >= widthForWords;
        const int width = hasText ? metrics.horizontalAdvance(label(action, transfer)) + 2 * Spacing::small : extent;
        const int height = hasText ? wordHeight : extent;
        const QRect place(end - width, row.top() + (row.height() - height) / 2, width, height);
        buttons.insert(buttons.begin(), {action, QStyle::visualRect(direction, row, place), hasText});
        end -= width + Spacing::tight;
    }
    return buttons;
}

QString TransferButtons::label(TransferAction action, const Transfer& transfer)
{
    switch (action) {
    case TransferAction::skipChecksum:
        return toQString(skipLabel(transfer));
    case TransferAction::details:
        return tr("Details…");
    case TransferAction::cancel:
        return tr("Cancel");
    case TransferAction::retry:
        return toQString(retryLabel(transfer));
    case TransferAction::show:
        return tr("Show");
    }
    return {};
}

QString TransferButtons::help(TransferAction action, const Transfer& transfer)
{
    switch (action) {
    case TransferAction::skipChecksum:
        return toQString(skipHelp(transfer));
    case TransferAction::details:
        return tr("Show what failed, was skipped or left out, and why (Enter)");
    case TransferAction::cancel:
        return toQString(cancelHelp(transfer));
    case TransferAction::retry:
    case TransferAction::show:
        return label(action, transfer);
    }
    return {};
}

void TransferButtons::paint(QPainter& painter, const TransferButton& button, const Transfer& transfer, const Look& look)
{
    const QColor pressed = look.isSelected ? mixed(look.text, look.selection, 0.25) : pressedVeil(look.palette);
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setBrush(look.isHovered ? QBrush(pressed) : QBrush(Qt::NoBrush));
    painter.setPen(Qt::NoPen);
    if (button.hasText)
        painter.setPen(look.isSelected ? look.text : controlOutline(look.palette));
    const QRectF frame(button.place);
    if (button.hasText || look.isHovered)
        painter.drawRoundedRect(frame.adjusted(0.5, 0.5, -0.5, -0.5), cornerRadius, cornerRadius);
    if (button.hasText) {
        painter.setPen(look.text);
        painter.setFont(textFont(TextSize::small));
        painter.drawText(button.place, Qt::AlignCenter | Qt::TextSingleLine, label(button.action, transfer));
    } else {
        const int inset = (extent - symbolExtent) / 2;
        paintSymbol(painter, symbolOf(button.action), button.place.adjusted(inset, inset, -inset, -inset),
            look.isSelected ? look.text : symbolColor(look.palette));
    }
    painter.restore();
}
