#pragma once

#include "B2Kit/B2Bucket.h"
#include "transfers/resume/ResumeStore.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

class Settings;

/// The large uploads that the last run of the program began and did not finish. Asks the service nothing and resumes
/// nothing.
///
/// Earlier ones are left alone: they may long be gone at the service, and a sentence about them would come back with
/// every start. Lives on the main thread.
class InterruptedUploads {
public:
    /// Looks up what the last run left, and notes that this run begins.
    void begin(const ResumeStore& store, Settings& settings);

    /// Has the upload neither ended nor been resumed?
    using IsOpen = std::function<bool(const std::string& fileID)>;

    /// The sentence about those in the buckets, each mentioned once; nothing when there are none.
    std::optional<std::string> takeSentence(const std::vector<B2Bucket>& buckets, const IsOpen& isOpen);

    /// Is none of the uploads of the last sentence open any more?
    bool isOutdated(const IsOpen& isOpen) const;

private:
    std::vector<ResumableUpload> uploads_;      ///< Not mentioned yet.
    std::vector<std::string> mentionedFileIDs_; ///< In the last sentence.
};
