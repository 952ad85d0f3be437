#include "foundation/views/SearchField.h"

#include "foundation/views/style/Icons.h"

#include <QAction>
#include <QKeyEvent>

SearchField::SearchField(const QString& prompt, Purpose purpose, QWidget* parent)
    : QLineEdit(parent)
{
    setPlaceholderText(prompt);
    setAccessibleName(prompt);
    setClearButtonEnabled(true);
    const Symbol symbol = purpose == Purpose::search ? Symbol::search : Symbol::filter;
    auto* icon = addAction(symbolIcon(symbol, SymbolTint::secondary), LeadingPosition);
    connect(icon, &QAction::triggered, this, qOverload<>(&QWidget::setFocus));
}

void SearchField::keyPressEvent(QKeyEvent* event)
{
    if (event->key() != Qt::Key_Escape) {
        QLineEdit::keyPressEvent(event);
    } else if (!text().isEmpty()) {
        clear();
    } else {
        Q_EMIT left();
    }
}
