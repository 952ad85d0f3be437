#pragma once

#include "transfers/Transfer.h"

#include <optional>

/// Progress and estimates of a transfer. Functions of its fields; the caller passes the time.

/// Is a checksum pass running that may be skipped? The one that proves a changed source to have the same content may
/// not.
bool canSkipChecksum(const Transfer& transfer);

/// Returns 0 to 1, or nothing while it is unknown.
std::optional<double> fractionDone(const Transfer& transfer);

/// Returns the bytes per second of the current attempt; nothing in its first second, or before a byte has moved.
std::optional<double> bytesPerSecond(const Transfer& transfer, Transfer::Clock::time_point now);

/// Returns nothing for the first 10 seconds, the first 10 MB and the last minute, where estimates are unstable.
std::optional<double> secondsLeft(const Transfer& transfer, Transfer::Clock::time_point now);

/// Returns the record whose whole-file checksum pass runs: the transfer itself or the folder's current file, or null.
const Transfer* hashingFile(const Transfer& transfer);

/// Estimates the whole-file checksum pass; nothing for 8 seconds and the first fiftieth.
std::optional<double> checksumSecondsLeft(const Transfer& transfer, Transfer::Clock::time_point now);
