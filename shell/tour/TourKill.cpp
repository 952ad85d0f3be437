#include "shell/tour/Tour.h"

#include "foundation/QtText.h"
#include "localb2/Service.h"
#include "shell/CommandLine.h"
#include "shell/tour/TourChapter.h"
#include "shell/tour/TourFiles.h"
#include "shell/tour/TourHands.h"

#include <QCoreApplication>
#include <QProcess>

using namespace TourHands;

namespace {

/// Starts this program anew, with a home of its own and the demonstration's service.
void startChapter(QProcess& process, const Demo& demo, const std::string& chapter, const std::filesystem::path& file,
    const std::filesystem::path& pictures)
{
    const auto home = demo.scratch() / "home";
    auto environment = QProcessEnvironment::systemEnvironment();
    for (const auto* const name : {"XDG_CONFIG_HOME", "XDG_STATE_HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME"})
        environment.insert(toQString(name), toQString((home / name).string()));
    environment.insert(toQString(applicationKeyVariable), toQString(demo.secrets().front()));
    process.setProcessEnvironment(environment);
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(QCoreApplication::applicationFilePath(),
        {QStringLiteral("--key-id"), toQString(demo.firstKeyID()), QStringLiteral("--endpoint"),
            toQString(demo.endpoint()), QStringLiteral("--tour"), toQString(pictures.string()),
            QStringLiteral("--tour-chapter"), toQString(chapter), QStringLiteral("--tour-file"),
            toQString(file.string())});
}

} // namespace

Task<> Tour::surviveAKill()
{
    constexpr std::size_t twoParts = 100'000'000;
    const auto file = makeTourFile(application_.demo->scratch() / "wedding film.mov", twoParts);
    // The first part goes through at once, the second one slowly.
    co_await service_.addFaults(
        R"([{"operation": "b2_upload_part", "kind": "trickle", "in": "request", "bytesPerSecond": 2000000, "after": 1}])");
    QProcess killed;
    QByteArray said;
    startChapter(killed, *application_.demo, "begin-upload", file, report_.directory() / "before-the-kill");
    co_await check("begin a large upload in a program of its own", [&] {
        said += killed.readAll();
        return said.contains(TourChapter::partIsStored.data());
    });
    killed.kill();
    co_await check("kill that program in the middle of a part", [&] { return killed.state() == QProcess::NotRunning; });
    co_await service_.clearFaults();

    const auto before = co_await service_.bytesReceived();
    QProcess resumed;
    startChapter(resumed, *application_.demo, "resume-upload", file, report_.directory() / "after-the-kill");
    co_await check("go on with the upload after a restart", [&] { return resumed.state() == QProcess::NotRunning; });
    report("the restarted program did what it should",
        resumed.exitStatus() == QProcess::NormalExit && resumed.exitCode() == 0,
        fromQString(QString::fromUtf8(resumed.readAll())));
    const auto here = co_await digestOfFile(file);
    const auto there = co_await service_.digest("media-archive", "wedding film.mov");
    report("the large file is whole at the service", here == there, here + " here, " + there + " there");
    const auto sent = co_await service_.bytesReceived() - before;
    report("only the part that was on its way was sent again", sent > 0 && sent < 60'000'000,
        std::to_string(sent) + " bytes were sent");
}
