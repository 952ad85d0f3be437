#pragma once

#include "B2Kit/B2Bucket.h"
#include "transfers/resume/ResumeStore.h"

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

    /// Is the upload neither ended nor on its way by now?
    using IsOpen = std::function<bool(const std::string& fileID)>;

    /// @returns a sentence about those in the buckets, each told of once; nothing when there are none.
    std::optional<std::string> tell(const std::vector<B2Bucket>& buckets, const IsOpen& isOpen);

    /// Is the text the last sentence, and none of its uploads open any more?
    bool isOutdated(const std::string& text, const IsOpen& isOpen) const;

private:
    std::vector<ResumableUpload> uploads_; ///< Not told of yet.
    std::string sentence_;
    std::vector<std::string> toldFileIDs_;
};
