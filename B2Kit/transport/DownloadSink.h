#pragma once

#include "B2Kit/files/B2SHA1.h"
#include "B2Kit/transport/B2Transport.h"
#include "B2Kit/transport/BodySink.h"

#include <vector>

/// Writes the body of a 200 or 206 to a temporary file beside its destination and hashes it on the way; keeps the
/// start of any other body in memory.
class DownloadSink final : public BodySink {
public:
    explicit DownloadSink(B2Place destination);

    void begin(int status, std::optional<std::int64_t> length) override;
    bool take(std::string_view bytes) override;
    void finish() override;

    B2TemporaryFile file;
    std::int64_t byteCount = 0;
    std::string sha1;
    std::string errorBody;

private:
    void create();
    void reserve(std::int64_t length);
    void flush();

    B2Place destination_;
    std::int64_t length_ = -1;
    int descriptor_ = -1; ///< Owned by the file.
    B2SHA1 hash_;
    std::vector<char> buffer_;
};
