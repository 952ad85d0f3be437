#pragma once

#include "foundation/views/style/Measures.h"

#include <QWidget>

/// One line that shortens when narrow: in the middle, where it keeps a file's extension.
///
/// The tooltip has the whole text while it is shortened; a screen reader always has it.
class ElidedLabel final : public QWidget {
    Q_OBJECT

public:
    explicit ElidedLabel(const QString& text = {}, QWidget* parent = nullptr);

    const QString& text() const { return text_; }
    void setText(const QString& text);

    /// The text as painted at the present width.
    QString shownText() const;

    /// Draws in the secondary colour.
    void setSecondary(bool secondary);
    void setAlignment(Qt::Alignment alignment);
    /// Sets where a text that is not a name is shortened.
    void setElision(Qt::TextElideMode elision);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    bool event(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    QString text_;
    QString shown_;
    Qt::TextElideMode elision_ = Qt::ElideMiddle;
    Qt::Alignment alignment_ = Qt::AlignLeading | Qt::AlignVCenter;
};
