// The part of the root that says, above the panes, what the user should know.

#include "shell/RootModel.h"

std::optional<std::string> RootModel::switchFailure() const
{
    const auto& failure = *keyStore.connectionFailure;
    if (!*keyStore.session || !failure || !*keyStore.lastAttempted)
        return std::nullopt;
    return "Couldn't switch to “" + (*keyStore.lastAttempted)->label + "”. " + failure->message
        + " Still connected with “" + (*keyStore.session)->key->label + "”.";
}

// The old session goes on after a failed switch; without one the detail area says what is wrong.
void RootModel::noteConnection()
{
    noteKeychain();
    const auto failure = switchFailure();
    if (!failure) {
        notices.dismiss("switch");
        return;
    }
    Notice notice{.id = "switch", .kind = Notice::Kind::failure, .text = *failure};
    if ((*keyStore.connectionFailure)->canTryAgain()) {
        notice.actionTitle = "Try Again";
        notice.action = [this] { tryAgain(); };
    }
    notice.closed = [this] { keyStore.connectionFailure = std::nullopt; };
    notices.post(std::move(notice));
}

void RootModel::noteKeychain()
{
    if (*keyStore.session && *keychain_.isWaitingForUnlock)
        notices.post({.id = "keyring",
            .kind = Notice::Kind::warning,
            .text = "Waiting for the keyring to unlock. Answer the desktop's question to go on.",
            .actionTitle = "Cancel",
            .action = [this] { stopWaiting(); }});
    else
        notices.dismiss("keyring");
    // Told once: closing it does not bring it back.
    if (std::exchange(keychainRemark_, *keychain_.remark) == *keychain_.remark)
        return;
    if (const auto& remark = *keychain_.remark)
        notices.post({.id = "keychain", .kind = Notice::Kind::warning, .text = *remark});
    else
        notices.dismiss("keychain");
}

void RootModel::noteExpiry()
{
    if (const auto& text = *expiry_.notice)
        notices.post(
            {.id = "expiry", .kind = Notice::Kind::warning, .text = *text, .closed = [this] { expiry_.dismiss(); }});
    else
        notices.dismiss("expiry");
}
