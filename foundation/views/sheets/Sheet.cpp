#include "foundation/views/sheets/Sheet.h"

#include "foundation/views/Announcer.h"
#include "foundation/views/ButtonKeys.h"
#include "foundation/views/Labels.h"
#include "foundation/views/panes/LoadingLine.h"
#include "foundation/views/style/Style.h"
#include "foundation/views/style/SymbolView.h"
#include "foundation/views/tables/NameText.h"

#include <QAbstractScrollArea>
#include <QButtonGroup>
#include <QEvent>
#include <QFormLayout>
#include <QPushButton>
#include <QRadioButton>
#include <QScreen>
#include <QShowEvent>

#include <algorithm>
#include <utility>

namespace {

constexpr int minSheetWidth = 480;
constexpr int maxSheetWidth = 600;
constexpr int radioIndent = 24;
/// Room for the frame around a sheet that is as high as the screen.
constexpr int titleBar = 60;

QWidget* withConsequence(QWidget* field, const QString& consequence, int indent, QWidget* parent)
{
    auto* cell = new QWidget(parent);
    auto* column = new QVBoxLayout(cell);
    column->setContentsMargins({});
    column->setSpacing(Spacing::tight);
    column->addWidget(field);
    auto* text = makeSecondaryLabel(consequence, TextSize::small, cell);
    text->setIndent(0);
    text->setContentsMargins(indent, 0, 0, 0);
    column->addWidget(text);
    field->setAccessibleDescription(consequence);
    return cell;
}

/// Returns the height of a field's first line: of its text, or of the topmost widget in it.
int firstLineHeight(QWidget* field)
{
    if (qobject_cast<QLabel*>(field) != nullptr || qobject_cast<QAbstractScrollArea*>(field) != nullptr)
        return field->fontMetrics().height();
    if (const auto* const column = qobject_cast<QVBoxLayout*>(field->layout());
        column != nullptr && column->count() > 0 && column->itemAt(0)->widget() != nullptr)
        return firstLineHeight(column->itemAt(0)->widget());
    return field->sizeHint().height();
}

QWidget* firstField(QWidget* rows)
{
    QWidget* widget = rows;
    while ((widget = widget->nextInFocusChain()) != nullptr && widget != rows) {
        if (rows->isAncestorOf(widget) && (widget->focusPolicy() & Qt::TabFocus) != 0 && widget->isEnabled()) {
            return widget;
        }
    }
    return nullptr;
}

} // namespace

Sheet::Sheet(const QString& title, const QString& purpose, QWidget* parent)
    : QDialog(parent)
    , column_(new QVBoxLayout(this))
    , rows_(new QWidget(this))
    , form_(new QFormLayout(rows_))
    , messageRow_(new QWidget(this))
    , messageIcon_(new MessageIcon(MessageKind::notice, messageRow_))
    , message_(makeLabel({}, TextSize::normal, QFont::Normal, messageRow_))
    , line_(new LoadingLine(this))
    , buttons_(new QHBoxLayout)
    , cancel_(new QPushButton(tr("Cancel"), this))
{
    setWindowModality(Qt::WindowModal);
    setMinimumWidth(minSheetWidth);
    setMaximumWidth(maxSheetWidth);
    setSizeGripEnabled(false);

    heading_ = makeLabel({}, TextSize::title, QFont::DemiBold, this);
    heading_->setWordWrap(true);
    purpose_ = makeSecondaryLabel({}, TextSize::normal, this);
    setHeading(title, purpose);

    form_->setContentsMargins({});
    form_->setHorizontalSpacing(Spacing::normal);
    form_->setVerticalSpacing(Spacing::normal);
    form_->setLabelAlignment(Qt::AlignRight | Qt::AlignTop);
    form_->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);

    auto* message = new QHBoxLayout(messageRow_);
    message->setContentsMargins({});
    message->setSpacing(Spacing::small);
    message->addWidget(messageIcon_, 0, Qt::AlignTop);
    message->addWidget(message_, 1);
    message_->setWordWrap(true);
    message_->setTextInteractionFlags(Qt::TextSelectableByMouse);
    messageRow_->setVisible(false);
    rows_->setVisible(false);

    buttons_->setSpacing(Spacing::small);
    buttons_->addStretch();
    buttons_->addWidget(cancel_);

    column_->setContentsMargins(Spacing::wide, Spacing::wide, Spacing::wide, Spacing::large);
    column_->setSpacing(Spacing::small);
    column_->addWidget(heading_);
    column_->addWidget(purpose_);
    column_->addSpacing(Spacing::small);
    column_->addWidget(rows_);
    column_->addStretch();
    column_->addWidget(messageRow_);
    column_->addSpacing(Spacing::tight);
    column_->addWidget(line_);
    column_->addLayout(buttons_);

    connect(cancel_, &QPushButton::clicked, this, &QDialog::reject);
}

void Sheet::addRow(const QString& label, QWidget* field, const QString& consequence)
{
    if (field->accessibleName().isEmpty()) {
        field->setAccessibleName(QString(label).remove(u':').remove(u'&'));
    }
    form_->addRow(
        makeCaption(label, field), consequence.isEmpty() ? field : withConsequence(field, consequence, 1, rows_));
    rows_->setVisible(true);
}

QRadioButton* Sheet::addChoice(
    QButtonGroup* group, const QString& text, const QString& consequence, const QString& label)
{
    auto* choice = new QRadioButton(text, rows_);
    group->addButton(choice);
    form_->addRow(makeCaption(label, choice), withConsequence(choice, consequence, radioIndent, rows_));
    rows_->setVisible(true);
    return choice;
}

