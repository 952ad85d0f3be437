#include "transfers/views/TransferProblemsSheet.h"

#include "foundation/QtText.h"
#include "foundation/views/style/ColorRoles.h"
#include "foundation/views/style/Measures.h"
#include "foundation/views/tables/NameText.h"
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
    // The worst come first.
    switch (transfer.fileProblems->front().kind) {
    case FileProblem::Kind::failed:
        return TransferProblemsSheet::tr("Files That Failed");
    case FileProblem::Kind::skipped:
        return TransferProblemsSheet::tr("Files That Were Skipped");
    case FileProblem::Kind::leftOut:
        break;
    }
    return TransferProblemsSheet::tr("Not Sent");
}

QString purposeOf(const Transfer& transfer)
{
    return TransferProblemsSheet::tr("In \u201c%1\u201d: %2")
        .arg(showableName(toQString(transfer.displayName)), toQString(problemSummary(*transfer.fileProblems)));
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
    for (const auto& problem : problems_ | std::views::take(maxShown)) {
        show(showableName(toQString(problem.relativePath)), name, {});
        show(showableName(toQString(problem.reason)), reason, spaced);
    }
    if (problems_.size() > maxShown) {
        show(tr("and %1 more, which are copied with the list.").arg(problems_.size() - maxShown), reason, spaced);
    }
    cursor.endEditBlock();
}
