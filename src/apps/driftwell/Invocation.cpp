#include "apps/driftwell/Invocation.h"

#include "desktop/FileUrl.h"

#include <QByteArray>
#include <QUrl>

namespace driftwell {

namespace {

using Action = Invocation::Action;

Invocation wrongUsage(std::string problem) {
    return {.action = Action::WrongUsage, .folder = {}, .problem = std::move(problem)};
}

std::optional<Action> optionAction(const std::string& option) {
    if (option == "--tray") {
        return Action::Tray;
    }
    if (option == "--new-project") {
        return Action::NewProject;
    }
    if (option == "--version") {
        return Action::Version;
    }
    if (option == "--help" || option == "-h") {
        return Action::Help;
    }
    return std::nullopt;
}

/// The folder on the disk, for on paper ".." behind a link leads to another one. A link itself keeps its name.
std::filesystem::path resolved(const std::filesystem::path& folder) {
    const std::filesystem::path plain = folder.has_filename() ? folder : folder.parent_path();
    const std::filesystem::path name = plain.filename();
    return name.empty() || name == "." || name == ".." ? std::filesystem::canonical(plain)
                                                       : std::filesystem::canonical(plain.parent_path()) / name;
}

Invocation folderOrAddress(const std::string& text, const std::filesystem::path& workingFolder,
                           const std::string& urlScheme) {
    if (text.starts_with(urlScheme + ':')) {
        return {.action = Action::FollowLink, .folder = {}, .problem = {}, .link = text};
    }
    std::filesystem::path folder = workingFolder / text;
    if (text.starts_with("file:")) {
        const auto path = pathOfFileUrl(QUrl::fromEncoded(QByteArray::fromStdString(text)));
        if (!path) {
            return wrongUsage("not a folder on this machine: " + text);
        }
        folder = *path;
    }
    std::error_code failed;
    if (text.empty() || !std::filesystem::is_directory(folder, failed)) {
        return wrongUsage("not a folder: " + text);
    }
    return {.action = Action::Deploy, .folder = resolved(folder), .problem = {}};
}

} // namespace

Invocation Invocation::parse(const std::vector<std::string>& arguments, const std::filesystem::path& workingFolder,
                             const std::string& urlScheme) {
    bool optionsEnded = false;
    std::optional<Invocation> result;
    for (const std::string& argument : arguments) {
        if (!optionsEnded && argument == "--") {
            optionsEnded = true;
            continue;
        }
        if (result) {
            return wrongUsage("too many arguments: " + argument);
        }
        if (optionsEnded || !argument.starts_with('-') || argument == "-") {
            result = folderOrAddress(argument, workingFolder, urlScheme);
        } else if (const std::optional<Action> action = optionAction(argument)) {
            result = Invocation{.action = *action, .folder = {}, .problem = {}};
        } else {
            return wrongUsage("unknown option: " + argument);
        }
    }
    return result.value_or(Invocation());
}

std::string Invocation::usage() {
    return R"(Usage: driftwell [OPTION | FOLDER | LINK]

  FOLDER          publish this folder
  LINK            open a site for editing: driftwell://open?site=NAME
  --new-project   choose a folder to publish
  --tray          start without the window
  --version       print the version
  --help          print this help

A second start hands over to the application that is running.
The command-line tool is dw.
)";
}

} // namespace driftwell
