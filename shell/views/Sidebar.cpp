#include "shell/views/Sidebar.h"

#include "accounts/KeyNames.h"
#include "foundation/QtText.h"
#include "foundation/Texts.h"
#include "foundation/views/ColorRoles.h"
#include "foundation/views/Icons.h"
#include "foundation/views/Labels.h"
#include "foundation/views/Measures.h"
#include "foundation/views/SearchField.h"
#include "shell/views/KeyCard.h"

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

/// What a restricted key is limited to, in a few words.
QString restrictionOf(const B2Authorization::Allowed& allowed)
{
    QStringList parts;
    if (allowed.buckets.size() == 1)
        parts.append(QObject::tr("One bucket"));
    else if (allowed.buckets.size() > 1)
        parts.append(QObject::tr("%n buckets", nullptr, static_cast<int>(allowed.buckets.size())));
    if (allowed.namePrefix && !allowed.namePrefix->empty())
        parts.append(QObject::tr("Only “%1”").arg(toQString(*allowed.namePrefix)));
    if (!allowed.capabilities.contains(B2Capabilities::writeFiles))
        parts.append(QObject::tr("Read only"));
    return parts.join(QStringLiteral(" · "));
}

} // namespace

Sidebar::Sidebar(RootModel& root, AppContext& context, QWidget* parent)
    : QWidget(parent)
    , root_(root)
    , context_(context)
    , card_(new KeyCard(this))
    , title_(new SectionTitle(tr("Buckets"), this))
    , filter_(new SearchField(tr("Filter buckets"), SearchField::Purpose::filter, this))
    , list_(new QListView(this))
    , note_(makeSecondaryLabel({}, TextSize::normal, this))
{
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(Spacing::small, Spacing::small, Spacing::small, Spacing::small);
    layout->setSpacing(Spacing::small);
    layout->addWidget(card_);
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

    connect(card_, &QAbstractButton::clicked, this, &Sidebar::openSwitcher);
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

QAbstractButton& Sidebar::switcher()
{
    return *card_;
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
    renderCard();
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

void Sidebar::renderCard()
{
    KeyCard::Content content;
    content.isBusy = *root_.keyStore.isConnecting;
    if (const auto session = *root_.keyStore.session) {
        const auto& authorization = session->authorization;
        content.account = toQString(root_.keyStore.accountDisplayName(authorization.accountID));
        content.key = toQString(session->key->label);
        if (const auto region = regionOf(authorization.storage.s3URL))
            content.region = toQString(*region);
        // A name taken from the region says it already.
        if (content.account.startsWith(content.region))
            content.region.clear();
        content.badge = restrictionOf(authorization.storage.allowed);
    } else if (content.isBusy && *root_.keyStore.lastAttempted) {
        content.account = tr("Connecting…");
        content.key = toQString((*root_.keyStore.lastAttempted)->label);
    } else {
        content.account = tr("Not Connected");
        content.key = root_.keyStore.keys->empty() ? tr("No key stored") : tr("Choose a key");
    }
    card_->show(content);
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
            action->setToolTip(
                QObject::tr("Backblaze no longer has this key, or its secret is not stored on this computer"));
        group->addAction(action);
        QObject::connect(action, &QAction::triggered, &root, [&root, id = entry.id] { root.switchTo(id); });
    }
    if (context.keyMenu->empty())
        menu.addAction(QObject::tr("No key stored"))->setEnabled(false);
}

void Sidebar::openSwitcher()
{
    auto* const menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    menu->setObjectName(QStringLiteral("keySwitcher"));
    menu->setToolTipsVisible(true);
    menu->setMinimumWidth(card_->width());
    fillKeyMenu(*menu, context_, root_);
    menu->popup(card_->mapToGlobal(QPoint(0, card_->height() + Spacing::tight)));
}

void Sidebar::choose(const QModelIndex& index)
{
    if (isRendering_ || !index.isValid())
        return;
    root_.select({SidebarItem::Kind::bucket, fromQString(index.data(BucketListModel::bucketIDRole).toString())});
}
