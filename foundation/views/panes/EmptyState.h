#pragma once

#include "foundation/views/style/Icons.h"

#include <QWidget>

class QLabel;
class QPushButton;
class SymbolView;

/// The content of an empty, failed or unavailable place: icon, title, a sentence or two and up to two actions, centred
/// and at most 420 px wide.
class EmptyState final : public QWidget {
    Q_OBJECT

public:
    static constexpr int maximumContentWidth = 420;

    explicit EmptyState(QWidget* parent = nullptr);

    void showText(Symbol symbol, const QString& title, const QString& body);

    /// Shows up to two buttons, the most helpful one first. An empty text hides its button.
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
