#include "transfers/views/TransferListModel.h"

#include "foundation/QtText.h"
#include "foundation/views/tables/NameText.h"
#include "transfers/TransferTexts.h"

#include <QTimer>

#include <algorithm>
#include <chrono>

using namespace std::chrono_literals;

namespace {

/// As markup, which wraps long names; the texts in it are shown as they are.
QString toolTipOf(const Transfer& transfer)
{
    const auto status = statusOf(transfer);
    const auto& help = status.help.empty() ? status.text : status.help;
    QStringList lines{showableName(toQString(transfer.remoteName)).toHtmlEscaped()};
    for (const auto& line : toQString(help).split(u'\n'))
        lines.append(showableName(line).toHtmlEscaped());
    return QStringLiteral("<p>%1</p>").arg(lines.join(QStringLiteral("<br>")));
}

} // namespace

TransferListModel::TransferListModel(TransferQueue& queue, QObject* parent)
    : QAbstractListModel(parent)
    , queue_(queue)
    , gathering_(new QTimer(this))
{
    gathering_->setSingleShot(true);
    gathering_->setInterval(50ms);
    connect(gathering_, &QTimer::timeout, this, &TransferListModel::announceChanges);
    connect(&queue_, &Observable::changed, this, &TransferListModel::follow);
    follow();
}

int TransferListModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(rows_.size());
}

QVariant TransferListModel::data(const QModelIndex& index, int role) const
{
    const auto transfer = transferAt(index);
    if (!transfer)
        return {};
    switch (role) {
    case Qt::DisplayRole:
        return showableName(toQString(transfer->displayName));
    case Qt::ToolTipRole:
        return toolTipOf(*transfer);
    case Qt::AccessibleDescriptionRole:
        return toQString(statusOf(*transfer).help);
    case Qt::AccessibleTextRole:
        return toQString(accessibleText(*transfer));
    default:
        return {};
    }
}

std::shared_ptr<Transfer> TransferListModel::transferAt(const QModelIndex& index) const
{
    return checkIndex(index, CheckIndexOption::IndexIsValid) ? rows_[static_cast<std::size_t>(index.row())] : nullptr;
}

void TransferListModel::follow()
{
    const auto& wanted = *queue_.transfers;
    // Rows only leave or come at the end, so what is left keeps its order.
    const bool haveSomeLeft = wanted.size() < rows_.size() || !std::equal(rows_.begin(), rows_.end(), wanted.begin());
    if (haveSomeLeft)
        removeAllBut(wanted);
    if (wanted.size() == rows_.size())
        return;
    beginInsertRows({}, static_cast<int>(rows_.size()), static_cast<int>(wanted.size()) - 1);
    for (auto row = rows_.size(); row < wanted.size(); ++row) {
        rowOf_.insert(wanted[row].get(), static_cast<int>(row));
        rows_.push_back(wanted[row]);
        watch(wanted[row]);
    }
    endInsertRows();
}

void TransferListModel::removeAllBut(const std::vector<std::shared_ptr<Transfer>>& wanted)
{
    QSet<const Transfer*> staying;
    staying.reserve(static_cast<qsizetype>(wanted.size()));
    for (const auto& transfer : wanted)
        staying.insert(transfer.get());
    for (auto end = rows_.size(); end > 0;) {
        auto begin = end;
        while (begin > 0 && !staying.contains(rows_[begin - 1].get()))
            --begin;
        if (begin == end) {
            --end;
            continue;
        }
        beginRemoveRows({}, static_cast<int>(begin), static_cast<int>(end) - 1);
        for (auto row = begin; row < end; ++row)
            disconnect(rows_[row].get(), nullptr, this, nullptr);
        rows_.erase(
            rows_.begin() + static_cast<std::ptrdiff_t>(begin), rows_.begin() + static_cast<std::ptrdiff_t>(end));
        endRemoveRows();
        end = begin;
    }
    rowOf_.clear();
    for (std::size_t row = 0; row < rows_.size(); ++row)
        rowOf_.insert(rows_[row].get(), static_cast<int>(row));
}

void TransferListModel::watch(const std::shared_ptr<Transfer>& transfer)
{
    connect(transfer.get(), &Observable::changed, this, [this, key = transfer.get()] { noteChange(key); });
}

void TransferListModel::noteChange(const Transfer* transfer)
{
    changed_.insert(transfer);
    // The first of a burst shows at once.
    if (!gathering_->isActive())
        announceChanges();
}

void TransferListModel::announceChanges()
{
    if (changed_.isEmpty())
        return;
    for (const auto* transfer : std::exchange(changed_, {})) {
        const auto row = rowOf_.constFind(transfer);
        if (row != rowOf_.constEnd())
            Q_EMIT dataChanged(index(*row), index(*row));
    }
    gathering_->start();
}

int TransferListModel::nextFailed(int row) const
{
    const int count = rowCount();
    for (int step = 1; step <= count; ++step) {
        const int candidate = (row + step) % count;
        if (rows_[static_cast<std::size_t>(candidate)]->state->is(Transfer::State::Case::failed))
            return candidate;
    }
    return -1;
}
