#include "tests/B2Kit/uploads/LargeFileFixture.h"

#include "B2Kit/files/B2SHA1.h"
#include "B2Kit/uploads/B2LargeUpload.h"
#include "B2Kit/uploads/B2PartPlan.h"

using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Pair;

namespace {

constexpr std::int64_t minimum = 5'000'000;

std::vector<std::int64_t> lengths(std::int64_t size, std::optional<std::int64_t> partSize, std::int64_t recommended)
{
    std::vector<std::int64_t> lengths;
    std::int64_t end = 0;
    for (const auto& part : planParts(size, partSize, recommended, minimum)) {
        EXPECT_EQ(part.start, end);
        end = part.end;
        lengths.push_back(part.length());
    }
    EXPECT_EQ(end, size);
    return lengths;
}

TEST(PartPlanTest, CutsAFileIntoTwoPartsOrMore)
{
    EXPECT_THAT(lengths(5'000'001, {}, 100'000'000), ElementsAre(5'000'000, 1));
    EXPECT_THAT(lengths(9'999'998, {}, 100'000'000), ElementsAre(5'000'000, 4'999'998));
    EXPECT_THAT(lengths(9'999'999, {}, 100'000'000), ElementsAre(5'000'000, 4'999'999));
    EXPECT_THAT(lengths(20'000'000, {}, 100'000'000), ElementsAre(10'000'000, 10'000'000));
    EXPECT_THAT(lengths(20'000'001, {}, 100'000'000), ElementsAre(10'000'001, 10'000'000));
    EXPECT_THAT(lengths(12'000'000, 1, 100'000'000), ElementsAre(5'000'000, 5'000'000, 2'000'000));
    EXPECT_THAT(lengths(25'000'000, 10'000'000, 100'000'000), ElementsAre(10'000'000, 10'000'000, 5'000'000));
    EXPECT_EQ(planParts(20'000'000, 1, 1, 8'000'000).front().length(), 8'000'000);
    EXPECT_EQ(planParts(50'000'000'000, 6'000'000'000, 1, minimum).front().length(), 5'000'000'000);
}

TEST(PartPlanTest, EnlargesThePartsOfAHugeFileToLimitTheirNumber)
{
    const auto terabyte = planParts(1'000'000'000'000, 1, 1, minimum);
    EXPECT_EQ(terabyte.size(), 10'000U);
    EXPECT_EQ(terabyte.front().length(), 100'000'000);
    EXPECT_THROW(planParts(5'000'000, {}, 1, minimum), B2Error);
    try {
        planParts(50'000'000'000'001, {}, 1, minimum);
        FAIL();
    } catch (const B2Error& error) {
        EXPECT_EQ(error, B2Error(B2Error::PartCountExceeded{.needed = 10'001, .maximum = 10'000}));
    }
}

TEST(PartPlanTest, TrustsOnlyPartsThatFitThePlan)
{
    const auto plan = planParts(12'000'000, minimum, 1, minimum);
    const auto digest = sha1Of("x");
    const auto part = [&](int number, std::int64_t length, std::optional<std::string> sha1) {
        return B2Part{.partNumber = number, .contentLength = length, .contentSHA1 = std::move(sha1)};
    };

    EXPECT_THAT(trustedParts(plan,
                    {part(0, minimum, digest), part(1, minimum, digest), part(2, minimum, std::nullopt),
                        part(2, minimum, "none"), part(3, minimum, digest), part(4, minimum, digest),
                        part(10'001, minimum, digest), part(-2'147'483'647, minimum, digest)}),
        ElementsAre(Pair(1, digest)));
    EXPECT_THAT(trustedParts(plan, {part(3, 2'000'000, digest)}), ElementsAre(Pair(3, digest)));
}

class B2LargeFileTest : public LargeFileFixture {};

TEST_F(B2LargeFileTest, SendsAFileInPartsAndReportsThem)
{
    const auto text = content(12'000'000);
    auto request = fileUpload(text);
    request.modificationDate = std::chrono::system_clock::time_point(std::chrono::milliseconds(1'772'700'000'123));

    const auto version = run(uploadLargeFile(client, std::move(request)));

    EXPECT_EQ(version.fileID, "4_large");
    EXPECT_THAT(bodiesOf("b2_start_large_file"),
        ElementsAre(R"({"bucketId":"b","fileName":"movie.mp4","contentType":"b2/x-auto","fileInfo":{)"
                    R"("large_file_sha1":")"
            + sha1Of(text) + R"(","src_last_modified_millis":"1772700000123"}})"));
    EXPECT_EQ(received(), text);
    EXPECT_THAT(bodiesOf("b2_finish_large_file"), ElementsAre(finishBody(text)));
    EXPECT_THAT(bodiesOf("b2_get_upload_part_url"), Contains(R"({"fileId":"4_large"})"));
    EXPECT_THAT(log->lines(), ElementsAre("Info transfer: movie.mp4 as 3 parts of 5 MB"));
    EXPECT_THAT(
        events(), ElementsAre("hashed 12000000", "started 4_large", "resume 0/3", "done 1/3", "done 2/3", "done 3/3"));
    EXPECT_EQ(progress().back(), 12'000'000);
}

TEST_F(B2LargeFileTest, BytesInMemoryAreSentInTheSameWay)
{
    const auto text = content(7'000'000);
    auto request = fileUpload(text);
    request.source = std::make_shared<const std::string>(text);
    run(uploadLargeFile(client, request));
    request.hashesMemory = true;
    run(uploadLargeFile(client, request));

    EXPECT_THAT(bodiesOf("b2_start_large_file"),
        ElementsAre(HasSubstr(R"("fileInfo":{}})"), HasSubstr(R"({"large_file_sha1":")" + sha1Of(text) + "\"}")));
    EXPECT_EQ(received(), text);
    EXPECT_THAT(bodiesOf("b2_finish_large_file"), Contains(finishBody(text)).Times(2));
}

