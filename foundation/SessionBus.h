#pragma once

/// Is there a session bus to connect to? Starts none and never waits.
///
/// To be asked before the first connection: without a bus, the D-Bus library would try to start one, and wait for it.
bool hasSessionBus();
