#pragma once

#include <string>
#include <string_view>

// Inside B2Kit: what keeps a walk through pages from going round for ever.

/// Notices that a service hands out a cursor again, whatever the order of its cursors means.
///
/// Remembers one cursor and not all: it compares each with a checkpoint that moves ahead in ever longer strides, so
/// that a ring of n cursors is noticed within about 3n pages.
class B2WalkGuard {
public:
    /// @returns false when the walk has come round.
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