TEST_F(B2LargeFileTest, WithoutAChecksumPassAChangeIsNoticedAllTheSame)
{
    const auto text = content(12'000'000);
    auto request = fileUpload(text);
    request.concurrency = 1;
    request.recordsWholeFileChecksum = false;
    run(uploadLargeFile(client, request));

    EXPECT_THAT(bodiesOf("b2_start_large_file"), ElementsAre(HasSubstr(R"("fileInfo":{}})")));
    EXPECT_EQ(received(), text);
    EXPECT_THAT(events(), ElementsAre("started 4_large", "resume 0/3", "done 1/3", "done 2/3", "done 3/3"));
    EXPECT_THAT(bodiesOf("b2_finish_large_file"), ElementsAre(finishBody(text)));

    transport->onUpload = [this](const B2HTTPRequest& sent, const B2UploadBody&, const B2Progress&) {
        if (headerOf(sent, "X-Bz-Part-Number") == "2")
            std::ofstream(source(), std::ios::in | std::ios::out) << "edited";
    };
    EXPECT_THAT(
        failureOf(uploadLargeFile(client, request)), HasSubstr("changed since this upload was started: part 3"));
    request.source = folder / "absent";
    EXPECT_EQ(failureOf(uploadLargeFile(client, request)), "Invalid response: Could not determine the size of absent");
    EXPECT_EQ(transport->count("b2_finish_large_file"), 1U);
}

TEST_F(B2LargeFileTest, ASkippedPassEndsAndTheUploadGoesOn)
{
    const auto text = content(12'000'000);
    auto request = fileUpload(text);
    std::int64_t hashed = 0;
    std::string digest = "none yet";
    request.onHashing = [&](std::int64_t bytes) { hashed = bytes; };
    request.isChecksumSkipped = [&] { return hashed > 0; };
    request.onStarted = [&](const std::string&, const std::string& sha1) { digest = sha1; };

    run(uploadLargeFile(client, request));

    EXPECT_EQ(hashed, 4'000'000);
    EXPECT_EQ(digest, "");
    EXPECT_THAT(bodiesOf("b2_start_large_file"), ElementsAre(HasSubstr(R"("fileInfo":{}})")));
    EXPECT_EQ(received(), text);
}

