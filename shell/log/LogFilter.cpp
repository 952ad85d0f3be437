#include "shell/log/LogFilter.h"

#include "foundation/QtText.h"

bool LogFilter::shows(const LogEntry& entry) const
{
    if (entry.level < minimumLevel)
        return false;
    if (searchText.isEmpty())
        return true;
    const auto holds = [this](const std::string& text) {
        return toQString(text).toLower().contains(searchText.toLower());
    };
    return holds(entry.message) || holds(entry.category) || (entry.detail && holds(*entry.detail));
}
