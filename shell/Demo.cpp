#include "shell/Demo.h"

#include "localb2/Service.h"

#include <stdexcept>

Demo::Demo()
{
    if (!directory_.isValid())
        throw std::runtime_error("The demonstration needs a temporary folder, and none could be made: "
            + directory_.errorString().toStdString() + ". Nothing was changed.");
    for (const auto& folder : {downloads(), scratch()})
        std::filesystem::create_directories(folder);
    localb2::ServiceOptions options;
    options.directory = root() / "service";
    options.seed = "demo";
    service_ = std::make_unique<localb2::Service>(std::move(options));
}

Demo::~Demo() = default;

std::string Demo::endpoint() const
{
    return service_->url();
}

void Demo::addKeysTo(MemoryKeychain& keychain) const
{
    const auto accounts = service_->masterKeys();
    for (std::size_t i = 0; i < accounts.size(); ++i)
        keychain.add({accounts[i].keyID, i == 0 ? "Master key" : "Second account", accounts[i].keyID},
            accounts[i].applicationKey);
    for (const auto& key : service_->applicationKeys())
        keychain.add({key.keyID, key.name, accounts.front().keyID}, key.applicationKey);
}

std::string Demo::firstKeyID() const
{
    return service_->masterKey().keyID;
}

std::vector<std::string> Demo::secrets() const
{
    std::vector<std::string> secrets;
    for (const auto& key : service_->masterKeys())
        secrets.push_back(key.applicationKey);
    for (const auto& key : service_->applicationKeys())
        secrets.push_back(key.applicationKey);
    return secrets;
}

std::filesystem::path Demo::root() const
{
    return directory_.path().toStdString();
}

std::filesystem::path Demo::settingsFile() const
{
    return root() / "settings.json";
}

std::filesystem::path Demo::logDirectory() const
{
    return root() / "Logs";
}

std::filesystem::path Demo::resumeFile() const
{
    return root() / "uploads.sqlite";
}

std::filesystem::path Demo::markDirectory() const
{
    return root() / "killed-downloads";
}

std::filesystem::path Demo::downloads() const
{
    return root() / "Downloads";
}

std::filesystem::path Demo::scratch() const
{
    return root() / "Files";
}
