#include "accounts/KeychainFile.h"

#include "accounts/KeychainRecord.h"
#include "foundation/AtomicFile.h"
#include "foundation/Paths.h"

#include <fmt/format.h>
#include <fmt/std.h>

#include <cerrno>
#include <chrono>
#include <fcntl.h>
#include <fstream>
#include <sodium.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace {

using namespace std::chrono_literals;

constexpr std::string_view magic = "kestrovan keys 1"; // The number stands for the format and for the costs below.
constexpr auto derivationOperations = crypto_pwhash_OPSLIMIT_MODERATE;
constexpr auto derivationMemory = crypto_pwhash_MEMLIMIT_MODERATE;
constexpr std::size_t checkSize = crypto_generichash_BYTES_MIN;
constexpr std::uintmax_t maxFileBytes = 16'000'000;
constexpr auto patience = 5s;

unsigned char* bytes(std::string& text)
{
    return reinterpret_cast<unsigned char*>(text.data());
}

const unsigned char* bytes(std::string_view text)
{
    return reinterpret_cast<const unsigned char*>(text.data());
}

std::string randomBytes(std::size_t count)
{
    std::string random(count, '\0');
    randombytes_buf(random.data(), random.size());
    return random;
}

/// Tells a wrong key from damage, and nothing of the key.
std::string checkOf(const Secret& key)
{
    std::string check(checkSize, '\0');
    crypto_generichash(
        bytes(check), check.size(), bytes(magic), magic.size(), bytes(key.reveal()), key.reveal().size());
    return check;
}

Secret keyFrom(const Secret& passphrase, const std::string& salt)
{
    std::string key(crypto_secretbox_KEYBYTES, '\0');
    const auto text = passphrase.reveal();
    if (crypto_pwhash(bytes(key), key.size(), text.data(), text.size(), bytes(salt), derivationOperations,
            derivationMemory, crypto_pwhash_ALG_ARGON2ID13)
        != 0)
        throw Keychain::Failure(
            Keychain::refused, "There is not enough memory to open the stored keys. Nothing was changed.");
    return Secret(std::move(key));
}

Keychain::Failure cannotRead(const std::filesystem::path& file, int error)
{
    return {Keychain::cannotWrite,
        fmt::format("The stored keys in “{}” couldn't be read: {}. The file stays as it is.", file.string(),
            std::error_code(error, std::generic_category()).message())};
}

Keychain::Failure cannotSave(const std::filesystem::path& file, const std::error_code& error)
{
    return {Keychain::cannotWrite,
        fmt::format(
            "The keys couldn't be saved in “{}”: {}. What was stored before is kept.", file.string(), error.message())};
}

Keychain::Failure needsPassphraseFailure()
{
    return {Keychain::wrongPassphrase, "The stored keys are locked with your passphrase. Enter it to use them."};
}

/// The whole file, or nothing when there is none. A file that others could read is closed to them.
std::optional<std::string> contentOf(const std::filesystem::path& file)
{
    const int descriptor = ::open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOFOLLOW);
    if (descriptor < 0) {
        if (errno == ENOENT)
            return std::nullopt;
        throw cannotRead(file, errno);
    }
    const auto fail = [&](int error) {
        ::close(descriptor);
        return cannotRead(file, error);
    };
    struct stat status{};
    if (::fstat(descriptor, &status) != 0)
        throw fail(errno);
    if (!S_ISREG(status.st_mode) || static_cast<std::uintmax_t>(status.st_size) > maxFileBytes)
        throw fail(EINVAL);
    if ((status.st_mode & 0077) != 0)
        ::fchmod(descriptor, 0600);
    std::string content(static_cast<std::size_t>(status.st_size), '\0');
    std::size_t have = 0;
    while (have < content.size()) {
        const auto count = ::read(descriptor, content.data() + have, content.size() - have);
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            throw fail(errno);
        if (count == 0)
            break;
        have += static_cast<std::size_t>(count);
    }
    content.resize(have);
    ::close(descriptor);
    return content;
}

} // namespace

