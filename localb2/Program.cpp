#include "localb2/Service.h"

#include <charconv>
#include <csignal>
#include <iostream>
#include <limits>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>

namespace {

constexpr std::string_view usage =
    "Usage: localb2 --data DIR [--port N] [--seed demo|big:N|FILE] [--latency MS] [--tls CERT KEY]\n"
    "               [--part-size BYTES] [--without-md5]\n"
    "Serves the B2 native API on a loopback port, and prints its URL with a master key.\n";

/// The arguments of the command line, taken one by one.
class Words {
public:
    explicit Words(std::span<char*> words)
        : words_(words)
    {
    }

    bool isEmpty() const { return words_.empty(); }

    std::string next(std::string_view after)
    {
        if (words_.empty())
            throw std::invalid_argument("\"" + std::string(after) + "\" needs a value.");
        std::string word = words_.front();
        words_ = words_.subspan(1);
        return word;
    }

    int number(std::string_view after, int highest)
    {
        const auto word = next(after);
        int value = 0;
        const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), value);
        if (error != std::errc() || end != word.data() + word.size() || value < 0 || value > highest)
            throw std::invalid_argument("\"" + word + "\" is no value for \"" + std::string(after) + "\".");
        return value;
    }

private:
    std::span<char*> words_;
};

/// Returns nothing when the usage was asked for.
std::optional<localb2::ServiceOptions> optionsOf(Words words)
{
    localb2::ServiceOptions options;
    while (!words.isEmpty()) {
        const auto option = words.next("");
        if (option == "--help" || option == "-h")
            return std::nullopt;
        if (option == "--port")
            options.port = static_cast<std::uint16_t>(words.number(option, 65535));
        else if (option == "--data")
            options.directory = words.next(option);
        else if (option == "--seed")
            options.seed = words.next(option);
        else if (option == "--latency")
            options.latency = std::chrono::milliseconds(words.number(option, 600'000));
        else if (option == "--part-size")
            options.recommendedPartSize = words.number(option, std::numeric_limits<int>::max());
        else if (option == "--without-md5")
            options.reckonsMD5 = false;
        else if (option == "--tls")
            options.tls = {words.next(option), words.next(option)};
        else
            throw std::invalid_argument("Unknown option \"" + option + "\".");
    }
    if (options.directory.empty())
        throw std::invalid_argument("\"--data DIR\" is missing.");
    return options;
}

} // namespace

int main(int count, char** words)
{
    // Before any thread starts, so that every thread leaves these signals to the wait below.
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    try {
        const auto options = optionsOf(Words({words + 1, words + count}));
        if (!options) {
            std::cout << usage;
            return 0;
        }
        const localb2::Service service(*options);
        const auto key = service.masterKey();
        std::cout << service.url() << ' ' << key.keyID << ' ' << key.applicationKey << std::endl;
        int signal = 0;
        sigwait(&signals, &signal);
        return 0;
    } catch (const std::invalid_argument& error) {
        std::cerr << error.what() << '\n' << usage;
        return 2;
    } catch (const std::exception& error) {
        std::cerr << error.what() << '\n';
        return 1;
    }
}
