#pragma once

#include <QWidget>

/// A ring over the target of a drop, while files are held over it. Takes no mouse events. Hidden at first.
class DropFrame final : public QWidget {
public:
    enum class Fill { none, veil };

    /// @param fill  whether the target is veiled too, which suits an area rather than a row.
    explicit DropFrame(QWidget* target, Fill fill = Fill::none);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    Fill fill_;
};
