#pragma once

#include <QJsonObject>
#include <QObject>
#include <QTimer>

#include <chrono>
#include <concepts>
#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

class SettingsWriter;

/// The program's small persistent state: typed values under text keys, in one JSON file. No secrets.
///
/// Lives on the main thread, which waits for the disk only in the constructor, which reads the file, and in `flush`.
/// Changes are gathered for a moment, then another thread replaces the whole file in one step. Values of a kind it does
/// not know are kept as they are.
///
/// Several programs may use one file. A write changes the keys that were changed here and keeps the others as the file
/// has them; of two changes of one key the last one written stays. Values written by others appear here after the
/// next own write, with `changed`.
///
/// A damaged file is set aside as "settings.json.damaged-1" (or the next free number) and the store starts empty; a
/// file that cannot be read or set aside stays untouched, and changes then last until the end of the process.
/// `loadNotice` says so in either case. A file damaged later is set aside too, and replaced by the values in use.
class Settings final : public QObject {
    Q_OBJECT

public:
    /// @param file  empty for a store in memory only.
    /// @param lockLimit  how long a write waits while another program writes, before it counts as failed.
    explicit Settings(std::filesystem::path file, QObject* parent = nullptr,
        std::chrono::milliseconds lockLimit = std::chrono::seconds(2));

    /// Hands over unwritten changes without waiting for them.
    ~Settings() override;

    // The value under a key; nothing when it is absent or of another type.
    std::optional<bool> boolean(std::string_view key) const;
    std::optional<std::int64_t> integer(std::string_view key) const;
    std::optional<double> number(std::string_view key) const;
    std::optional<std::string> text(std::string_view key) const;
    std::optional<std::string> bytes(std::string_view key) const;
    /// A map of texts; entries of another type are left out.
    std::optional<std::map<std::string, std::string>> texts(std::string_view key) const;

    // Stores a value; storing an equal one does nothing.
    void set(std::string_view key, std::same_as<bool> auto value) { store(key, QJsonValue(value)); }
    template <std::integral Integer>
        requires(!std::same_as<Integer, bool>)
    void set(std::string_view key, Integer value)
    {
        store(key, QJsonValue(static_cast<qint64>(value)));
    }
    void set(std::string_view key, std::floating_point auto value)
    {
        store(key, QJsonValue(static_cast<double>(value)));
    }
    void set(std::string_view key, std::string_view value);
    void setBytes(std::string_view key, std::string_view value);
    void setTexts(std::string_view key, const std::map<std::string, std::string>& value);

    void remove(std::string_view key);
    void removePrefix(std::string_view prefix);

    /// Every key, sorted.
    std::vector<std::string> keys() const;

    /// A problem with the file at the start, as a sentence to show.
    const std::optional<std::string>& loadNotice() const { return loadNotice_; }

    /// Writes what is not written yet, and again what could not be, and waits at most `limit`; for the end of the
    /// process.
    ///
    /// @returns false when it was not written in time, or could not be.
    bool flush(std::chrono::milliseconds limit);

    /// The settings of the process: those given to `setShared`, else the user's own file, read on first use.
    static Settings& shared();
    /// Replaces them, for a demonstration or a test; null restores the user's own. Not owned.
    static void setShared(Settings* settings);

Q_SIGNALS:
    /// A value was added, changed or removed, here or by another program.
    void changed(const QString& key);

    /// The file cannot be written any more, and the values live on in memory: said once, until a write succeeds again.
    /// Or it was damaged and set aside.
    void writeFailed(const QString& sentence);

private:
    void load();
    bool setAside();
    QJsonValue value(std::string_view key) const;
    void store(std::string_view key, const QJsonValue& value);
    void handOver();
    void takeNews();
    void adopt(const QJsonObject& stored);

    std::filesystem::path file_;
    std::chrono::milliseconds lockLimit_;
    QJsonObject values_;
    std::optional<std::string> loadNotice_;
    std::shared_ptr<SettingsWriter> writer_; ///< Null when nothing is to be written.
    QTimer gathering_;
    std::map<QString, std::uint64_t> unsaved_; ///< The number of the last change of each key not known as written.
    std::uint64_t lastChange_ = 0;
    std::uint64_t handedOver_ = 0; ///< The last change that the writer has been given.
};
