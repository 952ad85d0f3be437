#pragma once

#include "B2Kit/transport/B2Transport.h"

#include <cstddef>

/// A stretch of a file, read as it is sent.
class FileSource {
public:
    /// @throws B2FileError when the file cannot be opened.
    explicit FileSource(B2FileRange range);
    FileSource(const FileSource&) = delete;
    FileSource& operator=(const FileSource&) = delete;
    ~FileSource();

    std::int64_t length() const { return range_.length; }

    /// Copies the next bytes of the stretch to `buffer`.
    ///
    /// @returns their number, 0 at the stretch's end.
    /// @throws B2FileError when reading fails, B2Error when the file ends before the stretch does.
    std::size_t read(char* buffer, std::size_t size);

    /// Has the disk fetch the next bytes of the stretch, without waiting for them.
    void readAhead(std::size_t size);

private:
    B2FileRange range_;
    std::int64_t position_ = 0; ///< Within the stretch.
    int descriptor_ = -1;
};
