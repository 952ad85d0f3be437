#include "shell/CommandLine.h"

#include <gmock/gmock.h>

#include <cstdlib>

using testing::HasSubstr;

TEST(CommandLineTest, ReadsItsOptionsInBothForms)
{
    const auto line = parseCommandLine({"--key-id=abc", "--endpoint", "http://127.0.0.1:4711"});

    ASSERT_TRUE(line);
    EXPECT_EQ(line->keyID, "abc");
    EXPECT_EQ(line->endpoint, "http://127.0.0.1:4711");
    EXPECT_EQ(parseCommandLine({})->endpoint, "https://api.backblazeb2.com");
    EXPECT_EQ(parseCommandLine({"--demo", "--tour", "pictures"})->tour, "pictures");
}

TEST(CommandLineTest, RefusesWhatMakesNoSenseWithASentence)
{
    EXPECT_THAT(parseCommandLine({"--frobnicate"}).error(), HasSubstr("“--frobnicate” is not an option"));
    EXPECT_THAT(parseCommandLine({"--key-id"}).error(), HasSubstr("needs a value"));
    EXPECT_THAT(parseCommandLine({"--demo=yes"}).error(), HasSubstr("takes no value"));
    EXPECT_THAT(parseCommandLine({"--tour", "x"}).error(), HasSubstr("--demo"));
    EXPECT_THAT(parseCommandLine({"--demo", "--key-id", "x"}).error(), HasSubstr("leave out"));
}

TEST(CommandLineTest, SendsNoKeyInTheClearToAnotherComputer)
{
    for (const auto* endpoint : {"http://example.com", "ftp://127.0.0.1", "file:///etc/passwd", "127.0.0.1:80",
             "http://127.0.0.1.example.com", "http://user@127.0.0.1"})
        EXPECT_FALSE(parseCommandLine({"--endpoint", endpoint})) << endpoint;
    EXPECT_TRUE(parseCommandLine({"--endpoint", "https://b2.example.com"}));
}

TEST(CommandLineTest, OnlyAStartWithoutOptionsMayJoinARunningProgram)
{
    EXPECT_TRUE(parseCommandLine({})->mayJoinRunningProgram());
    EXPECT_FALSE(parseCommandLine({"--demo"})->mayJoinRunningProgram());
    EXPECT_FALSE(parseCommandLine({"--key-id", "x"})->mayJoinRunningProgram());
}

TEST(CommandLineTest, TheSecretLeavesTheEnvironmentWhenItIsRead)
{
    setenv(applicationKeyVariable, "canary", 1);

    EXPECT_EQ(readApplicationKey("abc"), "canary");

    EXPECT_EQ(std::getenv(applicationKeyVariable), nullptr);
}
