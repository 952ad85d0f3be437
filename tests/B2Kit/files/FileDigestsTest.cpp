#include "B2Kit/files/FileDigests.h"
#include "tests/support/RunTask.h"

#include <gmock/gmock.h>

#include <random>

namespace {

class FileDigestsTest : public testing::Test {
protected:
    WorkerPool pool{2};

    static std::string noise(std::size_t size)
    {
        std::string bytes(size, '\0');
        std::minstd_rand random(7);
        for (auto& byte : bytes)
            byte = static_cast<char>(random());
        return bytes;
    }

    static std::vector<B2PartStretch> partsOf(std::size_t size, std::size_t partSize)
    {
        std::vector<B2PartStretch> parts;
        for (std::size_t start = 0; start < size; start += partSize)
            parts.push_back(
                {static_cast<std::int64_t>(start), static_cast<std::int64_t>(std::min(start + partSize, size))});
        return parts;
    }

    /// The result of computing one digest after the other.
    static TwinSHA1::Digests expected(std::string_view bytes, const std::vector<B2PartStretch>& parts)
    {
        TwinSHA1::Digests digests{sha1Of(bytes), {}};
        for (const auto& part : parts)
            digests.parts.push_back(
                sha1Of(bytes.substr(static_cast<std::size_t>(part.start), static_cast<std::size_t>(part.length()))));
        return digests;
    }

    TwinSHA1::Digests hash(std::string_view bytes, const std::vector<B2PartStretch>& parts, std::size_t step)
    {
        auto feed = [](FileDigests* digests, std::string_view rest, std::size_t piece) -> Task<> {
            for (; !rest.empty(); rest.remove_prefix(std::min(piece, rest.size())))
                co_await FileDigests::update(*digests, rest.substr(0, piece));
        };
        FileDigests digests(parts, pool);
        run(feed(&digests, bytes, step));
        return digests.finish();
    }
};

TEST_F(FileDigestsTest, CoverTheWholeAndEachPartHoweverTheFileIsCut)
{
    for (const std::size_t size : {1U, 55U, 56U, 63U, 64U, 65U, 119U, 120U, 128U, 640U, 6400U, 70'001U}) {
        const auto bytes = noise(size);
        for (const std::size_t partSize : {64U, 128U, 6400U, 100'000U, 100U, 77U}) {
            const auto parts = partsOf(size, partSize);
            const auto whole = expected(bytes, parts);
            for (const std::size_t step : {1U, 63U, 64U, 1000U, 100'000U}) {
                if (size / step > 2000)
                    continue;
                const auto digests = hash(bytes, parts, step);
                EXPECT_EQ(digests.whole, whole.whole) << size << " in " << partSize << " by " << step;
                EXPECT_EQ(digests.parts, whole.parts) << size << " in " << partSize << " by " << step;
            }
        }
    }
}

TEST_F(FileDigestsTest, AFileThatHasGrownIsNotHashedBeyondItsParts)
{
    const auto bytes = noise(256);
    EXPECT_THROW(hash(bytes, partsOf(128, 64), 256), std::out_of_range);
    EXPECT_THROW(hash(bytes, partsOf(100, 64), 110), std::out_of_range);
    EXPECT_THROW(hash(bytes, partsOf(100, 50), 256), std::out_of_range);
}

} // namespace
