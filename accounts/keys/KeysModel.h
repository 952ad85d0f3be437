#pragma once

#include "B2Kit/B2Key.h"
#include "B2Kit/B2Requests.h"
#include "accounts/SessionModel.h"
#include "foundation/TaskScope.h"
#include "foundation/log/ActivityLog.h"
#include "foundation/runs/ItemRun.h"

#include <QPointer>

#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

/// The application keys of the account at the service, as opposed to those the program stores (`StoredKeys`).
///
/// Lives on the main thread. A load that fails or is cancelled leaves the list as it was. No call throws what the
/// service refused: it is in `error` and in the log, or in the summary of the run.
class KeysModel final : public SessionModel {
public:
    explicit KeysModel(ActivityLog& log);

    /// In the order of the service, by id.
    Observed<std::vector<B2ApplicationKey>> keys{this};
    Observed<bool> isLoading{this, false};
    Observed<bool> hasLoaded{this, false};          ///< The list was read completely for this session.
    Observed<bool> hasLoadFailed{this, false};      ///< `error` is about reading the list.
    Observed<bool> isWorking{this, false};          ///< A key is being created.
    Observed<std::set<std::string>> inFlight{this}; ///< Ids of the keys being deleted.
    /// Why the last call failed, as a sentence to show.
    Observed<std::optional<std::string>> error{this};
    /// The key just made, with its secret, until `forgetCreated`. Outlives a change of the session.
    Observed<std::optional<B2CreatedApplicationKey>> created{this};
    /// A sentence when `created` may not be the only key made; cleared with it.
    Observed<std::optional<std::string>> twinNote{this};

    /// Called after keys were created or deleted, so that others list them again too.
    std::function<void()> didChange;
    /// Called after the list was read completely with the session.
    std::function<void()> didLoad;
    /// Receives a sentence when a key could not be created or deleted with a session that was replaced in the
    /// meantime: it must not appear as the `error` of the present one.
    std::function<void(std::string sentence)> didFailInEarlierSession;

    /// Lists every key of the account (`b2_list_keys`), two calls per thousand keys. Does nothing with a key that
    /// lacks `listKeys`.
    Task<> load();

    /// Creates a key; on success it is in `created` and the list is read again. One at a time.
    ///
    /// @param askedFor  the session that the request was made for; no key is created with another.
    /// @returns whether the key was created.
    Task<bool> create(B2CreateKeyRequest request, std::weak_ptr<B2Session> askedFor);

    /// A run that deletes the keys one after another; those the service refuses stay. It leaves out the key of the
    /// session, and keys that are being deleted already. A key whose deletion was cancelled under way may be gone: the
    /// list is read again to find out.
    std::unique_ptr<ItemRun> makeDeletion(const std::vector<B2ApplicationKey>& doomed);

    /// Clears the last failure.
    void dismissError();

    /// Drops and wipes the secret of the key just made.
    void forgetCreated();

private:
    static Task<std::optional<std::string>> remove(
        QPointer<KeysModel> self, std::shared_ptr<B2Session> usedSession, B2ApplicationKey key);
    void deletionEnded(const ItemRun::Summary& summary, const std::shared_ptr<B2Session>& usedSession);
    void announceChange();
    /// Leaves the sentence where the session of the call is shown, if it still is.
    void fail(const std::shared_ptr<B2Session>& askedWith, std::string sentence);
    void clear() override;

    ActivityLog& log_;
    std::set<std::string> goneIDs_; ///< Deleted in this session.
    TaskScope tasks_;
};
