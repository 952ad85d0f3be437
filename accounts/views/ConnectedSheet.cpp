#include "accounts/views/ConnectedSheet.h"

#include "foundation/views/Labels.h"
#include "foundation/views/style/SymbolView.h"

#include <QHBoxLayout>

ConnectedSheet::ConnectedSheet(const QString& text, QWidget* parent)
    : Sheet(tr("Connected"), text, parent)
{
    setObjectName(QStringLiteral("connected"));
    const auto add = [this](Symbol symbol, const QString& title, const QString& note) {
        auto* const row = new QWidget(this);
        auto* const line = new QHBoxLayout(row);
        line->setContentsMargins({});
        line->setSpacing(Spacing::normal);
        line->addWidget(new SymbolView(symbol, SymbolTint::accent, 24, row), 0, Qt::AlignTop);
        auto* const texts = new QVBoxLayout;
        texts->setSpacing(Spacing::tight);
        texts->addWidget(makeLabel(title, TextSize::normal, QFont::DemiBold, row));
        texts->addWidget(makeSecondaryLabel(note, TextSize::normal, row));
        line->addLayout(texts, 1);
        addWide(row);
    };
    add(Symbol::bucketPrivate, tr("Your buckets are in the sidebar"),
        tr("Choose one to browse its files. Looking at them changes nothing."));
    add(Symbol::upload, tr("Drop files to upload them"),
        tr("The transfers panel under the files shows how far each one is."));
    add(Symbol::key, tr("The key in use is at the top of the sidebar"),
        tr("Click it to add a key of this or another account, and to switch between them."));
    setCancelText(tr("Start Browsing"));
}
