#include "foundation/views/style/SymbolView.h"

#include "foundation/views/style/StylePainting.h"

#include <QPainter>

SymbolView::SymbolView(Symbol symbol, SymbolTint tint, int extent, QWidget* parent)
    : QWidget(parent)
    , symbol_(symbol)
    , tint_(tint)
{
    setFixedSize(extent, extent);
    setAttribute(Qt::WA_TransparentForMouseEvents);
}

void SymbolView::setSymbol(Symbol symbol, SymbolTint tint)
{
    symbol_ = symbol;
    tint_ = tint;
    update();
}

void SymbolView::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    const QColor color =
        isEnabled() ? tintColor(tint_, palette()) : palette().color(QPalette::Disabled, QPalette::Text);
    paintSymbol(painter, symbol_, rect(), color);
}

MessageIcon::MessageIcon(MessageKind kind, QWidget* parent)
    : SymbolView(Symbol::info, SymbolTint::notice, 16, parent)
{
    setKind(kind);
}

void MessageIcon::setKind(MessageKind kind)
{
    switch (kind) {
    case MessageKind::notice:
        setSymbol(Symbol::info, SymbolTint::notice);
        setAccessibleName(tr("Notice"));
        break;
    case MessageKind::success:
        setSymbol(Symbol::checkCircle, SymbolTint::success);
        setAccessibleName(tr("Success"));
        break;
    case MessageKind::warning:
        setSymbol(Symbol::warning, SymbolTint::warning);
        setAccessibleName(tr("Warning"));
        break;
    case MessageKind::danger:
        setSymbol(Symbol::error, SymbolTint::danger);
        setAccessibleName(tr("Error"));
        break;
    }
}
