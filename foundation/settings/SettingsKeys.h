#pragma once

#include <string>
#include <string_view>

/// The keys of the settings. One place for each name.
struct SettingsKeys {
    static constexpr std::string_view storageRatePerTBMonth = "storageRatePerTBMonth"; ///< number, dollars
    static constexpr double defaultStorageRatePerTBMonth = 6.95;
    static constexpr std::string_view existingFilePolicy = "existingFilePolicy"; ///< text
    /// boolean: true means that the user wants no whole-file checksum. The name is older than the meaning.
    static constexpr std::string_view recordWholeFileChecksum = "recordWholeFileChecksum";
    static constexpr std::string_view syncKeys = "syncKeys";                                ///< boolean
    static constexpr std::string_view activityLogMinimumLevel = "activityLog.minimumLevel"; ///< integer, a B2LogLevel
    static constexpr std::string_view showTransfers = "showTransfers";                      ///< boolean
    static constexpr std::string_view lastKeyID = "lastKeyID";                              ///< text
    static constexpr std::string_view connectedWelcomeShown = "connectedWelcomeShown";      ///< boolean
    static constexpr std::string_view keySummaries = "keySummaries";                        ///< bytes, JSON
    static constexpr std::string_view keyLabels = "keyLabels";                              ///< of earlier versions
    static constexpr std::string_view accountLabels = "accountLabels";                      ///< of earlier versions
    static constexpr std::string_view toolbarLabels = "toolbar.labels";                     ///< text
    static constexpr std::string_view windowFrame = "windowFrame";                          ///< text
    static constexpr std::string_view activityLogFrame = "activityLogFrame";                ///< text
    static constexpr std::string_view replicationJobs = "replicationJobs";                  ///< bytes, JSON
    static constexpr std::string_view replicationReports = "replicationReports";            ///< bytes, JSON
    static constexpr std::string_view lastStart = "lastStart"; ///< integer, milliseconds since 1970
    /// Bytes of a path, because a path need not be text.
    static constexpr std::string_view downloadDestination = "downloadDestination";
    static constexpr std::string_view uploadFolder = "uploadFolder"; ///< the same: where uploads were chosen last

    /// The bucket last selected under a key: text.
    static std::string lastBucket(std::string_view keyID) { return "lastBucket." + std::string(keyID); }

    /// The columns of a table: text. @param table  "log", "keys", "storage", "replications", "buckets" or "browser".
    static std::string tableColumns(std::string_view table) { return "table." + std::string(table) + ".columns"; }
    /// The sort of a table: text. The browser has one for each bucket.
    static std::string tableSort(std::string_view table) { return "table." + std::string(table) + ".sort"; }
    static std::string browserSort(std::string_view accountID, std::string_view bucketID)
    {
        return browserSortsOfAccount(accountID) + std::string(bucketID);
    }
    /// The prefix of the browser sorts of an account.
    static std::string browserSortsOfAccount(std::string_view accountID)
    {
        return "table.browser.sort." + std::string(accountID) + ".";
    }
};
