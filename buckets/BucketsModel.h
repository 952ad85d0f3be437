#pragma once

#include "B2Kit/B2Bucket.h"
#include "accounts/B2Session.h"
#include "foundation/Observable.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

/// The buckets of the connected key, in the order a file manager would show their names.
///
/// Lives on the main thread. A reload that fails or is cancelled leaves the list as it was.
class BucketsModel final : public Observable {
public:
    Observed<std::vector<B2Bucket>> buckets{this};
    Observed<bool> isLoading{this, false};
    /// Why the last request failed, as a sentence to show.
    Observed<std::optional<std::string>> error{this};
    Observed<std::shared_ptr<B2Session>> session{this};
    /// The list of this session was asked for and answered, or failed: an empty one means something.
    Observed<bool> isAnswered{this, false};

    /// Lists every bucket the key can see (`b2_list_buckets`); bills one call, or one a bucket for a key over several.
    /// A key that may not list is shown the buckets it names itself, for free.
    ///
    /// An answer for a session that was replaced meanwhile is dropped.
    Task<> reload();

    /// Empties the list for another key.
    void reset(std::shared_ptr<B2Session> newSession);

    /// Takes out a bucket that is known to be gone.
    void drop(const std::string& bucketID);

    /// The bucket of an id, or null.
    const B2Bucket* bucket(const std::string& bucketID) const;

private:
    int generation_ = 0; ///< Rises with each reload and reset: an older one's answer counts no more.
};
