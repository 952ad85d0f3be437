#include "shell/views/Sidebar.h"

#include "accounts/views/KeySwitcherHeader.h"
#include "foundation/QtText.h"
#include "foundation/Texts.h"
#include "foundation/views/ColorRoles.h"
#include "foundation/views/Icons.h"
#include "foundation/views/Labels.h"
#include "foundation/views/Measures.h"
#include "foundation/views/SearchField.h"

#include <QActionGroup>
#include <QKeyEvent>
#include <QListView>
#include <QMenu>
#include <QPainter>
#include <QScopedValueRollback>
#include <QStyledItemDelegate>
#include <QVBoxLayout>

namespace {

constexpr int rowHeight = 28;
constexpr int symbolSize = 16;
constexpr int filterFrom = 12; ///< More buckets than this get a filter field.

/// Gives rows their height, and their symbols the colour of the text beside them in every state.
class RowDelegate final : public QStyledItemDelegate {
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override
    {
        QStyledItemDelegate::paint(painter, option, index);
        QStyleOptionViewItem row = option;
        initStyleOption(&row, index);
        const auto* const style = row.widget->style();
        const QRect place = style->subElementRect(QStyle::SE_ItemViewItemDecoration, &row, row.widget);
        const QRect square = QStyle::alignedRect(row.direction, Qt::AlignCenter, {symbolSize, symbolSize}, place);
        const bool isActive = row.state.testFlag(QStyle::State_Active);
        const bool isSelected = row.state.testFlag(QStyle::State_Selected);
        const QColor color = isSelected
            ? row.palette.color(isActive ? QPalette::Active : QPalette::Inactive, QPalette::HighlightedText)
            : symbolColor(row.palette);
        painter->drawPixmap(square.topLeft(),
            symbolPixmap(static_cast<Symbol>(index.data(BucketListModel::symbolRole).toInt()), square.size(),
                row.widget->devicePixelRatioF(), color));
    }

    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override
    {
        QSize size = QStyledItemDelegate::sizeHint(option, index);
        size.setHeight(std::max(rowHeight, option.fontMetrics.height() + 10));
        return size;
    }
};

} // namespace

Sidebar::Sidebar(RootModel& root, AppContext& context, QWidget* parent)
    : QWidget(parent)
    , root_(root)
    , context_(context)
    , switcher_(new KeySwitcherHeader(root.keySwitcher, switcherActions(), this))
    , title_(new SectionTitle(tr("Buckets"), this))
    , filter_(new SearchField(tr("Filter buckets"), SearchField::Purpose::filter, this))
    , list_(new QListView(this))
    , note_(makeSecondaryLabel({}, TextSize::normal, this))
{
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(Spacing::small, Spacing::small, Spacing::small, Spacing::small);
    layout->setSpacing(Spacing::small);
    layout->addWidget(switcher_);
    layout->addSpacing(Spacing::tight);
    layout->addWidget(title_);
    layout->addWidget(filter_);
    layout->addWidget(note_);
    layout->addWidget(list_, 1);

    shown_.setSourceModel(&rows_);
    shown_.setFilterCaseSensitivity(Qt::CaseInsensitive);
    list_->setModel(&shown_);
    list_->setItemDelegate(new RowDelegate(list_));
    list_->setFrameShape(QFrame::NoFrame);
    list_->setTextElideMode(Qt::ElideMiddle);
    list_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    list_->setUniformItemSizes(true);
    list_->setIconSize({symbolSize, symbolSize});
    list_->setEditTriggers(QAbstractItemView::NoEditTriggers);
    list_->setAccessibleName(tr("Buckets"));
    list_->viewport()->setAutoFillBackground(false);
    list_->installEventFilter(this);
    filter_->setAccessibleName(tr("Filter buckets"));
    title_->setContentsMargins(Spacing::tight, 0, 0, 0);
    note_->setContentsMargins(Spacing::tight, 0, 0, 0);
    note_->setWordWrap(true);

    connect(filter_, &QLineEdit::textChanged, &shown_, &QSortFilterProxyModel::setFilterFixedString);
    connect(filter_, &SearchField::left, this, &Sidebar::focusBuckets);
    connect(list_->selectionModel(), &QItemSelectionModel::currentChanged, this, &Sidebar::choose);
    connect(&root_, &Observable::changed, this, &Sidebar::render);
    connect(&context_, &Observable::changed, this, &Sidebar::render);
    render();
}

