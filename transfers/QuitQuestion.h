#pragma once

#include "transfers/Transfer.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

/// The question before the program quits.
struct QuitQuestion {
    std::string title;
    std::string text;
    std::string quitButton = "Quit Anyway";
    std::string stayButton = "Keep Working";

    bool operator==(const QuitQuestion&) const = default;
};

/// Returns nothing when no transfer is in progress: quitting then needs no question.
std::optional<QuitQuestion> quitQuestion(const std::vector<std::shared_ptr<Transfer>>& activeTransfers);
