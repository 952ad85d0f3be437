#include "foundation/views/Labels.h"

QLabel* makeLabel(const QString& text, TextSize size, QFont::Weight weight, QWidget* parent)
{
    auto* label = new QLabel(text, parent);
    label->setTextFormat(Qt::PlainText);
    label->setFont(textFont(size, weight));
    return label;
}

QLabel* makeSecondaryLabel(const QString& text, TextSize size, QWidget* parent)
{
    auto* label = makeLabel(text, size, QFont::Normal, parent);
    label->setForegroundRole(QPalette::PlaceholderText);
    label->setWordWrap(true);
    return label;
}

QLabel* makeIdentifierLabel(const QString& text, QWidget* parent)
{
    auto* label = makeLabel(text, TextSize::normal, QFont::Normal, parent);
    label->setFont(fixedFont());
    label->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    return label;
}

SectionTitle::SectionTitle(const QString& title, QWidget* parent)
    : QLabel(title, parent)
{
    QFont font = textFont(TextSize::normal, QFont::DemiBold);
    font.setCapitalization(QFont::SmallCaps);
    font.setLetterSpacing(QFont::PercentageSpacing, 104);
    setFont(font);
    setTextFormat(Qt::PlainText);
    setForegroundRole(QPalette::PlaceholderText);
    setContentsMargins(Spacing::normal, Spacing::small, Spacing::normal, Spacing::tight);
}
