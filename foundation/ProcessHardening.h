#pragma once

/// Protects the secrets in memory: no core files are written, and other processes of the same user can neither read
/// nor trace this one. Called once at the start of `main`; not under sanitizers, whose leak check needs to trace.
///
/// @returns false when the system refused a step.
bool hardenProcess();
