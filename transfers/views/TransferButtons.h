#pragma once

#include "transfers/Transfer.h"

#include <QCoreApplication>
#include <QPalette>
#include <QRect>

#include <vector>

class QPainter;
enum class Symbol;

/// The command of a row's button.
enum class TransferAction { skipChecksum, details, cancel, retry, show };

/// One button of a row, as shown on the screen.
struct TransferButton {
    TransferAction action;
    QRect place;
    bool hasText; ///< Always shown with its words; others appear while their row is selected or under the pointer.
};

/// The buttons of the rows: words, places and drawing. Functions of values.
class TransferButtons {
    Q_DECLARE_TR_FUNCTIONS(TransferButtons)

public:
    /// The look of a button.
    struct Look {
        QPalette palette;
        QColor text;
        QColor selection;        ///< Background of a selected row.
        bool isSelected = false; ///< The row.
        bool isHovered = false;
    };

    /// Lays out a row's buttons, the last at the row's end. A narrow row shows symbols in place of words.
    static std::vector<TransferButton> placed(const QRect& row, Qt::LayoutDirection direction, const Transfer& transfer,
        const std::vector<TransferAction>& actions);

    /// "Skip all", "Details…": the title in menu and button.
    static QString label(TransferAction action, const Transfer& transfer);
    /// The effect of the button, for its tooltip.
    static QString help(TransferAction action, const Transfer& transfer);

    static void paint(QPainter& painter, const TransferButton& button, const Transfer& transfer, const Look& look);

    /// The width of the last button, kept free at the end of every row.
    static constexpr int extent = 28;
};
