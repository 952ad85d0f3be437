#pragma once

#include "transfers/Transfer.h"

#include <optional>

/// How far a transfer is and how long it will take. Functions of its fields; the caller brings the clock.

/// Runs a checksum pass that may be given up? Not the one that proves a source to be what an unfinished upload began
/// with.
bool canSkipChecksum(const Transfer& transfer);

/// 0 to 1, or nothing while it cannot be told.
std::optional<double> fractionDone(const Transfer& transfer);

/// Bytes a second of the current attempt; nothing in its first second, or when no byte has moved.
std::optional<double> bytesPerSecond(const Transfer& transfer, Transfer::Clock::time_point now);

/// Held back for the first 10 seconds, the first 10 MB and the last minute, where it would only jump about.
std::optional<double> secondsLeft(const Transfer& transfer, Transfer::Clock::time_point now);

/// The record whose whole-file checksum pass runs: the transfer itself or the folder's present file; null without one.
const Transfer* hashingFile(const Transfer& transfer);

/// Of the whole-file checksum pass; held back for 8 seconds and the first fiftieth.
std::optional<double> checksumSecondsLeft(const Transfer& transfer, Transfer::Clock::time_point now);
