#include "transfers/TransferTexts.h"

#include "transfers/QuitQuestion.h"
#include "transfers/TransferProgress.h"

#include <gmock/gmock.h>

using namespace std::chrono_literals;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace {

using Kind = Transfer::Kind;
using State = Transfer::State;

const Transfer::Clock::time_point start{};

std::shared_ptr<Transfer> transferIn(State state, Kind kind = Kind::upload, std::int64_t size = 100'000'000)
{
    auto transfer = std::make_shared<Transfer>(kind, "photos/2024/a.jpg", size);
    transfer->state = std::move(state);
    transfer->transferStartedAt = start;
    return transfer;
}

TEST(TransferTest, IsNamedByTheLastComponent)
{
    EXPECT_EQ(Transfer(Kind::upload, "photos/2024/a.jpg").displayName, "a.jpg");
    EXPECT_EQ(Transfer(Kind::upload, "a.jpg").displayName, "a.jpg");
    EXPECT_EQ(Transfer(Kind::download, "photos/2024/").displayName, "2024/");
}

TEST(TransferTextsTest, SaysEachState)
{
    const auto textIn = [](State state) { return statusOf(*transferIn(std::move(state))).text; };
    EXPECT_EQ(textIn(State::waiting()), "Waiting");
    EXPECT_EQ(textIn(State::running()), "Uploading");
    EXPECT_EQ(statusOf(*transferIn(State::running(), Kind::download)).text, "Downloading");
    EXPECT_EQ(textIn(State::finished()), "Done");
    EXPECT_EQ(textIn(State::skipped()), "Skipped, already there");
    EXPECT_EQ(textIn(State::cancelled()), "Cancelled");

    const auto failed = statusOf(*transferIn(State::failed("B2 503\nbusy")));
    EXPECT_THAT(failed.text, Not(HasSubstr("\n")));
    EXPECT_EQ(failed.help, "B2 503\nbusy\n\nRetried 5 times before giving up.");
}

TEST(TransferTextsTest, SaysWhetherADownloadWasVerified)
{
    const auto download = transferIn(State::finished(), Kind::download);
    download->checksum = B2ChecksumOutcome{B2ChecksumOutcome::Verified{"abc"}};
    EXPECT_EQ(statusOf(*download),
        (TransferStatus{"Done · checksum verified", "Downloaded bytes matched the checksum Backblaze holds",
            TransferStatus::Tone::verified}));

    download->checksum = B2ChecksumOutcome{B2ChecksumOutcome::NotVerified{B2ChecksumSkipReason::noChecksumPublished}};
    EXPECT_EQ(statusOf(*download).text, "Done · not verified");
    EXPECT_EQ(statusOf(*download).help, "The bytes were not checked: B2 holds no checksum for this file.");
}

TEST(TransferTextsTest, CountsPartsAndNamesTheirTroubles)
{
    const auto upload = transferIn(State::running());
    upload->partsCompleted = 3;
    upload->partCount = 12;
    EXPECT_EQ(statusOf(*upload).text, "3 of 12 parts");

    upload->partsInTrouble = {{7, partTroubleText("B2 storage busy", 2.6, 1, 20)}};
    EXPECT_EQ(statusOf(*upload).text, "Part 7: B2 storage busy, retrying in 3 s (1 of 19)");
    EXPECT_EQ(statusOf(*upload).tone, TransferStatus::Tone::retrying);
    upload->partsInTrouble = {{7, "busy"}, {9, "gone"}};
    EXPECT_EQ(statusOf(*upload).text, "2 parts retrying");
    EXPECT_EQ(statusOf(*upload).help,
        "Backblaze refused a part. Retrying with a fresh upload URL after a pause\n\nPart 7: busy\nPart 9: gone");
    upload->partsInTrouble = {{0, "busy"}};
    EXPECT_EQ(statusOf(*upload).text, "busy") << "a file that is not in parts has none to name";
    EXPECT_THAT(statusOf(*upload).help, StartsWith("Backblaze refused the file. "));

    upload->partsInTrouble = {};
    upload->partsAtStart = 1;
    EXPECT_EQ(secondLine(*upload), "3 of 12 parts · 1 part already uploaded");
    upload->partsAtStart = 2;
    EXPECT_EQ(secondLine(*upload), "3 of 12 parts · 2 parts already uploaded");
    upload->state = State::finished();
    EXPECT_EQ(secondLine(*upload), "Done") << "no longer of interest";
    upload->state = State::cancelled();
    upload->resumableFileID = "4_z1";
    EXPECT_EQ(secondLine(*upload), "Cancelled · 3 of 12 parts") << "they stay stored";
}

TEST(TransferTextsTest, ShowsTheChecksumPass)
{
    const auto upload = transferIn(State::running());
    upload->transferStartedAt = std::nullopt;
    upload->isHashing = true;
    upload->hashStartedAt = start;
    upload->hashedBytes = 10'000'000;
    const std::string help = "Reading the file once to record its checksum before the upload starts";

    EXPECT_EQ(statusOf(*upload).help, help);
    EXPECT_EQ(amountText(*upload), "10 MB of 100 MB");
    EXPECT_EQ(paceText(*upload, start + 60s), "9m left");
    EXPECT_EQ(skipLabel(*upload), "Skip");
    EXPECT_EQ(skipHelp(*upload), "Skip the checksum and start now. Downloads of this cannot be verified later");

    const auto folder = std::make_shared<Transfer>(Kind::upload, "photos/", 200'000'000);
    folder->state = State::running();
    folder->transferStartedAt = start;
    folder->bytesTransferred = 50'000'000;
    folder->fileCount = 3;
    folder->activeChild = upload;
    EXPECT_EQ(statusOf(*folder).text, "a.jpg, reading it to record a checksum");
    EXPECT_EQ(statusOf(*folder).help, help);
    EXPECT_EQ(paceText(*folder, start + 60s), "9m left") << "of the pass; the folder's own rate would only sink";
    EXPECT_EQ(skipLabel(*folder), "Skip all");
    EXPECT_EQ(skipHelp(*folder), "Skip the checksums and start now. Downloads of these cannot be verified later");
}

TEST(TransferTextsTest, ShowsTheProgressOfAFolder)
{
    const auto folder = std::make_shared<Transfer>(Kind::upload, "photos/");
    folder->state = State::running();
    folder->isScanning = true;
    EXPECT_EQ(secondLine(*folder), "Scanning the folder");
    EXPECT_EQ(amountText(*folder), "");

    folder->isScanning = false;
    folder->byteCount = 300'000'000;
    folder->fileCount = 12;
    folder->filesCompleted = 6;
    folder->filesFailed = 1;
    folder->filesSkipped = 2;
    const auto child = transferIn(State::running());
    child->partsCompleted = 1;
    child->partCount = 9;
    folder->activeChild = child;
    EXPECT_EQ(secondLine(*folder), "8 of 12 files · 1 failed · 2 skipped, already there · a.jpg, 1 of 9 parts");
    child->partsInTrouble = {{4, "busy"}};
    EXPECT_EQ(statusOf(*folder),
        (TransferStatus{"Part 4: busy", "Backblaze refused a part. Retrying with a fresh upload URL after a pause",
            TransferStatus::Tone::retrying}));

    folder->activeChild = nullptr;
    folder->fileProblems = std::vector<FileProblem>(7, {"a\nb.jpg", "It is gone."});
    folder->state = State::failed("7 of 12 files failed");
    EXPECT_EQ(statusOf(*folder).text, "7 of 12 files failed");
    EXPECT_THAT(statusOf(*folder).help, StartsWith("7 of 12 files failed\n\na\u240Ab.jpg: It is gone.\n"));
    EXPECT_THAT(statusOf(*folder).help, testing::EndsWith("\nand 2 more"));

    folder->fileProblems = {{"link", "It is a link.", FileProblem::Kind::leftOut}};
    folder->itemsLeftOut = 1;
    folder->filesSkipped = 0;
    folder->bucket = B2Bucket{.bucketName = "archive"};
    EXPECT_EQ(secondLine(*folder), "7 of 12 files failed · 1 left out · to archive");
    folder->state = State::finished();
    EXPECT_EQ(statusOf(*folder).text, "Done · 12 files");
    EXPECT_EQ(statusOf(*folder).help, "Done · 12 files\n\nlink: It is a link.");
}

TEST(TransferTextsTest, CountsTheFailedApart)
{
    const std::vector rows{transferIn(State::running()), transferIn(State::failed("No.")), transferIn(State::waiting()),
        transferIn(State::failed("No."))};
    EXPECT_EQ(summaryText(rows), "1 running, 1 waiting");
    EXPECT_EQ(failedText(rows), "2 failed");
    EXPECT_EQ(failedText({rows.front()}), "");
}

TEST(TransferTextsTest, CountsTheFilesOfAFolder)
{
    const auto folder = transferIn(State::running(), Kind::download);
    folder->isScanning = true;
    EXPECT_EQ(folderText(*folder), "Listing the folder");
    folder->isScanning = false;
    folder->fileCount = 3;
    folder->filesCompleted = 1;
    EXPECT_EQ(folderText(*folder), "2 of 3 files");
    folder->filesFailed = 2;
    EXPECT_EQ(folderText(*folder), "3 of 3 files");

    folder->activeChild = transferIn(State::running());
    EXPECT_EQ(childText(*folder), "a.jpg");
    (*folder->activeChild)->isHashing = true;
    EXPECT_EQ(childText(*folder), "a.jpg, reading it to record a checksum");
    EXPECT_EQ(folderText(*folder), std::nullopt);

    folder->state = State::finished();
    EXPECT_EQ(statusOf(*folder).text, "Done · 3 files");
    folder->fileCount = 1;
    EXPECT_EQ(statusOf(*folder).text, "Done · 1 file");
}

TEST(TransferTextsTest, WritesProgressLines)
{
    const auto upload = transferIn(State::running());
    EXPECT_EQ(progressLine(*upload, 62'900'000, 100'000'000), "Uploading a.jpg - 62.9 MB of 100 MB (62%)");
    EXPECT_EQ(progressLine(*upload, 5, 0), "Uploading a.jpg - 5 bytes of 0 bytes");
    upload->bytesTransferred = 50'000'000;
    EXPECT_EQ(amountText(*upload), "50 MB of 100 MB");
    EXPECT_EQ(rateText(*upload, start + 10s), "5 MB/s");
    EXPECT_EQ(accessibleText(*upload), "a.jpg, upload, Uploading, 50 percent");
    EXPECT_EQ(retryLabel(*upload), "Retry");
    EXPECT_EQ(retryLabel(*transferIn(State::cancelled())), "Resume");
    EXPECT_EQ(cancelHelp(*transferIn(State::waiting())), "Remove from queue");
}

TEST(TransferProgressTest, TakesTheFirstFractionThatIsKnown)
{
    const auto transfer = transferIn(State::running());
    EXPECT_EQ(fractionDone(*transfer), std::nullopt);
    transfer->partsCompleted = 1;
    transfer->partCount = 4;
    EXPECT_EQ(fractionDone(*transfer), 0.25);
    transfer->bytesTransferred = 50'000'000;
    EXPECT_EQ(fractionDone(*transfer), 0.5);
    transfer->bytesTransferred = 200'000'000;
    EXPECT_EQ(fractionDone(*transfer), 1.0);
    transfer->isHashing = true;
    transfer->hashedBytes = 75'000'000;
    EXPECT_EQ(fractionDone(*transfer), 0.75);
}

TEST(TransferProgressTest, HoldsAnEstimateBackUntilItIsWorthSomething)
{
    const auto transfer = transferIn(State::running(), Kind::upload, 1'000'000'000);
    transfer->bytesAtStart = 90'000'000;
    transfer->bytesTransferred = 100'000'000;
    EXPECT_EQ(secondsLeft(*transfer, start + 9'999ms), std::nullopt);
    EXPECT_EQ(secondsLeft(*transfer, start + 10s), 900);
    transfer->bytesTransferred = 99'999'999;
    EXPECT_EQ(secondsLeft(*transfer, start + 10s), std::nullopt) << "fewer than 10,000,000 bytes have moved";
    transfer->bytesTransferred = 999'000'000;
    EXPECT_EQ(secondsLeft(*transfer, start + 10s), std::nullopt) << "under a minute remains";
    EXPECT_EQ(estimateText(7'500), "2h 5m left");

    transfer->isHashing = true;
    transfer->hashStartedAt = start;
    transfer->hashedBytes = 20'000'000;
    EXPECT_EQ(checksumSecondsLeft(*transfer, start + 10s), std::nullopt) << "exactly a fiftieth";
    transfer->hashedBytes = 100'000'000;
    EXPECT_EQ(checksumSecondsLeft(*transfer, start + 8s), std::nullopt);
    EXPECT_EQ(checksumSecondsLeft(*transfer, start + 10s), 90);
}

TEST(QuitQuestionTest, NamesWhatIsInProgress)
{
    const auto upload = transferIn(State::running());
    const auto download = transferIn(State::waiting(), Kind::download);

    EXPECT_EQ(quitQuestion({}), std::nullopt);
    EXPECT_EQ(quitQuestion({download})->title, "Quit while 1 download is in progress?");
    EXPECT_EQ(quitQuestion({download})->text, "Interrupted downloads leave incomplete files behind.");
    EXPECT_EQ(quitQuestion({upload})->title, "Quit while 1 upload is in progress?");
    EXPECT_EQ(quitQuestion({upload, download, upload})->title, "Quit while 3 transfers are in progress?");
    EXPECT_THAT(quitQuestion({download, upload})->text, HasSubstr("under the bucket's unfinished uploads."));
}

} // namespace
