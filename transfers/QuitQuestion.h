#pragma once

#include "transfers/Transfer.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

/// What to ask before the program quits.
struct QuitQuestion {
    std::string title;
    std::string text;
    std::string quitButton = "Quit Anyway";
    std::string stayButton = "Keep Working";

    bool operator==(const QuitQuestion&) const = default;
};

/// Nothing when no transfer is in progress: quitting then asks nothing.
std::optional<QuitQuestion> quitQuestion(const std::vector<std::shared_ptr<Transfer>>& activeTransfers);
