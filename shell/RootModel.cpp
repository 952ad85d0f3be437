#include "shell/RootModel.h"

#include "buckets/BucketReach.h"
#include "foundation/QtText.h"
#include "foundation/settings/SettingsKeys.h"

#include <QCoreApplication>
#include <QPointer>
#include <QSysInfo>

#include <algorithm>
#include <chrono>
#include <functional>
#include <utility>

namespace {

/// A shorter wait for the keyring needs no sentence.
constexpr std::chrono::milliseconds patience(200);

} // namespace

RootModel::RootModel(const RootParts& parts)
    : keyStore(parts.keychain, parts.clients, parts.settings, parts.log)
    , storedKeys(keyStore, parts.settings, notices)
    , keySwitcher(keyStore, parts.keychain, parts.settings)
    , keys(parts.log)
    , browser(parts.settings)
    , unfinishedUploads(parts.log)
    , unfinishedResumes(parts.queue, parts.settings, parts.log, notices)
    , selection(parts.settings, parts.context, buckets, browser)
    , settings_(parts.settings)
    , log_(parts.log)
    , context_(parts.context)
    , queue_(parts.queue)
    , openResumeStore_(parts.openResumeStore)
    , keychain_(parts.keychain)
    , reconnection_(keyStore)
    , expiry_(keyStore)
{
    followers_ = {&buckets, &keys, &unfinishedUploads};
    for (Observable* model :
        std::initializer_list<Observable*>{&notices, &keyStore, &storedKeys, &buckets, &keychain_, &selection})
        connect(model, &Observable::changed, this, [this] { markChanged(); });
    connect(&keychain_, &Observable::changed, this, &RootModel::noteUnlocking);
    connect(&keyStore, &Observable::changed, this, [this] {
        noteUnlocking();
        noteSwitch();
    });
    connect(&buckets, &Observable::changed, this, [this] {
        BucketNames names;
        for (const auto& bucket : *buckets.buckets)
            names.emplace(bucket.bucketID, bucket.bucketName);
        keySwitcher.setBucketNames(std::move(names));
    });
    connect(&expiry_, &Observable::changed, this, [this] {
        keySwitcher.markChanged();
        noteExpiry();
    });
    connect(&settings_, &Settings::writeFailed, this, [this](const QString& sentence) {
        noteSettings("settings.write", "Could not save the settings", fromQString(sentence));
    });
}

void RootModel::start()
{
    tasks_.start(launch());
    QTimer::singleShot(patience, this, [this] {
        isStartSlow_ = true;
        markChanged();
    });
}

Task<> RootModel::launch()
{
    co_await keychain_.probeOnce();
    if (openResumeStore_)
        unfinishedResumes.open(co_await openResumeStore_());
    co_await keyStore.reload();
    keyStore.isStarted = true;
    tasks_.start(log_.loadPersisted());
    const QString version = QCoreApplication::applicationVersion();
    log_.record({B2LogLevel::info, "app",
        "Kestrovan " + (version.isEmpty() ? "?" : fromQString(version) + " (" + fromQString(version) + ")")
            + " starting",
        fromQString(QSysInfo::prettyProductName() + QStringLiteral(", Linux ") + QSysInfo::kernelVersion())});
    if (const auto& notice = settings_.loadNotice())
        noteSettings("settings.load", "Could not use the stored settings", *notice);
    wire();
    publishKeyMenu();
    co_await storedKeys.connectLastUsed();
}

void RootModel::wire()
{
    browser.cache = std::make_shared<ListingCache>();
    browser.onBucketGone = [this](std::string bucketID) { return dropBucket(std::move(bucketID)); };
    unfinishedUploads.inFlightFileIDs = [this] { return queue_.inFlightFileIDs(); };
    unfinishedUploads.onBucketGone = [this](std::string bucketID) { return dropBucket(std::move(bucketID)); };
    unfinishedUploads.didCancel = [this](const std::string& bucketID, const std::string& fileID) {
        unfinishedResumes.forget(fileID);
        writes.note(bucketID);
    };
    connect(&queue_, &TransferQueue::uploadEnded, this, [this](const std::shared_ptr<Transfer>& transfer, bool) {
        // Even a failed or cancelled upload may have stored something.
        if (const auto& bucket = *transfer->bucket)
            writes.note(bucket->bucketID);
    });
    connect(&writes, &BucketWrites::written, this,
        [this](const std::string& bucketID) { (*browser.cache)->invalidate(bucketID); });
    connect(&writes, &BucketWrites::settled, &browser, &BrowserModel::afterWrite);
    context_.selectKey = [this](std::string keyID) { return selectByKeyID(std::move(keyID)); };
    connect(&context_, &Observable::changed, this, [this, seen = *context_.keysChangedTick]() mutable {
        if (std::exchange(seen, *context_.keysChangedTick) == *context_.keysChangedTick)
            return;
        storedKeys.reload();
    });
    connect(&keyStore, &KeyStore::sessionReplaced, this, &RootModel::followSession);
    connect(&storedKeys, &Observable::changed, this, &RootModel::publishKeyMenu);
    // A key that was deleted at the service counts as revoked among the stored ones too.
    keys.didChange = [this] { tasks_.start(keyStore.loadLiveKeyNames()); };
    keys.didFailInEarlierSession = [this](std::string sentence) {
        notices.post({.id = "keys.earlierSession", .kind = Notice::Kind::failure, .text = std::move(sentence)});
    };
    keys.didLoad = [this] { keyStore.useKeyListing(*keys.session, *keys.keys); };
}

