#include "apps/dw/SiteArguments.h"

#include "apps/dw/CommandDefinition.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <charconv>

namespace driftwell::dw {

namespace {

constexpr const char* presentFoldersSite = "The site (default: the one the present folder was published as)";

void addSite(CLI::App& command, Arguments& arguments) {
    command.add_option("SITE", arguments.site, "The site")->type_name("")->required();
}

void addOptionalSite(CLI::App& command, Arguments& arguments) {
    command.add_option("SITE", arguments.site, presentFoldersSite)->type_name("");
}

/// An option that can be given several times, with one value each time.
void addRepeatable(CLI::App& command, const char* name, const char* type, std::vector<std::string>& values,
                   const char* description) {
    command.add_option(name, values, description)
        ->option_text(type)
        ->allow_extra_args(false)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
}

CLI::ValidationError wrongValue(const std::string& option, const std::string& choices, const std::string& typed) {
    return CLI::ValidationError(option + " takes " + choices + ", not “" + typed + "”");
}

void readLimit(Arguments& arguments, const std::string& typed) {
    const char* const end = typed.data() + typed.size();
    int limit = 0;
    const auto [stop, problem] = std::from_chars(typed.data(), end, limit);
    if (problem != std::errc() || stop != end || limit < 1) {
        throw wrongValue("--limit", "a number from 1 on", typed);
    }
    arguments.limit = limit;
}

void readMode(Arguments& arguments, const std::string& typed) {
    const auto* const found =
        std::find_if(siteAccessModes.begin(), siteAccessModes.end(),
                     [&typed](SiteAccessMode mode) { return rawValue(mode).toStdString() == typed; });
    if (found == siteAccessModes.end()) {
        throw wrongValue("--mode", "team, restricted or public", typed);
    }
    arguments.share.mode = *found;
}

void readComments(Arguments& arguments, const std::string& typed) {
    if (typed != "on" && typed != "off") {
        throw wrongValue("--comments", "on or off", typed);
    }
    arguments.share.anyoneCanComment = typed == "on";
}

void addOpen(CLI::App& program, Arguments& arguments) {
    CLI::App& open =
        addCommand(program, arguments, Command::Open, "open", "Open a site in the browser and print its address");
    addOptionalSite(open, arguments);
    addJson(open, arguments);
}

void addLogs(CLI::App& program, Arguments& arguments) {
    CLI::App& logs =
        addCommand(program, arguments, Command::Logs, "logs", "Print a site's recent activity, the latest first");
    addOptionalSite(logs, arguments);
    logs.add_option_function<std::string>(
            "--limit", [&arguments](const std::string& typed) { readLimit(arguments, typed); },
            "At most so many lines (default: 100)")
        ->type_name("N");
    addJson(logs, arguments);
}

void addHistory(CLI::App& program, Arguments& arguments) {
    CLI::App& history = addCommand(program, arguments, Command::History, "history",
                                   "Print a site's deployments and rollbacks, the latest first");
    addOptionalSite(history, arguments);
    addJson(history, arguments);
}

void addRollback(CLI::App& program, Arguments& arguments) {
    CLI::App& rollback = addCommand(program, arguments, Command::Rollback, "rollback",
                                    "Swap a site's live version with the one before it");
    addSite(rollback, arguments);
    addJson(rollback, arguments);
}

void addDelete(CLI::App& program, Arguments& arguments) {
    CLI::App& command =
        addCommand(program, arguments, Command::Delete, "delete", "Delete a site for good, after asking for its name");
    addSite(command, arguments);
    command.add_option("--confirm", arguments.confirmation, "The site's name once more, so that nothing is asked")
        ->type_name("NAME");
    addJson(command, arguments);
}

void addShare(CLI::App& program, Arguments& arguments) {
    CLI::App& share =
        addCommand(program, arguments, Command::Share, "share", "Print who may open a site, or change that");
    addSite(share, arguments);
    share
        .add_option_function<std::string>(
            "--mode", [&arguments](const std::string& typed) { readMode(arguments, typed); },
            "Who may open it: team, restricted (invited people), public")
        ->type_name("MODE");
    addRepeatable(share, "--invite", "EMAIL", arguments.share.invite, "Invite somebody, once for each");
    addRepeatable(share, "--remove", "EMAIL", arguments.share.remove, "Take an invitation back, once for each");
    share
        .add_option_function<std::string>(
            "--comments", [&arguments](const std::string& typed) { readComments(arguments, typed); },
            "Whether everyone with access can comment, not just the team")
        ->type_name("on|off");
    addJson(share, arguments);
}

void addLibs(CLI::App& program, Arguments& arguments) {
    CLI::App& libs = addCommand(program, arguments, Command::Libs, "libs",
                                "List a site's shared libraries, or switch them on and off");
    addSite(libs, arguments);
    addRepeatable(libs, "--enable", "LIB", arguments.libs.enable, "Switch a library on, once for each");
    addRepeatable(libs, "--disable", "LIB", arguments.libs.disable, "Switch a library off, once for each");
    addJson(libs, arguments);
}

} // namespace

void addSiteCommands(CLI::App& program, Arguments& arguments) {
    addOpen(program, arguments);
    addLogs(program, arguments);
    addHistory(program, arguments);
    addRollback(program, arguments);
    addDelete(program, arguments);
    addShare(program, arguments);
    addLibs(program, arguments);
}

} // namespace driftwell::dw
