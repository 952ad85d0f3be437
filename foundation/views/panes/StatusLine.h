#pragma once

#include <QWidget>

class ElidedLabel;
class QLabel;

/// The line under a table: what is shown or selected, and at the far end a secondary fact.
class StatusLine final : public QWidget {
    Q_OBJECT

public:
    explicit StatusLine(QWidget* parent = nullptr);

    void setText(const QString& text);
    QString text() const;
    void setDetail(const QString& detail);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    ElidedLabel* text_;
    QLabel* detail_;
};
