#include "accounts/keys/views/KeyDetailsView.h"

#include "foundation/QtText.h"
#include "foundation/views/Labels.h"
#include "foundation/views/tables/NameText.h"

#include <QPushButton>
#include <QScrollArea>
#include <QVBoxLayout>

namespace {

constexpr int mostPermissionsHeight = 220;
constexpr int mostReachLines = 8;

QLabel* wrapping(const QString& text)
{
    const auto shown = breakable(text);
    auto* const label = makeLabel(shown);
    label->setWordWrap(true);
    // The text that was made to wrap must not be copied in that form.
    if (shown == text)
        label->setTextInteractionFlags(Qt::TextSelectableByMouse);
    else
        label->setToolTip(text.toHtmlEscaped());
    label->setMinimumWidth(1);
    return label;
}

/// Ends a long list of buckets with the number of those left out.
std::string shortened(const std::string& lines)
{
    std::size_t end = 0;
    int shown = 0;
    while (shown < mostReachLines && end != std::string::npos) {
        end = lines.find('\n', end + (shown > 0 ? 1 : 0));
        ++shown;
    }
    if (end == std::string::npos)
        return lines;
    const auto more = 1 + std::count(lines.begin() + static_cast<std::ptrdiff_t>(end) + 1, lines.end(), '\n');
    return lines.substr(0, end) + "\nand " + std::to_string(more) + " more";
}

} // namespace

KeyDetailsView::KeyDetailsView(const KeyDetailsInputs& inputs, bool canUseServiceName, QWidget* parent)
    : Sheet(toQString(KeyDetails(inputs).title), toQString(KeyDetails::fixedText), parent)
{
    setObjectName(QStringLiteral("keyDetails"));
    setMinimumWidth(540);
    const KeyDetails details(inputs);
    addText(tr("At Backblaze"), details.backblazeName);
    auto* const keyID = makeIdentifierLabel(toQString(inputs.key.applicationKeyID), this);
    addRow(tr("keyID"), keyID);
    addText(tr("In Kestrovan"), details.kestrovanName, details.nameNote);
    if (canUseServiceName && details.differsInName) {
        auto* const take = new QPushButton(tr("Use the name from Backblaze"), this);
        take->setAutoDefault(false);
        connect(take, &QPushButton::clicked, this, [this, take] {
            take->setEnabled(false);
            Q_EMIT useBackblazeName();
        });
        auto* const row = new QWidget(this);
        auto* const line = new QHBoxLayout(row);
        line->setContentsMargins({});
        line->addWidget(take);
        line->addStretch();
        addRow({}, row);
    }
    addText(tr("Reach"), shortened(details.reach), details.reachNote);
    if (!details.prefix.empty())
        addText(tr("Prefix"), details.prefix);
    addText(tr("Expires"), details.expires);
    addPermissions(details);
    addText(tr("Storage"), details.storage);
    setCancelText(tr("Close"));
}

void KeyDetailsView::addText(const QString& label, const std::string& text, const std::string& note)
{
    auto* const value = wrapping(toQString(text));
    value->setAccessibleName(label + QStringLiteral(": ") + toQString(text));
    addRow(label, value, toQString(note));
}

void KeyDetailsView::addPermissions(const KeyDetails& details)
{
    if (details.granted.empty()) {
        addText(tr("Permissions"), details.grantedNote);
        return;
    }
    auto* const content = new QWidget;
    auto* const column = new QVBoxLayout(content);
    column->setContentsMargins(Spacing::small, Spacing::small, Spacing::small, Spacing::small);
    column->setSpacing(Spacing::tight);
    for (const auto& [group, titles] : details.granted) {
        if (column->count() > 0)
            column->addSpacing(Spacing::tight);
        column->addWidget(makeSecondaryLabel(toQString(group), TextSize::small, content));
        QStringList words;
        for (const auto& title : titles)
            words.append(toQString(title));
        column->addWidget(wrapping(words.join(QStringLiteral(", "))));
    }
    auto* const area = new QScrollArea(this);
    area->setWidget(content);
    area->setWidgetResizable(true);
    area->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    content->setBackgroundRole(QPalette::Base);
    constexpr int valueWidth = 370;
    area->setFixedHeight(
        std::min(mostPermissionsHeight, column->totalHeightForWidth(valueWidth) + 2 * area->frameWidth()));
    addRow(tr("Permissions"), area);
}
