#include "transfers/Transfer.h"

#include <string_view>

namespace {

std::string lastComponent(std::string_view name)
{
    const auto end = name.ends_with('/') ? name.size() - 1 : name.size();
    const auto slash = name.substr(0, end).rfind('/');
    return std::string(slash == std::string_view::npos ? name : name.substr(slash + 1));
}

} // namespace

Transfer::Transfer(Kind transferKind, std::string name, std::int64_t size)
    : id(QUuid::createUuid())
    , kind(transferKind)
    , remoteName(std::move(name))
    , displayName(lastComponent(remoteName))
    , byteCount(this, size)
{
}

void Transfer::beginAgain()
{
    ++attempt_;
    partsInTrouble = {};
    bytesTransferred = 0;
    bytesAtStart = 0;
    hashedBytes = 0;
    transferStartedAt = std::nullopt;
    hashStartedAt = std::nullopt;
    checksum = std::nullopt;
    partsCompleted = std::nullopt;
    partCount = std::nullopt;
    partsAtStart = std::nullopt;
    isHashing = false;
    filesCompleted = 0;
    filesFailed = 0;
    filesSkipped = 0;
    itemsLeftOut = 0;
    fileProblems = {};
    bytesFromFinishedFiles = 0;
    activeChild = nullptr;
    state = State::waiting();
}

void TransferRun::setState(Transfer::State state) const
{
    if (isCurrent())
        transfer->state = std::move(state);
}
