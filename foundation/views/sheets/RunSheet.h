#pragma once

#include "foundation/runs/ItemRun.h"
#include "foundation/views/sheets/QuestionSheet.h"

#include <memory>

class ElidedLabel;
class QProgressBar;

/// Asks a question, then runs what it was about: first the question, then the progress with a button that stops it,
/// then the result, which stays until it is closed. A run in which everything was done closes the sheet by itself.
///
/// Escape during the run stops it, and the sheet stays until the run has ended. Owns the run.
class RunSheet final : public QuestionSheet {
    Q_OBJECT

public:
    struct Texts {
        std::string progress; ///< Shown while it runs: "Deleting 3 keys…".
        RunWords words;
    };

    RunSheet(const Question& question, std::unique_ptr<ItemRun> run, Texts texts, QWidget* parent);
    ~RunSheet() override;

    const ItemRun& run() const { return *run_; }

    /// Turns the question down, stops the run, or closes the result.
    void reject() override;

private:
    void begin();
    void render();
    void showProgress();
    void showResult();
    void addFailures(const ItemRun::Summary& summary);

    std::unique_ptr<ItemRun> run_;
    Texts texts_;
    QProgressBar* bar_ = nullptr;    ///< Null before the run.
    ElidedLabel* current_ = nullptr; ///< The same.
    bool isShowingResult_ = false;
};
