#pragma once

#include "foundation/runs/Question.h"
#include "transfers/Transfer.h"

#include <memory>
#include <optional>
#include <vector>

/// The question before the program quits; nothing when no transfer is in progress.
std::optional<Question> quitQuestion(const std::vector<std::shared_ptr<Transfer>>& activeTransfers);
