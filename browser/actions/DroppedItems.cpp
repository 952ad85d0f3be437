#include "browser/actions/DroppedItems.h"

#include "browser/RowTexts.h"
#include "foundation/Texts.h"

#include <system_error>
#include <utility>

DroppedItems sortDropped(const std::vector<std::filesystem::path>& paths, std::vector<std::string> elsewhere)
{
    DroppedItems items{.others = std::move(elsewhere)};
    for (const auto& path : paths) {
        std::error_code failure;
        const auto status = std::filesystem::status(path, failure);
        // The path of a folder may end in "/".
        const auto trimmed = path.has_filename() ? path : path.parent_path();
        const bool isNeither = std::filesystem::exists(status) && !std::filesystem::is_regular_file(status)
            && !std::filesystem::is_directory(status);
        if (isNeither)
            items.others.push_back(trimmed.filename().string());
        else
            items.toUpload.push_back(trimmed); // The transfer reports an unreadable file.
    }
    return items;
}

std::optional<std::string> leftOutText(const DroppedItems& items)
{
    if (items.others.empty())
        return std::nullopt;
    std::string text = "Couldn't upload ";
    if (items.others.size() == 1)
        text += "\"" + shownText(items.others.front()) + "\"";
    else
        text += countText(static_cast<std::int64_t>(items.others.size()), "item", "items");
    text += ": only files and folders on this computer can be uploaded.";
    if (!items.toUpload.empty()) {
        text += items.toUpload.size() == 1
            ? " What was dropped with it is uploaded."
            : " The " + countText(static_cast<std::int64_t>(items.toUpload.size()), "item", "items")
                + " dropped with it are uploaded.";
    }
    return text;
}
