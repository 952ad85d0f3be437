#pragma once

#include <filesystem>

class QUrl;

/// Returns the path of a dropped or chosen file, byte for byte, even where it is not valid text; empty if it is not
/// local.
std::filesystem::path localPathOf(const QUrl& url);

/// Returns the address of an absolute path; `localPathOf` restores every byte from it.
QUrl urlOfLocalPath(const std::filesystem::path& path);
