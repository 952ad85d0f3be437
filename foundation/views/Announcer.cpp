#include "foundation/views/Announcer.h"

#include "foundation/views/panes/Banner.h"

#include <QAccessible>
#include <QAccessibleWidget>
#include <QWidget>

namespace {

QAccessibleInterface* alertInterface(const QString& className, QObject* object)
{
    if (className == QLatin1String(Banner::staticMetaObject.className())) {
        auto* banner = static_cast<Banner*>(object);
        return new QAccessibleWidget(banner, QAccessible::AlertMessage, banner->text());
    }
    return nullptr;
}

} // namespace

void announce(QWidget& where, const QString& text)
{
    if (!QAccessible::isActive()) {
        return;
    }
#if QT_VERSION >= QT_VERSION_CHECK(6, 8, 0)
    QAccessibleAnnouncementEvent event(&where, text);
#else
    // Qt versions without announcements: a changed description is spoken without a change of focus.
    where.setAccessibleDescription(text);
    QAccessibleEvent event(&where, QAccessible::Alert);
#endif
    QAccessible::updateAccessibility(&event);
}

void registerAlertRole()
{
    static const bool isRegistered = (QAccessible::installFactory(alertInterface), true);
    Q_UNUSED(isRegistered)
}
