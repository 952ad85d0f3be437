#include "accounts/views/LinkLabel.h"

LinkLabel::LinkLabel(const QString& text, const QString& address, QWidget* parent)
    : QLabel(parent)
    , address_(address)
{
    setTextFormat(Qt::RichText);
    setText(QStringLiteral("<a href=\"%1\">%2</a>").arg(address.toHtmlEscaped(), text.toHtmlEscaped()));
    setTextInteractionFlags(Qt::LinksAccessibleByMouse | Qt::LinksAccessibleByKeyboard);
    setOpenExternalLinks(true);
    setAccessibleName(text);
    setToolTip(address);
}
