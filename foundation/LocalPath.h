#pragma once

#include <filesystem>

class QUrl;

/// The path of a dropped or chosen file, byte for byte, even where it is no valid text; empty for what is not local.
std::filesystem::path localPathOf(const QUrl& url);

/// The address of an absolute path, from which `localPathOf` gives every byte back.
QUrl urlOfLocalPath(const std::filesystem::path& path);
