#pragma once

#include "keychain/Keychain.h"

#include <map>
#include <string>

/// Keeps keys as long as the process lasts: those of the demonstration and of the command line.
class MemoryKeychain final : public Keychain {
public:
    void add(KeychainEntry entry, Secret secret);

    std::string_view place() const override { return "memory until Kestrovan quits"; }
    Task<std::vector<KeychainEntry>> entries() override;
    Task<std::optional<Secret>> secret(std::string keyID) override;
    Task<> save(std::string keyID, Secret secret, std::optional<std::string> label,
        std::optional<std::string> accountID) override;
    Task<> setLabel(std::string keyID, std::string label) override;
    Task<> setAccountID(std::string keyID, std::string accountID) override;
    Task<> remove(std::string keyID) override;
    Task<std::optional<std::string>> accountName(std::string accountID) override;
    Task<> setAccountName(std::string accountID, std::string name) override;

private:
    struct Item {
        KeychainEntry entry;
        Secret secret;
    };

    std::map<std::string, Item> items_;
    std::map<std::string, std::string> accountNames_;
};
