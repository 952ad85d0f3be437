#include "shell/tour/Tour.h"

#include "shell/tour/TourChapter.h"
#include "shell/tour/TourFiles.h"
#include "shell/tour/TourHands.h"
#include "shell/tour/TourProcess.h"

using namespace TourHands;

Task<> Tour::surviveAKill()
{
    constexpr std::size_t twoParts = 100'000'000;
    const auto file = makeTourFile(application_.demo->scratch() / "wedding film.mov", twoParts);
    // The first part goes through at once, the second one slowly.
    co_await service_.addFaults(
        R"([{"operation": "b2_upload_part", "kind": "trickle", "in": "request", "bytesPerSecond": 2000000, "after": 1}])");
    const TourProcess::Chapter begin{"begin-upload", "home", file, report_.directory() / "before-the-kill"};
    TourProcess killed(*application_.demo, begin);
    co_await check(
        "begin a large upload in a program of its own", [&] { return killed.hasSaid(TourChapter::partIsStored); });
    killed.kill();
    co_await check("kill that program in the middle of a part", [&] { return killed.hasEnded(); });
    co_await service_.clearFaults();

    const auto before = co_await service_.bytesReceived();
    const TourProcess::Chapter resume{"resume-upload", "home", file, report_.directory() / "after-the-kill"};
    TourProcess resumed(*application_.demo, resume);
    co_await check("go on with the upload after a restart", [&] { return resumed.hasEnded(); });
    report("the restarted program did what it should", resumed.hasSucceeded(), resumed.failures());
    const auto here = co_await digestOfFile(file);
    const auto there = co_await service_.digest("media-archive", "wedding film.mov");
    report("the large file is whole at the service", here == there, here + " here, " + there + " there");
    const auto sent = co_await service_.bytesReceived() - before;
    report("only the part that was on its way was sent again", sent > 0 && sent < 60'000'000,
        std::to_string(sent) + " bytes were sent");
}
