#include "accounts/keys/views/PermissionList.h"

#include "accounts/keys/KeyPermissions.h"
#include "foundation/QtText.h"
#include "foundation/views/Labels.h"

#include <QCheckBox>
#include <QEvent>
#include <QVBoxLayout>

namespace {

constexpr int usualHeight = 190;
constexpr int leastHeight = 80;

} // namespace

PermissionList::PermissionList(QWidget* parent)
    : QScrollArea(parent)
{
    auto* const content = new QWidget;
    auto* const column = new QVBoxLayout(content);
    column->setContentsMargins(Spacing::small, Spacing::small, Spacing::small, Spacing::small);
    column->setSpacing(Spacing::tight);
    for (const auto& group : KeyPermissions::groups()) {
        if (column->count() > 0)
            column->addSpacing(Spacing::small);
        auto* const title = new SectionTitle(toQString(group.name));
        title->setContentsMargins(0, 0, 0, 0);
        column->addWidget(title);
        for (const auto& item : group.items) {
            auto* const box = new QCheckBox(toQString(item.title));
            box->setToolTip(toQString(item.capability.rawValue));
            box->setAccessibleDescription(toQString(group.name));
            box->installEventFilter(this);
            connect(box, &QCheckBox::toggled, this, &PermissionList::changed);
            column->addWidget(box);
            items_.append({item.capability, box});
        }
    }
    setWidget(content);
    setWidgetResizable(true);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setFocusPolicy(Qt::NoFocus);
    // Shrinks on a small screen, because it can be scrolled and the notes around it cannot.
    setMinimumHeight(leastHeight);
    setMaximumHeight(usualHeight);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Preferred);
    content->setBackgroundRole(QPalette::Base);
}

std::set<B2Capability> PermissionList::chosen() const
{
    std::set<B2Capability> capabilities;
    for (const auto& item : items_) {
        if (item.box->isChecked())
            capabilities.insert(item.capability);
    }
    return capabilities;
}

QSize PermissionList::sizeHint() const
{
    return {320, usualHeight};
}

bool PermissionList::eventFilter(QObject* watched, QEvent* event)
{
    // Moving through them by keyboard scrolls each into view.
    if (event->type() == QEvent::FocusIn)
        ensureWidgetVisible(static_cast<QWidget*>(watched), 0, Spacing::wide);
    return QScrollArea::eventFilter(watched, event);
}
