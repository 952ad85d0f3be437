#pragma once

#include "foundation/QtText.h"

#include <QTemporaryDir>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>

/// A directory that is removed at the end of the test.
class TemporaryDirectory {
public:
    std::filesystem::path path() const { return fromQString(directory_.path()); }
    std::filesystem::path operator/(std::string_view name) const { return path() / name; }

private:
    QTemporaryDir directory_;
};

inline void writeFile(const std::filesystem::path& file, std::string_view content)
{
    std::ofstream(file, std::ios::binary) << content;
}

inline std::string readFile(const std::filesystem::path& file)
{
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}
