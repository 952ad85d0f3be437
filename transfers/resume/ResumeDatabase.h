#pragma once

#include "transfers/resume/ResumeStore.h"

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

struct sqlite3;

/// The file in which `ResumeStore` keeps its records. Every call blocks; one thread at a time.
///
/// Each change is on the disk when its call returns. Several programs may have the file open: each change concerns one
/// record, and concurrent writers wait for each other.
class ResumeDatabase {
public:
    /// Opens or creates the file, for its owner alone (0600).
    ///
    /// A damaged file is set aside as "….damaged-1" (or the next free number), and a new one is created.
    /// A file written by a newer version of the program stays untouched.
    ///
    /// @throws std::runtime_error with the reason when there is no usable file.
    explicit ResumeDatabase(const std::filesystem::path& file);
    ~ResumeDatabase();
    ResumeDatabase(const ResumeDatabase&) = delete;
    ResumeDatabase& operator=(const ResumeDatabase&) = delete;

    /// @throws std::runtime_error with the reason.
    std::vector<ResumableUpload> uploads();

    /// Does nothing when the file id is known.
    /// @throws std::runtime_error with the reason; the file is as before.
    void add(const ResumableUpload& upload);

    /// @throws std::runtime_error with the reason; the file is as before.
    void remove(const std::string& fileID);

private:
    struct Close {
        void operator()(sqlite3* connection) const;
    };

    std::unique_ptr<sqlite3, Close> connection_;
};
