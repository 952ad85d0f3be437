#pragma once

#include "B2Kit/B2Client.h"
#include "async/Task.h"

#include <memory>

/// A client of the service that the environment names: `BENCH_URL`, `BENCH_KEY_ID`, `BENCH_KEY` and, for TLS,
/// `BENCH_CA`, the certificate to trust.
std::shared_ptr<B2Client> makeBenchClient();

/// Runs the task on an executor of its own and blocks until its end.
///
/// @returns the program's exit code; a failure is printed to stderr.
int runToEnd(Task<> task);

/// The memory that the process holds now, and the most it ever held, in kilobytes.
struct ProcessMemory {
    long residentKilobytes = 0;
    long peakKilobytes = 0;
};

ProcessMemory processMemory();
