#include "shell/AppContext.h"

#include "foundation/QtText.h"
#include "foundation/settings/SettingsKeys.h"

namespace {

Task<> nothing()
{
    co_return;
}

} // namespace

AppContext::AppContext(Settings& settings)
    : selectKey([](const std::string&) { return nothing(); })
    , addKey(nothing)
    , settings_(settings)
    , showingTransfers_(this, settings.boolean(SettingsKeys::showTransfers).value_or(false))
{
    connect(&settings_, &Settings::changed, this, [this](const QString& key) {
        if (fromQString(key) == SettingsKeys::showTransfers)
            showingTransfers_ = settings_.boolean(SettingsKeys::showTransfers).value_or(false);
    });
}

void AppContext::request(AccountSurface surface)
{
    requested = surface;
    requestTick = *requestTick + 1;
}

void AppContext::setShowingTransfers(bool isShowing)
{
    showingTransfers_ = isShowing;
    settings_.set(SettingsKeys::showTransfers, isShowing);
}