TEST_F(B2LargeFileTest, ASmallFileIsRefusedBeforeAnythingIsSent)
{
    EXPECT_EQ(failureOf(uploadLargeFile(client, fileUpload(content(5'000'000)))),
        "5000000 bytes is below B2's 5000001 byte minimum for a large file; use uploadFile.");
    auto request = fileUpload("");
    request.source = folder / "absent";
    EXPECT_EQ(failureOf(uploadLargeFile(client, request)), "Invalid response: Could not determine the size of absent");
    EXPECT_EQ(transport->count("b2_authorize_account"), 0U);

    transport->answer("b2_start_large_file", R"({"fileName": "movie.mp4", "action": "start"})");
    EXPECT_EQ(failureOf(uploadLargeFile(client, fileUpload(content(6'000'000)))),
        "Invalid response: b2_start_large_file returned no fileId");
}

TEST_F(B2LargeFileTest, ARefusedPartIsSentAgainThroughAnotherAddress)
{
    auto request = fileUpload(content(6'000'000));
    request.concurrency = 1;
    transport->refuse(part, 503, "service_unavailable", "no tomes available").loseConnection(part);

    run(uploadLargeFile(client, request));

    EXPECT_THAT(sleeper->waits(), ElementsAre(1.5, 2.0));
    EXPECT_THAT(log->lines(),
        ElementsAre("Info transfer: movie.mp4 as 2 parts of 5 MB",
            "Warning transfer: Part 1 refused, retry 1/19 in 1.5s | B2 503 service_unavailable: no tomes available",
            "Warning transfer: Part 1 refused, retry 2/19 in 2.0s | The connection was lost.",
            "Notice transfer: Part 1 succeeded after 2 retries"));
    EXPECT_THAT(events(),
        AllOf(Contains("backing off 1: 1/20 1.5 B2 storage busy"), Contains("recovered 1"), Contains("done 2/2")));
    // Progress goes back with the part, and never exceeds the whole.
    EXPECT_THAT(progress(), ElementsAre(2'500'000, 0, 2'500'000, 0, 2'500'000, 5'000'000, 5'500'000, 6'000'000));
    std::vector<std::string> tokens;
    for (const auto& sent : transport->requests(part))
        tokens.push_back(tokenOf(sent));
    EXPECT_THAT(tokens, ElementsAre("pod-1", "pod-2", "pod-3", "pod-3"));
}

TEST_F(B2LargeFileTest, APartHasTwentyAttempts)
{
    auto request = fileUpload(content(6'000'000));
    request.concurrency = 1;
    transport->always(part, [](const B2HTTPRequest&) {
        return StubTransport::Reply{500, R"({"status": 500, "code": "internal_error", "message": "why"})"};
    });

    EXPECT_EQ(failureOf(uploadLargeFile(client, request)), "B2 500 internal_error: why");

    EXPECT_EQ(transport->count(part), 20U);
    EXPECT_EQ(log->lines().back(), "Error transfer: Part 1 gave up after 20 attempts | B2 500 internal_error: why");
    EXPECT_EQ(transport->count("b2_cancel_large_file"), 0U);
}

TEST_F(B2LargeFileTest, AReachedStorageCapEndsTheUploadAtOnce)
{
    auto request = fileUpload(content(6'000'000));
    request.concurrency = 1;
    transport->refuse(part, 403, "storage_cap_exceeded");

    EXPECT_EQ(failureOf(uploadLargeFile(client, request)), "B2 403 storage_cap_exceeded: why");

    EXPECT_EQ(transport->count(part), 1U);
    EXPECT_EQ(transport->count("b2_finish_large_file"), 0U);
}

