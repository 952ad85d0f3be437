#include "transfers/TransferProgress.h"

#include <algorithm>

namespace {

std::optional<double> fraction(std::int64_t done, std::int64_t whole)
{
    if (done < 1 || whole < 1)
        return {};
    return std::min(static_cast<double>(done) / static_cast<double>(whole), 1.0);
}

double secondsBetween(Transfer::Clock::time_point from, Transfer::Clock::time_point to)
{
    return std::chrono::duration<double>(to - from).count();
}

} // namespace

const Transfer* hashingFile(const Transfer& transfer)
{
    if (*transfer.activeChild && *(*transfer.activeChild)->isHashing)
        return transfer.activeChild->get();
    return *transfer.isHashing ? &transfer : nullptr;
}

bool canSkipChecksum(const Transfer& transfer)
{
    const auto& child = *transfer.activeChild;
    const Transfer& target = child ? *child : transfer;
    return transfer.state->is(Transfer::State::Case::running) && *target.isHashing && !*target.checksumSkipped
        && !*target.resumableFileID;
}

std::optional<double> fractionDone(const Transfer& transfer)
{
    if (const auto* const file = hashingFile(transfer)) {
        if (const auto hashed = fraction(*file->hashedBytes, *file->byteCount))
            return hashed;
    }
    if (const auto moved = fraction(*transfer.bytesTransferred, *transfer.byteCount))
        return moved;
    return fraction(transfer.partsCompleted->value_or(0), transfer.partCount->value_or(0));
}

std::optional<double> bytesPerSecond(const Transfer& transfer, Transfer::Clock::time_point now)
{
    if (!transfer.state->is(Transfer::State::Case::running) || !*transfer.transferStartedAt)
        return {};
    const auto moved = *transfer.bytesTransferred - *transfer.bytesAtStart;
    const double elapsed = secondsBetween(**transfer.transferStartedAt, now);
    if (moved < 1 || elapsed < 1)
        return {};
    return static_cast<double>(moved) / elapsed;
}

std::optional<double> secondsLeft(const Transfer& transfer, Transfer::Clock::time_point now)
{
    const auto* const hashing = hashingFile(transfer);
    if (!transfer.state->is(Transfer::State::Case::running) || (hashing && hashing != &transfer)
        || *transfer.byteCount < 1 || !*transfer.transferStartedAt)
        return {};
    const auto moved = *transfer.bytesTransferred - *transfer.bytesAtStart;
    const auto remaining = *transfer.byteCount - *transfer.bytesTransferred;
    const double elapsed = secondsBetween(**transfer.transferStartedAt, now);
    if (elapsed < 10.0 || moved < 10'000'000 || remaining < 1)
        return {};
    const double estimate = static_cast<double>(remaining) / (static_cast<double>(moved) / elapsed);
    return estimate >= 60.0 ? std::optional(estimate) : std::nullopt;
}

std::optional<double> checksumSecondsLeft(const Transfer& transfer, Transfer::Clock::time_point now)
{
    if (!*transfer.isHashing || !*transfer.hashStartedAt || *transfer.byteCount < 1)
        return {};
    const double elapsed = secondsBetween(**transfer.hashStartedAt, now);
    const auto hashed = *transfer.hashedBytes;
    if (elapsed <= 8.0 || hashed <= *transfer.byteCount / 50)
        return {};
    return static_cast<double>(*transfer.byteCount - hashed) / (static_cast<double>(hashed) / elapsed);
}
