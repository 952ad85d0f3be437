#include "browser/PrefixPath.h"

namespace {

std::string_view withoutTrailingSlash(std::string_view name)
{
    if (name.ends_with('/'))
        name.remove_suffix(1);
    return name;
}

} // namespace

std::string lastComponent(std::string_view name)
{
    const auto whole = withoutTrailingSlash(name);
    const auto slash = whole.rfind('/');
    const auto last = slash == std::string_view::npos ? whole : whole.substr(slash + 1);
    return last.empty() && !name.empty() ? "/" : std::string(last);
}

std::string parentPrefix(std::string_view prefix)
{
    const auto whole = withoutTrailingSlash(prefix);
    const auto slash = whole.rfind('/');
    return slash == std::string_view::npos ? std::string() : std::string(whole.substr(0, slash + 1));
}

std::vector<FolderStep> folderSteps(std::string_view prefix)
{
    std::vector<FolderStep> steps;
    std::size_t end = 0;
    while (end < prefix.size()) {
        const auto slash = prefix.find('/', end);
        end = slash == std::string_view::npos ? prefix.size() : slash + 1;
        steps.push_back({lastComponent(prefix.substr(0, end)), std::string(prefix.substr(0, end))});
    }
    return steps;
}

std::string folderTowards(std::string_view folder, std::string_view prefix)
{
    const auto slash = prefix.find('/', folder.size());
    return std::string(prefix.substr(0, slash == std::string_view::npos ? prefix.size() : slash + 1));
}

std::string typedPrefix(std::string_view typed)
{
    if (typed.starts_with('/'))
        typed.remove_prefix(1);
    std::string prefix(typed);
    if (!prefix.empty() && !prefix.ends_with('/'))
        prefix += '/';
    return prefix;
}
