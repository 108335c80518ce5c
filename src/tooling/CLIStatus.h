#pragma once

#include <QString>

#include <optional>
#include <utility>

namespace driftwell {

/// What the name of the command-line tool means to a terminal.
///
/// | kind | meaning |
/// |---|---|
/// | Checking | not yet known |
/// | NotInstalled | nothing on the search path answers to the name |
/// | LinkedToThisApp | the first that answers is the tool of this application |
/// | LinkedElsewhere | the link in /usr/local/bin leads to another copy of the application, or nowhere; `text` is the
/// place it points at | | OtherInstall | another program answers to the name; `text` is its path | | Unavailable | this
/// application has no tool that can be run |
struct CLIStatus {
    enum class Kind { Checking, NotInstalled, LinkedToThisApp, LinkedElsewhere, OtherInstall, Unavailable };

    Kind kind = Kind::Checking;
    /// For LinkedElsewhere and OtherInstall.
    QString text;

    [[nodiscard]] static CLIStatus checking() { return {Kind::Checking, {}}; }
    [[nodiscard]] static CLIStatus notInstalled() { return {Kind::NotInstalled, {}}; }
    [[nodiscard]] static CLIStatus linkedToThisApp() { return {Kind::LinkedToThisApp, {}}; }
    [[nodiscard]] static CLIStatus linkedElsewhere(QString place) { return {Kind::LinkedElsewhere, std::move(place)}; }
    [[nodiscard]] static CLIStatus otherInstall(QString path) { return {Kind::OtherInstall, std::move(path)}; }
    [[nodiscard]] static CLIStatus unavailable() { return {Kind::Unavailable, {}}; }

    /// For OtherInstall, who has installed it, "npm" or "Homebrew", where its path tells.
    [[nodiscard]] std::optional<QString> otherInstallSource() const;

    bool operator==(const CLIStatus&) const = default;
};

} // namespace driftwell
