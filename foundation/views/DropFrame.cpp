#include "foundation/views/DropFrame.h"

#include "foundation/views/style/ColorRoles.h"
#include "foundation/views/style/StylePainting.h"

#include <QPainter>

DropFrame::DropFrame(QWidget* target, Fill fill)
    : QWidget(target)
    , fill_(fill)
{
    setAttribute(Qt::WA_TransparentForMouseEvents);
    hide();
}

void DropFrame::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    if (fill_ == Fill::veil)
        painter.fillRect(rect(), hoverVeil(palette()));
    paintFocusRing(painter, rect(), palette());
}
