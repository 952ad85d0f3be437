#include "foundation/runs/ItemRun.h"

#include "B2Kit/pipeline/B2RetryPolicy.h"
#include "foundation/MainExecutor.h"
#include "foundation/Texts.h"

#include <algorithm>
#include <utility>

int ItemRun::Summary::untried() const
{
    return total - done - static_cast<int>(failures.size() + interrupted.size());
}

ItemRun::ItemRun(std::vector<Item> items, int atOnce)
    : items_(std::make_shared<const Items>(std::move(items)))
    , atOnce_(static_cast<std::size_t>(std::max(atOnce, 1)))
{
    summary.update([this](Summary& counts) { counts.total = static_cast<int>(items_->size()); });
}

ItemRun::~ItemRun()
{
    cancelRunning();
}

void ItemRun::start()
{
    if (*phase != Phase::ready)
        return;
    phase = Phase::running;
    advance();
}

void ItemRun::stop()
{
    if (*phase != Phase::running)
        return;
    phase = Phase::stopping;
    cancelRunning();
}

void ItemRun::cancelRunning()
{
    // A stop callback may end an item.
    for (auto& [index, running] : std::map(running_)) {
        if (running.uponStop == UponStop::cancel)
            running.task.cancel();
    }
}

void ItemRun::advance()
{
    while (*phase == Phase::running && running_.size() < atOnce_ && next_ < items_->size()) {
        const auto index = next_++;
        running_.emplace(
            index, Running{(*items_)[index].uponStop, spawn(MainExecutor::shared(), runItem(this, items_, index))});
    }
    current = running_.empty() ? std::string() : (*items_)[running_.begin()->first].name;
    if (!running_.empty() || hasEnded())
        return;
    if (summary->done == summary->total)
        phase = Phase::finished;
    else if (summary->interrupted.empty() && summary->untried() == 0)
        phase = Phase::failed;
    else
        phase = Phase::stopped;
    if (onEnd)
        onEnd(*summary);
}

Task<> ItemRun::runItem(QPointer<ItemRun> self, std::shared_ptr<const Items> items, std::size_t index)
{
    if (!self)
        co_return;
    if (*self->phase != Phase::running) {
        self->itemEnded(index, Outcome::untried, {});
        co_return;
    }
    std::optional<std::string> reason;
    std::exception_ptr failure;
    try {
        reason = co_await (*items)[index].work();
    } catch (...) {
        failure = std::current_exception();
    }
    if (!self)
        co_return;
    if (failure && isCancellation(failure))
        self->itemEnded(index, Outcome::interrupted, {});
    else if (failure)
        self->itemEnded(index, Outcome::failed, describe(failure));
    else if (reason)
        self->itemEnded(index, Outcome::failed, std::move(*reason));
    else
        self->itemEnded(index, Outcome::done, {});
}

void ItemRun::itemEnded(std::size_t index, Outcome outcome, std::string sentence)
{
    running_.erase(index);
    summary.update([&](Summary& counts) {
        const auto& name = (*items_)[index].name;
        if (outcome == Outcome::done)
            ++counts.done;
        else if (outcome == Outcome::failed)
            counts.failures.push_back({name, std::move(sentence)});
        else if (outcome == Outcome::interrupted)
            counts.interrupted.push_back(name);
    });
    // Cancelled from elsewhere, as by the end of its session: the others would fare no better.
    if (outcome == Outcome::interrupted)
        stop();
    advance();
}

std::string runResultText(const ItemRun::Summary& summary, const RunWords& words)
{
    const auto all = countText(summary.total, words.singular, words.plural);
    const auto wasDone = [&](std::int64_t count) { return (count == 1 ? " was " : " were ") + words.participle; };
    const auto failed = static_cast<std::int64_t>(summary.failures.size());
    const auto interrupted = static_cast<std::int64_t>(summary.interrupted.size());
    std::vector<std::string> sentences;
    if (summary.untried() > 0 || interrupted > 0)
        sentences.emplace_back("Stopped.");
    if (summary.done == summary.total)
        sentences.push_back(all + wasDone(summary.total) + ".");
    else if (summary.done > 0)
        sentences.push_back(countText(summary.done, "of", "of") + " " + all + wasDone(summary.done) + ".");
    else if (summary.total > 1)
        sentences.push_back("No " + words.singular + wasDone(1) + ".");
    if (failed == 1)
        sentences.push_back("“" + singleLine(summary.failures.front().name) + "” could not be " + words.participle
            + ". " + summary.failures.front().sentence);
    else if (failed > 1)
        sentences.push_back(countText(failed, "could", "could") + " not be " + words.participle + ".");
    if (interrupted == 1)
        sentences.push_back(
            "Whether “" + singleLine(summary.interrupted.front()) + "”" + wasDone(1) + " is not known.");
    else if (interrupted > 1)
        sentences.push_back(
            "Whether " + countText(interrupted, "more", "more") + wasDone(interrupted) + " is not known.");
    std::string text;
    for (const auto& sentence : sentences)
        text += (text.empty() ? "" : " ") + sentence;
    return text;
}

std::string failureLines(const ItemRun::Summary& summary)
{
    std::string lines;
    for (const auto& [name, sentence] : summary.failures)
        lines += singleLine(name) + ": " + singleLine(sentence) + "\n";
    return lines;
}
