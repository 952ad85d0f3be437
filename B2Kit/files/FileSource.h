#pragma once

#include "B2Kit/transport/B2Transport.h"

#include <cstddef>

/// A range of a file, read as it is sent.
class FileSource {
public:
    /// @throws B2FileError when the file cannot be opened.
    explicit FileSource(B2FileRange range);
    FileSource(const FileSource&) = delete;
    FileSource& operator=(const FileSource&) = delete;
    ~FileSource();

    std::int64_t length() const { return range_.length; }

    /// Copies the next bytes of the range to `buffer`.
    ///
    /// @returns their number, 0 at the end of the range.
    /// @throws B2FileError when reading fails, B2Error when the file is shorter than the range.
    std::size_t read(char* buffer, std::size_t size);

    /// Asks the disk for the next bytes of the range, without waiting for them.
    void readAhead(std::size_t size);

private:
    B2FileRange range_;
    std::int64_t position_ = 0; ///< Within the range.
    int descriptor_ = -1;
};
