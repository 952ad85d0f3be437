#include "B2Kit/uploads/B2LargeUpload.h"
#include "tests/B2Kit/TestFiles.h"
#include "tests/B2Kit/uploads/LargeFileFixture.h"

#include <array>
#include <cmath>
#include <cstdlib>

using testing::DoubleNear;
using testing::ElementsAreArray;
using testing::Pointwise;

namespace {

enum class Strike { none, busy, busyAsking, reset, stall, expired };

constexpr std::uint64_t start = 20'001;
constexpr std::uint64_t finish = 20'002;
constexpr std::uint64_t address = 20'003; ///< The streams below are the parts, by number.
constexpr int partCount = 200;

/// Decides the fate of each request: three in ten fail. The same seed gives the same results in any order.
class Script {
public:
    explicit Script(unsigned seed)
        : seed_(seed)
    {
    }

    /// @param stream  a call, or one part of the file.
    /// @param index   of the stream's request, from 0.
    Strike strike(std::uint64_t stream, int index) const
    {
        const auto lot = drawn(stream, index);
        if (lot % 1000 >= 300)
            return Strike::none;
        const auto strike = static_cast<Strike>(1 + lot / 1000 % 5);
        // The upload ends when its start or its finish gives up, so these succeed in the end.
        const bool isOfWhole = stream == start || stream == finish;
        return isOfWhole && (index > 3 || (index > 0 && strike == Strike::expired)) ? Strike::none : strike;
    }

    /// The `Retry-After` that goes with `busyAsking`, in seconds.
    int askedSeconds(std::uint64_t stream, int index) const
    {
        return std::array{0, -5, 2, 30, 1000}.at(drawn(stream, index) / 100'000 % 5);
    }

private:
    /// Well mixed bits of the three numbers.
    std::uint64_t drawn(std::uint64_t stream, int index) const
    {
        auto bits = (seed_ * 1'000'003ULL + stream) * 1'000'003ULL + static_cast<std::uint64_t>(index);
        bits = (bits ^ (bits >> 30)) * 0xbf58476d1ce4e5b9ULL;
        bits = (bits ^ (bits >> 27)) * 0x94d049bb133111ebULL;
        return bits ^ (bits >> 31);
    }

    std::uint64_t seed_;
};

/// The expected requests and waits when one part follows the other, computed from the rules of the policy.
class Reckoning {
public:
    explicit Reckoning(const Script& script)
        : script_(script)
    {
        call(start);
        for (int number = 1; number <= partCount; ++number)
            sendPart(number);
        call(finish);
    }

    std::vector<double> waits;
    std::vector<int> sends; ///< The part's number of each send.
    std::map<std::uint64_t, int> requests;
    int authorizations = 1;

private:
    static double backoff(int failures) { return std::min(std::pow(1.5, failures), 64.0) + 0.5; }

    /// A JSON call: five attempts, one renewal of the token, and the delay that the server asks for.
    bool call(std::uint64_t stream)
    {
        bool hasRenewed = false;
        for (int failures = 0;;) {
            const int index = requests[stream]++;
            const auto strike = script_.strike(stream, index);
            if (strike == Strike::none)
                return true;
            if (strike == Strike::expired && !hasRenewed) {
                hasRenewed = true;
                ++authorizations;
                continue;
            }
            if (strike == Strike::expired || failures == 4)
                return false;
            waits.push_back(strike == Strike::busyAsking ? std::clamp(script_.askedSeconds(stream, index), 0, 300)
                                                         : backoff(failures));
            ++failures;
        }
    }

    /// A part: an address that is kept while it works, twenty attempts, and no regard for the server's delay.
    void sendPart(int number)
    {
        const auto stream = static_cast<std::uint64_t>(number);
        for (int attempt = 0;; ++attempt) {
            hasAddress_ = hasAddress_ || call(address);
            if (hasAddress_) {
                sends.push_back(number);
                if (script_.strike(stream, requests[stream]++) == Strike::none)
                    return;
            }
            hasAddress_ = false;
            waits.push_back(backoff(attempt));
        }
    }

    const Script& script_;
    bool hasAddress_ = false;
};

/// STORM_SEEDS of the environment, or a few.
unsigned seedCount()
{
    const char* const count = std::getenv("STORM_SEEDS");
    return count ? static_cast<unsigned>(std::atoi(count)) : 2;
}

/// 200 parts of an empty file, a service that fails by script, and waits that take no time.
class LargeFileStormTest : public LargeFileFixture, public testing::WithParamInterface<unsigned> {
protected:
    // One file for all tests, so that its pages are created once.
    static void SetUpTestSuite()
    {
        sharedFolder = makeTemporaryFolder();
        const auto path = sharedFolder / "source";
        std::ofstream(path).close();
        std::filesystem::resize_file(path, partCount * partSize);
    }
    static void TearDownTestSuite() { std::filesystem::remove_all(sharedFolder); }

    B2UploadLargeFileRequest wholeUpload()
    {
        auto request = fileUpload("");
        request.source = sharedFolder / "source";
        // One reading, for the digests of the parts.
        request.recordsWholeFileChecksum = false;
        transport->onUpload = {};
        return request;
    }

