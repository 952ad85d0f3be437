#pragma once

#include "browser/BrowserModel.h"
#include "foundation/settings/Settings.h"
#include "foundation/settings/SettingsKeys.h"
#include "tests/browser/ListingService.h"
#include "tests/support/QtRun.h"

#include <gmock/gmock.h>

#include <QElapsedTimer>
#include <QTimer>

/// A browser's model over a stand-in service with one bucket.
class BrowserModelTest : public testing::Test {
protected:
    BrowserModelTest()
    {
        model.cache = cache;
        for (const auto* name : {"a.txt", "photos/2024/x.jpg", "photos/cat.jpg", "photos/dog.jpg", "z10.txt", "z9.txt"})
            service->add("bucket-1", name);
    }

    void settle()
    {
        ASSERT_TRUE(spinUntil([this] { return !*model.isLoading; }));
    }

    void openBucket()
    {
        model.open(session, bucket);
        settle();
    }

    void go(const std::string& prefix)
    {
        model.navigate(prefix);
        settle();
    }

    std::vector<std::string> shownNames() const
    {
        std::vector<std::string> names;
        for (std::size_t i = 0; i < model.rows.shown->size(); ++i)
            names.push_back((*model.rows.shown)[i].name);
        return names;
    }

    const ListingCache::Entry* cached(const std::string& prefix, const std::string& mode = "Current") const
    {
        return cache->entry({"bucket-1", prefix, mode});
    }

    std::shared_ptr<ListingService> service = std::make_shared<ListingService>();
    std::shared_ptr<B2Session> session = makeSession(service);
    std::shared_ptr<ListingCache> cache = std::make_shared<ListingCache>();
    B2Bucket bucket{.accountID = "account-1", .bucketID = "bucket-1", .bucketName = "photos"};
    Settings settings{""};
    BrowserModel model{settings};
};
