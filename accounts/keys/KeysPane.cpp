#include "accounts/keys/KeysPane.h"

#include "accounts/keys/KeysModel.h"

KeysPane::KeysPane(const KeysModel& model, const std::shared_ptr<B2Session>& session)
{
    if (!session) {
        kind = Kind::notice;
        text = "Connect with a key to manage the account's keys.";
        newRefusal = deleteRefusal = refreshRefusal = text;
        return;
    }
    const bool canList = session->may(B2Capabilities::listKeys);
    if (!session->may(B2Capabilities::writeKeys))
        newRefusal = "This key cannot create keys: it lacks writeKeys";
    else if (*model.isWorking)
        newRefusal = "A key is being created";
    if (!session->may(B2Capabilities::deleteKeys))
        deleteRefusal = "This key cannot delete keys: it lacks deleteKeys";
    if (!canList)
        refreshRefusal = "This key cannot list keys: it lacks listKeys";

    // Ignores rows and errors of an earlier session.
    if (*model.session != session)
        return;
    const std::string label = session->key->label;
    if (!canList) {
        kind = Kind::notice;
        isRefused = true;
        if (session->may(B2Capabilities::writeKeys)) {
            title = "Existing Keys Are Hidden";
            text = "“" + label
                + "” can create keys but not list them, so the account's existing keys cannot be shown. New Key still "
                  "works.";
        } else {
            title = "This Key Cannot Manage Keys";
            text = "“" + label
                + "” does not have the listKeys permission, and key management needs it.\n\nKey permissions are rarely "
                  "granted to an everyday key - which is the point of them. Connect with your Master Application Key, "
                  "or with one created with listKeys, writeKeys and deleteKeys.";
        }
        banner = *model.error;
        return;
    }
    if (!model.keys->empty()) {
        kind = Kind::table;
        banner = *model.error;
        return;
    }
    if (*model.hasLoaded) {
        kind = Kind::notice;
        title = "No Application Keys";
        text = "Only the Master Application Key exists on this account.";
        banner = *model.error;
        return;
    }
    if (*model.hasLoadFailed && *model.error && !*model.isLoading) {
        kind = Kind::notice;
        isFailure = true;
        title = "Couldn't List the Keys";
        text = **model.error;
    }
}
