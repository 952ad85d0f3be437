#include "keychain/KeychainFile.h"

#include "foundation/settings/Settings.h"
#include "keychain/FileKeychain.h"
#include "tests/support/QtRun.h"

#include <QTemporaryDir>

#include <gmock/gmock.h>

#include <fstream>

using testing::HasSubstr;

namespace {

class KeychainFileTest : public testing::Test {
protected:
    static void addKey(KeychainFile& store, const std::string& keyID)
    {
        store.add([&](KeychainFile::Entries& entries) {
            entries.push_back({{std::string(keyItemService), keyID, "Laptop", "account", true}, "secret of " + keyID});
        });
    }

    static std::string contentOf(const std::filesystem::path& path)
    {
        std::ifstream stream(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), {}};
    }

    static void damage(const std::filesystem::path& path, std::size_t position)
    {
        auto content = contentOf(path);
        content.at(position) = static_cast<char>(content.at(position) ^ 1);
        std::ofstream(path, std::ios::binary) << content;
    }

    static std::optional<Keychain::Status> statusOf(const std::function<void()>& work)
    {
        try {
            work();
        } catch (const Keychain::Failure& failure) {
            return failure.status;
        }
        return std::nullopt;
    }

    QTemporaryDir temporary;
    std::filesystem::path directory{temporary.path().toStdString() + "/data"};
    KeychainFile file{directory};
};

} // namespace

TEST_F(KeychainFileTest, KeepsSecretsEncryptedAndForTheirOwnerAlone)
{
    EXPECT_TRUE(file.read().empty());
    EXPECT_FALSE(std::filesystem::exists(directory)) << "reading creates nothing";
    addKey(file, "key-1");
    addKey(file, "key-2");

    const auto entries = KeychainFile(directory).read();
    ASSERT_EQ(entries.size(), 2U);
    EXPECT_EQ(entries[1].item, (KeychainItem{"com.zantro.kestrovan", "key-2", "Laptop", "account", true}));
    EXPECT_EQ(entries[1].secret, Secret("secret of key-2"));
    EXPECT_THAT(contentOf(file.path()), Not(HasSubstr("secret of")));
    EXPECT_THAT(contentOf(file.path()), Not(HasSubstr("key-1")));
    for (const auto& path : {file.path(), file.keyPath()})
        EXPECT_EQ(std::filesystem::status(path).permissions(), std::filesystem::perms(0600));
}

TEST_F(KeychainFileTest, APassphraseReplacesTheKeyFile)
{
    addKey(file, "key-1");
    file.setPassphrase({}, "horse");
    EXPECT_FALSE(std::filesystem::exists(file.keyPath()));
    addKey(file, "key-2");

    KeychainFile next(directory);
    EXPECT_TRUE(next.needsPassphrase());
    EXPECT_EQ(statusOf([&] { next.read(); }), Keychain::Status::wrongPassphrase);
    EXPECT_EQ(statusOf([&] { addKey(next, "key-3"); }), Keychain::Status::wrongPassphrase);
    EXPECT_EQ(statusOf([&] { next.unlock("hors"); }), Keychain::Status::wrongPassphrase);
    next.unlock("horse");
    EXPECT_FALSE(next.needsPassphrase());
    EXPECT_EQ(next.read().size(), 2U);

    EXPECT_EQ(statusOf([&] { next.setPassphrase("hors", {}); }), Keychain::Status::wrongPassphrase);
    EXPECT_EQ(statusOf([&] { next.setPassphrase({}, "cow"); }), Keychain::Status::wrongPassphrase)
        << "although it is unlocked";
    EXPECT_TRUE(KeychainFile(directory).hasPassphrase());
    next.setPassphrase("horse", "cow");
    next.setPassphrase("cow", {});
    EXPECT_EQ(KeychainFile(directory).read().size(), 2U);
    EXPECT_FALSE(KeychainFile(directory).hasPassphrase());
}

