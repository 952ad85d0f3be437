#include "accounts/AddKeyModel.h"

#include "B2Kit/wire/B2Text.h"
#include "foundation/Texts.h"

#include <QPointer>

namespace {

Task<> addTo(KeyStore& store, AfterAdding after, std::string label, std::string keyID, Secret applicationKey)
{
    if (after == AfterAdding::switchToNewKey)
        co_await store.add(std::move(label), std::move(keyID), std::move(applicationKey));
    else
        co_await store.addWithoutSwitching(std::move(label), std::move(keyID), std::move(applicationKey));
}

Task<> check(QPointer<AddKeyModel> model, Task<> adding, std::string keyID, bool isKnown)
{
    std::optional<std::string> error;
    try {
        co_await std::move(adding);
    } catch (const Cancelled&) {
        throw;
    } catch (...) {
        error = addKeyMessage(std::current_exception(), isKnown);
    }
    if (!model)
        co_return;
    model->isValidating = false;
    if (error)
        model->error = std::move(error);
    else
        model->addedKeyID = std::move(keyID);
}

} // namespace

AddKeyModel::AddKeyModel(KeyStore& store, std::optional<KnownKey> known, AfterAdding after)
    : store_(store)
    , known_(std::move(known))
    , after_(after)
{
    connect(&store.keychain(), &Observable::changed, this, [this] { markChanged(); });
}

std::optional<std::string> AddKeyModel::refusal(std::string_view keyID, bool hasApplicationKey) const
{
    if (*isValidating)
        return "The key is being checked.";
    const bool hasKeyID = !trimmed(keyID).empty();
    if (hasKeyID && hasApplicationKey)
        return std::nullopt;
    if (hasKeyID)
        return "Enter the applicationKey.";
    return hasApplicationKey ? "Enter the keyID." : "Enter the keyID and the applicationKey.";
}

std::string AddKeyModel::verb() const
{
    return *isValidating ? "Checking…" : "Add Key";
}

std::string AddKeyModel::progressText() const
{
    return *store_.keychain().isWaitingForUnlock ? "Waiting for the keyring to unlock…"
                                                 : "Checking the key with Backblaze…";
}

std::optional<std::string> AddKeyModel::storeNote() const
{
    const auto& keychain = store_.keychain();
    return *keychain.useLegacyStore ? std::optional(legacyStoreNote(*keychain.hasPassphrase)) : std::nullopt;
}

void AddKeyModel::submit(std::string label, std::string keyID, Secret applicationKey)
{
    if (refusal(keyID, !applicationKey.trimmed().empty()))
        return;
    isValidating = true;
    error = std::nullopt;
    store_.keychain().askAgain();
    auto id = trimmed(keyID);
    tasks_.start(check(
        this, addTo(store_, after_, std::move(label), std::move(keyID), std::move(applicationKey)), id, !!known_));
}

void AddKeyModel::stopWaiting()
{
    store_.keychain().stopWaiting();
}
