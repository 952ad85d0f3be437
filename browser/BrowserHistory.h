#pragma once

#include "B2Kit/B2Bucket.h"

#include <optional>
#include <string>
#include <vector>

/// A folder of a bucket.
struct BrowserPlace {
    B2Bucket bucket;
    std::string prefix; ///< With its trailing "/"; empty at the root.

    bool isSameFolder(const BrowserPlace& other) const
    {
        return bucket.bucketID == other.bucket.bucketID && prefix == other.prefix;
    }
};

/// The places visited before the present one, and those that going back left.
class BrowserHistory {
public:
    bool canGoBack() const { return !back_.empty(); }
    bool canGoForward() const { return !forward_.empty(); }

    /// Notes the place that is left for a new one.
    void leave(BrowserPlace present);
    /// Returns the place to go back to, or nothing.
    std::optional<BrowserPlace> goBack(const BrowserPlace& present);
    std::optional<BrowserPlace> goForward(const BrowserPlace& present);
    /// Removes every place in a bucket that is gone.
    void forget(const std::string& bucketID);
    void clear();

private:
    std::vector<BrowserPlace> back_;
    std::vector<BrowserPlace> forward_;
};
