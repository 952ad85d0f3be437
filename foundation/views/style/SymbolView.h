#pragma once

#include "foundation/views/style/ColorRoles.h"
#include "foundation/views/style/Icons.h"

#include <QWidget>

/// A symbol as a widget, always in the palette's present colours.
class SymbolView : public QWidget {
    Q_OBJECT

public:
    /// `extent` is width and height in device-independent pixels.
    SymbolView(Symbol symbol, SymbolTint tint, int extent, QWidget* parent = nullptr);

    void setSymbol(Symbol symbol, SymbolTint tint);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    Symbol symbol_;
    SymbolTint tint_;
};

/// The 16-pixel icon of a message; its accessible name is the kind's word.
class MessageIcon final : public SymbolView {
    Q_OBJECT

public:
    explicit MessageIcon(MessageKind kind, QWidget* parent = nullptr);

    void setKind(MessageKind kind);
};
