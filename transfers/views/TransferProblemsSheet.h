#pragma once

#include "foundation/views/Sheet.h"
#include "transfers/Transfer.h"

#include <vector>

class QTextDocument;

/// What of a folder failed, was skipped or was left out, each with its reason, to read and to copy. Shows them as they
/// were when it was opened.
class TransferProblemsSheet final : public Sheet {
    Q_OBJECT

public:
    /// So many files are shown; all of them are copied.
    static constexpr std::size_t mostShown = 1000;

    TransferProblemsSheet(const Transfer& transfer, QWidget* parent);

private:
    void fill(QTextDocument& document) const;

    std::vector<FileProblem> problems_;
};
