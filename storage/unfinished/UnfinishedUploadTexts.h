#pragma once

#include "storage/unfinished/UnfinishedUploadsModel.h"

#include <chrono>
#include <string>
#include <vector>

/// The words of the unfinished uploads. Functions of values.

/// "10 MB · 2 parts stored · started 5 days ago".
std::string rowText(const UnfinishedUploadsModel::Item& item, std::chrono::system_clock::time_point now);

/// Help for `rowText`; may be empty.
std::string rowHelp(const UnfinishedUploadsModel::Item& item);

/// "10 MB stored across 2 unfinished uploads".
std::string footerText(const std::vector<UnfinishedUploadsModel::Item>& items);

/// The parts that a cancel deletes: "2 parts, 10 MB", or "the stored parts" when unknown.
std::string storedText(const UnfinishedUploadsModel::Item& item);

/// The question before an upload is cancelled.
struct CancelQuestion {
    std::string title;
    std::string text;

    bool operator==(const CancelQuestion&) const = default;
};

/// @param name  of the file, as it is shown.
CancelQuestion cancelQuestion(const UnfinishedUploadsModel::Item& item, const std::string& name);
