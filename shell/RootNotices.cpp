// The part of the root that says, above the panes, what the user should know.

#include "shell/RootModel.h"

// The earlier session goes on after a failed switch; without one the detail area says what is wrong.
void RootModel::noteSwitch()
{
    const auto failure = storedKeys.switchFailure();
    if (!failure) {
        notices.dismiss("switch");
        return;
    }
    Notice notice{.id = "switch", .kind = Notice::Kind::failure, .text = *failure};
    if ((*keyStore.connectionFailure)->canTryAgain()) {
        notice.actionTitle = "Try Again";
        notice.action = [this] { tryAgain(); };
    }
    notice.closed = [this] { storedKeys.dismissSwitchFailure(); };
    notices.post(std::move(notice));
}

void RootModel::noteUnlocking()
{
    const bool isWaiting = *keyStore.session && *keychain_.isWaitingForUnlock;
    if (!isWaiting)
        isUnlockNoticeClosed_ = false;
    if (isWaiting && !isUnlockNoticeClosed_)
        notices.post({.id = "keyring",
            .kind = Notice::Kind::warning,
            .text = "Waiting for the keyring to unlock. Answer the desktop's question to go on.",
            .actionTitle = "Cancel",
            .action = [this] { storedKeys.stopWaiting(); },
            .closed = [this] { isUnlockNoticeClosed_ = true; }});
    else if (!isWaiting)
        notices.dismiss("keyring");
}

void RootModel::noteExpiry()
{
    if (const auto& text = *expiry_.notice)
        notices.post(
            {.id = "expiry", .kind = Notice::Kind::warning, .text = *text, .closed = [this] { expiry_.dismiss(); }});
    else
        notices.dismiss("expiry");
}
