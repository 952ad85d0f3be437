#include "shell/window/Sidebar.h"

#include "accounts/switcher/views/KeySwitcherHeader.h"
#include "foundation/QtText.h"
#include "foundation/Texts.h"
#include "foundation/views/Labels.h"
#include "foundation/views/SearchField.h"
#include "foundation/views/style/ColorRoles.h"
#include "foundation/views/style/Icons.h"
#include "foundation/views/style/Measures.h"
#include "shell/window/Surfaces.h"

#include <QActionGroup>
#include <QKeyEvent>
#include <QListView>
#include <QMenu>
#include <QPainter>
#include <QScopedValueRollback>
#include <QStyledItemDelegate>
#include <QVBoxLayout>

#include <algorithm>

namespace {

constexpr int rowHeight = 28;
constexpr int symbolSize = 16;
constexpr int kindRole = BucketListModel::symbolRole + 1; ///< Of a surface: its `AccountSurface`.
constexpr int filterFrom = 12;                            ///< More buckets than this get a filter field.

/// Gives rows their height, and symbols the colour of the text beside them in every state.
class SidebarRowDelegate final : public QStyledItemDelegate {
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

void setUpList(QListView& list, QAbstractItemModel& rows)
{
    list.setModel(&rows);
    list.setItemDelegate(new SidebarRowDelegate(&list));
    list.setFrameShape(QFrame::NoFrame);
    list.setTextElideMode(Qt::ElideMiddle);
    list.setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    list.setUniformItemSizes(true);
    list.setIconSize({symbolSize, symbolSize});
    list.setEditTriggers(QAbstractItemView::NoEditTriggers);
    list.viewport()->setAutoFillBackground(false);
}

} // namespace

Sidebar::Sidebar(RootModel& root, AppContext& context, QWidget* parent)
    : QWidget(parent)
    , root_(root)
    , context_(context)
    , switcher_(new KeySwitcherHeader(root.keySwitcher, switcherActions(), this))
    , surfacesTitle_(new SectionTitle(tr("Account"), this))
    , surfaces_(new QListView(this))
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
    layout->addWidget(surfacesTitle_);
    layout->addWidget(surfaces_);
    layout->addSpacing(Spacing::tight);
    layout->addWidget(title_);
    layout->addWidget(filter_);
    layout->addWidget(note_);
    layout->addWidget(list_, 1);

    shown_.setSourceModel(&rows_);
    shown_.setFilterCaseSensitivity(Qt::CaseInsensitive);
    setUpList(*list_, shown_);
    list_->setAccessibleName(tr("Buckets"));
    list_->installEventFilter(this);
    buildSurfaces();
    filter_->setAccessibleName(tr("Filter buckets"));
    for (auto* const title : {surfacesTitle_, title_})
        title->setContentsMargins(Spacing::tight, 0, 0, 0);
    note_->setContentsMargins(Spacing::tight, 0, 0, 0);
    note_->setWordWrap(true);

    connect(filter_, &QLineEdit::textChanged, this, [this](const QString& text) {
        // A filter that hides the selected row makes the list select its neighbour, which is nobody's choice.
        const QScopedValueRollback guard(isRendering_, true);
        shown_.setFilterFixedString(text);
        render();
    });
    connect(filter_, &SearchField::left, this, [this] { list_->setFocus(Qt::OtherFocusReason); });
    // Follows the selection: a list that gets the keyboard by Tab makes its first row current, which is no choice.
    connect(list_->selectionModel(), &QItemSelectionModel::selectionChanged, this,
        [this](const QItemSelection& selected) { choose(selected.indexes().value(0)); });
    connect(list_, &QListView::activated, this, &Sidebar::choose);
    connect(list_, &QListView::clicked, this, [this](const QModelIndex& index) {
        // A click on the bucket that is shown leads to its top.
        const auto& shown = *root_.browser.bucket;
        const auto clicked = fromQString(index.data(BucketListModel::bucketIDRole).toString());
        if (shown && shown->bucketID == clicked && *root_.browser.prefix != root_.browser.rootPrefix())
            root_.browser.navigate(root_.browser.rootPrefix());
    });
    connect(surfaces_->selectionModel(), &QItemSelectionModel::selectionChanged, this,
        [this](const QItemSelection& selected) { chooseSurface(selected.indexes().value(0)); });
    connect(surfaces_, &QListView::activated, this, &Sidebar::chooseSurface);
    connect(&root_, &Observable::changed, this, &Sidebar::render);
    connect(&context_, &Observable::changed, this, &Sidebar::render);
    render();
}

void Sidebar::buildSurfaces()
{
    for (const auto& surface : surfaces()) {
        auto* const row = new QStandardItem(surface.title);
        row->setData(QColor(Qt::transparent), Qt::DecorationRole); // Keeps the place; the delegate draws the symbol.
        row->setData(static_cast<int>(surface.symbol), BucketListModel::symbolRole);
        row->setData(static_cast<int>(surface.kind), kindRole);
        surfaceRows_.appendRow(row);
    }
    setUpList(*surfaces_, surfaceRows_);
    surfaces_->setAccessibleName(tr("Account"));
    surfaces_->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    surfaces_->setFixedHeight(surfaceRows_.rowCount() * surfaces_->sizeHintForRow(0) + 2);
    surfaces_->installEventFilter(this);
}