void RootModel::noteSettings(std::string id, std::string message, std::string sentence)
{
    log_.record({B2LogLevel::warning, "app", std::move(message), sentence});
    notices.post({.id = std::move(id), .kind = Notice::Kind::warning, .text = std::move(sentence)});
}

// A connection or a key just added replaces the session, and the removal of its key ends it. A failed switch does not.
void RootModel::followSession()
{
    const auto session = *keyStore.session;
    // Rows listed with another key, perhaps of another account, must not appear under the new one.
    std::erase_if(followers_, [](const QPointer<SessionModel>& model) { return !model; });
    for (const auto& model : followers_)
        model->reset(session);
    // It opens a bucket only once the new session has listed it.
    browser.close();
    if (session)
        tasks_.start(loadBuckets(session));
}

void RootModel::follow(SessionModel& model)
{
    followers_.emplace_back(&model);
    model.reset(*keyStore.session);
}

Task<> RootModel::loadBuckets(std::shared_ptr<B2Session> session)
{
    co_await buckets.reload();
    // If two switches overlap, the last to connect wins.
    if (*keyStore.session != session)
        co_return;
    selection.restore();
    selection.show();
    unfinishedResumes.announceInterrupted(*buckets.buckets);
}

Task<> RootModel::selectByKeyID(std::string keyID)
{
    const auto key = std::ranges::find(*keyStore.keys, keyID, &StoredKey::keyID);
    if (key != keyStore.keys->end())
        co_await keyStore.connect(*key);
}

Task<> RootModel::dropBucket(std::string bucketID)
{
    const B2Bucket* const gone = buckets.bucket(bucketID);
    const std::string name = gone ? gone->bucketName : bucketID;
    log_.record({B2LogLevel::notice, "bucket", name + " no longer exists at Backblaze; removed from the list", {}});
    notices.post({.id = "bucketGone." + bucketID,
        .text = "“" + name + "” no longer exists at Backblaze. It was removed from the list."});
    selection.forget(bucketID);
    buckets.drop(bucketID);
    co_await buckets.reload();
}

void RootModel::switchTo(std::string keyID)
{
    tasks_.start(selectByKeyID(std::move(keyID)));
}

void RootModel::tryAgain()
{
    if (*keyStore.isConnecting)
        return;
    if (const auto key = *keyStore.lastAttempted)
        tasks_.start(keyStore.connect(*key));
}

void RootModel::reloadBuckets()
{
    auto reload = [](RootModel* self) -> Task<> {
        co_await self->buckets.reload();
        self->selection.restore();
        self->selection.show();
    };
    tasks_.start(reload(this));
}

DetailState RootModel::detailState() const
{
    DetailInputs inputs;
    inputs.isStarted = *keyStore.isStarted;
    inputs.isStartSlow = isStartSlow_ && !*keychain_.useLegacyStore;
    inputs.isConnecting = *keyStore.isConnecting;
    inputs.hasSession = *keyStore.session != nullptr;
    inputs.isLoadingBuckets = *buckets.isLoading || !*buckets.isAnswered || *buckets.session != *keyStore.session;
    inputs.bucketCount = buckets.buckets->size();
    inputs.keyCount = keyStore.keys->size();
    inputs.isWaitingForUnlock = *keychain_.isWaitingForUnlock;
    inputs.needsPassphrase = *keychain_.needsPassphrase;
    inputs.storeFailure = *keyStore.storeFailure;
    inputs.failure = *keyStore.connectionFailure;
    inputs.attemptedLabel = *keyStore.lastAttempted ? (*keyStore.lastAttempted)->label : std::string();
    if (const auto session = *keyStore.session) {
        inputs.bucketsRefusal = bucketListRefusal(session->authorization);
        inputs.noBucketsText = emptyBucketListText(session->authorization);
    }
    inputs.bucketsError = *buckets.error;
    inputs.selection = *selection.item;
    inputs.isSelectionListed = selection.isListed();
    return decideDetail(inputs);
}

void RootModel::publishKeyMenu()
{
    context_.keyMenu = storedKeys.menu();
    context_.currentKeyID = storedKeys.currentKeyID();
}

Task<> RootModel::shutDown()
{
    tasks_.cancelAll();
    co_await storedKeys.shutDown();
    co_await reconnection_.shutDown();
    co_await tasks_.drain();
}
