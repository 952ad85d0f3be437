#include "B2Kit/uploads/B2LargeUpload.h"
#include "tests/B2Kit/uploads/LargeFileFixture.h"

using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

namespace {

constexpr auto listParts = "b2_list_parts";

/// Resumes "4_large", some parts of which are on B2.
class LargeFileResumeTest : public LargeFileFixture {
protected:
    B2UploadLargeFileRequest resumed(const std::string& source)
    {
        auto request = fileUpload(source);
        request.resumeFileID = "4_large";
        request.concurrency = 1;
        return request;
    }

    const std::string text = content(22'000'000);
};

TEST_F(LargeFileResumeTest, SendsOnlyWhatIsMissing)
{
    transport->answer(listParts, partsPage(text, {1, 2}, "3")).answer(listParts, partsPage(text, {4}));

    run(uploadLargeFile(client, resumed(text)));

    EXPECT_THAT(sentNumbers(), ElementsAre(3, 5));
    EXPECT_EQ(transport->count("b2_start_large_file"), 0U);
    EXPECT_THAT(bodiesOf(listParts), Contains(HasSubstr(R"("startPartNumber":3)")));
    EXPECT_THAT(bodiesOf("b2_finish_large_file"), ElementsAre(finishBody(text)));
    EXPECT_THAT(events(), AllOf(Contains("resume 3/5"), Contains("done 5/5"), Not(Contains(HasSubstr("started")))));
    EXPECT_EQ(progress().front(), 17'500'000);
    EXPECT_EQ(progress().back(), 22'000'000);
    EXPECT_THAT(log->lines(),
        ElementsAre("Notice transfer: movie.mp4: 3 of 5 parts already on B2 | "
                    "15000000 of 22000000 bytes will not be sent again"));
}

TEST_F(LargeFileResumeTest, FinishesAtOnceWhenAllPartsAreStored)
{
    transport->answer(listParts, partsPage(text, {1, 2, 3, 4, 5}));

    run(uploadLargeFile(client, resumed(text)));

    EXPECT_EQ(transport->count(part), 0U);
    EXPECT_EQ(transport->count("b2_get_upload_part_url"), 0U);
    EXPECT_THAT(bodiesOf("b2_finish_large_file"), ElementsAre(finishBody(text)));
}

TEST_F(LargeFileResumeTest, PartsOfAnotherSizeAreAllSentAgain)
{
    transport->answer(listParts, partsPage(text, {1, 2, 3}));
    auto request = resumed(text);
    request.partSize = 6'000'000;

    run(uploadLargeFile(client, request));

    EXPECT_THAT(sentNumbers(), ElementsAre(1, 2, 3, 4));
    EXPECT_EQ(transport->count("b2_start_large_file"), 0U) << "the unfinished file is used all the same";
}

TEST_F(LargeFileResumeTest, AListOfPartsThatNeverAdvancesEnds)
{
    transport->always(
        listParts, [this](const B2HTTPRequest&) { return StubTransport::Reply{200, partsPage(text, {1}, "2")}; });

    run(uploadLargeFile(client, resumed(text)));

    EXPECT_EQ(transport->count(listParts), 2U);
    EXPECT_THAT(sentNumbers(), ElementsAre(2, 3, 4, 5));
}

TEST_F(LargeFileResumeTest, AReplacedFileHasToStartAgain)
{
    auto other = text;
    other.at(7'000'000) ^= 1;
    transport->answer(listParts, partsPage(text, {2, 3}));

    EXPECT_EQ(failureOf(uploadLargeFile(client, resumed(other))),
        "The file has changed since this upload was started: part 2 no longer matches what is stored on B2. Resuming "
        "would combine two different versions, so it has to start again.");

    EXPECT_THAT(sentNumbers(), IsEmpty());
    EXPECT_EQ(transport->count("b2_finish_large_file"), 0U);
}

TEST_F(LargeFileResumeTest, AnEditAfterTheFirstPartIsFoundWhenEveryPartIsCompared)
{
    auto other = text;
    other.at(16'000'000) ^= 1;
    transport->always(
        listParts, [this](const B2HTTPRequest&) { return StubTransport::Reply{200, partsPage(text, {1, 3, 4})}; });
    auto request = resumed(other);
    request.verifiesEveryPart = true;
    EXPECT_THAT(failureOf(uploadLargeFile(client, request)), HasSubstr("part 4 no longer matches"));

    // The digest of the whole shows it too, even when no stored part has changed.
    request.verifiesEveryPart = false;
    request.startedSHA1 = sha1Of(text);
    EXPECT_THAT(failureOf(uploadLargeFile(client, request)), HasSubstr("part 4 no longer matches"));
    other = text;
    other.at(6'000'000) ^= 1;
    request.source = resumed(other).source;
    EXPECT_THAT(failureOf(uploadLargeFile(client, request)), HasSubstr("part 2 no longer matches"));
    EXPECT_THAT(sentNumbers(), IsEmpty());

    request.source = resumed(text).source;
    request.verifiesEveryPart = true;
    run(uploadLargeFile(client, request));
    EXPECT_THAT(sentNumbers(), ElementsAre(2, 5));
}

TEST_F(LargeFileResumeTest, AnUnchangedSourceIsNotReadForItsDigestAgain)
{
    transport->answer(listParts, partsPage(text, {2, 4, 5}));
    auto request = resumed(text);
    request.recordsWholeFileChecksum = false;
    request.startedSHA1 = sha1Of(text);

    run(uploadLargeFile(client, request));

    EXPECT_THAT(sentNumbers(), ElementsAre(1, 3));
    EXPECT_THAT(events(), Not(Contains(HasSubstr("hashed"))));
    EXPECT_THAT(bodiesOf("b2_finish_large_file"), ElementsAre(finishBody(text)));
}

TEST_F(LargeFileResumeTest, AChangedSourceIsComparedEvenIfChecksumsAreSkipped)
{
    auto other = text;
    other.at(6'000'000) ^= 1;
    transport->answer(listParts, partsPage(text, {1, 3}));
    auto request = resumed(other);
    request.verifiesEveryPart = true;
    request.startedSHA1 = sha1Of(text);
    request.isChecksumSkipped = [] { return true; };

    // Every stored part still fits, but the file would be stored under a wrong digest.
    EXPECT_THAT(failureOf(uploadLargeFile(client, request)), HasSubstr("part 2 no longer matches"));

    // A finished file can be compared only by its digest, and here there is none.
    request.startedSHA1.reset();
    transport->refuse(listParts, 400, "bad_request", "No active upload for: 4_large");
    transport->answer("b2_get_file_info",
        R"({"fileId": "4_large", "fileName": "movie.mp4", "contentLength": 22000000, "action": "upload"})");
    EXPECT_THAT(failureOf(uploadLargeFile(client, request)), HasSubstr("The file has changed"));
    EXPECT_THAT(sentNumbers(), IsEmpty());
    EXPECT_EQ(transport->count("b2_finish_large_file"), 0U);
}

TEST_F(LargeFileResumeTest, AnUploadThatWasFinishedAfterAllIsTheResult)
{
    const auto finished = [this](const std::string& digest) {
        transport->refuse(listParts, 400, "bad_request", "No active upload for: 4_large");
        transport->answer("b2_get_file_info",
            R"({"fileId": "4_large", "fileName": "movie.mp4", "contentLength": 22000000, "action": "upload", )"
            R"("fileInfo": {"large_file_sha1": ")"
                + digest + "\"}}");
    };
    finished(sha1Of(text));
    EXPECT_EQ(run(uploadLargeFile(client, resumed(text))).fileID, "4_large");
    EXPECT_EQ(log->lines().back(), "Notice transfer: movie.mp4 had been finished already");

    finished(sha1Of("other"));
    EXPECT_THAT(failureOf(uploadLargeFile(client, resumed(text))), HasSubstr("The file has changed"));

    transport->refuse(listParts, 400, "bad_request", "No active upload for: 4_large");
    transport->refuse("b2_get_file_info", 404, "not_found");
    EXPECT_EQ(failureOf(uploadLargeFile(client, resumed(text))), "B2 400 bad_request: No active upload for: 4_large");
    EXPECT_THAT(sentNumbers(), IsEmpty());
}

} // namespace