void Sidebar::focusBuckets()
{
    list_->setFocus(Qt::OtherFocusReason);
}

bool Sidebar::eventFilter(QObject* watched, QEvent* event)
{
    // Typing in a long list goes on in its filter.
    if (watched == list_ && event->type() == QEvent::KeyPress && filter_->isVisibleTo(this)) {
        const auto* const key = static_cast<QKeyEvent*>(event);
        if (key->matches(QKeySequence::Find)) {
            filter_->setFocus(Qt::ShortcutFocusReason);
            return true;
        }
    }
    return QWidget::eventFilter(watched, event);
}

void Sidebar::render()
{
    const QScopedValueRollback guard(isRendering_, true);
    rows_.show(*root_.buckets.buckets);
    const bool isFilterable = rows_.rowCount() > filterFrom;
    filter_->setVisible(isFilterable);
    if (!isFilterable)
        filter_->clear();

    const bool hasSession = *root_.keyStore.session != nullptr;
    const bool isLoading = *root_.buckets.isLoading || *root_.buckets.session != *root_.keyStore.session;
    const bool isEmpty = root_.buckets.buckets->empty();
    title_->setVisible(hasSession);
    QString note;
    if (hasSession && isEmpty && isLoading)
        note = tr("Loading buckets…");
    else if (hasSession && !isEmpty && *root_.buckets.error)
        note = tr("The list could not be read again. %1").arg(toQString(**root_.buckets.error));
    note_->setText(note);
    note_->setVisible(!note.isEmpty());

    const auto selected = *root_.selection ? rows_.indexOf((*root_.selection)->bucketID) : QModelIndex();
    const auto index = shown_.mapFromSource(selected);
    if (index.isValid() && list_->currentIndex() != index)
        list_->setCurrentIndex(index);
    else if (!selected.isValid())
        list_->selectionModel()->clear();
}

void Sidebar::fillKeyMenu(QMenu& menu, const AppContext& context, RootModel& root)
{
    auto* const group = new QActionGroup(&menu);
    std::string account;
    for (const auto& entry : *context.keyMenu) {
        if (entry.account != account) {
            account = entry.account;
            menu.addSection(toQString(account));
        }
        auto* const action = menu.addAction(toQString(entry.title));
        action->setCheckable(true);
        action->setChecked(*context.currentKeyID == entry.id);
        action->setEnabled(!entry.isDisabled);
        if (entry.isDisabled)
            action->setToolTip(QObject::tr("Backblaze no longer has this key"));
        group->addAction(action);
        QObject::connect(action, &QAction::triggered, &root, [&root, id = entry.id] { root.switchTo(id); });
    }
    if (context.keyMenu->empty())
        menu.addAction(QObject::tr("No key stored"))->setEnabled(false);
}

KeySwitcherActions Sidebar::switcherActions()
{
    return {.switchTo = [this](const StoredKey& key) { root_.switchTo(key.keyID); },
        .info = [this](const StoredKey& key) { Q_EMIT keyDetailsRequested(key); },
        .rename = [this](const StoredKey& key) { Q_EMIT renameKeyRequested(key); },
        .remove = [this](const StoredKey& key) { Q_EMIT removeKeyRequested(key); },
        .removeRevoked = [this] { Q_EMIT removeRevokedKeysRequested(); },
        .addKey = [this] { Q_EMIT addKeyRequested(); },
        .retry = [this] { root_.tryAgain(); }};
}

void Sidebar::choose(const QModelIndex& index)
{
    if (isRendering_ || !index.isValid())
        return;
    root_.select({SidebarItem::Kind::bucket, fromQString(index.data(BucketListModel::bucketIDRole).toString())});
}
