#include "foundation/views/panes/LoadingLine.h"

#include "foundation/views/style/ColorRoles.h"
#include "foundation/views/style/Theme.h"

#include <QPainter>

LoadingLine::LoadingLine(QWidget* parent)
    : QWidget(parent)
{
    setFixedHeight(2);
    setAccessibleName(tr("Loading"));
    setAttribute(Qt::WA_TransparentForMouseEvents);
    delay_.setSingleShot(true);
    delay_.setInterval(delayMilliseconds);
    motion_.setStartValue(0.0);
    motion_.setEndValue(1.0);
    motion_.setDuration(1400);
    motion_.setLoopCount(-1);
    connect(&delay_, &QTimer::timeout, this, &LoadingLine::begin);
    connect(&motion_, &QVariantAnimation::valueChanged, this, qOverload<>(&QWidget::update));
}

void LoadingLine::setLoading(bool loading)
{
    if (loading == isLoading_) {
        return;
    }
    isLoading_ = loading;
    if (loading) {
        delay_.start();
        return;
    }
    delay_.stop();
    motion_.stop();
    isShowing_ = false;
    update();
}

void LoadingLine::begin()
{
    isShowing_ = true;
    if (isVisible() && mayAnimate(this)) {
        motion_.start();
    }
    update();
}

// An invisible animation would only keep the processor awake.
void LoadingLine::hideEvent(QHideEvent*)
{
    motion_.stop();
}

void LoadingLine::showEvent(QShowEvent*)
{
    if (isShowing_ && mayAnimate(this)) {
        motion_.start();
    }
}

void LoadingLine::paintEvent(QPaintEvent*)
{
    if (!isShowing_) {
        return;
    }
    QPainter painter(this);
    const QColor color = accent(palette());
    if (!isMoving()) {
        painter.fillRect(rect(), color);
        return;
    }
    const double length = width() * 0.3;
    const double place = motion_.currentValue().toDouble();
    const double start = (width() + length) * (layoutDirection() == Qt::RightToLeft ? 1 - place : place) - length;
    painter.fillRect(QRectF(start, 0, length, height()), color);
}
