#include "shell/CommandLine.h"

#include "B2Kit/B2Client.h"
#include "B2Kit/B2Error.h"
#include "B2Kit/wire/B2URL.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <termios.h>
#include <unistd.h>

namespace {

/// Switches the terminal's echo off for its lifetime.
class SilentTerminal {
public:
    SilentTerminal()
    {
        isSilent_ = tcgetattr(STDIN_FILENO, &before_) == 0;
        termios silent = before_;
        silent.c_lflag &= ~static_cast<tcflag_t>(ECHO);
        isSilent_ = isSilent_ && tcsetattr(STDIN_FILENO, TCSAFLUSH, &silent) == 0;
    }
    ~SilentTerminal()
    {
        if (isSilent_)
            tcsetattr(STDIN_FILENO, TCSAFLUSH, &before_);
    }
    SilentTerminal(const SilentTerminal&) = delete;
    SilentTerminal& operator=(const SilentTerminal&) = delete;

    bool isSilent() const { return isSilent_; }

private:
    termios before_{};
    bool isSilent_ = false;
};

} // namespace

std::expected<CommandLine, std::string> parseCommandLine(const std::vector<std::string>& arguments)
{
    CommandLine line;
    line.endpoint = b2AccountEndpoint;
    bool hasEndpoint = false;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        std::string name = arguments[i];
        std::optional<std::string> given;
        if (const auto equals = name.find('='); name.starts_with("--") && equals != std::string::npos) {
            given = name.substr(equals + 1);
            name.resize(equals);
        }
        const bool takesValue = name == "--tour" || name == "--tour-chapter" || name == "--tour-file"
            || name == "--key-id" || name == "--endpoint" || name == "--certificate-authority";
        if (takesValue && !given && i + 1 < arguments.size())
            given = arguments[++i];
        if (takesValue && (!given || given->empty()))
            return std::unexpected(name + " needs a value. See --help.");
        if (!takesValue && given)
            return std::unexpected(name + " takes no value. See --help.");
        if (name == "--demo")
            line.isDemo = true;
        else if (name == "--tour")
            line.tour = *given;
        else if (name == "--tour-chapter")
            line.tourChapter = *given;
        else if (name == "--tour-file")
            line.tourFile = *given;
        else if (name == "--key-id")
            line.keyID = *given;
        else if (name == "--endpoint") {
            line.endpoint = *given;
            hasEndpoint = true;
        } else if (name == "--certificate-authority")
            line.certificateAuthorityFile = *given;
        else if (name == "--help" || name == "-h")
            line.wantsHelp = true;
        else if (name == "--version")
            line.wantsVersion = true;
        else
            return std::unexpected("“" + arguments[i] + "” is not an option of Kestrovan. See --help.");
    }
    if (line.tour && !line.isDemo && line.tourChapter.empty())
        return std::unexpected("--tour walks through the demonstration only: give --demo with it.");
    if (line.isDemo && (line.keyID || hasEndpoint))
        return std::unexpected("--demo brings its own service and keys: leave out --key-id and --endpoint.");
    try {
        requireTrustedURL(line.endpoint);
    } catch (const B2Error&) {
        return std::unexpected("“" + line.endpoint
            + "” is no endpoint: it must begin with https://, or with http:// and an address of this computer.");
    }
    return line;
}

bool CommandLine::mayJoinRunningProgram() const
{
    return *this == CommandLine{.endpoint = std::string(b2AccountEndpoint)};
}

std::string helpText()
{
    return "Usage: kestrovan [OPTIONS]\n"
           "\n"
           "  --demo             run with a local service and a small account of its own;\n"
           "                     nothing of yours is read or changed\n"
           "  --tour DIR         with --demo: walk through the program, check every step and\n"
           "                     save a picture of each window in DIR\n"
           "  --key-id ID        connect with this application key; its secret is taken from\n"
           "                     KESTROVAN_APPLICATION_KEY or asked for without echo\n"
           "  --endpoint URL     authorize there instead of at Backblaze (https, or http on\n"
           "                     this computer)\n"
           "  --certificate-authority FILE\n"
           "                     trust the certificates in FILE instead of the system's\n"
           "  --help, --version\n";
}

std::optional<std::string> readApplicationKey(const std::string& keyID)
{
    if (char* const value = std::getenv(applicationKeyVariable)) {
        std::string secret = value;
        // Overwritten in the environment block, where other programs could read it, then removed.
        explicit_bzero(value, std::strlen(value));
        unsetenv(applicationKeyVariable);
        if (!secret.empty())
            return secret;
    }
    if (isatty(STDIN_FILENO) == 0)
        return std::nullopt;
    const SilentTerminal silent;
    if (!silent.isSilent())
        return std::nullopt;
    std::cerr << "Application key for " << keyID << " (not shown): " << std::flush;
    std::string secret;
    std::getline(std::cin, secret);
    std::cerr << '\n';
    return secret.empty() ? std::nullopt : std::optional(secret);
}