/// How a file is encrypted: the part of it that is not.
struct KeychainFile::Header {
    bool isByPassphrase = false;
    std::string salt = randomBytes(crypto_pwhash_SALTBYTES);
    std::string check;

    static constexpr std::size_t size = magic.size() + 1 + crypto_pwhash_SALTBYTES + checkSize;

    std::string text() const { return std::string(magic) + (isByPassphrase ? 'p' : 'k') + salt + check; }
};

/// Keeps other threads and other processes off the files.
class KeychainFile::Lock {
public:
    explicit Lock(KeychainFile& file)
        : guard_(file.mutex_)
    {
        static const bool isReady = sodium_init() >= 0;
        if (!isReady)
            throw Keychain::Failure(Keychain::refused, "Encryption could not be started. Nothing was changed.");
        descriptor_ = ::open(file.directory_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        const auto end = std::chrono::steady_clock::now() + patience;
        while (descriptor_ >= 0 && ::flock(descriptor_, LOCK_EX | LOCK_NB) != 0) {
            if (std::chrono::steady_clock::now() >= end) {
                ::close(descriptor_);
                throw Keychain::Failure(Keychain::tooSlow,
                    "Another program keeps the stored keys busy. Nothing was changed; try again in a moment.");
            }
            std::this_thread::sleep_for(20ms);
        }
    }
    ~Lock()
    {
        if (descriptor_ >= 0)
            ::close(descriptor_);
    }
    Lock(const Lock&) = delete;

private:
    std::lock_guard<std::mutex> guard_;
    int descriptor_ = -1; ///< Of the folder; none while there is no folder, and so nothing to keep.
};

KeychainFile::KeychainFile(std::filesystem::path directory)
    : directory_(std::move(directory))
{
}

KeychainFile::Entries KeychainFile::read()
{
    const Lock lock(*this);
    const auto box = readBox();
    return box ? open(*box) : Entries();
}

void KeychainFile::change(const std::function<void(Entries&)>& edit)
{
    if (const auto error = makePrivateDirectory(directory_))
        throw cannotSave(directory_, error);
    const Lock lock(*this);
    const auto box = readBox();
    Entries entries = box ? open(*box) : Entries();
    edit(entries);
    Header header = box ? headerOf(*box) : Header();
    write(entries, header, box ? keyFor(header) : makeKeyFile());
}

void KeychainFile::unlock(const Secret& passphrase)
{
    const Lock lock(*this);
    const auto box = readBox();
    if (!box)
        return;
    const auto header = headerOf(*box);
    if (!header.isByPassphrase)
        return;
    auto key = keyFrom(passphrase, header.salt);
    if (checkOf(key) != header.check)
        throw Keychain::Failure(
            Keychain::wrongPassphrase, "This is not the passphrase of the stored keys. They stay locked.");
    passphraseKey_ = std::move(key);
    passphraseSalt_ = header.salt;
}

void KeychainFile::setPassphrase(const Secret& passphrase)
{
    if (const auto error = makePrivateDirectory(directory_))
        throw cannotSave(directory_, error);
    const Lock lock(*this);
    const auto box = readBox();
    const Entries entries = box ? open(*box) : Entries();
    Header header;
    header.isByPassphrase = !passphrase.empty();
    if (!header.isByPassphrase) {
        write(entries, header, makeKeyFile());
        return;
    }
    auto key = keyFrom(passphrase, header.salt);
    write(entries, header, key);
    passphraseKey_ = std::move(key);
    passphraseSalt_ = header.salt;
    std::error_code ignored; // It opens nothing any more.
    std::filesystem::remove(keyPath(), ignored);
}

bool KeychainFile::hasPassphrase()
{
    const Lock lock(*this);
    const auto box = readBox();
    return box && headerOf(*box).isByPassphrase;
}

bool KeychainFile::needsPassphrase()
{
    const Lock lock(*this);
    const auto box = readBox();
    if (!box)
        return false;
    const auto header = headerOf(*box);
    return header.isByPassphrase && (passphraseKey_.empty() || passphraseSalt_ != header.salt);
}

std::optional<std::string> KeychainFile::readBox()
{
    return contentOf(path());
}

KeychainFile::Header KeychainFile::headerOf(const std::string& box)
{
    const std::string_view text(box);
    if (text.size() < Header::size + crypto_secretbox_NONCEBYTES + crypto_secretbox_MACBYTES || !text.starts_with(magic)
        || (text[magic.size()] != 'p' && text[magic.size()] != 'k'))
        setAside("It is damaged");
    Header header;
    header.isByPassphrase = text[magic.size()] == 'p';
    header.salt = text.substr(magic.size() + 1, crypto_pwhash_SALTBYTES);
    header.check = text.substr(Header::size - checkSize, checkSize);
    return header;
}

KeychainFile::Entries KeychainFile::open(const std::string& box)
{
    const auto header = headerOf(box);
    const auto key = keyFor(header);
    const auto rest = std::string_view(box).substr(Header::size);
    const auto nonce = rest.substr(0, crypto_secretbox_NONCEBYTES);
    const auto sealed = rest.substr(nonce.size());
    std::string plain(sealed.size() - crypto_secretbox_MACBYTES, '\0');
    if (crypto_secretbox_open_easy(bytes(plain), bytes(sealed), sealed.size(), bytes(nonce), bytes(key.reveal())) != 0)
        setAside("It is damaged");
    auto entries = parseKeychainRecord(Secret(std::move(plain)));
    if (!entries)
        setAside("It was written by another version of Kestrovan");
    return std::move(*entries);
}

Secret KeychainFile::keyFor(const Header& header)
{
    if (header.isByPassphrase) {
        if (passphraseKey_.empty() || passphraseSalt_ != header.salt)
            throw needsPassphraseFailure();
        return passphraseKey_.copy();
    }
    auto content = contentOf(keyPath());
    Secret key = content ? Secret(std::move(*content)) : Secret();
    if (key.reveal().size() != crypto_secretbox_KEYBYTES || checkOf(key) != header.check)
        setAside(fmt::format("“{}”, which opens it, is missing or is not its own", keyPath().string()));
    return key;
}

/// The key in the key file, which is made if there is none.
Secret KeychainFile::makeKeyFile()
{
    if (auto content = contentOf(keyPath())) {
        // It may still open a file that was set aside.
        Secret key(std::move(*content));
        if (key.reveal().size() == crypto_secretbox_KEYBYTES)
            return key;
    }
    Secret key(randomBytes(crypto_secretbox_KEYBYTES));
    if (const auto error = replaceFile(keyPath(), key.reveal()))
        throw cannotSave(keyPath(), error);
    return key;
}

void KeychainFile::write(const Entries& entries, const Header& header, const Secret& key)
{
    const Secret plain = keychainRecord(entries);
    Header written = header;
    written.check = checkOf(key);
    const auto nonce = randomBytes(crypto_secretbox_NONCEBYTES);
    std::string sealed(plain.reveal().size() + crypto_secretbox_MACBYTES, '\0');
    crypto_secretbox_easy(
        bytes(sealed), bytes(plain.reveal()), plain.reveal().size(), bytes(nonce), bytes(key.reveal()));
    if (const auto error = replaceFile(path(), written.text() + nonce + sealed))
        throw cannotSave(path(), error);
}

void KeychainFile::setAside(const std::string& reason)
{
    for (int number = 1;; ++number) {
        auto aside = path();
        aside += ".damaged-" + std::to_string(number);
        if (::renameat2(AT_FDCWD, path().c_str(), AT_FDCWD, aside.c_str(), RENAME_NOREPLACE) == 0)
            throw Keychain::Failure(Keychain::isDamaged,
                fmt::format("The file of the stored keys can't be opened. {}. It has been set aside as “{}”, and the "
                            "keys have to be added again.",
                    reason, aside.string()));
        if (errno != EEXIST)
            throw Keychain::Failure(Keychain::isDamaged,
                fmt::format("The file of the stored keys, “{}”, can't be opened. {}. It stays as it is, and no key "
                            "can be stored.",
                    path().string(), reason));
    }
}
