#include "foundation/Settings.h"

#include "async/Executor.h"
#include "foundation/AtomicFile.h"
#include "foundation/Paths.h"
#include "foundation/QtText.h"

#include <QJsonDocument>
#include <QJsonValue>

#include <cerrno>
#include <condition_variable>
#include <cstdio>
#include <fcntl.h>
#include <mutex>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using namespace std::chrono_literals;

constexpr auto gatheringTime = 200ms;
constexpr std::size_t maxFileBytes = 64'000'000;

Settings* injectedSettings = nullptr;

std::string quoted(const std::filesystem::path& path)
{
    return '"' + path.string() + '"';
}

/// Reads a regular file; returns nothing, without an error, for anything else or for one that is too large.
std::optional<std::string> readRegularFile(const std::filesystem::path& file, std::error_code& error)
{
    // Without O_NONBLOCK, a pipe in place of the file would block the start forever.
    const int descriptor = ::open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (descriptor < 0) {
        error = {errno, std::generic_category()};
        return std::nullopt;
    }
    std::optional<std::string> content;
    struct stat status{};
    if (::fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode)) {
        content.emplace();
        char block[65536];
        ssize_t count = 0;
        while (content->size() <= maxFileBytes && (count = ::read(descriptor, block, sizeof block)) > 0)
            content->append(block, static_cast<std::size_t>(count));
        if (count < 0)
            error = {errno, std::generic_category()};
        if (count < 0 || content->size() > maxFileBytes)
            content.reset();
    }
    ::close(descriptor);
    return content;
}

} // namespace

/// Writes whole files on another thread; of several that wait, only the newest is written.
class Settings::Writer : public std::enable_shared_from_this<Writer> {
public:
    Writer(Settings* owner, std::filesystem::path file)
        : owner_(owner)
        , file_(std::move(file))
    {
    }

    void hand(const QJsonObject& values)
    {
        {
            const std::lock_guard lock(mutex_);
            waiting_ = values;
            if (std::exchange(isBusy_, true))
                return;
        }
        WorkerPool::blocking().submit(&Writer::run, new std::shared_ptr<Writer>(shared_from_this()));
    }

    bool flush(std::chrono::milliseconds limit)
    {
        std::unique_lock lock(mutex_);
        return idle_.wait_for(lock, limit, [this] { return !isBusy_; }) && !hasFailed_;
    }

    /// Reports nothing more to the owner.
    void detach()
    {
        const std::lock_guard lock(mutex_);
        owner_ = nullptr;
    }

private:
    static void run(void* context)
    {
        const std::unique_ptr<std::shared_ptr<Writer>> self(static_cast<std::shared_ptr<Writer>*>(context));
        (*self)->writeWhatWaits();
    }

    void writeWhatWaits()
    {
        std::unique_lock lock(mutex_);
        while (waiting_) {
            const QJsonObject values = *std::exchange(waiting_, std::nullopt);
            lock.unlock();
            const QByteArray text = QJsonDocument(values).toJson(QJsonDocument::Indented);
            const auto error = replaceFile(file_, {text.constData(), static_cast<std::size_t>(text.size())});
            lock.lock();
            if (error && !hasFailed_)
                tell(error);
            hasFailed_ = static_cast<bool>(error);
        }
        isBusy_ = false;
        idle_.notify_all();
    }

    void tell(const std::error_code& error)
    {
        if (!owner_)
            return;
        const auto sentence = toQString("Couldn't save the settings to " + quoted(file_) + ": " + error.message()
            + ". What was changed is lost when Kestrovan quits, unless a later change can be saved.");
        QMetaObject::invokeMethod(
            owner_, [owner = owner_, sentence] { Q_EMIT owner->writeFailed(sentence); }, Qt::QueuedConnection);
    }

    std::mutex mutex_;
    std::condition_variable idle_;
    Settings* owner_;
    const std::filesystem::path file_;
    std::optional<QJsonObject> waiting_;
    bool isBusy_ = false;
    bool hasFailed_ = false;
};

Settings::Settings(std::filesystem::path file, QObject* parent)
    : QObject(parent)
    , file_(std::move(file))
{
    gathering_.setSingleShot(true);
    gathering_.setInterval(gatheringTime);
    connect(&gathering_, &QTimer::timeout, this, &Settings::handOver);
    if (!file_.empty())
        load();
}

Settings::~Settings()
{
    handOver();
    if (writer_)
        writer_->detach();
}

void Settings::load()
{
    const auto lostAtQuit = " Changes made now are lost when Kestrovan quits.";
    std::error_code error;
    // The file may be a link to one in another directory.
    if (auto target = std::filesystem::weakly_canonical(file_, error); !error)
        file_ = std::move(target);
    const auto directory = file_.parent_path();
    const auto noDirectory = makePrivateDirectory(directory);

    error.clear();
    const auto content = readRegularFile(file_, error);
    if (error && error != std::errc::no_such_file_or_directory) {
        loadNotice_ = "Couldn't read the settings in " + quoted(file_) + ": " + error.message()
            + ". The file stays as it is." + lostAtQuit;
        return;
    }
    if (noDirectory || ::access(directory.c_str(), W_OK) != 0) {
        const auto reason = noDirectory ? noDirectory : std::error_code(errno, std::generic_category());
        loadNotice_ = "Couldn't write settings to " + quoted(directory) + ": " + reason.message() + '.' + lostAtQuit;
        if (content)
            values_ = QJsonDocument::fromJson(QByteArray::fromStdString(*content)).object();
        return;
    }
    writer_ = std::make_shared<Writer>(this, file_);
    if (error)
        return;
    const auto document = content ? QJsonDocument::fromJson(QByteArray::fromStdString(*content)) : QJsonDocument();
    if (document.isObject())
        values_ = document.object();
    else
        setAside();
}

