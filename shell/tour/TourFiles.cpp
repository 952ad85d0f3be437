#include "shell/tour/TourFiles.h"

#include "B2Kit/files/B2SHA1.h"
#include "async/Background.h"

#include <fstream>
#include <random>
#include <stdexcept>

namespace {

std::string digestNow(const std::filesystem::path& path)
{
    std::ifstream file(path, std::ios::binary);
    if (!file)
        throw std::runtime_error("\"" + path.filename().string() + "\" can't be read.");
    const std::string bytes{std::istreambuf_iterator<char>(file), {}};
    return sha1Of(bytes);
}

} // namespace

std::filesystem::path makeTourFile(const std::filesystem::path& path, std::size_t size)
{
    std::filesystem::create_directories(path.parent_path());
    std::mt19937 random(static_cast<unsigned>(size));
    std::string bytes(size, '\0');
    for (char& byte : bytes)
        byte = static_cast<char>(random());
    std::ofstream(path, std::ios::binary) << bytes;
    return path;
}

Task<std::string> digestOfFile(std::filesystem::path path)
{
    co_return co_await runInBackground([path] { return digestNow(path); });
}
