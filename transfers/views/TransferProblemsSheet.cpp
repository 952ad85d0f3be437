#include "transfers/views/TransferProblemsSheet.h"

#include "foundation/QtText.h"
#include "foundation/Texts.h"
#include "foundation/views/ColorRoles.h"
#include "foundation/views/Measures.h"
#include "foundation/views/NameText.h"
#include "transfers/TransferTexts.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QPushButton>
#include <QTextBlock>
#include <QTextBrowser>
#include <QTextCursor>

#include <ranges>

namespace {

QString titleOf(const Transfer& transfer)
{
    return *transfer.filesFailed > 0 ? TransferProblemsSheet::tr("Files That Failed")
                                     : TransferProblemsSheet::tr("Files Left Out");
}

QString purposeOf(const Transfer& transfer)
{
    const auto count = static_cast<std::int64_t>(transfer.fileProblems->size());
    return toQString(countText(count, "file", "files") + " of \"" + singleLine(transfer.displayName) + "\" "
        + (count == 1 ? "was" : "were")
        + (transfer.kind == Transfer::Kind::upload ? " not uploaded." : " not downloaded."));
}

} // namespace

TransferProblemsSheet::TransferProblemsSheet(const Transfer& transfer, QWidget* parent)
    : Sheet(titleOf(transfer), purposeOf(transfer), parent)
    , problems_(*transfer.fileProblems)
{
    auto* const list = new QTextBrowser;
    list->setObjectName(QStringLiteral("problems"));
    list->setAccessibleName(titleOf(transfer));
    list->setOpenLinks(false);
    list->setMinimumHeight(220);
    list->document()->setDocumentMargin(Spacing::small);
    fill(*list->document());
    list->moveCursor(QTextCursor::Start);
    addWide(list);
    setCancelText(tr("Close"));
    auto* const copy = setVerb(tr("Copy List"));
    connect(this, &Sheet::verbTriggered, copy, [this, copy] {
        QGuiApplication::clipboard()->setText(toQString(problemLines(problems_, problems_.size())));
        copy->setText(tr("Copied"));
    });
}

void TransferProblemsSheet::fill(QTextDocument& document) const
{
    document.setUndoRedoEnabled(false);
    QTextBlockFormat spaced;
    spaced.setBottomMargin(Spacing::small);
    QTextCharFormat name;
    name.setFontWeight(QFont::DemiBold);
    QTextCharFormat reason;
    reason.setForeground(secondaryText(palette()));

    QTextCursor cursor(&document);
    cursor.beginEditBlock();
    const auto show = [&](const QString& text, const QTextCharFormat& format, const QTextBlockFormat& block) {
        if (cursor.position() > 0)
            cursor.insertBlock();
        cursor.setBlockFormat(block);
        cursor.insertText(text, format);
    };
    for (const auto& problem : problems_ | std::views::take(mostShown)) {
        show(showableName(toQString(problem.relativePath)), name, {});
        show(showableName(toQString(problem.reason)), reason, spaced);
    }
    if (problems_.size() > mostShown) {
        show(tr("and %1 more, which are copied with the list.").arg(problems_.size() - mostShown), reason, spaced);
    }
    cursor.endEditBlock();
}
