#pragma once

#include "localb2/Digests.h"
#include "localb2/Http.h"

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace localb2 {

class Bodies;
class Database;

/// Takes a body as it arrives: small ones stay in memory, longer ones go to a file. Hashes on the way.
///
/// A body that is not stored leaves no file.
class BodyWriter {
public:
    explicit BodyWriter(Bodies& bodies);
    ~BodyWriter();
    BodyWriter(const BodyWriter&) = delete;
    BodyWriter& operator=(const BodyWriter&) = delete;

    /// @throws Failure when the disk refuses.
    void add(std::span<const char> bytes);

    /// Ends the body and returns its hashes. Call once, before storing.
    const Digests::Hex& finish();

    std::int64_t length() const { return length_; }
    const Digests::Hex& hashes() const { return hashes_; }

private:
    friend class Bodies;
    void spill(std::span<const char> bytes);

    Bodies& bodies_;
    std::int64_t id_;
    std::int64_t length_ = 0;
    std::string small_;
    int file_ = -1;
    bool isStored_ = false;
    Digests digests_;
    Digests::Hex hashes_;
};

/// The contents of files, counted by how many versions and parts share each.
///
/// All but `BodyWriter` needs the owner's lock.
class Bodies {
public:
    /// Removes files of uploads that were cut off by a crash.
    Bodies(Database& database, std::filesystem::path directory, bool reckonsMD5);

    /// Records a finished body; part of the caller's transaction. The body has one user.
    std::int64_t store(BodyWriter& writer);
    std::int64_t store(std::string_view bytes);

    void addUser(std::int64_t body);
    /// A body without users is deleted once the transaction is committed.
    void removeUser(std::int64_t body);
    void committed();
    void rolledBack();

    /// Appends bytes [offset, offset + length) of the body.
    void appendSlice(std::vector<Slice>& slices, std::int64_t body, std::int64_t offset, std::int64_t length);

private:
    friend class BodyWriter;
    std::filesystem::path fileOf(std::int64_t id) const;

    Database& database_;
    std::filesystem::path directory_;
    bool reckonsMD5_;
    std::atomic<std::int64_t> lastID_ = 0;
    std::vector<std::int64_t> unused_;
};

/// Reads an answer's or a copy's slices in order.
///
/// @throws Disconnected when a file is no longer there.
class SliceReader final : public BodyReader {
public:
    explicit SliceReader(std::vector<Slice> slices);
    ~SliceReader() override;

    std::size_t read(std::span<char> buffer) override;

private:
    std::vector<Slice> slices_;
    std::size_t index_ = 0;
    std::int64_t done_ = 0;
    int file_ = -1;
};

} // namespace localb2
