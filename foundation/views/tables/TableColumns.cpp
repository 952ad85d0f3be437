#include "foundation/views/tables/TableColumns.h"

#include <QHeaderView>
#include <QMenu>
#include <QStringList>

#include <algorithm>

namespace {

const QString hiddenMark = QStringLiteral("hidden");
constexpr int maxColumnWidth = 4000;

QString columnID(const QHeaderView& header, int section)
{
    const QString id = header.model()->headerData(section, Qt::Horizontal, TableRole::columnID).toString();
    return id.isEmpty() ? QString::number(section) : id;
}

int sectionOf(const QHeaderView& header, const QString& id)
{
    for (int section = 0; section < header.count(); ++section) {
        if (columnID(header, section) == id) {
            return section;
        }
    }
    return -1;
}

// A hidden section has no size, but its former size returns when it is shown.
int widthOf(const QHeaderView& header, int section)
{
    if (!header.isSectionHidden(section)) {
        return header.sectionSize(section);
    }
    auto& open = const_cast<QHeaderView&>(header);
    const QSignalBlocker blocker(open);
    open.showSection(section);
    const int width = open.sectionSize(section);
    open.hideSection(section);
    return width;
}

} // namespace

QString columnState(const QHeaderView& header)
{
    QStringList parts;
    for (int visual = 0; visual < header.count(); ++visual) {
        const int section = header.logicalIndex(visual);
        QString part = QStringLiteral("%1 %2").arg(columnID(header, section)).arg(widthOf(header, section));
        if (header.isSectionHidden(section)) {
            part += u' ' + hiddenMark;
        }
        parts.append(part);
    }
    return parts.join(QStringLiteral("; "));
}

void restoreColumnState(QHeaderView& header, const QString& state)
{
    int visual = 0;
    for (const QString& part : state.split(u';', Qt::SkipEmptyParts)) {
        const QStringList words = part.simplified().split(u' ');
        const int section = sectionOf(header, words.constFirst());
        if (section < 0) {
            continue;
        }
        const int width = words.size() > 1 ? words.at(1).toInt() : 0;
        if (width >= header.minimumSectionSize() && width <= maxColumnWidth) {
            header.setSectionHidden(section, false);
            header.resizeSection(section, width);
        }
        header.setSectionHidden(section, section != 0 && words.contains(hiddenMark));
        if (header.visualIndex(section) != visual) {
            header.moveSection(header.visualIndex(section), visual);
        }
        ++visual;
    }
}

QString columnTitle(const QHeaderView& header, int section)
{
    const auto* const model = header.model();
    const QString title = model->headerData(section, Qt::Horizontal).toString();
    return title.isEmpty() ? model->headerData(section, Qt::Horizontal, Qt::AccessibleTextRole).toString() : title;
}

QMenu* makeColumnsMenu(QHeaderView& header)
{
    auto* menu = new QMenu(&header);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    for (int visual = 0; visual < header.count(); ++visual) {
        const int section = header.logicalIndex(visual);
        QAction* action = menu->addAction(columnTitle(header, section));
        action->setCheckable(true);
        action->setChecked(!header.isSectionHidden(section));
        action->setEnabled(section != 0);
        QObject::connect(action, &QAction::toggled, &header,
            [&header, section](bool isShown) { header.setSectionHidden(section, !isShown); });
    }
    return menu;
}
