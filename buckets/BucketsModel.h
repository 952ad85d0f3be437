#pragma once

#include "B2Kit/B2Bucket.h"
#include "accounts/SessionModel.h"

#include <optional>
#include <string>
#include <vector>

/// The buckets of the connected key, in natural order of their names.
///
/// Lives on the main thread. A reload that fails or is cancelled leaves the list as it was.
class BucketsModel final : public SessionModel {
public:
    Observed<std::vector<B2Bucket>> buckets{this};
    Observed<bool> isLoading{this, false};
    /// Why the last request failed, as a sentence to show.
    Observed<std::optional<std::string>> error{this};
    /// The list of this session was requested and answered, or the request failed: only then does empty mean none.
    Observed<bool> isAnswered{this, false};

    /// Lists every bucket the key can see (`b2_list_buckets`); bills one call, or one per bucket for a key limited to
    /// several. For a key that may not list, shows the buckets it names itself, for free.
    Task<> reload();

    /// Removes a bucket that is known to be deleted.
    void drop(const std::string& bucketID);

    /// The bucket of an id, or null.
    const B2Bucket* bucket(const std::string& bucketID) const;

private:
    void clear() override;
};