TEST_F(KeychainFileTest, ADamagedFileIsLeftInPlaceAndSetAsideForANewKeyOnly)
{
    addKey(file, "key-1");
    for (const std::size_t position : {std::size_t(3), std::size_t(40), contentOf(file.path()).size() - 1}) {
        damage(file.path(), position);
        const auto damaged = contentOf(file.path());

        EXPECT_EQ(statusOf([&] { file.read(); }), Keychain::Status::damaged) << position;
        EXPECT_EQ(statusOf([&] { file.change([](auto& entries) { entries.clear(); }); }), Keychain::Status::damaged);
        EXPECT_EQ(statusOf([&] { file.setPassphrase({}, "horse"); }), Keychain::Status::damaged);
        EXPECT_EQ(contentOf(file.path()), damaged);

        addKey(file, "key-1");
        EXPECT_EQ(file.read().size(), 1U);
        int copies = 0;
        for (const auto& entry : std::filesystem::directory_iterator(directory))
            copies += contentOf(entry.path()) == damaged ? 1 : 0;
        EXPECT_EQ(copies, 1);
    }
}

TEST_F(KeychainFileTest, AFileWithoutItsKeyOpensOnceTheKeyIsBack)
{
    addKey(file, "key-1");
    const auto key = contentOf(file.keyPath());
    std::filesystem::remove(file.keyPath());
    Settings settings{{}};
    ActivityLog log(settings, directory / "Logs");
    FileKeychain keychain(directory, log);

    for (const auto* const content : {"", "cut short", "thirty-two bytes of another file"}) {
        if (*content != '\0')
            std::ofstream(file.keyPath(), std::ios::binary) << content;
        try {
            qtRun(keychain.entries());
            ADD_FAILURE() << content;
        } catch (const Keychain::Failure& failure) {
            EXPECT_THAT(failure.what(), AllOf(HasSubstr(file.path().string()), HasSubstr("“keys.key”")));
        }
    }
    EXPECT_FALSE(*keychain.remark) << "the page says it";

    std::ofstream(file.keyPath(), std::ios::binary) << key;
    EXPECT_EQ(qtRun(keychain.entries()).size(), 1U);
}

TEST_F(KeychainFileTest, ANewKeySetsAsideAFileThatCannotBeOpenedAndSaysWhere)
{
    addKey(file, "key-1");
    const auto box = contentOf(file.path());
    std::ofstream(file.keyPath(), std::ios::binary | std::ios::app) << '\n';
    const auto key = contentOf(file.keyPath());
    Settings settings{{}};
    ActivityLog log(settings, directory / "Logs");
    FileKeychain keychain(directory, log);

    EXPECT_THROW(qtRun(keychain.setLabel("key-1", "Desk")), Keychain::Failure);
    qtRun(keychain.save("key-2", "secret", std::nullopt, std::nullopt));

    EXPECT_EQ(qtRun(keychain.entries()).size(), 1U);
    const auto remark = keychain.remark->value_or("");
    for (const auto& [path, content] : {std::pair(file.path(), box), std::pair(file.keyPath(), key)}) {
        EXPECT_EQ(contentOf(path.string() + ".set-aside-1"), content);
        EXPECT_THAT(remark, HasSubstr(path.string() + ".set-aside-1"));
    }
}

TEST_F(KeychainFileTest, AKeyFileIsKeptWhileItMayOpenAFileThatWasSetAside)
{
    addKey(file, "key-1");
    const auto box = contentOf(file.path());
    const auto key = contentOf(file.keyPath());
    std::ofstream(file.path(), std::ios::binary) << box.substr(0, box.size() - 1);
    EXPECT_TRUE(file.add([](KeychainFile::Entries&) {}));
    file.setPassphrase({}, "passphrase");
    EXPECT_EQ(contentOf(file.keyPath()), key);

    const auto aside = file.path().string() + ".set-aside-";
    std::filesystem::rename(aside + "1", aside + "2");
    file.setPassphrase("passphrase", "next");
    EXPECT_EQ(contentOf(file.keyPath()), key) << "whatever its number";

    std::filesystem::remove(aside + "2");
    file.setPassphrase("next", "another");
    EXPECT_FALSE(std::filesystem::exists(file.keyPath()));
}

TEST_F(KeychainFileTest, AFileThatCannotBeReadIsLeftUnchanged)
{
    std::filesystem::create_directories(file.path());
    EXPECT_EQ(statusOf([&] { addKey(file, "key-1"); }), Keychain::Status::cannotWrite);
    EXPECT_TRUE(std::filesystem::is_directory(file.path()));
}
