#include "shell/Application.h"

#include "B2Kit/files/B2TemporaryName.h"
#include "B2Kit/pipeline/B2OSLogSink.h"
#include "async/Background.h"
#include "foundation/MainExecutor.h"
#include "foundation/Paths.h"
#include "foundation/settings/SettingsKeys.h"
#include "keychain/MemoryKeychain.h"
#include "keychain/SystemKeychain.h"
#include "transfers/download/DownloadMark.h"

#include <QTimer>

Application::Application(const CommandLine& commandLine, std::optional<std::string> secret)
{
    std::string endpoint = commandLine.endpoint;
    if (commandLine.isDemo) {
        demo = std::make_unique<Demo>();
        endpoint = demo->endpoint();
    }
    settings = std::make_unique<Settings>(demo ? demo->settingsFile() : configDirectory() / "settings.json");
    Settings::setShared(settings.get());
    log = std::make_unique<ActivityLog>(*settings, demo ? demo->logDirectory() : stateDirectory() / "Logs");
    ActivityLog::setShared(log.get());
    context = std::make_unique<AppContext>(*settings);
    keychain = makeKeychain(commandLine, std::move(secret));

    auto sink = std::make_shared<B2FanOutLogSink>(std::vector<std::shared_ptr<B2LogSink>>{
        std::make_shared<B2OSLogSink>("com.zantro.B2Kit", "b2"), std::make_shared<ActivityLogSink>(*log)});
    B2CurlTransportOptions options;
    options.userAgent = userAgentText();
    options.metrics = std::make_shared<B2LogMetricsSink>(sink);
    options.certificateAuthorityFile = commandLine.certificateAuthorityFile;
    clients = std::make_unique<ClientFactory>(
        std::make_shared<B2CurlTransport>(std::move(options)), std::move(sink), std::move(endpoint));
    destination = std::make_unique<DownloadDestination>(*settings);
    if (demo) {
        destination->choose(demo->downloads());
        settings->set(SettingsKeys::lastKeyID, demo->firstKeyID());
        settings->set(SettingsKeys::connectedWelcomeShown, true);
    }
    const auto marks = demo ? demo->markDirectory() : downloadMarkDirectory();
    spawn(MainExecutor::shared(), runInBackground([folder = destination->current().path, marks] {
        removeAbandonedFiles(folder);
        removeFilesOfKilledDownloads(marks);
    }));
    queue = std::make_unique<TransferQueue>(*settings, *log, *destination, marks);
    sleepInhibitor = std::make_unique<SleepInhibitor>(*queue);
    root = std::make_unique<RootModel>(
        RootParts{*settings, *log, *context, *keychain, *clients, *queue, [this] { return openResumeStore(); }});
}

std::unique_ptr<Keychain> Application::makeKeychain(const CommandLine& commandLine, std::optional<std::string> secret)
{
    if (!demo && !commandLine.keyID)
        return std::make_unique<SystemKeychain>(*settings, *log, dataDirectory());
    auto keys = std::make_unique<MemoryKeychain>();
    if (demo)
        demo->addKeysTo(*keys);
    if (commandLine.keyID && secret)
        keys->add({*commandLine.keyID, std::nullopt, std::nullopt}, std::move(*secret));
    return keys;
}

Application::~Application()
{
    ActivityLog::setShared(nullptr);
    Settings::setShared(nullptr);
}

Task<ResumeStore*> Application::openResumeStore()
{
    resumeStore = co_await ResumeStore::open(demo ? demo->resumeFile() : dataDirectory() / "uploads.sqlite");
    queue->setResumeStore(resumeStore.get());
    co_return resumeStore.get();
}

void Application::shutDown(std::function<void()> onEnd)
{
    // A task that does not stop in time must not keep the user waiting.
    constexpr int patienceMilliseconds = 3000;
    auto once = [onEnd = std::move(onEnd), hasEnded = std::make_shared<bool>(false)] {
        if (!std::exchange(*hasEnded, true))
            onEnd();
    };
    QTimer::singleShot(patienceMilliseconds, root.get(), once);
    auto stopAll = [](Application* self, std::function<void()> ended) -> Task<> {
        co_await self->queue->stopAll();
        if (self->resumeStore)
            co_await self->resumeStore->flush();
        co_await self->root->shutDown();
        ended();
    };
    spawn(MainExecutor::shared(), stopAll(this, once));
}
