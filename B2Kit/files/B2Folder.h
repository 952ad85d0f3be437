#pragma once

#include <cstdint>
#include <expected>
#include <filesystem>
#include <memory>
#include <string_view>

/// An open folder. Everything opened or created below it stays below it: no link on the way is followed, and the
/// folder stays the same one even if its path changes in the meantime.
///
/// Every member blocks. May be used from any thread. Holds one file descriptor.
class B2Folder {
public:
    /// Whether a missing folder is created.
    enum class Missing { refuse, make };

    /// The handle, or the system's error number.
    using Result = std::expected<std::shared_ptr<const B2Folder>, int>;

    /// Opens a folder by its path, links included.
    static Result open(const std::filesystem::path& path);

    /// Opens a folder below this one. The relative path may be of any length and depth.
    ///
    /// @returns ENOTDIR when a file or a link is in the way, EINVAL for an empty component, "." or "..".
    Result subfolder(std::string_view relativePath, Missing missing) const;

    B2Folder(const B2Folder&) = delete;
    B2Folder& operator=(const B2Folder&) = delete;
    ~B2Folder();

    int descriptor() const { return descriptor_; }
    /// The path at the time of opening, for sentences.
    const std::filesystem::path& path() const { return path_; }

private:
    B2Folder(int descriptor, std::filesystem::path path);

    const int descriptor_;
    const std::filesystem::path path_;
};
