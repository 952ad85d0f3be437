#include "browser/DroppedItems.h"

#include "browser/RowTexts.h"
#include "foundation/Texts.h"

#include <system_error>
#include <utility>

namespace {

/// 'the folder "a"' or "3 folders".
std::string named(const std::vector<std::string>& names, const std::string& singular, const std::string& plural)
{
    if (names.size() == 1)
        return "the " + singular + " \"" + shownText(names.front()) + "\"";
    return countText(static_cast<std::int64_t>(names.size()), singular, plural);
}

} // namespace

DroppedItems sortDropped(const std::vector<std::filesystem::path>& paths, std::vector<std::string> elsewhere)
{
    DroppedItems items{.others = std::move(elsewhere)};
    for (const auto& path : paths) {
        std::error_code failure;
        const auto status = std::filesystem::status(path, failure);
        const auto trimmed = path.has_filename() ? path : path.parent_path();
        if (std::filesystem::is_directory(status))
            items.folders.push_back(trimmed.filename().string());
        else if (std::filesystem::exists(status) && !std::filesystem::is_regular_file(status))
            items.others.push_back(trimmed.filename().string());
        else
            items.files.push_back(path); // What cannot be read is told by its transfer.
    }
    return items;
}

std::optional<std::string> leftOutText(const DroppedItems& items)
{
    if (items.folders.empty() && items.others.empty())
        return std::nullopt;
    std::string text = "Couldn't upload ";
    if (!items.folders.empty())
        text += named(items.folders, "folder", "folders");
    if (!items.folders.empty() && !items.others.empty())
        text += " and ";
    if (!items.others.empty())
        text += named(items.others, "item", "items");
    text += items.others.empty() ? ": folders can't be uploaded yet."
        : items.folders.empty()  ? ": only files on this computer can be uploaded."
                                 : ": only files on this computer can be uploaded, and no folders yet.";
    if (!items.files.empty()) {
        text += items.files.size() == 1
            ? " The file dropped with it is uploaded."
            : " The " + countText(static_cast<std::int64_t>(items.files.size()), "file", "files")
                + " dropped with it are uploaded.";
    }
    return text;
}
