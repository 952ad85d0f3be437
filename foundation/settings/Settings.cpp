#include "foundation/settings/Settings.h"

#include "foundation/Paths.h"
#include "foundation/QtText.h"
#include "foundation/settings/SettingsWriter.h"

#include <cerrno>
#include <unistd.h>

namespace {

using namespace std::chrono_literals;

constexpr auto gatheringTime = 200ms;

Settings* injectedSettings = nullptr;

std::string quoted(const std::filesystem::path& path)
{
    return '"' + path.string() + '"';
}

} // namespace

Settings::Settings(std::filesystem::path file, QObject* parent, std::chrono::milliseconds lockLimit)
    : QObject(parent)
    , file_(std::move(file))
    , lockLimit_(lockLimit)
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
    // The file may be a link into another directory.
    if (auto target = std::filesystem::weakly_canonical(file_, error); !error)
        file_ = std::move(target);
    const auto directory = file_.parent_path();
    const auto noDirectory = makePrivateDirectory(directory);

    const auto content = readSettings(file_);
    if (content.state == SettingsContent::State::unreadable) {
        loadNotice_ = "Couldn't read the settings in " + quoted(file_) + ": " + content.error.message()
            + ". The file stays as it is." + lostAtQuit;
        return;
    }
    values_ = content.values;
    if (noDirectory || ::access(directory.c_str(), W_OK) != 0) {
        const auto reason = noDirectory ? noDirectory : std::error_code(errno, std::generic_category());
        loadNotice_ = "Couldn't write settings to " + quoted(directory) + ": " + reason.message() + '.' + lostAtQuit;
        return;
    }
    if (content.state == SettingsContent::State::damaged && !setAside())
        return;
    writer_ = std::make_shared<SettingsWriter>(
        file_, lockLimit_, [this] { QMetaObject::invokeMethod(this, &Settings::takeNews, Qt::QueuedConnection); });
}

bool Settings::setAside()
{
    const auto aside = setAsideDamaged(file_);
    if (!aside) {
        loadNotice_ = "The settings file " + quoted(file_) + " is damaged and couldn't be set aside: "
            + aside.error().message() + ". It stays as it is. Changes made now are lost when Kestrovan quits.";
        return false;
    }
    if (*aside)
        loadNotice_ = "The settings file was damaged. It has been set aside as " + quoted((*aside)->filename())
            + ", and Kestrovan starts with its default settings.";
    else
        values_ = readSettings(file_).values;
    return true;
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
    // A fraction and a number out of range return the default, which differs between the two calls.
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
    if (writer_) {
        unsaved_[name] = ++lastChange_;
        if (!gathering_.isActive())
            gathering_.start();
    }
    Q_EMIT changed(name);
}

void Settings::handOver()
{
    gathering_.stop();
    // After a failure everything is still unsaved and goes with the next write.
    if (writer_ && std::exchange(handedOver_, lastChange_) != lastChange_)
        writer_->hand({values_, unsaved_, lastChange_});
}

bool Settings::flush(std::chrono::milliseconds limit)
{
    if (!writer_)
        return true;
    if (writer_->hasFailed())
        handedOver_ = 0;
    handOver();
    const bool isWritten = writer_->wait(limit);
    takeNews();
    return isWritten;
}

void Settings::takeNews()
{
    const auto news = writer_->takeNews();
    std::erase_if(unsaved_, [&](const auto& change) { return change.second <= news.written; });
    if (news.values)
        adopt(*news.values);
    for (const auto& sentence : news.sentences)
        Q_EMIT writeFailed(toQString(sentence));
}

void Settings::adopt(const QJsonObject& stored)
{
    std::vector<QString> different;
    for (auto each = stored.begin(); each != stored.end(); ++each) {
        if (!unsaved_.contains(each.key()) && values_.value(each.key()) != *each)
            different.push_back(each.key());
    }
    for (const auto& key : values_.keys()) {
        if (!unsaved_.contains(key) && !stored.contains(key))
            different.push_back(key);
    }
    // All before the first signal: who hears of one may read another, or change it.
    for (const auto& key : different)
        values_.insert(key, stored.value(key));
    for (const auto& key : different)
        Q_EMIT changed(key);
}

Settings& Settings::shared()
{
    if (injectedSettings)
        return *injectedSettings;
    // Leaked on purpose: a model destroyed late may still write.
    static auto* const own = new Settings(configDirectory() / "settings.json");
    return *own;
}

void Settings::setShared(Settings* settings)
{
    injectedSettings = settings;
}
