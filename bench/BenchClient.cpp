#include "bench/BenchClient.h"

#include "B2Kit/transport/B2CurlTransport.h"
#include "async/Group.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <future>
#include <stdexcept>

namespace {

std::string environment(const char* name)
{
    const char* const value = std::getenv(name);
    if (!value)
        throw std::runtime_error(std::string(name) + " is not set.");
    return value;
}

} // namespace

std::shared_ptr<B2Client> makeBenchClient()
{
    const char* const certificate = std::getenv("BENCH_CA");
    B2CurlTransportOptions transport;
    transport.certificateAuthorityFile = certificate ? certificate : "";
    B2ClientOptions options;
    options.credentials = {.keyID = environment("BENCH_KEY_ID"), .applicationKey = environment("BENCH_KEY")};
    options.transport = std::make_shared<B2CurlTransport>(std::move(transport));
    options.sleeper = std::make_shared<SystemSleeper>();
    options.jitter = [] { return 0.5; };
    options.log = std::make_shared<B2NullLogSink>();
    options.accountEndpoint = environment("BENCH_URL");
    return B2Client::make(std::move(options));
}

int runToEnd(Task<> task)
{
    SerialExecutor executor;
    std::promise<std::exception_ptr> ended;
    auto end = ended.get_future();
    spawn(executor, std::move(task), [&ended](const std::exception_ptr& failure) { ended.set_value(failure); });
    const auto failure = end.get();
    if (!failure)
        return 0;
    std::fprintf(stderr, "%s\n", describe(failure).c_str());
    return 1;
}

ProcessMemory processMemory()
{
    ProcessMemory memory;
    std::ifstream status("/proc/self/status");
    for (std::string key; status >> key; status.ignore(1000, '\n')) {
        if (key == "VmRSS:")
            status >> memory.residentKilobytes;
        else if (key == "VmHWM:")
            status >> memory.peakKilobytes;
    }
    return memory;
}