void Settings::setAside()
{
    for (int number = 1;; ++number) {
        auto aside = file_;
        aside += ".damaged-" + std::to_string(number);
        if (::renameat2(AT_FDCWD, file_.c_str(), AT_FDCWD, aside.c_str(), RENAME_NOREPLACE) == 0) {
            loadNotice_ = "The settings file was damaged. It has been set aside as " + quoted(aside.filename())
                + ", and Kestrovan starts with its default settings.";
            return;
        }
        if (errno == EEXIST)
            continue;
        loadNotice_ = "The settings file " + quoted(file_)
            + " is damaged and couldn't be set aside: " + std::error_code(errno, std::generic_category()).message()
            + ". It stays as it is. Changes made now are lost when Kestrovan quits.";
        writer_.reset();
        return;
    }
}

QJsonValue Settings::value(std::string_view key) const
{
    return values_.value(toQString(key));
}

std::optional<bool> Settings::boolean(std::string_view key) const
{
    const auto stored = value(key);
    return stored.isBool() ? std::optional(stored.toBool()) : std::nullopt;
}

std::optional<std::int64_t> Settings::integer(std::string_view key) const
{
    const auto stored = value(key);
    // A fraction, or a number out of range, does not equal both answers.
    if (!stored.isDouble() || stored.toInteger(0) != stored.toInteger(1))
        return std::nullopt;
    return stored.toInteger();
}

std::optional<double> Settings::number(std::string_view key) const
{
    const auto stored = value(key);
    return stored.isDouble() ? std::optional(stored.toDouble()) : std::nullopt;
}

std::optional<std::string> Settings::text(std::string_view key) const
{
    const auto stored = value(key);
    return stored.isString() ? std::optional(fromQString(stored.toString())) : std::nullopt;
}

std::optional<std::string> Settings::bytes(std::string_view key) const
{
    const auto stored = value(key);
    if (!stored.isString())
        return std::nullopt;
    const auto decoded =
        QByteArray::fromBase64Encoding(stored.toString().toLatin1(), QByteArray::AbortOnBase64DecodingErrors);
    return decoded ? std::optional(decoded.decoded.toStdString()) : std::nullopt;
}

std::optional<std::map<std::string, std::string>> Settings::texts(std::string_view key) const
{
    const auto stored = value(key);
    if (!stored.isObject())
        return std::nullopt;
    std::map<std::string, std::string> all;
    const auto entries = stored.toObject();
    for (auto entry = entries.begin(); entry != entries.end(); ++entry) {
        if (entry->isString())
            all.emplace(fromQString(entry.key()), fromQString(entry->toString()));
    }
    return all;
}

void Settings::set(std::string_view key, std::string_view value)
{
    store(key, QJsonValue(toQString(value)));
}

void Settings::setBytes(std::string_view key, std::string_view value)
{
    const auto raw = QByteArray::fromRawData(value.data(), static_cast<qsizetype>(value.size()));
    store(key, QJsonValue(QString::fromLatin1(raw.toBase64())));
}

void Settings::setTexts(std::string_view key, const std::map<std::string, std::string>& value)
{
    QJsonObject entries;
    for (const auto& [name, text] : value)
        entries.insert(toQString(name), toQString(text));
    store(key, entries);
}

void Settings::remove(std::string_view key)
{
    store(key, QJsonValue(QJsonValue::Undefined));
}

void Settings::removePrefix(std::string_view prefix)
{
    for (const auto& key : keys()) {
        if (key.starts_with(prefix))
            remove(key);
    }
}

std::vector<std::string> Settings::keys() const
{
    std::vector<std::string> all;
    for (const auto& key : values_.keys())
        all.push_back(fromQString(key));
    return all;
}

void Settings::store(std::string_view key, const QJsonValue& value)
{
    const auto name = toQString(key);
    if (values_.value(name) == value)
        return;
    values_.insert(name, value); // Inserting an undefined value removes the key.
    isDirty_ = true;
    if (!gathering_.isActive())
        gathering_.start();
    Q_EMIT changed(name);
}

void Settings::handOver()
{
    gathering_.stop();
    if (std::exchange(isDirty_, false) && writer_)
        writer_->hand(values_);
}

bool Settings::flush(std::chrono::milliseconds limit)
{
    handOver();
    return !writer_ || writer_->flush(limit);
}

Settings& Settings::shared()
{
    if (injectedSettings)
        return *injectedSettings;
    // Leaked on purpose: models that are destroyed late may still write.
    static auto* const own = new Settings(configDirectory() / "settings.json");
    return *own;
}

void Settings::setShared(Settings* settings)
{
    injectedSettings = settings;
}
