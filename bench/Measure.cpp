// bench_measure FILE COMMAND…: runs a command and writes its cost to the file, as one line:
// its processor time, its wall time (both in seconds) and the most memory it held, in kilobytes.

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

double seconds(const timeval& time)
{
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
}

} // namespace

int main(int count, char** words)
{
    if (count < 3)
        return 2;
    const auto started = std::chrono::steady_clock::now();
    pid_t child = 0;
    if (posix_spawnp(&child, words[2], nullptr, nullptr, words + 2, environ) != 0) {
        std::perror(words[2]);
        return 127;
    }
    int status = 0;
    rusage usage{};
    if (wait4(child, &status, 0, &usage) != child)
        return 1;
    const std::chrono::duration<double> wall = std::chrono::steady_clock::now() - started;
    std::FILE* const file = std::fopen(words[1], "w");
    if (!file)
        return 1;
    std::fprintf(
        file, "%.6f %.6f %ld\n", seconds(usage.ru_utime) + seconds(usage.ru_stime), wall.count(), usage.ru_maxrss);
    std::fclose(file);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 1;
}
