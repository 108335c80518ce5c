#pragma once

#include "platform/Models.h"

#include <optional>
#include <string>
#include <vector>

namespace driftwell::dw {

/// What the process ends with.
enum class ExitCode {
    Done = 0,
    Failed = 1,
    WrongUsage = 2,
    NotAllowed = 4,
    Unreachable = 5,
    Interrupted = 130,
};

enum class Command { Host, Login, Logout, Deploy, List, WhoAmI, Open, Logs, History, Rollback, Delete, Share, Libs };

/// share: what is to be changed.
struct ShareArguments {
    std::optional<SiteAccessMode> mode;
    /// E-mail addresses, as typed.
    std::vector<std::string> invite;
    std::vector<std::string> remove;
    std::optional<bool> anyoneCanComment;
};

/// libs: the libraries to be switched.
struct LibsArguments {
    std::vector<std::string> enable;
    std::vector<std::string> disable;
};

/// A command line that asks for work.
struct Arguments {
    Command command = Command::Deploy;
    /// One JSON object on standard output instead of text.
    bool json = false;
    /// host: the platform to use from now on.
    std::optional<std::string> host;
    /// login: leave the opening of the address to the person.
    bool noBrowser = false;
    /// login: with a token from standard input.
    bool withToken = false;
    /// deploy: the folder, bytes as typed.
    std::string folder = ".";
    /// deploy: the site's name.
    std::optional<std::string> name;
    /// deploy: show what would go up.
    bool dryRun = false;
    /// The site that a command is about. Only what reads can do without: absent, it is the present folder's.
    std::optional<std::string> site;
    /// logs: how many lines.
    int limit = 100;
    /// delete: the site's name once more.
    std::optional<std::string> confirmation;
    ShareArguments share;
    LibsArguments libs;
};

/// A command line is answered at once (help, version, completion scripts, wrong usage), or it asks for work.
struct Parsed {
    std::optional<Arguments> arguments;
    ExitCode answer = ExitCode::Done;
};

/// Reads a command line. Help, version and completion scripts go to standard output; what is wrong with it goes to
/// standard error, and with --json as an object to standard output.
[[nodiscard]] Parsed parseArguments(int argc, char** argv);

} // namespace driftwell::dw
