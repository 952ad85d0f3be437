#include "keychain/KeychainRecord.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace {

constexpr std::size_t numberSize = 4;

void putNumber(std::string& text, std::size_t number)
{
    for (std::size_t byte = 0; byte < numberSize; ++byte)
        text += static_cast<char>((number >> (8 * byte)) & 0xFF);
}

void putText(std::string& text, std::string_view value)
{
    putNumber(text, value.size());
    text += value;
}

void putOptional(std::string& text, const std::optional<std::string>& value)
{
    text += value ? '\1' : '\0';
    if (value)
        putText(text, *value);
}

/// Reads fields from the front of a record; after the first missing one, all are empty.
class Reader {
public:
    explicit Reader(std::string_view record)
        : rest_(record)
    {
    }

    bool isWhole() const { return isGood_ && rest_.empty(); }
    bool isGood() const { return isGood_; }

    std::string_view text(std::size_t size)
    {
        if (size > rest_.size()) {
            isGood_ = false;
            return {};
        }
        const auto taken = rest_.substr(0, size);
        rest_.remove_prefix(size);
        return taken;
    }
    std::size_t number()
    {
        std::size_t value = 0;
        const auto digits = text(numberSize);
        for (std::size_t byte = 0; byte < digits.size(); ++byte)
            value |= static_cast<std::size_t>(static_cast<unsigned char>(digits[byte])) << (8 * byte);
        return value;
    }
    bool flag() { return text(1) == std::string_view("\1", 1); }
    std::string_view text() { return text(number()); }
    std::optional<std::string> optional() { return flag() ? std::optional(std::string(text())) : std::nullopt; }

private:
    std::string_view rest_;
    bool isGood_ = true;
};

} // namespace

Secret keychainRecord(const KeychainFile::Entries& entries)
{
    // Reserved in full, so that growing leaves no copy of a secret behind.
    constexpr std::size_t overhead = 32;
    std::size_t size = overhead;
    for (const auto& [item, secret] : entries)
        size += overhead + item.service.size() + item.account.size() + item.label.value_or("").size()
            + item.generic.value_or("").size() + secret.reveal().size();
    std::string record;
    record.reserve(size);
    putNumber(record, entries.size());
    for (const auto& [item, secret] : entries) {
        putText(record, item.service);
        putText(record, item.account);
        putOptional(record, item.label);
        putOptional(record, item.generic);
        record += item.isSynchronized ? '\1' : '\0';
        putText(record, secret.reveal());
    }
    return Secret(std::move(record));
}

std::optional<KeychainFile::Entries> parseKeychainRecord(const Secret& record)
{
    Reader reader(record.reveal());
    KeychainFile::Entries entries;
    const auto count = reader.number();
    for (std::size_t i = 0; i < count && reader.isGood(); ++i) {
        KeychainFile::Entry entry;
        entry.item.service = reader.text();
        entry.item.account = reader.text();
        entry.item.label = reader.optional();
        entry.item.generic = reader.optional();
        entry.item.isSynchronized = reader.flag();
        entry.secret = Secret(reader.text());
        entries.push_back(std::move(entry));
    }
    return reader.isWhole() ? std::optional(std::move(entries)) : std::nullopt;
}
