#include "accounts/views/RenameSheet.h"

#include "accounts/KeySheetTexts.h"
#include "foundation/QtText.h"
#include "foundation/views/style/Measures.h"

#include <QHBoxLayout>
#include <QLineEdit>
#include <QPushButton>

RenameSheet::RenameSheet(
    const QString& title, const QString& text, const QString& name, const QString& serviceName, QWidget* parent)
    : Sheet(title, text, parent)
    , name_(new QLineEdit(name, this))
{
    setVerb(tr("Rename"));
    addRow(tr("Name"), name_);
    name_->selectAll();
    if (!serviceName.isEmpty() && serviceName != name) {
        auto* const take = new QPushButton(tr("Use the name from Backblaze"), this);
        take->setAutoDefault(false);
        take->setToolTip(serviceName);
        take->setAccessibleDescription(serviceName);
        connect(take, &QPushButton::clicked, this, [this, serviceName] {
            name_->setText(serviceName);
            name_->setFocus(Qt::OtherFocusReason);
        });
        auto* const line = new QHBoxLayout;
        line->setContentsMargins({});
        line->addStretch();
        line->addWidget(take);
        auto* const row = new QWidget(this);
        row->setLayout(line);
        addWide(row);
    }
    connect(name_, &QLineEdit::textChanged, this, &RenameSheet::render);
    connect(this, &Sheet::verbTriggered, this, [this] {
        accept();
        Q_EMIT renamed(name_->text());
    });
    render();
}

void RenameSheet::render()
{
    const bool isGiven = isNameGiven(fromQString(name_->text()));
    setVerbEnabled(isGiven, isGiven ? QString() : tr("Enter a name."));
}
