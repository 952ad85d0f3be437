#include "foundation/TableSort.h"

#include <algorithm>
#include <optional>
#include <utility>

namespace {

std::optional<SortOrder> decodePart(std::string_view part, std::span<const std::string> knownKeys)
{
    const auto colon = part.find(':');
    if (colon == std::string_view::npos || part.find(':', colon + 1) != std::string_view::npos)
        return std::nullopt;
    const auto key = part.substr(0, colon);
    if (std::ranges::find(knownKeys, key) == knownKeys.end())
        return std::nullopt;
    return SortOrder{std::string(key), part.substr(colon + 1) != "desc"};
}

} // namespace

std::string encodeSort(std::span<const SortOrder> order)
{
    std::string text;
    for (const auto& [key, ascending] : order) {
        if (!text.empty())
            text += ',';
        text += key + (ascending ? ":asc" : ":desc");
    }
    return text;
}

std::vector<SortOrder> decodeSort(
    std::string_view text, std::span<const std::string> knownKeys, std::vector<SortOrder> defaultOrder)
{
    std::vector<SortOrder> order;
    while (!text.empty()) {
        const auto comma = std::min(text.find(','), text.size());
        if (auto part = decodePart(text.substr(0, comma), knownKeys))
            order.push_back(std::move(*part));
        text.remove_prefix(std::min(comma + 1, text.size()));
    }
    return order.empty() ? std::move(defaultOrder) : order;
}
