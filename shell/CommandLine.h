#pragma once

#include <expected>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

/// What the program was asked on its command line.
struct CommandLine {
    bool isDemo = false;                       ///< A local service with an account of its own; nothing of the user's.
    std::optional<std::filesystem::path> tour; ///< Walk through the program by itself and keep pictures here.
    /// Of a tour: the walk of a process that the tour itself has started, "begin-upload", "resume-upload" or
    /// "newcomer", and
    std::string tourChapter;
    std::filesystem::path tourFile;       ///< the file it is about.
    std::optional<std::string> keyID;     ///< Connect with this key; its secret comes from elsewhere.
    std::string endpoint;                 ///< Where keys are authorized.
    std::string certificateAuthorityFile; ///< PEM to trust instead of the system's; empty for the system's.
    bool wantsHelp = false;
    bool wantsVersion = false;

    bool operator==(const CommandLine&) const = default;
};

/// Reads the arguments (without the program's name).
///
/// @returns what is wrong with them, as a sentence, when they make no sense.
std::expected<CommandLine, std::string> parseCommandLine(const std::vector<std::string>& arguments);

/// What `--help` prints.
std::string helpText();

/// The variable that may hold the secret of the key given with `--key-id`.
inline constexpr const char* applicationKeyVariable = "KESTROVAN_APPLICATION_KEY";

/// The secret for `--key-id`: from the environment, where it is removed at once so that no child gets it, else asked
/// for on the terminal without echo.
///
/// @returns nothing when there is neither.
std::optional<std::string> readApplicationKey(const std::string& keyID);
