#pragma once

#include "foundation/views/style/Measures.h"

#include <QLabel>

/// Labels in the few text styles of the program. Texts are shown as they are, never read as markup.

/// Text in one of the four sizes.
QLabel* makeLabel(const QString& text, TextSize size = TextSize::normal, QFont::Weight weight = QFont::Normal,
    QWidget* parent = nullptr);

/// Wrapping secondary text: purposes, consequences, second lines.
QLabel* makeSecondaryLabel(const QString& text, TextSize size = TextSize::normal, QWidget* parent = nullptr);

/// A key, identifier or digest: fixed font, selectable with mouse and keyboard.
QLabel* makeIdentifierLabel(const QString& text, QWidget* parent = nullptr);

/// The small caps title over a section of a sidebar or panel.
class SectionTitle final : public QLabel {
    Q_OBJECT

public:
    explicit SectionTitle(const QString& title, QWidget* parent = nullptr);
};