void Sidebar::takeFocus()
{
    if (!list_->isEnabled()) {
        switcher_->setFocus(Qt::OtherFocusReason);
        return;
    }
    const auto& selection = *root_.selection.item;
    const bool isSurface = selection && selection->surface && surfaces_->isVisible();
    (isSurface ? surfaces_ : list_)->setFocus(Qt::OtherFocusReason);
}

// The arrow keys treat both lists as one column.
bool Sidebar::crossLists(QObject* from, int key)
{
    if (from == surfaces_ && key == Qt::Key_Down && shown_.rowCount() > 0
        && surfaces_->currentIndex().row() == surfaceRows_.rowCount() - 1) {
        list_->setFocus(Qt::TabFocusReason);
        list_->setCurrentIndex(shown_.index(0, 0));
        return true;
    }
    if (from == list_ && key == Qt::Key_Up && surfaces_->isVisible() && list_->currentIndex().row() <= 0) {
        surfaces_->setFocus(Qt::BacktabFocusReason);
        surfaces_->setCurrentIndex(surfaceRows_.index(surfaceRows_.rowCount() - 1, 0));
        return true;
    }
    return false;
}

bool Sidebar::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::KeyPress && static_cast<QKeyEvent*>(event)->modifiers() == Qt::NoModifier
        && crossLists(watched, static_cast<QKeyEvent*>(event)->key()))
        return true;
    // Ctrl+F in a long list leads to its filter, ahead of the window's Find, which is about the pane.
    if (watched == list_ && event->type() == QEvent::ShortcutOverride && filter_->isVisibleTo(this)
        && static_cast<QKeyEvent*>(event)->matches(QKeySequence::Find)) {
        event->accept();
        return true;
    }
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
    if (!isFilterable || filtered_.lock() != *root_.buckets.session)
        filter_->clear();
    filtered_ = *root_.buckets.session;

    const bool hasSession = *root_.keyStore.session != nullptr;
    const bool isLoading = *root_.buckets.isLoading || *root_.buckets.session != *root_.keyStore.session;
    const bool isEmpty = root_.buckets.buckets->empty();
    title_->setVisible(hasSession);
    surfacesTitle_->setVisible(hasSession);
    surfaces_->setVisible(hasSession);
    // A hidden list takes no keyboard input and changes no selection.
    surfaces_->setEnabled(hasSession);
    list_->setEnabled(hasSession);
    renderSurfaces();
    QString note;
    if (hasSession && isEmpty && isLoading)
        note = tr("Loading buckets…");
    else if (hasSession && *root_.buckets.error)
        note = (isEmpty ? tr("The buckets could not be listed. %1") : tr("The list could not be read again. %1"))
                   .arg(toQString(**root_.buckets.error));
    else if (hasSession && isEmpty)
        note = tr("No buckets");
    else if (shown_.rowCount() == 0 && rows_.rowCount() > 0)
        note = tr("No bucket matches");
    note_->setText(note);
    note_->setVisible(!note.isEmpty());

    const auto& item = *root_.selection.item;
    const auto selected = item && !item->surface ? rows_.indexOf(item->bucketID) : QModelIndex();
    const auto index = shown_.mapFromSource(selected);
    if (index.isValid() && !list_->selectionModel()->isSelected(index))
        list_->setCurrentIndex(index);
    else if (!selected.isValid() && list_->selectionModel()->hasSelection())
        list_->selectionModel()->clear();
}

void Sidebar::renderSurfaces()
{
    const auto& selection = *root_.selection.item;
    for (int row = 0; selection && selection->surface && row < surfaceRows_.rowCount(); ++row) {
        const auto index = surfaceRows_.index(row, 0);
        if (index.data(kindRole).toInt() != static_cast<int>(*selection->surface))
            continue;
        if (!surfaces_->selectionModel()->isSelected(index))
            surfaces_->setCurrentIndex(index);
        return;
    }
    if (surfaces_->selectionModel()->hasSelection())
        surfaces_->selectionModel()->clear();
}

KeySwitcherActions Sidebar::switcherActions()
{
    return {.switchTo = [this](const StoredKey& key) { root_.switchTo(key.keyID); },
        .info = [this](const StoredKey& key) { Q_EMIT keyDetailsRequested(key); },
        .rename = [this](const StoredKey& key) { Q_EMIT renameKeyRequested(key); },
        .remove = [this](const StoredKey& key) { Q_EMIT removeKeyRequested(key); },
        .removeRevoked = [this] { Q_EMIT removeRevokedKeysRequested(); },
        .addKey = [this] { Q_EMIT addKeyRequested(); },
        .unlock = [this] { Q_EMIT unlockRequested(); },
        .retry = [this] { root_.tryAgain(); }};
}

void Sidebar::chooseSurface(const QModelIndex& index)
{
    if (!isRendering_ && surfaces_->isEnabled() && index.isValid())
        root_.selection.select({static_cast<AccountSurface>(index.data(kindRole).toInt())});
}

void Sidebar::choose(const QModelIndex& index)
{
    if (isRendering_ || !index.isValid())
        return;
    root_.selection.select(SidebarItem::bucket(fromQString(index.data(BucketListModel::bucketIDRole).toString())));
}