    /// Lets the script decide about the requests of an operation.
    void strike(const std::string& operation, std::function<std::uint64_t(const B2HTTPRequest&)> streamOf,
        StubTransport::Handler otherwise)
    {
        transport->always(operation, [=, this](const B2HTTPRequest& request) {
            const auto stream = streamOf(request);
            int index = 0;
            {
                const std::lock_guard lock(mutex_);
                index = met_[stream]++;
            }
            switch (script.strike(stream, index)) {
            case Strike::none:
                return otherwise(request);
            case Strike::busy:
                return busy({});
            case Strike::busyAsking:
                return busy({{"Retry-After", std::to_string(script.askedSeconds(stream, index))}});
            case Strike::reset:
                throw B2TransportError(B2TransportError::Code::connectionLost, "The connection was lost.");
            case Strike::stall:
                throw B2TransportError(B2TransportError::Code::timedOut, "Nothing came for 60 seconds.");
            case Strike::expired:
                break;
            }
            return StubTransport::Reply{401, R"({"status": 401, "code": "expired_auth_token", "message": ""})"};
        });
    }

    void strikeParts()
    {
        strike(
            part, [](const B2HTTPRequest& request) { return std::stoull(*headerOf(request, "X-Bz-Part-Number")); },
            [](const B2HTTPRequest&) { return StubTransport::Reply{}; });
    }

    void strikeCall(const std::string& operation, std::uint64_t stream, StubTransport::Handler otherwise)
    {
        strike(operation, [stream](const B2HTTPRequest&) { return stream; }, std::move(otherwise));
    }

    static StubTransport::Handler always(std::string body)
    {
        return [body = std::move(body)](const B2HTTPRequest&) { return StubTransport::Reply{200, body}; };
    }

    static StubTransport::Reply busy(std::vector<B2HTTPHeader> headers)
    {
        return {503, R"({"status": 503, "code": "service_unavailable", "message": "no tomes available"})",
            std::move(headers)};
    }

    const Script script{GetParam()};

private:
    static inline std::filesystem::path sharedFolder;

    std::mutex mutex_;
    std::map<std::uint64_t, int> met_;
};

class OnePartAtATimeTest : public LargeFileStormTest {};
class FourPartsAtOnceTest : public LargeFileStormTest {};

TEST_P(OnePartAtATimeTest, EveryRequestAndWaitFollowsThePolicy)
{
    const Reckoning expected(script);
    strikeParts();
    strikeCall("b2_start_large_file", start, always(fileRecord("start")));
    strikeCall("b2_finish_large_file", finish, always(fileRecord("upload")));
    strikeCall("b2_get_upload_part_url", address,
        always(R"({"fileId": "4_large", "uploadUrl": "https://pod.example.com/b2api/v4/b2_upload_part/1", )"
               R"("authorizationToken": "pod"})"));
    auto request = wholeUpload();
    request.concurrency = 1;

    EXPECT_EQ(failureOf(uploadLargeFile(client, std::move(request))), "nothing");

    EXPECT_THAT(sleeper->waits(), Pointwise(DoubleNear(1e-9), expected.waits));
    EXPECT_THAT(sentNumbers(), ElementsAreArray(expected.sends));
    EXPECT_EQ(transport->count("b2_get_upload_part_url"), expected.requests.at(address));
    EXPECT_EQ(transport->count("b2_finish_large_file"), expected.requests.at(finish));
    EXPECT_EQ(authorizations, expected.authorizations);
}

TEST_P(FourPartsAtOnceTest, EachHasItsOwnAttemptsAndNoneIsSentTwice)
{
    strikeParts();

    EXPECT_EQ(failureOf(uploadLargeFile(client, wholeUpload())), "nothing");

    std::vector<double> waits;
    std::vector<int> sends;
    for (int number = 1; number <= partCount; ++number) {
        int attempt = 0;
        sends.push_back(number);
        for (; script.strike(static_cast<std::uint64_t>(number), attempt) != Strike::none; ++attempt) {
            sends.push_back(number);
            waits.push_back(std::min(std::pow(1.5, attempt), 64.0) + 0.5);
        }
    }
    auto actual = sleeper->waits();
    std::ranges::sort(actual);
    std::ranges::sort(waits);
    EXPECT_THAT(actual, Pointwise(DoubleNear(1e-9), waits));
    auto numbers = sentNumbers();
    std::ranges::sort(numbers);
    EXPECT_THAT(numbers, ElementsAreArray(sends));
    EXPECT_EQ(transport->count("b2_start_large_file"), 1U);
    EXPECT_EQ(transport->count("b2_finish_large_file"), 1U);
}

INSTANTIATE_TEST_SUITE_P(Even, OnePartAtATimeTest, testing::Range(0U, seedCount(), 2U));
INSTANTIATE_TEST_SUITE_P(Odd, FourPartsAtOnceTest, testing::Range(1U, seedCount(), 2U));

} // namespace
