#include "keychain/KeychainFile.h"

#include "foundation/AtomicFile.h"
#include "foundation/Paths.h"
#include "keychain/KeychainRecord.h"
#include "keychain/PrivateFile.h"

#include <fmt/format.h>

#include <chrono>
#include <fcntl.h>
#include <sodium.h>
#include <sys/file.h>
#include <thread>
#include <unistd.h>

namespace {

using namespace std::chrono_literals;

constexpr std::string_view magic = "kestrovan keys 1"; // The number identifies the format and the costs below.
constexpr auto derivationOperations = crypto_pwhash_OPSLIMIT_MODERATE;
constexpr auto derivationMemory = crypto_pwhash_MEMLIMIT_MODERATE;
constexpr std::size_t checkSize = crypto_generichash_BYTES_MIN;
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

/// Distinguishes a wrong key from damage, and reveals nothing about the key.
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
            Keychain::Status::refused, "There is not enough memory to open the stored keys. Nothing was changed.");
    return Secret(std::move(key));
}

Keychain::Failure needsPassphraseFailure()
{
    return {
        Keychain::Status::wrongPassphrase, "The stored keys are locked with your passphrase. Enter it to use them."};
}

} // namespace

/// The unencrypted part of a file, which says how the rest is encrypted.
struct KeychainFile::Header {
    bool isByPassphrase = false;
    std::string salt = randomBytes(crypto_pwhash_SALTBYTES);
    std::string check;

    static constexpr std::size_t size = magic.size() + 1 + crypto_pwhash_SALTBYTES + checkSize;

    std::string text() const { return std::string(magic) + (isByPassphrase ? 'p' : 'k') + salt + check; }
};

