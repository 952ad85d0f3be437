#include "B2Kit/files/TwinSHA1.h"

#include "B2Kit/files/B2SHA1.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

#ifdef __x86_64__

#include <cpuid.h>
#include <immintrin.h>

#define WITH_SHA [[gnu::target("sha,sse4.1")]]

namespace {

/// One of the two computations.
struct Lane {
    __m128i abcd;
    __m128i e; ///< In its highest word; between rounds the `abcd` of the rounds before, which hold the next one.
};

WITH_SHA Lane load(const std::array<std::uint32_t, 5>& state)
{
    const auto words = _mm_loadu_si128(reinterpret_cast<const __m128i*>(state.data()));
    return {_mm_shuffle_epi32(words, 0x1B), _mm_set_epi32(static_cast<int>(state[4]), 0, 0, 0)};
}

WITH_SHA void store(const Lane& lane, std::array<std::uint32_t, 5>& state)
{
    _mm_storeu_si128(reinterpret_cast<__m128i*>(state.data()), _mm_shuffle_epi32(lane.abcd, 0x1B));
    state[4] = static_cast<std::uint32_t>(_mm_extract_epi32(lane.e, 3));
}

/// Runs four rounds of one lane.
template <int group>
WITH_SHA [[gnu::always_inline]] inline void turn(Lane& lane, __m128i words)
{
    const __m128i e = group == 0 ? _mm_add_epi32(lane.e, words) : _mm_sha1nexte_epu32(lane.e, words);
    lane.e = lane.abcd;
    lane.abcd = _mm_sha1rnds4_epu32(lane.abcd, e, group / 5);
}

/// Runs the rounds from the group on, in both lanes. @param words  of this group and the three after it.
template <int group>
WITH_SHA [[gnu::always_inline]] inline void turnBoth(
    Lane& first, Lane& second, __m128i words0, __m128i words1, __m128i words2, __m128i words3)
{
    turn<group>(first, words0);
    turn<group>(second, words0);
    if constexpr (group < 19) {
        const __m128i mixed = _mm_xor_si128(_mm_sha1msg1_epu32(words0, words1), words2);
        turnBoth<group + 1>(first, second, words1, words2, words3, _mm_sha1msg2_epu32(mixed, words3));
    }
}

WITH_SHA [[gnu::always_inline]] inline __m128i wordsAt(const char* bytes)
{
    const __m128i bigEndian = _mm_set_epi64x(0x0001020304050607, 0x08090a0b0c0d0e0f);
    return _mm_shuffle_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes)), bigEndian);
}

WITH_SHA [[gnu::always_inline]] inline void add(Lane& lane, const Lane& before)
{
    lane.e = _mm_sha1nexte_epu32(lane.e, before.e);
    lane.abcd = _mm_add_epi32(lane.abcd, before.abcd);
}

WITH_SHA void addBlocksTo(
    std::array<std::uint32_t, 5>& first, std::array<std::uint32_t, 5>& second, const char* bytes, std::size_t count)
{
    Lane one = load(first);
    Lane two = load(second);
    for (; count > 0; --count, bytes += 64) {
        const Lane oneBefore = one;
        const Lane twoBefore = two;
        turnBoth<0>(one, two, wordsAt(bytes), wordsAt(bytes + 16), wordsAt(bytes + 32), wordsAt(bytes + 48));
        add(one, oneBefore);
        add(two, twoBefore);
    }
    store(one, first);
    store(two, second);
}

bool hasInstructions()
{
    unsigned int a = 0;
    unsigned int b = 0;
    unsigned int c = 0;
    unsigned int d = 0;
    constexpr unsigned int shaBit = 1U << 29;
    return __builtin_cpu_supports("sse4.1") && __get_cpuid_count(7, 0, &a, &b, &c, &d) != 0 && (b & shaBit) != 0;
}

} // namespace

void TwinSHA1::addBlocks(State& first, State& second, const char* bytes, std::size_t count)
{
    addBlocksTo(first, second, bytes, count);
}

#else

namespace {

bool hasInstructions()
{
    return false;
}

} // namespace

void TwinSHA1::addBlocks(State&, State&, const char*, std::size_t)
{
    std::unreachable();
}

#endif

bool TwinSHA1::canHash(const std::vector<B2PartStretch>& parts)
{
    static const bool hasThem = hasInstructions();
    return hasThem && std::ranges::all_of(parts, [](const B2PartStretch& part) {
        return part.start % static_cast<std::int64_t>(blockBytes) == 0;
    });
}

TwinSHA1::TwinSHA1(std::vector<B2PartStretch> parts)
    : parts_(std::move(parts))
{
}

void TwinSHA1::update(std::string_view bytes)
{
    received_ += static_cast<std::int64_t>(bytes.size());
    if (received_ > (parts_.empty() ? 0 : parts_.back().end))
        throw std::out_of_range("more bytes than the parts have");
    if (!rest_.empty()) {
        const auto missing = std::min(blockBytes - rest_.size(), bytes.size());
        rest_.append(bytes.substr(0, missing));
        bytes.remove_prefix(missing);
        if (rest_.size() < blockBytes)
            return;
        take(std::exchange(rest_, {}).data(), 1);
    }
    while (bytes.size() >= blockBytes) {
        const auto left = static_cast<std::size_t>(parts_.at(finished_.size()).end - position_);
        const auto blocks = std::min(bytes.size(), left) / blockBytes;
        take(bytes.data(), blocks);
        bytes.remove_prefix(blocks * blockBytes);
    }
    rest_ = bytes;
}

void TwinSHA1::take(const char* bytes, std::size_t blocks)
{
    addBlocks(whole_, part_, bytes, blocks);
    position_ += static_cast<std::int64_t>(blocks * blockBytes);
    const auto& part = parts_.at(finished_.size());
    if (position_ == part.end)
        finished_.push_back(digest(std::exchange(part_, initial), {}, part.length()));
}

TwinSHA1::Digests TwinSHA1::finish()
{
    const auto end = position_ + static_cast<std::int64_t>(rest_.size());
    if (finished_.size() < parts_.size() && end > parts_[finished_.size()].start)
        finished_.push_back(digest(part_, rest_, end - parts_[finished_.size()].start));
    return {digest(whole_, rest_, end), std::move(finished_)};
}

std::string TwinSHA1::digest(State state, std::string_view tail, std::int64_t length)
{
    std::string last(tail);
    last += '\x80';
    constexpr std::size_t lengthBytes = 8;
    last.resize((last.size() + lengthBytes + blockBytes - 1) / blockBytes * blockBytes, '\0');
    auto bits = static_cast<std::uint64_t>(length) * 8;
    for (std::size_t i = 1; i <= lengthBytes; ++i, bits >>= 8)
        last[last.size() - i] = static_cast<char>(bits & 0xFF);
    State other = initial;
    addBlocks(state, other, last.data(), last.size() / blockBytes);

    std::array<unsigned char, 20> bytes{};
    for (std::size_t i = 0; i < bytes.size(); ++i)
        bytes[i] = static_cast<unsigned char>(state[i / 4] >> (24 - 8 * (i % 4)));
    return sha1Text(bytes);
}
