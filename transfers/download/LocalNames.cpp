#include "transfers/download/LocalNames.h"

#include <utility>

namespace {

/// Stem and extension with its dot; a dot at the start or at the end begins no extension.
std::pair<std::string_view, std::string_view> splitExtension(std::string_view name)
{
    const auto dot = name.rfind('.');
    if (dot == std::string_view::npos || dot == 0 || dot + 1 == name.size())
        return {name, {}};
    return {name.substr(0, dot), name.substr(dot)};
}

/// At most `limit` bytes, not cut inside a character.
std::string_view head(std::string_view text, std::size_t limit)
{
    if (text.size() <= limit)
        return text;
    const auto continues = [&](std::size_t index) { return (static_cast<unsigned char>(text[index]) & 0xC0) == 0x80; };
    while (limit > 0 && continues(limit))
        --limit;
    return text.substr(0, limit);
}

/// Shortens only the stem, so that extension and number stay.
std::string joined(std::string_view name, std::string_view number, std::size_t limit)
{
    auto [stem, extension] = splitExtension(name);
    if (extension.size() + number.size() >= limit)
        extension = {};
    if (extension.empty())
        stem = name;
    return std::string(head(stem, limit - extension.size() - number.size())).append(number).append(extension);
}

} // namespace

std::optional<std::string> localName(std::string_view remoteName)
{
    const auto slash = remoteName.rfind('/');
    const auto name = slash == std::string_view::npos ? remoteName : remoteName.substr(slash + 1);
    if (name.empty() || name == "." || name == ".." || name.find('\0') != std::string_view::npos)
        return {};
    return std::string(name);
}

std::optional<std::string> guardedName(std::string_view relativeName)
{
    auto rest = relativeName;
    while (true) {
        const auto slash = rest.find('/');
        // An empty component is at the start, at the end or between two "/".
        if (!localName(rest.substr(0, slash)))
            return {};
        if (slash == std::string_view::npos)
            return std::string(relativeName);
        rest.remove_prefix(slash + 1);
    }
}

std::string shortenedName(std::string_view name, std::size_t limit)
{
    return name.size() <= limit ? std::string(name) : joined(name, {}, limit);
}

std::string numberedName(
    std::string_view name, std::size_t limit, const std::function<bool(const std::string&)>& isTaken)
{
    for (int number = 2; number < 1000; ++number) {
        auto candidate = joined(name, " " + std::to_string(number), limit);
        if (!isTaken(candidate))
            return candidate;
    }
    return std::string(name);
}
