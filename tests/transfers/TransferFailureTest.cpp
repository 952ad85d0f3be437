#include "transfers/TransferFailure.h"

#include "B2Kit/B2Error.h"

#include <gmock/gmock.h>

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace {

template <class Error>
std::string uploadText(Error error, BytesFate fate = BytesFate::nothing())
{
    return failureText(BytesOperation::upload, uploadFailure(std::make_exception_ptr(std::move(error)), fate));
}

B2Error refusal(int status, std::string code, std::string message = "No more.")
{
    return B2Error(B2APIError{status, std::move(code), std::move(message)});
}

TEST(TransferFailureTest, NamesTheCapAndWhereToRaiseIt)
{
    EXPECT_EQ(uploadText(refusal(403, "storage_cap_exceeded")),
        "The account's storage cap is reached, so B2 refused the transfer. Nothing was stored. Raise the cap in the "
        "Backblaze console under Caps & Alerts, then try again.");
    EXPECT_THAT(uploadText(refusal(403, "cap_exceeded"), BytesFate::parts()),
        HasSubstr("storage cap is reached, so B2 refused the transfer. The parts already sent stay stored"));
    EXPECT_THAT(uploadText(refusal(403, "transaction_cap_exceeded")), HasSubstr("daily transactions cap"));
    EXPECT_EQ(uploadText(refusal(400, "bad_request")), "B2 400 bad_request: No more.");
    EXPECT_EQ(uploadText(refusal(503, "busy"), BytesFate::maybe()),
        "B2 503 busy: No more. It may have been stored all the same.");
}

TEST(TransferFailureTest, SaysOnceWhatBecameOfASourceThatChanged)
{
    const B2FileError changed(B2FileError::Operation::read, "/a.bin", 0, "“a.bin” changed while it was being read.");
    EXPECT_EQ(uploadText(changed), "“a.bin” changed while it was being read. Nothing was stored.");
    EXPECT_EQ(uploadText(changed, BytesFate::parts()),
        "“a.bin” changed while it was being read. The parts already sent stay stored and billed.");
    EXPECT_EQ(uploadText(changed, BytesFate::maybe()),
        "“a.bin” changed while it was being read. It may have been stored all the same.");

    using Changed = B2Error::SourceChangedSinceUpload;
    EXPECT_THAT(uploadText(B2Error(Changed{2}), BytesFate::parts()),
        HasSubstr("has to start again. The parts already sent stay stored and billed. \"Unfinished Uploads\""));
    const auto finished = uploadText(B2Error(Changed{.partNumber = 1, .isFinished = true}), BytesFate::parts());
    EXPECT_THAT(finished, HasSubstr("B2 holds it as it was"));
    EXPECT_THAT(finished, Not(HasSubstr("parts"))) << "a finished file has none";
}

TEST(TransferFailureTest, ClaimsNoPartsOfALargeFileThatIsGone)
{
    const auto text = uploadText(refusal(400, "bad_request", "No active upload for: 4_z1"), BytesFate::parts());
    EXPECT_THAT(text, HasSubstr("no longer at B2"));
    EXPECT_THAT(text, Not(HasSubstr("parts")));
}

TEST(TransferFailureTest, SaysByNameThatAFileToDownloadIsGone)
{
    const auto textOf = [](const B2Error& error) {
        return failureText(BytesOperation::download, downloadFailure(std::make_exception_ptr(error), "report.pdf"));
    };

    EXPECT_EQ(textOf(refusal(404, "not_found")),
        "“report.pdf” is no longer there: it was deleted or replaced after the folder was read. Nothing was saved. "
        "The files here are untouched.");
    EXPECT_EQ(textOf(refusal(416, "range_not_satisfiable", "4_z123")), "B2 416 range_not_satisfiable: 4_z123");
    EXPECT_THAT(textOf(refusal(403, "download_cap_exceeded")), StartsWith("The account's daily download cap"));
}

} // namespace