TEST_F(B2LargeFileTest, SendsAsManyPartsAtOnceAsAllowed)
{
    // The first three are held back until the third has arrived: a narrower upload would miss the deadline.
    transport->gather(part, 3);
    auto request = fileUpload(content(30'000'000));
    request.concurrency = 3;

    run(uploadLargeFile(client, request));

    EXPECT_EQ(transport->count("b2_get_upload_part_url"), 3U) << "each lane keeps its address";
}

TEST_F(B2LargeFileTest, AStopEndsTheUploadAndKeepsTheUnfinishedFile)
{
    transport->gather(part, 9);
    StartedTask<B2FileVersion> task(uploadLargeFile(client, fileUpload(content(12'000'000))));
    while (transport->count(part) < 3)
        std::this_thread::yield();

    task.cancel();

    EXPECT_THROW(task.result(std::chrono::seconds(1)), Cancelled);
    EXPECT_THAT(log->allLines(), Contains("Debug transfer: Part 2 stopped"));
    EXPECT_EQ(transport->count("b2_cancel_large_file"), 0U);
}

TEST_F(B2LargeFileTest, AFinishWhoseAnswerWasLostIsLookedUp)
{
    const auto finish = "b2_finish_large_file";
    const auto request = fileUpload(content(6'000'000));
    const auto refuse = [&] { transport->refuse(finish, 400, "bad_request", "No active upload for: 4_large"); };
    transport->loseConnection(finish);
    refuse();
    transport->answer("b2_get_file_info", fileRecord("upload"));
    EXPECT_EQ(run(uploadLargeFile(client, request)).action.rawValue, "upload");
    EXPECT_EQ(log->lines().back(),
        "Notice transfer: movie.mp4: the answer of b2_finish_large_file was lost, but the file is there");

    transport->answer(finish, "{").answer("b2_get_file_info", fileRecord("upload"));
    EXPECT_EQ(run(uploadLargeFile(client, request)).fileID, "4_large");

    transport->loseConnection(finish);
    refuse();
    transport->answer("b2_get_file_info", fileRecord("start"));
    EXPECT_EQ(failureOf(uploadLargeFile(client, request)), "B2 400 bad_request: No active upload for: 4_large");

    refuse();
    EXPECT_THAT(failureOf(uploadLargeFile(client, request)), HasSubstr("No active upload"));
    EXPECT_EQ(transport->count("b2_get_file_info"), 3U) << "a plain refusal needs no look-up";
}

TEST_F(B2LargeFileTest, ATruncatedSourceIsReported)
{
    const auto cut = [this](std::int64_t size) {
        transport->onUpload = [this, size](const B2HTTPRequest&, const B2UploadBody&, const B2Progress&) {
            std::filesystem::resize_file(source(), static_cast<std::uintmax_t>(size));
        };
        auto request = fileUpload(content(12'000'000));
        request.concurrency = 1;
        return failureOf(uploadLargeFile(client, request));
    };

    EXPECT_EQ(cut(7'000'000), "Invalid response: Short read at offset 5000000 of source");
    EXPECT_EQ(cut(11'000'000), "Invalid response: Short read at offset 10000000 of source");
    EXPECT_EQ(transport->count("b2_finish_large_file"), 0U);
}

TEST_F(B2LargeFileTest, ASourceThatChangesDuringTheUploadIsNeverFinished)
{
    for (const auto* const changedPart : {"1", "2"}) {
        transport->onUpload = [&](const B2HTTPRequest& sent, const B2UploadBody&, const B2Progress&) {
            if (headerOf(sent, "X-Bz-Part-Number") == changedPart)
                std::ofstream(source(), std::ios::app) << "more";
        };
        auto request = fileUpload(content(6'000'000));
        request.concurrency = 1;
        EXPECT_THAT(
            failureOf(uploadLargeFile(client, request)), HasSubstr("changed since this upload was started: part 2 "));
    }
    EXPECT_EQ(transport->count("b2_finish_large_file"), 0U);
}

} // namespace
