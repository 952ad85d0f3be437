#include "browser/actions/BrowserActions.h"

#include "accounts/ExpiryNotice.h"
#include "browser/RowTexts.h"

#include <algorithm>
#include <chrono>

namespace {

std::optional<std::string> lacks(const B2Authorization& key, const B2Capability& capability, const std::string& what)
{
    if (key.storage.allowed.capabilities.contains(capability))
        return std::nullopt;
    return "This key cannot " + what + ": it lacks " + capability.rawValue + ".";
}

} // namespace

std::optional<std::string> listRefusal(const B2Authorization& key)
{
    return lacks(key, B2Capabilities::listFiles, "list files");
}

std::optional<std::string> uploadRefusal(const B2Authorization& key)
{
    if (auto ended = endedKeyText(key, std::chrono::system_clock::now()))
        return ended;
    return lacks(key, B2Capabilities::writeFiles, "upload files");
}

std::optional<std::string> downloadRefusal(const B2Authorization& key, const std::vector<const BrowserRow*>& rows)
{
    if (auto ended = endedKeyText(key, std::chrono::system_clock::now()))
        return ended;
    if (auto refusal = lacks(key, B2Capabilities::readFiles, "download files"))
        return refusal;
    if (rows.empty())
        return "Select files or folders to download";
    const auto holds = [&](RowKind kind) {
        return std::ranges::any_of(rows, [&](const BrowserRow* row) { return row->kind == kind; });
    };
    if (holds(RowKind::folder)) {
        if (auto refusal = lacks(key, B2Capabilities::listFiles, "download folders"))
            return refusal;
    }
    if (holds(RowKind::hidden))
        return "A hide marker has no content to download. Select files and folders only.";
    if (holds(RowKind::unfinished))
        return "An unfinished upload can't be downloaded. Select files and folders only.";
    return std::nullopt;
}

std::optional<std::string> prefixRefusal(const B2Authorization& key, const std::string& prefix)
{
    const auto& allowed = key.storage.allowed.namePrefix;
    if (!allowed || prefix.starts_with(*allowed))
        return std::nullopt;
    return "Couldn't open \"" + shownText(prefix) + "\". This key reaches only names that begin with \""
        + shownText(*allowed) + "\".";
}
