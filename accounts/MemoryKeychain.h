#pragma once

#include "accounts/Keychain.h"

#include <map>
#include <string>

/// Keys that last as long as the process: those of the demonstration and of the command line.
class MemoryKeychain final : public Keychain {
public:
    ~MemoryKeychain() override;

    void add(KeychainEntry entry, std::string secret);

    Task<std::vector<KeychainEntry>> entries() override;
    Task<std::optional<std::string>> secret(std::string keyID) override;
    Task<> setLabel(std::string keyID, std::string label) override;
    Task<> setAccountID(std::string keyID, std::string accountID) override;
    Task<std::optional<std::string>> accountName(std::string accountID) override;
    Task<> setAccountName(std::string accountID, std::string name) override;

private:
    struct Item {
        KeychainEntry entry;
        std::string secret;
    };

    std::map<std::string, Item> items_;
    std::map<std::string, std::string> accountNames_;
};
