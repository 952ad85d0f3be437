#pragma once

#include "foundation/views/style/Icons.h"

#include <QWidget>

class QLabel;
class QPushButton;
class SymbolView;

/// What stands in an empty, failed or unavailable place: icon, title, a sentence or two and up to two actions, centred
/// and at most 420 px wide.
class EmptyState final : public QWidget {
    Q_OBJECT

public:
    static constexpr int maximumContentWidth = 420;

    explicit EmptyState(QWidget* parent = nullptr);

    void showText(Symbol symbol, const QString& title, const QString& body);

    /// The first is the one that helps most. Empty texts take the button away.
    void setActions(const QString& first, const QString& second = {});

Q_SIGNALS:
    void firstActionTriggered();
    void secondActionTriggered();

private:
    SymbolView* icon_;
    QLabel* title_;
    QLabel* body_;
    QPushButton* first_;
    QPushButton* second_;
};
