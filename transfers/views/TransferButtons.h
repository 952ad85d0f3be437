#pragma once

#include "transfers/Transfer.h"

#include <QCoreApplication>
#include <QPalette>
#include <QRect>

#include <vector>

class QPainter;
enum class Symbol;

/// What a row's button does.
enum class TransferAction { skipChecksum, details, cancel, retry, show };

/// One button of a row, as it stands on the screen.
struct TransferButton {
    TransferAction action;
    QRect place;
    bool hasText; ///< It says what it does and is seen all the time; others show while their row has the attention.
};

/// The buttons of the rows: words, places and drawing. Functions of values.
class TransferButtons {
    Q_DECLARE_TR_FUNCTIONS(TransferButtons)

public:
    /// How a button is drawn.
    struct Look {
        QPalette palette;
        QColor text;
        QColor selection;        ///< Ground of a selected row.
        bool isSelected = false; ///< Its row is.
        bool isHovered = false;
    };

    /// The places of a row's buttons, the last at the row's end. Words give way to symbols in a narrow row.
    static std::vector<TransferButton> placed(const QRect& row, Qt::LayoutDirection direction, const Transfer& transfer,
        const std::vector<TransferAction>& actions);

    /// "Skip all", "Details…": what menu and button say.
    static QString label(TransferAction action, const Transfer& transfer);
    /// What the button does, for its tooltip.
    static QString help(TransferAction action, const Transfer& transfer);

    static void paint(QPainter& painter, const TransferButton& button, const Transfer& transfer, const Look& look);

    /// Width that the last button takes at the end of a row; kept free in every row.
    static constexpr int extent = 28;
};
