#pragma once

#include <string>
#include <string_view>

// Inside B2Kit: keeps a walk through pages from going round for ever.

/// Notices when a service returns a cursor again, in whatever order its cursors come.
///
/// Remembers a single cursor: it compares each one with a checkpoint that moves ahead in ever longer strides, and so
/// notices a ring of n cursors within about 3n pages.
class B2WalkGuard {
public:
    /// @returns false when the walk has come full circle.
    bool advancesTo(std::string_view cursor)
    {
        if (hasCheckpoint_ && cursor == checkpoint_)
            return false;
        if (!hasCheckpoint_ || ++steps_ == stride_) {
            checkpoint_ = cursor;
            hasCheckpoint_ = true;
            steps_ = 0;
            stride_ *= 2;
        }
        return true;
    }

private:
    std::string checkpoint_;
    bool hasCheckpoint_ = false;
    unsigned long long steps_ = 0;
    unsigned long long stride_ = 1;
};
