#pragma once

#include "B2Kit/B2Bucket.h"
#include "transfers/ResumeStore.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

class Settings;

/// The large uploads that the last run of the program began and did not finish, each to be told of once. Asks the
/// service nothing and resumes nothing.
///
/// Earlier ones are left alone: what is known of them here may long be gone at the service, and a sentence about it
/// would come back with every start. Lives on the main thread.
class InterruptedUploads {
public:
    /// Looks up what the last run left, and notes that this run begins.
    void begin(const ResumeStore& store, Settings& settings);

    /// @param isOpen  is the upload neither ended nor on its way by now?
    /// @returns a sentence about those in the buckets, which are forgotten with it; nothing when there are none.
    std::optional<std::string> tell(
        const std::vector<B2Bucket>& buckets, const std::function<bool(const std::string& fileID)>& isOpen);

private:
    std::vector<ResumableUpload> uploads_;
};
