#pragma once

/// Keeps secrets in memory from core files and from other processes of the same user, which can then neither read
/// nor trace this one. Called once, first thing in `main`; not under sanitizers, whose leak check needs to trace.
///
/// @returns false when the system refused a step.
bool hardenProcess();
