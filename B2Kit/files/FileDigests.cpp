#include "B2Kit/files/FileDigests.h"

#include "async/Group.h"

#include <utility>

FileDigests::FileDigests(std::vector<B2PartStretch> parts, WorkerPool& pool)
    : parts_(std::move(parts))
    , aside_(pool)
{
    if (TwinSHA1::canHash(parts_))
        twin_.emplace(parts_);
}

Task<> FileDigests::update(FileDigests& digests, std::string_view bytes)
{
    if (digests.twin_) {
        digests.twin_->update(bytes);
        co_return;
    }
    const auto other = spawn(digests.aside_, updateAside(&digests, bytes));
    digests.whole_.update(bytes);
    co_await other.done.wait([] {});
}

Task<> FileDigests::updateAside(FileDigests* digests, std::string_view bytes)
{
    digests->updateParts(bytes);
    co_return;
}

void FileDigests::updateParts(std::string_view bytes)
{
    while (!bytes.empty()) {
        const auto end = parts_.at(finished_.size()).end;
        const auto piece = bytes.substr(0, static_cast<std::size_t>(end - position_));
        part_.update(piece);
        position_ += static_cast<std::int64_t>(piece.size());
        bytes.remove_prefix(piece.size());
        if (position_ == end)
            finished_.push_back(std::exchange(part_, B2SHA1()).finish());
    }
}

TwinSHA1::Digests FileDigests::finish()
{
    if (twin_)
        return twin_->finish();
    return {whole_.finish(), std::move(finished_)};
}