/// Keeps other threads and other processes away from the files.
class KeychainFile::Lock {
public:
    explicit Lock(KeychainFile& file)
        : guard_(file.mutex_)
    {
        static const bool isReady = sodium_init() >= 0;
        if (!isReady)
            throw Keychain::Failure(Keychain::Status::refused, "Encryption could not be started. Nothing was changed.");
        descriptor_ = ::open(file.directory_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        const auto end = std::chrono::steady_clock::now() + patience;
        while (descriptor_ >= 0 && ::flock(descriptor_, LOCK_EX | LOCK_NB) != 0) {
            if (std::chrono::steady_clock::now() >= end) {
                ::close(descriptor_);
                throw Keychain::Failure(Keychain::Status::tooSlow,
                    "Another program is using the stored keys. Nothing was changed; try again in a moment.");
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
    int descriptor_ = -1; ///< Of the folder; -1 while there is none, and so nothing to protect.
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
    edited(edit, WhenClosed::fail);
}

std::optional<std::string> KeychainFile::add(const std::function<void(Entries&)>& edit)
{
    return edited(edit, WhenClosed::setAside);
}

std::optional<std::string> KeychainFile::edited(const std::function<void(Entries&)>& edit, WhenClosed whenClosed)
{
    if (const auto error = makePrivateDirectory(directory_))
        throw cannotSaveKeys(directory_, error);
    const Lock lock(*this);
    std::optional<std::string> aside;
    auto box = readBox();
    Entries entries;
    try {
        if (box)
            entries = open(*box);
    } catch (const Keychain::Failure& failure) {
        if (failure.status != Keychain::Status::damaged || whenClosed == WhenClosed::fail)
            throw;
        aside = setAside();
        box.reset();
    }
    edit(entries);
    Header header;
    if (box) {
        header = headerOf(*box);
    } else if (!passphraseKey_.empty()) {
        // A store that was protected with a passphrase stays protected.
        header.isByPassphrase = true;
        header.salt = passphraseSalt_;
    }
    write(entries, header, box || header.isByPassphrase ? keyFor(header) : makeKeyFile());
    return aside;
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
    passphraseKey_ =
        verifiedKey(passphrase, header, "This is not the passphrase of the stored keys. They stay locked.");
    passphraseSalt_ = header.salt;
}

void KeychainFile::setPassphrase(const Secret& current, const Secret& next)
{
    if (const auto error = makePrivateDirectory(directory_))
        throw cannotSaveKeys(directory_, error);
    const Lock lock(*this);
    const auto box = readBox();
    if (box) {
        const auto old = headerOf(*box);
        if (old.isByPassphrase) {
            passphraseKey_ = verifiedKey(
                current, old, "This is not the current passphrase of the stored keys. Nothing was changed.");
            passphraseSalt_ = old.salt;
        }
    }
    const Entries entries = box ? open(*box) : Entries();
    Header header;
    header.isByPassphrase = !next.empty();
    if (!header.isByPassphrase) {
        write(entries, header, makeKeyFile());
        passphraseKey_ = Secret();
        return;
    }
    auto key = keyFrom(next, header.salt);
    write(entries, header, key);
    passphraseKey_ = std::move(key);
    passphraseSalt_ = header.salt;
    // The key file no longer opens this box, but it may open one that was set aside.
    if (wasSetAside(path()))
        return;
    std::error_code ignored;
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
    return privateFileContent(path());
}

KeychainFile::Header KeychainFile::headerOf(const std::string& box)
{
    const std::string_view text(box);
    if (text.size() < Header::size + crypto_secretbox_NONCEBYTES + crypto_secretbox_MACBYTES || !text.starts_with(magic)
        || (text[magic.size()] != 'p' && text[magic.size()] != 'k'))
        throw damaged();
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
        throw damaged();
    auto entries = parseKeychainRecord(Secret(std::move(plain)));
    if (!entries)
        throw cannotOpen("it was written by another version of Kestrovan", "Use that version");
    return std::move(*entries);
}

Secret KeychainFile::keyFor(const Header& header)
{
    if (header.isByPassphrase) {
        if (passphraseKey_.empty() || passphraseSalt_ != header.salt)
            throw needsPassphraseFailure();
        return passphraseKey_.copy();
    }
    return keyFromFile(header);
}

Secret KeychainFile::keyFromFile(const Header& header)
{
    const auto fail = [this](std::string_view reason) {
        return cannotOpen(
            fmt::format("its key file, “{}” in the same folder, {}", keyPath().filename().string(), reason),
            "Put the right key file back, for example from a backup");
    };
    std::optional<std::string> content;
    try {
        content = privateFileContent(keyPath());
    } catch (const Keychain::Failure&) {
        throw fail("can't be read");
    }
    if (!content)
        throw fail("is missing");
    Secret key(std::move(*content));
    if (key.reveal().size() != crypto_secretbox_KEYBYTES || checkOf(key) != header.check)
        throw fail("is not the one that opens it");
    return key;
}

Secret KeychainFile::verifiedKey(const Secret& passphrase, const Header& header, const std::string& refusal)
{
    if (passphrase.empty())
        throw Keychain::Failure(Keychain::Status::wrongPassphrase, refusal);
    auto key = keyFrom(passphrase, header.salt);
    if (checkOf(key) != header.check)
        throw Keychain::Failure(Keychain::Status::wrongPassphrase, refusal);
    return key;
}

/// Returns the key in the key file, which is created if there is none.
Secret KeychainFile::makeKeyFile()
{
    if (auto content = privateFileContent(keyPath())) {
        // It may still open a file that was set aside.
        Secret key(std::move(*content));
        if (key.reveal().size() == crypto_secretbox_KEYBYTES)
            return key;
    }
    Secret key(randomBytes(crypto_secretbox_KEYBYTES));
    if (const auto error = replaceFile(keyPath(), key.reveal()))
        throw cannotSaveKeys(keyPath(), error);
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
        throw cannotSaveKeys(path(), error);
}

Keychain::Failure KeychainFile::cannotOpen(const std::string& reason, const std::string& help) const
{
    return {Keychain::Status::damaged,
        fmt::format("Your keys are in “{}”, which can't be opened: {}. {}, then try again. The file is kept, "
                    "even if you add a key.",
            path().string(), reason, help)};
}

Keychain::Failure KeychainFile::damaged() const
{
    return cannotOpen("it is damaged", "Put a good copy in its place, for example from a backup");
}

/// Renames the file, and its key file too if that holds no key.
std::string KeychainFile::setAside()
{
    const auto box = setFileAside(path());
    std::string text = fmt::format(
        "The file with your earlier keys couldn't be opened and was set aside as “{}”; a new file was started.",
        box.string());
    try {
        auto content = privateFileContent(keyPath());
        const Secret key = content ? Secret(std::move(*content)) : Secret();
        if (!content || key.reveal().size() == crypto_secretbox_KEYBYTES)
            return text + " Nothing was deleted.";
    } catch (const Keychain::Failure&) {
        // A key file that cannot be read must not be overwritten either.
    }
    return text + fmt::format(" So was its key file, as “{}”. Nothing was deleted.", setFileAside(keyPath()).string());
}