void Sheet::addWide(QWidget* widget)
{
    form_->addRow(widget);
    rows_->setVisible(true);
}

void Sheet::addUnderRows(QWidget* widget)
{
    column_->insertWidget(column_->indexOf(messageRow_), widget);
}

// The label is beside the field's own line, not beside the text under it.
QLabel* Sheet::makeCaption(const QString& label, QWidget* field)
{
    auto* caption = makeLabel(label, TextSize::normal, QFont::Normal, rows_);
    caption->setBuddy(field);
    caption->setFixedHeight(firstLineHeight(field));
    caption->setAlignment(Qt::AlignRight | Qt::AlignTrailing | Qt::AlignVCenter);
    return caption;
}

QPushButton* Sheet::setVerb(const QString& verb)
{
    setVerbButton(new QPushButton(verb, this));
    // The desktop decides the order of Cancel and verb.
    const bool verbFirst = style()->styleHint(QStyle::SH_DialogButtonLayout, nullptr, this) == 0;
    buttons_->insertWidget(verbFirst ? 1 : 2, verb_);
    verb_->setDefault(true);
    return verb_;
}

void Sheet::setHeading(const QString& title, const QString& purpose)
{
    setWindowTitle(title);
    heading_->setText(breakable(title));
    purpose_->setText(breakable(purpose));
    purpose_->setVisible(!purpose.isEmpty());
    setAccessibleDescription(purpose);
}

void Sheet::removeRows()
{
    while (form_->rowCount() > 0)
        form_->removeRow(0);
    rows_->setVisible(false);
}

void Sheet::hideVerb()
{
    if (verb_)
        verb_->hide();
}

QPushButton* Sheet::setDestructiveVerb(const QString& verb)
{
    setVerbButton(new QPushButton(verb, this));
    verb_->setProperty(Style::destructiveProperty, true);
    verb_->setAutoDefault(false);
    buttons_->insertWidget(0, verb_);
    cancel_->setDefault(true);
    return verb_;
}

void Sheet::setVerbText(const QString& verb)
{
    verb_->setText(verb);
}

void Sheet::setCancelText(const QString& text)
{
    cancel_->setText(text);
}

void Sheet::showOnlyClose(const QString& text)
{
    verb_->hide();
    cancel_->setText(text);
    cancel_->setDefault(true);
    focusCancel();
}

void Sheet::focusCancel()
{
    cancel_->setFocus(Qt::OtherFocusReason);
}

void Sheet::hideCancel()
{
    cancel_->hide();
}

void Sheet::setVerbButton(QPushButton* button)
{
    delete verb_;
    verb_ = button;
    connect(verb_, &QPushButton::clicked, this, &Sheet::verbTriggered);
}

void Sheet::setVerbEnabled(bool enabled, const QString& reason)
{
    isVerbEnabled_ = enabled;
    verb_->setEnabled(enabled && rows_->isEnabled());
    verb_->setToolTip(enabled ? QString() : reason);
    verb_->setAccessibleDescription(enabled ? QString() : reason);
}

void Sheet::setMessage(MessageKind kind, const QString& text)
{
    const bool isNew = std::exchange(messageText_, text) != text;
    messageIcon_->setKind(kind);
    message_->setText(breakable(text));
    messageRow_->setVisible(!text.isEmpty());
    makeRoom();
    if (isNew && !text.isEmpty()) {
        announce(*messageRow_, text);
    }
}

void Sheet::setBusy(bool busy, const QString& text)
{
    if (busy && rows_->isEnabled())
        focusBefore_ = focusWidget();
    rows_->setEnabled(!busy);
    verb_->setEnabled(!busy && isVerbEnabled_);
    // A locked widget loses the focus, and Qt does not give it back.
    if (!busy && focusBefore_)
        focusBefore_->setFocus(Qt::OtherFocusReason);
    if (!busy)
        focusBefore_.clear();
    line_->setLoading(busy);
    setMessage(MessageKind::notice, busy ? text : QString());
}

// The height that the texts need at this width; a wrapping label's own hint is for a narrower one.
int Sheet::fittingHeight()
{
    form_->activate();
    column_->activate();
    const int needed =
        column_->hasHeightForWidth() ? column_->totalHeightForWidth(width()) : column_->totalSizeHint().height();
    return std::min(needed, screen()->availableGeometry().height() - titleBar);
}

bool Sheet::event(QEvent* event)
{
    const bool isHandled = QDialog::event(event);
    // Sent once a change in the rows has reached the sheet's own layout.
    if (event->type() == QEvent::LayoutRequest)
        makeRoom();
    return isHandled;
}

void Sheet::makeRoom()
{
    if (!isVisible())
        return;
    resize(width(), std::max(height(), fittingHeight()));
    column_->activate();
    form_->invalidate();
    form_->activate();
    keepOnScreen();
}

void Sheet::keepOnScreen()
{
    const QRect room = screen()->availableGeometry();
    const QRect frame = frameGeometry();
    const int below = frame.bottom() - room.bottom();
    if (isVisible() && below > 0)
        move(frame.left(), std::max(room.top(), frame.top() - below));
}

void Sheet::keyPressEvent(QKeyEvent* event)
{
    if (!pressFocusedButton(*this, *event))
        QDialog::keyPressEvent(event);
}

void Sheet::showEvent(QShowEvent* event)
{
    if (!event->spontaneous())
        resize(width(), fittingHeight());
    QDialog::showEvent(event);
    if (QWidget* field = firstField(rows_); field != nullptr && !rows_->isAncestorOf(focusWidget())) {
        field->setFocus(Qt::OtherFocusReason);
    }
}
