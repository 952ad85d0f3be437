#pragma once

#include <QTimer>
#include <QVariantAnimation>
#include <QWidget>

/// A thin line that moves while something loads. It appears only when loading takes longer than 200 ms, and does not
/// move where the desktop asks for no animations. Always two pixels high, so that nothing below it jumps.
class LoadingLine final : public QWidget {
    Q_OBJECT

public:
    static constexpr int delayMilliseconds = 200;

    explicit LoadingLine(QWidget* parent = nullptr);

    void setLoading(bool loading);

    /// Returns whether a line is painted now.
    bool isShowing() const { return isShowing_; }
    bool isMoving() const { return motion_.state() == QAbstractAnimation::Running; }

protected:
    void paintEvent(QPaintEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void showEvent(QShowEvent* event) override;

private:
    void begin();

    QTimer delay_;
    QVariantAnimation motion_;
    bool isLoading_ = false;
    bool isShowing_ = false;
};
