#include "transfers/download/DownloadDestination.h"

#include "foundation/Paths.h"
#include "foundation/QtText.h"
#include "foundation/settings/Settings.h"
#include "foundation/settings/SettingsKeys.h"

DownloadDestination::DownloadDestination(Settings& settings)
    : settings_(settings)
{
    load();
    connect(&settings_, &Settings::changed, this, [this](const QString& key) {
        if (key == toQString(SettingsKeys::downloadDestination))
            load();
    });
}

DownloadFolder DownloadDestination::current() const
{
    return *folder ? DownloadFolder{**folder} : DownloadFolder{.path = downloadsDirectory(), .isDefault = true};
}

void DownloadDestination::choose(std::filesystem::path chosen)
{
    settings_.setBytes(SettingsKeys::downloadDestination, chosen.string());
}

void DownloadDestination::load()
{
    const auto stored = settings_.bytes(SettingsKeys::downloadDestination);
    const bool isUsable = stored && std::filesystem::path(*stored).is_absolute();
    folder = isUsable ? std::optional<std::filesystem::path>(*stored) : std::nullopt;
}
