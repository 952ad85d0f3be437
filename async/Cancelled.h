#pragma once

#include <exception>

/// Thrown out of an awaited operation when its task was asked to stop.
/// An outcome, not a failure: it becomes no error text.
struct Cancelled : std::exception {
    const char* what() const noexcept override { return "cancelled"; }
};
