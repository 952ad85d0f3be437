#pragma once

#include "accounts/StoredKey.h"
#include "foundation/runs/ItemRun.h"

#include <memory>
#include <vector>

class KeyStore;

/// A run that forgets one stored key. Not cancelled half-way.
std::unique_ptr<ItemRun> makeKeyRemoval(KeyStore& store, const StoredKey& key);

/// A run that forgets the keys which the service refuses, one after another, and keeps the others with a reason.
/// Stopped while it asks about a key, it keeps that key.
std::unique_ptr<ItemRun> makeRevokedKeysRemoval(KeyStore& store, const std::vector<StoredKey>& keys);

/// The words of their results.
RunWords keyRemovalWords();
