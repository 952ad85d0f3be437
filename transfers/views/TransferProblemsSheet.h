#pragma once

#include "foundation/views/sheets/Sheet.h"
#include "transfers/Transfer.h"

#include <vector>

class QTextDocument;

/// The files of a folder that failed, were skipped or were left out, each with its reason, to read and to copy. Does
/// not follow later changes.
class TransferProblemsSheet final : public Sheet {
    Q_OBJECT

public:
    /// The number of files shown; all of them are copied.
    static constexpr std::size_t maxShown = 1000;

    TransferProblemsSheet(const Transfer& transfer, QWidget* parent);

private:
    void fill(QTextDocument& document) const;

    std::vector<FileProblem> problems_;
};
