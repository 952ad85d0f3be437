#pragma once

#include "B2Kit/B2Key.h"
#include "B2Kit/B2Requests.h"
#include "accounts/B2Session.h"
#include "foundation/ItemRun.h"
#include "foundation/Observable.h"
#include "foundation/TaskScope.h"
#include "foundation/log/ActivityLog.h"

#include <QPointer>

#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

/// The application keys of the account at the service, as opposed to those the program stores.
///
/// Lives on the main thread. A load that fails or is cancelled leaves the list as it was; no answer for a session that
/// was replaced in the meantime reaches the list. No call throws what the service refused: it is in `error` and in the
/// log, or in the summary of the run.
class KeysModel final : public Observable {
public:
    explicit KeysModel(ActivityLog& log);

    /// In the order of the service, by id.
    Observed<std::vector<B2ApplicationKey>> keys{this};
    Observed<bool> isLoading{this, false};
    Observed<bool> hasLoaded{this, false};          ///< The list was read whole, once, for this session.
    Observed<bool> hasLoadFailed{this, false};      ///< `error` is about reading the list.
    Observed<bool> isWorking{this, false};          ///< A key is being created.
    Observed<std::set<std::string>> inFlight{this}; ///< Ids of the keys being deleted.
    /// Why the last call failed, as a sentence to show.
    Observed<std::optional<std::string>> error{this};
    /// The key just made, with its secret, until `forgetCreated`. Outlives a change of the session.
    Observed<std::optional<B2CreatedApplicationKey>> created{this};
    /// That `created` may not be the only key made, as a sentence; goes with it.
    Observed<std::optional<std::string>> twinNote{this};
    Observed<std::shared_ptr<B2Session>> session{this};

    /// Told after keys were created or deleted, so that others read them again too. Does nothing at first.
    std::function<void()> didChange;
    /// Told after the list was read whole with the session. Does nothing at first.
    std::function<void()> didLoad;

    /// Empties the list for another key, whose answers still under way count no more.
    void reset(std::shared_ptr<B2Session> newSession);

    /// Lists every key of the account (`b2_list_keys`), two calls a thousand keys. A key without `listKeys` asks
    /// nothing.
    Task<> load();

    /// Creates a key; on success it is in `created` and the list is read again. One at a time.
    ///
    /// @param askedFor  the session that the request was made for; none is made with another.
    /// @returns whether the key was created.
    Task<bool> create(B2CreateKeyRequest request, std::weak_ptr<B2Session> askedFor);

    /// A run that deletes the keys one after another; those the service refuses stay. It leaves out the key of the
    /// session, and keys that are being deleted already. A key whose deletion was cancelled under way may be gone: the
    /// list is read again to find out.
    std::unique_ptr<ItemRun> makeDeletion(const std::vector<B2ApplicationKey>& doomed);

    /// Takes the last failure as seen.
    void dismissError();

    /// Drops and wipes the secret of the key just made.
    void forgetCreated();

private:
    static Task<std::optional<std::string>> remove(
        QPointer<KeysModel> self, std::shared_ptr<B2Session> usedSession, B2ApplicationKey key);
    void deletionEnded(const ItemRun::Summary& summary, const std::shared_ptr<B2Session>& usedSession);
    void announceChange();

    ActivityLog& log_;
    std::set<std::string> goneIDs_; ///< Deleted in this session.
    int generation_ = 0;            ///< Rises with each load and reset: an older one's answer is dropped.
    TaskScope tasks_;
};
