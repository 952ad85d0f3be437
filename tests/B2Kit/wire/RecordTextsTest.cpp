#include "B2Kit/B2Bucket.h"
#include "B2Kit/B2Capability.h"

#include <gmock/gmock.h>

using testing::Contains;
using testing::ElementsAre;
using testing::SizeIs;

namespace {

B2CORSRule validRule()
{
    return {.corsRuleName = "my-web-site",
        .allowedOrigins = {"https://example.com"},
        .allowedOperations = {B2CORSOperation("s3_get")},
        .maxAgeSeconds = 86400};
}

template <class Change>
std::string messageAfter(Change change)
{
    auto rule = validRule();
    change(rule);
    return rule.validationMessage().value_or("");
}

std::string messageForName(std::string name)
{
    return messageAfter([&name](B2CORSRule& rule) { rule.corsRuleName = name; });
}

} // namespace

TEST(CORSRuleTest, ChecksTheNameFirst)
{
    const auto* length = "A rule name is between 6 and 63 characters.";
    const auto* characters = "A rule name can only contain letters, numbers and hyphens.";
    const auto* reserved = "A rule name cannot start with “b2-”.";

    EXPECT_EQ(messageForName("my-web-site"), "");
    EXPECT_EQ(messageForName("  \t "), "") << "incomplete, not wrong";
    EXPECT_EQ(messageForName("abcde"), length);
    EXPECT_EQ(messageForName("  abcde  "), length);
    EXPECT_EQ(messageForName("ééééé"), length);
    EXPECT_EQ(messageForName(std::string(63, 'a')), "");
    EXPECT_EQ(messageForName(std::string(64, 'a')), length);
    EXPECT_EQ(messageForName("my site"), characters);
    EXPECT_EQ(messageForName("naïve-rule"), characters);
    EXPECT_EQ(messageForName("b2-rule"), reserved);
    EXPECT_EQ(messageForName("B2-Rule"), reserved);
    EXPECT_EQ(
        messageAfter([](B2CORSRule& rule) { rule = {.corsRuleName = "abcdef"}; }), "A rule needs at least one origin.");
}

TEST(CORSRuleTest, ChecksWhatTheRulePermits)
{
    EXPECT_EQ(messageAfter([](B2CORSRule& rule) { rule.allowedOrigins = {"*"}; }), "");
    EXPECT_EQ(messageAfter([](B2CORSRule& rule) { rule.allowedOrigins = {"https://a.example", "*"}; }),
        "“*” must be the only origin if it is used at all.");
    EXPECT_EQ(messageAfter([](B2CORSRule& rule) { rule.allowedOrigins = {"https", "https://a.example"}; }), "");
    EXPECT_EQ(messageAfter([](B2CORSRule& rule) { rule.allowedOrigins = {"https", "https"}; }),
        "There can be at most one “https” origin.");
    EXPECT_EQ(messageAfter([](B2CORSRule& rule) { rule.allowedHeaders = {{"*"}}; }), "");
    EXPECT_EQ(messageAfter([](B2CORSRule& rule) { rule.allowedHeaders = {{"range", "*"}}; }),
        "“*” must be the only allowed header if it is used at all.");
    EXPECT_EQ(messageAfter([](B2CORSRule& rule) { rule.allowedOperations.clear(); }),
        "A rule needs at least one operation, or it permits nothing.");
    EXPECT_EQ(messageAfter([](B2CORSRule& rule) { rule.maxAgeSeconds = 86401; }),
        "Cache duration is between 0 and 86400 seconds.");
}

TEST(CORSRuleTest, ChecksTheRulesAsASet)
{
    std::vector<B2CORSRule> rules;
    for (int number = 0; number < 100; ++number)
        rules.push_back({.corsRuleName = "rule-" + std::to_string(number)});

    EXPECT_EQ(validationMessage(rules), std::nullopt);
    rules[7].corsRuleName = " rule-8 ";
    EXPECT_EQ(validationMessage(rules), "Two rules have the same name.");
    rules[7].corsRuleName = "Rule-8";
    EXPECT_EQ(validationMessage(rules), std::nullopt) << "names differ by case";
    rules.push_back(rules.front());
    EXPECT_EQ(validationMessage(rules), "B2 allows at most 100 CORS rules on a bucket.");
}

TEST(CORSRuleTest, LabelsOperationsAndKeepsUnknownOnesAsTheyAre)
{
    EXPECT_THAT(B2CORSOperation::all(), SizeIs(9));
    EXPECT_EQ(B2CORSOperation::all().front().rawValue, "b2_download_file_by_name");
    EXPECT_EQ(B2CORSOperation("b2_upload_part").label(), "Upload a large-file part");
    EXPECT_EQ(B2CORSOperation("s3_delete").label(), "Delete an object");
    EXPECT_EQ(B2CORSOperation("s3_new").label(), "s3_new");
}

TEST(CapabilitiesTest, ListEachKnownOneOnceInTheOrderOfTheWindow)
{
    const auto all = B2Capabilities::all();

    EXPECT_THAT(std::set<B2Capability>(all.begin(), all.end()), SizeIs(38));
    EXPECT_EQ(all.front(), B2Capabilities::listBuckets);
    EXPECT_EQ(all[25], B2Capabilities::listFiles);
    EXPECT_EQ(all.back(), B2Capabilities::deleteKeys);
    for (const auto& capability : B2Capabilities::accountOnly())
        EXPECT_THAT(all, Contains(capability));
    EXPECT_THAT(B2Capabilities::accountOnly(), SizeIs(4));
}

TEST(ReplicationSummaryTest, SaysWhatBothSidesDo)
{
    const B2ReplicationRule off{.replicationRuleName = "nightly",
        .destinationBucketID = "b-2",
        .fileNamePrefix = "photos/",
        .isEnabled = false};
    const B2ReplicationRule everything{.replicationRuleName = "all", .destinationBucketID = "b-3"};
    using Source = B2ReplicationConfiguration::Source;
    using Destination = B2ReplicationConfiguration::Destination;

    EXPECT_EQ((B2ReplicationConfiguration{Source{}, Destination{}}.summary("mirror")), "No replication is set up.");
    EXPECT_EQ((B2ReplicationConfiguration{Source{{everything}, "k"}, std::nullopt}.summary("mirror")),
        "Source: Everything here is copied to mirror. Rule “all”.");
    EXPECT_EQ((B2ReplicationConfiguration{Source{{off, everything}, "k"}, Destination{{{"a", "b"}}}}.summary({})),
        "Source: Everything under photos/ is copied to b-2. Rule “nightly”, currently turned off. "
        "1 more rule on this bucket. Destination: it accepts files from 1 source key.");
    EXPECT_EQ(
        (B2ReplicationConfiguration{Source{{everything, off, off}, "k"}, Destination{{{"a", "b"}, {"c", "d"}}}}.summary(
            {})),
        "Source: Everything here is copied to b-3. Rule “all”. 2 more rules on this bucket. "
        "Destination: it accepts files from 2 source keys.");
}
