#include "shell/DetailState.h"

namespace {

DetailState notice(std::string title, std::string text, DetailState::Action action = DetailState::Action::none)
{
    DetailState state{.kind = DetailState::Kind::notice, .action = action};
    state.notice.title = std::move(title);
    state.notice.text = std::move(text);
    return state;
}

/// Returns why the stored keys cannot be used; nothing if they can.
std::optional<DetailState> withoutStore(const DetailInputs& inputs)
{
    using Action = DetailState::Action;
    if (inputs.isWaitingForUnlock)
        return notice("Waiting for the keyring to unlock",
            "Your keys are in the desktop's keyring. Answer its question to go on, or cancel and try again later.",
            Action::stopWaiting);
    if (inputs.needsPassphrase)
        return notice("Your Keys Are Locked",
            "The file that keeps your keys on this computer is closed by a passphrase. Enter it to connect.",
            Action::unlock);
    if (inputs.storeFailure && inputs.keyCount == 0) {
        auto state = notice(
            "Your Keys Could Not Be Read", *inputs.storeFailure + "\nNothing has been removed.", Action::readKeys);
        state.notice.offersAddKey = true;
        return state;
    }
    return std::nullopt;
}

DetailState withSession(const DetailInputs& inputs)
{
    if (inputs.selection && (inputs.selection->surface || inputs.isSelectionListed))
        return {.kind = DetailState::Kind::pane, .item = *inputs.selection};
    if (inputs.bucketsRefusal) {
        auto state = notice("Buckets Cannot Be Listed", *inputs.bucketsRefusal);
        state.notice.offersAddKey = true;
        return state;
    }
    if (inputs.bucketsError && inputs.bucketCount == 0) {
        return notice("Couldn't List the Buckets", *inputs.bucketsError, DetailState::Action::readBuckets);
    }
    if (inputs.isLoadingBuckets && inputs.bucketCount == 0)
        return {.kind = DetailState::Kind::connecting};
    if (inputs.bucketCount == 0)
        return notice("No Buckets", inputs.noBucketsText);
    return notice("Select a Bucket", "Choose a bucket from the sidebar to browse it.");
}

} // namespace

std::string_view verbOf(DetailState::Action action)
{
    switch (action) {
    case DetailState::Action::none:
        return {};
    case DetailState::Action::connectAgain:
    case DetailState::Action::readBuckets:
    case DetailState::Action::readKeys:
        return "Try Again";
    case DetailState::Action::stopWaiting:
        return "Cancel";
    case DetailState::Action::unlock:
        return "Unlock…";
    }
    return {};
}

DetailState decideDetail(const DetailInputs& inputs)
{
    // A failed switch keeps the previous session, and the panes continue with it.
    if (!inputs.hasSession) {
        if (auto state = withoutStore(inputs))
            return *state;
    }
    if (!inputs.isStarted)
        return inputs.isStartSlow ? notice("Waiting for the keyring…", "It has not answered yet.") : DetailState();
    if (inputs.keyCount == 0)
        return {.kind = DetailState::Kind::welcome};
    if (inputs.hasSession)
        return withSession(inputs);
    if (inputs.failure) {
        DetailState state{.kind = DetailState::Kind::notice};
        state.notice = noticeFor(*inputs.failure, inputs.attemptedLabel, inputs.keyCount);
        if (state.notice.offersTryAgain && !inputs.attemptedLabel.empty())
            state.action = DetailState::Action::connectAgain;
        return state;
    }
    if (inputs.isConnecting)
        return {.kind = DetailState::Kind::connecting};
    return notice("Not Connected", "Choose a key at the top of the sidebar.");
}
