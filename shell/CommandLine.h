#pragma once

#include <expected>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

/// The options given on the command line.
struct CommandLine {
    bool isDemo = false;                       ///< A local service with an account of its own; nothing of the user's.
    std::optional<std::filesystem::path> tour; ///< Walk through the program unattended and save pictures here.
    /// The walk of a process that a tour has started: "begin-upload", "resume-upload" or "newcomer".
    std::string tourChapter;
    std::filesystem::path tourFile;       ///< The file which that walk uploads.
    std::optional<std::string> keyID;     ///< Connect with this key; its secret comes from elsewhere.
    std::string endpoint;                 ///< Where keys are authorized.
    std::string certificateAuthorityFile; ///< PEM to trust instead of the system's; empty for the system's.
    bool wantsHelp = false;
    bool wantsVersion = false;

    bool operator==(const CommandLine&) const = default;

    /// Can a program that is already running stand in for this start? Only without options.
    bool mayJoinRunningProgram() const;
};

/// Reads the arguments (without the program's name).
///
/// @returns what is wrong with them, as a sentence, when they are not valid.
std::expected<CommandLine, std::string> parseCommandLine(const std::vector<std::string>& arguments);

/// The text printed by `--help`.
std::string helpText();

/// The environment variable that may hold the secret of the key given with `--key-id`.
inline constexpr const char* applicationKeyVariable = "KESTROVAN_APPLICATION_KEY";

/// Reads the secret for `--key-id` from the environment, where it is removed at once so that no child inherits it, or
/// asks for it on the terminal without echo.
///
/// @returns nothing when there is neither.
std::optional<std::string> readApplicationKey(const std::string& keyID);
