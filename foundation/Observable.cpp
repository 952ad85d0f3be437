#include "foundation/Observable.h"

#include <QCoreApplication>
#include <QEvent>

namespace {

QEvent::Type changeEvent()
{
    static const auto type = static_cast<QEvent::Type>(QEvent::registerEventType());
    return type;
}

} // namespace

Observable::Observable(QObject* parent)
    : QObject(parent)
{
}

void Observable::markChanged()
{
    if (std::exchange(isMarked_, true))
        return;
    QCoreApplication::postEvent(this, new QEvent(changeEvent()));
}

void Observable::flushChanges()
{
    if (!isMarked_)
        return;
    QCoreApplication::removePostedEvents(this, changeEvent());
    isMarked_ = false;
    Q_EMIT changed();
}

bool Observable::event(QEvent* event)
{
    if (event->type() != changeEvent())
        return QObject::event(event);
    // The mark is removed first, so that a change made by a reader is announced in the next turn.
    isMarked_ = false;
    Q_EMIT changed();
    return true;
}
