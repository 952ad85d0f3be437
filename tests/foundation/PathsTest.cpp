#include "foundation/Paths.h"
#include "foundation/LocalPath.h"
#include "foundation/ProcessHardening.h"
#include "tests/foundation/TemporaryDirectory.h"

#include <QUrl>

#include <gmock/gmock.h>

#include <cstdlib>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

TEST(PathsTest, FollowTheBaseDirectoriesAndIgnoreRelativeOnes)
{
    ::setenv("XDG_STATE_HOME", "/srv/state", 1);
    EXPECT_EQ(stateDirectory(), "/srv/state/kestrovan");
    ::setenv("XDG_STATE_HOME", "relative", 1);
    EXPECT_TRUE(stateDirectory().native().ends_with("/.local/state/kestrovan"));
    ::unsetenv("XDG_STATE_HOME");
}

TEST(PathsTest, AnAddressKeepsEveryByteOfAPath)
{
    const auto pathOf = [](const char* url) { return localPathOf(QUrl::fromEncoded(url)).string(); };
    EXPECT_EQ(pathOf("file:///home/me/b%FFoken%20%25%2B%C3%A9"), "/home/me/b\xFFoken %+é");
    EXPECT_EQ(pathOf("https://example.com/a"), "");

    const std::filesystem::path odd = "/home/me/b\xFFoken %41+#?;é\n";
    EXPECT_EQ(localPathOf(urlOfLocalPath(odd)), odd);
}

TEST(PathsTest, MakesDirectoriesForTheOwnerAlone)
{
    const TemporaryDirectory directory;
    EXPECT_FALSE(makePrivateDirectory(directory / "a/b/c"));
    EXPECT_FALSE(makePrivateDirectory(directory / "a/b/c"));
    for (const auto* made : {"a", "a/b", "a/b/c"}) {
        struct stat status{};
        ASSERT_EQ(::stat((directory / made).c_str(), &status), 0);
        EXPECT_EQ(status.st_mode & 0777, 0700U);
    }
    writeFile(directory / "file", "");
    EXPECT_EQ(makePrivateDirectory(directory / "file"), std::errc::not_a_directory);
    EXPECT_TRUE(makePrivateDirectory(directory / "file/below"));
    EXPECT_TRUE(makePrivateDirectory({}));
}

TEST(ProcessHardeningTest, LeavesNoCoreAndForbidsTracing)
{
    const pid_t child = ::fork();
    if (child == 0) {
        const bool succeeded = hardenProcess();
        rlimit core{1, 1};
        ::getrlimit(RLIMIT_CORE, &core);
        ::_exit(succeeded && core.rlim_max == 0 && ::prctl(PR_GET_DUMPABLE) == 0 ? 0 : 1);
    }
    int status = -1;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
}

} // namespace
