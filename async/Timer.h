#pragma once

#include "async/Task.h"

#include <chrono>

/// Waits on the monotonic clock; a stop request ends the wait at once with `Cancelled`.
Task<> sleepFor(std::chrono::nanoseconds duration);
