#pragma once

#include "shell/window/Surfaces.h"

/// The pane of the account's application keys, wired to the sheets about stored keys.
Pane* makeKeysPane(const PaneParts& parts);
