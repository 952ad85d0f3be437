#pragma once

#include "async/Task.h"
#include "browser/RowOrder.h"

#include <string>
#include <vector>

/// Makes and sorts rows off the main thread, one job after another.
class RowWorker final : public Actor {
public:
    /// The worker of the process, never destroyed.
    static RowWorker& shared();

private:
    RowWorker();

    SerialExecutor executor_;
};

/// Makes rows of a page and merges them into the rows before it. Runs on the worker, resumes on the caller's executor.
///
/// A cancelled job ends with `Cancelled` before it starts, not while it sorts.
///
/// @param before  the rows that the page follows; empty for a first page.
Task<Arrangement> addPage(RowWorker& worker, Arrangement before, std::vector<B2FileVersion> files);

/// Runs `arrange` on the worker.
Task<Arrangement> arrangeAgain(
    RowWorker& worker, BrowserEntries entries, BrowserMode mode, std::vector<SortOrder> order, Arrangement earlier);
