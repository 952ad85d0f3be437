#include "transfers/QuitQuestion.h"

#include "foundation/Texts.h"

#include <algorithm>

std::optional<Question> quitQuestion(const std::vector<std::shared_ptr<Transfer>>& activeTransfers)
{
    if (activeTransfers.empty())
        return {};
    const auto isUpload = [](const auto& transfer) { return transfer->kind == Transfer::Kind::upload; };
    std::string what;
    if (activeTransfers.size() == 1)
        what = isUpload(activeTransfers.front()) ? "1 upload is" : "1 download is";
    else
        what = countText(static_cast<std::int64_t>(activeTransfers.size()), "transfer", "transfers") + " are";

    Question question{.title = "Quit while " + what + " in progress?",
        .text = "Interrupted downloads leave incomplete files behind.",
        .verb = "Quit Anyway",
        .cancelText = "Keep Working"};
    if (std::ranges::any_of(activeTransfers, isUpload))
        question.text += " An interrupted upload leaves the parts already sent stored on B2 and billed, in a file that "
                         "will not appear in any ordinary listing. Kestrovan shows these under the bucket's "
                         "unfinished uploads.";
    return question;
}
