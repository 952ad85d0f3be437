#include "shell/DetailState.h"

namespace {

DetailState notice(std::string title, std::string text)
{
    DetailState state{.kind = DetailState::Kind::notice};
    state.notice.title = std::move(title);
    state.notice.text = std::move(text);
    return state;
}

DetailState withSession(const DetailInputs& inputs)
{
    if (inputs.selection && inputs.selection->kind == SidebarItem::Kind::keys)
        return {.kind = DetailState::Kind::keys};
    if (inputs.selection && inputs.isSelectionListed)
        return {.kind = DetailState::Kind::browser};
    if (inputs.bucketsError && inputs.bucketCount == 0) {
        DetailState state = notice("Couldn't List the Buckets", *inputs.bucketsError);
        state.notice.offersTryAgain = true;
        state.isAboutBuckets = true;
        return state;
    }
    if (inputs.isLoadingBuckets && inputs.bucketCount == 0)
        return {.kind = DetailState::Kind::connecting};
    if (inputs.bucketCount == 0)
        return notice("No Buckets", "This key cannot see any buckets, or the account has none.");
    return notice("Select a Bucket", "Choose a bucket from the sidebar to browse it.");
}

} // namespace

DetailState decideDetail(const DetailInputs& inputs)
{
    if (!inputs.isStarted)
        return {};
    // A failed switch leaves the session that was there, and the panes go on with it.
    if (inputs.hasSession)
        return withSession(inputs);
    if (inputs.keyCount == 0)
        return notice("No Key", "Add a Backblaze B2 Application Key to get started.");
    if (inputs.failure) {
        DetailState state{.kind = DetailState::Kind::notice};
        state.notice = noticeFor(*inputs.failure, inputs.attemptedLabel, inputs.keyCount);
        state.notice.offersTryAgain = state.notice.offersTryAgain && !inputs.attemptedLabel.empty();
        return state;
    }
    if (inputs.isConnecting)
        return {.kind = DetailState::Kind::connecting};
    return notice("Not Connected", "Choose a key at the top of the sidebar.");
}
