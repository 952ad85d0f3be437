#pragma once

#include "B2Kit/uploads/B2PartPlan.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

/// Computes the SHA-1 of a file and those of its parts at hardly more than the cost of one.
///
/// Both computations work on the same blocks of 64 bytes, so a block is prepared once and goes through both side by
/// side, with the processor's own instructions: each mostly waits for its last result, and the other fills the gaps.
class TwinSHA1 {
public:
    /// Does this processor have the instructions, and does every part begin with a block?
    static bool canHash(const std::vector<B2PartStretch>& parts);

    /// @param parts  cover the whole file, one after the other, as `canHash` allows them.
    explicit TwinSHA1(std::vector<B2PartStretch> parts);

    /// Takes the next bytes. @throws std::out_of_range when there are more than the parts hold.
    void update(std::string_view bytes);

    struct Digests {
        std::string whole;
        std::vector<std::string> parts; ///< Digests of the parts that were begun.
    };

    /// Returns the digests as 40 lowercase hexadecimal digits each. Called once, after the last `update`.
    Digests finish();

private:
    using State = std::array<std::uint32_t, 5>;

    static constexpr std::size_t blockBytes = 64;
    static constexpr State initial{0x67452301, 0xefcdab89, 0x98badcfe, 0x10325476, 0xc3d2e1f0};

    static void addBlocks(State& first, State& second, const char* bytes, std::size_t count);
    static std::string digest(State state, std::string_view tail, std::int64_t length);
    void take(const char* bytes, std::size_t blocks);

    std::vector<B2PartStretch> parts_;
    std::vector<std::string> finished_;
    State whole_ = initial;
    State part_ = initial;
    std::int64_t received_ = 0;
    std::int64_t position_ = 0; ///< End of the blocks that were taken.
    std::string rest_;          ///< Less than a block.
};
